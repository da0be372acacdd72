#include "dabsim/SimTuner.h"

#include "dabsim/SimControl.h"
#include "dabsim/SimScenario.h"
#include "dabsim/SimWorld.h"

#include <headunit/HeadUnitNames.h>

#include "Eventually.h"
#include "HostMutex.h"

#include <dablib/DABLibIF.h>
#include <gtest/gtest.h>

#include <string.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

using namespace media_lib_dab;

namespace {

using Clock = std::chrono::steady_clock;
using Ms = std::chrono::milliseconds;

// One notification as a listener saw it, with what it read back inside the callback (the
// way the service reads the tuner: the record of the kind that was just announced).
struct Seen {
    DABNotifyID id;
    int value;
    int logicMode;  // getLogicMode() during the callback
    ST_DAB_DLS_TEXT dls;
    ST_DAB_PCH_LIST_ITEM pch;
    ST_DAB_SVC_LIST_DATA svc;
    ST_DAB_TITLE_TEXT title;
    Clock::time_point at;
};
using Seens = std::vector<Seen>;
using Pred = std::function<bool(const Seens&)>;

Seens only(const Seens& seen, DABNotifyID id) {
    Seens out;
    for (const Seen& s : seen) {
        if (s.id == id) out.push_back(s);
    }
    return out;
}

std::vector<int> valuesOf(const Seens& seen, DABNotifyID id) {
    std::vector<int> values;
    for (const Seen& s : only(seen, id)) values.push_back(s.value);
    return values;
}

// Index of the last notification with this id, -1 when none.
int lastIndex(const Seens& seen, DABNotifyID id) {
    for (int i = static_cast<int>(seen.size()) - 1; i >= 0; --i) {
        if (seen[i].id == id) return i;
    }
    return -1;
}

const Seen* lastOf(const Seens& seen, DABNotifyID id) {
    const int i = lastIndex(seen, id);
    return i < 0 ? nullptr : &seen[i];
}

std::string text16(const char (&field)[16]) { return std::string(field, strnlen(field, 16)); }

// The text of the last label of this kind, "<none>" when none came.
std::string labelOf(const Seens& seen, DABNotifyID id) {
    const Seen* s = lastOf(seen, id);
    return s != nullptr ? text16(s->title.text) : "<none>";
}

class Recorder {
public:
    SimTuner* tuner = nullptr;
    std::atomic<bool> overlapped{false};     // two callbacks ran at once
    std::atomic<bool> manyThreads{false};    // callbacks came from more than one thread

    static void onNotify(void* cookie, DABNotifyID id, int value) {
        static_cast<Recorder*>(cookie)->record(id, value);
    }

    // Any thread, does not block: the position of the next notification.
    size_t mark() {
        HostMutex::Autolock lock(mLock);
        return mSeen.size();
    }
    Seens since(size_t mark) {
        HostMutex::Autolock lock(mLock);
        return Seens(mSeen.begin() + std::min(mark, mSeen.size()), mSeen.end());
    }
    // Blocks until pred holds over the notifications since mark; false after the time-out.
    bool waitFor(size_t mark, const Pred& pred, int timeoutMs = 5000) {
        HostMutex::Autolock lock(mLock);
        return mChanged.wait_for(lock.native(), Ms(timeoutMs), [&]() REQUIRES(mLock) {
            return pred(Seens(mSeen.begin() + std::min(mark, mSeen.size()), mSeen.end()));
        });
    }
    // The n-th (from 1) notification with this id since mark.
    bool waitForId(size_t mark, DABNotifyID id, Seen* out = nullptr, int n = 1, int timeoutMs = 5000) {
        auto enough = [&](const Seens& seen) { return static_cast<int>(only(seen, id).size()) >= n; };
        if (!waitFor(mark, enough, timeoutMs)) return false;
        if (out != nullptr) *out = only(since(mark), id)[n - 1];
        return true;
    }
    // True when nothing arrives after mark within the time.
    bool silentFor(size_t mark, int ms) {
        return !waitFor(mark, [](const Seens& seen) { return !seen.empty(); }, ms);
    }

private:
    void record(DABNotifyID id, int value) {
        if (mInside.exchange(true)) overlapped = true;
        Seen s{};
        s.id = id;
        s.value = value;
        s.at = Clock::now();
        s.logicMode = tuner->getter("getLogicMode");
        switch (id) {
            case DAB_NOTIFY_DLS: tuner->getDlsData(&s.dls); break;
            case DAB_NOTIFY_PRESET_ITEM: tuner->getPchListItem(&s.pch); break;
            case DAB_NOTIFY_SVC_LIST_ITEM: tuner->getSvcListItem(&s.svc); break;
            case DAB_NOTIFY_ENSEMBLE_LABEL: tuner->getTitleData(EN_DAB_TEXT_TYPE_ENSEMBLE, &s.title); break;
            case DAB_NOTIFY_SERVICE_LABEL: tuner->getTitleData(EN_DAB_TEXT_TYPE_SERVICE, &s.title); break;
            case DAB_NOTIFY_COMP_LABEL: tuner->getTitleData(EN_DAB_TEXT_TYPE_COMPONENT, &s.title); break;
            default: break;
        }
        {
            HostMutex::Autolock lock(mLock);
            if (mSeen.empty()) mThread = std::this_thread::get_id();
            if (mThread != std::this_thread::get_id()) manyThreads = true;
            mSeen.push_back(s);
        }
        mChanged.notify_all();
        mInside = false;
    }

