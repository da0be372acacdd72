#include "ReplayRunner.h"

#include "DABServiceStartup.h"
#include "HostLog.h"
#include "ReplayBackends.h"
#include "ReplayOperations.h"
#include "ReplayStepCheck.h"
#include "ReplayThreadFailure.h"
#include "ReplayTuner.h"

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <dabplayer/IDABPlayerService.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <thread>
#include <unistd.h>

using namespace android;

namespace {

constexpr long kDefaultWaitMs = 3000;

class Replay {
public:
    Replay(bool withLog, ReplayTranscript* transcript) : mTranscript(*transcript) {
        mTuner = new ReplayTuner();
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
                mTranscript.add(std::string("log ") + p + " " + (l.hasTag ? escapeBytes(l.tag.data(), l.tag.size()) : "-") +
                                " " + escapeBytes(l.message.data(), l.message.size()));
            });
        } else {
            HostLog::setSink([](const HostLog::Line&) {});
        }
    }

    int run(const std::vector<ReplayStep>& steps, std::string* error) {
        for (const ReplayStep& s : steps) {
            std::string problem;
            int status = step(s, &problem);
            if (status == REPLAY_SCRIPT_ERROR) {
                *error = s.file + ":" + std::to_string(s.line) + ": " + problem;
            } else if (status != REPLAY_OK) {
                *error = "error: " + problem;
            }
            if (status != REPLAY_OK) {
                mTranscript.flush();
                return status;
            }
        }
        mTranscript.flush();
        return REPLAY_OK;
    }

