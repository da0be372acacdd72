// The list, preset, error and antenna handlers of the notification dispatch, driven one
// notification at a time on the test thread. No list worker runs here; the tests with a
// worker and a tuner that answers its requests are in ListRequestsTest.
#include "ServiceFixture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using namespace android;
using media_lib_dab::ST_DAB_PCH_LIST_ITEM;
using media_lib_dab::ST_DAB_SVC_LIST_DATA;

namespace {

ST_DAB_PCH_LIST_ITEM presetRecord(uint8_t labelValid, uint32_t bandCode, uint8_t pchNum,
                                  uint8_t nm, const char* label = "", uint32_t encode = 1) {
    ST_DAB_PCH_LIST_ITEM rec = {labelValid, {}, bandCode, pchNum, nm, {}, encode, {}};
    strncpy(rec.label, label, sizeof(rec.label));
    return rec;
}

ST_DAB_SVC_LIST_DATA listRecord(uint8_t all, uint8_t pos, const char* label) {
    ST_DAB_SVC_LIST_DATA rec = {1, all, pos, 0, 0, 20, {}, 0xE123, 0x1234ABCD, 0x1F07, 1, {}};
    strncpy(rec.label, label, sizeof(rec.label));
    return rec;
}

std::string labelOf(const char (&label)[16]) { return std::string(label, strnlen(label, 16)); }

// label/band/item_index/NM/labelAvail/charCode
std::string describe(const PRESET_LIST_ITEM& p) {
    char out[64];
    snprintf(out, sizeof(out), "/%d/%d/%d/%d/%d", p.band, p.item_index, p.NM, p.labelAvail,
             p.charCode);
    return labelOf(p.label) + out;
}

using Published = std::vector<std::pair<std::string, int>>;

}  // namespace

class ListDispatchTest : public ServiceFixture {
protected:
    void SetUp() override {
        ServiceFixture::SetUp();
        mPlayer = connect(&mClient);
    }
    void TearDown() override {
        mPlayer.clear();
        ServiceFixture::TearDown();
    }

    // A preset item on the path the dispatch takes for the source-on flag's current value.
    void deliverPreset(const ST_DAB_PCH_LIST_ITEM& rec) {
        mTuner->setPchItem(rec);
        if (peer().flagReqPrestListSourceOn() == 1) {
            peer().handlePresetItemSourceOn();
        } else {
            peer().handlePresetItem();
        }
    }
    void deliverListItem(int notifyId, const ST_DAB_SVC_LIST_DATA& rec) {
        mTuner->setSvcItem(rec);
        peer().handleServiceListItem(notifyId);
    }
    PRESET_LIST_ITEM cachedPreset(int band, int preset) {
        PRESET_LIST_ITEM p;
        memset(&p, 0, sizeof(p));
        peer().cache().getCachedPresetItem(band, preset, &p);
        return p;
    }

    sp<FakeClient> mClient;
    sp<IDABPlayer> mPlayer;
};

// ---- Preset items ----

TEST_F(ListDispatchTest, PresetItemOutOfRangeIsRejectedWithItsMessageAndNothingElse) {
    struct Case {
        ST_DAB_PCH_LIST_ITEM rec;
        const char* message;
    } cases[] = {
            {presetRecord(1, 0, 1, 12, "Low"), "PresetListRcvItemHandle stPresetListItem.nm out"},
            {presetRecord(1, 0, 1, 77, "High"), "PresetListRcvItemHandle stPresetListItem.nm out"},
            {presetRecord(1, 4, 1, 20, "Band"), "PresetListRcvItemHandle stPresetListItem.band out"},
            {presetRecord(1, 0, 7, 20, "Seven"),
             "PresetListRcvItemHandle stPresetListItem.item_index out"},
            {presetRecord(1, 0, 0, 20, "Zero"),
             "PresetListRcvItemHandle stPresetListItem.item_index out"},
    };
    peer().flagReqPrestListSourceOn() = 0;
    for (const Case& c : cases) {
        mLog->clear();
        deliverPreset(c.rec);
        EXPECT_EQ(1, mLog->count(c.message)) << c.message;
        EXPECT_FALSE(mLog->contains("mpListProcessThread is NULL!"));
    }
    EXPECT_TRUE(mClient->notes().empty());
    for (int preset = 1; preset <= 6; ++preset) {
        EXPECT_EQ(0, cachedPreset(1, preset).NM);
        EXPECT_EQ(0, peer().presetReceived(1, preset));
    }
    EXPECT_EQ(1, peer().presetListNotCached()[0]);
}