    HostMutex mLock;
    std::condition_variable mChanged;
    Seens mSeen GUARDED_BY(mLock);
    std::thread::id mThread GUARDED_BY(mLock);
    std::atomic<bool> mInside{false};
};

// Threads of this process. A sanitizer may start a helper thread of its own with the first
// thread the process creates: one is started and joined first, so that counts taken before and
// after a test's threads differ only by those.
int threadCount() {
    static const bool warmedUp = [] {
        std::thread([] {}).join();
        // A joined thread may still be counted for a moment after join returns.
        std::this_thread::sleep_for(Ms(50));
        return true;
    }();
    (void)warmedUp;
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("Threads:", 0) == 0) return atoi(line.c_str() + 8);
    }
    return -1;
}

int decodeTs(int v) { return (v >> 8) + (v & 0xFF) * 256; }

// A small world with fast timers for the timed behaviour.
std::shared_ptr<const SimWorld> fastWorld() {
    const char* json = R"({
      "ensembles": [
        {"block": 13, "eid": 4097, "label": "Alpha", "services": [
          {"sid": 1, "label": "Alpha One", "pty": 10,
           "components": [{"scid": 0, "label": "Alpha One"}, {"scid": 5, "label": "Alpha Extra"}],
           "dynamicText": ["short text",
             "0123456789012345678901234567890123456789012345678901234567890123ABCDEFGHIJ"]}
        ]},
        {"block": 76, "eid": "0x2002", "label": "Omega", "charset": 7, "signal": 2,
         "services": [{"sid": 2, "label": "Ωmega", "charset": 7}]}
      ],
      "dynamicTextIntervalMs": 500,
      "listUpdateMs": 200,
      "timeShiftCapacitySeconds": 1
    })";
    auto world = std::make_shared<SimWorld>();
    std::string error;
    EXPECT_TRUE(SimScenario::parse(json, "fast.json", world.get(), &error)) << error;
    return world;
}

class SimTunerTest : public ::testing::Test {
protected:
    void create(std::shared_ptr<const SimWorld> world = nullptr) {
        mTuner = new SimTuner(world != nullptr ? world : std::make_shared<SimWorld>(SimWorld::builtIn()));
        mRec.tuner = mTuner.get();
        ASSERT_EQ(0, mTuner->initialize(&Recorder::onNotify, &mRec));
    }
    void start(std::shared_ptr<const SimWorld> world = nullptr) {
        create(world);
        // The power-on report ends with the FM link state.
        ASSERT_TRUE(mRec.waitForId(0, DAB_NOTIFY_FM_LINK));
    }

    // Runs act (which must answer 0) and returns what followed up to the FM link state that
    // ends a station report.
    Seens station(const std::function<int()>& act, const char* what = "") {
        size_t m = mRec.mark();
        EXPECT_EQ(0, act()) << what;
        EXPECT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FM_LINK)) << what;
        return mRec.since(m);
    }
    Seens station(const char* command) {
        return station([this, command] { return mTuner->command(command); }, command);
    }
    // Runs act and returns the first notification with this id that follows.
    Seen answer(const std::function<int()>& act, DABNotifyID id = DAB_NOTIFY_SVC_LIST_ITEM) {
        size_t m = mRec.mark();
        EXPECT_EQ(0, act());
        Seen s{};
        EXPECT_TRUE(mRec.waitForId(m, id, &s));
        return s;
    }

    // Requests every item of a list the way the list worker does: item 1 gives the size.
    std::vector<ST_DAB_SVC_LIST_DATA> readList(const std::function<int(uint8_t)>& request) {
        std::vector<ST_DAB_SVC_LIST_DATA> items;
        for (int pos = 1; pos == 1 || pos <= items[0].curnum_all; ++pos) {
            Seen item = answer([&] { return request(static_cast<uint8_t>(pos)); });
            if (item.svc.curnum_all == 0 || HasFailure()) break;
            items.push_back(item.svc);
        }
        return items;
    }

    void TearDown() override {
        if (mTuner != nullptr) mTuner->finalize();
        EXPECT_FALSE(mRec.overlapped) << "two notifications were delivered at once";
        EXPECT_FALSE(mRec.manyThreads) << "notifications came from more than one thread";
    }

    android::sp<SimTuner> mTuner;
    Recorder mRec;
};

// --- Power-on, seek and station changes ---

