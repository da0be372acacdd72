// The head-unit simulator's pieces driven in-process: the media manager (sources, one active
// at a time, the information bar, the restart with its reconnect requests), the system
// control manager (resume after attach, suspend and resume on command) and the console's
// commands and answers.
#include "Eventually.h"
#include "HeadUnitConsole.h"
#include "SimMediaData.h"
#include "SimMediaManager.h"
#include "SimSysCtrl.h"

#include <headunit/HeadUnitNames.h>
#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

using namespace android;
using namespace headunit;
using namespace std::chrono_literals;
using json = nlohmann::json;

namespace {

// A source as the media manager sees it; every call is written to a journal shared by all
// sources, so the order across sources shows.
class JournalSource : public BnHeadUnitSourceListener {
public:
    JournalSource(std::string name, std::vector<std::string>* journal) : mName(std::move(name)), mJournal(journal) {}
    int answer = 1;

    int onRequestActivation(int request) override {
        add("activate " + std::to_string(request));
        return answer;
    }
    int onRequestDeactivation(int request) override {
        add("deactivate " + std::to_string(request));
        return answer;
    }
    void onReqPublishMediaInfo() override { add("publish"); }
    void onSourceRelease(int) override {}
    int onRequestPrivateData(int, const Parcel*, Parcel*) override { return 0; }
    void onNotify(int msg, int ext1, int ext2, const Parcel* data) override {
        add("notify " + std::to_string(msg) + " " + std::to_string(ext1) + " " + std::to_string(ext2) +
            (data == nullptr ? " null" : " data"));
    }

private:
    void add(const std::string& what) { mJournal->push_back(mName + ": " + what); }
    const std::string mName;
    std::vector<std::string>* mJournal;
};

class PowerModule : public BnHeadUnitSysCtrlListener {
public:
    std::atomic<int> resumes{0};
    std::atomic<int> suspends{0};
    void onSuspend() override { ++suspends; }
    void onResume() override { ++resumes; }
};

MediaInfoParcel record(const char* label, const char* text) {
    MediaInfoParcel info;
    info.writeMediaSourceID(String8(INFOBAR_SRCNAME_DAB));
    info.writeSrcNameForVA(String8(VA_SRCNAME_DIGTIAL_RADIO));
    if (label != nullptr) info.writeDABLabel(String8(label));
    if (text != nullptr) info.writeDynamicText(String8(text));
    return info;
}

class HeadUnitSimTest : public ::testing::Test {
protected:
    void SetUp() override {
        mManager = new SimMediaManager();
        mDab = new JournalSource("dab", &mJournal);
        mTa = new JournalSource("tadab", &mJournal);
        ASSERT_EQ(0, mManager->createSource(String8("dab"), mDab));
        ASSERT_EQ(0, mManager->createSource(String8("tadab"), mTa));
        Parcel reply;
        ASSERT_EQ(0, mManager->registerSource(String8("dab"), 12, &reply));
        ASSERT_EQ(0, mManager->registerSource(String8("tadab"), 12, &reply));
    }

    SimMediaManager::SourceView source(const std::string& name) {
        for (const auto& s : mManager->sources()) {
            if (s.name == name) return s;
        }
        ADD_FAILURE() << "no source " << name;
        return SimMediaManager::SourceView();
    }

