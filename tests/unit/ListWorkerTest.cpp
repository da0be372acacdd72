#include "ActiveServiceFixture.h"
#include "DABListProcessThread.h"
#include "DABLog.h"
#include "FakeTuner.h"
#include "HostLog.h"
#include "TunerListAnswerer.h"

#include <dablib/DABLibIF.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace android;
using ::testing::ElementsAre;

namespace {

LIST_QUEUE_MSG msgOf(int type, int index = 0, uint32_t param = 0) {
    return LIST_QUEUE_MSG{type, index, param};
}

// A worker of its own on a scripted tuner, without a service: list requests are answered
// by the answerer unless a test leaves one unanswered.
class ListWorker : public ::testing::Test {
protected:
    void SetUp() override {
        mLog.reset(new HostLog::Capture());
        mTuner = new FakeTuner();
        media_lib_dab::DABLibBackend::setCurrent(mTuner);
        mLib.reset(new media_lib_dab::DABLibIF());
        mAnswerer.reset(new TunerListAnswerer(mTuner));
        mWorker = new DABListProcessThread(mLib.get());
        mAnswerer->setWorker(mWorker);
        ASSERT_EQ(OK, mWorker->run("DABListProcess"));
    }

    void TearDown() override {
        if (mWorker != nullptr) {
            EXPECT_TRUE(stopAndDrainWorker(mWorker));
            wp<DABListProcessThread> weak = mWorker;
            mWorker.clear();
            EXPECT_EQ(nullptr, weak.promote()) << "worker still referenced";
        }
        mAnswerer.reset();
        mLib.reset();
        media_lib_dab::DABLibBackend::setCurrent(nullptr);
        mLog.reset();
    }

    // Makes the worker hold an unanswered ensemble request, so that what follows queues up.
    void holdWorker() {
        mAnswerer->leaveUnanswered("ensembleListItemReq(1)");
        mWorker->requestServiceListItem(msgOf(DAB_SERVER_QUEUE_MSG_ENSEMBLE, 1));
        ASSERT_TRUE(mTuner->waitForCommand("ensembleListItemReq(1)"));
        ASSERT_TRUE(eventually([&] { return mWorker->currentMsg().msgType == DAB_SERVER_QUEUE_MSG_ENSEMBLE; }));
        mTuner->clearCommands();
    }
    void releaseWorker() { mWorker->listItemCachedFinished(msgOf(DAB_SERVER_QUEUE_MSG_ENSEMBLE, 1)); }

    bool waitIdle() { return waitListWorkerIdle(mWorker); }

