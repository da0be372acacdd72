#include "ReplayOperations.h"

#include "ReplayScript.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>

using namespace android;

namespace {

// What an operation takes: its int inputs, then its outputs in order.
enum class Out { Int, Text16, Text128 };

struct OutputSlot {
    Out kind;
    const char* name;
};

struct OperationShape {
    int inputs;
    std::vector<OutputSlot> outputs;
    // Calls the operation with the int inputs and one pointer per output (null allowed).
    std::function<int(IDABPlayer*, const int*, void**)> call;
};

#define OP0(n) {#n, {0, {}, [](IDABPlayer* p, const int*, void**) { return p->n(); }}}
#define OP1(n) {#n, {1, {}, [](IDABPlayer* p, const int* a, void**) { return p->n(a[0]); }}}
#define OP2(n) {#n, {2, {}, [](IDABPlayer* p, const int* a, void**) { return p->n(a[0], a[1]); }}}
#define OPI(n, out) \
    {#n, {0, {{Out::Int, out}}, [](IDABPlayer* p, const int*, void** o) { return p->n(static_cast<int*>(o[0])); }}}
#define OPT(n, out) \
    {#n, {0, {{Out::Text16, out}}, [](IDABPlayer* p, const int*, void** o) { return p->n(static_cast<char*>(o[0])); }}}
#define OPL(n)                                                                       \
    {#n, {0, {{Out::Text16, "label"}, {Out::Int, "code"}}, [](IDABPlayer* p, const int*, void** o) { \
              return p->n(static_cast<char*>(o[0]), static_cast<int*>(o[1]));         \
          }}}
#define OPITEM(n)                                                                    \
    {#n, {1, {{Out::Text16, "label"}, {Out::Int, "code"}}, [](IDABPlayer* p, const int* a, void** o) { \
              return p->n(a[0], static_cast<char*>(o[0]), static_cast<int*>(o[1]));   \
          }}}

const std::map<std::string, OperationShape>& operations() {
    static const std::map<std::string, OperationShape> kOps = {
        OP0(manualUp), OP0(manualDown), OP0(presetSeekUp), OP0(presetSeekDown), OP0(switchBand),
        OP1(recall), OP2(presetListRecall), OP0(presetUpRecall), OP0(presetDownRecall),
        OP1(serviceListRecall), OP1(ptyNewsinfoListRecall), OP1(ptyPopularListRecall),
        OP1(ptyClassicsListRecall), OP1(ptyOthersListRecall), OP1(ensembleListRecall),
        OP1(memory), OP2(presetListMemory), OP1(requestPresetList), OP0(timeShiftPlay),
        OP0(timeShiftPause), OP1(timeSeek), OP0(requestDynamicText), OP0(requestServiceListUpdate),
        OP0(cancelServiceListUpdate), OP0(requestServiceCompList), OP0(requestEnsembleList),
        OP1(requestPTYSecondList), OP1(requestEnsembleSecondList), OP1(abcSearch),
        OP0(abcSearchCancel), OPI(getBand, "band"), OPI(getPresetNum, "presetNum"),
        OPI(getFrequence, "frequency"), OPT(getFreqString, "freq"), OPT(getBlockId, "blockId"),
        OPI(getSignalLevel, "level"), OPI(getFmLink, "fmLink"), OPI(getBitPerSecond, "bps"),
        OPI(getPtyType, "ptyType"), OPL(getEnsembleLabel), OPL(getServiceLabel), OPL(getCompLabel),
        OPI(getCompTotal, "total"), OPI(getCompNum, "num"), OPI(getPlaybackStatus, "status"),
        OPI(getTotalTime, "time"), OPI(getCacheTime, "time"), OPI(getPauseTime, "time"),
        {"getDynamicText",
         {0, {{Out::Text128, "text"}, {Out::Int, "code"}, {Out::Int, "length"}},
          [](IDABPlayer* p, const int*, void** o) {
              return p->getDynamicText(static_cast<char*>(o[0]), static_cast<int*>(o[1]),
                                       static_cast<int*>(o[2]));
          }}},
        OPITEM(getServiceListItem), OPITEM(getPtyPopularListItem), OPITEM(getPtyClassicsListItem),
        OPITEM(getPtyNewsinfoListItem), OPITEM(getPtyOthersListItem),
        OPITEM(getEnsembleCompListItem), OPITEM(getEnsembleListItem),
        {"getPresetListItem",
         {2, {{Out::Text16, "label"}, {Out::Int, "code"}, {Out::Int, "labelAvail"}},
          [](IDABPlayer* p, const int* a, void** o) {
              return p->getPresetListItem(a[0], a[1], static_cast<char*>(o[0]),
                                          static_cast<int*>(o[1]), static_cast<int*>(o[2]));
          }}},
        OPI(getLogicMode, "mode"), OPI(getError, "error"), OPI(getRealError, "error"),
        OPI(getNm, "nm"), OPI(getDisplayFormat, "format"), OPI(getAntStatus, "status"),
        OP0(toNormalView), OP0(toLive), OP0(timeShift), OP0(abcSearchOn), OP0(abcSearchOff),
        OP0(setDisplayFormat),
    };
    return kOps;
}