private:
    static ReplayPattern pattern(const ReplayStep& s) {
        ReplayPattern p;
        std::string unused;
        p.set(s.words[1], &unused);
        return p;
    }

    static std::chrono::milliseconds waitMs(const ReplayStep& s) {
        return std::chrono::milliseconds(s.words.size() == 3 ? replayNumber(s.words[2]) : kDefaultWaitMs);
    }

    int step(const ReplayStep& s, std::string* problem) {
        const std::vector<std::string>& w = s.words;
        const std::string& cmd = w[0];
        if (cmd == "tuner") return tunerStep(s, 1, false);
        if (cmd == "list") return listStep(s);
        if (cmd == "notify") {
            mTuner->notify(static_cast<int>(replayNumber(w[1])), static_cast<int>(replayNumber(w[2])));
            return REPLAY_OK;
        }
        if (cmd == "client") return clientStep(s, problem);
        if (cmd == "call") {
            auto it = mPlayers.find(atoi(w[1].c_str()));
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
            std::this_thread::sleep_for(std::chrono::milliseconds(replayNumber(w[1])));
            return REPLAY_OK;
        }
        if (cmd == "thread") {
            const int count = w.size() == 3 ? static_cast<int>(replayNumber(w[2])) : 1;
            ReplayThreadFailure::failNext(count, [this] { mTranscript.add("thread start = EAGAIN"); });
            return REPLAY_OK;
        }
        if (cmd == "mark") {
            std::string line = "mark";
            for (size_t i = 1; i < w.size(); ++i) line += " " + w[i];
            mTranscript.add(line);
            return REPLAY_OK;
        }
        if (cmd == "await") {
            if (!mTranscript.await(pattern(s), waitMs(s))) {
                *problem = "await timed out: " + w[1];
                return REPLAY_AWAIT_TIMED_OUT;
            }
            return REPLAY_OK;
        }
        if (cmd == "expect") {
            if (!mTranscript.expect(pattern(s), mTranscript.size(), waitMs(s))) {
                *problem = "expect timed out: " + w[1];
                return REPLAY_AWAIT_TIMED_OUT;
            }
            return REPLAY_OK;
        }
        if (cmd == "quiet") {
            std::string line;
            if (!mTranscript.quiet(pattern(s), mTranscript.size(), waitMs(s), &line)) {
                *problem = "quiet broken by: " + line;
                return REPLAY_AWAIT_TIMED_OUT;
            }
            return REPLAY_OK;
        }
        *problem = "unknown step";
        return REPLAY_SCRIPT_ERROR;
    }

    int tunerStep(const ReplayStep& s, size_t at, bool append) {
        const std::vector<std::string>& w = s.words;
        if (w[at] == "then") return tunerStep(s, at + 1, true);
        if (w[at] == "answer") {
            mTuner->setAnswering(w[2] == "on", w.size() == 4 ? static_cast<int>(replayNumber(w[3])) : 0);
            return REPLAY_OK;
        }
        if (replayGetters().count(w[at])) {
            std::vector<int> values;
            for (size_t i = at + 1; i < w.size(); ++i) values.push_back(static_cast<int>(replayNumber(w[i])));
            mTuner->setGetter(w[at], values, append);
            return REPLAY_OK;
        }
        ReplayRecord r;
        std::string unused;
        parseReplayRecord(s, at, &r, &unused);
        if (r.kind == "title") mTuner->setTitle(r.titleKind, r.title, append);
        if (r.kind == "dls") mTuner->setDls(r.dls, append);
        if (r.kind == "pch") mTuner->setPch(r.pch, append);
        if (r.kind == "svc") mTuner->setSvc(r.svc, append);
        return REPLAY_OK;
    }

    int listStep(const ReplayStep& s) {
        const std::vector<std::string>& w = s.words;
        std::string unused;
        if (w[1] == "preset") {
            media_lib_dab::ST_DAB_PCH_LIST_ITEM item;
            parsePresetEntry(s, 4, &item, &unused);
            mTuner->setPreset(atoi(w[2].c_str()), atoi(w[3].c_str()), item);
            return REPLAY_OK;
        }
        media_lib_dab::ST_DAB_SVC_LIST_DATA entry;
        if (w[1] == "service" || w[1] == "ensemble") {
            parseListEntry(s, 2, &entry, &unused);
            mTuner->addListEntry(w[1], entry);
        } else {
            parseListEntry(s, 3, &entry, &unused);
            mTuner->addListEntry((w[1] == "pty" ? "pty" : "component") + std::to_string(replayNumber(w[2])), entry);
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
            if (w.size() == 4) {
                // The application's createClient call does not get through: it has no client.
                mPlayers.erase(n);
                mTranscript.add("client" + w[1] + " connect = null");
                return REPLAY_OK;
            }
            mPlayers[n] = service->createClient(getpid(), callback);
            if (mPlayers[n] == nullptr) {
                mPlayers.erase(n);
                mTranscript.add("client" + w[1] + " connect = null");
            }
            return REPLAY_OK;
        }
        auto cb = mCallbacks.find(n);
        if (w[2] == "slow" && cb != mCallbacks.end()) {
            cb->second->setSlowMs(static_cast<int>(replayNumber(w[3])));
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
        if (w[2] == "die") {
            // The process is gone: its callback takes nothing more and its client reference
            // is released, as the transport does when an application dies.
            if (cb != mCallbacks.end()) cb->second->setDead();
            mPlayers.erase(it);
            mTranscript.add("client" + w[1] + " died");
            return REPLAY_OK;
        }
        if (w[2] == "slow") {
            *problem = "client " + w[1] + " has no callback";
            return REPLAY_SCRIPT_ERROR;
        }
        sp<IDABPlayerClient> listener;
        if (w[3] == "on") {
            listener = cb != mCallbacks.end() ? cb->second : nullptr;
        } else if (w[3] != "off") {
            auto other = mCallbacks.find(atoi(w[3].c_str()));
            if (other == mCallbacks.end()) {
                *problem = "client " + w[3] + " has no callback";
                return REPLAY_SCRIPT_ERROR;
            }
            listener = other->second;
        }
        const int r = it->second->setClientListener(listener);
        if (r != 0) mTranscript.add("client" + w[1] + " setClientListener = " + std::to_string(r));
        return REPLAY_OK;
    }

    int mmStep(const ReplayStep& s, std::string* problem) {
        const std::vector<std::string>& w = s.words;
        if (w[1] == "create" || w[1] == "register" || w[1] == "status") {
            const std::string source = w.size() == 4 ? w[3] : std::string();
            const bool fails = w[2] == "fail";
            if (w[1] == "create") mMediaManager->setCreateFails(source, fails);
            if (w[1] == "register") mMediaManager->setRegisterFails(source, fails);
            if (w[1] == "status") mMediaManager->setStatusFails(source, fails);
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
                data.writeInt32(static_cast<int32_t>(replayNumber(w[6])));
                data.setDataPosition(0);
            }
            listener->onNotify(atoi(w[3].c_str()), atoi(w[4].c_str()), atoi(w[5].c_str()),
                               w.size() == 7 ? &data : nullptr);
        }
        return REPLAY_OK;
    }

    ReplayTranscript& mTranscript;
    sp<ReplayTuner> mTuner;
    sp<ReplayMediaManager> mMediaManager;
    sp<ReplayMediaData> mMediaData;
    sp<ReplaySysCtrl> mSysCtrl;
    sp<ReplayProcessSupport> mProcess;
    std::map<int, sp<ReplayClient>> mCallbacks;
    std::map<int, sp<IDABPlayer>> mPlayers;
};

}  // namespace

int runReplay(const std::vector<ReplayStep>& steps, bool withLog, ReplayTranscript* transcript, std::string* error) {
    // The service and its threads live until the process ends, as on the device.
    Replay* replay = new Replay(withLog, transcript);
    return replay->run(steps, error);
}