TEST_F(ListDispatchTest, PresetItemLogsItsFieldsAndForwardsBandAndZeroBasedIndex) {
    peer().flagReqPrestListSourceOn() = 0;
    deliverPreset(presetRecord(1, 2, 5, 0x2A, "Radio Five", 8));
    EXPECT_EQ(std::vector<std::string>{"15:3:4"}, mClient->summary());
    for (const char* line :
         {"DABPlayer preset list notify from dab lib", "preset item label valid=0x1",
          "preset item bande=0x2", "preset item pch num=0x5", "preset item nm=0x2a",
          "preset item label encode=0x8", "preset item label=Radio Five",
          "preset item update band=3,index=5"}) {
        EXPECT_TRUE(mLog->contains(line)) << line;
    }
    EXPECT_EQ("Radio Five/3/5/42/1/8", describe(cachedPreset(3, 5)));
    EXPECT_EQ(1, peer().presetReceived(3, 5));

    // Band code 3 is the tuner's current band.
    mClient->clear();
    mTuner->setGetter("getBand", 2);
    deliverPreset(presetRecord(1, 3, 4, 30, "Current"));
    EXPECT_EQ(std::vector<std::string>{"15:2:3"}, mClient->summary());
    EXPECT_EQ("Current/2/4/30/1/1", describe(cachedPreset(2, 4)));

    // The label is kept only when marked valid with 1; its line is written for any non-zero
    // valid byte.
    deliverPreset(presetRecord(2, 0, 1, 20, "Odd"));
    deliverPreset(presetRecord(0, 0, 2, 21, "Hidden"));
    EXPECT_EQ("/1/1/20/2/1", describe(cachedPreset(1, 1)));
    EXPECT_EQ("/1/2/21/0/1", describe(cachedPreset(1, 2)));
    EXPECT_TRUE(mLog->contains("preset item label=Odd"));
    EXPECT_FALSE(mLog->contains("preset item label=Hidden"));
}

TEST_F(ListDispatchTest, SixItemsInAnyOrderCompleteABandAndASeventhStartsANewSet) {
    peer().flagReqPrestListSourceOn() = 0;
    deliverPreset(presetRecord(1, 2, 1, 20, "B3"));  // band 3 stays incomplete
    mClient->clear();
    const int order[] = {4, 1, 6, 2, 5};
    for (int preset : order) deliverPreset(presetRecord(1, 1, preset, 20 + preset, "P"));
    EXPECT_EQ(1, peer().presetListNotCached()[1]);
    EXPECT_EQ(0, peer().presetReceived(2, 3));
    EXPECT_EQ(1, peer().presetReceived(2, 4));
    EXPECT_FALSE(mLog->contains("mpListProcessThread is NULL!"));

    deliverPreset(presetRecord(1, 1, 3, 23, "P"));
    EXPECT_EQ(0, peer().presetListNotCached()[1]);
    for (int preset = 1; preset <= 6; ++preset) EXPECT_EQ(0, peer().presetReceived(2, preset));
    // Without a worker the band is still marked cached, but nobody is told.
    EXPECT_EQ(1, mLog->count("mpListProcessThread is NULL!"));
    EXPECT_EQ((std::vector<std::string>{"15:2:3", "15:2:0", "15:2:5", "15:2:1", "15:2:4",
                                        "15:2:2"}),
              mClient->summary());

    deliverPreset(presetRecord(1, 1, 3, 40, "Again"));
    EXPECT_EQ(1, peer().presetReceived(2, 3));
    EXPECT_EQ(0, peer().presetListNotCached()[1]);
    EXPECT_EQ(40, cachedPreset(2, 3).NM);
    EXPECT_EQ(1, peer().presetListNotCached()[2]);
    EXPECT_EQ(1, peer().presetReceived(3, 1));
}

