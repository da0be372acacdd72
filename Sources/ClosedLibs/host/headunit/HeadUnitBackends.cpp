#include "HeadUnitBackends.h"

#include "HeadUnitNames.h"
#include "RemoteMediaDataBackend.h"
#include "RemoteMediaManagerBackend.h"
#include "RemoteSysCtrlBackend.h"
#include "SimControlService.h"

#include <binder/IServiceManager.h>

using namespace android;

namespace headunit {

void installHostBackends() {
    MediaManagerBackend::setCurrent(new RemoteMediaManagerBackend());
    MediaDataBackend::setCurrent(new RemoteMediaDataBackend());
    SysCtrlBackend::setCurrent(new RemoteSysCtrlBackend());
}

status_t publishSimControl() {
    return defaultServiceManager()->addService(String16(kSimControlService),
                                               new SimControlService(), false);
}

}  // namespace headunit
