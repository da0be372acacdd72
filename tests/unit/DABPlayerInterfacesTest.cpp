#include <dabplayer/IDABPlayer.h>
#include <dabplayer/IDABPlayerClient.h>
#include <dabplayer/IDABPlayerService.h>

#include <gtest/gtest.h>

#include <string.h>

#include <functional>
#include <string>
#include <vector>

using namespace android;

namespace {

// Stands for a binder of another process: forwards every transaction to the real object but is
// not recognised as local, so interface_cast hands out the proxy. Remembers the last request.
class RemoteBinder : public IBinder {
public:
    explicit RemoteBinder(const sp<IBinder>& target) : mTarget(target) {}

    const String16& getInterfaceDescriptor() const override {
        return mTarget->getInterfaceDescriptor();
    }
    bool isBinderAlive() const override { return true; }
    status_t pingBinder() override { return NO_ERROR; }
    status_t dump(int, const Vector<String16>&) override { return NO_ERROR; }
    status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        lastCode = code;
        lastFlags = flags;
        lastRequest.assign(data.data(), data.data() + data.dataSize());
        status_t err = mTarget->transact(code, data, reply, flags);
        if (reply != nullptr && reply->dataSize() > replyLimit) {
            std::vector<uint8_t> kept(reply->data(), reply->data() + replyLimit);
            reply->setData(kept.data(), kept.size());
        }
        return err;
    }
    status_t linkToDeath(const sp<DeathRecipient>&, void*, uint32_t) override {
        return INVALID_OPERATION;
    }
    status_t unlinkToDeath(const wp<DeathRecipient>&, void*, uint32_t,
                           wp<DeathRecipient>*) override {
        return INVALID_OPERATION;
    }

    uint32_t lastCode = 0;
    uint32_t lastFlags = 0;
    std::vector<uint8_t> lastRequest;
    size_t replyLimit = SIZE_MAX;  // replies are cut to this many bytes

private:
    sp<IBinder> mTarget;
};

// What the service writes: derived from the code, so that an output in the wrong slot or of
// the wrong operation shows. Text bytes are never zero: a label need not end in one.
std::string textFor(uint32_t code, size_t size) {
    std::string text(size, '\0');
    for (size_t i = 0; i < size; ++i) text[i] = static_cast<char>((code * 31 + i * 7) % 250 + 1);
    return text;
}
int outFor(uint32_t code, int slot) { return static_cast<int>(code) * 1000 + slot * 10 + 7; }
int statusFor(uint32_t code) { return code % 2 != 0 ? -1 : static_cast<int>(code); }

// What one operation received: inputs, and for each output whether it came and its content.
struct Received {
    uint32_t code = 0;
    std::vector<int> ints;
    bool textPresent = false;
    std::string textOnArrival;
    std::vector<bool> outPresent;
    std::vector<int> outOnArrival;
};

