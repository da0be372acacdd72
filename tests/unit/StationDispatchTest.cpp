// Station and playback notifications: the translation of the tuner's ids, what clients receive
// and in which order, the stored state, the seek throttle and the label and text rules.
#include "ServiceFixture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

using namespace android;
using Strings = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

namespace {

// Tuner ids.
enum {
    kBand = 0, kPresetNum = 1, kLogicMode = 2, kFreq = 3, kCompTotal = 7, kCompNum = 8, kDls = 15,
    kEnsembleLabel = 16, kServiceLabel = 17, kCompLabel = 18, kTsStatus = 19, kTsPause = 20,
    kTsTotal = 21, kTsCache = 22, kSvcItem = 23, kConnect = 26,
};
constexpr uint32_t kEbuLatin = 1;
constexpr uint32_t kUtf8 = 7;
constexpr uint32_t kUcs2 = 8;
constexpr int kBusy = 0;

class StationDispatchTest : public ServiceFixture {
protected:
    void SetUp() override {
        ServiceFixture::SetUp();
        mTuner->setGetter("getLogicMode", 5);
        // Ordinary listening resets the process-wide throttle left by an earlier test.
        mTuner->notify(kFreq, 13);
        mClient = connect(&mCb);
    }
    void TearDown() override {
        mClient.clear();
        ServiceFixture::TearDown();
    }
    // Delivers a label of this kind (0 ensemble, 1 service, 2 component).
    void label(int kind, uint32_t charset, const std::string& text) {
        mTuner->setTitle(kind, charset, text.data(), text.size());
        mTuner->notify(kEnsembleLabel + kind, 0);
    }
    // Delivers one dynamic label segment.
    void dls(uint32_t charset, uint8_t length, uint8_t segment, const std::string& text) {
        mTuner->setDls(charset, length, segment, text.data(), text.size());
        mTuner->notify(kDls, 0);
    }
    Strings take() {
        Strings s = mCb->summary();
        mCb->clear();
        return s;
    }

    sp<FakeClient> mCb;
    sp<IDABPlayer> mClient;
};

long msSince(Clock::time_point t0) {
    return static_cast<long>(
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - t0).count());
}

}  // namespace

TEST_F(StationDispatchTest, TranslatesEveryTunerIdAndTheListKindOfId23) {
    const int expected[] = {1, 42, 39, 2, 3, 5, 7, 11, 12, 38, 4, 0, 6, 45, 15, 14,
                            8, 9, 10, 21, 20, 18, 19, 0, 43, 40, 41, 0};
    for (int id = 0; id < 28; ++id) {
        EXPECT_EQ(expected[id], mService->toServerNotifyId(static_cast<media_lib_dab::DABNotifyID>(id)))
                << "tuner id " << id;
    }
    EXPECT_TRUE(mLog->contains("currentCachedItemType=0"));
    const int byKind[] = {0, 23, 25, 27, 29, 31, 33, 35, 23};
    for (int kind = 1; kind <= 8; ++kind) {
        peer().cache().setCurrentCachedServiceItemType(kind);
        EXPECT_EQ(byKind[kind], mService->toServerNotifyId(media_lib_dab::DAB_NOTIFY_SVC_LIST_ITEM));
        EXPECT_TRUE(mLog->contains("currentCachedItemType=" + std::to_string(kind)));
    }
}

TEST_F(StationDispatchTest, IgnoredIdsAndConnectStatusForwardNothing) {
    for (int id : {11, 25, 27, 31, static_cast<int>(kSvcItem)}) mTuner->notify(id, 1);
    mTuner->notify(kConnect, 1);
    EXPECT_TRUE(mCb->notes().empty());
    EXPECT_EQ(1, peer().currentConnectStatus());
    EXPECT_TRUE(mLog->contains("mController is NULL!"));
    // The closing line is written after the handling, for ignored ids too.
    EXPECT_TRUE(mLog->contains("DABPlayerService get notify id=25"));
}

TEST_F(StationDispatchTest, BandAndPresetNumberForwardFlatPresetIndexAndBusyModes) {
    mTuner->setGetter("getBand", 2);
    mTuner->setGetter("getPchNum", 0);
    peer().isInSwitchBand() = kBusy;
    peer().isInPresetUpDown() = kBusy;
    mTuner->notify(kBand, 3);
    EXPECT_EQ((Strings{"1:3:0", "42:-1:0", "39:17:0", "39:17:0"}), take());
    mTuner->notify(kPresetNum, 0);
    EXPECT_EQ((Strings{"42:-1:0"}), take());
    mTuner->notify(kPresetNum, 6);
    EXPECT_EQ((Strings{"42:11:0", "39:17:0", "39:17:0"}), take());
}

