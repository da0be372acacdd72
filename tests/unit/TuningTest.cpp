#include "ActiveServiceFixture.h"
#include "DABListProcessThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

using namespace android;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr int kBusy = DAB_SERVER_IS_IN_PRESET_UPDOWN;
constexpr int kIdle = DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN;

std::string registered(int type) {
    return "DABListProcessThread::DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE requestWaitEvent msgType=" +
           std::to_string(type) + ",itemIndex=0";
}
std::string cancelled(int type) {
    return "DABListProcessThread::DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE removeWaitEvent msgType=" +
           std::to_string(type) + ",itemIndex=0";
}

class TuningTest : public ActiveServiceFixture {
protected:
    // True when want appears in the log in this order (other lines may come between).
    bool logInOrder(const std::vector<std::string>& want) {
        std::vector<std::string> lines = mLog->messages();
        auto it = lines.begin();
        for (const std::string& w : want) {
            it = std::find(it, lines.end(), w);
            if (it == lines.end()) return false;
            ++it;
        }
        return true;
    }
    void allBusy() {
        peer().isInSourceOnDelay() = kBusy;
        peer().isInPresetUpDown() = kBusy;
        peer().isInSwitchBand() = kBusy;
        peer().isInManualUPDownInFreqExtend() = kBusy;
        peer().isInPresetMemoryExtend() = kBusy;
        peer().isInSeekCancel() = kBusy;
    }
    void expectAllIdle() {
        EXPECT_EQ(kIdle, peer().isInSourceOnDelay());
        EXPECT_EQ(kIdle, peer().isInPresetUpDown());
        EXPECT_EQ(kIdle, peer().isInSwitchBand());
        EXPECT_EQ(kIdle, peer().isInManualUPDownInFreqExtend());
        EXPECT_EQ(kIdle, peer().isInPresetMemoryExtend());
        EXPECT_EQ(kIdle, peer().isInSeekCancel());
        EXPECT_EQ(0, peer().seekDirection());
    }
    bool outputLogged(const std::string& codeAndText) {
        return logHas("[0x20300006][" + codeAndText + "]");
    }
};

TEST_F(TuningTest, ManualStepsMarkTheStepBusyAndEndConflictingStates) {
    activateAndSettle();
    mTuner->setGetter("getLogicMode", 5);  // outside the seek mode seek cancel stays idle
    peer().isInSwitchBand() = kBusy;
    peer().isInPresetUpDown() = kBusy;
    peer().isInSourceOnDelay() = kBusy;
    EXPECT_EQ(0, mService->manualDown());
    EXPECT_EQ(kBusy, peer().isInManualUPDownInFreqExtend());
    EXPECT_EQ(kIdle, peer().isInSeekCancel());
    EXPECT_EQ(kIdle, peer().isInSwitchBand());
    EXPECT_EQ(kIdle, peer().isInPresetUpDown());
    EXPECT_EQ(kIdle, peer().isInSourceOnDelay());
    EXPECT_TRUE(logInOrder({cancelled(15), cancelled(12), cancelled(17), registered(16)}));
    EXPECT_THAT(mTuner->commands(), ElementsAre("manualDown()"));
    EXPECT_TRUE(waitWorkerHolds(DAB_SERVER_QUEUE_MSG_WAIT_MANUAL_UPDOWN));

    // In the seek mode seek cancel becomes busy too; a second step ends the held event at once
    // and the new one is taken next.
    clearRecords();
    mTuner->setGetter("getLogicMode", 12);
    EXPECT_EQ(0, mService->manualUp());
    EXPECT_EQ(kBusy, peer().isInSeekCancel());
    EXPECT_THAT(mCallback->summary(), IsEmpty());
    EXPECT_TRUE(logInOrder({"DABPlayerService::clearSwitchBandStatus",
                            "DABPlayerService::clearPresetUpDownStatus",
                            "DABPlayerService::clearSourceOnDelayStatus", registered(16)}));
    EXPECT_TRUE(eventually([&] { return logHas("DABListProcessThread get new preset up/down"); }));
    EXPECT_TRUE(waitWorkerHolds(DAB_SERVER_QUEUE_MSG_WAIT_MANUAL_UPDOWN));
    EXPECT_THAT(mTuner->commands(), ElementsAre("manualUp()"));
}