#define NO_ARGS(n, c) int n() override { return record(c); }
#define ONE_INT(n, c) int n(int a) override { return record(c, {a}); }
#define TWO_INTS(n, c) int n(int a, int b) override { return record(c, {a, b}); }
#define INT_OUT(n, c) int n(int* o) override { return record(c, {}, nullptr, {o}); }
#define TEXT_OUT(n, c) int n(char* t) override { return record(c, {}, t); }
#define LABEL_OUT(n, c) int n(char* t, int* o) override { return record(c, {}, t, {o}); }
#define LIST_ITEM(n, c) int n(int a, char* t, int* o) override { return record(c, {a}, t, {o}); }
class FakePlayer : public BnDABPlayer {
public:
    NO_ARGS(manualUp, MANUAL_UP) NO_ARGS(manualDown, MANUAL_DOWN)
    NO_ARGS(presetSeekUp, PRESET_SEEK_UP) NO_ARGS(presetSeekDown, PRESET_SEEK_DOWN)
    NO_ARGS(switchBand, SWITCH_BAND) ONE_INT(recall, RECALL)
    TWO_INTS(presetListRecall, PRESET_LIST_RECALL) NO_ARGS(presetUpRecall, PRESET_UP_RECALL)
    NO_ARGS(presetDownRecall, PRESET_DOWN_RECALL) ONE_INT(serviceListRecall, SERVICE_LIST_RECALL)
    ONE_INT(ptyNewsinfoListRecall, PTY_NEWSINFO_LIST_RECALL)
    ONE_INT(ptyPopularListRecall, PTY_POPULAR_LIST_RECALL)
    ONE_INT(ptyClassicsListRecall, PTY_CLASSICS_LIST_RECALL)
    ONE_INT(ptyOthersListRecall, PTY_OTHERS_LIST_RECALL)
    ONE_INT(ensembleListRecall, ENSEMBLE_LIST_RECALL) ONE_INT(memory, MEMORY)
    TWO_INTS(presetListMemory, PRESET_LIST_MEMORY) ONE_INT(requestPresetList, REQUEST_PRESET_LIST)
    NO_ARGS(timeShiftPlay, TIME_SHIFT_PLAY) NO_ARGS(timeShiftPause, TIME_SHIFT_PAUSE)
    ONE_INT(timeSeek, TIME_SEEK) NO_ARGS(requestDynamicText, REQUEST_DYNAMIC_TEXT)
    NO_ARGS(requestServiceListUpdate, REQUEST_SERVICE_LIST_UPDATE)
    NO_ARGS(cancelServiceListUpdate, CANCEL_SERVICE_LIST_UPDATE)
    NO_ARGS(requestServiceCompList, REQUEST_SERVICE_COMP_LIST)
    NO_ARGS(requestEnsembleList, REQUEST_ENSEMBLE_LIST)
    ONE_INT(requestPTYSecondList, REQUEST_PTY_SECOND_LIST)
    ONE_INT(requestEnsembleSecondList, REQUEST_ENSEMBLE_SECOND_LIST) ONE_INT(abcSearch, ABC_SEARCH)
    NO_ARGS(abcSearchCancel, ABC_SEARCH_CANCEL) INT_OUT(getBand, GET_BAND)
    INT_OUT(getPresetNum, GET_PRESET_NUM) INT_OUT(getFrequence, GET_FREQUENCE)
    TEXT_OUT(getFreqString, GET_FREQ_STRING) TEXT_OUT(getBlockId, GET_BLOCK_ID)
    INT_OUT(getSignalLevel, GET_SIGNAL_LEVEL) INT_OUT(getFmLink, GET_FM_LINK)
    INT_OUT(getBitPerSecond, GET_BIT_PER_SECOND) INT_OUT(getPtyType, GET_PTY_TYPE)
    LABEL_OUT(getEnsembleLabel, GET_ENSEMBLE_LABEL) LABEL_OUT(getServiceLabel, GET_SERVICE_LABEL)
    LABEL_OUT(getCompLabel, GET_COMP_LABEL) INT_OUT(getCompTotal, GET_COMP_TOTAL)
    INT_OUT(getCompNum, GET_COMP_NUM) INT_OUT(getPlaybackStatus, GET_PLAYBACK_STATUS)
    INT_OUT(getTotalTime, GET_TOTAL_TIME) INT_OUT(getCacheTime, GET_CACHE_TIME)
    INT_OUT(getPauseTime, GET_PAUSE_TIME)
    int getDynamicText(char* t, int* o1, int* o2) override {
        return record(GET_DYNAMIC_TEXT, {}, t, {o1, o2}, DAB_PLAYER_DYNAMIC_TEXT_SIZE);
    }
    LIST_ITEM(getServiceListItem, GET_SERVICE_LIST_ITEM)
    LIST_ITEM(getPtyPopularListItem, GET_PTY_POPULAR_LIST_ITEM)
    LIST_ITEM(getPtyClassicsListItem, GET_PTY_CLASSICS_LIST_ITEM)
    LIST_ITEM(getPtyNewsinfoListItem, GET_PTY_NEWSINFO_LIST_ITEM)
    LIST_ITEM(getPtyOthersListItem, GET_PTY_OTHERS_LIST_ITEM)
    LIST_ITEM(getEnsembleCompListItem, GET_ENSEMBLE_COMP_LIST_ITEM)
    LIST_ITEM(getEnsembleListItem, GET_ENSEMBLE_LIST_ITEM)
    int getPresetListItem(int a, int b, char* t, int* o1, int* o2) override {
        return record(GET_PRESET_LIST_ITEM, {a, b}, t, {o1, o2});
    }
    INT_OUT(getLogicMode, GET_LOGIC_MODE) INT_OUT(getError, GET_ERROR)
    INT_OUT(getRealError, GET_REAL_ERROR) INT_OUT(getNm, GET_NM)
    INT_OUT(getDisplayFormat, GET_DISPLAY_FORMAT) INT_OUT(getAntStatus, GET_ANT_STATUS)
    NO_ARGS(toNormalView, TO_NORMAL_VIEW) NO_ARGS(toLive, TO_LIVE) NO_ARGS(timeShift, TIME_SHIFT)
    NO_ARGS(abcSearchOn, ABC_SEARCH_ON) NO_ARGS(abcSearchOff, ABC_SEARCH_OFF)
    NO_ARGS(setDisplayFormat, SET_DISPLAY_FORMAT)
    int setClientListener(const sp<IDABPlayerClient>& client) override {
        listener = client;
        ++listenerCalls;
        return 5;
    }

