// List requests, item getters, recalls and the alphabetical search; then, end to end, a
// scripted tuner that answers every list request the worker sends the way the tuner would.
#include "ActiveServiceFixture.h"
#include "DABListProcessThread.h"
#include "ServiceFixture.h"
#include "TunerListAnswerer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

using namespace android;
using media_lib_dab::ST_DAB_PCH_LIST_ITEM;
using media_lib_dab::ST_DAB_SVC_LIST_DATA;

namespace {

COMP_LIST_ITEM compItem(int index, const char* label, int codeTyped = 1) {
    COMP_LIST_ITEM c = {{}, index, static_cast<uint8_t>(20 + index), static_cast<uint16_t>(0xE000 + index),
                        0x10000u + static_cast<uint32_t>(index), static_cast<uint8_t>(index), codeTyped};
    memcpy(c.label, label, std::min(strlen(label), sizeof(c.label)));  // 16 bytes, no terminator
    return c;
}

ENSEMBLE_LIST_ITEM ensembleItem(int index, const char* label, uint16_t eid) {
    ENSEMBLE_LIST_ITEM e = {{}, index, 30, eid, 8};
    strncpy(e.label, label, sizeof(e.label));
    return e;
}

std::string text16(const char* buf) { return std::string(buf, strnlen(buf, 16)); }

std::string recallOf(const COMP_LIST_ITEM& c) {
    return "serviceRecall(" + std::to_string(c.NM) + "," + std::to_string(c.eid) + "," +
           std::to_string(c.sid) + "," + std::to_string(c.scid) + ")";
}

bool anyLineContains(const HostLog::Capture& log, const std::string& text) {
    for (const std::string& m : log.messages()) {
        if (m.find(text) != std::string::npos) return true;
    }
    return false;
}

// True when each text is a whole log line, each one after the one before.
bool linesInOrder(const HostLog::Capture& log, const std::vector<std::string>& texts) {
    const std::vector<std::string> lines = log.messages();
    auto at = lines.begin();
    for (const std::string& t : texts) {
        at = std::find(at, lines.end(), t);
        if (at == lines.end()) return false;
        ++at;
    }
    return true;
}

// The notes of these ids, as "msg:ext1:ext2", in arrival order.
std::vector<std::string> notesOf(const FakeClient& client, std::initializer_list<int> ids) {
    std::vector<std::string> out;
    for (const FakeClient::Note& n : client.notes()) {
        for (int id : ids) {
            if (n.msg == id) {
                out.push_back(std::to_string(n.msg) + ":" + std::to_string(n.ext1) + ":" +
                              std::to_string(n.ext2));
            }
        }
    }
    return out;
}

}  // namespace

// ---- Without a list worker: the service is marked active, nothing is queued. ----

class ListRequestsTest : public ServiceFixture {
protected:
    void SetUp() override {
        ServiceFixture::SetUp();
        peer().setActive(1);
    }
    int currentType() {
        int type = 0;
        peer().cache().getCurrentCachedServiceItemType(&type);
        return type;
    }
    void cacheServiceList(int type, int count) {
        for (int i = 1; i <= count; ++i) {
            char label[17];
            snprintf(label, sizeof(label), "Svc %d", i);
            COMP_LIST_ITEM c = compItem(i, label);
            peer().cache().cacheServiceItem(type, &c);
        }
    }
    void cachePreset(int band, int preset, int labelAvail, int nm, const char* label,
                     int charCode = 1) {
        PRESET_LIST_ITEM p = {{}, band, preset, nm, labelAvail, charCode};
        strncpy(p.label, label, sizeof(p.label));
        peer().cache().cachePresetItem(band, &p);
    }
};

