#include "DABChannelTable.h"
#include "DABServerDefs.h"
#include "MediaSourceFixture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using namespace android;

namespace {

std::string field(const char* writer, const std::string& value) {
    return std::string(writer) + "(" + value + ")";
}

std::string dabNames() {
    return field("writeMediaSourceID", INFOBAR_SRCNAME_DAB) + ", " +
           field("writeSrcNameForVA", VA_SRCNAME_DIGTIAL_RADIO);
}

}  // namespace

class PublishTest : public MediaSourceFixture {
protected:
    void SetUp() override {
        MediaSourceFixture::SetUp();
        strcpy(peer().ensembleLabel(), "BBC National");
        strcpy(peer().serviceLabel(), "Radio 4");
        strcpy(peer().compLabel(), "R4 LW");
        strcpy(peer().dynamicText(), "Now playing: news");
    }

    int publishLabel(int infoType) {
        peer().currentInfoType() = infoType;
        return mService->publishDabLabel(infoType);
    }
};

TEST_F(PublishTest, LabelRecordsCarryDabNamesThenTheLabelOfTheInfoType) {
    mTuner->setGetter("getNmValue", 13);
    EXPECT_EQ(0, publishLabel(DAB_SERVER_INFO_TYPE_FREQ));
    EXPECT_EQ(0, publishLabel(DAB_SERVER_INFO_TYPE_ENSEMBLE));
    EXPECT_EQ(0, publishLabel(DAB_SERVER_INFO_TYPE_SERVICE));
    EXPECT_EQ(0, publishLabel(DAB_SERVER_INFO_TYPE_COMP));

    const std::string freq = DABChannelTable::lookup(13)->freqTextUnit;
    EXPECT_EQ(std::vector<std::string>({
                      dabNames() + ", " + field("writeDABLabel", freq),
                      dabNames() + ", " + field("writeDABLabel", "BBC National"),
                      dabNames() + ", " + field("writeDABLabel", "Radio 4") + ", " +
                              field("writeDABServiceLabel", "Radio 4"),
                      dabNames() + ", " + field("writeDABLabel", "R4 LW"),
              }),
              mMediaManager->recordTexts("dab"));
    EXPECT_TRUE(mMediaManager->records("tadab").empty());
    EXPECT_TRUE(mLog->contains("DABPlayer publishDabLabel freq blockId=13"));
    EXPECT_TRUE(mLog->contains("DABPlayer publishDabLabel service Radio 4"));
    EXPECT_EQ(4, mLog->count("DABPlayerService publishDabLabell"));
    EXPECT_TRUE(mLog->contains("DABPlayerService::publishDabLabel infoType = 3"));

    // The stored info type selects; the argument is only logged.
    mMediaManager->clearRecords();
    peer().currentInfoType() = DAB_SERVER_INFO_TYPE_COMP;
    EXPECT_EQ(0, mService->publishDabLabel(7));
    EXPECT_EQ(std::vector<std::string>({dabNames() + ", " + field("writeDABLabel", "R4 LW")}),
              mMediaManager->recordTexts("dab"));
    EXPECT_TRUE(mLog->contains("DABPlayerService::publishDabLabel infoType = 7"));
}

TEST_F(PublishTest, LabelWithNothingToPublishAnswersMinusOneAndReleasesTheLock) {
    for (int blockId : {12, 77, -1}) {
        mTuner->setGetter("getNmValue", blockId);
        EXPECT_EQ(-1, publishLabel(DAB_SERVER_INFO_TYPE_FREQ)) << blockId;
    }
    EXPECT_EQ(-1, publishLabel(DAB_SERVER_INFO_TYPE_NONE));
    EXPECT_EQ(-1, publishLabel(9));
    EXPECT_TRUE(mLog->contains("DABPlayer publishDabLabel default infoType = 9"));
    EXPECT_TRUE(mMediaManager->records().empty());
    EXPECT_EQ(0, mLog->count("DABPlayerService::publishDabLabel infoType = 1"));

    Mutex& lock = peer().publishLock();
    if (lock.tryLock() == 0) {
        lock.unlock();
    } else {
        ADD_FAILURE() << "publish lock left held";
    }
}

