#include "ReplayStepCheck.h"

#include "ReplayOperations.h"
#include "ReplayPattern.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <map>

namespace {

// Script numbers stay within these: a replay is bounded in clients and in time.
constexpr long kMaxClient = 1000;
constexpr long kMaxMs = 3600 * 1000;
constexpr size_t kMaxSequence = 1000;

bool toInt(const std::string& s, long* out) {
    if (s.empty()) return false;
    char* end = nullptr;
    errno = 0;
    long v = strtol(s.c_str(), &end, 0);
    if (*end != '\0' || errno != 0 || v < INT_MIN || v > UINT_MAX) return false;
    *out = v;
    return true;
}

bool fail(std::string* problem, const std::string& text) {
    *problem = text;
    return false;
}

bool notNumber(std::string* problem, const std::string& w) { return fail(problem, "not a number: '" + w + "'"); }

bool inRange(const std::string& w, long lo, long hi, const char* what, long* out, std::string* problem) {
    if (!toInt(w, out)) return notNumber(problem, w);
    if (*out < lo || *out > hi) {
        return fail(problem, std::string(what) + " must be " + std::to_string(lo) + " to " + std::to_string(hi));
    }
    return true;
}

// key=value words of the record steps.
bool keyValues(const ReplayStep& step, size_t from, const std::set<std::string>& numeric, const std::string& textKey,
               std::map<std::string, long>* nums, std::string* text, std::string* problem) {
    for (size_t i = from; i < step.words.size(); ++i) {
        const std::string& w = step.words[i];
        size_t eq = w.find('=');
        if (eq == std::string::npos) return fail(problem, "expected key=value: '" + w + "'");
        std::string key = w.substr(0, eq), value = w.substr(eq + 1);
        if (key == textKey) {
            if (value.size() > 16) return fail(problem, "label longer than 16 bytes");
            *text = value;
        } else if (numeric.count(key)) {
            long v;
            if (!toInt(value, &v)) return notNumber(problem, value);
            (*nums)[key] = v;
        } else {
            return fail(problem, "unknown key '" + key + "'");
        }
    }
    return true;
}

bool needInts(const ReplayStep& s, size_t from, size_t count, std::string* problem) {
    if (s.words.size() != from + count) {
        return fail(problem, s.words[0] + ": expected " + std::to_string(count) + " argument(s)");
    }
    for (size_t i = from; i < s.words.size(); ++i) {
        long v;
        if (!toInt(s.words[i], &v)) return notNumber(problem, s.words[i]);
    }
    return true;
}

bool isSource(const std::string& s) { return s == "dab" || s == "tadab"; }

bool checkPattern(const ReplayStep& s, size_t at, std::string* problem) {
    ReplayPattern p;
    return p.set(s.words[at], problem);
}

bool checkWait(const ReplayStep& s, bool msRequired, std::string* problem) {
    const std::string usage = s.words[0] + (msRequired ? " <pattern> <ms>" : " <pattern> [<ms>]");
    if (s.words.size() < (msRequired ? 3u : 2u) || s.words.size() > 3) return fail(problem, usage);
    long v;
    if (s.words.size() == 3 && !inRange(s.words[2], 0, kMaxMs, "time", &v, problem)) return false;
    return checkPattern(s, 1, problem);
}

bool checkTuner(const ReplayStep& s, size_t at, std::string* problem) {
    const std::vector<std::string>& w = s.words;
    if (w.size() <= at) return fail(problem, "tuner: what?");
    if (replayGetters().count(w[at])) {
        if (w.size() == at + 1) return fail(problem, w[at] + ": expected a value");
        if (w.size() - at - 1 > kMaxSequence) return fail(problem, "more than " + std::to_string(kMaxSequence) + " answers");
        for (size_t i = at + 1; i < w.size(); ++i) {
            long v;
            if (!toInt(w[i], &v)) return notNumber(problem, w[i]);
        }
        return true;
    }
    if (w[at] == "then") {
        if (at != 1) return fail(problem, "then only once");
        return checkTuner(s, at + 1, problem);
    }
    if (w[at] == "answer") {
        if (at != 1) return fail(problem, "answer cannot follow then");
        long v;
        if (w.size() == 3 && w[2] == "off") return true;
        if (w.size() == 3 && w[2] == "on") return true;
        if (w.size() == 4 && w[2] == "on") return inRange(w[3], 0, 60000, "answer delay", &v, problem);
        return fail(problem, "tuner answer on [<ms>] | tuner answer off");
    }
    ReplayRecord r;
    return parseReplayRecord(s, at, &r, problem);
}

bool checkList(const ReplayStep& s, std::string* problem) {
    const std::vector<std::string>& w = s.words;
    const std::string usage = "list preset <bank> <n> ... | list service|ensemble ... | list pty <group> ... | "
                              "list component <eid> ...";
    if (w.size() < 2) return fail(problem, usage);
    long v;
    media_lib_dab::ST_DAB_SVC_LIST_DATA entry;
    if (w[1] == "preset") {
        if (w.size() < 4) return fail(problem, usage);
        if (!inRange(w[2], 1, 3, "bank", &v, problem) || !inRange(w[3], 1, 6, "preset", &v, problem)) return false;
        media_lib_dab::ST_DAB_PCH_LIST_ITEM item;
        return parsePresetEntry(s, 4, &item, problem);
    }
    if (w[1] == "service" || w[1] == "ensemble") return parseListEntry(s, 2, &entry, problem);
    if (w[1] == "pty") {
        if (w.size() < 3) return fail(problem, usage);
        return inRange(w[2], 1, 4, "PTY group", &v, problem) && parseListEntry(s, 3, &entry, problem);
    }
    if (w[1] == "component") {
        if (w.size() < 3) return fail(problem, usage);
        return inRange(w[2], 0, 65535, "ensemble id", &v, problem) && parseListEntry(s, 3, &entry, problem);
    }
    return fail(problem, usage);
}

bool checkClient(const ReplayStep& s, std::string* problem) {
    const std::vector<std::string>& w = s.words;
    const std::string usage =
            "client <n> connect [fail]|drop|die|slow <ms>|listener on|off|<m>";
    long n, v;
    if (w.size() < 3 || !inRange(w[1], 1, kMaxClient, "client", &n, problem)) {
        return problem->empty() ? fail(problem, usage) : false;
    }
    if (w[2] == "connect") {
        return w.size() == 3 || (w.size() == 4 && w[3] == "fail") || fail(problem, usage);
    }
    if (w[2] == "drop" || w[2] == "die") return w.size() == 3 || fail(problem, "too many arguments");
    if (w[2] == "slow") return w.size() == 4 ? inRange(w[3], 0, kMaxMs, "time", &v, problem) : fail(problem, usage);
    if (w[2] == "listener" && w.size() == 4) {
        if (w[3] == "on" || w[3] == "off") return true;
        return inRange(w[3], 1, kMaxClient, "client", &v, problem);
    }
    return fail(problem, usage);
}

bool checkMm(const ReplayStep& s, std::string* problem) {
    const std::vector<std::string>& w = s.words;
    if (w.size() >= 2 && (w[1] == "create" || w[1] == "register" || w[1] == "status")) {
        const std::string usage = "mm " + w[1] + " fail|ok" + (w[1] == "create" ? " [dab|tadab]" : " dab|tadab");
        if (w.size() < 3 || (w[2] != "fail" && w[2] != "ok")) return fail(problem, usage);
        if (w.size() == 3) return w[1] == "create" || fail(problem, usage);
        return (w.size() == 4 && isSource(w[3])) || fail(problem, usage);
    }
    if (w.size() < 3 || !isSource(w[2])) return fail(problem, "mm <action> dab|tadab ...");
    if (w[1] == "activate" || w[1] == "deactivate" || w[1] == "release") return needInts(s, 3, 1, problem);
    if (w[1] == "request-info") return w.size() == 3 || fail(problem, "too many arguments");
    if (w[1] == "notify") return w.size() == 6 ? needInts(s, 3, 3, problem) : needInts(s, 3, 4, problem);
    return fail(problem, "unknown mm step '" + w[1] + "'");
}

bool checkStep(const ReplayStep& s, std::string* problem) {
    const std::vector<std::string>& w = s.words;
    const std::string& cmd = w[0];
    long v;
    if (cmd == "tuner") return checkTuner(s, 1, problem);
    if (cmd == "list") return checkList(s, problem);
    if (cmd == "notify") return needInts(s, 1, 2, problem);
    if (cmd == "client") return checkClient(s, problem);
    if (cmd == "call") {
        if (w.size() < 3 || !toInt(w[1], &v) || v < 1 || v > kMaxClient) return fail(problem, "call <n> <operation> [args]");
        return checkReplayCall(std::vector<std::string>(w.begin() + 2, w.end()), problem);
    }
    if (cmd == "mm") return checkMm(s, problem);
    if (cmd == "sys") return (w.size() == 2 && (w[1] == "resume" || w[1] == "suspend")) || fail(problem, "sys resume|suspend");
    if (cmd == "mediadata") {
        return (w.size() == 3 && w[1] == "create" && (w[2] == "fail" || w[2] == "ok")) ||
               fail(problem, "mediadata create fail|ok");
    }
    if (cmd == "start") return w.size() == 1 || fail(problem, "start takes no arguments");
    if (cmd == "sleep") return w.size() == 2 ? inRange(w[1], 0, kMaxMs, "time", &v, problem) : needInts(s, 1, 1, problem);
    if (cmd == "await" || cmd == "expect") return checkWait(s, false, problem);
    if (cmd == "quiet") return checkWait(s, true, problem);
    if (cmd == "thread") {
        if (w.size() >= 2 && w[1] == "fail" && w.size() <= 3) {
            return w.size() == 2 || inRange(w[2], 1, 100, "thread count", &v, problem);
        }
        return fail(problem, "thread fail [<count>]");
    }
    if (cmd == "mark") return w.size() >= 2 || fail(problem, "mark <name>");
    return fail(problem, "unknown step '" + cmd + "'");
}

}  // namespace