// Return values and untouched outputs while inactive are checked for every operation elsewhere;
// here a browsed list is cached, so that requests and recalls could act on it.
TEST_F(ListRequestsTest, InactiveServiceRefusesListRequestsAndRecallsBeforeAnyEffect) {
    cacheServiceList(DAB_SERVER_SERVICE_ITEM_PTY_POPULAR, 2);
    peer().cache().setServiceListCount(2);
    peer().setActive(0);
    peer().isInSwitchBand() = DAB_SERVER_IS_IN_PRESET_UPDOWN;
    EXPECT_EQ(-1, mService->requestPresetList(1));
    EXPECT_EQ(-1, mService->requestServiceCompList());
    EXPECT_EQ(-1, mService->requestEnsembleList());
    EXPECT_EQ(-1, mService->requestPTYSecondList(0));
    EXPECT_EQ(-1, mService->requestEnsembleSecondList(0));
    EXPECT_EQ(-1, mService->abcSearch(0));
    EXPECT_EQ(-1, mService->ptyPopularListRecall(0));
    EXPECT_TRUE(mTuner->commands().empty());
    EXPECT_EQ(DAB_SERVER_SERVICE_ITEM_PTY_POPULAR, currentType());
    EXPECT_EQ(0, peer().listCountState());
    EXPECT_EQ(DAB_SERVER_IS_IN_PRESET_UPDOWN, peer().isInSwitchBand());
    COMP_LIST_ITEM c;
    EXPECT_EQ(0, peer().cache().getCachedServiceItem(DAB_SERVER_SERVICE_ITEM_PTY_POPULAR, 2, &c));
    EXPECT_TRUE(anyLineContains(*mLog, "[0x20300006][in requestPresetList band=1]"));
}

TEST_F(ListRequestsTest, PresetListRequestsChecksTheBandAnswersCachedBandsAndNeedsTheWorker) {
    EXPECT_EQ(-1, mService->requestPresetList(0));
    EXPECT_EQ(-1, mService->requestPresetList(4));
    EXPECT_TRUE(anyLineContains(*mLog, "[0x20300006][in requestPresetList band=0]"));
    EXPECT_TRUE(anyLineContains(*mLog, "[0x20300006][in requestPresetList band=4]"));

    peer().presetListNotCached()[1] = 0;
    EXPECT_EQ(0, mService->requestPresetList(2));
    EXPECT_TRUE(mLog->contains("DABPlayerService::requestPresetList band=2"));
    EXPECT_TRUE(mLog->contains("requestPresetList band2 preset list is cached"));
    // A band that is not cached needs the worker.
    EXPECT_EQ(-1, mService->requestPresetList(3));
    EXPECT_FALSE(mLog->contains("requestPresetList band3 preset list is cached"));

    mLog->clear();
    mService->sourceOnRequestPresetList();
    EXPECT_TRUE(linesInOrder(*mLog, {"DABPlayer sourceOnRequestPresetList", "mpListProcessThread is NULL!"}));
}

TEST_F(ListRequestsTest, ListRequestsWithoutWorkerFailAfterSettingTheListAndClearingTheCache) {
    ENSEMBLE_LIST_ITEM e = ensembleItem(1, "Ens", 0xE00A);
    peer().cache().cacheEnsembleItem(&e);
    cacheServiceList(DAB_SERVER_SERVICE_ITEM_COMP, 3);
    peer().isInManualUPDownInFreqExtend() = DAB_SERVER_IS_IN_PRESET_UPDOWN;

    EXPECT_EQ(-1, mService->requestServiceCompList());
    EXPECT_TRUE(mLog->contains("in requestServiceCompList"));
    EXPECT_EQ(DAB_SERVER_SERVICE_ITEM_COMP, currentType());
    EXPECT_EQ(1, peer().listCountState());
    EXPECT_EQ(DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN, peer().isInManualUPDownInFreqExtend());
    COMP_LIST_ITEM c;
    EXPECT_EQ(1, peer().cache().getCachedServiceItem(DAB_SERVER_SERVICE_ITEM_COMP, 1, &c));
    EXPECT_EQ(1, peer().cache().getCachedEnsembleItem(1, &e));

    EXPECT_EQ(-1, mService->requestEnsembleList());
    EXPECT_EQ(DAB_SERVER_SERVICE_ITEM_ENSEMBLE, currentType());
    for (int index = 0; index <= 3; ++index) {
        EXPECT_EQ(-1, mService->requestPTYSecondList(index));
        EXPECT_EQ(DAB_SERVER_SERVICE_ITEM_PTY_NEWSINFO + index, currentType());
    }
    EXPECT_TRUE(mLog->contains("in requestPTYSecondList index=3"));

    // An ensemble's components keep the ensemble list and need the chosen entry.
    e = ensembleItem(1, "One", 0xE001);
    peer().cache().cacheEnsembleItem(&e);
    e = ensembleItem(2, "Two", 0xE002);
    peer().cache().cacheEnsembleItem(&e);
    cacheServiceList(DAB_SERVER_SERVICE_ITEM_PTY_OTHERS, 2);
    peer().listCountState() = 0;
    EXPECT_EQ(1, mService->requestEnsembleSecondList(3));
    EXPECT_EQ(DAB_SERVER_SERVICE_ITEM_ENSEMBLE_COMP, currentType());
    EXPECT_EQ(1, peer().listCountState());
    EXPECT_EQ(1, peer().cache().getCachedServiceItem(DAB_SERVER_SERVICE_ITEM_PTY_OTHERS, 1, &c));
    EXPECT_EQ(0xFFFF, peer().currentEnsembleId());
    EXPECT_EQ(1, mService->requestEnsembleSecondList(-1));
    EXPECT_TRUE(mLog->contains("in requestEnsembleSecondList ensembleIndex=-1"));

    // The entry exists: the ensemble is chosen even though no worker takes the request.
    EXPECT_EQ(-1, mService->requestEnsembleSecondList(1));
    EXPECT_EQ(0xE002, peer().currentEnsembleId());
    ENSEMBLE_LIST_ITEM out;
    EXPECT_EQ(0, peer().cache().getCachedEnsembleItem(1, &out));
}

