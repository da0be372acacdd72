#include "dabsim/SimTuner.h"

#include "dabsim/SimControl.h"
#include "dabsim/SimScenario.h"
#include "dabsim/SimWorld.h"

#include <headunit/HeadUnitNames.h>

#include <dablib/DABLibIF.h>
#include <gtest/gtest.h>

#include <string.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace media_lib_dab;

namespace {

using Clock = std::chrono::steady_clock;

// One notification as a listener saw it, with what it read back inside the callback (the
// way the service reads the tuner: the record of the kind that was just announced).
struct Seen {
    DABNotifyID id;
    int value;
    int logicMode;  // getLogicMode() during the callback
    int block;      // getNmValue() during the callback
    ST_DAB_DLS_TEXT dls;
    ST_DAB_PCH_LIST_ITEM pch;
    ST_DAB_SVC_LIST_DATA svc;
    ST_DAB_TITLE_TEXT title;
    Clock::time_point at;
    std::thread::id thread;
};

using Pred = std::function<bool(const std::vector<Seen>&)>;

class Recorder {
public:
    void attach(SimTuner* tuner) { mTuner = tuner; }

    static void onNotify(void* cookie, DABNotifyID id, int value) {
        static_cast<Recorder*>(cookie)->record(id, value);
    }

    size_t mark() {
        std::lock_guard<std::mutex> lock(mLock);
        return mSeen.size();
    }

    std::vector<Seen> since(size_t mark) {
        std::lock_guard<std::mutex> lock(mLock);
        return std::vector<Seen>(mSeen.begin() + std::min(mark, mSeen.size()), mSeen.end());
    }

    // True when pred holds over the notifications recorded since mark within the time-out.
    bool waitFor(size_t mark, const Pred& pred, int timeoutMs = 5000) {
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
            return pred(std::vector<Seen>(mSeen.begin() + std::min(mark, mSeen.size()), mSeen.end()));
        });
    }

    // The n-th (from 1) notification with this id since mark.
    bool waitForId(size_t mark, DABNotifyID id, Seen* out = nullptr, int n = 1, int timeoutMs = 5000) {
        bool ok = waitFor(mark, [&](const std::vector<Seen>& seen) { return countOf(seen, id) >= n; }, timeoutMs);
        if (ok && out != nullptr) {
            int k = 0;
            for (const Seen& s : since(mark)) {
                if (s.id == id && ++k == n) {
                    *out = s;
                    break;
                }
            }
        }
        return ok;
    }

    static int countOf(const std::vector<Seen>& seen, DABNotifyID id) {
        int n = 0;
        for (const Seen& s : seen) n += s.id == id ? 1 : 0;
        return n;
    }

    bool overlapped() const { return mOverlap; }

    std::set<std::thread::id> threads() {
        std::lock_guard<std::mutex> lock(mLock);
        std::set<std::thread::id> ids;
        for (const Seen& s : mSeen) ids.insert(s.thread);
        return ids;
    }

private:
    void record(DABNotifyID id, int value) {
        if (mInside.exchange(true)) mOverlap = true;
        Seen s{};
        s.id = id;
        s.value = value;
        s.at = Clock::now();
        s.thread = std::this_thread::get_id();
        s.logicMode = mTuner->getter("getLogicMode");
        s.block = mTuner->getter("getNmValue");
        switch (id) {
            case DAB_NOTIFY_DLS: mTuner->getDlsData(&s.dls); break;
            case DAB_NOTIFY_PRESET_ITEM: mTuner->getPchListItem(&s.pch); break;
            case DAB_NOTIFY_SVC_LIST_ITEM: mTuner->getSvcListItem(&s.svc); break;
            case DAB_NOTIFY_ENSEMBLE_LABEL: mTuner->getTitleData(EN_DAB_TEXT_TYPE_ENSEMBLE, &s.title); break;
            case DAB_NOTIFY_SERVICE_LABEL: mTuner->getTitleData(EN_DAB_TEXT_TYPE_SERVICE, &s.title); break;
            case DAB_NOTIFY_COMP_LABEL: mTuner->getTitleData(EN_DAB_TEXT_TYPE_COMPONENT, &s.title); break;
            default: break;
        }
        {
            std::lock_guard<std::mutex> lock(mLock);
            mSeen.push_back(s);
        }
        mChanged.notify_all();
        mInside = false;
    }

    SimTuner* mTuner = nullptr;
    std::mutex mLock;
    std::condition_variable mChanged;
    std::vector<Seen> mSeen;
    std::atomic<bool> mInside{false};
    std::atomic<bool> mOverlap{false};
};

std::string text16(const char (&field)[16]) { return std::string(field, strnlen(field, 16)); }

std::vector<int> valuesOf(const std::vector<Seen>& seen, DABNotifyID id) {
    std::vector<int> values;
    for (const Seen& s : seen) {
        if (s.id == id) values.push_back(s.value);
    }
    return values;
}

const Seen* lastOf(const std::vector<Seen>& seen, DABNotifyID id) {
    for (auto it = seen.rbegin(); it != seen.rend(); ++it) {
        if (it->id == id) return &*it;
    }
    return nullptr;
}