const std::set<std::string>& replayGetters() {
    static const std::set<std::string> kGetters = {
        "getBand", "getPchNum", "getNmValue", "getLogicMode", "getErrorInfo", "getAntStatus",
        "getSignalLevel", "getFmLink", "getBitRate", "getComponentTotal", "getComponentNum",
        "getTsStatus", "getTsAllTime", "getTsDelayTime", "getTsSetTime"};
    return kGetters;
}

long replayNumber(const std::string& word) { return strtol(word.c_str(), nullptr, 0); }

bool parseReplayRecord(const ReplayStep& s, size_t at, ReplayRecord* out, std::string* problem) {
    const std::vector<std::string>& w = s.words;
    const size_t n = w.size() - at;  // words from the record's kind on
    out->kind = w[at];
    if (w[at] == "title") {
        if (n != 4 || !s.quoted[at + 3]) return fail(problem, "tuner title <kind> <charset> \"<text>\"");
        long kind, cs;
        if (!toInt(w[at + 1], &kind) || kind < 0 || kind > 2) return fail(problem, "title kind must be 0, 1 or 2");
        if (!toInt(w[at + 2], &cs)) return notNumber(problem, w[at + 2]);
        if (w[at + 3].size() > 16) return fail(problem, "title longer than 16 bytes");
        out->titleKind = static_cast<int>(kind);
        out->title.charset = static_cast<uint32_t>(cs);
        memcpy(out->title.text, w[at + 3].data(), w[at + 3].size());
        return true;
    }
    if (w[at] == "dls") {
        if (n != 5 || !s.quoted[at + 4]) return fail(problem, "tuner dls <charset> <length> <segment> \"<text>\"");
        long v[3];
        for (int i = 0; i < 3; ++i) {
            if (!toInt(w[at + 1 + i], &v[i])) return notNumber(problem, w[at + 1 + i]);
        }
        if (w[at + 4].size() > 64) return fail(problem, "dls segment longer than 64 bytes");
        out->dls.charset = static_cast<uint32_t>(v[0]);
        out->dls.length = static_cast<uint8_t>(v[1]);
        out->dls.segment = static_cast<uint8_t>(v[2]);
        memcpy(out->dls.text, w[at + 4].data(), w[at + 4].size());
        return true;
    }
    std::map<std::string, long> v;
    std::string label;
    if (w[at] == "pch") {
        if (!keyValues(s, at + 1, {"valid", "band", "pch", "nm", "encode"}, "label", &v, &label, problem)) return false;
        out->pch.labelValid = static_cast<uint8_t>(v["valid"]);
        out->pch.band = static_cast<uint32_t>(v["band"]);
        out->pch.pchNum = static_cast<uint8_t>(v["pch"]);
        out->pch.nm = static_cast<uint8_t>(v["nm"]);
        out->pch.labelEncode = static_cast<uint32_t>(v["encode"]);
        memcpy(out->pch.label, label.data(), label.size());
        return true;
    }
    if (w[at] == "svc") {
        if (!keyValues(s, at + 1, {"valid", "all", "pos", "listall", "listpos", "nm", "eid", "sid", "scid", "code"},
                       "label", &v, &label, problem)) {
            return false;
        }
        out->svc.valid = static_cast<uint8_t>(v["valid"]);
        out->svc.curnum_all = static_cast<uint8_t>(v["all"]);
        out->svc.curnum_pos = static_cast<uint8_t>(v["pos"]);
        out->svc.listnum_all = static_cast<uint8_t>(v["listall"]);
        out->svc.listnum_pos = static_cast<uint8_t>(v["listpos"]);
        out->svc.NM = static_cast<uint8_t>(v["nm"]);
        out->svc.eid = static_cast<uint16_t>(v["eid"]);
        out->svc.sid = static_cast<uint32_t>(v["sid"]);
        out->svc.scid = static_cast<uint32_t>(v["scid"]);
        out->svc.codeTyped = static_cast<uint32_t>(v["code"]);
        memcpy(out->svc.label, label.data(), label.size());
        return true;
    }
    return fail(problem, "unknown tuner step '" + w[at] + "'");
}

