// The binder wire format and what a process does with hostile input on its service socket:
// refuse what names nothing, close only the offending connection, keep serving the others.
#include "BinderIpcFixture.h"

#include "BinderRuntime.h"
#include "BinderWire.h"

#include <binder/IServiceManager.h>

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <random>

using namespace android;
using namespace android::binderwire;
using namespace binder_test;
using namespace std::chrono_literals;

namespace {

MessageHeader makeHeader(uint16_t type, uint32_t dataSize = 0, uint32_t objects = 0, uint32_t txnId = 0,
                         uint32_t handle = 0, uint32_t code = 0) {
    MessageHeader h = {};
    h.txnId = txnId;
    h.handle = handle;
    h.code = code;
    h.magic = kMagic;
    h.version = kProtocolVersion;
    h.type = type;
    h.dataSize = dataSize;
    h.objectCount = objects;
    h.size = static_cast<uint32_t>(sizeof(MessageHeader) + padded(dataSize) +
                                   objects * sizeof(ObjectEntry));
    return h;
}

// A socket speaking the wire format by hand, as a hostile or broken peer would.
class RawPeer {
public:
    explicit RawPeer(const std::string& path) {
        mFd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        struct sockaddr_un addr = {};
        addr.sun_family = AF_UNIX;
        strncpy(addr.sun_path, path.c_str(), sizeof(addr.sun_path) - 1);
        mConnected = connect(mFd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) == 0;
    }
    ~RawPeer() { close(mFd); }
    bool connected() const { return mConnected; }

    void send(const void* bytes, size_t len) {
        ASSERT_EQ(static_cast<ssize_t>(len), ::send(mFd, bytes, len, MSG_NOSIGNAL));
    }
    void send(const MessageHeader& h, const std::vector<uint8_t>& body = {}) {
        std::vector<uint8_t> bytes(sizeof(h));
        memcpy(bytes.data(), &h, sizeof(h));
        bytes.insert(bytes.end(), body.begin(), body.end());
        send(bytes.data(), bytes.size());
    }
    // Reads exactly len bytes; false on end of stream or time-out.
    bool read(void* out, size_t len, std::chrono::milliseconds timeout = 5000ms) {
        size_t have = 0;
        while (have < len) {
            struct pollfd p = {mFd, POLLIN, 0};
            if (poll(&p, 1, static_cast<int>(timeout.count())) != 1) return false;
            const ssize_t n = ::read(mFd, static_cast<uint8_t*>(out) + have, len - have);
            if (n <= 0) return false;
            have += static_cast<size_t>(n);
        }
        return true;
    }
    // Reads one whole message.
    bool readMessage(MessageHeader* h, std::vector<uint8_t>* body) {
        if (!read(h, sizeof(*h))) return false;
        uint32_t bodySize = 0;
        if (checkHeader(*h, &bodySize) != nullptr) return false;
        body->resize(bodySize);
        return bodySize == 0 || read(body->data(), bodySize);
    }
    // True when the other end closed the connection (after anything it still sent).
    bool closedByPeer() {
        uint8_t scratch[256];
        for (;;) {
            struct pollfd p = {mFd, POLLIN, 0};
            if (poll(&p, 1, 5000) != 1) return false;
            const ssize_t n = ::read(mFd, scratch, sizeof(scratch));
            if (n == 0) return true;
            if (n < 0) return errno == ECONNRESET;
        }
    }

private:
    int mFd;
    bool mConnected;
};

std::vector<uint8_t> lookupBody(const char* name) {
    Parcel p;
    p.writeString16(String16(name));
    return std::vector<uint8_t>(p.data(), p.data() + p.dataSize());
}

TEST(BinderWireTest, HeaderChecksEveryFieldBeforeAnyAllocation) {
    uint32_t body = 0;
    MessageHeader good = makeHeader(kTransaction, 6, 1);
    EXPECT_EQ(nullptr, checkHeader(good, &body));
    EXPECT_EQ(8u + 16u, body);

    const struct {
        const char* problem;
        std::function<void(MessageHeader&)> breakIt;
    } cases[] = {
            {"bad magic", [](MessageHeader& h) { h.magic ^= 1; }},
            {"unsupported protocol version", [](MessageHeader& h) { h.version = kProtocolVersion + 1; }},
            {"unknown message type", [](MessageHeader& h) { h.type = 9; }},
            {"unknown message type", [](MessageHeader& h) { h.type = 0; }},
            {"bad message size", [](MessageHeader& h) { h.size = kMaxMessageSize + 4; }},
            {"bad message size", [](MessageHeader& h) { h.size = sizeof(MessageHeader) - 4; }},
            {"inconsistent message size", [](MessageHeader& h) { h.size += 4; }},
            {"bad message size", [](MessageHeader& h) { h.objectCount = 0xffffffffu; }},
            {"release with data", [](MessageHeader& h) { h = makeHeader(kRelease, 4); }},
            {"error reply with data",
             [](MessageHeader& h) {
                 h = makeHeader(kReply, 4);
                 h.code = static_cast<uint32_t>(DEAD_OBJECT);
             }},
            {"reserved field set", [](MessageHeader& h) { h.reserved = 1; }},
    };
    for (const auto& c : cases) {
        MessageHeader h = good;
        c.breakIt(h);
        EXPECT_STREQ(c.problem, checkHeader(h, &body));
    }
    // Exactly at the limit is allowed.
    EXPECT_EQ(nullptr, checkHeader(makeHeader(kOneway, kMaxMessageSize - sizeof(MessageHeader)), &body));
}

TEST(BinderWireTest, ObjectTableMustPointInsideTheDataInOrder) {
    ObjectEntry e[2] = {{0, kObjectSenderLocal, 1, 0}, {4, kObjectReceiverLocal, 2, 0}};
    EXPECT_EQ(nullptr, checkObjects(e, 2, 8));
    EXPECT_STREQ("bad object position", checkObjects(e, 2, 7));  // second runs past the end
    e[1].position = 0;
    EXPECT_STREQ("bad object position", checkObjects(e, 2, 8));  // same slot twice
    e[1].position = 6;
    EXPECT_STREQ("bad object position", checkObjects(e, 2, 12));  // unaligned
    e[1].position = 4;
    e[1].kind = kObjectFileDescriptor;
    EXPECT_STREQ("bad descriptor entry", checkObjects(e, 2, 8));  // descriptors name no handle
    e[1].handle = 0;
    EXPECT_EQ(nullptr, checkObjects(e, 2, 8));
    e[1].kind = 4;
    EXPECT_STREQ("bad object kind", checkObjects(e, 2, 8));
}

class BinderIpcWireTest : public BinderIpcTest {
protected:
    void SetUp() override {
        BinderIpcTest::SetUp();
        mHub = new TestNode();
        ASSERT_EQ(NO_ERROR, defaultServiceManager()->addService(String16("hub"), mHub));
        spawnPeer({"client", "hub"});
        ASSERT_TRUE(mHub->waitRegistered(1, 30s));
    }
    void TearDown() override {
        mHub->clearRegistered();
        mHub.clear();
        BinderIpcTest::TearDown();
    }
    std::string hubPath() const { return dir() + "/hub.sock"; }
    // The registered client still gets notifications through the hub's process.
    void expectClientStillServed() {
        sp<IBinder> client = mHub->registered()[0];
        for (int seq = 0; seq < 3; ++seq) ASSERT_EQ(NO_ERROR, notifyClient(client, mSent++));
        EXPECT_EQ(std::make_pair(mSent, 1), waitCount(client, mSent));
    }
    std::string closedLine(const char* reason) const {
        return "connection to pid " + std::to_string(getpid()) + " closed: " + reason;
    }

