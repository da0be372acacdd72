#include <dabplayer/IDABPlayer.h>

#include "RecordingPlayerCalls.h"

#include <string.h>

#include <initializer_list>
#include <string>

namespace android {

namespace {

constexpr int kMaxInts = 2;
constexpr int kMaxOuts = 2;

// The arguments of one operation in the order they travel, which is their order in the
// signature: the int inputs, then an optional text buffer, then the int outputs.
struct Shape {
    int ints;
    size_t textSize;  // 0: no text buffer
    int outs;
};

constexpr Shape kNoArgs{0, 0, 0};
constexpr Shape kInt{1, 0, 0};
constexpr Shape kIntInt{2, 0, 0};
constexpr Shape kIntOut{0, 0, 1};
constexpr Shape kText{0, DAB_PLAYER_LABEL_SIZE, 0};
constexpr Shape kLabelCode{0, DAB_PLAYER_LABEL_SIZE, 1};
constexpr Shape kDynamicText{0, DAB_PLAYER_DYNAMIC_TEXT_SIZE, 2};
constexpr Shape kListItem{1, DAB_PLAYER_LABEL_SIZE, 1};
constexpr Shape kPresetItem{2, DAB_PLAYER_LABEL_SIZE, 2};

// An output travels as a presence flag and, when present, its current bytes: a null pointer
// stays null for the service, and an output the service leaves alone comes back unchanged.
status_t writeOptional(Parcel& parcel, const void* value, size_t size) {
    status_t err = parcel.writeInt32(value != nullptr ? 1 : 0);
    if (err == NO_ERROR && value != nullptr) err = parcel.write(value, size);
    return err;
}

// Reads what writeOptional wrote into storage; *present says whether the value was sent.
status_t readOptional(const Parcel& parcel, void* storage, size_t size, bool* present) {
    int32_t flag = 0;
    if (parcel.readInt32(&flag) != NO_ERROR || (flag != 0 && flag != 1)) return BAD_VALUE;
    *present = (flag == 1);
    if (*present && parcel.read(storage, size) != NO_ERROR) return BAD_VALUE;
    return NO_ERROR;
}

// One call's arguments. In the proxy the pointers are the caller's storage; in the stub they
// point into this object's storage, or are null where the caller passed null. One thread only.
class PlayerCall {
public:
    explicit PlayerCall(const Shape& shape, std::initializer_list<int> inputs = {},
                        char* textOut = nullptr, std::initializer_list<int*> outputs = {})
        : text(textOut), mShape(shape) {
        int i = 0;
        for (auto v = inputs.begin(); v != inputs.end() && i < kMaxInts; ++v) ints[i++] = *v;
        i = 0;
        for (auto p = outputs.begin(); p != outputs.end() && i < kMaxOuts; ++p) outs[i++] = *p;
    }

    // Proxy: the request after the interface token.
    status_t writeRequest(Parcel& data) const {
        status_t err = NO_ERROR;
        for (int i = 0; i < mShape.ints && err == NO_ERROR; ++i) err = data.writeInt32(ints[i]);
        if (mShape.textSize > 0 && err == NO_ERROR) {
            err = writeOptional(data, text, mShape.textSize);
        }
        for (int i = 0; i < mShape.outs && err == NO_ERROR; ++i) {
            err = writeOptional(data, outs[i], sizeof(int));
        }
        return err;
    }

    // Stub: takes the arguments from the request; BAD_VALUE when it is short or malformed.
    status_t readRequest(const Parcel& data) {
        for (int i = 0; i < mShape.ints; ++i) {
            if (data.readInt32(&ints[i]) != NO_ERROR) return BAD_VALUE;
        }
        bool present = false;
        if (mShape.textSize > 0) {
            if (readOptional(data, mText, mShape.textSize, &present) != NO_ERROR) return BAD_VALUE;
            text = present ? mText : nullptr;
        }
        for (int i = 0; i < mShape.outs; ++i) {
            if (readOptional(data, &mOuts[i], sizeof(int), &present) != NO_ERROR) {
                return BAD_VALUE;
            }
            outs[i] = present ? &mOuts[i] : nullptr;
        }
        return NO_ERROR;
    }

