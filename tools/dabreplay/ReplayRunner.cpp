#include "ReplayRunner.h"

#include "DABServiceStartup.h"
#include "FakeTuner.h"
#include "HostLog.h"
#include "ReplayBackends.h"
#include "ReplayOperations.h"

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <dabplayer/IDABPlayerService.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <thread>
#include <unistd.h>

using namespace android;

namespace {

const std::set<std::string> kGetters = {
    "getBand", "getPchNum", "getNmValue", "getLogicMode", "getErrorInfo", "getAntStatus",
    "getSignalLevel", "getFmLink", "getBitRate", "getComponentTotal", "getComponentNum",
    "getTsStatus", "getTsAllTime", "getTsDelayTime", "getTsSetTime"};

bool toInt(const std::string& s, long* out) {
    if (s.empty()) return false;
    char* end = nullptr;
    long v = strtol(s.c_str(), &end, 0);
    if (*end != '\0') return false;
    *out = v;
    return true;
}

// key=value words of the record steps.
bool keyValues(const ReplayStep& step, size_t from, const std::set<std::string>& numeric,
               const std::string& textKey, std::map<std::string, long>* nums, std::string* text,
               std::string* problem) {
    for (size_t i = from; i < step.words.size(); ++i) {
        const std::string& w = step.words[i];
        size_t eq = w.find('=');
        if (eq == std::string::npos) {
            *problem = "expected key=value: '" + w + "'";
            return false;
        }
        std::string key = w.substr(0, eq), value = w.substr(eq + 1);
        if (key == textKey) {
            *text = value;
        } else if (numeric.count(key)) {
            long v;
            if (!toInt(value, &v)) {
                *problem = "not a number: '" + value + "'";
                return false;
            }
            (*nums)[key] = v;
        } else {
            *problem = "unknown key '" + key + "'";
            return false;
        }
    }
    return true;
}

bool needInts(const ReplayStep& s, size_t from, size_t count, std::string* problem) {
    if (s.words.size() != from + count) {
        *problem = s.words[0] + ": expected " + std::to_string(count) + " argument(s)";
        return false;
    }
    for (size_t i = from; i < s.words.size(); ++i) {
        long v;
        if (!toInt(s.words[i], &v)) {
            *problem = "not a number: '" + s.words[i] + "'";
            return false;
        }
    }
    return true;
}

bool isSource(const std::string& s) { return s == "dab" || s == "tadab"; }

bool checkStep(const ReplayStep& s, std::string* problem) {
    const std::vector<std::string>& w = s.words;
    const std::string& cmd = w[0];
    if (cmd == "tuner") {
        if (w.size() < 2) return *problem = "tuner: what?", false;
        if (kGetters.count(w[1])) return needInts(s, 2, 1, problem);
        if (w[1] == "title") {
            if (w.size() != 5 || !s.quoted[4]) return *problem = "tuner title <kind> <charset> \"<text>\"", false;
            long kind;
            if (!toInt(w[2], &kind) || kind < 0 || kind > 2) return *problem = "title kind must be 0, 1 or 2", false;
            long cs;
            if (!toInt(w[3], &cs)) return *problem = "not a number: '" + w[3] + "'", false;
            if (w[4].size() > 16) return *problem = "title longer than 16 bytes", false;
            return true;
        }
        if (w[1] == "dls") {
            if (w.size() != 6 || !s.quoted[5]) return *problem = "tuner dls <charset> <length> <segment> \"<text>\"", false;
            for (int i = 2; i < 5; ++i) {
                long v;
                if (!toInt(w[i], &v)) return *problem = "not a number: '" + w[i] + "'", false;
            }
            if (w[5].size() > 64) return *problem = "dls segment longer than 64 bytes", false;
            return true;
        }
        std::map<std::string, long> nums;
        std::string text;
        if (w[1] == "pch") {
            if (!keyValues(s, 2, {"valid", "band", "pch", "nm", "encode"}, "label", &nums, &text, problem)) return false;
            if (text.size() > 16) return *problem = "label longer than 16 bytes", false;
            return true;
        }
        if (w[1] == "svc") {
            if (!keyValues(s, 2, {"valid", "all", "pos", "listall", "listpos", "nm", "eid", "sid", "scid", "code"},
                           "label", &nums, &text, problem)) return false;
            if (text.size() > 16) return *problem = "label longer than 16 bytes", false;
            return true;
        }
        return *problem = "unknown tuner step '" + w[1] + "'", false;
    }
    if (cmd == "notify") return needInts(s, 1, 2, problem);
    if (cmd == "client") {
        long n;
        if (w.size() < 3 || !toInt(w[1], &n) || n < 1) return *problem = "client <n> connect|listener on|listener off|drop", false;
        if (w[2] == "connect" || w[2] == "drop") return w.size() == 3 || (*problem = "too many arguments", false);
        if (w[2] == "listener" && w.size() == 4 && (w[3] == "on" || w[3] == "off")) return true;
        return *problem = "client <n> connect|listener on|listener off|drop", false;
    }
    if (cmd == "call") {
        long n;
        if (w.size() < 3 || !toInt(w[1], &n) || n < 1) return *problem = "call <n> <operation> [args]", false;
        return checkReplayCall(std::vector<std::string>(w.begin() + 2, w.end()), problem);
    }
    if (cmd == "mm") {
        if (w.size() >= 2 && w[1] == "create") {
            return (w.size() == 3 && (w[2] == "fail" || w[2] == "ok")) || (*problem = "mm create fail|ok", false);
        }
        if (w.size() < 3 || !isSource(w[2])) return *problem = "mm <action> dab|tadab ...", false;
        if (w[1] == "activate" || w[1] == "deactivate" || w[1] == "release") return needInts(s, 3, 1, problem);
        if (w[1] == "request-info") return w.size() == 3 || (*problem = "too many arguments", false);
        if (w[1] == "notify") {
            if (w.size() == 6) return needInts(s, 3, 3, problem);
            return needInts(s, 3, 4, problem);
        }
        return *problem = "unknown mm step '" + w[1] + "'", false;
    }
    if (cmd == "sys") {
        return (w.size() == 2 && (w[1] == "resume" || w[1] == "suspend")) || (*problem = "sys resume|suspend", false);
    }
    if (cmd == "mediadata") {
        return (w.size() == 3 && w[1] == "create" && (w[2] == "fail" || w[2] == "ok")) ||
               (*problem = "mediadata create fail|ok", false);
    }
    if (cmd == "start") return w.size() == 1 || (*problem = "start takes no arguments", false);
    if (cmd == "sleep") return needInts(s, 1, 1, problem);
    if (cmd == "await") {
        if (w.size() < 2 || w.size() > 3) return *problem = "await <transcript-prefix> [<ms>]", false;
        long v;
        if (w.size() == 3 && !toInt(w[2], &v)) return *problem = "not a number: '" + w[2] + "'", false;
        return true;
    }
    return *problem = "unknown step '" + cmd + "'", false;
}

std::string escapeLog(const std::string& m) {
    std::string out;
    for (char c : m) {
        if (c == '\r') out += "\\r";
        else if (c == '\n') out += "\\n";
        else out += c;
    }
    return out;
}

class Replay {
public:
    explicit Replay(bool withLog) : mTranscript(stdout) {
        mTuner = new FakeTuner();
        mMediaManager = new ReplayMediaManager(&mTranscript);
        mMediaData = new ReplayMediaData(&mTranscript);
        mSysCtrl = new ReplaySysCtrl(&mTranscript);
        mProcess = new ReplayProcessSupport(&mTranscript);
        mTuner->setCommandHook([this](const std::string& c) { mTranscript.add("tuner " + c); });
        media_lib_dab::DABLibBackend::setCurrent(mTuner);
        MediaManagerBackend::setCurrent(mMediaManager);
        MediaDataBackend::setCurrent(mMediaData);
        SysCtrlBackend::setCurrent(mSysCtrl);
        ProcessSupportBackend::setCurrent(mProcess);
        if (withLog) {
            HostLog::setSink([this](const HostLog::Line& l) {
                static const char kLetters[] = "??VDIWEF";
                char p = (l.priority >= 2 && l.priority <= 7) ? kLetters[l.priority] : '?';
                mTranscript.add(std::string("log ") + p + " " + (l.hasTag ? l.tag : "-") + " " +
                                escapeLog(l.message));
            });
        } else {
            HostLog::setSink([](const HostLog::Line&) {});
        }
    }