TEST_F(ListRequestsTest, EveryGetterReadsOnlyTheListBeingBrowsed) {
    struct Getter {
        int type;
        int (DABPlayerService::*get)(int, char*, int*);
        const char* entryLine;
    } getters[] = {
            {1, &DABPlayerService::getServiceListItem, "in getServiceListItem"},
            {2, &DABPlayerService::getPtyNewsinfoListItem, "in getPtyNewsinfoListItem"},
            {3, &DABPlayerService::getPtyPopularListItem, "in getPtyPopularListItem"},
            {4, &DABPlayerService::getPtyClassicsListItem, "in getPtyClassicsListItem"},
            {5, &DABPlayerService::getPtyOthersListItem, "in getPtyOthersListItem"},
            {6, &DABPlayerService::getEnsembleCompListItem, "in getEnsembleCompListItem"},
    };
    for (const Getter& g : getters) {
        COMP_LIST_ITEM c = compItem(2, "ABCDEFGHIJKLMNOP", 7);  // a full 16-byte label
        peer().cache().cacheServiceItem(g.type, &c);
        char label[20];
        memset(label, 'x', sizeof(label));
        int code = 0;
        EXPECT_EQ(0, (mService.get()->*g.get)(1, label, &code)) << g.entryLine;
        EXPECT_EQ(0, memcmp(label, "ABCDEFGHIJKLMNOP", 16));
        EXPECT_EQ('x', label[16]) << "no terminator is added";
        EXPECT_EQ(5, code);
        EXPECT_TRUE(mLog->contains(g.entryLine));
        // A position without entry reads as an empty label: it answers 1 and writes nothing.
        code = 99;
        EXPECT_EQ(1, (mService.get()->*g.get)(2, label, &code));
        EXPECT_EQ('A', label[0]);
        EXPECT_EQ(99, code);
        EXPECT_EQ(1, (mService.get()->*g.get)(-1, label, &code));
    }
    EXPECT_TRUE(mLog->contains("bRetStatus =0 code=5"));

    // Getters of another list refuse with code 21; a null label is refused.
    peer().cache().setCurrentCachedServiceItemType(DAB_SERVER_SERVICE_ITEM_PTY_CLASSICS);
    char label[16];
    int code = 42;
    EXPECT_EQ(-1, mService->getServiceListItem(0, label, &code));
    EXPECT_EQ(21, code);
    EXPECT_TRUE(mLog->contains("bRetStatus =-1 code=21"));
    code = 0;
    EXPECT_EQ(-1, mService->getEnsembleCompListItem(0, label, &code));
    EXPECT_EQ(21, code);
    EXPECT_EQ(-1, mService->getPtyClassicsListItem(0, nullptr, &code));
}

