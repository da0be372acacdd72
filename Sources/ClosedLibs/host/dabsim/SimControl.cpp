#include "SimControl.h"

#include "SimCharset.h"
#include "SimTuner.h"

#include <headunit/HeadUnitNames.h>
#include <headunit/NumberArg.h>

#include <cstdio>
#include <sstream>

namespace media_lib_dab {

namespace {

// The numbers each numeric command takes.
struct NumberCommand {
    const char* verb;
    int min;
    int max;
};
constexpr NumberCommand kNumberCommands[] = {
        {"antenna", 1, 5},
        {"error", 0, 2},
        {"signal", 0, 7},
        {"connect", 0, 1},
};

}  // namespace

const char* SimControl::helpText() {
    return "antenna N            antenna status 1..5 (3 to 5 are faults)\n"
           "error N              reception error 0..2\n"
           "signal N             signal level 1..7; 0 returns to the world's levels\n"
           "connect N            connect status: 1 connected, 0 disconnected\n"
           "dls [TEXT]           dynamic text replacing the stations' own; alone it clears it\n"
           "droplist             the next list request is never answered\n"
           "unresponsive on|off  the tuner stops (or resumes) answering\n"
           "status               band, preset, block, logic mode, antenna, error, signal\n"
           "help                 this list";
}

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

    if (verb == "help") {
        *reply = helpText();
        return headunit::kCommandDone;
    }
    const NumberCommand* numeric = nullptr;
    for (const NumberCommand& c : kNumberCommands) {
        if (verb == c.verb) numeric = &c;
    }
    int value = 0;
    if (numeric != nullptr &&
        !headunit::NumberArg::parse(rest, numeric->min, numeric->max, verb + " N", &value, reply)) {
        return headunit::kCommandUsage;
    }
    if (numeric == nullptr && verb != "dls" && verb != "droplist" && verb != "unresponsive" &&
        verb != "status") {
        *reply = "unknown command \"" + verb + "\"; try help";
        return headunit::kCommandUsage;
    }
    if (verb == "unresponsive" && rest != "on" && rest != "off") {
        *reply = "usage: unresponsive on|off";
        return headunit::kCommandUsage;
    }

    android::sp<SimTuner> tuner = SimTuner::active();
    if (tuner == nullptr) {
        *reply = "no simulated tuner is running";
        return headunit::kCommandRefused;
    }

    int result = -1;
    if (numeric != nullptr) {
        if (verb == "antenna") result = tuner->setAntennaStatus(value);
        if (verb == "error") result = tuner->setErrorInfo(value);
        if (verb == "signal") result = tuner->setSignalLevel(value);
        if (verb == "connect") result = tuner->setConnectStatus(value);
        if (result != 0) {
            *reply = verb + " " + rest + ": the simulated tuner refused it";
            return headunit::kCommandRefused;
        }
    } else if (verb == "dls") {
        if (tuner->setDynamicText(rest, SimCharset::kUtf8) != 0) {
            *reply = "dls: text longer than 128 bytes or not UTF-8";
            return headunit::kCommandRefused;
        }
    } else if (verb == "droplist") {
        tuner->dropNextListRequest();
    } else if (verb == "unresponsive") {
        tuner->setUnresponsive(rest == "on");
    } else {
        char buf[160];
        snprintf(buf, sizeof(buf), "band=%d preset=%d block=%d mode=%d antenna=%d error=%d signal=%d",
                 tuner->getter("getBand"), tuner->getter("getPchNum"), tuner->getter("getNmValue"),
                 tuner->getter("getLogicMode"), tuner->getter("getAntStatus"), tuner->getter("getErrorInfo"),
                 tuner->getter("getSignalLevel"));
        *reply = buf;
        return headunit::kCommandDone;
    }
    *reply = "ok";
    return headunit::kCommandDone;
}

}  // namespace media_lib_dab
