#include <dabplayer/IDABPlayer.h>
#include <dabplayer/IDABPlayerClient.h>
#include <dabplayer/IDABPlayerService.h>

#include "PlayerOperationList.h"

#include <gtest/gtest.h>

#include <string.h>

#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
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

// What the service writes: derived from the operation's name, so that an output in the wrong
// slot or of the wrong operation shows. Text bytes are never zero: a label need not end in one.
uint32_t seedOf(const std::string& name) {
    uint32_t seed = 0;
    for (char c : name) seed = seed * 31 + static_cast<uint8_t>(c);
    return seed;
}
std::string textFor(const std::string& name, size_t size) {
    std::string text(size, '\0');
    for (size_t i = 0; i < size; ++i) text[i] = static_cast<char>((seedOf(name) + i * 7) % 250 + 1);
    return text;
}
int outFor(const std::string& name, int slot) { return static_cast<int>(seedOf(name) % 100000) * 10 + slot; }
int statusFor(const std::string& name) { return seedOf(name) % 2 != 0 ? -1 : static_cast<int>(seedOf(name) % 1000); }

// What one operation received: inputs, and for each output whether it came and its content.
struct Received {
    std::string name;
    std::vector<int> ints;
    bool textPresent = false;
    std::string textOnArrival;
    std::vector<bool> outPresent;
    std::vector<int> outOnArrival;
};

