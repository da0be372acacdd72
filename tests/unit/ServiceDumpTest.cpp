// The service's state dump, in-process: every section in a known state, and the options.
#include "Eventually.h"
#include "HostMutex.h"
#include "ServiceFixture.h"

#include <nlohmann/json.hpp>

#include <stdio.h>
#include <unistd.h>

#include <condition_variable>
#include <cstring>
#include <thread>

using namespace android;
using json = nlohmann::json;
using namespace std::chrono_literals;

namespace {

// A client whose callback blocks until released, as an application that stopped reading.
class StuckClient : public BnDABPlayerClient {
public:
    void notify(int, int, int, const Parcel*) override {
        HostMutex::Autolock lock(mLock);
        mEntered = true;
        mChanged.notify_all();
        while (!mReleased) mChanged.wait(lock.native());
    }
    bool waitEntered() {
        HostMutex::Autolock lock(mLock);
        const auto until = std::chrono::steady_clock::now() + 5s;
        while (!mEntered && mChanged.wait_until(lock.native(), until) == std::cv_status::no_timeout) {}
        return mEntered;
    }
    void release() {
        HostMutex::Autolock lock(mLock);
        mReleased = true;
        mChanged.notify_all();
    }

private:
    HostMutex mLock;
    std::condition_variable mChanged;  // signals changes of the flags below
    bool mEntered GUARDED_BY(mLock) = false;
    bool mReleased GUARDED_BY(mLock) = false;
};

}  // namespace

class ServiceDumpTest : public ServiceFixture {
protected:
    // The dump as the service writes it, and its result.
    std::string dump(const std::vector<const char*>& args, status_t* status = nullptr) {
        FILE* file = tmpfile();
        Vector<String16> a;
        for (const char* arg : args) a.add(String16(arg));
        const status_t s = mService->dump(fileno(file), a);
        if (status != nullptr) *status = s;
        rewind(file);
        std::string out;
        char buf[4096];
        size_t n;
        while ((n = fread(buf, 1, sizeof(buf), file)) > 0) out.append(buf, n);
        fclose(file);
        return out;
    }
    json dumpJson(std::vector<const char*> args) {
        args.push_back("--json");
        return json::parse(dump(args));
    }
    // Waits until the worker holds a message of this type (any type when null).
    bool waitHeld(const char* type) {
        return eventually([&] {
            const json held = dumpJson({"worker"})["worker"]["held"];
            return held.is_object() && (type == nullptr || held["type"] == type);
        });
    }
};

TEST_F(ServiceDumpTest, EverySectionShowsTheKnownState) {
    activate();
    sp<FakeClient> listening;
    sp<FakeClient> silent;
    sp<IDABPlayer> a = connect(&listening);
    sp<IDABPlayer> b = connect(&silent);
    b->setClientListener(nullptr);

    // Station: a service label in charset 1, preset 3, block 20.
    const char label[16] = "Radio Eins";
    mTuner->setTitle(1, 1, label);
    mTuner->notify(17, 0);
    mTuner->setGetter("getBand", 1);
    mTuner->notify(1, 3);
    mTuner->notify(3, 20);
    // A cached band: band 2 complete.
    for (int i = 1; i <= 6; ++i) {
        PRESET_LIST_ITEM item;
        memset(&item, 0, sizeof(item));
        item.band = 2;
        item.item_index = i;
        item.NM = 14;
        peer().cache().cachePresetItem(2, &item);
    }
    peer().presetListNotCached()[1] = 0;
    // Logic mode 11 from the tuner, then 12 through a client's query.
    mTuner->notify(2, 11);
    mTuner->setGetter("getLogicMode", 12);
    int mode = 0;
    peer().isInSourceOnDelay() = DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN;
    ASSERT_EQ(0, a->getLogicMode(&mode));
    ASSERT_TRUE(waitHeld(nullptr));

    const json d = dumpJson({});
    EXPECT_EQ(true, d["lifecycle"]["active"]);
    EXPECT_EQ(0, d["lifecycle"]["sourceType"]);
    EXPECT_EQ(true, d["lifecycle"]["resumed"]);
    EXPECT_EQ(false, d["lifecycle"]["activationPending"]);

    const json& st = d["station"];
    EXPECT_EQ("Radio Eins", st["serviceLabel"]["text"]);
    EXPECT_EQ(1, st["serviceLabel"]["charset"]);
    EXPECT_TRUE(st["ensembleLabel"]["charset"].is_null());
    EXPECT_EQ(3, st["preset"]);
    EXPECT_EQ(20, st["blockId"]);
    EXPECT_EQ(12, st["logicMode"]);
    EXPECT_EQ(false, st["busy"]["manualUpDown"]);

    ASSERT_EQ(2u, d["clients"].size());
    int listeners = 0;
    for (const json& c : d["clients"]) {
        EXPECT_EQ(1234, c["pid"]);
        // Local callbacks have no transport queue to show.
        EXPECT_TRUE(c["queuedMessages"].is_null());
        if (c["listener"] == true) {
            ++listeners;
            EXPECT_GE(c["sent"].get<int>(), 3);
            EXPECT_EQ(0, c["dropped"]);
        } else {
            EXPECT_EQ(0, c["sent"]);
            EXPECT_GE(c["dropped"].get<int>(), 3);
        }
    }
    EXPECT_EQ(1, listeners);

    // Activation queued the three preset bands; the tuner never answers, so one is held.
    const json& w = d["worker"];
    EXPECT_EQ(true, w["running"]);
    ASSERT_TRUE(w["held"].is_object());
    EXPECT_EQ(false, w["held"]["waitEvent"]);
    EXPECT_LE(w["held"]["leftMs"].get<int>(), 5000);
    EXPECT_EQ(5000, w["held"]["heldMs"].get<int>() + w["held"]["leftMs"].get<int>());

    EXPECT_EQ(6, d["cache"]["presetBands"][1]["items"]);
    EXPECT_EQ(true, d["cache"]["presetBands"][1]["complete"]);
    EXPECT_EQ(false, d["cache"]["presetBands"][0]["complete"]);
    EXPECT_EQ("none", d["cache"]["currentList"]);

    EXPECT_EQ("dab", d["sources"][0]["name"]);
    EXPECT_EQ(false, d["sources"][0]["registered"]);

    const json& tuner = d["tunerNotifications"];
    ASSERT_GE(tuner.size(), 4u);
    EXPECT_EQ(2, tuner.back()["id"]);
    EXPECT_EQ(11, tuner.back()["value"]);
    bool sawAntenna = false;
    for (const json& n : d["clientNotifications"]) sawAntenna |= n["msg"] == 45;
    EXPECT_TRUE(sawAntenna);

    // The two stored changes, each with its cause.
    std::vector<json> stored;
    for (const json& m : d["logicModes"]) {
        if (m["change"] == "stored") stored.push_back(m);
    }
    ASSERT_EQ(2u, stored.size());
    EXPECT_EQ(5, stored[0]["from"]);
    EXPECT_EQ(11, stored[0]["to"]);
    EXPECT_EQ("tuner", stored[0]["cause"]["kind"]);
    EXPECT_EQ(2, stored[0]["cause"]["tunerId"]);
    EXPECT_EQ(12, stored[1]["to"]);
    EXPECT_EQ("operation", stored[1]["cause"]["kind"]);
    EXPECT_EQ("getLogicMode", stored[1]["cause"]["operation"]);
    EXPECT_EQ(1234, stored[1]["cause"]["pid"]);

    // The text form says the same for people.
    const std::string text = dump({});
    EXPECT_NE(std::string::npos, text.find("  service label: \"Radio Eins\" (charset 1)\n")) << text;
    EXPECT_NE(std::string::npos, text.find("  preset band 2: 6 of 6 cached, list complete\n"));
    EXPECT_NE(std::string::npos, text.find("stored 11 -> 12 by operation getLogicMode from pid 1234"));
    EXPECT_NE(std::string::npos, text.find("  holding: preset-band"));
}