TEST_F(ListRequestsTest, RecallsTuneToTheEntryOfTheListBeingBrowsed) {
    struct Recall {
        int type;
        int (DABPlayerService::*recall)(int);
        const char* line;
    } recalls[] = {
            {1, &DABPlayerService::serviceListRecall, "DABPlayerService::serviceListRecall,serviceIndex=1"},
            {2, &DABPlayerService::ptyNewsinfoListRecall, "DABPlayerService::ptyNewsinfoListRecall,serviceIndex=1"},
            {3, &DABPlayerService::ptyPopularListRecall, "DABPlayerService::ptyPopularListRecall,serviceIndex=1"},
            {4, &DABPlayerService::ptyClassicsListRecall, "DABPlayerService::ptyClassicsListRecall,serviceIndex=1"},
            {5, &DABPlayerService::ptyOthersListRecall, "DABPlayerService::ptyOthersListRecall,serviceIndex=1"},
            {6, &DABPlayerService::ensembleListRecall, "DABPlayerService::ensembleListRecall index=1"},
    };
    for (const Recall& r : recalls) {
        mTuner->clearCommands();
        COMP_LIST_ITEM c = compItem(2, "Target");
        c.sid = 0xC0DE0000u + static_cast<uint32_t>(r.type);
        peer().cache().cacheServiceItem(r.type, &c);
        EXPECT_EQ(0, (mService.get()->*r.recall)(1)) << r.line;
        EXPECT_EQ(1, (mService.get()->*r.recall)(5)) << r.line;
        EXPECT_EQ(std::vector<std::string>{recallOf(c)}, mTuner->commands());
        EXPECT_TRUE(mLog->contains(r.line));
    }
    // A recall does not look at the label.
    mTuner->clearCommands();
    COMP_LIST_ITEM empty = compItem(1, "");
    peer().cache().cacheServiceItem(DAB_SERVER_SERVICE_ITEM_PTY_CLASSICS, &empty);
    EXPECT_EQ(0, mService->ptyClassicsListRecall(0));
    EXPECT_EQ(std::vector<std::string>{recallOf(empty)}, mTuner->commands());
    // Browsing another list refuses; the ensemble list itself has no recall.
    peer().cache().setCurrentCachedServiceItemType(DAB_SERVER_SERVICE_ITEM_ENSEMBLE);
    EXPECT_EQ(-1, mService->ensembleListRecall(0));
    EXPECT_EQ(-1, mService->serviceListRecall(0));
    EXPECT_EQ(-1, mService->ptyOthersListRecall(0));
}

TEST_F(ListRequestsTest, AbcSearchAsksTheTunerOnlyOnceTheServiceListIsCompleteAndAnswersMinusOne) {
    EXPECT_EQ(-1, mService->abcSearch(0));  // no list size yet
    cacheServiceList(DAB_SERVER_SERVICE_ITEM_COMP, 4);
    peer().cache().setServiceListCount(5);  // the fifth entry has not arrived
    EXPECT_EQ(-1, mService->abcSearch(0));
    EXPECT_EQ(2, mLog->count("DABPlayerService abcSearch item not exist, return"));
    EXPECT_TRUE(mTuner->commands().empty());
    EXPECT_EQ(0, peer().abcSearchState());
    EXPECT_EQ(0, peer().listCountState());
    EXPECT_EQ(DAB_SERVER_SERVICE_ITEM_COMP, currentType());

    // Complete: the tuner is asked, the answer is still -1.
    cacheServiceList(DAB_SERVER_SERVICE_ITEM_COMP, 5);
    EXPECT_EQ(-1, mService->abcSearch(0));
    EXPECT_EQ(1, peer().abcSearchState());
    EXPECT_EQ(1, peer().listCountState());
    EXPECT_EQ(DAB_SERVER_SERVICE_ITEM_ABC_SEARCH, currentType());
    EXPECT_EQ(-1, mService->abcSearch(25));
    EXPECT_EQ(-1, mService->abcSearch(26));
    EXPECT_EQ(-1, mService->abcSearch(30));
    EXPECT_EQ((std::vector<std::string>{"svcListAbcSearchLabelReq(1,65,0)",
                                        "svcListAbcSearchLabelReq(1,90,0)",
                                        "svcListAbcSearchLabelReq(1,0,0)",
                                        "svcListAbcSearchLabelReq(1,30,0)"}),
              mTuner->commands());
    EXPECT_EQ(6, mLog->count("in abcSearch"));

    // While searching, the service component getter and recall read the service list.
    char label[16] = {};
    int code = 0;
    EXPECT_EQ(0, mService->getServiceListItem(4, label, &code));
    EXPECT_EQ("Svc 5", text16(label));
    mTuner->clearCommands();
    EXPECT_EQ(0, mService->serviceListRecall(4));
    EXPECT_EQ(std::vector<std::string>{recallOf(compItem(5, "Svc 5"))}, mTuner->commands());
}