TEST_F(StationDispatchTest, LogicModeNormalRepublishesFrequencyListUpdateModeIsRewrittenAndBusyOperationsHideIt) {
    mTuner->notify(kFreq, 40);
    mTuner->notify(kLogicMode, 11);
    EXPECT_EQ((Strings{"2:40:0", "39:11:0"}), take());
    EXPECT_EQ(0, peer().dynamicTextPublishEnabled());
    EXPECT_EQ(DAB_SERVER_DYNAMIC_TEXT_PUBLISH_CLEAR, peer().dynamicTextStatus());

    peer().currentInfoType() = 4;
    peer().isHandServiceListUpdate() = 1;
    peer().isDynamicTextCached() = DAB_SERVER_DYNAMIC_TEXT_HAS_DATA;
    mTuner->notify(kLogicMode, 5);
    EXPECT_EQ((Strings{"2:40:0", "39:5:0"}), take());
    EXPECT_EQ(1, peer().currentInfoType());
    EXPECT_EQ(0, peer().isHandServiceListUpdate());
    EXPECT_EQ(1, peer().dynamicTextPublishEnabled());
    EXPECT_EQ(DAB_SERVER_DYNAMIC_TEXT_PUBLISH_NO_DATA, peer().dynamicTextStatus());
    EXPECT_EQ(DAB_SERVER_DYNAMIC_TEXT_NO_DATA, peer().isDynamicTextCached());
    EXPECT_TRUE(mLog->contains("DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE =1 1 1 1 1"));

    // With a reception error "no data" is not claimed.
    peer().dynamicTextStatus() = 7;
    mTuner->setGetter("getErrorInfo", 1);
    mTuner->notify(kLogicMode, 5);
    EXPECT_EQ(7, peer().dynamicTextStatus());

    // The list update mode is rewritten; a busy seek cancel hides the mode.
    take();
    mTuner->setGetter("getErrorInfo", 0);
    mTuner->notify(kLogicMode, 25);
    EXPECT_EQ((Strings{"39:28:0", "39:28:0"}), take());
    EXPECT_TRUE(mLog->contains("mCurrentLogicMode = EN_DAB_LM_AUTO_SERLIST_UPDATE"));
    peer().isHandServiceListUpdate() = 1;
    mTuner->notify(kLogicMode, 25);
    EXPECT_EQ((Strings{"39:27:0"}), take());
    EXPECT_EQ(27, peer().currentLogicMode());

    peer().isInSeekCancel() = kBusy;
    mTuner->notify(kLogicMode, 12);
    EXPECT_TRUE(take().empty());
    EXPECT_EQ(12, peer().currentLogicMode());
}


TEST_F(StationDispatchTest, FrequencyOutsideTheTableIsDroppedAndListeningRestartsTheThrottle) {
    peer().isDynamicTextCached() = DAB_SERVER_DYNAMIC_TEXT_HAS_DATA;
    peer().currentInfoType() = 3;
    mTuner->notify(kFreq, 12);
    mTuner->notify(kFreq, 77);
    EXPECT_TRUE(take().empty());
    EXPECT_EQ(13, peer().currentBlockId());
    EXPECT_EQ(DAB_SERVER_DYNAMIC_TEXT_HAS_DATA, peer().isDynamicTextCached());
    EXPECT_EQ(3, peer().currentInfoType());

    mTuner->setGetter("getLogicMode", 11);
    Clock::time_point t0 = Clock::now();
    mTuner->notify(kFreq, 76);
    mTuner->notify(kFreq, 75);
    const long elapsed = msSince(t0);
    mTuner->setGetter("getLogicMode", 5);
    mTuner->notify(kFreq, 74);
    mTuner->setGetter("getLogicMode", 25);
    mTuner->notify(kFreq, 73);  // the next run starts afresh: forwarded at once
    Strings notes = take();
    ASSERT_GE(notes.size(), 3u);
    EXPECT_EQ((Strings{"2:76:0"}), Strings(notes.begin(), notes.begin() + 1));
    EXPECT_EQ((Strings{"2:74:0", "2:73:0"}), Strings(notes.end() - 2, notes.end()));
    if (elapsed < 70) {
        EXPECT_EQ(3u, notes.size()) << "75 came within 80 ms of 76";
    }
    EXPECT_EQ(1, peer().currentInfoType());
    EXPECT_EQ(DAB_SERVER_DYNAMIC_TEXT_NO_DATA, peer().isDynamicTextCached());
}

