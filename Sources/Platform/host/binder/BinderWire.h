#ifndef DAB_PLATFORM_HOST_BINDER_WIRE_H
#define DAB_PLATFORM_HOST_BINDER_WIRE_H

// The byte format of binder messages between processes over a Unix stream socket. Everything a
// peer can send is described here; both ends of every connection run this same code.
//
// A message is a fixed header, the parcel data padded to 4 bytes, then the object table.
// All fields are fixed-width little-endian; the structs below are the layout and are copied
// to and from the stream as they are (the host must be little-endian, checked below).

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace android {
namespace binderwire {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "the wire structs are copied as they are: a big-endian host needs byte swapping");

// First field of every message: a stream that loses its framing is caught at once.
constexpr uint32_t kMagic = 0x444e4244u;  // "DBND" read as little-endian bytes
constexpr uint16_t kProtocolVersion = 1;

// Upper bound of one whole message. A length beyond it is malformed input: the receiver
// closes the connection instead of allocating.
constexpr uint32_t kMaxMessageSize = 1u << 20;

enum MessageType : uint16_t {
    // Two-way call; the receiver answers with kReply carrying the same txnId.
    kTransaction = 1,
    // Answer of a kTransaction: status in `code`, parcel data only when the status is 0. An
    // error reply (unknown handle, dead target, failure of the call) is a kReply with a
    // nonzero status and no data.
    kReply = 2,
    // One-way call: no reply; calls to one target object are served in arrival order.
    kOneway = 3,
    // The sender drops `code` references to the receiver's object `handle` (the number of
    // times it received that handle). There is no acquire message: every object sent in a
    // parcel counts as one reference, which avoids a race between a release in flight and
    // the same handle being sent again.
    kRelease = 4,
};

// Handle 0 on every connection names the receiving process's context object, which looks
// services up by name. It is never counted and never released.
constexpr uint32_t kContextHandle = 0;
// Codes served by the context object.
constexpr uint32_t kContextLookupService = 0x5f4c4b50u;  // '_LKP'

struct MessageHeader {
    uint32_t magic;         // kMagic
    uint16_t version;       // kProtocolVersion
    uint16_t type;          // MessageType
    uint32_t size;          // whole message: header, padded data, object table
    uint32_t txnId;         // kTransaction/kReply: the call this belongs to; else 0
    uint32_t handle;        // kTransaction/kOneway/kRelease: the receiver's object
    uint32_t code;          // transaction code; kReply: status (int32); kRelease: count
    uint32_t flags;         // transaction flags as given to IBinder::transact
    uint32_t senderThread;  // kTransaction: the calling thread, for calls nested inside it
    uint32_t targetThread;  // kTransaction: the receiver's thread waiting in the chain, or 0
    uint32_t dataSize;      // parcel bytes before padding
    uint32_t objectCount;   // entries in the object table
    uint32_t reserved;      // 0
};

static_assert(sizeof(MessageHeader) == 48, "wire header size");
static_assert(offsetof(MessageHeader, magic) == 0, "wire header layout");
static_assert(offsetof(MessageHeader, version) == 4, "wire header layout");
static_assert(offsetof(MessageHeader, type) == 6, "wire header layout");
static_assert(offsetof(MessageHeader, size) == 8, "wire header layout");
static_assert(offsetof(MessageHeader, txnId) == 12, "wire header layout");
static_assert(offsetof(MessageHeader, handle) == 16, "wire header layout");
static_assert(offsetof(MessageHeader, code) == 20, "wire header layout");
static_assert(offsetof(MessageHeader, flags) == 24, "wire header layout");
static_assert(offsetof(MessageHeader, senderThread) == 28, "wire header layout");
static_assert(offsetof(MessageHeader, targetThread) == 32, "wire header layout");
static_assert(offsetof(MessageHeader, dataSize) == 36, "wire header layout");
static_assert(offsetof(MessageHeader, objectCount) == 40, "wire header layout");
static_assert(offsetof(MessageHeader, reserved) == 44, "wire header layout");

enum ObjectKind : uint32_t {
    // An object of the sender: handle in the sender's table of objects given to this peer.
    kObjectSenderLocal = 1,
    // An object of the receiver, coming back: a handle the receiver gave the sender.
    kObjectReceiverLocal = 2,
    // A file descriptor: handle 0; the descriptor itself travels as SCM_RIGHTS ancillary data
    // with the message's first byte, one per entry of this kind, in table order.
    kObjectFileDescriptor = 3,
};

// Descriptors one message may carry.
constexpr uint32_t kMaxFdsPerMessage = 16;

// One binder reference inside the parcel data. The data holds a 4-byte object index at
// `position`; the receiver rewrites it to the index of the reference it built.
struct ObjectEntry {
    uint32_t position;  // byte offset in the data, 4-aligned, strictly increasing
    uint32_t kind;      // ObjectKind
    uint32_t handle;
    uint32_t reserved;  // 0
};

static_assert(sizeof(ObjectEntry) == 16, "wire object entry size");
static_assert(offsetof(ObjectEntry, position) == 0, "wire object entry layout");
static_assert(offsetof(ObjectEntry, kind) == 4, "wire object entry layout");
static_assert(offsetof(ObjectEntry, handle) == 8, "wire object entry layout");

// The number of descriptor entries of a checked table.
inline uint32_t countFds(const ObjectEntry* entries, uint32_t count) {
    uint32_t n = 0;
    for (uint32_t i = 0; i < count; ++i) n += entries[i].kind == kObjectFileDescriptor ? 1 : 0;
    return n;
}

constexpr uint32_t padded(uint32_t len) { return (len + 3u) & ~3u; }

// The most object entries a message of the size limit can hold.
constexpr uint32_t kMaxObjects = (kMaxMessageSize - sizeof(MessageHeader)) / sizeof(ObjectEntry);

// Checks the header alone, as soon as its bytes are in: returns null when it may be followed
// by a body, else a short reason for the log. On success *bodySize is what follows it.
inline const char* checkHeader(const MessageHeader& h, uint32_t* bodySize) {
    if (h.magic != kMagic) return "bad magic";
    if (h.version != kProtocolVersion) return "unsupported protocol version";
    if (h.size < sizeof(MessageHeader) || h.size > kMaxMessageSize) return "bad message size";
    if (h.type < kTransaction || h.type > kRelease) return "unknown message type";
    if (h.reserved != 0) return "reserved field set";
    if (h.objectCount > kMaxObjects || h.dataSize > kMaxMessageSize) return "bad message size";
    const uint64_t expected = sizeof(MessageHeader) + static_cast<uint64_t>(padded(h.dataSize)) +
                              static_cast<uint64_t>(h.objectCount) * sizeof(ObjectEntry);
    if (expected != h.size) return "inconsistent message size";
    if ((h.type == kRelease) && (h.dataSize != 0 || h.objectCount != 0)) return "release with data";
    if (h.type == kReply && static_cast<int32_t>(h.code) != 0 &&
        (h.dataSize != 0 || h.objectCount != 0)) {
        return "error reply with data";
    }
    *bodySize = h.size - static_cast<uint32_t>(sizeof(MessageHeader));
    return nullptr;
}

// Checks the object table against the data it describes.
inline const char* checkObjects(const ObjectEntry* entries, uint32_t count, uint32_t dataSize) {
    uint64_t next = 0;  // the lowest position the next entry may use
    uint32_t fds = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const ObjectEntry& e = entries[i];
        if (e.kind != kObjectSenderLocal && e.kind != kObjectReceiverLocal &&
            e.kind != kObjectFileDescriptor) {
            return "bad object kind";
        }
        if (e.reserved != 0) return "reserved field set";
        if (e.kind == kObjectFileDescriptor && e.handle != 0) return "bad descriptor entry";
        if (e.kind == kObjectFileDescriptor && ++fds > kMaxFdsPerMessage) {
            return "too many descriptors";
        }
        if ((e.position & 3u) != 0 || e.position < next ||
            static_cast<uint64_t>(e.position) + 4 > dataSize) {
            return "bad object position";
        }
        next = static_cast<uint64_t>(e.position) + 4;
    }
    return nullptr;
}