TEST_F(ListRequestsTest, PresetItemShowsItsLabelOrItsChannelInTheDisplayFormatOrNothing) {
    const int initialFormat = peer().currentDisplayFormat();
    cachePreset(1, 3, 0, 13, "");  // block 13 is channel 5A, 174.928 MHz
    char label[16];
    int code = 0;
    int avail = -1;
    // An unknown format leaves the label as the caller passed it.
    const std::pair<int, std::string> formats[] = {
            {1, "174.928"}, {2, "5A"}, {3, "KEEPKEEPKEEPKEEP"}};
    for (const auto& f : formats) {
        peer().currentDisplayFormat() = f.first;
        memcpy(label, "KEEPKEEPKEEPKEEP", 16);
        code = 0;
        avail = -1;
        EXPECT_EQ(0, mService->getPresetListItem(1, 2, label, &code, &avail)) << f.first;
        EXPECT_EQ(f.second, text16(label));
        EXPECT_EQ(5, code);
        EXPECT_EQ(0, avail);
    }
    EXPECT_TRUE(mLog->contains("presetListItem.nm=13"));
    EXPECT_TRUE(mLog->contains("getPresetListItem 1"));
    EXPECT_TRUE(mLog->contains("getPresetListItem 2"));

    peer().currentDisplayFormat() = initialFormat;
    cachePreset(2, 6, 1, 40, "My Station", 7);
    EXPECT_EQ(0, mService->getPresetListItem(2, 5, label, &code, &avail));
    EXPECT_EQ("My Station", text16(label));
    EXPECT_EQ(5, code);
    EXPECT_EQ(1, avail);
    EXPECT_TRUE(mLog->contains("getPresetListItem 3"));

    // Never received, or a band that does not exist: an empty preset.
    for (int band : {3, 4, 0}) {
        memset(label, 'z', sizeof(label));
        code = 0;
        avail = -1;
        EXPECT_EQ(1, mService->getPresetListItem(band, 0, label, &code, &avail)) << band;
        EXPECT_EQ(0, label[0]);
        EXPECT_EQ(5, code);
        EXPECT_EQ(0, avail);
    }
    EXPECT_TRUE(mLog->contains("getPresetListItem 4"));
    EXPECT_EQ(-1, mService->getPresetListItem(1, 6, label, &code, &avail));
    EXPECT_EQ(-1, mService->getPresetListItem(1, -1, label, &code, &avail));
    EXPECT_EQ(-1, mService->getPresetListItem(1, 0, nullptr, &code, &avail));
}

// ---- With a running worker whose requests are answered at once. ----

class ListRequestsWorkerTest : public ActiveServiceFixture {
protected:
    void SetUp() override {
        ActiveServiceFixture::SetUp();
        activateAndSettle();
    }
};

TEST_F(ListRequestsWorkerTest, RequestsQueueUncachedPresetBandsAndItemOneOfEachPtyGroup) {
    peer().presetListNotCached()[1] = 1;
    EXPECT_EQ(0, mClient->requestPresetList(2));
    EXPECT_TRUE(mTuner->waitForCommand("pchListReq(1)"));
    ASSERT_TRUE(waitWorkerIdle());
    for (int index = 0; index <= 3; ++index) {
        EXPECT_EQ(0, mClient->requestPTYSecondList(index));
        EXPECT_TRUE(mTuner->waitForCommand("ptyListItemReq(1," + std::to_string(index + 1) + ")"));
        ASSERT_TRUE(waitWorkerIdle());
    }
    // An unknown group clears nothing of the browsed list and queues nothing.
    COMP_LIST_ITEM c = compItem(1, "Pop");
    peer().cache().cacheServiceItem(DAB_SERVER_SERVICE_ITEM_PTY_POPULAR, &c);
    EXPECT_EQ(0, mClient->requestPTYSecondList(5));
    int type = 0;
    peer().cache().getCurrentCachedServiceItemType(&type);
    EXPECT_EQ(DAB_SERVER_SERVICE_ITEM_PTY_POPULAR, type);
    EXPECT_EQ(1, peer().cache().getCachedServiceItem(DAB_SERVER_SERVICE_ITEM_PTY_POPULAR, 1, &c));
    EXPECT_TRUE(mLog->contains("DABListProcessThread::requestServiceListItem msgType=0,itemIndex=1"));
    ASSERT_TRUE(waitWorkerIdle());
    EXPECT_EQ((std::vector<std::string>{"pchListReq(1)", "ptyListItemReq(1,1)", "ptyListItemReq(1,2)",
                                        "ptyListItemReq(1,3)", "ptyListItemReq(1,4)"}),
              mTuner->commands());
}