TEST_F(TuningTest, PresetSeekInTheSeekModeReportsManualModeAndOutsideItEndsTheStep) {
    activateAndSettle();
    // Seek up in its mode (the display blanked first) is in the seek replay script.
    mTuner->setGetter("getLogicMode", 12);  // seek down: no blanking
    mTuner->setGetter("getComponentNum", 3);
    peer().errorCheckOnCompNum() = 0;
    EXPECT_EQ(0, mService->presetSeekDown());
    EXPECT_THAT(mCallback->summary(), ElementsAre("39:13:0"));
    EXPECT_EQ(kBusy, peer().isInManualUPDownInFreqExtend());
    EXPECT_EQ(kBusy, peer().isInSeekCancel());
    EXPECT_EQ(2, peer().seekDirection());
    EXPECT_NE(0, peer().errorCheckOnCompNum());
    EXPECT_EQ(1, mLog->count(registered(16)));
    EXPECT_THAT(mTuner->commands(), ElementsAre("seekDown()"));

    clearRecords();
    mTuner->setGetter("getLogicMode", 5);
    mTuner->setGetter("getComponentNum", 0);
    EXPECT_EQ(0, mService->presetSeekUp());
    EXPECT_THAT(mCallback->summary(), IsEmpty());
    EXPECT_EQ(kIdle, peer().isInManualUPDownInFreqExtend());
    EXPECT_EQ(kIdle, peer().isInSeekCancel());
    EXPECT_EQ(1, peer().seekDirection());
    EXPECT_TRUE(logHas(cancelled(16)));
    EXPECT_FALSE(logHas(registered(16)));
    peer().errorCheckOnCompNum() = 0;
    EXPECT_EQ(0, mService->presetSeekDown());
    EXPECT_EQ(2, peer().seekDirection());
    EXPECT_EQ(0, peer().errorCheckOnCompNum());
    EXPECT_THAT(mTuner->commands(), ElementsAre("seekUp()", "seekDown()"));
}

TEST_F(TuningTest, SwitchBandAndPresetStepsBlankTheDisplayAndRegisterTheirEvents) {
    activateAndSettle();
    peer().isInPresetUpDown() = kBusy;
    EXPECT_EQ(0, mService->switchBand());
    EXPECT_EQ(kBusy, peer().isInSwitchBand());
    EXPECT_EQ(kIdle, peer().isInPresetUpDown());
    EXPECT_TRUE(logInOrder({cancelled(12), "DABPlayerService::clearDisplayStatus", registered(15)}));
    EXPECT_EQ(0, mService->presetUpRecall());
    EXPECT_EQ(kBusy, peer().isInPresetUpDown());
    EXPECT_EQ(kIdle, peer().isInSwitchBand());
    EXPECT_EQ(0, mService->presetDownRecall());
    EXPECT_THAT(mCallback->summary(), ElementsAre("14:0:0", "12:0:0", "11:0:0", "14:0:0", "12:0:0",
                                                  "11:0:0", "14:0:0", "12:0:0", "11:0:0"));
    EXPECT_THAT(mTuner->commands(),
                ElementsAre("switchBand()", "presetChannelUp()", "presetChannelDown()"));
    EXPECT_EQ(2, mLog->count(registered(12)));
}

TEST_F(TuningTest, PresetListRecallKeepsTheTextOfThePlayingPresetBlanksOthersAndChecksArguments) {
    activateAndSettle();
    mTuner->setGetter("getBand", 2);
    mTuner->setGetter("getPchNum", 4);
    EXPECT_EQ(0, mService->presetListRecall(2, 3));
    EXPECT_THAT(mCallback->summary(), ElementsAre("12:0:0", "11:0:0", "39:17:0"));
    EXPECT_EQ(kBusy, peer().isInPresetUpDown());
    EXPECT_TRUE(mLog->contains("DABPlayerService::presetListRecall, band=2, index=3"));
    EXPECT_TRUE(logHas(registered(12)));

    mCallback->clear();
    EXPECT_EQ(0, mService->presetListRecall(1, 3));  // the playing number, another band
    EXPECT_EQ(0, mService->presetListRecall(3, 5));
    EXPECT_THAT(mCallback->summary(),
                ElementsAre("14:0:0", "12:0:0", "11:0:0", "14:0:0", "12:0:0", "11:0:0"));

    mCallback->clear();
    const std::pair<int, int> bad[] = {{0, 0}, {1, 6}, {4, 0}, {1, -1}};
    for (const auto& args : bad) {
        EXPECT_EQ(-1, mService->presetListRecall(args.first, args.second));
        EXPECT_TRUE(outputLogged("in presetListRecall band=" + std::to_string(args.first) +
                                 ",index=" + std::to_string(args.second)));
    }
    EXPECT_THAT(mTuner->commands(), ElementsAre("pchRecall(1,4)", "pchRecall(0,4)", "pchRecall(2,6)"));
    EXPECT_THAT(mCallback->summary(), IsEmpty());
}

