#include "DABLibBackend.h"
#include "RecordingDABLibBackend.h"

#include "HostMutex.h"

#include <dablib/DABLibIF.h>

#include <mutex>

namespace media_lib_dab {

namespace {
HostMutex gBackendLock;
android::sp<DABLibBackend> gCurrent;                     // guarded by gBackendLock
android::sp<DABLibBackend> (*gDefaultFactory)() = nullptr;  // guarded by gBackendLock
}  // namespace

DABLibBackend::~DABLibBackend() {}
int DABLibBackend::initialize(DABNotifyCallback, void*) { return 0; }
int DABLibBackend::finalize() { return 0; }
int DABLibBackend::command(const char*) { return 0; }
int DABLibBackend::pchMemory(int, int) { return 0; }
int DABLibBackend::pchRecall(int, int) { return 0; }
int DABLibBackend::timeShiftMove(int, unsigned short) { return 0; }
int DABLibBackend::svcListAbcSearchLabelReq(unsigned char, unsigned char, unsigned char) { return 0; }
int DABLibBackend::serviceRecall(unsigned char, unsigned short, unsigned long, unsigned char) { return 0; }
int DABLibBackend::pchListReq(uint8_t) { return 0; }
int DABLibBackend::ensembleListItemReq(uint8_t) { return 0; }
int DABLibBackend::svcCompListItemReq(uint8_t, uint8_t, uint8_t) { return 0; }
int DABLibBackend::ptyListItemReq(uint8_t, uint8_t) { return 0; }
int DABLibBackend::ensembleCompListItemReq(uint8_t, uint16_t) { return 0; }
int DABLibBackend::getter(const char*) { return 0; }
int DABLibBackend::getTitleData(EN_DAB_TEXT_TYPE, ST_DAB_TITLE_TEXT*) { return 0; }
int DABLibBackend::getDlsData(ST_DAB_DLS_TEXT*) { return 0; }
int DABLibBackend::getPchListItem(ST_DAB_PCH_LIST_ITEM*) { return 0; }
int DABLibBackend::getSvcListItem(ST_DAB_SVC_LIST_DATA*) { return 0; }

void DABLibBackend::setCurrent(const android::sp<DABLibBackend>& backend) {
    HostMutex::Autolock lock(gBackendLock);
    gCurrent = backend;
}

android::sp<DABLibBackend> DABLibBackend::current() {
    android::sp<DABLibBackend> backend;
    {
        HostMutex::Autolock lock(gBackendLock);
        if (gCurrent != nullptr) {
            backend = gCurrent;
        } else if (gDefaultFactory != nullptr) {
            backend = gDefaultFactory();
        } else {
            backend = new DABLibBackend();
        }
    }
    // DAB_RECORD: the session recorder stands in front of whichever backend is installed.
    return RecordingDABLibBackend::wrapIfRecording(backend);
}

void DABLibBackend::setDefaultFactory(android::sp<DABLibBackend> (*factory)()) {
    HostMutex::Autolock lock(gBackendLock);
    gDefaultFactory = factory;
}

DABLibIF::DABLibIF() : mBackend(DABLibBackend::current()) {}
DABLibIF::~DABLibIF() {}

int DABLibIF::initialize(DABNotifyCallback callback, void* cookie) { return mBackend->initialize(callback, cookie); }
int DABLibIF::finalize() { return mBackend->finalize(); }

int DABLibIF::manualUp() { return mBackend->command("manualUp"); }
int DABLibIF::manualDown() { return mBackend->command("manualDown"); }
int DABLibIF::seekUp() { return mBackend->command("seekUp"); }
int DABLibIF::seekDown() { return mBackend->command("seekDown"); }
int DABLibIF::switchBand() { return mBackend->command("switchBand"); }
int DABLibIF::preset1Recall() { return mBackend->command("preset1Recall"); }
int DABLibIF::preset2Recall() { return mBackend->command("preset2Recall"); }
int DABLibIF::preset3Recall() { return mBackend->command("preset3Recall"); }
int DABLibIF::preset4Recall() { return mBackend->command("preset4Recall"); }
int DABLibIF::preset5Recall() { return mBackend->command("preset5Recall"); }
int DABLibIF::preset6Recall() { return mBackend->command("preset6Recall"); }
int DABLibIF::presetChannelUp() { return mBackend->command("presetChannelUp"); }
int DABLibIF::presetChannelDown() { return mBackend->command("presetChannelDown"); }
int DABLibIF::timeShifeModeOn() { return mBackend->command("timeShifeModeOn"); }
int DABLibIF::live() { return mBackend->command("live"); }
int DABLibIF::esc() { return mBackend->command("esc"); }
int DABLibIF::play() { return mBackend->command("play"); }
int DABLibIF::pause() { return mBackend->command("pause"); }
int DABLibIF::dynamicModeOn() { return mBackend->command("dynamicModeOn"); }
int DABLibIF::abcSearchModeOn() { return mBackend->command("abcSearchModeOn"); }
int DABLibIF::abcSearchModeOff() { return mBackend->command("abcSearchModeOff"); }
int DABLibIF::abcSearchStop() { return mBackend->command("abcSearchStop"); }
int DABLibIF::listUpdateStart() { return mBackend->command("listUpdateStart"); }
int DABLibIF::listUpdateCancel() { return mBackend->command("listUpdateCancel"); }

int DABLibIF::pchMemory(EN_DAB_BAND_TYPE band, EN_DAB_PRESET_NUM preset) { return mBackend->pchMemory(band, preset); }
int DABLibIF::pchRecall(EN_DAB_BAND_TYPE band, EN_DAB_PRESET_NUM preset) { return mBackend->pchRecall(band, preset); }
int DABLibIF::timeShiftMove(EN_DAB_TS_MOVE_DIRECT direction, unsigned short amount) {
    return mBackend->timeShiftMove(direction, amount);
}
int DABLibIF::svcListAbcSearchLabelReq(unsigned char position, unsigned char letter, unsigned char reserved) {
    return mBackend->svcListAbcSearchLabelReq(position, letter, reserved);
}
int DABLibIF::serviceRecall(unsigned char nm, unsigned short eid, unsigned long sid, unsigned char scid) {
    return mBackend->serviceRecall(nm, eid, sid, scid);
}

int DABLibIF::pchListReq(uint8_t bandCode) { return mBackend->pchListReq(bandCode); }
int DABLibIF::ensembleListItemReq(uint8_t position) { return mBackend->ensembleListItemReq(position); }
int DABLibIF::svcCompListItemReq(uint8_t position, uint8_t r1, uint8_t r2) {
    return mBackend->svcCompListItemReq(position, r1, r2);
}
int DABLibIF::ptyListItemReq(uint8_t position, uint8_t group) { return mBackend->ptyListItemReq(position, group); }
int DABLibIF::ensembleCompListItemReq(uint8_t position, uint16_t eid) {
    return mBackend->ensembleCompListItemReq(position, eid);
}

int DABLibIF::getBand() { return mBackend->getter("getBand"); }
int DABLibIF::getPchNum() { return mBackend->getter("getPchNum"); }
int DABLibIF::getNmValue() { return mBackend->getter("getNmValue"); }
int DABLibIF::getLogicMode() { return mBackend->getter("getLogicMode"); }
int DABLibIF::getErrorInfo() { return mBackend->getter("getErrorInfo"); }
int DABLibIF::getAntStatus() { return mBackend->getter("getAntStatus"); }
int DABLibIF::getSignalLevel() { return mBackend->getter("getSignalLevel"); }
int DABLibIF::getFmLink() { return mBackend->getter("getFmLink"); }
int DABLibIF::getBitRate() { return mBackend->getter("getBitRate"); }
int DABLibIF::getComponentTotal() { return mBackend->getter("getComponentTotal"); }
int DABLibIF::getComponentNum() { return mBackend->getter("getComponentNum"); }
int DABLibIF::getTsStatus() { return mBackend->getter("getTsStatus"); }
int DABLibIF::getTsAllTime() { return mBackend->getter("getTsAllTime"); }
int DABLibIF::getTsDelayTime() { return mBackend->getter("getTsDelayTime"); }
int DABLibIF::getTsSetTime() { return mBackend->getter("getTsSetTime"); }
int DABLibIF::getTitleData(EN_DAB_TEXT_TYPE type, ST_DAB_TITLE_TEXT* out) { return mBackend->getTitleData(type, out); }
int DABLibIF::getDlsData(ST_DAB_DLS_TEXT* out) { return mBackend->getDlsData(out); }
int DABLibIF::getPchListItem(ST_DAB_PCH_LIST_ITEM* out) { return mBackend->getPchListItem(out); }
int DABLibIF::getSvcListItem(ST_DAB_SVC_LIST_DATA* out) { return mBackend->getSvcListItem(out); }

}  // namespace media_lib_dab
