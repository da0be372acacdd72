#include "HostLog.h"
#include "OutputLog.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace {

// The report's form, priority and missing tag are pinned by StartupTest's creation failures
// and Replay.log_hygiene.
TEST(OutputLogTest, ReportIsCutSoThatPrefixAndTextUse255Characters) {
    HostLog::Capture capture;
    OutputLog("f.cpp", 1, 0x20300006, "%s", std::string(400, 'x').c_str());
    OutputLog(std::string(300, 'p').c_str(), 12, 0x20300001, "never shown");  // path fills it all
    std::vector<HostLog::Line> lines = capture.lines();
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("[f.cpp:1][0x20300006][" + std::string(255 - 22, 'x') + "]\r\n", lines[0].message);
    EXPECT_EQ("[" + std::string(254, 'p') + "]\r\n", lines[1].message);
}

TEST(HostLogTest, StderrLineFollowsLogcatThreadtimeFormAndCaptureRestoresThePreviousSink) {
    HostLog::Line line{3, 0x10002, "DABPlayer", true, "DABPlayerService construct"};
    std::string text = HostLog::formatThreadtime(line);
    std::regex form(R"(^\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} +\d+ +\d+ D DABPlayer: DABPlayerService construct$)");
    EXPECT_TRUE(std::regex_match(text, form)) << text;

    HostLog::Line untagged{6, static_cast<int>(0x80000001u), "", false, "boom"};
    EXPECT_TRUE(std::regex_search(HostLog::formatThreadtime(untagged), std::regex(" E : boom$")));

    std::vector<std::string> outer;
    HostLog::Sink previous = HostLog::setSink([&](const HostLog::Line& l) { outer.push_back(l.message); });
    {
        HostLog::Capture capture;
        __android_log_print_tag_id(3, 0x10002, "DABListProcess", "value=%d", 5);
        ASSERT_EQ(1u, capture.lines().size());
        EXPECT_EQ(0x10002, capture.lines()[0].tagId);
        EXPECT_EQ("DABListProcess", capture.lines()[0].tag);
        EXPECT_TRUE(capture.contains("value=5"));
    }
    __android_log_print_tag_id(3, 0x10002, "DABPlayer", "after");
    HostLog::setSink(std::move(previous));
    EXPECT_EQ(std::vector<std::string>{"after"}, outer);
}

}  // namespace