TEST_F(ServiceDumpTest, HeldWaitEventShowsItsTimeLeftAndNoPresetSaysNone) {
    activate();
    sp<DABListProcessThread> worker = peer().listWorker();
    // Let the worker take a wait event: the preset requests still queued are dropped and the
    // one it holds is answered.
    ASSERT_TRUE(waitHeld(nullptr));
    worker->removeWaitEvent(LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND1, 0, 0});
    worker->removeWaitEvent(LIST_QUEUE_MSG{DAB_SERVER_QUEUE_MSG_PRESET_LIST_BAND2, 0, 0});
    worker->listItemCachedFinished(worker->currentMsg());
    worker.clear();
    sp<FakeClient> cb;
    sp<IDABPlayer> p = connect(&cb);
    ASSERT_EQ(0, p->manualUp());
    ASSERT_TRUE(waitHeld("wait-manual-updown"));
    const json d = dumpJson({"worker", "station"});
    EXPECT_EQ(true, d["worker"]["held"]["waitEvent"]);
    EXPECT_LE(d["worker"]["held"]["leftMs"].get<int>(), 2000);
    EXPECT_EQ(true, d["station"]["busy"]["manualUpDown"]);
    EXPECT_TRUE(d["station"]["preset"].is_null());
    EXPECT_EQ(0u, d.count("lifecycle"));  // only the sections asked for
}

TEST_F(ServiceDumpTest, DumpDoesNotWaitForAClientStuckInItsCallback) {
    activate();
    sp<StuckClient> stuck = new StuckClient();
    sp<IDABPlayer> p = mService->createClient(99, stuck);
    std::thread notifier([this] { mTuner->notify(10, 4); });  // signal level
    ASSERT_TRUE(stuck->waitEntered());
    const auto start = std::chrono::steady_clock::now();
    const json d = dumpJson({"clients"});
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
    ASSERT_EQ(1u, d["clients"].size());
    EXPECT_EQ(99, d["clients"][0]["pid"]);
    EXPECT_EQ(1, d["clients"][0]["sent"]);
    stuck->release();
    notifier.join();
    p.clear();
}

TEST_F(ServiceDumpTest, UnknownSectionIsRefusedWithTheKnownOnesAndNoDumpLogs) {
    // Before activation no other thread writes to the log meanwhile.
    resume();
    const size_t before = mLog->lines().size();
    dump({});
    dump({"--json"});
    EXPECT_EQ(before, mLog->lines().size());
    status_t status = NO_ERROR;
    const std::string out = dump({"station", "nonsense"}, &status);
    EXPECT_EQ(BAD_VALUE, status);
    EXPECT_EQ("unknown section \"nonsense\"; known sections: lifecycle station clients worker cache "
              "sources tuner-notifications client-notifications logic-modes\n",
              out);
}