    bool writeOutputs = true;  // false: the service leaves every output alone
    std::vector<Received> calls;
    sp<IDABPlayerClient> listener;
    int listenerCalls = 0;

private:
    int record(uint32_t code, std::vector<int> ints = {}, char* text = nullptr,
               std::vector<int*> outs = {}, size_t textSize = DAB_PLAYER_LABEL_SIZE) {
        Received r;
        r.code = code;
        r.ints = ints;
        r.textPresent = text != nullptr;
        if (text != nullptr) r.textOnArrival.assign(text, textSize);
        for (int* out : outs) {
            r.outPresent.push_back(out != nullptr);
            r.outOnArrival.push_back(out != nullptr ? *out : 0);
        }
        calls.push_back(r);
        if (writeOutputs && text != nullptr) memcpy(text, textFor(code, textSize).data(), textSize);
        for (size_t i = 0; i < outs.size(); ++i) {
            if (writeOutputs && outs[i] != nullptr) *outs[i] = outFor(code, static_cast<int>(i));
        }
        return statusFor(code);
    }
};

// One operation as an application calls it, with its arguments taken from Args by shape.
struct Args {
    int ints[2] = {};
    char* text = nullptr;
    int* outs[2] = {};
};

struct Operation {
    const char* name;
    int ints;
    size_t textSize;
    int outs;
    std::function<int(IDABPlayer&, const Args&)> call;
};

Operation noArgs(const char* n, int (IDABPlayer::*op)()) {
    return {n, 0, 0, 0, [op](IDABPlayer& p, const Args&) { return (p.*op)(); }};
}
Operation oneInt(const char* n, int (IDABPlayer::*op)(int)) {
    return {n, 1, 0, 0, [op](IDABPlayer& p, const Args& a) { return (p.*op)(a.ints[0]); }};
}
Operation twoInts(const char* n, int (IDABPlayer::*op)(int, int)) {
    return {n, 2, 0, 0,
            [op](IDABPlayer& p, const Args& a) { return (p.*op)(a.ints[0], a.ints[1]); }};
}
Operation intOut(const char* n, int (IDABPlayer::*op)(int*)) {
    return {n, 0, 0, 1, [op](IDABPlayer& p, const Args& a) { return (p.*op)(a.outs[0]); }};
}
Operation textOut(const char* n, int (IDABPlayer::*op)(char*)) {
    return {n, 0, DAB_PLAYER_LABEL_SIZE, 0,
            [op](IDABPlayer& p, const Args& a) { return (p.*op)(a.text); }};
}
Operation labelOut(const char* n, int (IDABPlayer::*op)(char*, int*)) {
    return {n, 0, DAB_PLAYER_LABEL_SIZE, 1,
            [op](IDABPlayer& p, const Args& a) { return (p.*op)(a.text, a.outs[0]); }};
}
Operation dynamicText(const char* n, int (IDABPlayer::*op)(char*, int*, int*)) {
    return {n, 0, DAB_PLAYER_DYNAMIC_TEXT_SIZE, 2,
            [op](IDABPlayer& p, const Args& a) { return (p.*op)(a.text, a.outs[0], a.outs[1]); }};
}
Operation listItem(const char* n, int (IDABPlayer::*op)(int, char*, int*)) {
    return {n, 1, DAB_PLAYER_LABEL_SIZE, 1,
            [op](IDABPlayer& p, const Args& a) { return (p.*op)(a.ints[0], a.text, a.outs[0]); }};
}
Operation presetItem(const char* n, int (IDABPlayer::*op)(int, int, char*, int*, int*)) {
    return {n, 2, DAB_PLAYER_LABEL_SIZE, 2, [op](IDABPlayer& p, const Args& a) {
                return (p.*op)(a.ints[0], a.ints[1], a.text, a.outs[0], a.outs[1]);
            }};
}

#define OP(shape, name) shape(#name, &IDABPlayer::name)

