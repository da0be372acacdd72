// Status and label queries and the mode commands: gates, values written and stored before the
// range test, the busy-state rules and the pseudo logic modes.
#include "DABListProcessThread.h"
#include "PlayerOperationList.h"
#include "ServiceFixture.h"
#include "TunerListAnswerer.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <map>

#include <string.h>

#include <string>
#include <vector>

using namespace android;

namespace {

constexpr int kBusy = 0;
constexpr int kUntouched = 12345;

class QueriesTest : public ServiceFixture {
protected:
    // Activates the DAB source; the preset list requests it starts are not looked at here.
    void activeService() {
        activate();
        mTuner->clearCommands();
    }
    void title(int kind, uint32_t charset, const std::string& text) {
        mTuner->setTitle(kind, charset, text.data(), text.size());
    }
};

}  // namespace

// While inactive every operation but the ungated queries answers -1 and does nothing else: no
// output written, no tuner command, no busy state. The five tuning commands and
// the time-shift commands log their refusal; memory and presetListRecall report it.
TEST_F(QueriesTest, EveryGatedOperationRefusesWhileInactiveWithoutEffect) {
    sp<FakeClient> cb;
    sp<IDABPlayer> client = connect(&cb);
    resume();
    cb->clear();
    peer().currentTotalTime() = 300;  // the seek below would be valid
    int v = kUntouched, code, extra;
    EXPECT_EQ(0, mService->getFrequence(&v));  // ungated queries answer
    EXPECT_EQ(174928, v);
    mTuner->setGetter("getLogicMode", 25);
    EXPECT_EQ(0, mService->getLogicMode(&v));
    EXPECT_EQ(28, v);
    mTuner->setGetter("getLogicMode", 0);
    const std::map<std::string, int> ungated = {{"getFrequence", 0}, {"getPtyType", 0}, {"getEnsembleLabel", 1},
            {"getServiceLabel", 1}, {"getCompLabel", 1}, {"getDynamicText", 1}, {"getLogicMode", -1}};
    char text[128];
    using Op = std::pair<const char*, std::function<int()>>;
#define OP0(n) {#n, [&] { return mService->n(); }},
#define OP1(n) {#n, [&] { return mService->n(0); }},
#define OP2(n) {#n, [&] { return mService->n(1, 0); }},
#define OPINT(n) {#n, [&] { return mService->n(&v); }},
#define OPTEXT(n) {#n, [&] { return mService->n(text); }},
#define OPLABEL(n) {#n, [&] { return mService->n(text, &code); }},
#define OPITEM(n) {#n, [&] { return mService->n(0, text, &code); }},
#define OPDYNAMIC(n) {#n, [&] { return mService->n(text, &code, &extra); }},
#define OPPRESET(n) {#n, [&] { return mService->n(1, 0, text, &code, &extra); }},
    const std::vector<Op> ops = {
            PLAYER_OPERATIONS(OP0, OP1, OP2, OPINT, OPTEXT, OPLABEL, OPITEM, OPDYNAMIC, OPPRESET)};
    ASSERT_EQ(69u, ops.size());
    for (const auto& [name, call] : ops) {
        v = code = extra = kUntouched;
        memset(text, 'x', sizeof(text));
        const auto it = ungated.find(name);
        EXPECT_EQ(it == ungated.end() ? -1 : it->second, call()) << name;
        if (it != ungated.end()) continue;
        EXPECT_EQ(std::vector<int>({kUntouched, kUntouched, kUntouched}), std::vector<int>({v, code, extra})) << name;
        EXPECT_EQ(std::string(sizeof(text), 'x'), std::string(text, sizeof(text))) << name;
    }
    EXPECT_TRUE(mTuner->commands().empty());
    // Only presetListMemory notifies: it runs the time-out handling even while inactive.
    EXPECT_EQ(std::vector<std::string>({"38:3:0", "8:0:0", "9:0:0", "10:0:0", "14:0:0"}), cb->summary());
    EXPECT_EQ(1, peer().currentDisplayFormat());
    EXPECT_EQ(0, peer().abcSearchState());
    EXPECT_EQ(0, peer().seekDirection());
    EXPECT_EQ(1, peer().isInManualUPDownInFreqExtend());
    for (const char* op : {"manualDown", "presetSeekUp", "presetSeekDown", "switchBand",
                           "timeShiftPlay", "timeShiftPause"}) {
        const std::string line = std::string("DABPlayerService in ") + op + " mIsActive != 1";
        EXPECT_EQ(1, mLog->count(line)) << op;
    }
    EXPECT_TRUE(mLog->contains("DABPlayer in manualUp mIsActive != 1"));
    EXPECT_TRUE(mLog->contains("in timeSeek time=0"));
    std::string all;
    for (const HostLog::Line& l : mLog->lines()) all += l.message;
    EXPECT_NE(std::string::npos, all.find("[0x20300006][in memory index=0]"));
    EXPECT_NE(std::string::npos, all.find("[0x20300006][in presetListRecall band=1,index=0]"));
}