    sp<TestNode> mHub;
    int mSent = 0;
};

TEST_F(BinderIpcWireTest, UnknownHandlesAreRefusedAndTheConnectionKeepsServing) {
    HostLog::Capture log;
    RawPeer peer(hubPath());
    ASSERT_TRUE(peer.connected());

    peer.send(makeHeader(kTransaction, 0, 0, 7, 77, ECHO));
    MessageHeader reply;
    std::vector<uint8_t> body;
    ASSERT_TRUE(peer.readMessage(&reply, &body));
    EXPECT_EQ(kReply, reply.type);
    EXPECT_EQ(7u, reply.txnId);
    EXPECT_EQ(FAILED_TRANSACTION, static_cast<int32_t>(reply.code));
    const std::string pid = std::to_string(getpid());
    EXPECT_EQ(1, log.count("transaction to unknown handle 77 from pid " + pid + " refused"));

    peer.send(makeHeader(kRelease, 0, 0, 0, 55, 1));

    // An object of the hub's process that this peer was never given.
    std::vector<uint8_t> withObject(4 + sizeof(ObjectEntry), 0);
    ObjectEntry forged = {0, kObjectReceiverLocal, 3, 0};
    memcpy(withObject.data() + 4, &forged, sizeof(forged));
    peer.send(makeHeader(kTransaction, 4, 1, 8, 0, kContextLookupService), withObject);
    ASSERT_TRUE(peer.readMessage(&reply, &body));
    EXPECT_EQ(8u, reply.txnId);
    EXPECT_EQ(FAILED_TRANSACTION, static_cast<int32_t>(reply.code));
    EXPECT_EQ(1, log.count("unknown handle 3 from pid " + pid + " refused"));

    // Still served: look the hub up, then call it through the handle it gave.
    const std::vector<uint8_t> name = lookupBody("hub");
    peer.send(makeHeader(kTransaction, static_cast<uint32_t>(name.size()), 0, 9, 0, kContextLookupService), name);
    ASSERT_TRUE(peer.readMessage(&reply, &body));
    ASSERT_EQ(0, static_cast<int32_t>(reply.code));
    ASSERT_EQ(1u, reply.objectCount);
    ObjectEntry given;
    memcpy(&given, body.data() + padded(reply.dataSize), sizeof(given));
    EXPECT_EQ(kObjectSenderLocal, given.kind);
    EXPECT_EQ(1, log.count("release of unknown handle 55 from pid " + pid + " ignored"));

    Parcel echo;
    echo.writeInt32(5);
    echo.writeString8(String8("raw"));
    const std::vector<uint8_t> echoBody(echo.data(), echo.data() + echo.dataSize());
    const uint32_t echoSize = static_cast<uint32_t>(echoBody.size());
    peer.send(makeHeader(kTransaction, echoSize, 0, 10, given.handle, ECHO), echoBody);
    ASSERT_TRUE(peer.readMessage(&reply, &body));
    EXPECT_EQ(0, static_cast<int32_t>(reply.code));
    Parcel answer;
    answer.setData(body.data(), reply.dataSize);
    EXPECT_EQ(6, answer.readInt32());

    // Released, the handle is refused like one never given.
    peer.send(makeHeader(kRelease, 0, 0, 0, given.handle, 1));
    peer.send(makeHeader(kTransaction, echoSize, 0, 11, given.handle, ECHO), echoBody);
    ASSERT_TRUE(peer.readMessage(&reply, &body));
    EXPECT_EQ(FAILED_TRANSACTION, static_cast<int32_t>(reply.code));
    expectClientStillServed();
}

TEST_F(BinderIpcWireTest, MalformedMessagesCloseOnlyTheirConnection) {
    HostLog::Capture log;
    struct Case {
        const char* reason;
        std::function<void(RawPeer&)> send;
    };
    std::mt19937 random(20240601);
    std::vector<uint8_t> noise(8192);
    for (uint8_t& b : noise) b = static_cast<uint8_t>(random());
    noise[0] = 0;  // never the magic by chance
    // Sends a one-way header with one field broken.
    auto broken = [](void (*breakIt)(MessageHeader&)) {
        return [breakIt](RawPeer& p) {
            MessageHeader h = makeHeader(kOneway);
            breakIt(h);
            p.send(h);
        };
    };
    const Case cases[] = {
            {"bad magic", [&](RawPeer& p) { p.send(noise.data(), noise.size()); }},
            {"bad message size", broken([](MessageHeader& h) { h.size = 0x7fffffff; })},  // never allocated
            {"reply to no waiting call", [](RawPeer& p) { p.send(makeHeader(kReply, 0, 0, 1234)); }},
            {"bad object position",
             [](RawPeer& p) {
                 std::vector<uint8_t> body(4 + sizeof(ObjectEntry), 0);
                 ObjectEntry e = {8, kObjectSenderLocal, 1, 0};  // past the 4 data bytes
                 memcpy(body.data() + 4, &e, sizeof(e));
                 p.send(makeHeader(kOneway, 4, 1), body);
             }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reason);
        RawPeer peer(hubPath());
        ASSERT_TRUE(peer.connected());
        c.send(peer);
        EXPECT_TRUE(peer.closedByPeer());
        EXPECT_EQ(1, log.count(closedLine(c.reason)));
        expectClientStillServed();
    }
    {
        // Half a message, then the end of the stream.
        RawPeer peer(hubPath());
        MessageHeader h = makeHeader(kOneway, 64);
        std::vector<uint8_t> bytes(sizeof(h) + 10);
        memcpy(bytes.data(), &h, sizeof(h));
        peer.send(bytes.data(), bytes.size());
    }
    EXPECT_TRUE(waitUntil([&] { return log.count(closedLine("truncated message")) == 1; }, 5s));
    // Only the registered client's connection is left.
    EXPECT_TRUE(waitUntil([] { return BinderRuntime::connectionCount() == 1; }, 5s));
    expectClientStillServed();
}

TEST_F(BinderIpcWireTest, MessageAtTheSizeLimitPassesAndOneBeyondIsRefusedBeforeSending) {
    HostLog::Capture log;
    sp<IBinder> client = mHub->registered()[0];
    std::vector<uint8_t> block(kMaxMessageSize, 1);
    Parcel atLimit;
    atLimit.write(block.data(), kMaxMessageSize - sizeof(MessageHeader));
    Parcel reply;
    ASSERT_EQ(NO_ERROR, client->transact(ECHO, atLimit, &reply));
    EXPECT_EQ(0x01010102, reply.readInt32());

    Parcel beyond;
    beyond.write(block.data(), kMaxMessageSize - sizeof(MessageHeader) + 4);
    EXPECT_EQ(FAILED_TRANSACTION, client->transact(ECHO, beyond, &reply));
    EXPECT_EQ(1u, log.messages("binder").size());
    expectClientStillServed();
}

}  // namespace