    std::vector<std::string> mJournal;
    sp<SimMediaManager> mManager;
    sp<JournalSource> mDab;
    sp<JournalSource> mTa;
};

TEST_F(HeadUnitSimTest, OneSourceIsActiveAtATime) {
    std::string message;
    EXPECT_EQ(0, mManager->activate("dab", &message));
    EXPECT_EQ("activate dab: accepted", message);
    EXPECT_EQ(0, mManager->activate("tadab", &message));
    EXPECT_EQ("deactivate dab: accepted\nactivate tadab: accepted", message);
    EXPECT_EQ((std::vector<std::string>{"dab: activate 0", "dab: deactivate 0", "tadab: activate 0"}),
              mJournal);
    EXPECT_FALSE(source("dab").active);
    EXPECT_TRUE(source("tadab").active);

    mDab->answer = 0;
    EXPECT_EQ(-1, mManager->activate("dab", &message));
    EXPECT_EQ("deactivate tadab: accepted\nactivate dab: refused", message);
    EXPECT_FALSE(source("dab").active);

    EXPECT_EQ(-1, mManager->activate("fm", &message));
    EXPECT_EQ("no source \"fm\"", message);
}

TEST_F(HeadUnitSimTest, InformationBarKeepsTheLastValueOfEachFieldPerSource) {
    EXPECT_EQ(0, mManager->publishMediaInfo(String8("dab"), record("Nordwelle Pop", nullptr)));
    EXPECT_EQ(0, mManager->publishMediaInfo(String8("dab"), record(nullptr, "Sommerregen")));
    MediaInfoParcel preset;
    preset.writePresetStationNumber(3);
    EXPECT_EQ(0, mManager->publishMediaInfo(String8("dab"), preset));
    EXPECT_EQ(-1, mManager->publishMediaInfo(String8("fm"), preset));

    const SimMediaManager::SourceView dab = source("dab");
    EXPECT_EQ(3, dab.records);
    EXPECT_EQ("Nordwelle Pop", dab.bar.at(MediaInfoParcel::FIELD_DAB_LABEL).text);
    EXPECT_EQ("Sommerregen", dab.bar.at(MediaInfoParcel::FIELD_DYNAMIC_TEXT).text);
    EXPECT_EQ(3, dab.bar.at(MediaInfoParcel::FIELD_PRESET_STATION_NUMBER).value);
    EXPECT_TRUE(source("tadab").bar.empty());
    const auto records = mManager->records(2);
    ASSERT_EQ(2u, records.size());
    EXPECT_EQ(3u, records[0].fields.size());  // the source names and the text
    EXPECT_EQ(MediaInfoParcel::FIELD_PRESET_STATION_NUMBER, records[1].fields[0].kind);
    EXPECT_EQ(0, mManager->setMediaStatus(String8("dab"), 3));
    EXPECT_EQ(3, source("dab").mediaStatus);
}

TEST_F(HeadUnitSimTest, RestartAsksEverySourceToReconnectForgetsThemAndRefusesThemDuringADowntime) {
    std::string message;
    mManager->publishMediaInfo(String8("dab"), record("Nordwelle Pop", nullptr));
    EXPECT_EQ(0, mManager->restart(0, &message));
    EXPECT_EQ("media manager restarted; 2 sources asked to reconnect", message);
    EXPECT_EQ((std::vector<std::string>{"dab: notify 100 100 0 null", "tadab: notify 100 100 0 null"}),
              mJournal);
    EXPECT_TRUE(mManager->sources().empty());
    EXPECT_EQ(1, mManager->restartCount());
    EXPECT_EQ(-1, mManager->activate("dab", &message));

    // A re-created source starts afresh; how long after the restart it came is checked by
    // HeadUnitProcessTest.
    ASSERT_EQ(0, mManager->createSource(String8("dab"), mDab));
    const SimMediaManager::SourceView dab = source("dab");
    EXPECT_FALSE(dab.registered);
    EXPECT_TRUE(dab.bar.empty());

    // With a downtime sources are refused until it is over.
    EXPECT_EQ(0, mManager->restart(300, &message));
    EXPECT_EQ(-1, mManager->createSource(String8("dab"), mDab));
    EXPECT_TRUE(waitUntil([&] { return mManager->createSource(String8("dab"), mDab) == 0; }, 5s));
    EXPECT_GE(source("dab").createdAfterRestartMs, 300);
}

TEST_F(HeadUnitSimTest, ModulesAreResumedAfterTheyAttachAndOnCommand) {
    sp<SimSysCtrl> sysCtrl = new SimSysCtrl(10);
    sp<PowerModule> module = new PowerModule();
    EXPECT_EQ(0, sysCtrl->attach(module, 13, 0));
    ASSERT_TRUE(waitUntil([&] { return module->resumes.load() == 1; }, 5s));
    EXPECT_EQ(SimSysCtrl::kResuming, sysCtrl->modules()[0].state);
    EXPECT_EQ(0, sysCtrl->finishResume(module));
    EXPECT_EQ(SimSysCtrl::kResumed, sysCtrl->modules()[0].state);

    // Suspend and resume on command are in HeadUnitProcessTest.
    sp<PowerModule> stranger = new PowerModule();
    EXPECT_EQ(-1, sysCtrl->finishResume(stranger));
    EXPECT_EQ(0, sysCtrl->detach(module));
    EXPECT_TRUE(sysCtrl->modules().empty());
    EXPECT_EQ(-1, sysCtrl->detach(module));

    // Without automatic resume a module waits for the command.
    sysCtrl = new SimSysCtrl(-1);
    module = new PowerModule();
    sysCtrl->attach(module, 13, 0);
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(0, module->resumes.load());
    EXPECT_EQ(SimSysCtrl::kAttached, sysCtrl->modules()[0].state);
    std::string message;
    sysCtrl->resumeAll(&message);
    EXPECT_EQ("resume sent to 1 modules", message);
    EXPECT_EQ(1, module->resumes.load());
}

TEST_F(HeadUnitSimTest, ConsoleAnswersInTextAndJsonAndRefusesBadCommands) {
    sp<SimMediaData> data = new SimMediaData();
    sp<SimSysCtrl> sysCtrl = new SimSysCtrl(-1);
    int quits = 0;
    sp<HeadUnitConsole> console = new HeadUnitConsole(mManager, data, sysCtrl, [&quits] { ++quits; });
    std::string out;

    EXPECT_EQ(0, console->run("ping", false, &out));
    EXPECT_EQ("pong", out);
    EXPECT_EQ(0, console->run("suspend", false, &out));
    EXPECT_EQ("suspend sent to 0 modules", out);
    EXPECT_EQ(0, console->run("  activate   dab ", false, &out));
    EXPECT_EQ("activate dab: accepted", out);
    mManager->publishMediaInfo(String8("dab"), record("Café Hits", "Neue Musik"));

    EXPECT_EQ(0, console->run("infobar", false, &out));
    EXPECT_NE(std::string::npos, out.find("    DABLabel             Café Hits")) << out;
    EXPECT_NE(std::string::npos, out.find("  tadab: (nothing published)")) << out;

    EXPECT_EQ(0, console->run("status", true, &out));
    const json status = json::parse(out);
    EXPECT_EQ(0, status["status"]);
    EXPECT_EQ("Café Hits", status["infobar"]["dab"]["DABLabel"]);
    EXPECT_EQ("Neue Musik", status["infobar"]["dab"]["DynamicText"]);
    EXPECT_TRUE(status["sources"][0]["active"].get<bool>());
    EXPECT_TRUE(status["lastError"].is_null());

    // Media data keeps every value of a key, in order.
    data->publish(String8("DABError"), 2);
    data->publish(String8("Other"), 1);
    data->publish(String8("DABError"), 0);
    EXPECT_EQ(0, console->run("errors", true, &out));
    const json errors = json::parse(out)["errors"];
    ASSERT_EQ(2u, errors.size()) << out;
    EXPECT_EQ(2, errors[0]["value"]);
    EXPECT_EQ(0, errors[1]["value"]);

    EXPECT_EQ(kCommandUsage, console->run("activate", false, &out));
    EXPECT_EQ("usage: activate SOURCE", out);
    EXPECT_EQ(kCommandUsage, console->run("restart-mm soon", false, &out));
    EXPECT_EQ("usage: restart-mm [MS]: MS must be a number in 0..600000 (got \"soon\")", out);
    EXPECT_EQ(kCommandUsage, console->run("infobar now", false, &out));
    EXPECT_EQ("wrong arguments for infobar; try help", out);
    EXPECT_EQ(kCommandUsage, console->run("reboot", true, &out));
    EXPECT_EQ(json({{"status", kCommandUsage}, {"reply", "unknown command \"reboot\"; try help"}}),
              json::parse(out));

    EXPECT_EQ(0, quits);
    EXPECT_EQ(0, console->run("quit", false, &out));
    EXPECT_EQ(1, quits);
}

}  // namespace
