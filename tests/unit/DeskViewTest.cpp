// The desk's texts through its view model: what the media manager reports wins, no raw
// sentinel reaches the screen, wide characters keep columns, long lists page, and a snapshot
// taken from a dump follows the notifications.
#include "DeskView.h"

#include <DABServerDefs.h>

#include <gtest/gtest.h>

using dabclient::Notification;
using dabclient::RadioSnapshot;
using json = nlohmann::json;

namespace {

RadioSnapshot activeRadio() {
    return RadioSnapshot::fromDumpJson(nlohmann::ordered_json::parse(R"({
        "lifecycle": {"active": true},
        "station": {"band": 2, "preset": null, "blockId": 14, "logicMode": 5, "errorType": 0,
                    "antStatus": 1, "signalLevel": 5,
                    "serviceLabel": {"text": "Radio Eins", "charset": 1},
                    "ensembleLabel": {"text": "", "charset": null},
                    "dynamicText": {"text": "", "hasData": false}}})"));
}

std::string joined(const std::vector<std::string>& lines) {
    std::string all;
    for (const std::string& l : lines) all += l + "\n";
    return all;
}

}  // namespace

TEST(DeskViewTest, SourceStateIsWhatTheMediaManagerReportsAndNoRawSentinelIsShown) {
    DeskView view;
    view.setRadio(activeRadio());
    view.setHeadUnit(json::parse(R"({"sources": [{"name": "dab", "active": false}]})"));
    EXPECT_NE(std::string::npos, view.render(80, 24)[0].find("DAB source inactive"));
    view.setHeadUnit(json::parse(R"({"sources": [{"name": "dab", "active": true}]})"));
    EXPECT_NE(std::string::npos, view.render(80, 24)[0].find("DAB source active"));

    // No raw sentinel reaches the screen.
    RadioSnapshot r = activeRadio();
    r.presets[0].result = 1;
    r.presets[1].result = -1;
    r.presets[2].result = 0;
    r.presets[2].label.converted = false;
    r.presets[2].label.hex = "8081";
    r.component.result = -1;
    view.setRadio(r);
    const std::string screen = joined(view.render(140, 40));
    EXPECT_NE(std::string::npos, screen.find("no preset")) << screen;
    EXPECT_NE(std::string::npos, screen.find("(empty)"));
    EXPECT_NE(std::string::npos, screen.find("(refused)"));
    EXPECT_NE(std::string::npos, screen.find("(label not convertible)"));
    EXPECT_NE(std::string::npos, screen.find("error none"));
    EXPECT_NE(std::string::npos, screen.find("Ensemble   (no data)"));
    EXPECT_EQ(std::string::npos, screen.find("-1")) << screen;
    EXPECT_EQ(std::string::npos, screen.find("code"));
}

TEST(DeskViewTest, WideCharactersTakeTwoColumnsAndLongListsPage) {
    // Five wide characters fill ten columns; the padding counts columns, not characters.
    EXPECT_EQ("音楽ラジオ  ", DeskView::fit("音楽ラジオ", 12));
    EXPECT_EQ("音楽ラ", DeskView::fit("音楽ラジオ", 7).substr(0, 9));

    std::string list = "Services: 200 entries";
    for (int i = 1; i <= 200; ++i) list += "\n" + std::to_string(i) + ". Service " + std::to_string(i);
    DeskView view;
    view.setRadio(activeRadio());
    view.setResult(list);
    std::string screen = joined(view.render(80, 24));
    EXPECT_NE(std::string::npos, screen.find("page 1 of ")) << screen;
    EXPECT_NE(std::string::npos, screen.find("1. Service 1 "));
    view.nextResultPage();
    screen = joined(view.render(80, 24));
    EXPECT_NE(std::string::npos, screen.find("page 2 of ")) << screen;
    EXPECT_EQ(std::string::npos, screen.find("1. Service 1 "));
    for (int i = 0; i < 100; ++i) view.nextResultPage();
    screen = joined(view.render(80, 24));
    EXPECT_NE(std::string::npos, screen.find("200. Service 200")) << screen;
    for (const std::string& line : view.render(80, 24)) EXPECT_LE(line.size(), 80u * 3);
}

TEST(DeskViewTest, SnapshotFromADumpFollowsTheNotifications) {
    RadioSnapshot r = activeRadio();
    EXPECT_EQ(2, r.band.value);
    EXPECT_EQ(-1, r.presetNum.value);
    EXPECT_EQ("5B", r.channel);
    EXPECT_EQ(0, r.antStatus.result);
    EXPECT_EQ(2, r.antStatus.value);  // raw 1 is a good antenna

    EXPECT_FALSE(r.apply(Notification{DAB_SERVER_NOTIFY_SIGNAL_LEVEL_CHANGE, 3, 0, false, ""}));
    EXPECT_EQ(3, r.signal.value);
    EXPECT_FALSE(r.apply(Notification{DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE, 0, 0, true, "Zwei"}));
    EXPECT_EQ("Zwei", RadioSnapshot::display(r.service));
    EXPECT_FALSE(r.apply(Notification{DAB_SERVER_NOTIFY_DYNAMIC_TEXT_UPDATE, 0, 0, false, ""}));
    EXPECT_EQ("(no data)", RadioSnapshot::display(r.dynamicText));
    // A preset of the band shown, or another band, needs the presets read again.
    EXPECT_TRUE(r.apply(Notification{DAB_SERVER_NOTIFY_PRESET_ITEM_UPDATE, 2, 4, false, ""}));
    EXPECT_FALSE(r.apply(Notification{DAB_SERVER_NOTIFY_PRESET_ITEM_UPDATE, 3, 4, false, ""}));
    EXPECT_TRUE(r.apply(Notification{DAB_SERVER_NOTIFY_BAND_CHANGE, 3, 0, false, ""}));
}