// Threads of this process. A sanitizer may start a helper thread of its own with the first
// thread the process creates: one is started and joined first, so that counts taken before and
// after a test's threads differ only by those.
int threadCount() {
    static const bool warmedUp = [] {
        std::thread([] {}).join();
        // A joined thread may still be counted for a moment after join returns.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
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
    void start(std::shared_ptr<const SimWorld> world = nullptr) {
        mTuner = new SimTuner(world != nullptr ? world : std::make_shared<SimWorld>(SimWorld::builtIn()));
        mRec.attach(mTuner.get());
        ASSERT_EQ(0, mTuner->initialize(&Recorder::onNotify, &mRec));
        // The power-on report ends with the FM link state.
        ASSERT_TRUE(mRec.waitForId(0, DAB_NOTIFY_FM_LINK));
    }

    // Sends a command and waits for the station report it causes (ends with the FM link).
    std::vector<Seen> commandAndWaitStation(const char* name, int timeoutMs = 5000) {
        size_t m = mRec.mark();
        EXPECT_EQ(0, mTuner->command(name)) << name;
        EXPECT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FM_LINK, nullptr, 1, timeoutMs)) << name;
        return mRec.since(m);
    }

    // Requests every item of a list the way the list worker does: item 1 gives the size.
    std::vector<ST_DAB_SVC_LIST_DATA> readList(const std::function<int(uint8_t)>& request) {
        std::vector<ST_DAB_SVC_LIST_DATA> items;
        size_t m = mRec.mark();
        EXPECT_EQ(0, request(1));
        Seen first;
        if (!mRec.waitForId(m, DAB_NOTIFY_SVC_LIST_ITEM, &first)) return items;
        int size = first.svc.curnum_all;
        if (size == 0) return items;
        items.push_back(first.svc);
        for (int pos = 2; pos <= size; ++pos) {
            m = mRec.mark();
            EXPECT_EQ(0, request(static_cast<uint8_t>(pos)));
            Seen item;
            if (!mRec.waitForId(m, DAB_NOTIFY_SVC_LIST_ITEM, &item)) break;
            items.push_back(item.svc);
        }
        return items;
    }

    void TearDown() override {
        if (mTuner != nullptr) mTuner->finalize();
        EXPECT_FALSE(mRec.overlapped()) << "two notifications were delivered at once";
        EXPECT_LE(mRec.threads().size(), 1u) << "notifications came from more than one thread";
    }

    android::sp<SimTuner> mTuner;
    Recorder mRec;
};

// --- Power-on, seek and step ---

TEST_F(SimTunerTest, PowerOnReportsConnectionAntennaBandAndStartPresetBeforeAnEarlyCommand) {
    mTuner = new SimTuner(std::make_shared<SimWorld>(SimWorld::builtIn()));
    mRec.attach(mTuner.get());
    ASSERT_EQ(0, mTuner->initialize(&Recorder::onNotify, &mRec));
    ASSERT_EQ(0, mTuner->command("manualUp"));  // queued behind the power-on report
    ASSERT_TRUE(mRec.waitForId(0, DAB_NOTIFY_FM_LINK, nullptr, 2));
    std::vector<Seen> seen = mRec.since(0);
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
    const Seen* service = nullptr;
    for (const Seen& s : seen) {
        if (s.id == DAB_NOTIFY_SERVICE_LABEL) {
            service = &s;
            break;
        }
    }
    ASSERT_NE(nullptr, service);
    EXPECT_EQ(1u, service->title.charset);
    EXPECT_EQ("Nordwelle Pop", text16(service->title.text));
    EXPECT_EQ(1, mTuner->getter("getBand"));
    EXPECT_EQ(15, mTuner->getter("getNmValue"));
    EXPECT_EQ(1, mTuner->getter("getAntStatus"));
}

