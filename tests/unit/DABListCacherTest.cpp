#include "DABListCacher.h"

#include <gtest/gtest.h>

#include <string.h>

#include <atomic>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "HostLog.h"

namespace {

// Records whose every byte is one value: untouched outputs and cleared slots compare against them.
template <typename T>
T filledWith(unsigned char byte) {
    T item;
    memset(&item, byte, sizeof(item));
    return item;
}

// Field by field: copies need not carry the padding bytes of the list records.
auto fields(const PRESET_LIST_ITEM& a) {
    return std::make_tuple(std::string(a.label, 16), a.band, a.item_index, a.NM, a.labelAvail, a.charCode);
}
auto fields(const ENSEMBLE_LIST_ITEM& a) {
    return std::make_tuple(std::string(a.label, 16), a.index, a.NM, a.eid, a.codeTyped);
}
auto fields(const COMP_LIST_ITEM& a) {
    return std::make_tuple(std::string(a.label, 16), a.index, a.NM, a.eid, a.sid, a.scid, a.codeTyped);
}
template <typename T>
bool sameRecord(const T& a, const T& b) { return fields(a) == fields(b); }

PRESET_LIST_ITEM makePreset(int band, int index, int nm, const char* label) {
    PRESET_LIST_ITEM item = {{}, band, index, nm, 1, 4};
    strncpy(item.label, label, sizeof(item.label));
    return item;
}
COMP_LIST_ITEM makeComp(int index, uint32_t sid, const char* label) {
    COMP_LIST_ITEM item = {{}, index, 40, 0xE1C0, sid, 2, 15};
    strncpy(item.label, label, sizeof(item.label));
    return item;
}
ENSEMBLE_LIST_ITEM makeEnsemble(int index, uint16_t eid, const char* label) {
    ENSEMBLE_LIST_ITEM item = {{}, index, 22, eid, 15};
    strncpy(item.label, label, sizeof(item.label));
    return item;
}

class DABListCacherTest : public ::testing::Test {
protected:
    std::vector<std::string> listLines() const { return mLog.messages("DABPlayerList"); }