    int run(const std::vector<ReplayStep>& steps, std::string* error) {
        for (const ReplayStep& s : steps) {
            std::string problem;
            int status = step(s, &problem);
            if (status != REPLAY_OK) {
                *error = std::to_string(s.line) + ": " + problem;
                mTranscript.flush();
                return status;
            }
        }
        mTranscript.flush();
        return REPLAY_OK;
    }

private:
    int step(const ReplayStep& s, std::string* problem) {
        const std::vector<std::string>& w = s.words;
        const std::string& cmd = w[0];
        if (cmd == "tuner") return tunerStep(s);
        if (cmd == "notify") {
            mTuner->notify(static_cast<int>(strtol(w[1].c_str(), nullptr, 0)),
                           static_cast<int>(strtol(w[2].c_str(), nullptr, 0)));
            return REPLAY_OK;
        }
        if (cmd == "client") return clientStep(s, problem);
        if (cmd == "call") {
            int n = atoi(w[1].c_str());
            auto it = mPlayers.find(n);
            if (it == mPlayers.end()) {
                *problem = "client " + w[1] + " is not connected";
                return REPLAY_SCRIPT_ERROR;
            }
            sp<IDABPlayer> player = it->second;
            std::string line = runReplayCall(player, std::vector<std::string>(w.begin() + 2, w.end()));
            mTranscript.add("client" + w[1] + " " + line);
            return REPLAY_OK;
        }
        if (cmd == "mm") return mmStep(s, problem);
        if (cmd == "sys") {
            bool ok = w[1] == "resume" ? mSysCtrl->resume() : mSysCtrl->suspend();
            if (!ok) {
                *problem = "no system control listener (missing start?)";
                return REPLAY_SCRIPT_ERROR;
            }
            return REPLAY_OK;
        }
        if (cmd == "mediadata") {
            mMediaData->setCreateFails(w[2] == "fail");
            return REPLAY_OK;
        }
        if (cmd == "start") {
            int status = dabplayer_service_start(false);
            if (status != 0) mTranscript.add("start = " + std::to_string(status));
            return REPLAY_OK;
        }
        if (cmd == "sleep") {
            std::this_thread::sleep_for(std::chrono::milliseconds(atol(w[1].c_str())));
            return REPLAY_OK;
        }
        if (cmd == "await") {
            long ms = w.size() == 3 ? atol(w[2].c_str()) : 3000;
            if (!mTranscript.await(w[1], std::chrono::milliseconds(ms))) {
                *problem = w[1];
                return REPLAY_AWAIT_TIMED_OUT;
            }
            return REPLAY_OK;
        }
        *problem = "unknown step";
        return REPLAY_SCRIPT_ERROR;
    }