TEST_F(SimTunerTest, PowerOnReportsConnectionAntennaBandAndStartPresetBeforeAnEarlyCommand) {
    create();
    ASSERT_EQ(0, mTuner->command("manualUp"));  // queued behind the power-on report
    ASSERT_TRUE(mRec.waitForId(0, DAB_NOTIFY_FM_LINK, nullptr, 2));
    Seens seen = mRec.since(0);
    ASSERT_GE(seen.size(), 5u);
    const DABNotifyID first[] = {DAB_NOTIFY_CONNECT_STATUS, DAB_NOTIFY_ANT_STATUS, DAB_NOTIFY_BAND,
                                 DAB_NOTIFY_FREQ, DAB_NOTIFY_LOGIC_MODE};
    const int values[] = {1, 1, 1, 14, 5};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(first[i], seen[i].id) << i;
        EXPECT_EQ(values[i], seen[i].value) << i;
    }
    EXPECT_EQ((std::vector<int>{14, 15}), valuesOf(seen, DAB_NOTIFY_FREQ));
    EXPECT_EQ((std::vector<int>{1, 0}), valuesOf(seen, DAB_NOTIFY_PRESET_NUM));
    EXPECT_EQ("Nordwelle Pop", text16(only(seen, DAB_NOTIFY_SERVICE_LABEL).at(0).title.text));
    EXPECT_EQ(15, mTuner->getter("getNmValue"));
}

TEST_F(SimTunerTest, SeekUpCrossesEmptyChannelsInSeekModeAndLandsOnNextEnsemble) {
    start();
    Seens seen = station("seekUp");
    // Seek mode first, then every channel in turn while still in seek mode.
    ASSERT_EQ(DAB_NOTIFY_LOGIC_MODE, seen[0].id);
    EXPECT_EQ(11, seen[0].value);
    const Seens freqs = only(seen, DAB_NOTIFY_FREQ);
    ASSERT_EQ(5u, freqs.size());
    for (size_t i = 0; i < freqs.size(); ++i) {
        EXPECT_EQ(15 + static_cast<int>(i), freqs[i].value);
        EXPECT_EQ(11, freqs[i].logicMode) << "block " << freqs[i].value;
        EXPECT_GE(freqs[i].at - freqs[i > 0 ? i - 1 : 0].at + Ms(i > 0 ? 0 : 35), Ms(35))
            << "channels stepped faster than a tuner can";
    }
    // Then normal mode, the labels and components of the ensemble found on 6C.
    const Seen* normal = lastOf(seen, DAB_NOTIFY_LOGIC_MODE);
    ASSERT_NE(nullptr, normal);
    EXPECT_EQ(5, normal->value);
    EXPECT_GT(lastIndex(seen, DAB_NOTIFY_LOGIC_MODE), lastIndex(seen, DAB_NOTIFY_FREQ));
    EXPECT_EQ(std::vector<int>{1}, valuesOf(seen, DAB_NOTIFY_COMP_TOTAL));
    EXPECT_EQ(std::vector<int>{1}, valuesOf(seen, DAB_NOTIFY_COMP_NUM));
    EXPECT_EQ("Metro Mux", labelOf(seen, DAB_NOTIFY_ENSEMBLE_LABEL));
    EXPECT_EQ(7u, lastOf(seen, DAB_NOTIFY_SERVICE_LABEL)->title.charset);
    EXPECT_EQ("Caf\xC3\xA9 Hits", labelOf(seen, DAB_NOTIFY_SERVICE_LABEL));
    // The preset number is cleared when the seek leaves preset 1; Café Hits is preset 3.
    EXPECT_EQ((std::vector<int>{0, 3}), valuesOf(seen, DAB_NOTIFY_PRESET_NUM));
    EXPECT_EQ(19, mTuner->getter("getNmValue"));

    // A second seek command stops the seek where it is; nothing of it arrives later.
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->command("seekDown"));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FREQ, nullptr, 2));
    ASSERT_EQ(0, mTuner->command("seekDown"));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FM_LINK));
    seen = mRec.since(m);
    EXPECT_EQ(5, lastOf(seen, DAB_NOTIFY_LOGIC_MODE)->value);
    const int stoppedAt = lastOf(seen, DAB_NOTIFY_FREQ)->value;
    EXPECT_NE(14, stoppedAt);
    EXPECT_EQ(stoppedAt, mTuner->getter("getNmValue"));
    EXPECT_EQ(0, mTuner->getter("getComponentTotal"));  // an empty channel
    EXPECT_TRUE(mRec.silentFor(mRec.mark(), 200));
}

