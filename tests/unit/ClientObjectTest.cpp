#include "DABSourceController.h"
#include "DABTASourceController.h"
#include "ServiceFixture.h"

#include <gmock/gmock.h>

#include <cstring>
#include <string>

using namespace android;
using ::testing::ElementsAre;

namespace {

// A service whose client-visible operations record their name and arguments instead of
// working, so that each forwarding slot can be checked.
class RecordingService : public DABPlayerService {
public:
    RecordingService() : DABPlayerService(nullptr, nullptr) {}
    std::vector<std::string> calls;

    std::string last() const { return calls.empty() ? "" : calls.back(); }

#define REC0(name) \
    int name() override { calls.push_back(#name "()"); return 100; }
#define REC1(name) \
    int name(int a) override { calls.push_back(#name "(" + std::to_string(a) + ")"); return 101; }
#define REC2(name) \
    int name(int a, int b) override { calls.push_back(#name "(" + std::to_string(a) + "," + std::to_string(b) + ")"); return 102; }
#define RECP(name, T) \
    int name(T* p) override { calls.push_back(#name "(ptr)"); if (p) *p = T(); return 103; }
#define RECLABEL(name) \
    int name(char* l, int* c) override { calls.push_back(#name "(ptr,ptr)"); if (l) l[0] = 'L'; if (c) *c = 5; return 104; }
#define RECITEM(name) \
    int name(int i, char* l, int* c) override { calls.push_back(#name "(" + std::to_string(i) + ",ptr,ptr)"); if (l) l[0] = 'I'; if (c) *c = 10; return 105; }

    REC0(manualUp) REC0(manualDown) REC0(presetSeekUp) REC0(presetSeekDown) REC0(switchBand)
    REC1(recall) REC2(presetListRecall) REC0(presetUpRecall) REC0(presetDownRecall)
    REC1(serviceListRecall) REC1(ptyNewsinfoListRecall) REC1(ptyPopularListRecall)
    REC1(ptyClassicsListRecall) REC1(ptyOthersListRecall) REC1(ensembleListRecall) REC1(memory)
    REC2(presetListMemory) REC1(requestPresetList) REC0(timeShiftPlay) REC0(timeShiftPause)
    REC1(timeSeek) REC0(requestDynamicText) REC0(requestServiceListUpdate)
    REC0(cancelServiceListUpdate) REC0(requestServiceCompList) REC0(requestEnsembleList)
    REC1(requestPTYSecondList) REC1(requestEnsembleSecondList) REC1(abcSearch)
    REC0(abcSearchCancel) RECP(getBand, int) RECP(getPresetNum, int) RECP(getFrequence, int)
    RECP(getFreqString, char) RECP(getBlockId, char) RECP(getSignalLevel, int)
    RECP(getFmLink, int) RECP(getBitPerSecond, int) RECP(getPtyType, int)
    RECLABEL(getEnsembleLabel) RECLABEL(getServiceLabel) RECLABEL(getCompLabel)
    RECP(getCompTotal, int) RECP(getCompNum, int) RECP(getPlaybackStatus, int)
    RECP(getTotalTime, int) RECP(getCacheTime, int) RECP(getPauseTime, int)
    RECITEM(getServiceListItem) RECITEM(getPtyPopularListItem) RECITEM(getPtyClassicsListItem)
    RECITEM(getPtyNewsinfoListItem) RECITEM(getPtyOthersListItem)
    RECITEM(getEnsembleCompListItem) RECITEM(getEnsembleListItem) RECP(getLogicMode, int)
    RECP(getError, int) RECP(getRealError, int) RECP(getNm, int) RECP(getDisplayFormat, int)
    RECP(getAntStatus, int) REC0(toNormalView) REC0(toLive) REC0(timeShift) REC0(abcSearchOn)
    REC0(abcSearchOff) REC0(setDisplayFormat)

    int getDynamicText(char* t, int* c, int* l) override {
        calls.push_back("getDynamicText(ptr,ptr,ptr)");
        if (t) t[0] = 'D';
        if (c) *c = 4;
        if (l) *l = 1;
        return 106;
    }
    int getPresetListItem(int b, int i, char* l, int* c, int* a) override {
        calls.push_back("getPresetListItem(" + std::to_string(b) + "," + std::to_string(i) + ",ptr,ptr,ptr)");
        if (l) l[0] = 'P';
        if (c) *c = 5;
        if (a) *a = 1;
        return 107;
    }
#undef REC0
#undef REC1
#undef REC2
#undef RECP
#undef RECLABEL
#undef RECITEM
};

class ClientObjectTest : public ServiceFixture {};

TEST_F(ClientObjectTest, EveryOperationReachesTheServiceOperationOfTheSameName) {
    sp<RecordingService> rec = new RecordingService();
    sp<FakeClient> cb = new FakeClient();
    sp<IDABPlayer> p = rec->createClient(7, cb);
    int v = 0;
    char label[16] = {};
    char text[128] = {};
    int code = 0, len = 0, avail = 0;

    struct Case {
        std::function<int()> call;
        int result;
        const char* recorded;
    };
    std::vector<Case> cases = {
        {[&] { return p->manualUp(); }, 100, "manualUp()"},
        {[&] { return p->manualDown(); }, 100, "manualDown()"},
        {[&] { return p->presetSeekUp(); }, 100, "presetSeekUp()"},
        {[&] { return p->presetSeekDown(); }, 100, "presetSeekDown()"},
        {[&] { return p->switchBand(); }, 100, "switchBand()"},
        {[&] { return p->recall(3); }, 101, "recall(3)"},
        {[&] { return p->presetListRecall(2, 4); }, 102, "presetListRecall(2,4)"},
        {[&] { return p->presetUpRecall(); }, 100, "presetUpRecall()"},
        {[&] { return p->presetDownRecall(); }, 100, "presetDownRecall()"},
        {[&] { return p->serviceListRecall(9); }, 101, "serviceListRecall(9)"},
        {[&] { return p->ptyNewsinfoListRecall(1); }, 101, "ptyNewsinfoListRecall(1)"},
        {[&] { return p->ptyPopularListRecall(2); }, 101, "ptyPopularListRecall(2)"},
        {[&] { return p->ptyClassicsListRecall(3); }, 101, "ptyClassicsListRecall(3)"},
        {[&] { return p->ptyOthersListRecall(4); }, 101, "ptyOthersListRecall(4)"},
        {[&] { return p->ensembleListRecall(5); }, 101, "ensembleListRecall(5)"},
        {[&] { return p->memory(2); }, 101, "memory(2)"},
        {[&] { return p->presetListMemory(3, 5); }, 102, "presetListMemory(3,5)"},
        {[&] { return p->requestPresetList(1); }, 101, "requestPresetList(1)"},
        {[&] { return p->timeShiftPlay(); }, 100, "timeShiftPlay()"},
        {[&] { return p->timeShiftPause(); }, 100, "timeShiftPause()"},
        {[&] { return p->timeSeek(300); }, 101, "timeSeek(300)"},
        {[&] { return p->requestDynamicText(); }, 100, "requestDynamicText()"},
        {[&] { return p->requestServiceListUpdate(); }, 100, "requestServiceListUpdate()"},
        {[&] { return p->cancelServiceListUpdate(); }, 100, "cancelServiceListUpdate()"},
        {[&] { return p->requestServiceCompList(); }, 100, "requestServiceCompList()"},
        {[&] { return p->requestEnsembleList(); }, 100, "requestEnsembleList()"},
        {[&] { return p->requestPTYSecondList(2); }, 101, "requestPTYSecondList(2)"},
        {[&] { return p->requestEnsembleSecondList(6); }, 101, "requestEnsembleSecondList(6)"},
        {[&] { return p->abcSearch(26); }, 101, "abcSearch(26)"},
        {[&] { return p->abcSearchCancel(); }, 100, "abcSearchCancel()"},
        {[&] { return p->getBand(&v); }, 103, "getBand(ptr)"},
        {[&] { return p->getPresetNum(&v); }, 103, "getPresetNum(ptr)"},
        {[&] { return p->getFrequence(&v); }, 103, "getFrequence(ptr)"},
        {[&] { return p->getFreqString(label); }, 103, "getFreqString(ptr)"},
        {[&] { return p->getBlockId(label); }, 103, "getBlockId(ptr)"},
        {[&] { return p->getSignalLevel(&v); }, 103, "getSignalLevel(ptr)"},
        {[&] { return p->getFmLink(&v); }, 103, "getFmLink(ptr)"},
        {[&] { return p->getBitPerSecond(&v); }, 103, "getBitPerSecond(ptr)"},
        {[&] { return p->getPtyType(&v); }, 103, "getPtyType(ptr)"},
        {[&] { return p->getEnsembleLabel(label, &code); }, 104, "getEnsembleLabel(ptr,ptr)"},
        {[&] { return p->getServiceLabel(label, &code); }, 104, "getServiceLabel(ptr,ptr)"},
        {[&] { return p->getCompLabel(label, &code); }, 104, "getCompLabel(ptr,ptr)"},
        {[&] { return p->getCompTotal(&v); }, 103, "getCompTotal(ptr)"},
        {[&] { return p->getCompNum(&v); }, 103, "getCompNum(ptr)"},
        {[&] { return p->getPlaybackStatus(&v); }, 103, "getPlaybackStatus(ptr)"},
        {[&] { return p->getTotalTime(&v); }, 103, "getTotalTime(ptr)"},
        {[&] { return p->getCacheTime(&v); }, 103, "getCacheTime(ptr)"},
        {[&] { return p->getPauseTime(&v); }, 103, "getPauseTime(ptr)"},
        {[&] { return p->getDynamicText(text, &code, &len); }, 106, "getDynamicText(ptr,ptr,ptr)"},
        {[&] { return p->getServiceListItem(1, label, &code); }, 105, "getServiceListItem(1,ptr,ptr)"},
        {[&] { return p->getPtyPopularListItem(2, label, &code); }, 105, "getPtyPopularListItem(2,ptr,ptr)"},
        {[&] { return p->getPtyClassicsListItem(3, label, &code); }, 105, "getPtyClassicsListItem(3,ptr,ptr)"},
        {[&] { return p->getPtyNewsinfoListItem(4, label, &code); }, 105, "getPtyNewsinfoListItem(4,ptr,ptr)"},
        {[&] { return p->getPtyOthersListItem(5, label, &code); }, 105, "getPtyOthersListItem(5,ptr,ptr)"},
        {[&] { return p->getEnsembleCompListItem(6, label, &code); }, 105, "getEnsembleCompListItem(6,ptr,ptr)"},
        {[&] { return p->getEnsembleListItem(7, label, &code); }, 105, "getEnsembleListItem(7,ptr,ptr)"},
        {[&] { return p->getPresetListItem(2, 5, label, &code, &avail); }, 107, "getPresetListItem(2,5,ptr,ptr,ptr)"},
        {[&] { return p->getLogicMode(&v); }, 103, "getLogicMode(ptr)"},
        {[&] { return p->getError(&v); }, 103, "getError(ptr)"},
        {[&] { return p->getRealError(&v); }, 103, "getRealError(ptr)"},
        {[&] { return p->getNm(&v); }, 103, "getNm(ptr)"},
        {[&] { return p->getDisplayFormat(&v); }, 103, "getDisplayFormat(ptr)"},
        {[&] { return p->getAntStatus(&v); }, 103, "getAntStatus(ptr)"},
        {[&] { return p->toNormalView(); }, 100, "toNormalView()"},
        {[&] { return p->toLive(); }, 100, "toLive()"},
        {[&] { return p->timeShift(); }, 100, "timeShift()"},
        {[&] { return p->abcSearchOn(); }, 100, "abcSearchOn()"},
        {[&] { return p->abcSearchOff(); }, 100, "abcSearchOff()"},
        {[&] { return p->setDisplayFormat(); }, 100, "setDisplayFormat()"},
    };
    ASSERT_EQ(69u, cases.size());
    for (const Case& c : cases) {
        EXPECT_EQ(c.result, c.call()) << c.recorded;
        EXPECT_EQ(c.recorded, rec->last());
        std::string name(c.recorded, strchr(c.recorded, '(') - c.recorded);
        EXPECT_TRUE(mLog->contains("DABPlayer " + name)) << name;
    }
    EXPECT_EQ(69u, rec->calls.size());
    EXPECT_EQ('P', label[0]);
    EXPECT_EQ(1, avail);
    p.clear();
}

TEST_F(ClientObjectTest, WithoutServiceEveryOperationAnswersZeroAndLeavesOutputsUntouched) {
    sp<FakeClient> cb = new FakeClient();
    sp<DABPlayerService::DABPlayer> p = new DABPlayerService::DABPlayer(nullptr, 1, cb, 2);
    int band = 77;
    EXPECT_EQ(0, p->getBand(&band));
    EXPECT_EQ(77, band);
    char label[16];
    memset(label, 'x', sizeof(label));
    int code = 9;
    EXPECT_EQ(0, p->getServiceLabel(label, &code));
    EXPECT_EQ('x', label[0]);
    EXPECT_EQ(9, code);
    EXPECT_EQ(0, p->manualUp());

    std::vector<std::string> reports;
    for (const HostLog::Line& l : mLog->lines()) {
        if (l.priority == 6 && l.tagId == static_cast<int>(0x80000001u)) reports.push_back(l.message);
    }
    ASSERT_EQ(3u, reports.size());
    EXPECT_NE(std::string::npos, reports[0].find("][0x20300003][in DABPlayer::getBand mService == NULL]\r\n"));
    EXPECT_NE(std::string::npos, reports[1].find("[in DABPlayer::getServiceLabel mService == NULL]"));
    EXPECT_NE(std::string::npos, reports[2].find("[in DABPlayer::manualUp mService == NULL]"));
}

TEST_F(ClientObjectTest, ListenerSetDuringSourceOnDelayLearnsTheBusyStateAlone) {
    sp<FakeClient> first, other;
    sp<IDABPlayer> a = connect(&first);
    sp<IDABPlayer> b = connect(&other);
    peer().isInSourceOnDelay() = DAB_SERVER_IS_IN_PRESET_UPDOWN;
    sp<FakeClient> replacement = new FakeClient();
    EXPECT_EQ(0, a->setClientListener(replacement));
    EXPECT_THAT(replacement->summary(), ElementsAre("39:17:0"));
    EXPECT_TRUE(first->notes().empty());
    EXPECT_TRUE(other->notes().empty());

    mService->exeNotify(1, 2, 0, nullptr);
    EXPECT_TRUE(first->notes().empty());
    EXPECT_THAT(replacement->summary(), ElementsAre("39:17:0", "1:2:0"));
    peer().isInSourceOnDelay() = DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN;
}

TEST_F(ClientObjectTest, NullListenerSilencesNotificationsButQueriesStillWork) {
    sp<FakeClient> cb;
    sp<IDABPlayer> a = connect(&cb);
    peer().isInSourceOnDelay() = DAB_SERVER_IS_IN_PRESET_UPDOWN;
    EXPECT_EQ(0, a->setClientListener(nullptr));
    peer().isInSourceOnDelay() = DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN;
    mService->exeNotify(1, 2, 0, nullptr);
    EXPECT_TRUE(cb->notes().empty());
    EXPECT_TRUE(mLog->contains("DABPlayerService::DABPlayer::notify id = 1"));
    int v = 0;
    EXPECT_EQ(-1, a->getBand(&v));  // answered by the (inactive) service
}

}  // namespace