TEST_F(ListDispatchTest, SourceOnPathAndUpdateRequestWithoutWorkerOnlyCacheAndForward) {
    peer().flagReqPrestListSourceOn() = 1;
    peer().presetListNotifyCount() = 0;
    for (uint32_t code = 0; code < 3; ++code) {
        for (int preset = 1; preset <= 6; ++preset) {
            deliverPreset(presetRecord(1, code, preset, 20, "S"));
        }
    }
    EXPECT_EQ(3, mLog->count("mpListProcessThread is NULL!"));
    EXPECT_EQ(0, peer().presetListNotifyCount());
    EXPECT_EQ(1, peer().flagReqPrestListSourceOn());
    EXPECT_EQ(DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN, peer().isInSourceOnDelay());
    for (int band = 0; band < 3; ++band) EXPECT_EQ(0, peer().presetListNotCached()[band]);
    EXPECT_EQ(18, mClient->count(DAB_SERVER_NOTIFY_PRESET_ITEM_UPDATE));

    // The tuner's request to read the lists again only logs.
    mLog->clear();
    mClient->clear();
    peer().handlePresetListUpdateReq();
    EXPECT_TRUE(mLog->contains("mpListProcessThread is NULL!"));
    EXPECT_FALSE(mLog->contains("DABPlayer received DAB_SERVER_NOTIFY_PRESETLIST_ITEM_UPDATE_REQ"));
    EXPECT_TRUE(mClient->notes().empty());
}

// ---- Service list items ----

TEST_F(ListDispatchTest, FirstItemAnnouncesTheSizeThenEveryItemIsCachedAndAnnounced) {
    peer().cache().setCurrentCachedServiceItemType(DAB_SERVER_SERVICE_ITEM_COMP);
    peer().listCountState() = 1;
    deliverListItem(23, listRecord(3, 1, "First"));
    EXPECT_EQ(2, peer().listCountState());
    EXPECT_EQ(3, peer().cache().getServiceListCount());
    deliverListItem(23, listRecord(3, 3, "Third"));
    deliverListItem(23, listRecord(3, 2, "Second"));
    EXPECT_EQ((std::vector<std::string>{"16:3:0", "17:0:0", "17:2:0", "17:1:0"}),
              mClient->summary());
    EXPECT_TRUE(mLog->contains("service comp list count update compCount=3"));
    EXPECT_TRUE(mLog->contains("service comp list item update index=3"));
    EXPECT_TRUE(mLog->contains("service comp label=Second"));
    EXPECT_TRUE(mLog->contains("service comp scid=0x1f07"));

    COMP_LIST_ITEM item;
    memset(&item, 0xAA, sizeof(item));
    ASSERT_EQ(0, peer().cache().getCachedServiceItem(DAB_SERVER_SERVICE_ITEM_COMP, 2, &item));
    // Only the low byte of the tuner's scid is kept.
    EXPECT_EQ(std::make_tuple(std::string("Second"), 2, 20, 0xE123, 0x1234ABCDu, 0x07, 1),
              std::make_tuple(labelOf(item.label), item.index, int{item.NM}, int{item.eid}, item.sid,
                              int{item.scid}, item.codeTyped));
}

TEST_F(ListDispatchTest, EachKindAnnouncesWithItsOwnIdsAndLogsItsOwnLines) {
    struct Kind {
        int notifyId;
        int sizeId;
        const char* countLine;
        const char* itemLine;
    } kinds[] = {
            {25, 24, "pty newsinfo list count update compCount=2",
             "pty newsinfo list item update index=1"},
            {27, 26, "pty popular list count update compCount=2",
             "pty popular list item update index=1"},
            {29, 28, "pty classics list count update compCount=2",
             "pty classics list item update index=1"},
            {31, 30, "pty others list count update compCount=2",
             "pty others list item update index=1"},
            {33, 32, "emsemble comp count update, compCount=2",
             "ensemble comp list item update index=1"},
            {35, 34, "ensemble list count update ensembleCount=2",
             "ensemble list item update index=1"},
    };
    for (const Kind& k : kinds) {
        mClient->clear();
        peer().listCountState() = 1;
        deliverListItem(k.notifyId, listRecord(2, 1, "Entry"));
        EXPECT_EQ((std::vector<std::string>{std::to_string(k.sizeId) + ":2:0",
                                            std::to_string(k.notifyId) + ":0:0"}),
                  mClient->summary());
        EXPECT_TRUE(mLog->contains(k.countLine)) << k.countLine;
        EXPECT_TRUE(mLog->contains(k.itemLine)) << k.itemLine;
    }
    // The canned lists replay reads each list back; the ensemble's own record is checked here.
    ENSEMBLE_LIST_ITEM e;
    ASSERT_EQ(0, peer().cache().getCachedEnsembleItem(1, &e));
    EXPECT_EQ(std::make_tuple(std::string("Entry"), 0xE123, 20),
              std::make_tuple(labelOf(e.label), int{e.eid}, int{e.NM}));
    // Only the service component list sets the cache's list size.
    EXPECT_EQ(0, peer().cache().getServiceListCount());
}