TEST_F(SimTunerTest, StepsBandsAndPresetsReportTheStationTheyReach) {
    start();
    struct Step {
        const char* what;
        std::function<int()> act;
        int band;             // the band reported, 0 for none
        int block;            // -1: not checked
        int preset;           // -1: not checked
        const char* service;  // nullptr: not checked, "": nothing received
    };
    auto cmd = [this](const char* name) { return [this, name] { return mTuner->command(name); }; };
    const Step steps[] = {
        {"manualUp", cmd("manualUp"), 0, 15, 0, ""},
        {"manualDown", cmd("manualDown"), 0, 14, 1, "Nordwelle Pop"},
        {"manualDown", cmd("manualDown"), 0, 13, -1, nullptr},
        {"manualDown wraps", cmd("manualDown"), 0, 76, -1, nullptr},
        {"switchBand", cmd("switchBand"), 2, 54, 1, "\xE2r\xF7 Radio"},  // EBU Latin "Ærø"
        {"switchBand", cmd("switchBand"), 3, -1, -1, "Metro News"},
        {"switchBand", cmd("switchBand"), 1, 14, 1, nullptr},
        {"preset3Recall", cmd("preset3Recall"), 0, 19, 3, nullptr},
        {"presetChannelDown", cmd("presetChannelDown"), 0, -1, 2, nullptr},
        {"bank 3 preset 5", [this] { return mTuner->pchRecall(2, 5); }, 3, -1, 5, nullptr},
        // Slot 6 of bank 3 is empty: preset 1 follows.
        {"presetChannelUp", cmd("presetChannelUp"), 0, 19, 1, nullptr},
    };
    auto check = [this](const Step& s) {
        const Seens seen = station(s.act, s.what);
        EXPECT_EQ(s.band == 0 ? std::vector<int>{} : std::vector<int>{s.band}, valuesOf(seen, DAB_NOTIFY_BAND))
            << s.what;
        const std::vector<int> blocks = valuesOf(seen, DAB_NOTIFY_FREQ), presets = valuesOf(seen, DAB_NOTIFY_PRESET_NUM);
        const std::string label = labelOf(seen, DAB_NOTIFY_SERVICE_LABEL);
        EXPECT_EQ(s.block < 0 ? blocks : std::vector<int>{s.block}, blocks) << s.what;
        EXPECT_EQ(s.preset < 0 ? presets : std::vector<int>{s.preset}, presets) << s.what;
        EXPECT_EQ(s.service == nullptr ? label : s.service, label) << s.what;
        EXPECT_TRUE(valuesOf(seen, DAB_NOTIFY_LOGIC_MODE).empty()) << s.what;
    };
    for (const Step& s : steps) check(s);
    EXPECT_EQ(3, mTuner->getter("getBand"));

    // Recalling the empty slot does nothing; bad slots are refused.
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->command("preset6Recall"));
    EXPECT_TRUE(mRec.silentFor(m, 150));
    EXPECT_EQ(-1, mTuner->pchRecall(3, 1));
    EXPECT_EQ(-1, mTuner->pchRecall(0, 7));
    EXPECT_EQ(-1, mTuner->command("preset7Recall"));

    check({"bank 1 preset 3", [this] { return mTuner->pchRecall(0, 3); }, 1, 19, 3, "Caf\xC3\xA9 Hits"});
    // Storing the station (Café Hits, UTF-8) sets the number and asks for the lists again.
    m = mRec.mark();
    ASSERT_EQ(0, mTuner->pchMemory(0, 4));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_PRESET_LIST_UPDATE_REQ));
    EXPECT_EQ(DAB_NOTIFY_PRESET_NUM, mRec.since(m)[0].id);
    EXPECT_EQ(4, mRec.since(m)[0].value);
    EXPECT_EQ(4, mTuner->getter("getPchNum"));
    m = mRec.mark();
    ASSERT_EQ(0, mTuner->pchListReq(0));
    Seen fourth;
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_PRESET_ITEM, &fourth, 4));
    EXPECT_EQ(19, fourth.pch.nm);
    EXPECT_EQ(7u, fourth.pch.labelEncode);
    EXPECT_EQ("Caf\xC3\xA9 Hits", text16(fourth.pch.label));
    EXPECT_EQ(-1, mTuner->pchMemory(3, 1));
    EXPECT_EQ(-1, mTuner->pchMemory(0, 0));
}

// --- Lists and search ---

TEST_F(SimTunerTest, ThePresetListsAnswerSixItemsEachWithTheRecordLayout) {
    start();
    for (uint8_t band = 0; band < 3; ++band) {
        size_t m = mRec.mark();
        ASSERT_EQ(0, mTuner->pchListReq(band));
        ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_PRESET_ITEM, nullptr, 6)) << "band " << int(band);
        const Seens items = only(mRec.since(m), DAB_NOTIFY_PRESET_ITEM);
        ASSERT_EQ(6u, items.size());
        for (int i = 0; i < 6; ++i) {
            EXPECT_EQ(band, items[i].pch.band);
            EXPECT_EQ(i + 1, items[i].pch.pchNum);
            EXPECT_EQ(i + 1, items[i].value);
            EXPECT_TRUE(items[i].pch.nm >= 13 && items[i].pch.nm <= 76) << items[i].pch.nm;
        }
        if (band == 0) {
            EXPECT_EQ(1, items[0].pch.labelValid);
            EXPECT_EQ(1u, items[0].pch.labelEncode);
            EXPECT_EQ("Nordwelle Pop", text16(items[0].pch.label));
            EXPECT_EQ(8u, items[3].pch.labelEncode);  // "Радио 1" in UCS-2
            EXPECT_EQ(std::string("\x04\x20\x04\x30", 4), std::string(items[3].pch.label, 4));
        } else if (band == 2) {
            EXPECT_EQ(0, items[5].pch.labelValid);  // the empty slot
            EXPECT_EQ(13, items[5].pch.nm);
        }
    }
    // Band code 3 is the current bank; anything above is refused.
    EXPECT_EQ(0u, answer([this] { return mTuner->pchListReq(3); }, DAB_NOTIFY_PRESET_ITEM).pch.band);
    EXPECT_EQ(-1, mTuner->pchListReq(4));
}

