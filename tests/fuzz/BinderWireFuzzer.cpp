// Fuzz target: the binder wire decoder. The input is a byte stream as a peer would send it on
// a connection: every whole message is checked, its object table read, the parcel built the
// way the connection builds it, and the parcel read back with each reader a stub uses.
#include "BinderConnection.h"
#include "BinderWire.h"
#include "HostParcel.h"

#include <binder/Binder.h>
#include <binder/Parcel.h>

#include <cstddef>
#include <cstdint>
#include <vector>

using namespace android;
using namespace android::binderwire;

namespace {

// Reads the parcel from the start with one reader; returns how far it got.
size_t readAll(const Parcel& parcel, int reader) {
    parcel.setDataPosition(0);
    for (int guard = 0; guard < 64 && parcel.dataAvail() > 0; ++guard) {
        switch (reader) {
            case 0: parcel.readInt32(); break;
            case 1: parcel.readString8(); break;
            case 2: parcel.readString16(); break;
            case 3: parcel.readCString(); break;
            case 4: parcel.readStrongBinder(); break;
            case 5: {
                int32_t len = 0;
                HostParcel::readByteBlock(parcel, &len);
                break;
            }
            default: parcel.readInt64(); break;
        }
    }
    return parcel.dataPosition();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const sp<IBinder> local = new BBinder();
    size_t offset = 0;
    MessageHeader header;
    std::vector<ObjectEntry> table;
    while (offset < size) {
        const char* reason = nullptr;
        if (readMessage(data + offset, size - offset, &header, &table, &reason) !=
            ReadResult::kMessage) {
            break;
        }
        // Every object becomes a local binder here: which one it is does not change the parse.
        std::vector<sp<IBinder>> objects(table.size(), local);
        // Descriptor entries get no open descriptor: the parse must not depend on one.
        std::vector<int> fds(table.size(), -1);
        Parcel parcel;
        BinderConnection::fillParcel(header, data + offset + sizeof(MessageHeader), table,
                                     objects, &fds, &parcel);
        parcel.enforceInterface(String16("android.media.IDABPlayer"));
        for (int reader = 0; reader < 7; ++reader) readAll(parcel, reader);
        offset += header.size;
    }
    return 0;
}