// Operations 1 to 69 in interface order: entry i travels as FIRST_CALL_TRANSACTION + i.
const std::vector<Operation>& operations() {
    static const std::vector<Operation> ops = {
        OP(noArgs, manualUp), OP(noArgs, manualDown), OP(noArgs, presetSeekUp),
        OP(noArgs, presetSeekDown), OP(noArgs, switchBand), OP(oneInt, recall),
        OP(twoInts, presetListRecall), OP(noArgs, presetUpRecall), OP(noArgs, presetDownRecall),
        OP(oneInt, serviceListRecall), OP(oneInt, ptyNewsinfoListRecall),
        OP(oneInt, ptyPopularListRecall), OP(oneInt, ptyClassicsListRecall),
        OP(oneInt, ptyOthersListRecall), OP(oneInt, ensembleListRecall), OP(oneInt, memory),
        OP(twoInts, presetListMemory), OP(oneInt, requestPresetList), OP(noArgs, timeShiftPlay),
        OP(noArgs, timeShiftPause), OP(oneInt, timeSeek), OP(noArgs, requestDynamicText),
        OP(noArgs, requestServiceListUpdate), OP(noArgs, cancelServiceListUpdate),
        OP(noArgs, requestServiceCompList), OP(noArgs, requestEnsembleList),
        OP(oneInt, requestPTYSecondList), OP(oneInt, requestEnsembleSecondList),
        OP(oneInt, abcSearch), OP(noArgs, abcSearchCancel), OP(intOut, getBand),
        OP(intOut, getPresetNum), OP(intOut, getFrequence), OP(textOut, getFreqString),
        OP(textOut, getBlockId), OP(intOut, getSignalLevel), OP(intOut, getFmLink),
        OP(intOut, getBitPerSecond), OP(intOut, getPtyType), OP(labelOut, getEnsembleLabel),
        OP(labelOut, getServiceLabel), OP(labelOut, getCompLabel), OP(intOut, getCompTotal),
        OP(intOut, getCompNum), OP(intOut, getPlaybackStatus), OP(intOut, getTotalTime),
        OP(intOut, getCacheTime), OP(intOut, getPauseTime), OP(dynamicText, getDynamicText),
        OP(listItem, getServiceListItem), OP(listItem, getPtyPopularListItem),
        OP(listItem, getPtyClassicsListItem), OP(listItem, getPtyNewsinfoListItem),
        OP(listItem, getPtyOthersListItem), OP(listItem, getEnsembleCompListItem),
        OP(listItem, getEnsembleListItem), OP(presetItem, getPresetListItem),
        OP(intOut, getLogicMode), OP(intOut, getError), OP(intOut, getRealError),
        OP(intOut, getNm), OP(intOut, getDisplayFormat), OP(intOut, getAntStatus),
        OP(noArgs, toNormalView), OP(noArgs, toLive), OP(noArgs, timeShift),
        OP(noArgs, abcSearchOn), OP(noArgs, abcSearchOff), OP(noArgs, setDisplayFormat),
    };
    return ops;
}

uint32_t codeOf(size_t index) {
    return IBinder::FIRST_CALL_TRANSACTION + static_cast<uint32_t>(index);
}

const char kTextBefore = static_cast<char>(0xEE);
const int kOutBefore[2] = {-77, -88};
const size_t kGuard = 8;  // bytes after the text buffer that must never change

// The caller's storage of one call: prefilled so that untouched outputs can be recognised.
struct CallerStorage {
    explicit CallerStorage(size_t index) {
        memset(text, kTextBefore, sizeof(text));
        args.ints[0] = 100 + static_cast<int>(index);
        args.ints[1] = 200 + static_cast<int>(index);
        args.text = text;
        args.outs[0] = &outs[0];
        args.outs[1] = &outs[1];
    }
    std::string textBytes(size_t size) const { return std::string(text, size); }
    bool guardIntact(size_t size) const {
        return std::string(text + size, kGuard) == std::string(kGuard, kTextBefore);
    }

    char text[DAB_PLAYER_DYNAMIC_TEXT_SIZE + kGuard];
    int outs[2] = {kOutBefore[0], kOutBefore[1]};
    Args args;
};

class FakeClient : public BnDABPlayerClient {
public:
    struct Notification {
        int msg, ext1, ext2;
        bool hasParcel;
        size_t parcelSize;
        std::string text;
    };
    void notify(int msg, int ext1, int ext2, const Parcel* obj) override {
        const char* text = obj != nullptr ? obj->readCString() : nullptr;
        received.push_back({msg, ext1, ext2, obj != nullptr, obj != nullptr ? obj->dataSize() : 0,
                            text != nullptr ? text : ""});
    }
    std::vector<Notification> received;
};