TEST_F(SimTunerTest, ListsAreAnsweredItemByItemInTheirOrderAndSearched) {
    start();
    std::vector<ST_DAB_SVC_LIST_DATA> items =
        readList([this](uint8_t pos) { return mTuner->svcCompListItemReq(pos, 0, 0); });
    ASSERT_EQ(39u, items.size());
    for (size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(1, items[i].valid);
        EXPECT_EQ(i + 1, items[i].curnum_pos);
    }
    EXPECT_EQ("Arena Live 1", text16(items[0].label));
    EXPECT_EQ(1u, items[0].scid);
    // Labels read back in order; the one service without label comes last.
    EXPECT_EQ(0, items.back().label[0]);
    EXPECT_EQ(0xD402u, items.back().sid);
    EXPECT_STRNE("", text16(items[items.size() - 2].label).c_str());

    // A position past the end is answered as an invalid entry.
    Seen past = answer([this] { return mTuner->svcCompListItemReq(40, 0, 0); });
    EXPECT_EQ(0, past.svc.valid);
    EXPECT_EQ(39, past.svc.curnum_all);

    // The alphabetical search answers the first matching position, or 0.
    Seen hit = answer([this] { return mTuner->svcListAbcSearchLabelReq(1, 'K', 0); });
    const int pos = hit.svc.listnum_pos;
    ASSERT_GE(pos, 2);
    EXPECT_EQ('K', items[pos - 1].label[0]);
    EXPECT_NE('K', items[pos - 2].label[0]);
    EXPECT_EQ(items[pos - 1].sid, hit.svc.sid);
    hit = answer([this] { return mTuner->svcListAbcSearchLabelReq(1, 'Q', 0); });
    EXPECT_EQ(0, hit.svc.listnum_pos);
    EXPECT_EQ(39, hit.svc.listnum_all);

    // The PTY, ensemble and ensemble component lists follow the world.
    std::vector<ST_DAB_SVC_LIST_DATA> classics =
        readList([this](uint8_t pos) { return mTuner->ptyListItemReq(pos, 3); });
    ASSERT_EQ(5u, classics.size());
    EXPECT_EQ("Barock", text16(classics[0].label));
    EXPECT_EQ(8u, classics[4].codeTyped);  // "Классика": 16 bytes of UCS-2, no terminator
    EXPECT_EQ(std::string("\x04\x1A\x04\x3B", 4), std::string(classics[4].label, 4));
    EXPECT_EQ(-1, mTuner->ptyListItemReq(1, 5));

    std::vector<ST_DAB_SVC_LIST_DATA> ensembles =
        readList([this](uint8_t pos) { return mTuner->ensembleListItemReq(pos); });
    ASSERT_EQ(9u, ensembles.size());
    EXPECT_EQ(71, ensembles[8].NM);
    EXPECT_EQ(0, ensembles[3].label[0]);  // the ensemble on 10A sends no label

    std::vector<ST_DAB_SVC_LIST_DATA> comps =
        readList([this](uint8_t pos) { return mTuner->ensembleCompListItemReq(pos, 0x10A1); });
    ASSERT_EQ(7u, comps.size());
    EXPECT_EQ("Arena Live 2", text16(comps[6].label));

    // An unknown ensemble is an empty list: one answer of size 0.
    Seen none = answer([this] { return mTuner->ensembleCompListItemReq(1, 0x7777); });
    EXPECT_EQ(0, none.svc.curnum_all);
    EXPECT_EQ(0, none.svc.valid);
}

// --- Labels and dynamic text ---

// (Labels in each character set come with the seek, the steps and the presets above.)
TEST_F(SimTunerTest, MissingLabelsAreNoDataProvidedAndComponentsAreRecalledBySCId) {
    start();
    // The ensemble on 10A and its second service send no labels.
    Seens seen = station([this] { return mTuner->serviceRecall(33, 0x10D4, 0xD402, 0); });
    for (DABNotifyID id : {DAB_NOTIFY_ENSEMBLE_LABEL, DAB_NOTIFY_SERVICE_LABEL, DAB_NOTIFY_COMP_LABEL}) {
        EXPECT_EQ("No Data Provided", std::string(lastOf(seen, id)->title.text, 16)) << id;
    }
    // A secondary component is recalled by its SCId.
    seen = station([this] { return mTuner->serviceRecall(14, 0x10A1, 0xD105, 2); });
    EXPECT_EQ(std::vector<int>{3}, valuesOf(seen, DAB_NOTIFY_COMP_NUM));
    EXPECT_EQ("Arena Live 2", labelOf(seen, DAB_NOTIFY_COMP_LABEL));
    EXPECT_EQ(std::vector<int>{0}, valuesOf(seen, DAB_NOTIFY_PRESET_NUM));  // bank 1 does not hold it
    // A recall of a service that does not exist changes nothing.
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->serviceRecall(33, 0x10D4, 0xBEEF, 0));
    EXPECT_TRUE(mRec.silentFor(m, 150));
}

