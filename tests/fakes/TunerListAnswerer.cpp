#include "TunerListAnswerer.h"

#include "DABListProcessThread.h"

#include <cstdio>

using namespace android;

TunerListAnswerer::TunerListAnswerer(const sp<FakeTuner>& tuner)
    : mTuner(tuner), mState(std::make_shared<State>()) {
    std::shared_ptr<State> state = mState;
    mTuner->setCommandHook([state](const std::string& command) { answer(state, command); });
}

TunerListAnswerer::~TunerListAnswerer() {
    mTuner->setCommandHook(nullptr);
}

void TunerListAnswerer::setWorker(const sp<DABListProcessThread>& worker) {
    HostMutex::Autolock lock(mState->lock);
    mState->worker = worker;
}

void TunerListAnswerer::leaveUnanswered(const std::string& command, int count) {
    HostMutex::Autolock lock(mState->lock);
    mState->unanswered[command] += count;
}

bool TunerListAnswerer::toMsg(const std::string& command, LIST_QUEUE_MSG* msg) {
    int a = 0;
    int b = 0;
    int c = 0;
    if (sscanf(command.c_str(), "pchListReq(%d)", &a) == 1) {
        *msg = LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND1 + a, 0, 0};
    } else if (sscanf(command.c_str(), "svcCompListItemReq(%d,%d,%d)", &a, &b, &c) == 3) {
        *msg = LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_SERVICE_COMP, a, 0};
    } else if (sscanf(command.c_str(), "ptyListItemReq(%d,%d)", &a, &b) == 2) {
        *msg = LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_SERVICE_COMP + b, a, 0};
    } else if (sscanf(command.c_str(), "ensembleListItemReq(%d)", &a) == 1) {
        *msg = LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_ENSEMBLE, a, 0};
    } else if (sscanf(command.c_str(), "ensembleCompListItemReq(%d,%d)", &a, &b) == 2) {
        *msg = LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_ENSEMBLE_COMP, a, static_cast<uint32_t>(b)};
    } else {
        return false;
    }
    return true;
}

void TunerListAnswerer::answer(const std::shared_ptr<State>& state, const std::string& command) {
    LIST_QUEUE_MSG msg;
    if (!toMsg(command, &msg)) return;
    wp<DABListProcessThread> worker;
    {
        HostMutex::Autolock lock(state->lock);
        auto it = state->unanswered.find(command);
        if (it != state->unanswered.end() && it->second > 0) {
            it->second -= 1;
            return;
        }
        worker = state->worker;
    }
    sp<DABListProcessThread> w = worker.promote();
    if (w != nullptr) w->listItemCachedFinished(msg);
}

bool stopAndDrainWorker(const sp<DABListProcessThread>& worker) {
    worker->requestExit();
    worker->pushExitMsg();
    bool stopped = eventually(
            [&] {
                LIST_QUEUE_MSG held = worker->currentMsg();
                if (held.msgType != 0) worker->listItemCachedFinished(held);
                return !worker->isRunning();
            },
            8000);
    worker->join();
    return stopped;
}

bool waitListWorkerIdle(const sp<DABListProcessThread>& worker, int timeoutMs) {
    int steady = 0;
    return eventually(
            [&] {
                bool idle = worker->queueSize() == 0 && worker->currentMsg().msgType == 0;
                steady = idle ? steady + 1 : 0;
                return steady >= 5;
            },
            timeoutMs);
}
