// Fuzz target: the stubs' onTransact of every binder interface a process serves (player
// service, player, client callback, and the head-unit interfaces), fed a parcel built from
// fuzz bytes, against local implementations that only write their outputs.
//
// Input: byte 0 picks the interface, byte 1 the transaction code (a few codes past the last
// one included), byte 2 bit 0 writes the right interface token first, byte 3 marks which of
// the first eight 4-byte slots after the token carry a binder object; the rest is parcel data.
#include "HostParcel.h"
#include "../fakes/PlayerOperationList.h"

#include <dabplayer/IDABPlayer.h>
#include <dabplayer/IDABPlayerClient.h>
#include <dabplayer/IDABPlayerService.h>
#include <headunit/ICommandChannel.h>
#include <headunit/IHeadUnitMediaData.h>
#include <headunit/IHeadUnitMediaManager.h>
#include <headunit/IHeadUnitSourceListener.h>
#include <headunit/IHeadUnitSysCtrl.h>
#include <headunit/IHeadUnitSysCtrlListener.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

using namespace android;
using namespace headunit;

namespace {

int fillInt(int* out) {
    if (out != nullptr) *out = 7;
    return 0;
}
int fillText(char* text, size_t size) {
    if (text != nullptr) memset(text, 'x', size);
    return 0;
}
int fillLabel(char* label, int* code) {
    fillInt(code);
    return fillText(label, DAB_PLAYER_LABEL_SIZE);
}

// Every operation only writes its outputs; generated from the operation list.
#define QUIET_V(name) \
    int name() override { return 0; }
#define QUIET_I(name) \
    int name(int) override { return 0; }
#define QUIET_II(name) \
    int name(int, int) override { return 0; }
#define QUIET_PI(name) \
    int name(int* v) override { return fillInt(v); }
#define QUIET_PC(name) \
    int name(char* t) override { return fillText(t, DAB_PLAYER_LABEL_SIZE); }
#define QUIET_LABEL(name) \
    int name(char* l, int* c) override { return fillLabel(l, c); }
#define QUIET_ITEM(name) \
    int name(int, char* l, int* c) override { return fillLabel(l, c); }
#define QUIET_DYNAMIC(name)                                 \
    int name(char* t, int* c, int* len) override {          \
        fillInt(c);                                         \
        fillInt(len);                                       \
        return fillText(t, DAB_PLAYER_DYNAMIC_TEXT_SIZE);   \
    }
#define QUIET_PRESET(name)                                          \
    int name(int, int, char* l, int* c, int* avail) override {      \
        fillInt(avail);                                             \
        return fillLabel(l, c);                                     \
    }

class QuietPlayer : public BnDABPlayer {
public:
    PLAYER_OPERATIONS(QUIET_V, QUIET_I, QUIET_II, QUIET_PI, QUIET_PC, QUIET_LABEL, QUIET_ITEM,
                      QUIET_DYNAMIC, QUIET_PRESET)
    int setClientListener(const sp<IDABPlayerClient>&) override { return 0; }
};

class QuietClient : public BnDABPlayerClient {
public:
    void notify(int, int, int, const Parcel* obj) override {
        if (obj != nullptr) obj->readString16();
    }
};

class QuietService : public BnDABPlayerService {
public:
    sp<IDABPlayer> createClient(int, const sp<IDABPlayerClient>& client) override {
        return client != nullptr ? new QuietPlayer() : nullptr;
    }
};

class QuietListener : public BnHeadUnitSourceListener {
public:
    int onRequestActivation(int) override { return 1; }
    int onRequestDeactivation(int) override { return 1; }
    void onReqPublishMediaInfo() override {}
    void onSourceRelease(int) override {}
    int onRequestPrivateData(int, const Parcel* data, Parcel* reply) override {
        if (data != nullptr) data->readInt32();
        if (reply != nullptr) reply->writeInt32(0);
        return 0;
    }
    void onNotify(int, int, int, const Parcel* data) override {
        if (data != nullptr) data->readString16();
    }
};

class QuietManager : public BnHeadUnitMediaManager {
public:
    int createSource(const String8&, const sp<IHeadUnitSourceListener>&) override { return 0; }
    int registerSource(const String8&, int, Parcel* reply) override {
        if (reply != nullptr) reply->writeInt32(0);
        return 0;
    }
    int publishMediaInfo(const String8&, const MediaInfoParcel&) override { return 0; }
    int setMediaStatus(const String8&, int) override { return 0; }
};

class QuietMediaData : public BnHeadUnitMediaData {
public:
    int attach() override { return 0; }
    int publish(const String8&, int) override { return 0; }
};

class QuietSysCtrl : public BnHeadUnitSysCtrl {
public:
    int attach(const sp<IHeadUnitSysCtrlListener>&, int, int) override { return 0; }
    int detach(const sp<IHeadUnitSysCtrlListener>&) override { return 0; }
    int finishSuspend(const sp<IHeadUnitSysCtrlListener>&) override { return 0; }
    int finishResume(const sp<IHeadUnitSysCtrlListener>&) override { return 0; }
};

class QuietSysCtrlListener : public BnHeadUnitSysCtrlListener {
public:
    void onSuspend() override {}
    void onResume() override {}
};

class QuietChannel : public BnCommandChannel {
public:
    int execute(const String8& line, int, String8* output) override {
        if (output != nullptr) output->setTo(line);
        return 0;
    }
};

struct Target {
    sp<IBinder> stub;
    String16 descriptor;
    uint32_t codes;  // transaction codes of the interface
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Built once: a stub holds no state between calls.
    static const Target targets[] = {
            {new QuietService(), IDABPlayerService::descriptor, 1},
            {new QuietPlayer(), IDABPlayer::descriptor,
             IDABPlayer::SET_CLIENT_LISTENER - IBinder::FIRST_CALL_TRANSACTION + 1},
            {new QuietClient(), IDABPlayerClient::descriptor, 1},
            {new QuietListener(), IHeadUnitSourceListener::descriptor, 6},
            {new QuietManager(), IHeadUnitMediaManager::descriptor, 4},
            {new QuietMediaData(), IHeadUnitMediaData::descriptor, 2},
            {new QuietSysCtrl(), IHeadUnitSysCtrl::descriptor, 4},
            {new QuietSysCtrlListener(), IHeadUnitSysCtrlListener::descriptor, 2},
            {new QuietChannel(), ICommandChannel::descriptor, 1},
    };
    static const sp<IBinder> objects[] = {new QuietClient(), new QuietListener(),
                                          new QuietSysCtrlListener()};
    if (size < 4) return 0;
    const Target& target = targets[data[0] % (sizeof(targets) / sizeof(targets[0]))];
    const uint32_t code = IBinder::FIRST_CALL_TRANSACTION + data[1] % (target.codes + 2);
    Parcel parcel;
    if ((data[2] & 1) != 0) parcel.writeInterfaceToken(target.descriptor);
    const size_t start = parcel.dataSize();
    parcel.write(data + 4, size - 4);
    // Binder objects where the fuzz bytes asked for them, as a decoded message carries them.
    for (size_t slot = 0; slot < 8; ++slot) {
        const size_t position = start + slot * 4;
        if ((data[3] & (1u << slot)) == 0 || position + 4 > parcel.dataSize()) continue;
        HostParcel::appendObjectForTransport(&parcel, objects[slot % 3], position);
    }
    parcel.setDataPosition(0);
    Parcel reply;
    target.stub->transact(code, parcel, &reply, 0);
    return 0;
}