TEST_F(SimTunerTest, DynamicTextsArriveAsTwoSegmentsAndChangeInTurn) {
    start(fastWorld());
    size_t m = mRec.mark();
    // First text about a second after tuning, the next half a second later.
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_DLS, nullptr, 4, 5000));
    const Seens dls = only(mRec.since(m), DAB_NOTIFY_DLS);
    const int segments[] = {0, 1, 0, 1}, lengths[] = {10, 10, 74, 74};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(segments[i], dls[i].dls.segment) << i;
        EXPECT_EQ(lengths[i], dls[i].dls.length) << i;
    }
    EXPECT_EQ("short text", std::string(dls[0].dls.text, 10));
    EXPECT_EQ(std::string(64, '\0'), std::string(dls[1].dls.text, 64));
    // The 74-byte text: 64 bytes in the first segment, the rest in the second.
    EXPECT_EQ('0', dls[2].dls.text[0]);
    EXPECT_EQ('3', dls[2].dls.text[63]);
    EXPECT_EQ(std::string("ABCDEFGHIJ\0", 11), std::string(dls[3].dls.text, 11));
    EXPECT_GE(dls[2].at - dls[1].at, Ms(350));
}

TEST_F(SimTunerTest, DynamicTextControlSendsAtOnceAndEmptyTextClears) {
    start();  // the station's own texts are EBU Latin
    const std::string text = "Stau auf der A1 \xE2\x80\x93 20 min";
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->setDynamicText(text, 7));
    ASSERT_TRUE(mRec.waitFor(m, [](const Seens& seen) {  // both halves of the UTF-8 text
        const Seens dls = only(seen, DAB_NOTIFY_DLS);
        return dls.size() >= 2 && dls[dls.size() - 2].dls.charset == 7 && dls.back().dls.segment == 1;
    }, 1000));
    const Seens dls = only(mRec.since(m), DAB_NOTIFY_DLS);
    const ST_DAB_DLS_TEXT& first = dls[dls.size() - 2].dls;
    EXPECT_EQ(0, first.segment);
    EXPECT_EQ(text.size(), first.length);
    EXPECT_EQ(text, std::string(first.text, strnlen(first.text, 64)));
    // The clearing record: the first segment alone, empty.
    Seen cleared = answer([this] { return mTuner->setDynamicText("", 7); }, DAB_NOTIFY_DLS);
    EXPECT_EQ(0, cleared.dls.segment);
    EXPECT_EQ(0, cleared.dls.length);
    EXPECT_EQ(0, cleared.dls.text[0]);
    EXPECT_EQ(-1, mTuner->setDynamicText(std::string(129, 'x'), 7));
    EXPECT_EQ(-1, mTuner->setDynamicText("~", 1));  // no EBU Latin code
    EXPECT_EQ(-1, mTuner->setDynamicText("x", 3));
}

// --- Service-list update ---

TEST_F(SimTunerTest, ListUpdateRunsInMode25ThroughEveryChannelAndReturns) {
    start(fastWorld());
    Seens seen = station("listUpdateStart");
    EXPECT_EQ((std::vector<int>{25, 5}), valuesOf(seen, DAB_NOTIFY_LOGIC_MODE));
    std::vector<int> freqs = valuesOf(seen, DAB_NOTIFY_FREQ);
    ASSERT_EQ(65u, freqs.size());  // 13 to 76, then the station it returns to
    EXPECT_EQ(13, freqs.front());
    EXPECT_EQ(76, freqs[63]);
    EXPECT_EQ(13, freqs.back());
    EXPECT_EQ("Alpha One", labelOf(seen, DAB_NOTIFY_SERVICE_LABEL));
}

TEST_F(SimTunerTest, ListUpdateCancelReturnsAtOnce) {
    start();  // the built-in update lasts seconds
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->command("listUpdateStart"));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FREQ, nullptr, 3));
    ASSERT_EQ(0, mTuner->command("listUpdateCancel"));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FM_LINK, nullptr, 1, 1000));
    Seens seen = mRec.since(m);
    EXPECT_EQ(5, lastOf(seen, DAB_NOTIFY_LOGIC_MODE)->value);
    EXPECT_EQ(14, lastOf(seen, DAB_NOTIFY_FREQ)->value);
    EXPECT_EQ(std::vector<int>{1}, valuesOf(seen, DAB_NOTIFY_PRESET_NUM));
}

// --- Time-shift (waits on the one-second clock of the buffer) ---

