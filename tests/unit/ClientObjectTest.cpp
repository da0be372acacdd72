#include "DABSourceController.h"
#include "DABTASourceController.h"
#include "PlayerOperationList.h"
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
    static std::string str(int i) { return std::to_string(i); }

// Each records "name(args)", writes a mark into its outputs and returns a result of its own.
#define REC0(name)                     \
    int name() override {              \
        calls.push_back(#name "()");   \
        return 100;                    \
    }
#define REC1(name)                                    \
    int name(int a) override {                        \
        calls.push_back(#name "(" + str(a) + ")");    \
        return 101;                                   \
    }
#define REC2(name)                                                    \
    int name(int a, int b) override {                                 \
        calls.push_back(#name "(" + str(a) + "," + str(b) + ")");     \
        return 102;                                                   \
    }
#define RECP(name, T)                  \
    int name(T* p) override {          \
        calls.push_back(#name "(ptr)"); \
        if (p) *p = T();               \
        return 103;                    \
    }
#define RECPI(name) RECP(name, int)
#define RECPC(name) RECP(name, char)
#define RECLABEL(name)                       \
    int name(char* l, int* c) override {     \
        calls.push_back(#name "(ptr,ptr)");  \
        if (l) l[0] = 'L';                   \
        if (c) *c = 5;                       \
        return 104;                          \
    }
#define RECITEM(name)                                         \
    int name(int i, char* l, int* c) override {               \
        calls.push_back(#name "(" + str(i) + ",ptr,ptr)");    \
        if (l) l[0] = 'I';                                    \
        if (c) *c = 10;                                       \
        return 105;                                           \
    }
#define RECDYNAMIC(name)                          \
    int name(char* t, int* c, int* l) override {  \
        calls.push_back(#name "(ptr,ptr,ptr)");   \
        if (t) t[0] = 'D';                        \
        if (c) *c = 4;                            \
        if (l) *l = 1;                            \
        return 106;                               \
    }
#define RECPRESET(name)                                                        \
    int name(int b, int i, char* l, int* c, int* a) override {                 \
        calls.push_back(#name "(" + str(b) + "," + str(i) + ",ptr,ptr,ptr)");  \
        if (l) l[0] = 'P';                                                     \
        if (c) *c = 5;                                                         \
        if (a) *a = 1;                                                         \
        return 107;                                                            \
    }
    PLAYER_OPERATIONS(REC0, REC1, REC2, RECPI, RECPC, RECLABEL, RECITEM, RECDYNAMIC, RECPRESET)
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
#define CALL0(n) {[&] { return p->n(); }, 100, #n "()"},
#define CALL1(n) {[&] { return p->n(3); }, 101, #n "(3)"},
#define CALL2(n) {[&] { return p->n(2, 4); }, 102, #n "(2,4)"},
#define CALLPI(n) {[&] { return p->n(&v); }, 103, #n "(ptr)"},
#define CALLPC(n) {[&] { return p->n(label); }, 103, #n "(ptr)"},
#define CALLLABEL(n) {[&] { return p->n(label, &code); }, 104, #n "(ptr,ptr)"},
#define CALLITEM(n) {[&] { return p->n(6, label, &code); }, 105, #n "(6,ptr,ptr)"},
#define CALLDYNAMIC(n) {[&] { return p->n(text, &code, &len); }, 106, #n "(ptr,ptr,ptr)"},
#define CALLPRESET(n) \
    {[&] { return p->n(2, 5, label, &code, &avail); }, 107, #n "(2,5,ptr,ptr,ptr)"},
    std::vector<Case> cases = {PLAYER_OPERATIONS(CALL0, CALL1, CALL2, CALLPI, CALLPC, CALLLABEL,
                                                 CALLITEM, CALLDYNAMIC, CALLPRESET)};
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

// A listener set during the source-on delay learns the busy state alone; a null listener
// silences notifications while queries still work.
TEST_F(ClientObjectTest, ListenerReplacementLearnsTheBusyStateAloneAndNullSilences) {
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

    other->clear();
    EXPECT_EQ(0, b->setClientListener(nullptr));
    peer().isInSourceOnDelay() = DAB_SERVER_IS_NOT_IN_PRESET_UPDOWN;
    mLog->clear();
    mService->exeNotify(1, 3, 0, nullptr);
    EXPECT_TRUE(other->notes().empty());
    EXPECT_EQ(2, mLog->count("DABPlayerService::DABPlayer::notify id = 1")) << "both objects";
    int v = 0;
    EXPECT_EQ(-1, b->getBand(&v));  // answered by the (inactive) service
}

}  // namespace