    std::unique_ptr<HostLog::Capture> mLog;
    sp<FakeTuner> mTuner;
    std::unique_ptr<media_lib_dab::DABLibIF> mLib;
    std::unique_ptr<TunerListAnswerer> mAnswerer;
    sp<DABListProcessThread> mWorker;
};

TEST_F(ListWorker, PresetListsQueuedWhileBusyAreServedNewestFirstAndOnceEach) {
    holdWorker();
    for (int band : {1, 2, 3, 2}) mWorker->requestPresetListItemUpdate(msgOf(band));
    EXPECT_EQ(3u, mWorker->queueSize());
    EXPECT_EQ(DAB_SERVER_QUEUE_MSG_ENSEMBLE, mWorker->currentMsg().msgType);
    EXPECT_EQ(1, mWorker->currentMsg().itemIndex);
    EXPECT_TRUE(mLog->contains("DDABListProcessThread::srequestPresetListItemUpdate msg.msgType=2"));
    EXPECT_EQ(2, mLog->count("insert new item 2 to queue success"));

    releaseWorker();
    ASSERT_TRUE(mTuner->waitForCommand("pchListReq(0)"));
    ASSERT_TRUE(waitIdle());
    EXPECT_THAT(mTuner->commands(), ElementsAre("pchListReq(1)", "pchListReq(2)", "pchListReq(0)"));
    EXPECT_TRUE(mLog->contains("DABListProcessThread::request band 3"));
    EXPECT_TRUE(eventually([&] { return mLog->contains("DABListProcessThread finish a preset list request"); }));
}

TEST_F(ListWorker, ServiceListItemGoesFirstAndItemOneDropsQueuedItemsOfItsType) {
    holdWorker();
    for (int index = 9; index >= 2; --index) {
        mWorker->requestServiceListItem(msgOf(DAB_SERVER_QUEUE_MSG_SERVICE_COMP, index));
    }
    mWorker->requestServiceListItem(msgOf(DAB_SERVER_QUEUE_MSG_SERVICE_COMP, 4));
    EXPECT_EQ(9u, mWorker->queueSize());
    releaseWorker();
    ASSERT_TRUE(mTuner->waitForCommand("svcCompListItemReq(9,0,0)"));
    ASSERT_TRUE(waitIdle());
    std::vector<std::string> commands = mTuner->commands();
    ASSERT_EQ(9u, commands.size());
    EXPECT_EQ("svcCompListItemReq(4,0,0)", commands[0]);
    EXPECT_EQ("svcCompListItemReq(2,0,0)", commands[1]);
    EXPECT_EQ("svcCompListItemReq(9,0,0)", commands[8]);

    holdWorker();
    for (int index = 9; index >= 2; --index) {
        mWorker->requestServiceListItem(msgOf(DAB_SERVER_QUEUE_MSG_SERVICE_COMP, index));
    }
    mWorker->requestServiceListItem(msgOf(DAB_SERVER_QUEUE_MSG_PTY_POPULAR, 3));
    mWorker->requestServiceListItem(msgOf(DAB_SERVER_QUEUE_MSG_SERVICE_COMP, 1));
    EXPECT_EQ(2u, mWorker->queueSize());
    releaseWorker();
    ASSERT_TRUE(mTuner->waitForCommand("ptyListItemReq(3,2)"));
    ASSERT_TRUE(waitIdle());
    EXPECT_THAT(mTuner->commands(), ElementsAre("svcCompListItemReq(1,0,0)", "ptyListItemReq(3,2)"));
}

TEST_F(ListWorker, EveryListTypeSendsItsRequestAndLogsIt) {
    struct Case {
        int type;
        const char* command;
        const char* log;
    };
    const Case cases[] = {
            {1, "pchListReq(0)", "DABListProcessThread::request band 1"},
            {2, "pchListReq(1)", "DABListProcessThread::request band 2"},
            {3, "pchListReq(2)", "DABListProcessThread::request band 3"},
            {4, "pchListReq(3)", "DABListProcessThread::request current band"},
            {5, "svcCompListItemReq(7,0,0)", "DABListProcessThread::request service comp index=7"},
            {6, "ptyListItemReq(7,1)", "DABListProcessThread::request pty newsinfo index=7"},
            {7, "ptyListItemReq(7,2)", "DABListProcessThread::request pty popular index=7"},
            {8, "ptyListItemReq(7,3)", "DABListProcessThread::request pty classics index=7"},
            {9, "ptyListItemReq(7,4)", "DABListProcessThread::request pty others index=7"},
            {10, "ensembleListItemReq(7)", "DABListProcessThread::request ensemble index=7"},
            {11, "ensembleCompListItemReq(7,4660)", "DABListProcessThread::request ensemble comp index=7"},
    };
    for (const Case& c : cases) {
        int index = c.type <= DAB_SERVER_QUEUE_MSG_PRESET_LIST_CURRENT ? 0 : 7;
        mWorker->requestServiceListItem(msgOf(c.type, index, c.type == 11 ? 0x1234 : 0));
        EXPECT_TRUE(mTuner->waitForCommand(c.command)) << c.command;
        EXPECT_TRUE(waitIdle());
        EXPECT_TRUE(mLog->contains(c.log)) << c.log;
    }
    EXPECT_EQ(11u, mTuner->commands().size());
}

TEST_F(ListWorker, AnswerForAnotherItemOrWhileIdleHasNoEffect) {
    // While idle nothing is held: these must not leave a signal for the next request.
    mWorker->listItemCachedFinished(msgOf(DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND1));
    mWorker->listItemCachedFinished(msgOf(DAB_SERVER_QUEUE_MSG_NONE));
    EXPECT_FALSE(mLog->contains("success for signal "));

    mAnswerer->leaveUnanswered("pchListReq(0)");
    mWorker->requestPresetListItemUpdate(msgOf(DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND1));
    ASSERT_TRUE(mTuner->waitForCommand("pchListReq(0)"));
    mWorker->listItemCachedFinished(msgOf(DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND1, 2));
    mWorker->listItemCachedFinished(msgOf(DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND2));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND1, mWorker->currentMsg().msgType);
    EXPECT_FALSE(mLog->contains("success for signal "));
    EXPECT_TRUE(mLog->contains(
            "listItemCachedFinished, DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE  msg type=1,index=2 current 1 0"));