    // Stub: the status, then every output the caller sent.
    status_t writeReply(Parcel& reply, int status) const {
        status_t err = reply.writeInt32(status);
        if (text != nullptr && err == NO_ERROR) err = reply.write(text, mShape.textSize);
        for (int i = 0; i < mShape.outs && err == NO_ERROR; ++i) {
            if (outs[i] != nullptr) err = reply.writeInt32(*outs[i]);
        }
        return err;
    }

    // Proxy: the service's status; the outputs reach the caller's storage only when the whole
    // reply was read, so a short reply changes nothing.
    status_t readReply(const Parcel& reply, int* status) const {
        PlayerCall staged(mShape);
        int32_t result = 0;
        status_t err = reply.readInt32(&result);
        if (text != nullptr && err == NO_ERROR) err = reply.read(staged.mText, mShape.textSize);
        for (int i = 0; i < mShape.outs && err == NO_ERROR; ++i) {
            if (outs[i] != nullptr) err = reply.readInt32(&staged.mOuts[i]);
        }
        if (err != NO_ERROR) return NOT_ENOUGH_DATA;
        if (text != nullptr) memcpy(text, staged.mText, mShape.textSize);
        for (int i = 0; i < mShape.outs; ++i) {
            if (outs[i] != nullptr) *outs[i] = staged.mOuts[i];
        }
        *status = result;
        return NO_ERROR;
    }

    // Stub: the call as a replay script writes it: the operation, its int inputs, then null
    // or _ for each output (trailing _ left out).
    std::string words(const char* name) const {
        std::string w = name;
        for (int i = 0; i < mShape.ints; ++i) w += " " + std::to_string(ints[i]);
        std::string outputs;
        std::string pending;
        auto add = [&](bool isNull) {
            pending += isNull ? " null" : " _";
            if (isNull) {
                outputs += pending;
                pending.clear();
            }
        };
        if (mShape.textSize > 0) add(text == nullptr);
        for (int i = 0; i < mShape.outs; ++i) add(outs[i] == nullptr);
        return w + outputs;
    }

    int32_t ints[kMaxInts] = {};  // the int inputs
    char* text;                  // the text buffer, or null
    int* outs[kMaxOuts] = {};    // the int outputs, each possibly null

private:
    Shape mShape;
    char mText[DAB_PLAYER_DYNAMIC_TEXT_SIZE] = {};  // the stub's copy of the caller's text
    int mOuts[kMaxOuts] = {};                       // the stub's copies of the int outputs
};

// Every operation returns what the service returned, or the transport's error (a negative
// status_t such as PERMISSION_DENIED or DEAD_OBJECT) when the call did not get through; the
// outputs are then left untouched. Any thread; blocks until the service has answered.
class BpDABPlayer : public BpInterface<IDABPlayer> {
public:
    explicit BpDABPlayer(const sp<IBinder>& impl) : BpInterface<IDABPlayer>(impl) {}