TEST_F(TuningTest, MemoryStoresIntoTheCurrentBandAndTheListFormEndsEverythingFirst) {
    activateAndSettle();
    mTuner->setGetter("getBand", 3);
    EXPECT_EQ(0, mService->memory(2));
    EXPECT_TRUE(mLog->contains("DABPlayerService::memory index=2"));
    for (int bad : {6, -1}) {
        EXPECT_EQ(-1, mService->memory(bad));
        EXPECT_TRUE(outputLogged("in memory index=" + std::to_string(bad)));
    }
    // The list form refuses bad arguments without a report.
    mLog->clear();
    EXPECT_EQ(-1, mService->presetListMemory(0, 0));
    EXPECT_EQ(-1, mService->presetListMemory(1, 6));
    EXPECT_FALSE(logHas("[0x20300006]"));
    EXPECT_THAT(mTuner->commands(), ElementsAre("pchMemory(2,3)"));
    EXPECT_THAT(mCallback->summary(), IsEmpty());

    mTuner->setGetter("getErrorInfo", 0);
    mTuner->setGetter("getComponentNum", 0);
    ASSERT_EQ(0, mService->presetUpRecall());
    clearRecords();
    EXPECT_EQ(0, mService->presetListMemory(3, 5));
    EXPECT_THAT(mCallback->summary(),
                ElementsAre("39:5:0", "38:0:0", "8:0:0", "9:0:0", "10:0:0", "14:0:0",  // time-out
                            "14:0:0", "12:0:0", "11:0:0",                             // blanking
                            "39:17:0"));
    EXPECT_THAT(mTuner->commands(), ElementsAre("pchMemory(2,6)"));
    EXPECT_EQ(kBusy, peer().isInPresetUpDown());
    EXPECT_EQ(kBusy, peer().isInPresetMemoryExtend());
    EXPECT_TRUE(mLog->contains("DABPlayerService::memory, band=3, index=5"));
    EXPECT_FALSE(logHas(registered(12)));
}

TEST_F(TuningTest, RecallEndsEveryBusyStateAndRecallsValidPresetsOnly) {
    activateAndSettle();
    mTuner->setGetter("getErrorInfo", 0);
    allBusy();
    peer().seekDirection() = 2;
    EXPECT_EQ(0, mService->recall(6));
    expectAllIdle();
    EXPECT_THAT(mCallback->summary(),
                ElementsAre("39:5:0", "38:0:0", "8:0:0", "9:0:0", "10:0:0", "14:0:0"));
    EXPECT_TRUE(mLog->contains("DABPlayerService recall index=6"));
    EXPECT_EQ(0, mService->recall(-1));
    EXPECT_THAT(mTuner->commands(), IsEmpty());

    for (int index = 0; index < 6; ++index) EXPECT_EQ(0, mService->recall(index));
    EXPECT_THAT(mTuner->commands(),
                ElementsAre("preset1Recall()", "preset2Recall()", "preset3Recall()",
                            "preset4Recall()", "preset5Recall()", "preset6Recall()"));
}

TEST_F(TuningTest, WithoutAWorkerFlagsAreStillSetAndCleared) {
    activate(1);  // the TA source: active, but no list worker
    ASSERT_EQ(nullptr, peer().listWorker());
    clearRecords();
    EXPECT_EQ(0, mService->manualUp());
    EXPECT_EQ(kBusy, peer().isInManualUPDownInFreqExtend());
    EXPECT_EQ(0, mService->switchBand());
    EXPECT_EQ(kIdle, peer().isInManualUPDownInFreqExtend());
    EXPECT_EQ(kBusy, peer().isInSwitchBand());
    EXPECT_THAT(mTuner->commands(), ElementsAre("manualUp()", "switchBand()"));
    EXPECT_FALSE(logHas("requestWaitEvent"));
    EXPECT_FALSE(logHas("removeWaitEvent"));
}