// ---- End to end: the tuner answers every request with the scripted items. ----

class ListEndToEndTest : public ServiceFixture {
protected:
    void SetUp() override {
        ServiceFixture::SetUp();
        mPlayer = connect(&mClient);
        FakeTuner* tuner = mTuner.get();  // outlives every worker of the test
        mTuner->setCommandHook([tuner](const std::string& c) { answer(tuner, c); });
    }

    void TearDown() override {
        mTuner->setCommandHook(nullptr);
        // End whatever the worker holds (the source-on delay lasts 2 s otherwise).
        sp<DABListProcessThread> worker = peer().listWorker();
        if (worker != nullptr) {
            EXPECT_TRUE(stopAndDrainWorker(worker));
        }
        worker.clear();
        mPlayer.clear();
        ServiceFixture::TearDown();
    }

    static ST_DAB_PCH_LIST_ITEM presetOf(int bandCode, int preset) {
        ST_DAB_PCH_LIST_ITEM rec = {1, {}, static_cast<uint32_t>(bandCode), static_cast<uint8_t>(preset),
                                    static_cast<uint8_t>(13 + bandCode * 6 + preset), {}, 1, {}};
        snprintf(rec.label, sizeof(rec.label), "B%d P%d", bandCode + 1, preset);
        return rec;
    }

    // Answers one recorded tuner command the way the tuner would, on the caller's thread:
    // six presets per band, and every other list empty.
    static void answer(FakeTuner* tuner, const std::string& command) {
        LIST_QUEUE_MSG m;
        if (command.compare(0, 10, "pchMemory(") == 0) {
            // Storing a preset makes the tuner ask for the preset lists again.
            tuner->notify(media_lib_dab::DAB_NOTIFY_PRESET_LIST_UPDATE_REQ, 0);
        } else if (!TunerListAnswerer::toMsg(command, &m)) {
            return;
        } else if (m.msgType <= DAB_SERVER_QUEUE_MSG_PRESET_LIST_CURRENT) {
            for (int preset = 1; preset <= 6; ++preset) {
                tuner->setPchItem(presetOf(m.msgType - 1, preset));
                tuner->notify(media_lib_dab::DAB_NOTIFY_PRESET_ITEM, 0);
            }
        } else {
            const ST_DAB_SVC_LIST_DATA empty = {};  // size 0, position 0
            tuner->setSvcItem(empty);
            tuner->notify(media_lib_dab::DAB_NOTIFY_SVC_LIST_ITEM, 0);
        }
    }

    // Activates the DAB source and waits until the three preset bands have arrived.
    void activateAndReceivePresets() {
        activate(0);
        // The flag falls before the wait event is registered and the line is written.
        ASSERT_TRUE(eventually(
                [&] { return mLog->contains("DABPlayer set mFlagReqPrestListSourceOn = 0"); }, 10000));
    }

    sp<FakeClient> mClient;
    sp<IDABPlayer> mPlayer;
};

