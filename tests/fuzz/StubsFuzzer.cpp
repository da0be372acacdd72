// Fuzz target: the stubs' onTransact of every binder interface a process serves (player
// service, player, client callback, and the head-unit interfaces), fed a parcel built from
// fuzz bytes, against local implementations that only write their outputs.
//
// Input: byte 0 picks the interface, byte 1 the transaction code (a few codes past the last
// one included), byte 2 bit 0 writes the right interface token first, byte 3 marks which of
// the first eight 4-byte slots after the token carry a binder object; the rest is parcel data.
#include "HostParcel.h"

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

class QuietPlayer : public BnDABPlayer {
public:
    int manualUp() override { return 0; }
    int manualDown() override { return 0; }
    int presetSeekUp() override { return 0; }
    int presetSeekDown() override { return 0; }
    int switchBand() override { return 0; }
    int recall(int) override { return 0; }
    int presetListRecall(int, int) override { return 0; }
    int presetUpRecall() override { return 0; }
    int presetDownRecall() override { return 0; }
    int serviceListRecall(int) override { return 0; }
    int ptyNewsinfoListRecall(int) override { return 0; }
    int ptyPopularListRecall(int) override { return 0; }
    int ptyClassicsListRecall(int) override { return 0; }
    int ptyOthersListRecall(int) override { return 0; }
    int ensembleListRecall(int) override { return 0; }
    int memory(int) override { return 0; }
    int presetListMemory(int, int) override { return 0; }
    int requestPresetList(int) override { return 0; }
    int timeShiftPlay() override { return 0; }
    int timeShiftPause() override { return 0; }
    int timeSeek(int) override { return 0; }
    int requestDynamicText() override { return 0; }
    int requestServiceListUpdate() override { return 0; }
    int cancelServiceListUpdate() override { return 0; }
    int requestServiceCompList() override { return 0; }
    int requestEnsembleList() override { return 0; }
    int requestPTYSecondList(int) override { return 0; }
    int requestEnsembleSecondList(int) override { return 0; }
    int abcSearch(int) override { return 0; }
    int abcSearchCancel() override { return 0; }
    int getBand(int* v) override { return fillInt(v); }
    int getPresetNum(int* v) override { return fillInt(v); }
    int getFrequence(int* v) override { return fillInt(v); }
    int getFreqString(char* t) override { return fillText(t, DAB_PLAYER_LABEL_SIZE); }
    int getBlockId(char* t) override { return fillText(t, DAB_PLAYER_LABEL_SIZE); }
    int getSignalLevel(int* v) override { return fillInt(v); }
    int getFmLink(int* v) override { return fillInt(v); }
    int getBitPerSecond(int* v) override { return fillInt(v); }
    int getPtyType(int* v) override { return fillInt(v); }
    int getEnsembleLabel(char* l, int* c) override { return fillLabel(l, c); }
    int getServiceLabel(char* l, int* c) override { return fillLabel(l, c); }
    int getCompLabel(char* l, int* c) override { return fillLabel(l, c); }
    int getCompTotal(int* v) override { return fillInt(v); }
    int getCompNum(int* v) override { return fillInt(v); }
    int getPlaybackStatus(int* v) override { return fillInt(v); }
    int getTotalTime(int* v) override { return fillInt(v); }
    int getCacheTime(int* v) override { return fillInt(v); }
    int getPauseTime(int* v) override { return fillInt(v); }
    int getDynamicText(char* t, int* c, int* len) override {
        fillInt(c);
        fillInt(len);
        return fillText(t, DAB_PLAYER_DYNAMIC_TEXT_SIZE);
    }
    int getServiceListItem(int, char* l, int* c) override { return fillLabel(l, c); }
    int getPtyPopularListItem(int, char* l, int* c) override { return fillLabel(l, c); }
    int getPtyClassicsListItem(int, char* l, int* c) override { return fillLabel(l, c); }
    int getPtyNewsinfoListItem(int, char* l, int* c) override { return fillLabel(l, c); }
    int getPtyOthersListItem(int, char* l, int* c) override { return fillLabel(l, c); }
    int getEnsembleCompListItem(int, char* l, int* c) override { return fillLabel(l, c); }
    int getEnsembleListItem(int, char* l, int* c) override { return fillLabel(l, c); }
    int getPresetListItem(int, int, char* l, int* c, int* avail) override {
        fillInt(avail);
        return fillLabel(l, c);
    }
    int getLogicMode(int* v) override { return fillInt(v); }
    int getError(int* v) override { return fillInt(v); }
    int getRealError(int* v) override { return fillInt(v); }
    int getNm(int* v) override { return fillInt(v); }
    int getDisplayFormat(int* v) override { return fillInt(v); }
    int getAntStatus(int* v) override { return fillInt(v); }
    int toNormalView() override { return 0; }
    int toLive() override { return 0; }
    int timeShift() override { return 0; }
    int abcSearchOn() override { return 0; }
    int abcSearchOff() override { return 0; }
    int setDisplayFormat() override { return 0; }
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