#undef OP0
#undef OP1
#undef OP2
#undef OPI
#undef OPT
#undef OPL
#undef OPITEM

bool parseInt(const std::string& s, int* out) {
    if (s.empty()) return false;
    char* end = nullptr;
    long v = strtol(s.c_str(), &end, 0);
    if (*end != '\0' || v < INT_MIN || v > INT_MAX) return false;
    *out = static_cast<int>(v);
    return true;
}

// Untouched outputs keep these, so the transcript can tell them apart from written ones.
constexpr int kUntouchedInt = INT_MIN + 0x5a5a;
constexpr unsigned char kUntouchedByte = 0xA5;

}  // namespace

bool checkReplayCall(const std::vector<std::string>& args, std::string* error) {
    // args: <operation> [inputs...] [output words: null or _ ...]
    auto it = operations().find(args.empty() ? "" : args[0]);
    if (it == operations().end()) {
        *error = "unknown operation '" + (args.empty() ? std::string() : args[0]) + "'";
        return false;
    }
    const OperationShape& op = it->second;
    const size_t given = args.size() - 1;
    if (given < static_cast<size_t>(op.inputs) || given > op.inputs + op.outputs.size()) {
        *error = args[0] + " takes " + std::to_string(op.inputs) + " argument(s)";
        return false;
    }
    for (int i = 0; i < op.inputs; ++i) {
        int v;
        if (!parseInt(args[1 + i], &v)) {
            *error = "not a number: '" + args[1 + i] + "'";
            return false;
        }
    }
    for (size_t i = 1 + op.inputs; i < args.size(); ++i) {
        if (args[i] != "null" && args[i] != "_") {
            *error = "output argument must be null or _: '" + args[i] + "'";
            return false;
        }
    }
    return true;
}

std::string runReplayCall(const sp<IDABPlayer>& player, const std::vector<std::string>& args) {
    const OperationShape& op = operations().at(args[0]);
    int inputs[2] = {0, 0};
    std::string argText;
    for (int i = 0; i < op.inputs; ++i) {
        parseInt(args[1 + i], &inputs[i]);
        argText += (i ? "," : "") + std::to_string(inputs[i]);
    }
    int ints[3];
    char text16[3][16];
    char text128[128];
    void* outs[3] = {nullptr, nullptr, nullptr};
    for (size_t i = 0; i < op.outputs.size(); ++i) {
        const size_t word = 1 + op.inputs + i;
        const bool isNull = word < args.size() && args[word] == "null";
        if (word < args.size()) argText += std::string(argText.empty() ? "" : ",") + args[word];
        if (isNull) continue;
        switch (op.outputs[i].kind) {
            case Out::Int: ints[i] = kUntouchedInt; outs[i] = &ints[i]; break;
            case Out::Text16: memset(text16[i], kUntouchedByte, 16); outs[i] = text16[i]; break;
            case Out::Text128: memset(text128, kUntouchedByte, 128); outs[i] = text128; break;
        }
    }
    const int result = op.call(player.get(), inputs, outs);
    std::string line = args[0] + "(" + argText + ") = " + std::to_string(result);
    for (size_t i = 0; i < op.outputs.size(); ++i) {
        line += std::string(" ") + op.outputs[i].name + "=";
        if (outs[i] == nullptr) {
            line += "null";
            continue;
        }
        if (op.outputs[i].kind == Out::Int) {
            line += ints[i] == kUntouchedInt ? "-" : std::to_string(ints[i]);
            continue;
        }
        const char* buf = static_cast<const char*>(outs[i]);
        const size_t size = op.outputs[i].kind == Out::Text16 ? 16 : 128;
        bool untouched = true;
        for (size_t b = 0; b < size; ++b) untouched = untouched && static_cast<unsigned char>(buf[b]) == kUntouchedByte;
        if (untouched) {
            line += "-";
        } else {
            line += quoteBytes(buf, strnlen(buf, size));
        }
    }
    return line;
}