TEST_F(SimTunerTest, TimeShiftBufferGrowsPausesSeeksAndReturnsLive) {
    start(fastWorld());
    // Sends a command and returns the status and delay reported with it.
    auto ts = [this](const std::function<int()>& act, int* delay = nullptr) {
        const size_t m = mRec.mark();
        EXPECT_EQ(0, act());
        EXPECT_TRUE(mRec.waitForId(m, DAB_NOTIFY_TS_PAUSE_TIME));
        const Seens seen = mRec.since(m);
        if (delay != nullptr) *delay = lastOf(seen, DAB_NOTIFY_TS_PAUSE_TIME)->value;
        return lastIndex(seen, DAB_NOTIFY_TS_STATUS) < 0 ? -1 : lastOf(seen, DAB_NOTIFY_TS_STATUS)->value;
    };
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->command("timeShifeModeOn"));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_TS_STATUS));
    EXPECT_EQ(1, lastOf(mRec.since(m), DAB_NOTIFY_TS_STATUS)->value);

    // Total time is capped at the world's 1 s capacity, the cache time goes on growing.
    ASSERT_TRUE(mRec.waitFor(m, [](const Seens& seen) {
        const Seen* cache = lastOf(seen, DAB_NOTIFY_TS_CACHE_TIME);
        return cache != nullptr && decodeTs(cache->value) >= 2;
    }, 6000));
    EXPECT_EQ(1, decodeTs(lastOf(mRec.since(m), DAB_NOTIFY_TS_TOTAL_TIME)->value));
    EXPECT_EQ(0x0100, mTuner->getter("getTsAllTime"));  // 1, bytes swapped

    m = mRec.mark();
    EXPECT_EQ(4, ts([this] { return mTuner->command("pause"); }));
    EXPECT_EQ(4, mTuner->getter("getTsStatus"));
    // While paused the delay grows with the clock (up to the buffer).
    ASSERT_TRUE(mRec.waitFor(m, [](const Seens& seen) {
        for (const Seen& s : only(seen, DAB_NOTIFY_TS_PAUSE_TIME)) {
            if (decodeTs(s.value) >= 1) return true;
        }
        return false;
    }, 3000));
    int delay = -1;
    ts([this] { return mTuner->timeShiftMove(EN_DAB_TS_MOVE_BACKWARD, 1); }, &delay);
    EXPECT_EQ(0x0100, delay);
    EXPECT_EQ(-1, mTuner->timeShiftMove(static_cast<EN_DAB_TS_MOVE_DIRECT>(2), 1));
    EXPECT_EQ(2, ts([this] { return mTuner->command("play"); }));
    EXPECT_EQ(1, ts([this] { return mTuner->command("live"); }, &delay));
    EXPECT_EQ(0, delay);

    // Leaving the view stops the reports.
    ASSERT_EQ(0, mTuner->command("esc"));
    std::this_thread::sleep_for(Ms(100));  // a report already queued may still come
    EXPECT_FALSE(mRec.waitForId(mRec.mark(), DAB_NOTIFY_TS_TOTAL_TIME, nullptr, 1, 1300));
}

// --- Faults ---

TEST_F(SimTunerTest, FaultControlsNotifyOrSilenceTheTuner) {
    start();
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->setAntennaStatus(4));
    ASSERT_EQ(0, mTuner->setErrorInfo(2));
    ASSERT_EQ(0, mTuner->setSignalLevel(3));
    ASSERT_EQ(0, mTuner->setConnectStatus(0));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_CONNECT_STATUS));
    const Seens seen = mRec.since(m);
    EXPECT_EQ(std::vector<int>{4}, valuesOf(seen, DAB_NOTIFY_ANT_STATUS));
    EXPECT_EQ(std::vector<int>{2}, valuesOf(seen, DAB_NOTIFY_ERROR_INFO));
    EXPECT_EQ(std::vector<int>{3}, valuesOf(seen, DAB_NOTIFY_SIGNAL_LEVEL));
    EXPECT_EQ(std::vector<int>{0}, valuesOf(seen, DAB_NOTIFY_CONNECT_STATUS));
    EXPECT_EQ(4, mTuner->getter("getAntStatus"));
    EXPECT_EQ(2, mTuner->getter("getErrorInfo"));
    EXPECT_EQ(3, mTuner->getter("getSignalLevel"));
    // The forced signal level holds on other stations until released.
    EXPECT_EQ(3, lastOf(station("seekUp"), DAB_NOTIFY_SIGNAL_LEVEL)->value);
    EXPECT_EQ(5, answer([this] { return mTuner->setSignalLevel(0); }, DAB_NOTIFY_SIGNAL_LEVEL).value);  // 6C's

    EXPECT_EQ(-1, mTuner->setAntennaStatus(0));
    EXPECT_EQ(-1, mTuner->setAntennaStatus(6));
    EXPECT_EQ(-1, mTuner->setErrorInfo(3));
    EXPECT_EQ(-1, mTuner->setSignalLevel(8));
    EXPECT_EQ(-1, mTuner->setConnectStatus(-1));

    // An unresponsive tuner and a dropped list request answer nothing.
    ASSERT_EQ(0, mTuner->setUnresponsive(true));
    m = mRec.mark();
    EXPECT_EQ(0, mTuner->command("manualUp"));
    EXPECT_EQ(0, mTuner->pchListReq(0));
    EXPECT_EQ(0, mTuner->svcCompListItemReq(1, 0, 0));
    EXPECT_TRUE(mRec.silentFor(m, 200));
    EXPECT_EQ(19, mTuner->getter("getNmValue"));
    ASSERT_EQ(0, mTuner->setUnresponsive(false));
    EXPECT_EQ(std::vector<int>{20}, valuesOf(station("manualUp"), DAB_NOTIFY_FREQ));

    // A dropped list request is never answered; the next one is.
    ASSERT_EQ(0, mTuner->dropNextListRequest());
    m = mRec.mark();
    ASSERT_EQ(0, mTuner->svcCompListItemReq(1, 0, 0));
    EXPECT_FALSE(mRec.waitForId(m, DAB_NOTIFY_SVC_LIST_ITEM, nullptr, 1, 300));
    ASSERT_EQ(0, mTuner->svcCompListItemReq(1, 0, 0));
    EXPECT_TRUE(mRec.waitForId(m, DAB_NOTIFY_SVC_LIST_ITEM));
}