TEST_F(QueriesTest, EveryGetterWritesItsEntryLine) {
    activeService();
    mLog->clear();
    int v = 0;
    int code = 0;
    int length = 0;
    char text[256] = {};
#define ENTRY(n) {&DABPlayerService::n, "in " #n}
    const std::pair<int (DABPlayerService::*)(int*), const char*> intQueries[] = {
            ENTRY(getBand),       ENTRY(getPresetNum),    ENTRY(getFrequence), ENTRY(getSignalLevel),
            ENTRY(getFmLink),     ENTRY(getBitPerSecond), ENTRY(getPtyType),   ENTRY(getCompTotal),
            ENTRY(getCompNum),    ENTRY(getPlaybackStatus), ENTRY(getTotalTime), ENTRY(getCacheTime),
            ENTRY(getPauseTime),  ENTRY(getLogicMode),    ENTRY(getError),     ENTRY(getRealError),
            ENTRY(getNm),         ENTRY(getDisplayFormat), ENTRY(getAntStatus)};
    std::vector<std::string> expected;
    for (const auto& q : intQueries) {
        (mService.get()->*q.first)(&v);
        expected.push_back(q.second);
    }
    mService->getFreqString(text);
    mService->getBlockId(text);
    mService->getEnsembleLabel(text, &code);
    mService->getCompLabel(text, &code);
    mService->getDynamicText(text, &code, &length);
    for (const char* e : {"in getFreqString", "in getBlockId", "in getEnsembleLabel", "in getCompLabel",
                          "in getDynamicText"}) {
        expected.push_back(e);
    }
    std::vector<std::string> entries;
    for (const std::string& m : mLog->messages("DABPlayer")) {
        if (m.compare(0, 6, "in get") == 0 && m.find(' ', 3) == std::string::npos) entries.push_back(m);
    }
    EXPECT_EQ(expected, entries);
    EXPECT_EQ(24u, entries.size());
}