class FakeService : public BnDABPlayerService {
public:
    sp<IDABPlayer> createClient(int pid, const sp<IDABPlayerClient>& client) override {
        pids.push_back(pid);
        clients.push_back(client);
        return toReturn;
    }
    std::vector<int> pids;
    std::vector<sp<IDABPlayerClient>> clients;
    sp<IDABPlayer> toReturn;
};

Parcel& withToken(Parcel& p, const String16& descriptor) {
    p.writeInterfaceToken(descriptor);
    return p;
}

class DABPlayerInterfacesTest : public ::testing::Test {
protected:
    void SetUp() override {
        player = new FakePlayer;
        playerRemote = new RemoteBinder(player);
        proxy = interface_cast<IDABPlayer>(playerRemote);
        client = new FakeClient;
        clientRemote = new RemoteBinder(client);
        clientProxy = interface_cast<IDABPlayerClient>(clientRemote);
    }

    void TearDown() override {
        // The proxies and stubs keep no references of their own: everything goes with the test.
        wp<FakePlayer> weakPlayer(player);
        wp<FakeClient> weakClient(client);
        proxy.clear();
        playerRemote.clear();
        player.clear();
        clientProxy.clear();
        clientRemote.clear();
        client.clear();
        EXPECT_EQ(nullptr, weakPlayer.promote());
        EXPECT_EQ(nullptr, weakClient.promote());
    }

    // Replays the given request bytes straight into the player's stub.
    status_t replay(uint32_t code, const std::vector<uint8_t>& bytes, size_t length) {
        Parcel data;
        Parcel reply;
        data.setData(bytes.data(), length);
        return player->transact(code, data, &reply);
    }

    sp<FakePlayer> player;
    sp<RemoteBinder> playerRemote;
    sp<IDABPlayer> proxy;
    sp<FakeClient> client;
    sp<RemoteBinder> clientRemote;
    sp<IDABPlayerClient> clientProxy;
};

TEST_F(DABPlayerInterfacesTest, ProxiesAreHandedOutForBindersOfOtherProcesses) {
    EXPECT_NE(static_cast<IDABPlayer*>(player.get()), proxy.get());
    EXPECT_EQ(playerRemote.get(), IInterface::asBinder(proxy).get());
    EXPECT_EQ(static_cast<IDABPlayer*>(player.get()),
              interface_cast<IDABPlayer>(sp<IBinder>(player)).get());
    EXPECT_EQ(nullptr, interface_cast<IDABPlayer>(nullptr));
    EXPECT_EQ(String16("android.media.IDABPlayer"), IDABPlayer::descriptor);
    EXPECT_EQ(String16("android.media.IDABPlayerClient"), IDABPlayerClient::descriptor);
    EXPECT_EQ(String16("android.media.IDABPlayerService"), IDABPlayerService::descriptor);
    EXPECT_EQ(69u, operations().size());
    EXPECT_EQ(70, IDABPlayer::SET_CLIENT_LISTENER);
}

// Every operation, with all its outputs and with each (and every) output missing: the arguments
// and the present outputs travel, a missing one arrives as null and the caller's storage stays.
TEST_F(DABPlayerInterfacesTest, EveryOperationCarriesItsArgumentsAndThePresentOutputs) {
    enum { kNone = -2, kText = -1, kAll = 2 };  // besides the int outputs 0 and 1
    for (size_t i = 0; i < operations().size(); ++i) {
        const Operation& op = operations()[i];
        const uint32_t code = codeOf(i);
        const bool hasText = op.textSize > 0;
        for (int missing = kNone; missing <= kAll; ++missing) {
            if (missing != kNone && !hasText && op.outs == 0) break;
            if ((missing == kText && !hasText) || (missing >= op.outs && missing != kAll)) continue;
            SCOPED_TRACE(std::string(op.name) + " without " + std::to_string(missing));
            CallerStorage caller(i);
            if (missing == kText || missing == kAll) caller.args.text = nullptr;
            for (int k = 0; k < 2; ++k) {
                if (missing == k || missing == kAll) caller.args.outs[k] = nullptr;
            }
            player->calls.clear();

            EXPECT_EQ(statusFor(code), op.call(*proxy, caller.args));

            EXPECT_EQ(code, playerRemote->lastCode);
            ASSERT_EQ(1u, player->calls.size());
            const Received& got = player->calls[0];
            EXPECT_EQ(code, got.code);
            EXPECT_EQ(std::vector<int>(caller.args.ints, caller.args.ints + op.ints), got.ints);
            if (hasText) {
                EXPECT_EQ(caller.args.text != nullptr, got.textPresent);
                if (got.textPresent) {
                    EXPECT_EQ(std::string(op.textSize, kTextBefore), got.textOnArrival);
                }
                EXPECT_EQ(got.textPresent ? textFor(code, op.textSize)
                                          : std::string(op.textSize, kTextBefore),
                          caller.textBytes(op.textSize));
            }
            EXPECT_TRUE(caller.guardIntact(op.textSize));
            ASSERT_EQ(static_cast<size_t>(op.outs), got.outPresent.size());
            for (int k = 0; k < op.outs; ++k) {
                EXPECT_EQ(caller.args.outs[k] != nullptr, got.outPresent[k]);
                if (got.outPresent[k]) {
                    EXPECT_EQ(kOutBefore[k], got.outOnArrival[k]);
                }
                EXPECT_EQ(got.outPresent[k] ? outFor(code, k) : kOutBefore[k], caller.outs[k]);
            }
        }
    }
}