TEST_F(ListEndToEndTest, PresetBandsArriveOnActivationAndAfterAStoreThenAnEmptyListEndsItsWait) {
    activateAndReceivePresets();
    std::vector<std::string> presets = notesOf(*mClient, {DAB_SERVER_NOTIFY_PRESET_ITEM_UPDATE});
    ASSERT_EQ(18u, presets.size());
    // Each band arrives whole, its presets in order.
    for (size_t i = 0; i < presets.size(); ++i) {
        EXPECT_EQ(":" + std::to_string(i % 6), presets[i].substr(presets[i].find(':', 3), 2));
    }
    EXPECT_EQ(0, peer().flagReqPrestListSourceOn());
    EXPECT_EQ(DAB_SERVER_IS_IN_PRESET_UPDOWN, peer().isInSourceOnDelay());
    EXPECT_EQ(3, peer().presetListNotifyCount());
    EXPECT_TRUE(mLog->contains(
            "DABListProcessThread::DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE requestWaitEvent "
            "msgType=17,itemIndex=0"));
    sp<DABListProcessThread> worker = peer().listWorker();
    EXPECT_TRUE(eventually([&] { return worker->currentMsg().msgType == 17; }));
    worker.clear();
    // The cached presets are read back in the canned lists replay.

    // A stored preset ends in a preset busy period after the lists return.
    mClient->clear();
    mLog->clear();
    ASSERT_EQ(0, mPlayer->presetListMemory(2, 3));
    ASSERT_TRUE(eventually([&] {
        return peer().isInPresetMemoryExtend() == DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN &&
               peer().isInPresetUpDown() == DAB_SERVER_IS_IN_PRESET_UPDOWN &&
               mClient->count(DAB_SERVER_NOTIFY_PRESET_ITEM_UPDATE) == 18;
    }));
    EXPECT_TRUE(mLog->contains("DABPlayer received DAB_SERVER_NOTIFY_PRESETLIST_ITEM_UPDATE_REQ"));
    EXPECT_TRUE(linesInOrder(
            *mLog, {"DDABListProcessThread::srequestPresetListItemUpdate msg.msgType=1",
                    "DDABListProcessThread::srequestPresetListItemUpdate msg.msgType=2",
                    "DDABListProcessThread::srequestPresetListItemUpdate msg.msgType=3",
                    "DABListProcessThread::DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE requestWaitEvent "
                    "msgType=12,itemIndex=0"}));
    // The operation announces itself with 17, and its end announces 17 again after the lists.
    std::vector<std::string> modes = notesOf(*mClient, {15, 39});
    auto start = std::find(modes.begin(), modes.end(), "39:17:0");
    ASSERT_GE(modes.end() - start, 20);
    EXPECT_EQ(18, std::count_if(start + 1, start + 19,
                                [](const std::string& n) { return n.compare(0, 3, "15:") == 0; }));
    EXPECT_EQ("39:17:0", *(start + 19));
    for (int band = 0; band < 3; ++band) EXPECT_EQ(0, peer().presetListNotCached()[band]);
    EXPECT_EQ(3, peer().presetListNotifyCount());

    // After the source-on phase a preset item takes the ordinary path.
    mLog->clear();
    mTuner->setPchItem(presetOf(0, 1));
    mTuner->notify(media_lib_dab::DAB_NOTIFY_PRESET_ITEM, 0);
    EXPECT_EQ(3, peer().presetListNotifyCount());
    EXPECT_FALSE(mLog->contains("DABPlayer set mFlagReqPrestListSourceOn = 0"));
    EXPECT_EQ(1, peer().presetReceived(1, 1));

    // An empty ensemble list announces size 0 and ends the wait for its item 1.
    mClient->clear();
    mTuner->clearCommands();
    ASSERT_EQ(0, mPlayer->requestEnsembleList());
    ASSERT_TRUE(mClient->waitForNote(DAB_SERVER_NOTIFY_ENSEMBLE_LIST_COUNT_UPDATE, 0));
    worker = peer().listWorker();
    // Well within the worker's 5 s: the empty answer ended the request.
    EXPECT_TRUE(eventually(
            [&] { return worker->currentMsg().msgType == 0 && worker->queueSize() == 0; }, 2000));
    worker.clear();
    EXPECT_EQ(std::vector<std::string>{"34:0:0"}, notesOf(*mClient, {34, 35}));
    EXPECT_EQ(std::vector<std::string>{"ensembleListItemReq(1)"}, mTuner->commands());
    char label[16] = {};
    EXPECT_EQ(1, mPlayer->getEnsembleListItem(0, label, nullptr));
}