    int manualUp() override { return callNoArgs(MANUAL_UP); }
    int manualDown() override { return callNoArgs(MANUAL_DOWN); }
    int presetSeekUp() override { return callNoArgs(PRESET_SEEK_UP); }
    int presetSeekDown() override { return callNoArgs(PRESET_SEEK_DOWN); }
    int switchBand() override { return callNoArgs(SWITCH_BAND); }
    int recall(int index) override { return callInt(RECALL, index); }
    int presetListRecall(int band, int index) override {
        return run(PRESET_LIST_RECALL, PlayerCall(kIntInt, {band, index}));
    }
    int presetUpRecall() override { return callNoArgs(PRESET_UP_RECALL); }
    int presetDownRecall() override { return callNoArgs(PRESET_DOWN_RECALL); }
    int serviceListRecall(int index) override { return callInt(SERVICE_LIST_RECALL, index); }
    int ptyNewsinfoListRecall(int index) override {
        return callInt(PTY_NEWSINFO_LIST_RECALL, index);
    }
    int ptyPopularListRecall(int index) override { return callInt(PTY_POPULAR_LIST_RECALL, index); }
    int ptyClassicsListRecall(int index) override {
        return callInt(PTY_CLASSICS_LIST_RECALL, index);
    }
    int ptyOthersListRecall(int index) override { return callInt(PTY_OTHERS_LIST_RECALL, index); }
    int ensembleListRecall(int index) override { return callInt(ENSEMBLE_LIST_RECALL, index); }
    int memory(int index) override { return callInt(MEMORY, index); }
    int presetListMemory(int band, int index) override {
        return run(PRESET_LIST_MEMORY, PlayerCall(kIntInt, {band, index}));
    }
    int requestPresetList(int band) override { return callInt(REQUEST_PRESET_LIST, band); }
    int timeShiftPlay() override { return callNoArgs(TIME_SHIFT_PLAY); }
    int timeShiftPause() override { return callNoArgs(TIME_SHIFT_PAUSE); }
    int timeSeek(int time) override { return callInt(TIME_SEEK, time); }
    int requestDynamicText() override { return callNoArgs(REQUEST_DYNAMIC_TEXT); }
    int requestServiceListUpdate() override { return callNoArgs(REQUEST_SERVICE_LIST_UPDATE); }
    int cancelServiceListUpdate() override { return callNoArgs(CANCEL_SERVICE_LIST_UPDATE); }
    int requestServiceCompList() override { return callNoArgs(REQUEST_SERVICE_COMP_LIST); }
    int requestEnsembleList() override { return callNoArgs(REQUEST_ENSEMBLE_LIST); }
    int requestPTYSecondList(int index) override { return callInt(REQUEST_PTY_SECOND_LIST, index); }
    int requestEnsembleSecondList(int ensembleIndex) override {
        return callInt(REQUEST_ENSEMBLE_SECOND_LIST, ensembleIndex);
    }
    int abcSearch(int index) override { return callInt(ABC_SEARCH, index); }
    int abcSearchCancel() override { return callNoArgs(ABC_SEARCH_CANCEL); }
    int getBand(int* band) override { return callIntOut(GET_BAND, band); }
    int getPresetNum(int* presetNum) override { return callIntOut(GET_PRESET_NUM, presetNum); }
    int getFrequence(int* frequency) override { return callIntOut(GET_FREQUENCE, frequency); }
    int getFreqString(char* freq) override { return callText(GET_FREQ_STRING, freq); }
    int getBlockId(char* blockId) override { return callText(GET_BLOCK_ID, blockId); }
    int getSignalLevel(int* level) override { return callIntOut(GET_SIGNAL_LEVEL, level); }
    int getFmLink(int* fmLink) override { return callIntOut(GET_FM_LINK, fmLink); }
    int getBitPerSecond(int* bps) override { return callIntOut(GET_BIT_PER_SECOND, bps); }
    int getPtyType(int* ptyType) override { return callIntOut(GET_PTY_TYPE, ptyType); }
    int getEnsembleLabel(char* label, int* code) override {
        return callLabel(GET_ENSEMBLE_LABEL, label, code);
    }
    int getServiceLabel(char* label, int* code) override {
        return callLabel(GET_SERVICE_LABEL, label, code);
    }
    int getCompLabel(char* label, int* code) override {
        return callLabel(GET_COMP_LABEL, label, code);
    }
    int getCompTotal(int* total) override { return callIntOut(GET_COMP_TOTAL, total); }
    int getCompNum(int* num) override { return callIntOut(GET_COMP_NUM, num); }
    int getPlaybackStatus(int* status) override { return callIntOut(GET_PLAYBACK_STATUS, status); }
    int getTotalTime(int* time) override { return callIntOut(GET_TOTAL_TIME, time); }
    int getCacheTime(int* time) override { return callIntOut(GET_CACHE_TIME, time); }
    int getPauseTime(int* time) override { return callIntOut(GET_PAUSE_TIME, time); }
    int getDynamicText(char* text, int* code, int* length) override {
        return run(GET_DYNAMIC_TEXT, PlayerCall(kDynamicText, {}, text, {code, length}));
    }
    int getServiceListItem(int index, char* label, int* code) override {
        return callListItem(GET_SERVICE_LIST_ITEM, index, label, code);
    }
    int getPtyPopularListItem(int index, char* label, int* code) override {
        return callListItem(GET_PTY_POPULAR_LIST_ITEM, index, label, code);
    }
    int getPtyClassicsListItem(int index, char* label, int* code) override {
        return callListItem(GET_PTY_CLASSICS_LIST_ITEM, index, label, code);
    }
    int getPtyNewsinfoListItem(int index, char* label, int* code) override {
        return callListItem(GET_PTY_NEWSINFO_LIST_ITEM, index, label, code);
    }
    int getPtyOthersListItem(int index, char* label, int* code) override {
        return callListItem(GET_PTY_OTHERS_LIST_ITEM, index, label, code);
    }
    int getEnsembleCompListItem(int index, char* label, int* code) override {
        return callListItem(GET_ENSEMBLE_COMP_LIST_ITEM, index, label, code);
    }
    int getEnsembleListItem(int index, char* label, int* code) override {
        return callListItem(GET_ENSEMBLE_LIST_ITEM, index, label, code);
    }
    int getPresetListItem(int band, int index, char* label, int* code, int* labelAvail) override {
        return run(GET_PRESET_LIST_ITEM,
                   PlayerCall(kPresetItem, {band, index}, label, {code, labelAvail}));
    }
    int getLogicMode(int* mode) override { return callIntOut(GET_LOGIC_MODE, mode); }
    int getError(int* error) override { return callIntOut(GET_ERROR, error); }
    int getRealError(int* error) override { return callIntOut(GET_REAL_ERROR, error); }
    int getNm(int* nm) override { return callIntOut(GET_NM, nm); }
    int getDisplayFormat(int* format) override { return callIntOut(GET_DISPLAY_FORMAT, format); }
    int getAntStatus(int* status) override { return callIntOut(GET_ANT_STATUS, status); }
    int toNormalView() override { return callNoArgs(TO_NORMAL_VIEW); }
    int toLive() override { return callNoArgs(TO_LIVE); }
    int timeShift() override { return callNoArgs(TIME_SHIFT); }
    int abcSearchOn() override { return callNoArgs(ABC_SEARCH_ON); }
    int abcSearchOff() override { return callNoArgs(ABC_SEARCH_OFF); }
    int setDisplayFormat() override { return callNoArgs(SET_DISPLAY_FORMAT); }