TEST_F(DABPlayerInterfacesTest, OutputsTheServiceLeavesAloneComeBackUnchanged) {
    player->writeOutputs = false;
    for (size_t i = 0; i < operations().size(); ++i) {
        const Operation& op = operations()[i];
        SCOPED_TRACE(op.name);
        CallerStorage caller(i);
        caller.text[3] = 'x';  // one byte differs: the whole buffer travels, not a pattern
        player->calls.clear();

        EXPECT_EQ(statusFor(codeOf(i)), op.call(*proxy, caller.args));

        ASSERT_EQ(1u, player->calls.size());
        if (op.textSize > 0) {
            EXPECT_EQ(caller.textBytes(op.textSize), player->calls[0].textOnArrival);
        }
        std::string expected(op.textSize + kGuard, kTextBefore);
        if (expected.size() > 3) expected[3] = 'x';
        EXPECT_EQ(expected, std::string(caller.text, op.textSize + kGuard));
        for (int k = 0; k < op.outs; ++k) EXPECT_EQ(kOutBefore[k], caller.outs[k]);
    }
}

TEST_F(DABPlayerInterfacesTest, ShortReplyLeavesTheCallersStorageAlone) {
    CallerStorage caller(0);
    // Status, label and code arrive; the label-available flag is cut off.
    playerRemote->replyLimit = 4 + DAB_PLAYER_LABEL_SIZE + 4;
    EXPECT_EQ(NOT_ENOUGH_DATA,
              proxy->getPresetListItem(1, 2, caller.text, &caller.outs[0], &caller.outs[1]));
    EXPECT_EQ(1u, player->calls.size());
    EXPECT_TRUE(caller.textBytes(DAB_PLAYER_LABEL_SIZE + kGuard) ==
                std::string(DAB_PLAYER_LABEL_SIZE + kGuard, kTextBefore));
    EXPECT_EQ(kOutBefore[0], caller.outs[0]);
    EXPECT_EQ(kOutBefore[1], caller.outs[1]);
}

TEST_F(DABPlayerInterfacesTest, SetClientListenerPassesTheCallbackOrNull) {
    EXPECT_EQ(5, proxy->setClientListener(clientProxy));
    EXPECT_EQ(IDABPlayer::SET_CLIENT_LISTENER, playerRemote->lastCode);
    EXPECT_EQ(70u, playerRemote->lastCode);
    ASSERT_NE(nullptr, player->listener);
    EXPECT_EQ(clientRemote.get(), IInterface::asBinder(player->listener).get());
    player->listener->notify(7, 8, 9, nullptr);
    ASSERT_EQ(1u, client->received.size());
    EXPECT_EQ(7, client->received[0].msg);

    EXPECT_EQ(5, proxy->setClientListener(nullptr));
    EXPECT_EQ(2, player->listenerCalls);
    EXPECT_EQ(nullptr, player->listener);
}