TEST_F(SimTunerTest, SeekUpCrossesEmptyChannelsInSeekModeAndLandsOnNextEnsemble) {
    start();
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->command("seekUp"));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FM_LINK));
    std::vector<Seen> seen = mRec.since(m);

    // Seek mode first, then every channel in turn while still in seek mode.
    ASSERT_EQ(DAB_NOTIFY_LOGIC_MODE, seen[0].id);
    EXPECT_EQ(11, seen[0].value);
    std::vector<const Seen*> freqs;
    for (const Seen& s : seen) {
        if (s.id == DAB_NOTIFY_FREQ) freqs.push_back(&s);
    }
    ASSERT_EQ(5u, freqs.size());
    for (size_t i = 0; i < freqs.size(); ++i) {
        EXPECT_EQ(15 + static_cast<int>(i), freqs[i]->value);
        EXPECT_EQ(11, freqs[i]->logicMode) << "block " << freqs[i]->value;
        if (i > 0) {
            EXPECT_GE(freqs[i]->at - freqs[i - 1]->at, std::chrono::milliseconds(35))
                << "channels stepped faster than a tuner can";
        }
    }
    // Then normal mode, the labels and components of the ensemble found on 6C.
    const Seen* normal = lastOf(seen, DAB_NOTIFY_LOGIC_MODE);
    ASSERT_NE(nullptr, normal);
    EXPECT_EQ(5, normal->value);
    EXPECT_GT(normal - &seen[0], freqs.back() - &seen[0]);
    EXPECT_EQ(std::vector<int>{1}, valuesOf(seen, DAB_NOTIFY_COMP_TOTAL));
    EXPECT_EQ(std::vector<int>{1}, valuesOf(seen, DAB_NOTIFY_COMP_NUM));
    const Seen* ensemble = lastOf(seen, DAB_NOTIFY_ENSEMBLE_LABEL);
    const Seen* service = lastOf(seen, DAB_NOTIFY_SERVICE_LABEL);
    ASSERT_TRUE(ensemble != nullptr && service != nullptr);
    EXPECT_EQ("Metro Mux", text16(ensemble->title.text));
    EXPECT_EQ(7u, service->title.charset);
    EXPECT_EQ("Caf\xC3\xA9 Hits", text16(service->title.text));
    // The preset number is cleared when the seek leaves preset 1; Café Hits is preset 3.
    EXPECT_EQ((std::vector<int>{0, 3}), valuesOf(seen, DAB_NOTIFY_PRESET_NUM));
    EXPECT_EQ(19, mTuner->getter("getNmValue"));
    EXPECT_EQ(5, mTuner->getter("getLogicMode"));
}

TEST_F(SimTunerTest, SecondSeekCommandStopsTheSeekWhereItIs) {
    start();
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->command("seekDown"));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FREQ, nullptr, 2));
    ASSERT_EQ(0, mTuner->command("seekDown"));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FM_LINK));
    std::vector<Seen> seen = mRec.since(m);
    EXPECT_EQ(5, lastOf(seen, DAB_NOTIFY_LOGIC_MODE)->value);
    int stoppedAt = lastOf(seen, DAB_NOTIFY_FREQ)->value;
    EXPECT_NE(71, stoppedAt);
    EXPECT_EQ(stoppedAt, mTuner->getter("getNmValue"));
    EXPECT_EQ(0, mTuner->getter("getComponentTotal"));  // an empty channel
    // Nothing of the cancelled seek arrives later.
    size_t after = mRec.mark();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(0, Recorder::countOf(mRec.since(after), DAB_NOTIFY_FREQ));
}

TEST_F(SimTunerTest, ManualStepReportsOneBlockWithLabelsAndComponents) {
    start();
    std::vector<Seen> up = commandAndWaitStation("manualUp");
    EXPECT_EQ(std::vector<int>{15}, valuesOf(up, DAB_NOTIFY_FREQ));
    EXPECT_EQ(std::vector<int>{0}, valuesOf(up, DAB_NOTIFY_COMP_TOTAL));
    EXPECT_EQ(std::vector<int>{0}, valuesOf(up, DAB_NOTIFY_PRESET_NUM));
    const Seen* emptyLabel = lastOf(up, DAB_NOTIFY_SERVICE_LABEL);
    ASSERT_NE(nullptr, emptyLabel);
    EXPECT_EQ(std::string(16, '\0'), std::string(emptyLabel->title.text, 16));  // nothing received

    std::vector<Seen> down = commandAndWaitStation("manualDown");
    EXPECT_EQ(std::vector<int>{14}, valuesOf(down, DAB_NOTIFY_FREQ));
    EXPECT_EQ("Nordwelle Pop", text16(lastOf(down, DAB_NOTIFY_SERVICE_LABEL)->title.text));
    EXPECT_EQ(std::vector<int>{1}, valuesOf(down, DAB_NOTIFY_PRESET_NUM));

    commandAndWaitStation("manualDown");
    std::vector<Seen> wrapped = commandAndWaitStation("manualDown");
    EXPECT_EQ(std::vector<int>{76}, valuesOf(wrapped, DAB_NOTIFY_FREQ));
    for (const Seen& s : wrapped) EXPECT_NE(DAB_NOTIFY_LOGIC_MODE, s.id);
}

// --- Band switch and presets ---

TEST_F(SimTunerTest, BandSwitchCyclesTheThreeBanksAndTunesEachBanksPreset) {
    start();
    std::vector<Seen> b2 = commandAndWaitStation("switchBand");
    EXPECT_EQ(std::vector<int>{2}, valuesOf(b2, DAB_NOTIFY_BAND));
    EXPECT_EQ(std::vector<int>{54}, valuesOf(b2, DAB_NOTIFY_FREQ));
    EXPECT_EQ(std::vector<int>{1}, valuesOf(b2, DAB_NOTIFY_PRESET_NUM));
    EXPECT_EQ("\xE2r\xF7 Radio", text16(lastOf(b2, DAB_NOTIFY_SERVICE_LABEL)->title.text));  // EBU Latin "Ærø"
    EXPECT_EQ(2, mTuner->getter("getBand"));

    std::vector<Seen> b3 = commandAndWaitStation("switchBand");
    EXPECT_EQ(std::vector<int>{3}, valuesOf(b3, DAB_NOTIFY_BAND));
    EXPECT_EQ("Metro News", text16(lastOf(b3, DAB_NOTIFY_SERVICE_LABEL)->title.text));
    std::vector<Seen> b1 = commandAndWaitStation("switchBand");
    EXPECT_EQ(std::vector<int>{1}, valuesOf(b1, DAB_NOTIFY_BAND));
    EXPECT_EQ(std::vector<int>{14}, valuesOf(b1, DAB_NOTIFY_FREQ));
}