    int setClientListener(const sp<IDABPlayerClient>& client) override {
        Parcel data;
        Parcel reply;
        status_t err = data.writeInterfaceToken(IDABPlayer::descriptor);
        if (err == NO_ERROR) err = data.writeStrongBinder(IInterface::asBinder(client));
        if (err == NO_ERROR) err = remote()->transact(SET_CLIENT_LISTENER, data, &reply);
        int32_t status = 0;
        if (err == NO_ERROR && reply.readInt32(&status) != NO_ERROR) err = NOT_ENOUGH_DATA;
        return err == NO_ERROR ? status : err;
    }

private:
    // The interface token, the arguments, the transaction; then the status and the outputs.
    int run(uint32_t code, const PlayerCall& call) {
        Parcel data;
        Parcel reply;
        status_t err = data.writeInterfaceToken(IDABPlayer::descriptor);
        if (err == NO_ERROR) err = call.writeRequest(data);
        if (err == NO_ERROR) err = remote()->transact(code, data, &reply);
        int status = 0;
        if (err == NO_ERROR) err = call.readReply(reply, &status);
        return err == NO_ERROR ? status : err;
    }

    int callNoArgs(uint32_t code) { return run(code, PlayerCall(kNoArgs)); }
    int callInt(uint32_t code, int value) { return run(code, PlayerCall(kInt, {value})); }
    int callIntOut(uint32_t code, int* value) {
        return run(code, PlayerCall(kIntOut, {}, nullptr, {value}));
    }
    int callText(uint32_t code, char* text) { return run(code, PlayerCall(kText, {}, text)); }
    int callLabel(uint32_t code, char* label, int* charCode) {
        return run(code, PlayerCall(kLabelCode, {}, label, {charCode}));
    }
    int callListItem(uint32_t code, int index, char* label, int* charCode) {
        return run(code, PlayerCall(kListItem, {index}, label, {charCode}));
    }
};

// The stub's side of each shape: an operation's signature selects its layout and the call.
using NoArgsOp = int (IDABPlayer::*)();
using IntOp = int (IDABPlayer::*)(int);
using IntIntOp = int (IDABPlayer::*)(int, int);
using IntOutOp = int (IDABPlayer::*)(int*);
using TextOp = int (IDABPlayer::*)(char*);
using LabelOp = int (IDABPlayer::*)(char*, int*);
using DynamicTextOp = int (IDABPlayer::*)(char*, int*, int*);
using ListItemOp = int (IDABPlayer::*)(int, char*, int*);
using PresetItemOp = int (IDABPlayer::*)(int, int, char*, int*, int*);

Shape shapeOf(NoArgsOp) { return kNoArgs; }
Shape shapeOf(IntOp) { return kInt; }
Shape shapeOf(IntIntOp) { return kIntInt; }
Shape shapeOf(IntOutOp) { return kIntOut; }
Shape shapeOf(TextOp) { return kText; }
Shape shapeOf(LabelOp) { return kLabelCode; }
Shape shapeOf(DynamicTextOp) { return kDynamicText; }
Shape shapeOf(ListItemOp) { return kListItem; }
Shape shapeOf(PresetItemOp) { return kPresetItem; }

int invoke(IDABPlayer& p, NoArgsOp op, const PlayerCall&) { return (p.*op)(); }
int invoke(IDABPlayer& p, IntOp op, const PlayerCall& c) { return (p.*op)(c.ints[0]); }
int invoke(IDABPlayer& p, IntIntOp op, const PlayerCall& c) {
    return (p.*op)(c.ints[0], c.ints[1]);
}
int invoke(IDABPlayer& p, IntOutOp op, const PlayerCall& c) { return (p.*op)(c.outs[0]); }
int invoke(IDABPlayer& p, TextOp op, const PlayerCall& c) { return (p.*op)(c.text); }
int invoke(IDABPlayer& p, LabelOp op, const PlayerCall& c) { return (p.*op)(c.text, c.outs[0]); }
int invoke(IDABPlayer& p, DynamicTextOp op, const PlayerCall& c) {
    return (p.*op)(c.text, c.outs[0], c.outs[1]);
}
int invoke(IDABPlayer& p, ListItemOp op, const PlayerCall& c) {
    return (p.*op)(c.ints[0], c.text, c.outs[0]);
}
int invoke(IDABPlayer& p, PresetItemOp op, const PlayerCall& c) {
    return (p.*op)(c.ints[0], c.ints[1], c.text, c.outs[0], c.outs[1]);
}

// Unmarshals one call, runs it on the calling thread and marshals the status and outputs.
// A short or malformed request is refused before the operation runs.
template <typename Op>
status_t serve(IDABPlayer& player, const char* name, Op op, const Parcel& data, Parcel* reply) {
    PlayerCall call(shapeOf(op));
    if (call.readRequest(data) != NO_ERROR) return BAD_VALUE;
    RecordingPlayerCalls* recording = RecordingPlayerCalls::get();
    const uint64_t token =
            recording != nullptr ? recording->calling(IInterface::asBinder(&player).get(), call.words(name)) : 0;
    const int status = invoke(player, op, call);
    if (recording != nullptr) recording->finished(token);
    return reply != nullptr ? call.writeReply(*reply, status) : NO_ERROR;
}

}  // namespace

IMPLEMENT_META_INTERFACE(DABPlayer, "android.media.IDABPlayer")

status_t BnDABPlayer::onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    if (code < MANUAL_UP || code > SET_CLIENT_LISTENER) {
        return BBinder::onTransact(code, data, reply, flags);
    }
    if (!data.enforceInterface(IDABPlayer::descriptor)) return PERMISSION_DENIED;
    auto s = [&](const char* name, auto op) { return serve(*this, name, op, data, reply); };
    switch (code) {
        case MANUAL_UP: return s("manualUp", &IDABPlayer::manualUp);
        case MANUAL_DOWN: return s("manualDown", &IDABPlayer::manualDown);
        case PRESET_SEEK_UP: return s("presetSeekUp", &IDABPlayer::presetSeekUp);
        case PRESET_SEEK_DOWN: return s("presetSeekDown", &IDABPlayer::presetSeekDown);
        case SWITCH_BAND: return s("switchBand", &IDABPlayer::switchBand);
        case RECALL: return s("recall", &IDABPlayer::recall);
        case PRESET_LIST_RECALL: return s("presetListRecall", &IDABPlayer::presetListRecall);
        case PRESET_UP_RECALL: return s("presetUpRecall", &IDABPlayer::presetUpRecall);
        case PRESET_DOWN_RECALL: return s("presetDownRecall", &IDABPlayer::presetDownRecall);
        case SERVICE_LIST_RECALL: return s("serviceListRecall", &IDABPlayer::serviceListRecall);
        case PTY_NEWSINFO_LIST_RECALL: return s("ptyNewsinfoListRecall", &IDABPlayer::ptyNewsinfoListRecall);
        case PTY_POPULAR_LIST_RECALL: return s("ptyPopularListRecall", &IDABPlayer::ptyPopularListRecall);
        case PTY_CLASSICS_LIST_RECALL: return s("ptyClassicsListRecall", &IDABPlayer::ptyClassicsListRecall);
        case PTY_OTHERS_LIST_RECALL: return s("ptyOthersListRecall", &IDABPlayer::ptyOthersListRecall);
        case ENSEMBLE_LIST_RECALL: return s("ensembleListRecall", &IDABPlayer::ensembleListRecall);
        case MEMORY: return s("memory", &IDABPlayer::memory);
        case PRESET_LIST_MEMORY: return s("presetListMemory", &IDABPlayer::presetListMemory);
        case REQUEST_PRESET_LIST: return s("requestPresetList", &IDABPlayer::requestPresetList);
        case TIME_SHIFT_PLAY: return s("timeShiftPlay", &IDABPlayer::timeShiftPlay);
        case TIME_SHIFT_PAUSE: return s("timeShiftPause", &IDABPlayer::timeShiftPause);
        case TIME_SEEK: return s("timeSeek", &IDABPlayer::timeSeek);
        case REQUEST_DYNAMIC_TEXT: return s("requestDynamicText", &IDABPlayer::requestDynamicText);
        case REQUEST_SERVICE_LIST_UPDATE: return s("requestServiceListUpdate", &IDABPlayer::requestServiceListUpdate);
        case CANCEL_SERVICE_LIST_UPDATE: return s("cancelServiceListUpdate", &IDABPlayer::cancelServiceListUpdate);
        case REQUEST_SERVICE_COMP_LIST: return s("requestServiceCompList", &IDABPlayer::requestServiceCompList);
        case REQUEST_ENSEMBLE_LIST: return s("requestEnsembleList", &IDABPlayer::requestEnsembleList);
        case REQUEST_PTY_SECOND_LIST: return s("requestPTYSecondList", &IDABPlayer::requestPTYSecondList);
        case REQUEST_ENSEMBLE_SECOND_LIST: return s("requestEnsembleSecondList", &IDABPlayer::requestEnsembleSecondList);
        case ABC_SEARCH: return s("abcSearch", &IDABPlayer::abcSearch);
        case ABC_SEARCH_CANCEL: return s("abcSearchCancel", &IDABPlayer::abcSearchCancel);
        case GET_BAND: return s("getBand", &IDABPlayer::getBand);
        case GET_PRESET_NUM: return s("getPresetNum", &IDABPlayer::getPresetNum);
        case GET_FREQUENCE: return s("getFrequence", &IDABPlayer::getFrequence);
        case GET_FREQ_STRING: return s("getFreqString", &IDABPlayer::getFreqString);
        case GET_BLOCK_ID: return s("getBlockId", &IDABPlayer::getBlockId);
        case GET_SIGNAL_LEVEL: return s("getSignalLevel", &IDABPlayer::getSignalLevel);
        case GET_FM_LINK: return s("getFmLink", &IDABPlayer::getFmLink);
        case GET_BIT_PER_SECOND: return s("getBitPerSecond", &IDABPlayer::getBitPerSecond);
        case GET_PTY_TYPE: return s("getPtyType", &IDABPlayer::getPtyType);
        case GET_ENSEMBLE_LABEL: return s("getEnsembleLabel", &IDABPlayer::getEnsembleLabel);
        case GET_SERVICE_LABEL: return s("getServiceLabel", &IDABPlayer::getServiceLabel);
        case GET_COMP_LABEL: return s("getCompLabel", &IDABPlayer::getCompLabel);
        case GET_COMP_TOTAL: return s("getCompTotal", &IDABPlayer::getCompTotal);
        case GET_COMP_NUM: return s("getCompNum", &IDABPlayer::getCompNum);
        case GET_PLAYBACK_STATUS: return s("getPlaybackStatus", &IDABPlayer::getPlaybackStatus);
        case GET_TOTAL_TIME: return s("getTotalTime", &IDABPlayer::getTotalTime);
        case GET_CACHE_TIME: return s("getCacheTime", &IDABPlayer::getCacheTime);
        case GET_PAUSE_TIME: return s("getPauseTime", &IDABPlayer::getPauseTime);
        case GET_DYNAMIC_TEXT: return s("getDynamicText", &IDABPlayer::getDynamicText);
        case GET_SERVICE_LIST_ITEM: return s("getServiceListItem", &IDABPlayer::getServiceListItem);
        case GET_PTY_POPULAR_LIST_ITEM: return s("getPtyPopularListItem", &IDABPlayer::getPtyPopularListItem);
        case GET_PTY_CLASSICS_LIST_ITEM: return s("getPtyClassicsListItem", &IDABPlayer::getPtyClassicsListItem);
        case GET_PTY_NEWSINFO_LIST_ITEM: return s("getPtyNewsinfoListItem", &IDABPlayer::getPtyNewsinfoListItem);
        case GET_PTY_OTHERS_LIST_ITEM: return s("getPtyOthersListItem", &IDABPlayer::getPtyOthersListItem);
        case GET_ENSEMBLE_COMP_LIST_ITEM: return s("getEnsembleCompListItem", &IDABPlayer::getEnsembleCompListItem);
        case GET_ENSEMBLE_LIST_ITEM: return s("getEnsembleListItem", &IDABPlayer::getEnsembleListItem);
        case GET_PRESET_LIST_ITEM: return s("getPresetListItem", &IDABPlayer::getPresetListItem);
        case GET_LOGIC_MODE: return s("getLogicMode", &IDABPlayer::getLogicMode);
        case GET_ERROR: return s("getError", &IDABPlayer::getError);
        case GET_REAL_ERROR: return s("getRealError", &IDABPlayer::getRealError);
        case GET_NM: return s("getNm", &IDABPlayer::getNm);
        case GET_DISPLAY_FORMAT: return s("getDisplayFormat", &IDABPlayer::getDisplayFormat);
        case GET_ANT_STATUS: return s("getAntStatus", &IDABPlayer::getAntStatus);
        case TO_NORMAL_VIEW: return s("toNormalView", &IDABPlayer::toNormalView);
        case TO_LIVE: return s("toLive", &IDABPlayer::toLive);
        case TIME_SHIFT: return s("timeShift", &IDABPlayer::timeShift);
        case ABC_SEARCH_ON: return s("abcSearchOn", &IDABPlayer::abcSearchOn);
        case ABC_SEARCH_OFF: return s("abcSearchOff", &IDABPlayer::abcSearchOff);
        case SET_DISPLAY_FORMAT: return s("setDisplayFormat", &IDABPlayer::setDisplayFormat);
        case SET_CLIENT_LISTENER: {
            sp<IBinder> client;
            if (data.readStrongBinder(&client) != NO_ERROR) return BAD_VALUE;
            RecordingPlayerCalls* recording = RecordingPlayerCalls::get();
            const uint64_t token =
                    recording != nullptr ? recording->settingListener(IInterface::asBinder(this).get(), client) : 0;
            const int status = setClientListener(interface_cast<IDABPlayerClient>(client));
            if (recording != nullptr) recording->finished(token);
            return reply != nullptr ? reply->writeInt32(status) : NO_ERROR;
        }
        default: return BBinder::onTransact(code, data, reply, flags);
    }
}

}  // namespace android