TEST_F(TuningTest, ClearOperationsCancelOnlyBusyStatesRecallKeepsThePresetBusyAndClearAllRunsTheTimeOut) {
    activateAndSettle();
    mService->clearSwitchBandStatus();
    mService->clearManualUpDownStatus();
    mService->clearPresetUpDownStatus();
    mService->clearSourceOnDelayStatus();
    EXPECT_FALSE(logHas("removeWaitEvent"));
    EXPECT_TRUE(logInOrder({"DABPlayerService::clearSwitchBandStatus",
                            "DABPlayerService::clearManualUpDownStatus",
                            "DABPlayerService::clearPresetUpDownStatus",
                            "DABPlayerService::clearSourceOnDelayStatus"}));
    peer().isInSourceOnDelay() = kBusy;
    EXPECT_EQ(0, mService->clearSourceOnDelayStatus());
    EXPECT_EQ(kIdle, peer().isInSourceOnDelay());
    EXPECT_TRUE(logHas(cancelled(17)));
    EXPECT_THAT(mCallback->summary(), IsEmpty());

    ASSERT_EQ(0, mService->presetUpRecall());
    ASSERT_TRUE(waitWorkerHolds(DAB_SERVER_QUEUE_MSG_WAIT_PRESET_UPDOWN));
    EXPECT_EQ(0, mService->clearPresetUpDownStatusForRecall());
    EXPECT_EQ(kBusy, peer().isInPresetUpDown());
    EXPECT_TRUE(logHas(cancelled(12)));
    EXPECT_TRUE(waitWorkerIdle());
    EXPECT_TRUE(eventually([&] { return logHas("DABListProcessThread get new preset up/down"); }));

    // Clearing all timing states cancels the busy events, then runs the time-out handling.
    mTuner->setGetter("getErrorInfo", 0);
    ASSERT_EQ(0, mService->switchBand());
    ASSERT_TRUE(waitWorkerHolds(DAB_SERVER_QUEUE_MSG_WAIT_SWITCH_BAND));
    clearRecords();
    EXPECT_EQ(0, mService->clearAllTimingStatus());
    EXPECT_TRUE(logInOrder({"DABPlayerService::onWaitEventTimeOut clearAllTimingStatus",
                            cancelled(15), "DABPlayerService::onWaitEventTimeOuttt type =0"}));
    EXPECT_THAT(mCallback->summary(),
                ElementsAre("39:5:0", "38:0:0", "8:0:0", "9:0:0", "10:0:0", "14:0:0"));
    EXPECT_TRUE(waitWorkerIdle());
    EXPECT_TRUE(eventually([&] { return logHas("DABListProcessThread get new preset up/down"); }));
}

TEST_F(TuningTest, TimeOutOnAnInactiveServiceReportsDefaultsAndKeepsTheListUpdateMode) {
    resume();
    allBusy();
    peer().seekDirection() = 1;
    mService->onWaitEventTimeOut(16);
    EXPECT_THAT(mCallback->summary(),
                ElementsAre("39:5:0", "38:3:0", "8:0:0", "9:0:0", "10:0:0", "14:0:0"));
    expectAllIdle();
    EXPECT_EQ(5, peer().currentLogicMode());
    EXPECT_TRUE(mLog->contains("DABPlayerService::onWaitEventTimeOuttt type =16"));
    EXPECT_THAT(mMediaData->published(), IsEmpty());

    mCallback->clear();
    peer().currentLogicMode() = 28;
    mService->onWaitEventTimeOut(15);
    EXPECT_EQ(28, peer().currentLogicMode());
    EXPECT_THAT(mCallback->summary(), ElementsAre("38:3:0", "8:0:0", "9:0:0", "10:0:0", "14:0:0"));
}

TEST_F(TuningTest, TimeOutReportsErrorAndComponentsAndNeverLowersThePublishedErrorLevel) {
    activateAndSettle();
    mTuner->setGetter("getErrorInfo", 1);
    mTuner->setGetter("getComponentNum", 2);
    mTuner->setGetter("getComponentTotal", 5);
    peer().currentLogicMode() = 13;
    mService->onWaitEventTimeOut(12);
    EXPECT_THAT(mCallback->summary(), ElementsAre("39:5:0", "38:1:0", "12:2:0", "11:5:0", "8:0:0",
                                                  "9:0:0", "10:0:0", "14:0:0"));
    EXPECT_TRUE(mLog->contains("stError =1,errorCurPublished=0"));
    const struct {
        int error, before, published, after;  // published -1: nothing
    } cases[] = {
            {1, 0, 2, 2}, {1, 2, 2, 2}, {1, 3, -1, 3},  // type 1 error: level 2
            {2, 0, 1, 1}, {2, 1, 1, 1}, {2, 2, -1, 2},  // type 2 error: level 1
            {0, 0, -1, 0},                               // no error: nothing
    };
    for (const auto& c : cases) {
        mTuner->setGetter("getErrorInfo", c.error);
        peer().errorCurPublished() = c.before;
        std::vector<std::pair<std::string, int>> expected = mMediaData->published();
        if (c.published >= 0) expected.emplace_back("DABError", c.published);
        mService->onWaitEventTimeOut(0);
        EXPECT_EQ(expected, mMediaData->published()) << "error " << c.error << " level " << c.before;
        EXPECT_EQ(c.after, peer().errorCurPublished()) << "error " << c.error;
    }
    EXPECT_EQ(std::make_pair(std::string("DABError"), 2), mMediaData->published().at(0));
}

}  // namespace