TEST_F(SimTunerTest, PresetRecallAndPresetUpDownSkipEmptySlots) {
    start();
    std::vector<Seen> p3 = commandAndWaitStation("preset3Recall");
    EXPECT_EQ(std::vector<int>{3}, valuesOf(p3, DAB_NOTIFY_PRESET_NUM));
    EXPECT_EQ(std::vector<int>{19}, valuesOf(p3, DAB_NOTIFY_FREQ));
    std::vector<Seen> down = commandAndWaitStation("presetChannelDown");
    EXPECT_EQ(std::vector<int>{2}, valuesOf(down, DAB_NOTIFY_PRESET_NUM));

    // Bank 3, preset 5, then up: slot 6 is empty, so preset 1 follows.
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->pchRecall(2, 5));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FM_LINK));
    EXPECT_EQ(std::vector<int>{3}, valuesOf(mRec.since(m), DAB_NOTIFY_BAND));
    EXPECT_EQ(5, mTuner->getter("getPchNum"));
    std::vector<Seen> up = commandAndWaitStation("presetChannelUp");
    EXPECT_EQ(std::vector<int>{1}, valuesOf(up, DAB_NOTIFY_PRESET_NUM));
    EXPECT_EQ(std::vector<int>{19}, valuesOf(up, DAB_NOTIFY_FREQ));

    // Recalling the empty slot does nothing.
    m = mRec.mark();
    ASSERT_EQ(0, mTuner->command("preset6Recall"));
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_TRUE(mRec.since(m).empty());
    EXPECT_EQ(-1, mTuner->pchRecall(3, 1));
    EXPECT_EQ(-1, mTuner->pchRecall(0, 7));
    EXPECT_EQ(-1, mTuner->command("preset7Recall"));
}

TEST_F(SimTunerTest, ThePresetListsAnswerSixItemsEachWithTheRecordLayout) {
    start();
    for (uint8_t band = 0; band < 3; ++band) {
        size_t m = mRec.mark();
        ASSERT_EQ(0, mTuner->pchListReq(band));
        ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_PRESET_ITEM, nullptr, 6)) << "band " << int(band);
        std::vector<Seen> items;
        for (const Seen& s : mRec.since(m)) {
            if (s.id == DAB_NOTIFY_PRESET_ITEM) items.push_back(s);
        }
        ASSERT_EQ(6u, items.size());
        for (int i = 0; i < 6; ++i) {
            const ST_DAB_PCH_LIST_ITEM& r = items[i].pch;
            EXPECT_EQ(band, r.band);
            EXPECT_EQ(i + 1, r.pchNum);
            EXPECT_EQ(i + 1, items[i].value);
            EXPECT_GE(r.nm, 13);
            EXPECT_LE(r.nm, 76);
        }
        if (band == 0) {
            EXPECT_EQ(1, items[0].pch.labelValid);
            EXPECT_EQ(1u, items[0].pch.labelEncode);
            EXPECT_EQ("Nordwelle Pop", text16(items[0].pch.label));
            EXPECT_EQ(8u, items[3].pch.labelEncode);  // "Радио 1" in UCS-2
            EXPECT_EQ(std::string("\x04\x20\x04\x30", 4), std::string(items[3].pch.label, 4));
        }
        if (band == 2) {
            EXPECT_EQ(0, items[5].pch.labelValid);  // the empty slot
            EXPECT_EQ(13, items[5].pch.nm);
        }
    }
    // Band code 3 is the current bank; anything above is refused.
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->pchListReq(3));
    Seen first;
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_PRESET_ITEM, &first));
    EXPECT_EQ(0u, first.pch.band);
    EXPECT_EQ(-1, mTuner->pchListReq(4));
}

TEST_F(SimTunerTest, PresetMemoryStoresTheStationAndAsksForTheListsAgain) {
    start();
    commandAndWaitStation("manualUp");
    commandAndWaitStation("manualUp");
    commandAndWaitStation("manualUp");
    commandAndWaitStation("manualUp");
    commandAndWaitStation("manualUp");  // block 19, "Café Hits"
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->pchMemory(0, 4));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_PRESET_LIST_UPDATE_REQ));
    std::vector<Seen> seen = mRec.since(m);
    EXPECT_EQ(DAB_NOTIFY_PRESET_NUM, seen[0].id);
    EXPECT_EQ(4, seen[0].value);
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

