#include "SimControl.h"

#include "SimCharset.h"
#include "SimTuner.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace media_lib_dab {

namespace {

bool parseInt(const std::string& word, int* out) {
    if (word.empty()) return false;
    char* end = nullptr;
    errno = 0;
    long v = strtol(word.c_str(), &end, 10);
    if (*end != '\0' || errno != 0 || v < -1000000 || v > 1000000) return false;
    *out = static_cast<int>(v);
    return true;
}

}  // namespace

int SimControl::execute(const std::string& line, std::string* reply) {
    std::string scratch;
    if (reply == nullptr) reply = &scratch;
    std::istringstream in(line);
    std::string verb;
    in >> verb;
    std::string rest;
    std::getline(in, rest);
    const size_t start = rest.find_first_not_of(' ');
    rest = start == std::string::npos ? std::string() : rest.substr(start);

    android::sp<SimTuner> tuner = SimTuner::active();
    if (tuner == nullptr) {
        *reply = "no simulated tuner is running";
        return -1;
    }

    int value = 0;
    int result = -1;
    if (verb == "antenna" || verb == "error" || verb == "signal" || verb == "connect") {
        if (!parseInt(rest, &value)) {
            *reply = "usage: " + verb + " N";
            return -1;
        }
        if (verb == "antenna") result = tuner->setAntennaStatus(value);
        if (verb == "error") result = tuner->setErrorInfo(value);
        if (verb == "signal") result = tuner->setSignalLevel(value);
        if (verb == "connect") result = tuner->setConnectStatus(value);
        if (result != 0) {
            *reply = verb + " " + rest + ": value out of range";
            return -1;
        }
    } else if (verb == "dls") {
        if (tuner->setDynamicText(rest, SimCharset::kUtf8) != 0) {
            *reply = "dls: text longer than 128 bytes or not UTF-8";
            return -1;
        }
    } else if (verb == "droplist") {
        tuner->dropNextListRequest();
    } else if (verb == "unresponsive") {
        if (rest != "on" && rest != "off") {
            *reply = "usage: unresponsive on|off";
            return -1;
        }
        tuner->setUnresponsive(rest == "on");
    } else if (verb == "status") {
        char buf[160];
        snprintf(buf, sizeof(buf), "band=%d preset=%d block=%d mode=%d antenna=%d error=%d signal=%d",
                 tuner->getter("getBand"), tuner->getter("getPchNum"), tuner->getter("getNmValue"),
                 tuner->getter("getLogicMode"), tuner->getter("getAntStatus"), tuner->getter("getErrorInfo"),
                 tuner->getter("getSignalLevel"));
        *reply = buf;
        return 0;
    } else {
        *reply = "unknown command \"" + verb + "\"";
        return -1;
    }
    *reply = "ok";
    return 0;
}

}  // namespace media_lib_dab