// What readMessage found at the front of a stream buffer.
enum class ReadResult {
    kNeedMore,  // not a whole message yet; *header is valid once its bytes are in
    kMessage,   // one checked message: header, body and object table
    kBad,       // malformed: the connection ends with *reason
};

// Reads the message at the front of bytes[0, have): checks the header as soon as it is in,
// then, once the whole message is in, copies out the object table (the body need not be
// aligned) and checks it against the data. The body starts sizeof(MessageHeader) bytes in.
inline ReadResult readMessage(const uint8_t* bytes, size_t have, MessageHeader* header,
                              std::vector<ObjectEntry>* objects, const char** reason) {
    if (have < sizeof(MessageHeader)) return ReadResult::kNeedMore;
    memcpy(header, bytes, sizeof(MessageHeader));
    uint32_t bodySize = 0;
    *reason = checkHeader(*header, &bodySize);
    if (*reason != nullptr) return ReadResult::kBad;
    if (have < header->size) return ReadResult::kNeedMore;
    objects->resize(header->objectCount);
    if (header->objectCount > 0) {
        memcpy(objects->data(), bytes + sizeof(MessageHeader) + padded(header->dataSize),
               header->objectCount * sizeof(ObjectEntry));
    }
    *reason = checkObjects(objects->data(), header->objectCount, header->dataSize);
    return *reason != nullptr ? ReadResult::kBad : ReadResult::kMessage;
}

}  // namespace binderwire
}  // namespace android

#endif  // DAB_PLATFORM_HOST_BINDER_WIRE_H