TEST_F(PublishTest, DynamicTextRecordsFollowTheStateAndRememberIt) {
    EXPECT_EQ(0, mService->publishDynamicText(DAB_SERVER_DYNAMIC_TEXT_PUBLISH_HAS_DATA));
    EXPECT_EQ(0, mService->publishDynamicText(DAB_SERVER_DYNAMIC_TEXT_PUBLISH_NO_DATA));
    EXPECT_EQ(0, mService->publishDynamicText(DAB_SERVER_DYNAMIC_TEXT_PUBLISH_CLEAR));
    EXPECT_EQ(0, mService->publishDynamicText(5));

    EXPECT_EQ(std::vector<std::string>({
                      dabNames() + ", " + field("writeDynamicText", "Now playing: news"),
                      dabNames() + ", " + field("writeDynamicText", INFOBAR_NODATA_STRINGCONTENT),
                      dabNames() + ", " + field("writeDynamicText", INFOBAR_CLEAR_STRINGCONTENT),
                      dabNames(),
              }),
              mMediaManager->recordTexts("dab"));
    EXPECT_EQ(5, peer().dynamicTextStatus());
    EXPECT_EQ(4, mLog->count("DABPlayerService::publishDynamicText"));
    EXPECT_EQ(1, mLog->count("DABPlayerService publishDynamicText has data"));
    EXPECT_EQ(1, mLog->count("DABPlayerService publishDynamicText no data"));
    EXPECT_EQ(1, mLog->count("DABPlayerService publishDynamicText clear data"));
}

TEST_F(PublishTest, PresetNumberOutsideOneToSixIsClearedAndIsHandedOverWithoutThePublishLock) {
    for (int number : {0, 1, 6, 7}) mService->publishPresetStationNumber(number);
    const std::string clear = std::to_string(INFOBAR_CLEAR_INTCONTENT);
    EXPECT_EQ(std::vector<std::string>({
                      field("writePresetStationNumber", clear),
                      field("writePresetStationNumber", "1"),
                      field("writePresetStationNumber", "6"),
                      field("writePresetStationNumber", clear),
              }),
              mMediaManager->recordTexts("dab"));
    EXPECT_TRUE(mLog->contains("publishPresetStationNumber:7"));

    // The publish lock is held across the hand-over of label and text, not of the preset number.
    Mutex& lock = peer().publishLock();
    std::vector<std::string> heldDuring;
    mMediaManager->setPublishHook([&](const FakeMediaManager::Record& r) {
        bool held = true;
        if (lock.tryLock() == 0) {
            held = false;
            lock.unlock();
        }
        heldDuring.push_back(MediaInfoParcel::writerName(r.fields.back().kind) +
                             std::string(held ? ":held" : ":free"));
    });
    publishLabel(DAB_SERVER_INFO_TYPE_ENSEMBLE);
    mService->publishDynamicText(DAB_SERVER_DYNAMIC_TEXT_PUBLISH_CLEAR);
    mService->publishPresetStationNumber(3);
    mMediaManager->setPublishHook(nullptr);
    EXPECT_EQ(std::vector<std::string>({"writeDABLabel:held", "writeDynamicText:held",
                                        "writePresetStationNumber:free"}),
              heldDuring);
}

TEST_F(PublishTest, MediaInfoRequestWhileInactivePublishesNothing) {
    resume();
    mMediaManager->requestPublish("dab");
    EXPECT_TRUE(mLog->contains("DABSourceController::onReqPublishMediaInfo()"));
    EXPECT_TRUE(mLog->contains("DABPlayerService::onReqPublishMediaInfo()"));
    EXPECT_TRUE(mLog->contains("in onReqPublishMediaInfo() DABPlayerService, Not Active"));
    EXPECT_TRUE(mMediaManager->records().empty());
}

TEST_F(PublishTest, MediaInfoRequestWhileActiveRepublishesLastLabelKindAndTextState) {
    activate(DAB_SERVER_SOURCE_DAB);
    mMediaManager->clearRecords();
    peer().currentInfoType() = DAB_SERVER_INFO_TYPE_SERVICE;
    peer().dynamicTextStatus() = DAB_SERVER_DYNAMIC_TEXT_PUBLISH_NO_DATA;
    mMediaManager->requestPublish("dab");
    EXPECT_EQ(std::vector<std::string>({
                      dabNames() + ", " + field("writeDABLabel", "Radio 4") + ", " +
                              field("writeDABServiceLabel", "Radio 4"),
                      dabNames() + ", " + field("writeDynamicText", INFOBAR_NODATA_STRINGCONTENT),
              }),
              mMediaManager->recordTexts("dab"));
}
