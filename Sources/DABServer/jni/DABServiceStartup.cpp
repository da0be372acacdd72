// Process start-up of the DAB player service.
#include "DABServiceStartup.h"

#include "DABPlayerService.h"
#include "DABSourceController.h"
#include "DABTASourceController.h"
#include "OutputLog.h"

#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <binder/ProcessState.h>
#include <log/log_tag_id.h>
#include <mediamanager/Source.h>
#include <procsupport/ProcessSupport.h>
#include <utils/String16.h>
#include <utils/String8.h>

#include <new>

using namespace android;

namespace {
// Registration code of a source with the media manager.
constexpr int kRegisterCode = 12;
// The registration lines go out under the error report's tag id, without a text tag.
constexpr int kLogPriorityDebug = 3;
constexpr const char kServiceName[] = "DABPlayer";
}  // namespace

int dabplayer_service_start(bool joinPool) {
    drop_privileges();
    sp<ProcessState> proc(ProcessState::self());
    sp<IServiceManager> sm = defaultServiceManager();

    sp<DABSourceController> controller = new (std::nothrow) DABSourceController();
    if (controller == nullptr) {
        OutputLog(__FILE__, __LINE__, DAB_ERR_CREATE_FAILED,
                  "in main new DABSourceController() failed!");
        return 1;
    }
    String8 dabName(DABSourceController::kSourceName);
    sp<Source> source = Source::create(dabName, controller);
    if (source == nullptr) {
        OutputLog(__FILE__, __LINE__, DAB_ERR_CREATE_FAILED, "in main Source::create failed!");
        return 1;
    }
    controller->setSource(source);
    {
        // The result and the reply are the media manager's business: only logged.
        Parcel reply;
        const int result = source->registerSource(kRegisterCode, &reply);
        __android_log_print_tag_id(kLogPriorityDebug, DAB_OUTPUTLOG_TAG_ID, nullptr,
                                   "DABSource main: registerSource result = %d, data length = %d",
                                   result, static_cast<int>(reply.dataAvail()));
    }

    sp<DABTASourceController> taController = new (std::nothrow) DABTASourceController();
    if (taController == nullptr) {
        OutputLog(__FILE__, __LINE__, DAB_ERR_CREATE_FAILED,
                  "in main new DABTASourceController() failed!");
        return 1;
    }
    String8 taName(DABTASourceController::kSourceName);
    sp<Source> taSource = Source::create(taName, taController);
    if (taSource == nullptr) {
        OutputLog(__FILE__, __LINE__, DAB_ERR_CREATE_FAILED,
                  "in main Source dab ta::create failed!");
        return 1;
    }
    taController->setSource(taSource);
    {
        Parcel reply;
        const int result = taSource->registerSource(kRegisterCode, &reply);
        __android_log_print_tag_id(
                kLogPriorityDebug, DAB_OUTPUTLOG_TAG_ID, nullptr,
                "DABSource main: registerSource ta result = %d, data length = %d", result,
                static_cast<int>(reply.dataAvail()));
    }

    // Tuner notifications may arrive from here on; they find an empty client set.
    sp<DABPlayerService> service = new DABPlayerService(controller, taController);
    controller->setService(service);
    taController->setService(service);
    // The service object is itself the binder object that goes to the service manager.
    defaultServiceManager()->addService(String16(kServiceName), sp<IBinder>(service), false);
    setOomAdj(KESTRAN_SERVICE_ID_DAB, KESTRAN_SERVICES_STS_IDLE);

    ProcessState::self()->startThreadPool();
    if (joinPool) IPCThreadState::self()->joinThreadPool(true);

    service.clear();
    taSource.clear();
    taController.clear();
    source.clear();
    controller.clear();
    sm.clear();
    proc.clear();
    return 0;
}