TEST_F(StationDispatchTest, LabelsAreConvertedForwardedAndClimbTowardsTheComponentAndBadOnesKeepTheStoredLabel) {
    label(0, kEbuLatin, "Ensemble \x82");
    label(1, kUtf8, "Radio \xC3\xA9t\xC3\xA9");
    EXPECT_EQ(3, peer().currentInfoType());
    label(0, kUcs2, std::string("\0N\0e\0w", 6));
    EXPECT_EQ(3, peer().currentInfoType()) << "an ensemble label never replaces the service label";
    label(2, kEbuLatin, "Comp");
    EXPECT_EQ(4, peer().currentInfoType());

    EXPECT_EQ((Strings{"8:0:0:\"Ensemble \xC3\xA9\"", "9:0:0:\"Radio \xC3\xA9t\xC3\xA9\"",
                       "8:0:0:\"New\"", "10:0:0:\"Comp\""}),
              take());
    EXPECT_STREQ("New", peer().ensembleLabel());
    EXPECT_STREQ("Radio \xC3\xA9t\xC3\xA9", peer().serviceLabel());
    EXPECT_STREQ("Comp", peer().compLabel());
    EXPECT_TRUE(mLog->contains("DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE size = 11"));
    EXPECT_TRUE(mLog->contains("compLabel=1, compLabel=Comp"));

    // A new component starts the climb again.
    mTuner->notify(kCompNum, 2);
    EXPECT_EQ(0, peer().currentInfoType());
    mTuner->notify(kEnsembleLabel, 0);
    EXPECT_EQ(2, peer().currentInfoType());

    // Labels without data or conversion keep the stored label.
    label(1, kEbuLatin, "Good");
    take();
    mLog->clear();
    for (const std::string& text : {std::string("No Data Provided"), std::string(16, '\0')}) {
        label(1, kEbuLatin, text);
    }
    EXPECT_EQ(2, mLog->count("DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE No Data Provided"));
    label(1, 3, "Other charset");  // a character set without converter
    label(1, kUtf8, "Bad \xC3\x28");
    EXPECT_TRUE(take().empty());
    EXPECT_STREQ("Good", peer().serviceLabel());
    for (const std::string& m : mLog->messages("DABPlayer")) {
        EXPECT_EQ(std::string::npos, m.find("LABEL_CHANGE size")) << m;
    }
}


TEST_F(StationDispatchTest, ComponentTotalAndNumberForwardOnlyChanges) {
    mTuner->notify(kCompTotal, 3);
    mTuner->notify(kCompTotal, 3);
    peer().isInSwitchBand() = kBusy;
    mTuner->notify(kCompTotal, 4);
    mTuner->notify(kCompNum, 2);
    EXPECT_EQ((Strings{"11:3:0"}), take());
    EXPECT_EQ(4, peer().currentCompTotal());
    EXPECT_EQ(2, peer().currentCompNum());

    peer().isInSwitchBand() = 1;
    peer().isInManualUPDownInFreqExtend() = kBusy;
    peer().errorCheckOnCompNum() = 1;
    mTuner->setGetter("getErrorInfo", 2);
    mTuner->notify(kCompNum, 1);
    EXPECT_EQ((Strings{"38:2:0", "12:1:0", "39:13:0"}), take());
    EXPECT_EQ(0, peer().errorCheckOnCompNum());
    mTuner->notify(kCompNum, 1);  // unchanged
    EXPECT_TRUE(take().empty());
}