TEST_F(DABPlayerInterfacesTest, NotifyIsOneWayAndCarriesTheParcelOrNull) {
    Parcel label;
    label.writeCString("Radio \xC3\x9C" "ber");
    clientProxy->notify(21, -3, 4, &label);
    EXPECT_EQ(static_cast<uint32_t>(IDABPlayerClient::NOTIFY), clientRemote->lastCode);
    EXPECT_TRUE((clientRemote->lastFlags & IBinder::FLAG_ONEWAY) != 0);
    clientProxy->notify(5, 6, 0, nullptr);
    Parcel empty;
    clientProxy->notify(8, 0, 0, &empty);

    ASSERT_EQ(3u, client->received.size());
    const auto& withText = client->received[0];
    EXPECT_EQ(21, withText.msg);
    EXPECT_EQ(-3, withText.ext1);
    EXPECT_EQ(4, withText.ext2);
    EXPECT_TRUE(withText.hasParcel);
    EXPECT_EQ(label.dataSize(), withText.parcelSize);
    EXPECT_EQ("Radio \xC3\x9C" "ber", withText.text);
    EXPECT_EQ(5, client->received[1].msg);
    EXPECT_EQ(6, client->received[1].ext1);
    EXPECT_FALSE(client->received[1].hasParcel);
    EXPECT_TRUE(client->received[2].hasParcel);
    EXPECT_EQ(0u, client->received[2].parcelSize);
}

TEST_F(DABPlayerInterfacesTest, CreateClientPassesPidAndCallbackAndReturnsThePlayer) {
    sp<FakeService> service = new FakeService;
    service->toReturn = player;
    sp<IDABPlayerService> serviceProxy =
            interface_cast<IDABPlayerService>(new RemoteBinder(service));

    sp<IDABPlayer> created = serviceProxy->createClient(4711, clientProxy);
    ASSERT_NE(nullptr, created);
    EXPECT_EQ(static_cast<IBinder*>(player.get()), IInterface::asBinder(created).get());
    ASSERT_EQ(1u, service->pids.size());
    EXPECT_EQ(4711, service->pids[0]);
    ASSERT_NE(nullptr, service->clients[0]);
    EXPECT_EQ(clientRemote.get(), IInterface::asBinder(service->clients[0]).get());

    service->toReturn = nullptr;
    EXPECT_EQ(nullptr, serviceProxy->createClient(12, nullptr));
    ASSERT_EQ(2u, service->pids.size());
    EXPECT_EQ(nullptr, service->clients[1]);
    service->clients.clear();
}

TEST_F(DABPlayerInterfacesTest, UnknownCodesAndWrongInterfaceTokensAreRefused) {
    sp<FakeService> service = new FakeService;
    const struct {
        sp<IBinder> stub;
        String16 descriptor;
        uint32_t code;
    } cases[] = {
        {player, IDABPlayer::descriptor, 0},
        {player, IDABPlayer::descriptor, IDABPlayer::SET_CLIENT_LISTENER + 1},
        {player, IDABPlayer::descriptor, IBinder::LAST_CALL_TRANSACTION},
        {client, IDABPlayerClient::descriptor, IDABPlayerClient::NOTIFY + 1},
        {service, IDABPlayerService::descriptor, IDABPlayerService::CREATE_CLIENT + 1},
    };
    for (const auto& c : cases) {
        Parcel data;
        Parcel reply;
        withToken(data, c.descriptor).writeInt32(1);
        EXPECT_EQ(UNKNOWN_TRANSACTION, c.stub->transact(c.code, data, &reply)) << c.code;

        Parcel query;
        EXPECT_EQ(NO_ERROR, c.stub->transact(IBinder::INTERFACE_TRANSACTION, data, &query));
        EXPECT_EQ(c.descriptor, query.readString16());
    }
    Parcel reply;
    Parcel toPlayer;
    withToken(toPlayer, IDABPlayerClient::descriptor).writeInt32(1);
    EXPECT_EQ(PERMISSION_DENIED, player->transact(IDABPlayer::RECALL, toPlayer, &reply));
    Parcel toClient;
    withToken(toClient, IDABPlayer::descriptor);
    for (int i = 0; i < 4; ++i) toClient.writeInt32(0);
    EXPECT_EQ(PERMISSION_DENIED, client->transact(IDABPlayerClient::NOTIFY, toClient, nullptr));
    Parcel toService;
    withToken(toService, IDABPlayer::descriptor).writeInt32(1);
    toService.writeStrongBinder(nullptr);
    EXPECT_EQ(PERMISSION_DENIED,
              service->transact(IDABPlayerService::CREATE_CLIENT, toService, &reply));

    // Through a proxy: code 1 is the callback's notify, which checks the token; code 31 is
    // unknown to it. The caller's output stays as it was.
    sp<IDABPlayer> wrong = interface_cast<IDABPlayer>(clientRemote);
    EXPECT_EQ(PERMISSION_DENIED, wrong->manualUp());
    int band = kOutBefore[0];
    EXPECT_EQ(UNKNOWN_TRANSACTION, wrong->getBand(&band));
    EXPECT_EQ(kOutBefore[0], band);

    EXPECT_TRUE(player->calls.empty());
    EXPECT_TRUE(client->received.empty());
    EXPECT_TRUE(service->pids.empty());
}