TEST_F(SimTunerTest, ServiceComponentListIsAnsweredItemByItemInAlphabeticalOrderAndSearched) {
    start();
    std::vector<ST_DAB_SVC_LIST_DATA> items =
        readList([this](uint8_t pos) { return mTuner->svcCompListItemReq(pos, 0, 0); });
    ASSERT_EQ(39u, items.size());
    for (size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(1, items[i].valid);
        EXPECT_EQ(39, items[i].curnum_all);
        EXPECT_EQ(i + 1, items[i].curnum_pos);
        EXPECT_GE(items[i].NM, 13);
        EXPECT_LE(items[i].NM, 76);
    }
    EXPECT_EQ("Arena Live 1", text16(items[0].label));
    EXPECT_EQ(0xD105u, items[0].sid);
    EXPECT_EQ(1u, items[0].scid);
    EXPECT_EQ(0x10A1, items[0].eid);
    // Labels read back in order; the one service without label comes last.
    EXPECT_EQ(0, items.back().label[0]);
    EXPECT_EQ(0xD402u, items.back().sid);
    EXPECT_STRNE("", text16(items[items.size() - 2].label).c_str());

    // A position past the end is answered as an invalid entry.
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->svcCompListItemReq(40, 0, 0));
    Seen past;
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_SVC_LIST_ITEM, &past));
    EXPECT_EQ(0, past.svc.valid);
    EXPECT_EQ(39, past.svc.curnum_all);

    // The alphabetical search answers the first matching position, or 0.
    m = mRec.mark();
    ASSERT_EQ(0, mTuner->svcListAbcSearchLabelReq(1, 'K', 0));
    Seen hit;
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_SVC_LIST_ITEM, &hit));
    int pos = hit.svc.listnum_pos;
    ASSERT_GE(pos, 2);
    EXPECT_EQ('K', items[pos - 1].label[0]);
    EXPECT_NE('K', items[pos - 2].label[0]);
    EXPECT_EQ(items[pos - 1].sid, hit.svc.sid);
    m = mRec.mark();
    ASSERT_EQ(0, mTuner->svcListAbcSearchLabelReq(1, 'Q', 0));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_SVC_LIST_ITEM, &hit));
    EXPECT_EQ(0, hit.svc.listnum_pos);
    EXPECT_EQ(39, hit.svc.listnum_all);
}

TEST_F(SimTunerTest, PtyEnsembleAndEnsembleComponentListsFollowTheWorld) {
    start();
    std::vector<ST_DAB_SVC_LIST_DATA> classics =
        readList([this](uint8_t pos) { return mTuner->ptyListItemReq(pos, 3); });
    ASSERT_EQ(5u, classics.size());
    EXPECT_EQ("Barock", text16(classics[0].label));
    EXPECT_EQ("Chormusik", text16(classics[1].label));
    EXPECT_EQ(8u, classics[4].codeTyped);  // "Классика": 16 bytes of UCS-2, no terminator
    EXPECT_EQ(std::string("\x04\x1A\x04\x3B", 4), std::string(classics[4].label, 4));
    EXPECT_EQ(-1, mTuner->ptyListItemReq(1, 5));

    std::vector<ST_DAB_SVC_LIST_DATA> ensembles =
        readList([this](uint8_t pos) { return mTuner->ensembleListItemReq(pos); });
    ASSERT_EQ(9u, ensembles.size());
    EXPECT_EQ(14, ensembles[0].NM);
    EXPECT_EQ(0, ensembles[3].label[0]);  // the ensemble on 10A sends no label
    EXPECT_EQ(71, ensembles[8].NM);

    std::vector<ST_DAB_SVC_LIST_DATA> comps =
        readList([this](uint8_t pos) { return mTuner->ensembleCompListItemReq(pos, 0x10A1); });
    ASSERT_EQ(7u, comps.size());
    EXPECT_EQ("Nordwelle Pop", text16(comps[0].label));
    EXPECT_EQ("Arena Live 2", text16(comps[6].label));
    EXPECT_EQ(1, comps[6].listnum_pos);
    EXPECT_EQ(9, comps[6].listnum_all);

    // An unknown ensemble is an empty list: one answer of size 0.
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->ensembleCompListItemReq(1, 0x7777));
    Seen none;
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_SVC_LIST_ITEM, &none));
    EXPECT_EQ(0, none.svc.curnum_all);
    EXPECT_EQ(0, none.svc.valid);
}

// --- Labels and dynamic text ---