bool parseListEntry(const ReplayStep& s, size_t from, media_lib_dab::ST_DAB_SVC_LIST_DATA* out, std::string* problem) {
    std::map<std::string, long> v;
    std::string label;
    memset(out, 0, sizeof(*out));
    if (!keyValues(s, from, {"listall", "listpos", "nm", "eid", "sid", "scid", "code"}, "label", &v, &label, problem)) {
        return false;
    }
    out->listnum_all = static_cast<uint8_t>(v["listall"]);
    out->listnum_pos = static_cast<uint8_t>(v["listpos"]);
    out->NM = static_cast<uint8_t>(v["nm"]);
    out->eid = static_cast<uint16_t>(v["eid"]);
    out->sid = static_cast<uint32_t>(v["sid"]);
    out->scid = static_cast<uint32_t>(v["scid"]);
    out->codeTyped = static_cast<uint32_t>(v["code"]);
    memcpy(out->label, label.data(), label.size());
    return true;
}

bool parsePresetEntry(const ReplayStep& s, size_t from, media_lib_dab::ST_DAB_PCH_LIST_ITEM* out, std::string* problem) {
    std::map<std::string, long> v;
    std::string label;
    bool hasLabel = false;
    memset(out, 0, sizeof(*out));
    for (size_t i = from; i < s.words.size(); ++i) hasLabel = hasLabel || s.words[i].compare(0, 6, "label=") == 0;
    if (!keyValues(s, from, {"valid", "nm", "encode"}, "label", &v, &label, problem)) return false;
    // A preset with a label is valid unless the script says otherwise.
    out->labelValid = static_cast<uint8_t>(v.count("valid") ? v["valid"] : (hasLabel ? 1 : 0));
    out->nm = static_cast<uint8_t>(v.count("nm") ? v["nm"] : 13);
    out->labelEncode = static_cast<uint32_t>(v["encode"]);
    memcpy(out->label, label.data(), label.size());
    return true;
}

bool checkReplaySteps(const std::vector<ReplayStep>& steps, std::string* error) {
    for (const ReplayStep& s : steps) {
        std::string problem;
        if (!checkStep(s, &problem)) {
            *error = s.file + ":" + std::to_string(s.line) + ": " + problem;
            return false;
        }
    }
    return true;
}
