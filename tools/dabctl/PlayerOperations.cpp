#include "PlayerOperations.h"

#include <codeconver/CodeConver.h>

#include <strings.h>

#include <cstring>

using namespace android;

namespace dabclient {

namespace {

using Args = std::vector<int>;
using NoArgs = int (IDABPlayer::*)();
using IntArg = int (IDABPlayer::*)(int);
using IntIntArgs = int (IDABPlayer::*)(int, int);
using IntOut = int (IDABPlayer::*)(int*);
using FieldOut = int (IDABPlayer::*)(char*);
using LabelOut = int (IDABPlayer::*)(char*, int*);
using ListItemOut = int (IDABPlayer::*)(int, char*, int*);

OpOutput intOutput(const char* name, int value) {
    return OpOutput{name, OpOutput::kInt, value, std::string(), ConvertedText()};
}

OpOutput textOutput(const char* name, const char* bytes, size_t len, int code) {
    return OpOutput{name, OpOutput::kText, 0, std::string(), convertText(bytes, len, code)};
}

PlayerOperation noArgs(const char* name, NoArgs fn) {
    return {name, {}, [fn](IDABPlayer& p, const Args&) { return OpResult{(p.*fn)(), {}}; }};
}

PlayerOperation intArg(const char* name, const char* arg, IntArg fn) {
    return {name, {arg}, [fn](IDABPlayer& p, const Args& a) { return OpResult{(p.*fn)(a[0]), {}}; }};
}

PlayerOperation intIntArgs(const char* name, const char* arg1, const char* arg2, IntIntArgs fn) {
    return {name, {arg1, arg2},
            [fn](IDABPlayer& p, const Args& a) { return OpResult{(p.*fn)(a[0], a[1]), {}}; }};
}

PlayerOperation intOut(const char* name, const char* out, IntOut fn) {
    return {name, {}, [fn, out](IDABPlayer& p, const Args&) {
                int value = 0;
                const int r = (p.*fn)(&value);
                return OpResult{r, {intOutput(out, value)}};
            }};
}

PlayerOperation fieldOut(const char* name, const char* out, FieldOut fn) {
    return {name, {}, [fn, out](IDABPlayer& p, const Args&) {
                char field[DAB_PLAYER_LABEL_SIZE] = {};
                const int r = (p.*fn)(field);
                return OpResult{r, {OpOutput{out, OpOutput::kField, 0, fieldText(field, sizeof(field)),
                                             ConvertedText()}}};
            }};
}

PlayerOperation labelOut(const char* name, LabelOut fn) {
    return {name, {}, [fn](IDABPlayer& p, const Args&) {
                char label[DAB_PLAYER_LABEL_SIZE] = {};
                int code = EN_CODE_CONVER_NONE;
                const int r = (p.*fn)(label, &code);
                return OpResult{r, {textOutput("label", label, sizeof(label), code),
                                    intOutput("code", code)}};
            }};
}

PlayerOperation listItemOut(const char* name, ListItemOut fn) {
    return {name, {"index"}, [fn](IDABPlayer& p, const Args& a) {
                char label[DAB_PLAYER_LABEL_SIZE] = {};
                int code = EN_CODE_CONVER_NONE;
                const int r = (p.*fn)(a[0], label, &code);
                return OpResult{r, {textOutput("label", label, sizeof(label), code),
                                    intOutput("code", code)}};
            }};
}

PlayerOperation dynamicText() {
    return {"getDynamicText", {}, [](IDABPlayer& p, const Args&) {
                char text[DAB_PLAYER_DYNAMIC_TEXT_SIZE] = {};
                int code = EN_CODE_CONVER_NONE;
                int length = 0;
                const int r = p.getDynamicText(text, &code, &length);
                // The length counts the text's bytes; the converter also stops at a NUL.
                size_t len = sizeof(text);
                if (length > 0 && static_cast<size_t>(length) < len) {
                    len = static_cast<size_t>(length) + (length & 1);
                }
                return OpResult{r, {textOutput("text", text, len, code), intOutput("code", code),
                                    intOutput("length", length)}};
            }};
}

PlayerOperation presetListItem() {
    return {"getPresetListItem", {"band", "index"}, [](IDABPlayer& p, const Args& a) {
                char label[DAB_PLAYER_LABEL_SIZE] = {};
                int code = EN_CODE_CONVER_NONE;
                int labelAvail = 0;
                const int r = p.getPresetListItem(a[0], a[1], label, &code, &labelAvail);
                return OpResult{r, {textOutput("label", label, sizeof(label), code),
                                    intOutput("code", code), intOutput("labelAvail", labelAvail)}};
            }};
}

std::vector<PlayerOperation> buildOperations() {
    return {
            noArgs("manualUp", &IDABPlayer::manualUp),
            noArgs("manualDown", &IDABPlayer::manualDown),
            noArgs("presetSeekUp", &IDABPlayer::presetSeekUp),
            noArgs("presetSeekDown", &IDABPlayer::presetSeekDown),
            noArgs("switchBand", &IDABPlayer::switchBand),
            intArg("recall", "index", &IDABPlayer::recall),
            intIntArgs("presetListRecall", "band", "index", &IDABPlayer::presetListRecall),
            noArgs("presetUpRecall", &IDABPlayer::presetUpRecall),
            noArgs("presetDownRecall", &IDABPlayer::presetDownRecall),
            intArg("serviceListRecall", "serviceIndex", &IDABPlayer::serviceListRecall),
            intArg("ptyNewsinfoListRecall", "serviceIndex", &IDABPlayer::ptyNewsinfoListRecall),
            intArg("ptyPopularListRecall", "serviceIndex", &IDABPlayer::ptyPopularListRecall),
            intArg("ptyClassicsListRecall", "serviceIndex", &IDABPlayer::ptyClassicsListRecall),
            intArg("ptyOthersListRecall", "serviceIndex", &IDABPlayer::ptyOthersListRecall),
            intArg("ensembleListRecall", "index", &IDABPlayer::ensembleListRecall),
            intArg("memory", "index", &IDABPlayer::memory),
            intIntArgs("presetListMemory", "band", "index", &IDABPlayer::presetListMemory),
            intArg("requestPresetList", "band", &IDABPlayer::requestPresetList),
            noArgs("timeShiftPlay", &IDABPlayer::timeShiftPlay),
            noArgs("timeShiftPause", &IDABPlayer::timeShiftPause),
            intArg("timeSeek", "time", &IDABPlayer::timeSeek),
            noArgs("requestDynamicText", &IDABPlayer::requestDynamicText),
            noArgs("requestServiceListUpdate", &IDABPlayer::requestServiceListUpdate),
            noArgs("cancelServiceListUpdate", &IDABPlayer::cancelServiceListUpdate),
            noArgs("requestServiceCompList", &IDABPlayer::requestServiceCompList),
            noArgs("requestEnsembleList", &IDABPlayer::requestEnsembleList),
            intArg("requestPTYSecondList", "index", &IDABPlayer::requestPTYSecondList),
            intArg("requestEnsembleSecondList", "ensembleIndex",
                   &IDABPlayer::requestEnsembleSecondList),
            intArg("abcSearch", "letterIndex", &IDABPlayer::abcSearch),
            noArgs("abcSearchCancel", &IDABPlayer::abcSearchCancel),
            intOut("getBand", "band", &IDABPlayer::getBand),
            intOut("getPresetNum", "presetNum", &IDABPlayer::getPresetNum),
            intOut("getFrequence", "frequency", &IDABPlayer::getFrequence),
            fieldOut("getFreqString", "freq", &IDABPlayer::getFreqString),
            fieldOut("getBlockId", "blockId", &IDABPlayer::getBlockId),
            intOut("getSignalLevel", "level", &IDABPlayer::getSignalLevel),
            intOut("getFmLink", "fmLink", &IDABPlayer::getFmLink),
            intOut("getBitPerSecond", "bps", &IDABPlayer::getBitPerSecond),
            intOut("getPtyType", "ptyType", &IDABPlayer::getPtyType),
            labelOut("getEnsembleLabel", &IDABPlayer::getEnsembleLabel),
            labelOut("getServiceLabel", &IDABPlayer::getServiceLabel),
            labelOut("getCompLabel", &IDABPlayer::getCompLabel),
            intOut("getCompTotal", "total", &IDABPlayer::getCompTotal),
            intOut("getCompNum", "num", &IDABPlayer::getCompNum),
            intOut("getPlaybackStatus", "status", &IDABPlayer::getPlaybackStatus),
            intOut("getTotalTime", "time", &IDABPlayer::getTotalTime),
            intOut("getCacheTime", "time", &IDABPlayer::getCacheTime),
            intOut("getPauseTime", "time", &IDABPlayer::getPauseTime),
            dynamicText(),
            listItemOut("getServiceListItem", &IDABPlayer::getServiceListItem),
            listItemOut("getPtyPopularListItem", &IDABPlayer::getPtyPopularListItem),
            listItemOut("getPtyClassicsListItem", &IDABPlayer::getPtyClassicsListItem),
            listItemOut("getPtyNewsinfoListItem", &IDABPlayer::getPtyNewsinfoListItem),
            listItemOut("getPtyOthersListItem", &IDABPlayer::getPtyOthersListItem),
            listItemOut("getEnsembleCompListItem", &IDABPlayer::getEnsembleCompListItem),
            listItemOut("getEnsembleListItem", &IDABPlayer::getEnsembleListItem),
            presetListItem(),
            intOut("getLogicMode", "mode", &IDABPlayer::getLogicMode),
            intOut("getError", "error", &IDABPlayer::getError),
            intOut("getRealError", "error", &IDABPlayer::getRealError),
            intOut("getNm", "nm", &IDABPlayer::getNm),
            intOut("getDisplayFormat", "format", &IDABPlayer::getDisplayFormat),
            intOut("getAntStatus", "status", &IDABPlayer::getAntStatus),
            noArgs("toNormalView", &IDABPlayer::toNormalView),
            noArgs("toLive", &IDABPlayer::toLive),
            noArgs("timeShift", &IDABPlayer::timeShift),
            noArgs("abcSearchOn", &IDABPlayer::abcSearchOn),
            noArgs("abcSearchOff", &IDABPlayer::abcSearchOff),
            noArgs("setDisplayFormat", &IDABPlayer::setDisplayFormat),
    };
}

}  // namespace

const std::vector<PlayerOperation>& playerOperations() {
    static const std::vector<PlayerOperation> operations = buildOperations();
    return operations;
}

const PlayerOperation* findOperation(const std::string& name) {
    for (const PlayerOperation& op : playerOperations()) {
        if (strcasecmp(op.name, name.c_str()) == 0) return &op;
    }
    return nullptr;
}

void addOutputJson(nlohmann::ordered_json* j, const OpOutput& o) {
    switch (o.kind) {
        case OpOutput::kInt: (*j)[o.name] = o.value; break;
        case OpOutput::kField: (*j)[o.name] = o.field; break;
        case OpOutput::kText:
            if (o.text.converted) {
                (*j)[o.name] = o.text.utf8;
            } else {
                (*j)[o.name] = nullptr;
                (*j)[o.name + "Hex"] = o.text.hex;
            }
            break;
    }
}

bool isTransportError(int result) { return result < -1; }

}  // namespace dabclient