TEST_F(SimTunerTest, LabelsComeInEachCharacterSetOrAsNoDataProvided) {
    start();
    struct Case {
        uint8_t nm;
        uint16_t eid;
        uint32_t sid;
        uint32_t charset;
        std::string bytes;
    };
    const Case cases[] = {
        {14, 0x10A1, 0xD103, 1, "K\x99stenradio"},                        // EBU Latin ü = 0x99
        {44, 0x10F6, 0xD603, 7, "Wetter & B\xC3\xB6rse"},                  // UTF-8
        {25, 0x10C3, 0xD302, 8, std::string("\x04\x1D\x04\x3E\x04\x32", 6)},  // UCS-2 "Нов"
    };
    for (const Case& c : cases) {
        size_t m = mRec.mark();
        ASSERT_EQ(0, mTuner->serviceRecall(c.nm, c.eid, c.sid, 0));
        ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FM_LINK));
        std::vector<Seen> seen = mRec.since(m);
        const Seen* label = lastOf(seen, DAB_NOTIFY_SERVICE_LABEL);
        ASSERT_NE(nullptr, label);
        EXPECT_EQ(c.charset, label->title.charset);
        EXPECT_EQ(c.bytes, std::string(label->title.text, c.bytes.size()));
    }
    // The ensemble on 10A and its second service send no labels.
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->serviceRecall(33, 0x10D4, 0xD402, 0));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FM_LINK));
    std::vector<Seen> seen = mRec.since(m);
    for (DABNotifyID id : {DAB_NOTIFY_ENSEMBLE_LABEL, DAB_NOTIFY_SERVICE_LABEL, DAB_NOTIFY_COMP_LABEL}) {
        EXPECT_EQ("No Data Provided", std::string(lastOf(seen, id)->title.text, 16)) << id;
    }
    // A secondary component is recalled by its SCId.
    m = mRec.mark();
    ASSERT_EQ(0, mTuner->serviceRecall(14, 0x10A1, 0xD105, 2));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FM_LINK));
    seen = mRec.since(m);
    EXPECT_EQ(std::vector<int>{3}, valuesOf(seen, DAB_NOTIFY_COMP_NUM));
    EXPECT_EQ("Arena Live 2", text16(lastOf(seen, DAB_NOTIFY_COMP_LABEL)->title.text));
    EXPECT_EQ(std::vector<int>{0}, valuesOf(seen, DAB_NOTIFY_PRESET_NUM));  // bank 1 does not hold it
    // A recall of a service that does not exist changes nothing.
    m = mRec.mark();
    ASSERT_EQ(0, mTuner->serviceRecall(33, 0x10D4, 0xBEEF, 0));
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_TRUE(mRec.since(m).empty());
}

TEST_F(SimTunerTest, DynamicTextsArriveAsTwoSegmentsAndChangeInTurn) {
    start(fastWorld());
    size_t m = mRec.mark();
    // First text about a second after tuning, the next half a second later.
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_DLS, nullptr, 4, 5000));
    std::vector<Seen> dls;
    for (const Seen& s : mRec.since(m)) {
        if (s.id == DAB_NOTIFY_DLS) dls.push_back(s);
    }
    EXPECT_EQ(0, dls[0].dls.segment);
    EXPECT_EQ(1, dls[1].dls.segment);
    EXPECT_EQ(10, dls[0].dls.length);
    EXPECT_EQ(10, dls[1].dls.length);
    EXPECT_EQ("short text", std::string(dls[0].dls.text, 10));
    EXPECT_EQ(std::string(64, '\0'), std::string(dls[1].dls.text, 64));
    // The 74-byte text: 64 bytes in the first segment, the rest in the second.
    EXPECT_EQ(0, dls[2].dls.segment);
    EXPECT_EQ(74, dls[2].dls.length);
    EXPECT_EQ('0', dls[2].dls.text[0]);
    EXPECT_EQ('3', dls[2].dls.text[63]);
    EXPECT_EQ(1, dls[3].dls.segment);
    EXPECT_EQ(74, dls[3].dls.length);
    EXPECT_EQ("ABCDEFGHIJ", std::string(dls[3].dls.text, 10));
    EXPECT_EQ(0, dls[3].dls.text[10]);
    EXPECT_GE(dls[2].at - dls[1].at, std::chrono::milliseconds(350));
}

TEST_F(SimTunerTest, DynamicTextControlSendsAtOnceAndEmptyTextClears) {
    start();  // the station's own texts are EBU Latin
    const std::string text = "Stau auf der A1 \xE2\x80\x93 20 min";
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->setDynamicText(text, 7));
    auto firstHalfIn = [](uint32_t charset) {
        return [charset](const std::vector<Seen>& seen) {
            for (size_t i = 0; i + 1 < seen.size(); ++i) {
                if (seen[i].id == DAB_NOTIFY_DLS && seen[i].dls.charset == charset && seen[i].dls.segment == 0 &&
                    seen[i + 1].id == DAB_NOTIFY_DLS && seen[i + 1].dls.segment == 1) {
                    return true;
                }
            }
            return false;
        };
    };
    ASSERT_TRUE(mRec.waitFor(m, firstHalfIn(7), 1000));
    for (const Seen& s : mRec.since(m)) {
        if (s.id == DAB_NOTIFY_DLS && s.dls.charset == 7 && s.dls.segment == 0) {
            EXPECT_EQ(text.size(), s.dls.length);
            EXPECT_EQ(text, std::string(s.dls.text, strnlen(s.dls.text, 64)));
            break;
        }
    }

    m = mRec.mark();
    ASSERT_EQ(0, mTuner->setDynamicText("", 7));
    ASSERT_TRUE(mRec.waitFor(m, [](const std::vector<Seen>& seen) {
        for (const Seen& s : seen) {
            if (s.id == DAB_NOTIFY_DLS && s.dls.segment == 0 && s.dls.length == 0 && s.dls.text[0] == 0) return true;
        }
        return false;
    }, 1000));
    EXPECT_EQ(-1, mTuner->setDynamicText(std::string(129, 'x'), 7));
    EXPECT_EQ(-1, mTuner->setDynamicText("~", 1));  // no EBU Latin code
    EXPECT_EQ(-1, mTuner->setDynamicText("x", 3));
}

