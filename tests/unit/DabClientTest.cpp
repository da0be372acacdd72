// The application side that dabctl and dabdesk share: text conversion with the returned code,
// notify-id names, the operations by name, and the radio snapshot, read from a client object
// of the service running on fakes.
#include "ActiveServiceFixture.h"
#include "DABServerDefs.h"
#include "NotifyNames.h"
#include "PlayerOperations.h"
#include "RadioSnapshot.h"
#include "TextConversion.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

using namespace android;
using namespace dabclient;

namespace {

// The tuner's character-set code for UTF-8.
constexpr uint32_t kTunerUtf8 = 7;
constexpr int kServiceTitle = 1;

TEST(DabClientTextTest, LabelsAreConvertedWithTheirCodeAndShownRawWhenTheyCannotBe) {
    const char utf8[16] = "Caf\xc3\xa9 Hits";
    ConvertedText t = convertText(utf8, sizeof(utf8), 5);
    EXPECT_TRUE(t.converted);
    EXPECT_EQ("Café Hits", t.utf8);
    EXPECT_EQ("436166c3a92048697473", t.hex);

    // UCS-2 holds zero bytes inside characters; the text ends at a zero code unit.
    const char ucs2[16] = {0x04, 0x20, 0x04, 0x30, 0x04, 0x34, 0x04, 0x38, 0x04, 0x3e, 0, 0x20, 0, 0x31, 0, 0};
    t = convertText(ucs2, sizeof(ucs2), 4);
    EXPECT_TRUE(t.converted);
    EXPECT_EQ("Радио 1", t.utf8);
    EXPECT_EQ("0420043004340438043e00200031", t.hex);

    // Code 21: no conversion; the raw bytes up to the first zero are all there is.
    const char raw[16] = {'\x81', 'A', 0, 'B'};
    t = convertText(raw, sizeof(raw), 21);
    EXPECT_FALSE(t.converted);
    EXPECT_EQ("8141", t.hex);

    EXPECT_EQ("5B", fieldText("5B\0\0garbage", 16));
}

TEST(DabClientTextTest, NotifyNamesAndOperationsAreLookedUpByTheirNames) {
    EXPECT_STREQ("DAB_SERVER_NOTIFY_BAND_CHANGE", notifyName(DAB_SERVER_NOTIFY_BAND_CHANGE));
    EXPECT_STREQ("DAB_SERVER_NOTIFY_SEVICE_FOLLOW_CHANGE", notifyName(3));
    EXPECT_STREQ("DAB_SERVER_NOTIFY_ERROR_INFO_UPDATE", notifyName(47));
    for (int gap : {0, 13, 48}) EXPECT_EQ(nullptr, notifyName(gap)) << gap;

    std::set<std::string> names;
    for (const PlayerOperation& op : playerOperations()) names.insert(op.name);
    EXPECT_EQ(69u, names.size());
    EXPECT_EQ(69u, playerOperations().size());
    EXPECT_EQ(nullptr, findOperation("setClientListener"));
    ASSERT_NE(nullptr, findOperation("GETBAND"));
    EXPECT_STREQ("getBand", findOperation("GETBAND")->name);
    EXPECT_EQ(2u, findOperation("presetListMemory")->args.size());
    EXPECT_EQ(1u, findOperation("getServiceListItem")->args.size());
    EXPECT_TRUE(isTransportError(DEAD_OBJECT));
    EXPECT_FALSE(isTransportError(-1));
}

class DabClientTest : public ActiveServiceFixture {
protected:
    void title(int kind, uint32_t charset, const std::string& text) {
        mTuner->setTitle(kind, charset, text.data(), text.size());
    }
    OpResult call(const char* name, std::vector<int> args = {}) {
        const PlayerOperation* op = findOperation(name);
        EXPECT_NE(nullptr, op) << name;
        return op->call(*mClient, args);
    }
};

TEST_F(DabClientTest, OperationsReturnTheResultAndEveryOutputConverted) {
    // Inactive: the service refuses and the outputs keep their initial values.
    OpResult r = call("getBand");
    EXPECT_EQ(-1, r.result);
    ASSERT_EQ(1u, r.outputs.size());
    EXPECT_EQ("band", r.outputs[0].name);

    activateAndSettle();
    mTuner->setGetter("getBand", 2);
    r = call("getBand");
    EXPECT_EQ(0, r.result);
    EXPECT_EQ(2, r.outputs[0].value);

    title(kServiceTitle, kTunerUtf8, "Caf\xc3\xa9 Hits");
    r = call("getServiceLabel");
    EXPECT_EQ(0, r.result);
    ASSERT_EQ(2u, r.outputs.size());
    EXPECT_EQ(OpOutput::kText, r.outputs[0].kind);
    EXPECT_EQ("Café Hits", r.outputs[0].text.utf8);
    EXPECT_EQ("code", r.outputs[1].name);
    EXPECT_EQ(5, r.outputs[1].value);


    // An argument the service refuses comes back as its result.
    r = call("getPresetListItem", {1, 6});
    EXPECT_EQ(-1, r.result);
    ASSERT_EQ(3u, r.outputs.size());
    EXPECT_EQ("labelAvail", r.outputs[2].name);
}

TEST_F(DabClientTest, SnapshotReadsTheRadioAsOneApplicationSeesIt) {
    RadioSnapshot idle = RadioSnapshot::take(*mClient);
    EXPECT_FALSE(idle.active());
    EXPECT_FALSE(idle.transportFailed);
    EXPECT_NE(std::string::npos, idle.text().find("DAB radio          not active"));

    activateAndSettle();
    mTuner->setGetter("getBand", 1);
    mTuner->setGetter("getPchNum", 2);
    mTuner->setGetter("getNmValue", 14);
    mTuner->setGetter("getSignalLevel", 6);
    mTuner->setGetter("getLogicMode", 5);
    title(kServiceTitle, kTunerUtf8, "Nordwelle Pop");
    const RadioSnapshot s = RadioSnapshot::take(*mClient);
    EXPECT_TRUE(s.active());
    EXPECT_EQ("5B", s.channel);
    EXPECT_EQ("Nordwelle Pop", RadioSnapshot::display(s.service));
    EXPECT_EQ("(no data)", RadioSnapshot::display(s.component));

    const std::string text = s.text();
    EXPECT_NE(std::string::npos, text.find("DAB radio          active, logic mode 5 (normal)")) << text;
    EXPECT_NE(std::string::npos, text.find("Band / preset      band 1, preset P2 of band 1")) << text;
    EXPECT_NE(std::string::npos, text.find("signal 6/7")) << text;

    const auto j = s.toJson();
    EXPECT_EQ(1, j["presetNum"]);
    EXPECT_EQ("Nordwelle Pop", j["serviceLabel"]);
    EXPECT_TRUE(j["compLabel"].is_null());
    EXPECT_EQ(6u, j["presets"].size());
}

}  // namespace