TEST_F(SimTunerTest, TextControlsReachTheActiveTuner) {
    start();
    EXPECT_EQ(mTuner.get(), SimTuner::active().get());
    std::string reply;
    size_t m = mRec.mark();
    EXPECT_EQ(0, SimControl::execute("antenna 5", &reply));
    EXPECT_EQ("ok", reply);
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_ANT_STATUS));
    EXPECT_EQ(0, SimControl::execute("status", &reply));
    EXPECT_EQ("band=1 preset=1 block=14 mode=5 antenna=5 error=0 signal=6", reply);
    EXPECT_EQ(headunit::kCommandUsage, SimControl::execute("antenna 6", &reply));
    EXPECT_EQ("antenna N must be a number in 1..5 (got \"6\")", reply);
    EXPECT_EQ(headunit::kCommandUsage, SimControl::execute("error 3", &reply));
    EXPECT_EQ(headunit::kCommandUsage, SimControl::execute("explode", &reply));
    EXPECT_EQ("unknown command \"explode\"; try help", reply);

    mTuner->finalize();
    EXPECT_EQ(nullptr, SimTuner::active().get());
    EXPECT_EQ(headunit::kCommandRefused, SimControl::execute("antenna 1", &reply));
    EXPECT_EQ("no simulated tuner is running", reply);
}

// --- Threads and shutdown ---

TEST_F(SimTunerTest, GettersAndCommandsFromOtherThreadsDuringSeeksAreSafe) {
    start();
    std::atomic<bool> stop{false};
    std::vector<std::thread> readers;
    for (int t = 0; t < 2; ++t) {
        readers.emplace_back([&] {
            ST_DAB_TITLE_TEXT title;
            ST_DAB_SVC_LIST_DATA svc;
            while (!stop) {
                int block = mTuner->getter("getNmValue");
                EXPECT_TRUE(block >= 13 && block <= 76) << block;
                mTuner->getTitleData(EN_DAB_TEXT_TYPE_SERVICE, &title);
                mTuner->getSvcListItem(&svc);
                mTuner->getter("getTsAllTime");
            }
        });
    }
    for (int i = 0; i < 3; ++i) {
        size_t m = mRec.mark();
        ASSERT_EQ(0, mTuner->command(i % 2 == 0 ? "seekUp" : "seekDown"));
        mTuner->svcCompListItemReq(1, 0, 0);
        ASSERT_TRUE(mRec.waitFor(m, [](const Seens& seen) {
            const Seen* mode = lastOf(seen, DAB_NOTIFY_LOGIC_MODE);
            return mode != nullptr && mode->value == 5 && lastOf(seen, DAB_NOTIFY_FM_LINK) > mode;
        }));
    }
    stop = true;
    for (auto& r : readers) r.join();
}

TEST_F(SimTunerTest, BadStartsAreRefusedAndFinalizeStopsTheCallbackThreadAndLaterCommands) {
    const int before = threadCount();
    android::sp<SimTuner> idle = new SimTuner(fastWorld());
    EXPECT_EQ(-1, idle->initialize(nullptr, nullptr));
    start(fastWorld());
    EXPECT_EQ(before + 1, threadCount());
    EXPECT_EQ(-1, mTuner->initialize(&Recorder::onNotify, &mRec));
    EXPECT_EQ(-1, mTuner->command("warpDrive"));
    EXPECT_EQ(-1, mTuner->command(nullptr));
    EXPECT_EQ(0, mTuner->command("abcSearchModeOn"));
    ASSERT_EQ(0, mTuner->command("seekUp"));
    ASSERT_EQ(0, mTuner->finalize());
    EXPECT_EQ(before, threadCount());
    EXPECT_TRUE(mRec.silentFor(mRec.mark(), 700));  // longer than a text interval
    EXPECT_EQ(-1, mTuner->command("manualUp"));
    EXPECT_EQ(-1, mTuner->svcCompListItemReq(1, 0, 0));
    EXPECT_EQ(-1, mTuner->setAntennaStatus(3));
    EXPECT_EQ(0, mTuner->finalize());
    // Getters still answer from the last state.
    int block = mTuner->getter("getNmValue");
    EXPECT_TRUE(block >= 13 && block <= 76) << block;
}

// Finalize from inside the notification must not wait for itself.
TEST(SimTunerShutdownTest, FinalizeOnTheCallbackThreadReturns) {
    struct Ctx {
        android::sp<SimTuner> tuner;
        std::atomic<bool> finalized{false};
    } ctx;
    ctx.tuner = new SimTuner(fastWorld());
    const int before = threadCount();
    ASSERT_EQ(0, ctx.tuner->initialize(
                     [](void* cookie, DABNotifyID, int) {
                         Ctx* c = static_cast<Ctx*>(cookie);
                         if (c->finalized) return;
                         c->tuner->finalize();
                         c->finalized = true;
                     },
                     &ctx));
    ASSERT_TRUE(waitUntil([&] { return ctx.finalized.load(); }, std::chrono::seconds(5)));
    // The detached thread ends right after the callback returns.
    EXPECT_TRUE(waitUntil([&] { return threadCount() <= before; }, Ms(1000)));
}

}  // namespace