TEST_F(QueriesTest, LibraryValuesAreWrittenAndStoredBeforeTheRangeTest) {
    activeService();
    int v = 0;
    mTuner->setGetter("getBand", 4);
    EXPECT_EQ(-1, mService->getBand(&v));
    EXPECT_EQ(4, v);
    mTuner->setGetter("getSignalLevel", 8);
    EXPECT_EQ(-1, mService->getSignalLevel(&v));
    EXPECT_EQ(8, peer().currentSignalLevel());
    mTuner->setGetter("getSignalLevel", 7);
    EXPECT_EQ(0, mService->getSignalLevel(&v));
    mTuner->setGetter("getNmValue", 12);
    EXPECT_EQ(-1, mService->getNm(&v));
    EXPECT_EQ(12, peer().currentNm());

    const int shown[] = {0, 2, 2, 1, 1, 1, 0};  // by raw antenna status 0 to 6
    for (int raw = 0; raw <= 6; ++raw) {
        mTuner->setGetter("getAntStatus", raw);
        EXPECT_EQ(shown[raw] == 0 ? -1 : 0, mService->getAntStatus(&v)) << "raw " << raw;
        EXPECT_EQ(shown[raw], v);
        EXPECT_EQ(raw, peer().currentAntStatus());
    }

    peer().currentPtyType() = 31;
    EXPECT_EQ(-1, mService->getPtyType(&v));
    EXPECT_EQ(31, v);
    peer().currentPtyType() = -1;
    EXPECT_EQ(-1, mService->getPtyType(&v));

    mTuner->setGetter("getBand", 2);
    mTuner->setGetter("getPchNum", 3);
    EXPECT_EQ(0, mService->getPresetNum(&v));
    EXPECT_EQ(8, v);
    mTuner->setGetter("getPchNum", 0);
    EXPECT_EQ(0, mService->getPresetNum(&v));
    EXPECT_EQ(-1, v);
    // Library values at the ends of the int range wrap as 32-bit ints, never overflow.
    mTuner->setGetter("getBand", INT_MIN);
    mTuner->setGetter("getPchNum", INT_MIN);
    EXPECT_EQ(0, mService->getPresetNum(&v));
    EXPECT_EQ(2147483641, v);  // 7 x (INT_MIN - 1) modulo 2^32
}

TEST_F(QueriesTest, ChannelQueriesUseTheChannelTable) {
    int khz = kUntouched;
    peer().currentBlockId() = 77;
    EXPECT_EQ(-1, mService->getFrequence(&khz));
    EXPECT_EQ(kUntouched, khz);

    char freq[16];
    mTuner->setGetter("getNmValue", 76);
    EXPECT_EQ(0, mService->getFreqString(freq));
    EXPECT_EQ(0, memcmp(freq, "1490.624MHz\0\0\0\0\0", 16));
    EXPECT_EQ(0, mService->getFrequence(&khz));
    EXPECT_EQ(1490624, khz);
    mTuner->setGetter("getNmValue", 54);
    EXPECT_EQ(-1, mService->getFreqString(nullptr));
    EXPECT_EQ(54, peer().currentBlockId()) << "stored even without a buffer";
    mTuner->setGetter("getNmValue", 12);
    EXPECT_EQ(-1, mService->getFreqString(freq));
    EXPECT_TRUE(mLog->contains("getFreqString mCurrentBlockId out = 12"));

    activeService();
    char label[16];
    peer().currentBlockId() = 73;
    EXPECT_EQ(-1, mService->getBlockId(label)) << "frequency display format";
    EXPECT_EQ(0, mService->setDisplayFormat());
    EXPECT_EQ(0, mService->getBlockId(label));
    EXPECT_STREQ("LT", label);
    peer().currentBlockId() = 77;
    EXPECT_EQ(-1, mService->getBlockId(label));
    EXPECT_EQ(0, mService->setDisplayFormat());
    EXPECT_EQ(1, peer().currentDisplayFormat());

    peer().currentDisplayFormat() = 3;
    int format = kUntouched;
    EXPECT_EQ(0, mService->setDisplayFormat());
    EXPECT_EQ(-1, mService->getDisplayFormat(&format));
    EXPECT_EQ(kUntouched, format);
    EXPECT_EQ(3, peer().currentDisplayFormat());
}