    int tunerStep(const ReplayStep& s) {
        const std::vector<std::string>& w = s.words;
        if (kGetters.count(w[1])) {
            mTuner->setGetter(w[1], static_cast<int>(strtol(w[2].c_str(), nullptr, 0)));
        } else if (w[1] == "title") {
            mTuner->setTitle(atoi(w[2].c_str()), static_cast<uint32_t>(strtoul(w[3].c_str(), nullptr, 0)),
                             w[4].data(), w[4].size());
        } else if (w[1] == "dls") {
            mTuner->setDls(static_cast<uint32_t>(strtoul(w[2].c_str(), nullptr, 0)),
                           static_cast<uint8_t>(strtoul(w[3].c_str(), nullptr, 0)),
                           static_cast<uint8_t>(strtoul(w[4].c_str(), nullptr, 0)), w[5].data(), w[5].size());
        } else {
            std::map<std::string, long> v;
            std::string label, problem;
            if (w[1] == "pch") {
                keyValues(s, 2, {"valid", "band", "pch", "nm", "encode"}, "label", &v, &label, &problem);
                media_lib_dab::ST_DAB_PCH_LIST_ITEM item;
                memset(&item, 0, sizeof(item));
                item.labelValid = static_cast<uint8_t>(v["valid"]);
                item.band = static_cast<uint32_t>(v["band"]);
                item.pchNum = static_cast<uint8_t>(v["pch"]);
                item.nm = static_cast<uint8_t>(v["nm"]);
                item.labelEncode = static_cast<uint32_t>(v["encode"]);
                memcpy(item.label, label.data(), label.size());
                mTuner->setPchItem(item);
            } else {
                keyValues(s, 2, {"valid", "all", "pos", "listall", "listpos", "nm", "eid", "sid", "scid", "code"},
                          "label", &v, &label, &problem);
                media_lib_dab::ST_DAB_SVC_LIST_DATA item;
                memset(&item, 0, sizeof(item));
                item.valid = static_cast<uint8_t>(v["valid"]);
                item.curnum_all = static_cast<uint8_t>(v["all"]);
                item.curnum_pos = static_cast<uint8_t>(v["pos"]);
                item.listnum_all = static_cast<uint8_t>(v["listall"]);
                item.listnum_pos = static_cast<uint8_t>(v["listpos"]);
                item.NM = static_cast<uint8_t>(v["nm"]);
                item.eid = static_cast<uint16_t>(v["eid"]);
                item.sid = static_cast<uint32_t>(v["sid"]);
                item.scid = static_cast<uint32_t>(v["scid"]);
                item.codeTyped = static_cast<uint32_t>(v["code"]);
                memcpy(item.label, label.data(), label.size());
                mTuner->setSvcItem(item);
            }
        }
        return REPLAY_OK;
    }