TEST_F(ListDispatchTest, EmptyListsPositionZeroAndStrayItemsAreNotAnnounced) {
    peer().listCountState() = 1;
    deliverListItem(35, listRecord(0, 0, ""));
    EXPECT_EQ(std::vector<std::string>{"34:0:0"}, mClient->summary());
    ENSEMBLE_LIST_ITEM e;
    EXPECT_EQ(1, peer().cache().getCachedEnsembleItem(0, &e));
    // The size stays 0 for later items of the same list, too.
    deliverListItem(35, listRecord(0, 1, "Late"));
    EXPECT_EQ(1, peer().cache().getCachedEnsembleItem(1, &e));

    // Id 23 is dropped unless the cache browses services or a search.
    mClient->clear();
    peer().cache().setCurrentCachedServiceItemType(DAB_SERVER_SERVICE_ITEM_PTY_POPULAR);
    peer().listCountState() = 1;
    deliverListItem(23, listRecord(2, 1, "Stray"));
    EXPECT_TRUE(mClient->notes().empty());
    EXPECT_EQ(1, peer().listCountState());
    COMP_LIST_ITEM c;
    EXPECT_EQ(1, peer().cache().getCachedServiceItem(DAB_SERVER_SERVICE_ITEM_COMP, 1, &c));
    EXPECT_EQ(1, peer().cache().getCachedServiceItem(DAB_SERVER_SERVICE_ITEM_PTY_POPULAR, 1, &c));

    // An item at position 0 is cached but not announced.
    peer().cache().setCurrentCachedServiceItemType(DAB_SERVER_SERVICE_ITEM_COMP);
    deliverListItem(23, listRecord(2, 1, "One"));
    deliverListItem(23, listRecord(2, 0, "Nowhere"));
    EXPECT_EQ((std::vector<std::string>{"16:2:0", "17:0:0"}), mClient->summary());
    ASSERT_EQ(0, peer().cache().getCachedServiceItem(DAB_SERVER_SERVICE_ITEM_COMP, 0, &c));
    EXPECT_EQ("Nowhere", labelOf(c.label));
}

// ---- Alphabetical search results ----

class AbcSearchResultTest : public ListDispatchTest {
protected:
    void SetUp() override {
        ListDispatchTest::SetUp();
        peer().cache().setCurrentCachedServiceItemType(DAB_SERVER_SERVICE_ITEM_ABC_SEARCH);
        peer().abcSearchState() = 1;
        peer().listCountState() = 1;
    }
    void deliverResult(uint8_t listnumPos) {
        ST_DAB_SVC_LIST_DATA rec = listRecord(9, 4, "Match");
        rec.listnum_pos = listnumPos;
        deliverListItem(23, rec);
    }
};

TEST_F(AbcSearchResultTest, FirstAnswerForwardsTheZeroBasedMatchOrNotFoundUnlessCancelled) {
    deliverResult(3);
    deliverResult(5);  // only the first answer after the request counts
    EXPECT_EQ(std::vector<std::string>{"23:2:0"}, mClient->summary());
    EXPECT_TRUE(mLog->contains("abc search label=Match"));
    COMP_LIST_ITEM c;
    EXPECT_EQ(1, peer().cache().getCachedServiceItem(DAB_SERVER_SERVICE_ITEM_COMP, 4, &c));

    mClient->clear();
    peer().listCountState() = 1;
    deliverResult(0);
    EXPECT_EQ(std::vector<std::string>{"46:0:0"}, mClient->summary());
    EXPECT_TRUE(mLog->contains("notify ui DAB_SERVER_NOTIFY_ABC_SEARCH_NOT_FOUND"));
    EXPECT_EQ(2, peer().listCountState());

    mClient->clear();
    peer().abcSearchState() = 2;  // cancelled
    peer().listCountState() = 1;
    deliverResult(3);
    peer().listCountState() = 1;
    deliverResult(0);
    EXPECT_TRUE(mClient->notes().empty());
    EXPECT_EQ(2, peer().listCountState());
}

// ---- Error and antenna status ----