TEST_F(QueriesTest, LabelQueriesHideLabelsWhilePresetOperationsRunAndTextComesRaw) {
    char label[16];
    int code = kUntouched;
    EXPECT_EQ(-1, mService->getServiceLabel(nullptr, &code));
    title(1, 8, std::string("\0S\0v\0c", 6));
    peer().isInPresetUpDown() = kBusy;
    EXPECT_EQ(1, mService->getServiceLabel(label, &code));
    EXPECT_TRUE(mLog->contains("in getServiceLabel isInPresetMemoryExtend =0"));
    peer().isInPresetUpDown() = 1;
    EXPECT_EQ(0, mService->getServiceLabel(label, &code));
    EXPECT_EQ(0, memcmp(label, "\0S\0v\0c", 6)) << "raw bytes, not converted";
    EXPECT_EQ(4, code);
    title(0, 3, "Ensemble");
    EXPECT_EQ(0, mService->getEnsembleLabel(label, &code));
    EXPECT_EQ(21, code);

    code = kUntouched;
    for (const std::string& text : {std::string("No Data Provided"), std::string(16, '\0')}) {
        title(2, 1, text);
        EXPECT_EQ(1, mService->getCompLabel(label, &code));
    }
    EXPECT_EQ(kUntouched, code);

    // The dynamic text comes as the raw segments.
    char text[128];
    int length = 0;
    EXPECT_EQ(-1, mService->getDynamicText(nullptr, &code, &length));
    EXPECT_EQ(1, mService->getDynamicText(text, &code, &length));
    EXPECT_TRUE(mLog->contains("getDynamicText No Data Provided"));

    const std::string first(64, 'a');
    mTuner->setDls(1, 66, 0, first.data(), first.size());
    mTuner->notify(15, 0);
    mTuner->setDls(1, 0, 1, "bc", 2);
    mTuner->notify(15, 0);
    EXPECT_EQ(0, mService->getDynamicText(text, &code, &length));
    EXPECT_EQ(0, memcmp(text, (first + "bc").data(), 66));
    EXPECT_EQ(10, code);
    EXPECT_EQ(66, length);
    mTuner->notify(3, 20);  // a new channel: no text until both segments came again
    EXPECT_EQ(1, mService->getDynamicText(text, &code, &length));
}

TEST_F(QueriesTest, ComponentQueriesFollowTheBusyRules) {
    activeService();
    int v = 0;
    mTuner->setGetter("getComponentTotal", 3);
    mTuner->setGetter("getComponentNum", 2);
    EXPECT_EQ(0, mService->getCompTotal(&v)) << "fields start at -1";
    EXPECT_EQ(3, v);
    EXPECT_EQ(0, mService->getCompNum(&v));
    EXPECT_EQ(2, v);

    peer().currentLogicMode() = 12;
    EXPECT_EQ(-1, mService->getCompTotal(&v));
    EXPECT_TRUE(mLog->contains("in getCompTotal isInPresetUpDown == DAB_SERVER_IS_IN_PRESET_UPDOWN"));
    peer().currentLogicMode() = 5;
    peer().isInSourceOnDelay() = kBusy;
    EXPECT_EQ(-1, mService->getCompNum(&v));
    EXPECT_TRUE(mLog->contains("GETCOMPNUM isInManualUPDownInFreqExtend=1"));
    peer().isInSourceOnDelay() = 1;

    // During a manual step the library is asked; 0 components is a failure and sticks.
    peer().isInManualUPDownInFreqExtend() = kBusy;
    mTuner->setGetter("getComponentTotal", 0);
    EXPECT_EQ(-1, mService->getCompTotal(&v));
    EXPECT_EQ(0, v);
    peer().isInManualUPDownInFreqExtend() = 1;
    mTuner->setGetter("getComponentTotal", 3);
    EXPECT_EQ(-1, mService->getCompTotal(&v));
    EXPECT_TRUE(mLog->contains("DABPlayerService::getCompTotal mCurrentCompTotal == 0 return error"));
    EXPECT_EQ(-1, mService->getCompNum(&v));
    EXPECT_TRUE(mLog->contains(
            "DABPlayerService::getCompTotal mCurrentCompNum==2,mCurrentCompTotal== 0 return error"));
}