    int clientStep(const ReplayStep& s, std::string* problem) {
        const std::vector<std::string>& w = s.words;
        const int n = atoi(w[1].c_str());
        if (w[2] == "connect") {
            sp<IDABPlayerService> service =
                    interface_cast<IDABPlayerService>(defaultServiceManager()->checkService(String16("DABPlayer")));
            if (service == nullptr) {
                *problem = "no DABPlayer service (missing start?)";
                return REPLAY_SCRIPT_ERROR;
            }
            sp<ReplayClient> callback = new ReplayClient(&mTranscript, n);
            mCallbacks[n] = callback;
            mPlayers[n] = service->createClient(getpid(), callback);
            return REPLAY_OK;
        }
        auto it = mPlayers.find(n);
        if (it == mPlayers.end()) {
            *problem = "client " + w[1] + " is not connected";
            return REPLAY_SCRIPT_ERROR;
        }
        if (w[2] == "drop") {
            mPlayers.erase(it);
            return REPLAY_OK;
        }
        it->second->setClientListener(w[3] == "on" ? sp<IDABPlayerClient>(mCallbacks[n]) : nullptr);
        return REPLAY_OK;
    }

    int mmStep(const ReplayStep& s, std::string* problem) {
        const std::vector<std::string>& w = s.words;
        if (w[1] == "create") {
            mMediaManager->setCreateFails(w[2] == "fail");
            return REPLAY_OK;
        }
        sp<ISourceListener> listener = mMediaManager->listener(w[2]);
        if (listener == nullptr) {
            *problem = "source " + w[2] + " does not exist";
            return REPLAY_SCRIPT_ERROR;
        }
        const std::string prefix = "mm " + w[2] + " ";
        if (w[1] == "activate") {
            int r = listener->onRequestActivation(atoi(w[3].c_str()));
            mTranscript.add(prefix + "activate " + w[3] + " = " + std::to_string(r));
        } else if (w[1] == "deactivate") {
            int r = listener->onRequestDeactivation(atoi(w[3].c_str()));
            mTranscript.add(prefix + "deactivate " + w[3] + " = " + std::to_string(r));
        } else if (w[1] == "release") {
            listener->onSourceRelease(atoi(w[3].c_str()));
        } else if (w[1] == "request-info") {
            listener->onReqPublishMediaInfo();
        } else {
            Parcel data;
            if (w.size() == 7) {
                data.writeInt32(static_cast<int32_t>(strtol(w[6].c_str(), nullptr, 0)));
                data.setDataPosition(0);
            }
            listener->onNotify(atoi(w[3].c_str()), atoi(w[4].c_str()), atoi(w[5].c_str()),
                               w.size() == 7 ? &data : nullptr);
        }
        return REPLAY_OK;
    }

    ReplayTranscript mTranscript;
    sp<FakeTuner> mTuner;
    sp<ReplayMediaManager> mMediaManager;
    sp<ReplayMediaData> mMediaData;
    sp<ReplaySysCtrl> mSysCtrl;
    sp<ReplayProcessSupport> mProcess;
    std::map<int, sp<ReplayClient>> mCallbacks;
    std::map<int, sp<IDABPlayer>> mPlayers;
};

}  // namespace

bool checkReplaySteps(const std::vector<ReplayStep>& steps, std::string* error) {
    for (const ReplayStep& s : steps) {
        std::string problem;
        if (!checkStep(s, &problem)) {
            *error = std::to_string(s.line) + ": " + problem;
            return false;
        }
    }
    return true;
}

int runReplay(const std::vector<ReplayStep>& steps, bool withLog, std::string* error) {
    // The service and its threads live until the process ends, as on the device.
    Replay* replay = new Replay(withLog);
    return replay->run(steps, error);
}