    HostLog::Capture mLog;
    DABListCacher mCacher;
};

TEST_F(DABListCacherTest, CachePresetRefusesOutOfRangeAndStoresByTheBandArgument) {
    for (const auto& bad : std::vector<std::pair<int, int>>{{1, 0}, {1, 7}, {1, -1}, {0, 1}, {4, 1}}) {
        PRESET_LIST_ITEM item = makePreset(bad.first, bad.second, 30, "BAD");
        EXPECT_EQ(-1, mCacher.cachePresetItem(bad.first, &item)) << bad.first << "/" << bad.second;
    }
    for (int band = 1; band <= 3; ++band) {
        for (int index = 1; index <= 6; ++index) {
            PRESET_LIST_ITEM out = filledWith<PRESET_LIST_ITEM>(0x5A);
            ASSERT_EQ(0, mCacher.getCachedPresetItem(band, index, &out));
            EXPECT_TRUE(sameRecord(filledWith<PRESET_LIST_ITEM>(0), out)) << band << "/" << index;
        }
    }

    // A slot is keyed by the band argument; a later item replaces it.
    PRESET_LIST_ITEM first = makePreset(1, 6, 55, "FIRST");
    PRESET_LIST_ITEM other = makePreset(1, 6, 13, "OTHER");  // record's band field is not the key
    ASSERT_EQ(0, mCacher.cachePresetItem(1, &first));
    ASSERT_EQ(0, mCacher.cachePresetItem(3, &other));
    PRESET_LIST_ITEM out;
    ASSERT_EQ(0, mCacher.getCachedPresetItem(1, 6, &out));
    EXPECT_TRUE(sameRecord(first, out));
    ASSERT_EQ(0, mCacher.getCachedPresetItem(3, 6, &out));
    EXPECT_TRUE(sameRecord(other, out));
    ASSERT_EQ(0, mCacher.getCachedPresetItem(1, 5, &out));
    EXPECT_TRUE(sameRecord(filledWith<PRESET_LIST_ITEM>(0), out));

    PRESET_LIST_ITEM second = makePreset(1, 6, 76, "SECOND");
    ASSERT_EQ(0, mCacher.cachePresetItem(1, &second));
    ASSERT_EQ(0, mCacher.getCachedPresetItem(1, 6, &out));
    EXPECT_TRUE(sameRecord(second, out));
}

TEST_F(DABListCacherTest, GetPresetWithBadBandLogsFieldsOfUntouchedOutAndBadIndexOnlyTheEntry) {
    PRESET_LIST_ITEM out = makePreset(9, 8, 77, "KEEP");
    out.charCode = 11;
    out.labelAvail = 12;
    const PRESET_LIST_ITEM before = out;
    mLog.clear();
    EXPECT_EQ(-1, mCacher.getCachedPresetItem(4, 1, &out));
    EXPECT_TRUE(sameRecord(before, out));
    const std::vector<std::string> expected = {
        "DABListCacher::getCachedPresetItem band=4,index=1",
        "getCachedPresetItem NM=77",
        "getCachedPresetItem band=9",
        "getCachedPresetItem item_index=8",
        "getCachedPresetItem charCode=11",
        "getCachedPresetItem labelAvail=12",
    };
    EXPECT_EQ(expected, listLines());

    // A bad index writes only the entry line, even with a bad band.
    mLog.clear();
    EXPECT_EQ(-1, mCacher.getCachedPresetItem(1, 7, &out));
    EXPECT_EQ(-1, mCacher.getCachedPresetItem(4, 0, &out));
    EXPECT_TRUE(sameRecord(before, out));
    EXPECT_EQ((std::vector<std::string>{"DABListCacher::getCachedPresetItem band=1,index=7",
                                        "DABListCacher::getCachedPresetItem band=4,index=0"}),
              listLines());
}

TEST_F(DABListCacherTest, ListsReplaceByIndexAndTypeEightReadsListOne) {
    COMP_LIST_ITEM first = makeComp(3, 0x1111, "ONE");
    COMP_LIST_ITEM second = makeComp(3, 0x2222, "TWO");
    mCacher.cacheServiceItem(2, &first);
    mCacher.cacheServiceItem(2, &second);
    COMP_LIST_ITEM out;
    ASSERT_EQ(0, mCacher.getCachedServiceItem(2, 3, &out));
    EXPECT_TRUE(sameRecord(second, out));
    COMP_LIST_ITEM untouched = filledWith<COMP_LIST_ITEM>(0x33);
    EXPECT_EQ(1, mCacher.getCachedServiceItem(3, 3, &untouched));  // lists are separate
    EXPECT_EQ(1, mCacher.getCachedServiceItem(2, 2, &untouched));
    EXPECT_TRUE(sameRecord(filledWith<COMP_LIST_ITEM>(0x33), untouched));

    COMP_LIST_ITEM comp = makeComp(5, 0xC0DE, "ABC");
    mCacher.cacheServiceItem(1, &comp);
    ASSERT_EQ(0, mCacher.getCachedServiceItem(8, 5, &out));
    EXPECT_TRUE(sameRecord(comp, out));
    // Types without a list of their own read as not found.
    EXPECT_EQ(1, mCacher.getCachedServiceItem(0, 5, &out));
    EXPECT_EQ(1, mCacher.getCachedServiceItem(7, 5, &out));
    EXPECT_EQ(1, mCacher.getCachedServiceItem(9, 5, &out));

    // Caching with type 8 sets the type but stores nothing.
    comp = makeComp(4, 0xAAAA, "X");
    mCacher.cacheServiceItem(8, &comp);
    int type = 0;
    ASSERT_EQ(0, mCacher.getCurrentCachedServiceItemType(&type));
    EXPECT_EQ(8, type);
    EXPECT_EQ(1, mCacher.getCachedServiceItem(1, 4, &out));
    EXPECT_EQ(1, mCacher.getCachedServiceItem(8, 4, &out));

    // The ensemble list looks up by exact key and replaces.
    ENSEMBLE_LIST_ITEM ens = filledWith<ENSEMBLE_LIST_ITEM>(0x44);
    EXPECT_EQ(1, mCacher.getCachedEnsembleItem(3, &ens));
    EXPECT_TRUE(sameRecord(filledWith<ENSEMBLE_LIST_ITEM>(0x44), ens));
    const ENSEMBLE_LIST_ITEM ensembles[] = {makeEnsemble(3, 0x1001, "ENS A"), makeEnsemble(1, 0x1003, "ENS C"),
                                            makeEnsemble(3, 0x1002, "ENS B")};
    for (const ENSEMBLE_LIST_ITEM& e : ensembles) mCacher.cacheEnsembleItem(&e);
    ASSERT_EQ(0, mCacher.getCachedEnsembleItem(3, &ens));
    EXPECT_TRUE(sameRecord(ensembles[2], ens));
    ASSERT_EQ(0, mCacher.getCachedEnsembleItem(1, &ens));
    EXPECT_TRUE(sameRecord(ensembles[1], ens));
    EXPECT_EQ(1, mCacher.getCachedEnsembleItem(2, &ens));
}

// A fresh cache counts 0 and has no type; type 0 is refused.
TEST_F(DABListCacherTest, TypeZeroIsRefusedAndClearsEmptyTheirListsOnlyAndLeaveCurrentType) {
    EXPECT_EQ(0, mCacher.getServiceListCount());

    int type = 42;
    EXPECT_EQ(1, mCacher.getCurrentCachedServiceItemType(&type));
    EXPECT_EQ(42, type);
    EXPECT_EQ(0, mCacher.setCurrentCachedServiceItemType(7));
    EXPECT_EQ(-1, mCacher.setCurrentCachedServiceItemType(0));
    ASSERT_EQ(0, mCacher.getCurrentCachedServiceItemType(&type));
    EXPECT_EQ(7, type);

    PRESET_LIST_ITEM preset = makePreset(3, 3, 30, "P");
    ASSERT_EQ(0, mCacher.cachePresetItem(3, &preset));
    ENSEMBLE_LIST_ITEM ens = makeEnsemble(2, 0x1001, "E");
    mCacher.cacheEnsembleItem(&ens);
    COMP_LIST_ITEM comp = makeComp(1, 0x2001, "C");
    for (int type = 1; type <= 6; ++type) mCacher.cacheServiceItem(type, &comp);
    mCacher.setServiceListCount(4);
    COMP_LIST_ITEM compOut;
    ENSEMBLE_LIST_ITEM ensOut;
    PRESET_LIST_ITEM presetOut;

    mLog.clear();
    mCacher.clearServiceListCache();  // keeps the ensemble list the client chose from
    EXPECT_TRUE(listLines().empty());
    EXPECT_EQ(0, mCacher.getServiceListCount());
    for (int t = 1; t <= 6; ++t) EXPECT_EQ(1, mCacher.getCachedServiceItem(t, 1, &compOut)) << t;
    ASSERT_EQ(0, mCacher.getCachedEnsembleItem(2, &ensOut));
    EXPECT_TRUE(sameRecord(ens, ensOut));

    mCacher.cacheServiceItem(6, &comp);
    mCacher.setServiceListCount(4);
    mLog.clear();
    mCacher.clearForAllCache();
    EXPECT_EQ(std::vector<std::string>{"DABListCacher::clearForAllCache"}, listLines());
    EXPECT_EQ(0, mCacher.getServiceListCount());
    EXPECT_EQ(1, mCacher.getCachedServiceItem(6, 1, &compOut));
    EXPECT_EQ(1, mCacher.getCachedEnsembleItem(2, &ensOut));
    ASSERT_EQ(0, mCacher.getCachedPresetItem(3, 3, &presetOut));
    EXPECT_TRUE(sameRecord(preset, presetOut));
    ASSERT_EQ(0, mCacher.getCurrentCachedServiceItemType(&type));
    EXPECT_EQ(6, type);

    mCacher.cacheServiceItem(1, &comp);
    mLog.clear();
    mCacher.clearPresetListCache();
    EXPECT_EQ(std::vector<std::string>{"DABListCacher::clearPresetListCache"}, listLines());
    ASSERT_EQ(0, mCacher.getCachedPresetItem(3, 3, &presetOut));
    EXPECT_TRUE(sameRecord(filledWith<PRESET_LIST_ITEM>(0), presetOut));
    EXPECT_EQ(0, mCacher.getCachedServiceItem(1, 1, &compOut));
}

TEST_F(DABListCacherTest, EntryLinesPrintWholeUnterminatedLabels) {
    PRESET_LIST_ITEM preset = makePreset(2, 1, 30, "");
    memcpy(preset.label, "ABCDEFGHIJKLMNOP", 16);  // no terminator inside the record
    COMP_LIST_ITEM comp = makeComp(2, 0x2001, "Radio One");
    ENSEMBLE_LIST_ITEM ens = makeEnsemble(1, 0x1001, "Mux North");
    COMP_LIST_ITEM compOut;
    ENSEMBLE_LIST_ITEM ensOut;
    int type = 0;
    mLog.clear();

    mCacher.cachePresetItem(2, &preset);
    mCacher.cacheServiceItem(4, &comp);
    mCacher.getCachedServiceItem(8, 2, &compOut);
    mCacher.cacheEnsembleItem(&ens);
    mCacher.getCachedEnsembleItem(1, &ensOut);
    mCacher.setCurrentCachedServiceItemType(2);
    mCacher.getCurrentCachedServiceItemType(&type);
    mCacher.setServiceListCount(17);
    mCacher.getServiceListCount();

    const std::vector<std::string> expected = {
        "DABListCacher::cachePresetItem band=2,title=ABCDEFGHIJKLMNOP",
        "DABListCacher::cacheServiceItem type=4,title=Radio One",
        "DABListCacher::getCachedServiceItem type=8,index=2",
        "DABListCacher::cacheEnsembleItem title=Mux North",
        "DABListCacher::getCachedEnsembleItem index=1",
        "DABListCacher::setCurrentCachedServiceItemType type=2",
        "DABListCacher::getCurrentCachedServiceItemType",
        "DABListCacher::setServiceListCount iListItemCount=17",
    };
    EXPECT_EQ(expected, listLines());
    const std::vector<HostLog::Line> lines = mLog.lines();
    ASSERT_EQ(expected.size(), lines.size());
    EXPECT_EQ(3, lines[0].priority);
    EXPECT_EQ(0x10002, lines[0].tagId);
    EXPECT_EQ(17, mCacher.getServiceListCount());
}

// The notification thread caches while a binder thread clears and reads. Every record written
// has all its fields derived from one value, so a torn copy shows as mixed values.
PRESET_LIST_ITEM uniformPreset(int band, int index, uint8_t v) {
    PRESET_LIST_ITEM item = {{}, band, index, v, v, v};
    memset(item.label, v, sizeof(item.label));
    return item;
}

COMP_LIST_ITEM uniformComp(int index, uint8_t v) {
    COMP_LIST_ITEM item = {{}, index, v, v, v, v, v};
    memset(item.label, v, sizeof(item.label));
    return item;
}

TEST(DABListCacherConcurrencyTest, ReadsNeverSeeTornRecordsWhileWriterAndClearerRace) {
    // Keeps the trace off stderr without storing it.
    struct QuietLog {
        QuietLog() : previous(HostLog::setSink([](const HostLog::Line&) {})) {}
        ~QuietLog() { HostLog::setSink(std::move(previous)); }
        HostLog::Sink previous;
    } quiet;
    DABListCacher cacher;
    constexpr int kRounds = 20000;
    constexpr int kMinRounds = 500;
    std::atomic<int> threadsReady{0};
    std::atomic<bool> writerDone{false};
    std::atomic<int> badReads{0};
    auto startTogether = [&] {
        ++threadsReady;
        while (threadsReady < 3) std::this_thread::yield();
    };

    std::thread writer([&] {
        startTogether();
        for (int round = 0; round < kRounds; ++round) {
            const uint8_t v = static_cast<uint8_t>(1 + round % 250);
            const int band = 1 + round % 3;
            const int index = 1 + round % 2;
            PRESET_LIST_ITEM preset = uniformPreset(band, index, v);
            cacher.cachePresetItem(band, &preset);
            COMP_LIST_ITEM comp = uniformComp(index, v);
            cacher.cacheServiceItem(1 + round % 6, &comp);
            cacher.setServiceListCount(v);
        }
        writerDone = true;
    });
    std::thread reader([&] {
        startTogether();
        for (int round = 0; !writerDone || round < kMinRounds; ++round) {
            const int band = 1 + round % 3;
            const int index = 1 + round % 2;
            PRESET_LIST_ITEM p;
            if (cacher.getCachedPresetItem(band, index, &p) != 0) ++badReads;
            const bool cleared = sameRecord(filledWith<PRESET_LIST_ITEM>(0), p);
            if (!cleared && !sameRecord(uniformPreset(band, index, p.NM & 0xFF), p)) ++badReads;
            for (int type : {1, 2, 3, 4, 5, 6, 8}) {
                COMP_LIST_ITEM c;
                if (cacher.getCachedServiceItem(type, index, &c) == 0 &&
                    !sameRecord(uniformComp(index, c.NM), c)) {
                    ++badReads;
                }
            }
            const int count = cacher.getServiceListCount();
            if (count < 0 || count > 250) ++badReads;
        }
    });
    std::thread clearer([&] {
        startTogether();
        for (int round = 0; !writerDone || round < kMinRounds; ++round) {
            cacher.clearPresetListCache();
            if (round % 3 == 0) cacher.clearForAllCache();
            if (round % 5 == 0) cacher.clearServiceListCache();
        }
    });
    writer.join();
    reader.join();
    clearer.join();
    EXPECT_EQ(0, badReads.load());
}

}  // namespace
