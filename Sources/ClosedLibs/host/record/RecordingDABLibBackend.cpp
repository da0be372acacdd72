#include "RecordingDABLibBackend.h"

#include "HostMutex.h"
#include "RecordQuote.h"
#include "SessionRecorder.h"

#include <initializer_list>
#include <string>

namespace media_lib_dab {

namespace {

// Longer than any wait of the worker for an answer, with room for a sanitizer build on a
// loaded machine: a replay that lost its way stops here.
constexpr int kRequestWaitMs = 30000;

HostMutex gWrapLock;
android::sp<RecordingDABLibBackend> gWrapper GUARDED_BY(gWrapLock);
android::sp<DABLibBackend> gWrapped GUARDED_BY(gWrapLock);

// A fixed text field without its NUL padding.
std::string field(const char* text, size_t size) {
    size_t len = size;
    while (len > 0 && text[len - 1] == '\0') --len;
    return recordQuote(text, len);
}

// A list request of the worker: the replay waits until its own worker has sent the same
// request before it plays the tuner's answers, which follow in the recording. Time alone
// would let an answer arrive before the request it answers on a slower machine.
void gateOnRequest(const char* name, std::initializer_list<long> args) {
    SessionRecorder* r = SessionRecorder::get();
    if (r == nullptr) return;
    std::string text = std::string(name) + "(";
    bool first = true;
    for (long a : args) {
        text += (first ? "" : ",") + std::to_string(a);
        first = false;
    }
    r->event("await \"tuner " + text + ")\" " + std::to_string(kRequestWaitMs));
}

void record(const std::string& key, const std::string& answer, bool isGetter) {
    if (SessionRecorder* r = SessionRecorder::get()) r->tunerRead(key, answer, isGetter);
}

}  // namespace

android::sp<DABLibBackend> RecordingDABLibBackend::wrapIfRecording(const android::sp<DABLibBackend>& backend) {
    if (SessionRecorder::get() == nullptr || backend == nullptr) return backend;
    HostMutex::Autolock lock(gWrapLock);
    if (gWrapped != backend) {
        gWrapped = backend;
        gWrapper = new RecordingDABLibBackend(backend);
    }
    return gWrapper;
}

RecordingDABLibBackend::RecordingDABLibBackend(const android::sp<DABLibBackend>& inner) : mInner(inner) {}

int RecordingDABLibBackend::initialize(DABNotifyCallback callback, void* cookie) {
    mCallback = callback;
    mCookie = cookie;
    return mInner->initialize(&RecordingDABLibBackend::onNotify, this);
}

void RecordingDABLibBackend::onNotify(void* self, DABNotifyID id, int value) {
    RecordingDABLibBackend* me = static_cast<RecordingDABLibBackend*>(self);
    SessionRecorder* r = SessionRecorder::get();
    const uint64_t token = r->beginEvent("notify " + std::to_string(static_cast<int>(id)) + " " + std::to_string(value));
    if (me->mCallback != nullptr) me->mCallback(me->mCookie, id, value);
    r->endEvent(token);
}

int RecordingDABLibBackend::finalize() { return mInner->finalize(); }
int RecordingDABLibBackend::command(const char* name) { return mInner->command(name); }
int RecordingDABLibBackend::pchMemory(int band, int preset) { return mInner->pchMemory(band, preset); }
int RecordingDABLibBackend::pchRecall(int band, int preset) { return mInner->pchRecall(band, preset); }
int RecordingDABLibBackend::timeShiftMove(int direction, unsigned short amount) {
    return mInner->timeShiftMove(direction, amount);
}
int RecordingDABLibBackend::svcListAbcSearchLabelReq(unsigned char position, unsigned char letter,
                                                     unsigned char reserved) {
    gateOnRequest("svcListAbcSearchLabelReq", {position, letter, reserved});
    return mInner->svcListAbcSearchLabelReq(position, letter, reserved);
}
int RecordingDABLibBackend::serviceRecall(unsigned char nm, unsigned short eid, unsigned long sid,
                                          unsigned char scid) {
    return mInner->serviceRecall(nm, eid, sid, scid);
}
int RecordingDABLibBackend::pchListReq(uint8_t bandCode) {
    gateOnRequest("pchListReq", {bandCode});
    return mInner->pchListReq(bandCode);
}
int RecordingDABLibBackend::ensembleListItemReq(uint8_t position) {
    gateOnRequest("ensembleListItemReq", {position});
    return mInner->ensembleListItemReq(position);
}
int RecordingDABLibBackend::svcCompListItemReq(uint8_t position, uint8_t reserved1, uint8_t reserved2) {
    gateOnRequest("svcCompListItemReq", {position, reserved1, reserved2});
    return mInner->svcCompListItemReq(position, reserved1, reserved2);
}
int RecordingDABLibBackend::ptyListItemReq(uint8_t position, uint8_t ptyGroup) {
    gateOnRequest("ptyListItemReq", {position, ptyGroup});
    return mInner->ptyListItemReq(position, ptyGroup);
}
int RecordingDABLibBackend::ensembleCompListItemReq(uint8_t position, uint16_t eid) {
    gateOnRequest("ensembleCompListItemReq", {position, eid});
    return mInner->ensembleCompListItemReq(position, eid);
}

int RecordingDABLibBackend::getter(const char* name) {
    const int v = mInner->getter(name);
    record(name, std::to_string(v), true);
    return v;
}

int RecordingDABLibBackend::getTitleData(EN_DAB_TEXT_TYPE type, ST_DAB_TITLE_TEXT* out) {
    const int r = mInner->getTitleData(type, out);
    if (out != nullptr) {
        const std::string kind = std::to_string(static_cast<int>(type));
        record("title " + kind,
               "title " + kind + " " + std::to_string(out->charset) + " " + field(out->text, sizeof(out->text)),
               false);
    }
    return r;
}

int RecordingDABLibBackend::getDlsData(ST_DAB_DLS_TEXT* out) {
    const int r = mInner->getDlsData(out);
    if (out != nullptr) {
        record("dls", "dls " + std::to_string(out->charset) + " " + std::to_string(out->length) + " " +
                              std::to_string(out->segment) + " " + field(out->text, sizeof(out->text)),
               false);
    }
    return r;
}

int RecordingDABLibBackend::getPchListItem(ST_DAB_PCH_LIST_ITEM* out) {
    const int r = mInner->getPchListItem(out);
    if (out != nullptr) {
        record("pch", "pch valid=" + std::to_string(out->labelValid) + " band=" + std::to_string(out->band) +
                              " pch=" + std::to_string(out->pchNum) + " nm=" + std::to_string(out->nm) +
                              " encode=" + std::to_string(out->labelEncode) +
                              " label=" + field(out->label, sizeof(out->label)),
               false);
    }
    return r;
}

int RecordingDABLibBackend::getSvcListItem(ST_DAB_SVC_LIST_DATA* out) {
    const int r = mInner->getSvcListItem(out);
    if (out != nullptr) {
        record("svc", "svc valid=" + std::to_string(out->valid) + " all=" + std::to_string(out->curnum_all) +
                              " pos=" + std::to_string(out->curnum_pos) + " listall=" +
                              std::to_string(out->listnum_all) + " listpos=" + std::to_string(out->listnum_pos) +
                              " nm=" + std::to_string(out->NM) + " eid=" + std::to_string(out->eid) +
                              " sid=" + std::to_string(out->sid) + " scid=" + std::to_string(out->scid) +
                              " code=" + std::to_string(out->codeTyped) +
                              " label=" + field(out->label, sizeof(out->label)),
               false);
    }
    return r;
}

}  // namespace media_lib_dab