TEST_F(DABPlayerInterfacesTest, TruncatedRequestsAreRefusedWithoutCallingTheService) {
    Parcel tokenOnly;
    withToken(tokenOnly, IDABPlayer::descriptor);
    for (size_t i = 0; i < operations().size(); ++i) {
        const Operation& op = operations()[i];
        SCOPED_TRACE(op.name);
        CallerStorage caller(i);
        op.call(*proxy, caller.args);
        const std::vector<uint8_t> request = playerRemote->lastRequest;
        player->calls.clear();

        for (size_t length = 0; length < request.size(); ++length) {
            const status_t expected = length < tokenOnly.dataSize() ? PERMISSION_DENIED : BAD_VALUE;
            EXPECT_EQ(expected, replay(codeOf(i), request, length)) << length;
        }
        EXPECT_TRUE(player->calls.empty());
        // The whole request is accepted: the refusals above came from the missing bytes.
        EXPECT_EQ(NO_ERROR, replay(codeOf(i), request, request.size()));
        EXPECT_EQ(1u, player->calls.size());
    }
}

TEST_F(DABPlayerInterfacesTest, MalformedPresenceFlagsAndBinderIndexesAreRefused) {
    Parcel reply;
    Parcel badFlag;
    withToken(badFlag, IDABPlayer::descriptor).writeInt32(2);
    badFlag.writeInt32(0);
    EXPECT_EQ(BAD_VALUE, player->transact(IDABPlayer::GET_BAND, badFlag, &reply));
    EXPECT_TRUE(player->calls.empty());

    // A binder index with no binder behind it, and none at all.
    proxy->setClientListener(clientProxy);
    const std::vector<uint8_t> request = playerRemote->lastRequest;
    const int listenerCalls = player->listenerCalls;
    EXPECT_EQ(BAD_VALUE, replay(IDABPlayer::SET_CLIENT_LISTENER, request, request.size()));
    EXPECT_EQ(BAD_VALUE, replay(IDABPlayer::SET_CLIENT_LISTENER, request, request.size() - 4));
    EXPECT_EQ(listenerCalls, player->listenerCalls);

    sp<FakeService> service = new FakeService;
    Parcel pidOnly;
    withToken(pidOnly, IDABPlayerService::descriptor).writeInt32(4711);
    EXPECT_EQ(BAD_VALUE, service->transact(IDABPlayerService::CREATE_CLIENT, pidOnly, &reply));
    Parcel danglingClient;
    withToken(danglingClient, IDABPlayerService::descriptor).writeInt32(4711);
    danglingClient.writeInt32(0);
    EXPECT_EQ(BAD_VALUE,
              service->transact(IDABPlayerService::CREATE_CLIENT, danglingClient, &reply));
    EXPECT_TRUE(service->pids.empty());
}

TEST_F(DABPlayerInterfacesTest, TruncatedOrOverlongNotifyIsDropped) {
    Parcel label;
    label.writeCString("Ensemble");
    clientProxy->notify(21, 1, 2, &label);
    const std::vector<uint8_t> request = clientRemote->lastRequest;
    client->received.clear();
    for (size_t length = 0; length < request.size(); ++length) {
        Parcel data;
        data.setData(request.data(), length);
        EXPECT_NE(NO_ERROR, client->transact(IDABPlayerClient::NOTIFY, data, nullptr)) << length;
    }
    // A parcel flag of 2 and a block that claims more bytes than there are.
    Parcel badFlag;
    withToken(badFlag, IDABPlayerClient::descriptor).writeInt32(1);
    badFlag.writeInt32(0);
    badFlag.writeInt32(0);
    badFlag.writeInt32(2);
    EXPECT_EQ(BAD_VALUE, client->transact(IDABPlayerClient::NOTIFY, badFlag, nullptr));
    Parcel overlong;
    withToken(overlong, IDABPlayerClient::descriptor).writeInt32(1);
    overlong.writeInt32(0);
    overlong.writeInt32(0);
    overlong.writeInt32(1);
    overlong.writeInt32(64);
    overlong.writeInt32(0);
    EXPECT_EQ(BAD_VALUE, client->transact(IDABPlayerClient::NOTIFY, overlong, nullptr));
    EXPECT_TRUE(client->received.empty());
}

}  // namespace
