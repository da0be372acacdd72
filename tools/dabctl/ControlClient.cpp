#include "ControlClient.h"

#include <binder/IServiceManager.h>
#include <headunit/HeadUnitNames.h>
#include <headunit/ICommandChannel.h>

using namespace android;

namespace dabclient {

int ControlClient::execute(const char* service, const std::string& line, bool json,
                           std::string* output) {
    output->clear();
    sp<headunit::ICommandChannel> channel = interface_cast<headunit::ICommandChannel>(
            defaultServiceManager()->checkService(String16(service)));
    if (channel == nullptr) return NOT_RUNNING;
    String8 answer;
    const int status = channel->execute(String8(line.c_str()), json ? headunit::kCommandJson : 0,
                                        &answer);
    if (status < -1) return LOST;
    output->assign(answer.string(), answer.length());
    return status;
}

}  // namespace dabclient