TEST_F(QueriesTest, LogicModeReportsPseudoModesWithoutStoringThem) {
    int v = 0;
    peer().isHandServiceListUpdate() = 1;
    mTuner->setGetter("getLogicMode", 25);
    EXPECT_EQ(0, mService->getLogicMode(&v));
    EXPECT_EQ(27, v);
    peer().isHandServiceListUpdate() = 2;
    peer().currentLogicMode() = 5;
    EXPECT_EQ(0, mService->getLogicMode(&v));
    EXPECT_EQ(5, v);
    EXPECT_TRUE(mLog->contains("getLogicMode error"));

    activeService();
    mTuner->setGetter("getLogicMode", 11);
    EXPECT_EQ(0, mService->getLogicMode(&v));
    EXPECT_EQ(11, peer().currentLogicMode());
    struct Case {
        std::atomic<int>* flag;
        int seekDirection;
        int expected;
    };
    const Case cases[] = {
            {&peer().isInPresetUpDown(), 0, 17},       {&peer().isInSourceOnDelay(), 0, 17},
            {&peer().isInPresetMemoryExtend(), 0, 17}, {&peer().isInManualUPDownInFreqExtend(), 2, 13},
            {&peer().isInSwitchBand(), 1, 13},         {&peer().isInSwitchBand(), 2, 14},
            {&peer().isInSwitchBand(), 0, 17},
    };
    for (const Case& c : cases) {
        *c.flag = kBusy;
        peer().seekDirection() = c.seekDirection;
        EXPECT_EQ(0, mService->getLogicMode(&v));
        EXPECT_EQ(c.expected, v);
        EXPECT_EQ(11, peer().currentLogicMode()) << "pseudo modes are not stored";
        *c.flag = 1;
    }
    mTuner->setGetter("getLogicMode", 27);
    EXPECT_EQ(-1, mService->getLogicMode(&v));
    EXPECT_EQ(27, v);
}

TEST_F(QueriesTest, ErrorIsHiddenWhileTheServiceTunesAndModeCommandsReachTheLibrary) {
    activeService();
    int v = kUntouched;
    mTuner->setGetter("getErrorInfo", 2);
    EXPECT_EQ(0, mService->getError(&v));
    EXPECT_EQ(2, v);
    EXPECT_TRUE(mLog->contains("mCurrentLogicMode == EN_DAB_LM_NORMAL"));
    peer().isInSwitchBand() = kBusy;
    EXPECT_EQ(0, mService->getError(&v));
    EXPECT_EQ(0, v);
    EXPECT_TRUE(mLog->contains("mCurrentLogicMode != EN_DAB_LM_NORMAL"));
    EXPECT_EQ(0, mService->getRealError(&v));
    EXPECT_EQ(2, v);
    peer().isInSwitchBand() = 1;
    mTuner->setGetter("getErrorInfo", 3);
    EXPECT_EQ(-1, mService->getError(&v));
    EXPECT_EQ(3, v);

    // The mode commands call the library and set their field.
    EXPECT_EQ(0, mService->abcSearchOn());
    EXPECT_EQ(0, mService->abcSearchOff());
    EXPECT_EQ(0, mService->abcSearchCancel());
    EXPECT_EQ(2, peer().abcSearchState());
    EXPECT_EQ(0, mService->requestDynamicText());
    EXPECT_EQ(0, mService->requestServiceListUpdate());
    EXPECT_EQ(1, peer().isHandServiceListUpdate());
    EXPECT_EQ(0, mService->cancelServiceListUpdate());
    EXPECT_EQ(0, peer().isHandServiceListUpdate());
    for (const char* c : {"abcSearchModeOn()", "abcSearchModeOff()", "abcSearchStop()",
                          "dynamicModeOn()", "listUpdateStart()", "listUpdateCancel()"}) {
        EXPECT_EQ(1, mTuner->countCommand(c)) << c;
    }
}
