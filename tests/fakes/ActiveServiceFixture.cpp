#include "ActiveServiceFixture.h"

#include "DABListProcessThread.h"

using namespace android;

void ActiveServiceFixture::SetUp() {
    ServiceFixture::SetUp();
    mAnswerer.reset(new TunerListAnswerer(mTuner));
    mClient = connect(&mCallback);
}

void ActiveServiceFixture::TearDown() {
    mClient.clear();
    mCallback.clear();
    mAnswerer.reset();
    ServiceFixture::TearDown();
}

void ActiveServiceFixture::activateAndSettle() {
    activate(0);
    sp<DABListProcessThread> worker = peer().listWorker();
    ASSERT_NE(nullptr, worker);
    mAnswerer->setWorker(worker);
    // Requests sent before the answerer knew the worker are ended here; a request that is
    // not held yet does not match and is answered by the hook when it is sent.
    for (int type = DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND3;
         type >= DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND1; --type) {
        worker->listItemCachedFinished(LIST_QUEUE_MSG{type, 0, 0});
    }
    for (const char* request : {"pchListReq(2)", "pchListReq(1)", "pchListReq(0)"}) {
        ASSERT_TRUE(mTuner->waitForCommand(request)) << request;
    }
    ASSERT_TRUE(waitWorkerIdle());
    clearRecords();
}

bool ActiveServiceFixture::waitWorkerIdle(int timeoutMs) {
    sp<DABListProcessThread> worker = peer().listWorker();
    if (worker == nullptr) return false;
    return waitListWorkerIdle(worker, timeoutMs);
}

bool ActiveServiceFixture::waitWorkerHolds(int msgType, int timeoutMs) {
    sp<DABListProcessThread> worker = peer().listWorker();
    if (worker == nullptr) return false;
    return eventually([&] { return worker->currentMsg().msgType == msgType; }, timeoutMs);
}

void ActiveServiceFixture::clearRecords() {
    mCallback->clear();
    mTuner->clearCommands();
    mLog->clear();
}

bool ActiveServiceFixture::logHas(const std::string& text) const {
    for (const std::string& m : mLog->messages()) {
        if (m.find(text) != std::string::npos) return true;
    }
    return false;
}