class FakePlayer : public BnDABPlayer {
public:
#define F0(n) int n() override { return record(#n); }
#define F1(n) int n(int a) override { return record(#n, {a}); }
#define F2(n) int n(int a, int b) override { return record(#n, {a, b}); }
#define FPI(n) int n(int* o) override { return record(#n, {}, nullptr, {o}); }
#define FPC(n) int n(char* t) override { return record(#n, {}, t); }
#define FLABEL(n) int n(char* t, int* o) override { return record(#n, {}, t, {o}); }
#define FITEM(n) int n(int a, char* t, int* o) override { return record(#n, {a}, t, {o}); }
#define FDYNAMIC(n) \
    int n(char* t, int* o1, int* o2) override { return record(#n, {}, t, {o1, o2}, DAB_PLAYER_DYNAMIC_TEXT_SIZE); }
#define FPRESET(n) \
    int n(int a, int b, char* t, int* o1, int* o2) override { return record(#n, {a, b}, t, {o1, o2}); }
    PLAYER_OPERATIONS(F0, F1, F2, FPI, FPC, FLABEL, FITEM, FDYNAMIC, FPRESET)
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
    int record(const std::string& name, std::vector<int> ints = {}, char* text = nullptr,
               std::vector<int*> outs = {}, size_t textSize = DAB_PLAYER_LABEL_SIZE) {
        Received r{name, ints, text != nullptr, text != nullptr ? std::string(text, textSize) : "", {}, {}};
        for (int* out : outs) {
            r.outPresent.push_back(out != nullptr);
            r.outOnArrival.push_back(out != nullptr ? *out : 0);
        }
        calls.push_back(r);
        if (writeOutputs && text != nullptr) memcpy(text, textFor(name, textSize).data(), textSize);
        for (size_t i = 0; i < outs.size(); ++i) {
            if (writeOutputs && outs[i] != nullptr) *outs[i] = outFor(name, static_cast<int>(i));
        }
        return statusFor(name);
    }
};

// One operation as an application calls it, with its arguments taken from Args by type.
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

template <class T> struct Tag {};
struct Pick {  // hands out the ints and the outputs in the order asked
    const Args& a;
    int ints = 0, outs = 0;
    int operator()(Tag<int>) { return a.ints[ints++]; }
    char* operator()(Tag<char*>) { return a.text; }
    int* operator()(Tag<int*>) { return a.outs[outs++]; }
};

template <class... A>
Operation op(const char* n, int (IDABPlayer::*f)(A...), size_t textSize = DAB_PLAYER_LABEL_SIZE) {
    const bool text = (false || ... || std::is_same<A, char*>::value);
    return {n, (0 + ... + std::is_same<A, int>::value), text ? textSize : 0,
            (0 + ... + std::is_same<A, int*>::value), [f](IDABPlayer& p, const Args& a) {
                [[maybe_unused]] Pick pick{a};
                std::tuple<A...> args{pick(Tag<A>())...};  // braces: evaluated in order
                return std::apply([&](A... x) { return (p.*f)(x...); }, args);
            }};
}

#define OP(n) op(#n, &IDABPlayer::n),
#define OP_DYNAMIC(n) op(#n, &IDABPlayer::n, DAB_PLAYER_DYNAMIC_TEXT_SIZE),

const std::vector<Operation>& operations() {
    static const std::vector<Operation> ops = {PLAYER_OPERATIONS(OP, OP, OP, OP, OP, OP, OP, OP_DYNAMIC, OP)};
    return ops;
}

uint32_t codeOf(size_t index) {
    return IBinder::FIRST_CALL_TRANSACTION + static_cast<uint32_t>(index);
}

const char kTextBefore = static_cast<char>(0xEE);
const int kOutBefore[2] = {-77, -88};

// The caller's storage of one call: prefilled so that untouched outputs can be recognised, with
// bytes after the longest text that must never change, and one byte that differs so that a
// buffer travelling as a pattern would show.
struct CallerStorage {
    explicit CallerStorage(size_t index) {
        memset(text, kTextBefore, sizeof(text));
        text[3] = 'x';
        args = {{100 + static_cast<int>(index), 200 + static_cast<int>(index)}, text, {&outs[0], &outs[1]}};
    }
    std::string bytes(size_t size = sizeof(text)) const { return std::string(text, size); }

    char text[DAB_PLAYER_DYNAMIC_TEXT_SIZE + 8];
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

// A request with the interface token and then the given ints.
struct Request : Parcel {
    Request(const String16& descriptor, std::initializer_list<int32_t> ints) {
        writeInterfaceToken(descriptor);
        for (int32_t i : ints) writeInt32(i);
    }
};

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

    // Every request of the code just sent, cut short, is refused without reaching the service;
    // the whole one is accepted, so the refusals came from the missing bytes.
    void expectEveryCutRequestRefused(uint32_t code) {
        const Request tokenOnly(IDABPlayer::descriptor, {});
        const std::vector<uint8_t> sent = playerRemote->lastRequest;
        player->calls.clear();
        for (size_t length = 0; length < sent.size(); ++length) {
            const status_t expected = length < tokenOnly.dataSize() ? PERMISSION_DENIED : BAD_VALUE;
            EXPECT_EQ(expected, replay(code, sent, length)) << length;
        }
        EXPECT_TRUE(player->calls.empty());
        EXPECT_EQ(NO_ERROR, replay(code, sent, sent.size()));
        EXPECT_EQ(1u, player->calls.size());
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
    EXPECT_EQ(70, IDABPlayer::SET_CLIENT_LISTENER);
}

// Every operation, with all its outputs and with each (and every) output missing, against a
// service that writes its outputs and one that leaves them alone: the arguments and the whole
// present buffers travel, a missing one arrives as null and the caller's storage stays.
TEST_F(DABPlayerInterfacesTest, EveryOperationCarriesItsArgumentsAndThePresentOutputs) {
    enum { kNone = -2, kText = -1, kAll = 2 };  // besides the int outputs 0 and 1
    for (bool writes : {true, false}) {
        player->writeOutputs = writes;
        for (size_t i = 0; i < operations().size(); ++i) {
            const Operation& op = operations()[i];
            const uint32_t code = codeOf(i);
            const bool hasText = op.textSize > 0;
            for (int missing = kNone; missing <= kAll; ++missing) {
                if (missing != kNone && !hasText && op.outs == 0) break;
                if ((missing == kText && !hasText) || (missing >= op.outs && missing != kAll)) continue;
                SCOPED_TRACE(std::string(op.name) + " without " + std::to_string(missing) +
                             (writes ? "" : ", service writes nothing"));
                CallerStorage caller(i);
                if (missing == kText || missing == kAll) caller.args.text = nullptr;
                for (int k = 0; k < 2; ++k) {
                    if (missing == k || missing == kAll) caller.args.outs[k] = nullptr;
                }
                std::string expected = caller.bytes();
                player->calls.clear();

                EXPECT_EQ(statusFor(op.name), op.call(*proxy, caller.args));

                EXPECT_EQ(code, playerRemote->lastCode);
                ASSERT_EQ(1u, player->calls.size());
                const Received& got = player->calls[0];
                EXPECT_EQ(op.name, got.name);
                EXPECT_EQ(std::vector<int>(caller.args.ints, caller.args.ints + op.ints), got.ints);
                EXPECT_EQ(hasText && caller.args.text != nullptr, got.textPresent);
                if (got.textPresent) {
                    EXPECT_EQ(expected.substr(0, op.textSize), got.textOnArrival);
                    if (writes) expected.replace(0, op.textSize, textFor(op.name, op.textSize));
                }
                EXPECT_EQ(expected, caller.bytes());
                ASSERT_EQ(static_cast<size_t>(op.outs), got.outPresent.size());
                for (int k = 0; k < op.outs; ++k) {
                    EXPECT_EQ(caller.args.outs[k] != nullptr, got.outPresent[k]);
                    EXPECT_EQ(got.outPresent[k] ? kOutBefore[k] : 0, got.outOnArrival[k]);
                    EXPECT_EQ(got.outPresent[k] && writes ? outFor(op.name, k) : kOutBefore[k],
                              caller.outs[k]);
                }
                if (missing == kNone && writes) expectEveryCutRequestRefused(code);
            }
        }
    }
    // A reply cut short (status, label and code arrive, the label-available flag does not)
    // leaves the caller's storage alone.
    player->writeOutputs = true;
    CallerStorage caller(0);
    const std::string before = caller.bytes();
    playerRemote->replyLimit = 4 + DAB_PLAYER_LABEL_SIZE + 4;
    EXPECT_EQ(NOT_ENOUGH_DATA,
              proxy->getPresetListItem(1, 2, caller.text, &caller.outs[0], &caller.outs[1]));
    EXPECT_EQ(before, caller.bytes());
    EXPECT_EQ(kOutBefore[0], caller.outs[0]);
    EXPECT_EQ(kOutBefore[1], caller.outs[1]);
}

// The callbacks both ways: the listener (or null), the one-way notify with a parcel or none,
// and createClient with a null callback.
TEST_F(DABPlayerInterfacesTest, CallbacksAndTheServiceTravelWithTheirArguments) {
    EXPECT_EQ(5, proxy->setClientListener(clientProxy));
    EXPECT_EQ(IDABPlayer::SET_CLIENT_LISTENER, playerRemote->lastCode);
    ASSERT_NE(nullptr, player->listener);
    EXPECT_EQ(clientRemote.get(), IInterface::asBinder(player->listener).get());
    EXPECT_EQ(5, proxy->setClientListener(nullptr));
    EXPECT_EQ(2, player->listenerCalls);
    EXPECT_EQ(nullptr, player->listener);

    Parcel label;
    label.writeCString("Radio \xC3\x9C" "ber");
    clientProxy->notify(21, -3, 4, &label);
    EXPECT_EQ(static_cast<uint32_t>(IDABPlayerClient::NOTIFY), clientRemote->lastCode);
    EXPECT_TRUE((clientRemote->lastFlags & IBinder::FLAG_ONEWAY) != 0);
    clientProxy->notify(5, 6, 0, nullptr);
    Parcel empty;
    clientProxy->notify(8, 0, 0, &empty);
    ASSERT_EQ(3u, client->received.size());
    const auto& r = client->received;
    EXPECT_EQ(std::vector<int>({21, -3, 4, 1}), std::vector<int>({r[0].msg, r[0].ext1, r[0].ext2, r[0].hasParcel}));
    EXPECT_EQ(label.dataSize(), r[0].parcelSize);
    EXPECT_EQ("Radio \xC3\x9C" "ber", r[0].text);
    EXPECT_EQ(std::vector<int>({5, 6, 0}), std::vector<int>({r[1].msg, r[1].ext1, r[1].hasParcel}));
    EXPECT_TRUE(r[2].hasParcel);
    EXPECT_EQ(0u, r[2].parcelSize);

    // Pid, callback and player across processes are the head unit process tests' concern.
    sp<FakeService> service = new FakeService;
    sp<IDABPlayerService> serviceProxy = interface_cast<IDABPlayerService>(new RemoteBinder(service));
    EXPECT_EQ(nullptr, serviceProxy->createClient(12, nullptr));
    ASSERT_EQ(std::vector<int>({12}), service->pids);
    EXPECT_EQ(nullptr, service->clients[0]);
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
    Parcel reply;
    for (const auto& c : cases) {
        Request data(c.descriptor, {1});
        EXPECT_EQ(UNKNOWN_TRANSACTION, c.stub->transact(c.code, data, &reply)) << c.code;
        Parcel query;
        EXPECT_EQ(NO_ERROR, c.stub->transact(IBinder::INTERFACE_TRANSACTION, data, &query));
        EXPECT_EQ(c.descriptor, query.readString16());
    }
    Request toPlayer(IDABPlayerClient::descriptor, {1});
    EXPECT_EQ(PERMISSION_DENIED, player->transact(IDABPlayer::RECALL, toPlayer, &reply));
    Request toService(IDABPlayer::descriptor, {1});
    toService.writeStrongBinder(nullptr);
    EXPECT_EQ(PERMISSION_DENIED, service->transact(IDABPlayerService::CREATE_CLIENT, toService, &reply));

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

TEST_F(DABPlayerInterfacesTest, MalformedRequestsAndNotificationsAreRefused) {
    Parcel reply;
    Request badFlag(IDABPlayer::descriptor, {2, 0});  // presence flag 2
    EXPECT_EQ(BAD_VALUE, player->transact(IDABPlayer::GET_BAND, badFlag, &reply));
    EXPECT_TRUE(player->calls.empty());

    // A binder index with no binder behind it, and none at all.
    proxy->setClientListener(clientProxy);
    const std::vector<uint8_t> listener = playerRemote->lastRequest;
    const int listenerCalls = player->listenerCalls;
    EXPECT_EQ(BAD_VALUE, replay(IDABPlayer::SET_CLIENT_LISTENER, listener, listener.size()));
    EXPECT_EQ(BAD_VALUE, replay(IDABPlayer::SET_CLIENT_LISTENER, listener, listener.size() - 4));
    EXPECT_EQ(listenerCalls, player->listenerCalls);
    sp<FakeService> service = new FakeService;
    Request pidOnly(IDABPlayerService::descriptor, {4711});
    EXPECT_EQ(BAD_VALUE, service->transact(IDABPlayerService::CREATE_CLIENT, pidOnly, &reply));
    Request danglingClient(IDABPlayerService::descriptor, {4711, 0});
    EXPECT_EQ(BAD_VALUE, service->transact(IDABPlayerService::CREATE_CLIENT, danglingClient, &reply));
    EXPECT_TRUE(service->pids.empty());

    // A notification cut anywhere, with a parcel flag of 2, or with a block that claims more
    // bytes than there are.
    Parcel label;
    label.writeCString("Ensemble");
    clientProxy->notify(21, 1, 2, &label);
    const std::vector<uint8_t> notification = clientRemote->lastRequest;
    client->received.clear();
    for (size_t length = 0; length < notification.size(); ++length) {
        Parcel data;
        data.setData(notification.data(), length);
        EXPECT_NE(NO_ERROR, client->transact(IDABPlayerClient::NOTIFY, data, nullptr)) << length;
    }
    Request badParcelFlag(IDABPlayerClient::descriptor, {1, 0, 0, 2});
    EXPECT_EQ(BAD_VALUE, client->transact(IDABPlayerClient::NOTIFY, badParcelFlag, nullptr));
    Request overlong(IDABPlayerClient::descriptor, {1, 0, 0, 1, 64, 0});
    EXPECT_EQ(BAD_VALUE, client->transact(IDABPlayerClient::NOTIFY, overlong, nullptr));
    EXPECT_TRUE(client->received.empty());
}

}  // namespace