// --- Service-list update ---

TEST_F(SimTunerTest, ListUpdateRunsInMode25ThroughEveryChannelAndReturns) {
    start(fastWorld());
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->command("listUpdateStart"));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FM_LINK));
    std::vector<Seen> seen = mRec.since(m);
    EXPECT_EQ((std::vector<int>{25, 5}), valuesOf(seen, DAB_NOTIFY_LOGIC_MODE));
    std::vector<int> freqs = valuesOf(seen, DAB_NOTIFY_FREQ);
    ASSERT_EQ(65u, freqs.size());  // 13 to 76, then the station it returns to
    EXPECT_EQ(13, freqs.front());
    EXPECT_EQ(76, freqs[63]);
    EXPECT_EQ(13, freqs.back());
    EXPECT_EQ("Alpha One", text16(lastOf(seen, DAB_NOTIFY_SERVICE_LABEL)->title.text));
}

TEST_F(SimTunerTest, ListUpdateCancelReturnsAtOnce) {
    start();  // the built-in update lasts seconds
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->command("listUpdateStart"));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FREQ, nullptr, 3));
    ASSERT_EQ(0, mTuner->command("listUpdateCancel"));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_FM_LINK, nullptr, 1, 1000));
    std::vector<Seen> seen = mRec.since(m);
    EXPECT_EQ(5, lastOf(seen, DAB_NOTIFY_LOGIC_MODE)->value);
    EXPECT_EQ(14, lastOf(seen, DAB_NOTIFY_FREQ)->value);
    EXPECT_EQ(std::vector<int>{1}, valuesOf(seen, DAB_NOTIFY_PRESET_NUM));
}

// --- Time-shift (waits on the one-second clock of the buffer) ---

TEST_F(SimTunerTest, TimeShiftBufferGrowsPausesSeeksAndReturnsLive) {
    start(fastWorld());
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->command("timeShifeModeOn"));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_TS_STATUS));
    EXPECT_EQ(1, lastOf(mRec.since(m), DAB_NOTIFY_TS_STATUS)->value);

    // Total time is capped at the world's 1 s capacity, the cache time goes on growing.
    ASSERT_TRUE(mRec.waitFor(m, [](const std::vector<Seen>& seen) {
        const Seen* cache = lastOf(seen, DAB_NOTIFY_TS_CACHE_TIME);
        return cache != nullptr && decodeTs(cache->value) >= 2;
    }, 6000));
    std::vector<Seen> grown = mRec.since(m);
    EXPECT_EQ(1, decodeTs(lastOf(grown, DAB_NOTIFY_TS_TOTAL_TIME)->value));
    EXPECT_EQ(0x0100, mTuner->getter("getTsAllTime"));  // 1, bytes swapped

    m = mRec.mark();
    ASSERT_EQ(0, mTuner->command("pause"));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_TS_PAUSE_TIME));
    EXPECT_EQ(4, lastOf(mRec.since(m), DAB_NOTIFY_TS_STATUS)->value);
    EXPECT_EQ(4, mTuner->getter("getTsStatus"));
    // While paused the delay grows with the clock (up to the buffer).
    ASSERT_TRUE(mRec.waitFor(m, [](const std::vector<Seen>& seen) {
        int n = 0;
        for (const Seen& s : seen) n += (s.id == DAB_NOTIFY_TS_PAUSE_TIME && decodeTs(s.value) >= 1) ? 1 : 0;
        return n >= 1;
    }, 3000));

    m = mRec.mark();
    ASSERT_EQ(0, mTuner->timeShiftMove(EN_DAB_TS_MOVE_BACKWARD, 1));
    Seen moved;
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_TS_PAUSE_TIME, &moved));
    EXPECT_EQ(0x0100, moved.value);
    EXPECT_EQ(-1, mTuner->timeShiftMove(static_cast<EN_DAB_TS_MOVE_DIRECT>(2), 1));

    m = mRec.mark();
    ASSERT_EQ(0, mTuner->command("play"));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_TS_PAUSE_TIME));
    EXPECT_EQ(2, lastOf(mRec.since(m), DAB_NOTIFY_TS_STATUS)->value);

    m = mRec.mark();
    ASSERT_EQ(0, mTuner->command("live"));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_TS_PAUSE_TIME));
    EXPECT_EQ(1, lastOf(mRec.since(m), DAB_NOTIFY_TS_STATUS)->value);
    EXPECT_EQ(0, lastOf(mRec.since(m), DAB_NOTIFY_TS_PAUSE_TIME)->value);

    // Leaving the view stops the reports.
    ASSERT_EQ(0, mTuner->command("esc"));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    m = mRec.mark();
    std::this_thread::sleep_for(std::chrono::milliseconds(1300));
    EXPECT_EQ(0, Recorder::countOf(mRec.since(m), DAB_NOTIFY_TS_TOTAL_TIME));
}

