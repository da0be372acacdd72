// Time-shift commands and queries: the active gate, the byte-swapped library times and the
// seek amount measured against the last known total time.
#include "DABListProcessThread.h"
#include "ServiceFixture.h"
#include "TunerListAnswerer.h"

#include <gtest/gtest.h>

#include <climits>

#include <string>
#include <vector>

using namespace android;

namespace {

class TimeShiftTest : public ServiceFixture {
protected:
    void activeService() {
        activate();
        mTuner->clearCommands();
    }
    // Commands of this concern only (the list worker may add preset list requests).
    std::vector<std::string> timeShiftCommands() const {
        std::vector<std::string> out;
        for (const std::string& c : mTuner->commands()) {
            if (c.rfind("pchListReq", 0) != 0) out.push_back(c);
        }
        return out;
    }
};

}  // namespace

TEST_F(TimeShiftTest, CommandsReachTheLibraryAndSeekIsMeasuredAgainstTheLastKnownTotalTime) {
    activeService();
    EXPECT_EQ(0, mService->timeShift());
    EXPECT_EQ(0, mService->timeShiftPause());
    EXPECT_EQ(0, mService->timeShiftPlay());
    EXPECT_EQ(0, mService->toLive());
    EXPECT_EQ(0, mService->toNormalView());
    EXPECT_EQ(-1, mService->timeSeek(0)) << "no total time known yet";

    mTuner->setGetter("getTsAllTime", 0x2C01);  // 300 with its bytes swapped
    int total = 0;
    EXPECT_EQ(0, mService->getTotalTime(&total));
    EXPECT_EQ(300, total);
    mTuner->setGetter("getTsAllTime", 0);  // timeSeek does not ask again
    EXPECT_EQ(0, mService->timeSeek(100));
    EXPECT_EQ(0, mService->timeSeek(300));
    EXPECT_EQ(-1, mService->timeSeek(301));
    EXPECT_EQ(-1, mService->timeSeek(-1));
    peer().currentTotalTime() = 70000;
    EXPECT_EQ(0, mService->timeSeek(0));
    EXPECT_EQ((std::vector<std::string>{"timeShifeModeOn()", "pause()", "play()", "live()", "esc()",
                                        "timeShiftMove(1,200)", "timeShiftMove(1,0)", "timeShiftMove(1,4464)"}),
              timeShiftCommands());

    // The total-time notification refreshes the reference as well.
    mTuner->notify(21, 0x0A00);  // 10
    EXPECT_EQ(-1, mService->timeSeek(11));
    EXPECT_EQ(0, mService->timeSeek(4));
    EXPECT_EQ(1, mTuner->countCommand("timeShiftMove(1,6)"));
}

TEST_F(TimeShiftTest, SeekWithTimesAtTheEndsOfTheIntRangeIsRefusedWithoutOverflow) {
    activeService();
    for (int total : {300, 0, -1}) {
        peer().currentTotalTime() = total;
        EXPECT_EQ(-1, mService->timeSeek(INT_MIN)) << total;
        EXPECT_EQ(-1, mService->timeSeek(INT_MAX)) << total;
    }
    EXPECT_TRUE(timeShiftCommands().empty());
}

TEST_F(TimeShiftTest, QueriesDecodeStoreAndWriteBeforeTheRangeTest) {
    activeService();
    int v = 0;
    mTuner->setGetter("getTsAllTime", 0x0102);
    EXPECT_EQ(0, mService->getTotalTime(&v));
    EXPECT_EQ(513, v);
    EXPECT_EQ(513, peer().currentTotalTime());
    mTuner->setGetter("getTsAllTime", -256);  // decodes to -1
    EXPECT_EQ(-1, mService->getTotalTime(&v));
    EXPECT_EQ(-1, v);
    EXPECT_EQ(-1, peer().currentTotalTime());

    mTuner->setGetter("getTsSetTime", 0x0100);
    EXPECT_EQ(0, mService->getCacheTime(&v));
    EXPECT_EQ(1, v);
    EXPECT_EQ(1, peer().currentCacheTime());

    mTuner->setGetter("getTsDelayTime", 0x0A00);  // 10
    mTuner->setGetter("getTsAllTime", 0x6400);    // 100
    EXPECT_EQ(0, mService->getPauseTime(&v));
    EXPECT_EQ(90, v);
    EXPECT_EQ(10, peer().currentPauseTime());
    EXPECT_EQ(100, peer().currentTotalTime());
    mTuner->setGetter("getTsDelayTime", 0x6500);  // 101
    EXPECT_EQ(-1, mService->getPauseTime(&v));
    EXPECT_EQ(-1, v);
    EXPECT_EQ(101, peer().currentPauseTime());

    for (int status : {0, 1, 4, 5}) {
        mTuner->setGetter("getTsStatus", status);
        EXPECT_EQ(status >= 1 && status <= 4 ? 0 : -1, mService->getPlaybackStatus(&v));
        EXPECT_EQ(status, v);
        EXPECT_EQ(status, peer().currentPlaybackStatus());
    }
}