TEST_F(StationDispatchTest, DynamicTextCompletesWithTheSecondSegmentOnlyAndIsClearedCutOrKept) {
    const std::string first(64, 'a');
    dls(kEbuLatin, 70, 0, first);
    EXPECT_TRUE(mCb->notes().empty());
    dls(kUtf8, 0, 1, "bcdef");  // code and length come from the first segment
    const std::string whole = first + "bcdef";
    EXPECT_EQ((Strings{"14:0:0:\"" + whole + "\""}), take());
    EXPECT_EQ(DAB_SERVER_DYNAMIC_TEXT_HAS_DATA, peer().isDynamicTextCached());
    EXPECT_TRUE(mLog->contains("isDynamicTextCached = DAB_SERVER_DYNAMIC_TEXT_HAS_DATA size=69"));
    EXPECT_TRUE(mLog->contains("high mDynamicTextCached.text = " + whole + " long=70"));

    // While seeking the text reaches clients but not the head unit.
    peer().dynamicTextPublishEnabled() = 0;
    peer().dynamicTextStatus() = 9;
    dls(kEbuLatin, 3, 0, "xyz");
    dls(kEbuLatin, 0, 1, "");
    EXPECT_EQ((Strings{"14:0:0:\"xyz\""}), take());
    EXPECT_EQ(9, peer().dynamicTextStatus());

    // Another segment number only marks the text absent.
    dls(kEbuLatin, 3, 2, "zzz");
    EXPECT_TRUE(take().empty());
    EXPECT_EQ(DAB_SERVER_DYNAMIC_TEXT_NO_DATA, peer().isDynamicTextCached());

    peer().dynamicTextPublishEnabled() = 1;  // listening again
    dls(kEbuLatin, 0, 0, "");
    EXPECT_EQ((Strings{"14:0:0"}), take()) << "cleared text comes without a parcel";
    EXPECT_EQ(DAB_SERVER_DYNAMIC_TEXT_PUBLISH_NO_DATA, peer().dynamicTextStatus());
    EXPECT_TRUE(mLog->contains("dynamic clear case"));
    EXPECT_TRUE(mLog->contains("llow mDynamicTextCached.text =  long=0"));

    dls(kEbuLatin, 16, 0, "No Data Provided");
    dls(kEbuLatin, 0, 1, "");
    EXPECT_EQ((Strings{"14:0:0"}), take());
    EXPECT_EQ(DAB_SERVER_DYNAMIC_TEXT_NO_DATA, peer().isDynamicTextCached());

    // 128 bytes of a two-byte character: forwarded whole, stored cut to 128 bytes.
    dls(kEbuLatin, 128, 0, std::string(64, '\x82'));
    dls(kEbuLatin, 0, 1, std::string(64, '\x82'));
    std::string e;
    for (int i = 0; i < 64; ++i) e += "\xC3\xA9";
    EXPECT_EQ(e, std::string(peer().dynamicText()));
    ASSERT_EQ(1u, mCb->notes().size());
    EXPECT_EQ(e + e, mCb->notes()[0].text);
    take();

    // A failed conversion keeps the previous text and forwards nothing.
    dls(kUtf8, 4, 0, "\xC3\x28zz");
    dls(kUtf8, 0, 1, "");
    EXPECT_TRUE(take().empty());
    EXPECT_EQ(e, std::string(peer().dynamicText()));
    EXPECT_EQ(DAB_SERVER_DYNAMIC_TEXT_HAS_DATA, peer().isDynamicTextCached());
}


TEST_F(StationDispatchTest, TimeShiftValuesAreByteSwappedAndStatusMapped) {
    mTuner->setGetter("getTsDelayTime", 0x0A00);  // 10
    peer().currentPlaybackStatus() = 2;  // status 0 (no play time) is in the station replay
    mTuner->notify(kTsTotal, 0x0102);
    mTuner->notify(kTsCache, 0x0100);
    EXPECT_EQ((Strings{"18:513:0", "20:503:0", "19:1:0"}), take());
    EXPECT_EQ(10, peer().currentPauseTime());

    mTuner->setGetter("getTsAllTime", 0x6400);  // 100
    mTuner->setGetter("getTsStatus", 2);
    mTuner->notify(kTsPause, 0x1E00);  // 30
    EXPECT_TRUE(take().empty());
    EXPECT_EQ(30, peer().currentPauseTime());
    EXPECT_EQ(100, peer().currentTotalTime());
    // The forwarded difference is in Replay.station.
    mTuner->setGetter("getTsStatus", 3);
    mTuner->notify(kTsPause, 0x1E00);
    EXPECT_TRUE(mLog->contains("tmp=70 pausetime=30 mCurrentTotalTime=100"));
    EXPECT_EQ(70, peer().currentPauseTime());

    for (int status : {0, 1, 2, 3, 4, 5}) mTuner->notify(kTsStatus, status);
    EXPECT_EQ((Strings{"20:70:0", "21:1:0", "21:1:0", "21:1:0", "21:2:0"}), take());
    EXPECT_EQ(5, peer().currentPlaybackStatus());
}