    mWorker->listItemCachedFinished(msgOf(DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND1));
    EXPECT_TRUE(waitIdle());
    EXPECT_TRUE(mLog->contains("success for signal "));
}

TEST_F(ListWorker, WaitEventEndedByItsOwnMessageIsNotTimedOut) {
    EXPECT_EQ(0, mWorker->requestWaitEvent(msgOf(DAB_SERVER_QUEUE_MSG_WAIT_MANUAL_UPDOWN)));
    ASSERT_TRUE(eventually(
            [&] { return mWorker->currentMsg().msgType == DAB_SERVER_QUEUE_MSG_WAIT_MANUAL_UPDOWN; }));
    // Removal touches only the queue; the held event ends through its answer.
    mWorker->removeWaitEvent(msgOf(DAB_SERVER_QUEUE_MSG_WAIT_MANUAL_UPDOWN));
    EXPECT_EQ(DAB_SERVER_QUEUE_MSG_WAIT_MANUAL_UPDOWN, mWorker->currentMsg().msgType);
    mWorker->listItemCachedFinished(msgOf(DAB_SERVER_QUEUE_MSG_WAIT_MANUAL_UPDOWN));
    ASSERT_TRUE(waitIdle());
    EXPECT_TRUE(eventually([&] { return mLog->contains("DABListProcessThread get new preset up/down"); }));
    EXPECT_FALSE(mLog->contains("DABListProcessThread old preset up/down reach 2 second"));
    EXPECT_TRUE(mTuner->commands().empty());
}

// Messages of type 0 are refused and do not count in the queue.
TEST_F(ListWorker, ExitMessageGoesInFrontAndEndsTheWorkerAfterTheHeldWait) {
    holdWorker();
    mWorker->requestPresetListItemUpdate(msgOf(DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND1));
    mWorker->requestServiceListItem(msgOf(DAB_SERVER_QUEUE_MSG_SERVICE_COMP, 1));
    EXPECT_EQ(-1, mWorker->requestWaitEvent(msgOf(DAB_SERVER_QUEUE_MSG_NONE)));
    mWorker->requestPresetListItemUpdate(msgOf(DAB_SERVER_QUEUE_MSG_NONE));
    mWorker->requestServiceListItem(msgOf(DAB_SERVER_QUEUE_MSG_NONE, 1));
    mWorker->removeWaitEvent(msgOf(DAB_SERVER_QUEUE_MSG_NONE));
    EXPECT_TRUE(mLog->contains("DABListProcessThread::DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE "
                               "requestWaitEvent msgType=0,itemIndex=0"));
    mWorker->pushExitMsg();  // no exit request: only the message stops it
    EXPECT_EQ(3u, mWorker->queueSize());
    EXPECT_TRUE(mLog->contains("DABListProcessThread::pushExitMsg"));
    EXPECT_TRUE(mWorker->isRunning());

    releaseWorker();
    ASSERT_TRUE(eventually([&] { return !mWorker->isRunning(); }));
    mWorker->join();
    EXPECT_TRUE(mTuner->commands().empty());
    EXPECT_TRUE(mLog->contains("DABListProcessThread::request DAB_SERVER_QUEUE_MSG_EXIT"));
    EXPECT_TRUE(mLog->contains("DABListProcessThread finish a preset list request"));
}

TEST_F(ListWorker, RequestsFromManyThreadsAreAllServed) {
    holdWorker();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, t] {
            for (int index = 2; index <= 21; ++index) {
                mWorker->requestServiceListItem(
                        msgOf(DAB_SERVER_QUEUE_MSG_PTY_NEWSINFO + t, index));
            }
        });
    }
    for (std::thread& th : threads) th.join();
    EXPECT_EQ(80u, mWorker->queueSize());
    releaseWorker();
    EXPECT_TRUE(eventually([&] { return mTuner->commands().size() == 80u; }));
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(80u, mTuner->commands().size());
}