class ErrorLevelTest : public ListDispatchTest {
protected:
    void SetUp() override {
        ListDispatchTest::SetUp();
        resume();  // creates the media data client
    }
    Published published() { return mMediaData->published(); }
};

// The errors replay covers the forwarded notifications and the common sequence of levels.
TEST_F(ErrorLevelTest, HigherLevelsReplaceLowerOnesAndOnlyAntennaRecoveryFreesTheFaultLevel) {
    peer().handleErrorInfo(2);
    peer().handleErrorInfo(1);
    peer().handleErrorInfo(2);
    EXPECT_EQ((Published{{"DABError", 1}, {"DABError", 2}}), published());
    peer().handleErrorInfo(0);
    EXPECT_EQ(0, peer().errorCurPublished());
    EXPECT_TRUE(mLog->contains("mCurrentErrorType =0,errorCurPublished=0"));

    // Forwarded as fault (1) or normal (2); faults publish level 3 every time.
    const std::pair<int, int> cases[] = {{0, 2}, {1, 2}, {2, 2}, {3, 1}, {5, 1}, {6, 2}};
    for (const auto& c : cases) {
        mClient->clear();
        peer().handleAntStatus(c.first);
        EXPECT_EQ(std::vector<std::string>{"45:" + std::to_string(c.second) + ":0"},
                  mClient->summary())
                << "status " << c.first;
    }
    EXPECT_EQ(4u, published().size());
    peer().handleAntStatus(3);
    peer().handleAntStatus(0);
    EXPECT_EQ(3, peer().errorCurPublished());
    EXPECT_EQ(0, peer().currentAntStatus());
    peer().handleAntStatus(1);
    EXPECT_EQ(0, peer().errorCurPublished());
    EXPECT_TRUE(mLog->contains("mCurrentAntStatus =1,errorCurPublished=0"));
    // A recovery frees only the antenna level.
    peer().handleErrorInfo(2);
    peer().handleAntStatus(2);
    EXPECT_EQ(1, peer().errorCurPublished());
}

TEST_F(ErrorLevelTest, ErrorFallsBackToTheChannelLabelAndBusyOrFmLinkChangeWhatIsForwarded) {
    peer().currentInfoType() = DAB_SERVER_INFO_TYPE_SERVICE;
    peer().handleErrorInfo(2);
    EXPECT_EQ(DAB_SERVER_INFO_TYPE_FREQ, peer().currentInfoType());
    EXPECT_TRUE(mLog->contains("DABPlayer mCurrentErrorType != EN_DAB_ERROR_INFO_NO_ERROR"));
    EXPECT_TRUE(mLog->contains("DABPlayer DAB_SERVER_NOTIFY_ERROR_INFO_NOTIFIED 2"));
    EXPECT_EQ(2, peer().currentErrorType());

    // A busy operation hides the error except as the raw update; publishing goes on.
    mClient->clear();
    peer().isInSwitchBand() = DAB_SERVER_IS_IN_PRESET_UPDOWN;
    peer().handleErrorInfo(1);
    peer().isInSwitchBand() = DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN;
    peer().isInSourceOnDelay() = DAB_SERVER_IS_IN_PRESET_UPDOWN;
    peer().handleErrorInfo(2);
    EXPECT_EQ((std::vector<std::string>{"47:1:0", "47:2:0"}), mClient->summary());
    EXPECT_EQ((Published{{"DABError", 1}, {"DABError", 2}}), published());

    // FM link 2 blanks the component display after the raw update.
    mClient->clear();
    peer().isInSourceOnDelay() = DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN;
    peer().currentFmLink() = 2;
    peer().handleErrorInfo(1);
    EXPECT_EQ((std::vector<std::string>{"47:1:0", "12:0:0", "11:0:0", "38:1:0"}),
              mClient->summary());
    EXPECT_TRUE(mLog->contains("2 == mCurrentFmLink"));
}

TEST_F(ListDispatchTest, WithoutMediaDataClientNothingIsPublishedAndTheLevelStays) {
    peer().handleErrorInfo(1);
    peer().handleAntStatus(5);
    EXPECT_TRUE(mMediaData->published().empty());
    EXPECT_EQ(0, peer().errorCurPublished());
    EXPECT_EQ((std::vector<std::string>{"47:1:0", "38:1:0", "45:1:0"}), mClient->summary());
    EXPECT_FALSE(mLog->contains("DABPlayer  mMediaDataClient"));
}
