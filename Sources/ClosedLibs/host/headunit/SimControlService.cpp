#include "SimControlService.h"

#include "HeadUnitNames.h"

#include <dabsim/SimControl.h>
#include <nlohmann/json.hpp>

#include <string>

using namespace android;

namespace headunit {

SimControlService::SimControlService() {}
SimControlService::~SimControlService() {}

int SimControlService::execute(const String8& line, int flags, String8* output) {
    std::string reply;
    const int status = media_lib_dab::SimControl::execute(std::string(line.string()), &reply);
    if (output != nullptr) {
        if ((flags & kCommandJson) != 0) {
            nlohmann::json j = {{"status", status}, {"reply", reply}};
            *output = String8(j.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
        } else {
            *output = String8(reply.c_str());
        }
    }
    return status;
}

}  // namespace headunit