// Tests that wait on the worker's real 2 s and 5 s timers, through the service.
class WorkerTimers : public ActiveServiceFixture {
protected:
    using Clock = std::chrono::steady_clock;
    static double secondsSince(Clock::time_point t) {
        return std::chrono::duration<double>(Clock::now() - t).count();
    }
    // Logic-mode notes of the wait-event time-out (mode 5).
    int timeOutNotes() {
        int n = 0;
        for (const FakeClient::Note& note : mCallback->notes()) {
            n += note.msg == DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE && note.ext1 == 5 ? 1 : 0;
        }
        return n;
    }
};

TEST_F(WorkerTimers, UnansweredListRequestIsRetriedAfterFiveSecondsBehindTheQueue) {
    activateAndSettle();
    sp<DABListProcessThread> worker = peer().listWorker();
    mAnswerer->leaveUnanswered("pchListReq(0)");
    worker->requestPresetListItemUpdate(msgOf(DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND1));
    ASSERT_TRUE(mTuner->waitForCommand("pchListReq(0)"));
    Clock::time_point sent = Clock::now();
    worker->requestServiceListItem(msgOf(DAB_SERVER_QUEUE_MSG_SERVICE_COMP, 3));
    worker->requestServiceListItem(msgOf(DAB_SERVER_QUEUE_MSG_SERVICE_COMP, 2));

    ASSERT_TRUE(mTuner->waitForCommand("svcCompListItemReq(2,0,0)", 1, std::chrono::seconds(10)));
    double held = secondsSince(sent);
    EXPECT_GE(held, 4.5);
    EXPECT_LE(held, 8.0);
    ASSERT_TRUE(mTuner->waitForCommand("pchListReq(0)", 2));
    ASSERT_TRUE(waitWorkerIdle());
    EXPECT_THAT(mTuner->commands(), ElementsAre("pchListReq(0)", "svcCompListItemReq(2,0,0)",
                                                "svcCompListItemReq(3,0,0)", "pchListReq(0)"));
    EXPECT_EQ(1, mLog->count("list of band 1 is not received finish,and push it in message queue again"));
}

TEST_F(WorkerTimers, WaitEventTimesOutOnceTwoSecondsAfterTheLastRegistration) {
    activateAndSettle();
    ASSERT_EQ(0, mService->switchBand());
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    ASSERT_EQ(0, timeOutNotes()) << "machine too slow: first event expired before the repeat";
    Clock::time_point repeated = Clock::now();
    ASSERT_EQ(0, mService->switchBand());

    ASSERT_TRUE(mCallback->waitForNote(DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE, 5, std::chrono::seconds(6)));
    double waited = secondsSince(repeated);
    EXPECT_GE(waited, 1.5);
    EXPECT_LE(waited, 4.0);
    EXPECT_EQ(DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN, peer().isInSwitchBand());
    // Give a wrong second time-out the chance to show.
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    EXPECT_EQ(1, timeOutNotes());
    EXPECT_EQ(1, mLog->count("DABPlayerService::onWaitEventTimeOuttt type =15"));
    EXPECT_EQ(1, mLog->count("DABListProcessThread old preset up/down reach 2 second"));
}

TEST_F(WorkerTimers, SecondActivationWhileAnEventIsHeldReplacesTheWorkerWithoutLeaks) {
    activateAndSettle();
    ASSERT_EQ(0, mService->manualUp());
    ASSERT_TRUE(waitWorkerHolds(DAB_SERVER_QUEUE_MSG_WAIT_MANUAL_UPDOWN));
    sp<DABListProcessThread> first = peer().listWorker();
    wp<DABListProcessThread> firstWeak = first;
    first.clear();

    activate(0);  // stops the old worker without joining it
    sp<DABListProcessThread> second = peer().listWorker();
    ASSERT_NE(nullptr, second);
    mAnswerer->setWorker(second);
    for (int type = 3; type >= 1; --type) second->listItemCachedFinished(msgOf(type));
    second.clear();

    // The old worker finishes its 2 s wait, then ends without taking more messages.
    EXPECT_TRUE(waitForGone(firstWeak, std::chrono::seconds(6)));
    EXPECT_EQ(1, mLog->count("DABListProcessThread destroyed"));
    EXPECT_TRUE(waitWorkerIdle());
}

}  // namespace