// --- Faults ---

TEST_F(SimTunerTest, FaultControlsNotifyAndTheGettersFollow) {
    start();
    size_t m = mRec.mark();
    ASSERT_EQ(0, mTuner->setAntennaStatus(4));
    ASSERT_EQ(0, mTuner->setErrorInfo(2));
    ASSERT_EQ(0, mTuner->setSignalLevel(3));
    ASSERT_EQ(0, mTuner->setConnectStatus(0));
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_CONNECT_STATUS));
    std::vector<Seen> seen = mRec.since(m);
    EXPECT_EQ(std::vector<int>{4}, valuesOf(seen, DAB_NOTIFY_ANT_STATUS));
    EXPECT_EQ(std::vector<int>{2}, valuesOf(seen, DAB_NOTIFY_ERROR_INFO));
    EXPECT_EQ(std::vector<int>{3}, valuesOf(seen, DAB_NOTIFY_SIGNAL_LEVEL));
    EXPECT_EQ(std::vector<int>{0}, valuesOf(seen, DAB_NOTIFY_CONNECT_STATUS));
    EXPECT_EQ(4, mTuner->getter("getAntStatus"));
    EXPECT_EQ(2, mTuner->getter("getErrorInfo"));
    EXPECT_EQ(3, mTuner->getter("getSignalLevel"));

    // The forced signal level holds on other stations until released.
    std::vector<Seen> stepped = commandAndWaitStation("seekUp");
    EXPECT_EQ(3, lastOf(stepped, DAB_NOTIFY_SIGNAL_LEVEL)->value);
    m = mRec.mark();
    ASSERT_EQ(0, mTuner->setSignalLevel(0));
    Seen released;
    ASSERT_TRUE(mRec.waitForId(m, DAB_NOTIFY_SIGNAL_LEVEL, &released));
    EXPECT_EQ(5, released.value);  // the level of the ensemble on 6C

    EXPECT_EQ(-1, mTuner->setAntennaStatus(0));
    EXPECT_EQ(-1, mTuner->setAntennaStatus(6));
    EXPECT_EQ(-1, mTuner->setErrorInfo(3));
    EXPECT_EQ(-1, mTuner->setSignalLevel(8));
    EXPECT_EQ(-1, mTuner->setConnectStatus(-1));
}

TEST_F(SimTunerTest, UnresponsiveTunerAndDroppedListRequestAnswerNothing) {
    start();
    ASSERT_EQ(0, mTuner->setUnresponsive(true));
    size_t m = mRec.mark();
    EXPECT_EQ(0, mTuner->command("manualUp"));
    EXPECT_EQ(0, mTuner->pchListReq(0));
    EXPECT_EQ(0, mTuner->svcCompListItemReq(1, 0, 0));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_TRUE(mRec.since(m).empty());
    EXPECT_EQ(14, mTuner->getter("getNmValue"));

    ASSERT_EQ(0, mTuner->setUnresponsive(false));
    std::vector<Seen> seen = commandAndWaitStation("manualUp");
    EXPECT_EQ(std::vector<int>{15}, valuesOf(seen, DAB_NOTIFY_FREQ));

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
    EXPECT_EQ(headunit::kCommandUsage, SimControl::execute("antenna x", &reply));
    EXPECT_EQ("antenna N must be a number in 1..5 (got \"x\")", reply);
    EXPECT_EQ(headunit::kCommandUsage, SimControl::execute("error 3", &reply));
    EXPECT_EQ(0, SimControl::execute("error 2", &reply));
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
        ASSERT_TRUE(mRec.waitFor(m, [](const std::vector<Seen>& seen) {
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
    size_t m = mRec.mark();
    std::this_thread::sleep_for(std::chrono::milliseconds(700));  // longer than a text interval
    EXPECT_TRUE(mRec.since(m).empty());
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
        std::mutex lock;
        std::condition_variable done;
        bool finalized = false;
    } ctx;
    ctx.tuner = new SimTuner(fastWorld());
    const int before = threadCount();
    ASSERT_EQ(0, ctx.tuner->initialize(
                     [](void* cookie, DABNotifyID, int) {
                         Ctx* c = static_cast<Ctx*>(cookie);
                         std::lock_guard<std::mutex> lock(c->lock);
                         if (c->finalized) return;
                         c->tuner->finalize();
                         c->finalized = true;
                         c->done.notify_all();
                     },
                     &ctx));
    {
        std::unique_lock<std::mutex> lock(ctx.lock);
        ASSERT_TRUE(ctx.done.wait_for(lock, std::chrono::seconds(5), [&] { return ctx.finalized; }));
    }
    // The detached thread ends right after the callback returns.
    for (int i = 0; i < 100 && threadCount() > before; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_LE(threadCount(), before);
}

}  // namespace
