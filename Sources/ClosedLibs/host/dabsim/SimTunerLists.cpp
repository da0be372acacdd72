// Lists of the simulated tuner: preset lists, service, PTY, ensemble and ensemble component
// lists item by item, and the alphabetical search. Requests return at once; each answer is a
// notification a few ms later, with the record that getPchListItem or getSvcListItem reads.
#include "SimTuner.h"

#include "HostMutex.h"

#include "SimCharset.h"

#include <algorithm>
#include <cstring>

namespace media_lib_dab {

namespace {

void fillEntry(const SimWorld::ListEntry& entry, ST_DAB_SVC_LIST_DATA* record) {
    record->listnum_all = static_cast<uint8_t>(entry.outerAll);
    record->listnum_pos = static_cast<uint8_t>(entry.outerPos);
    record->NM = static_cast<uint8_t>(entry.block);
    record->eid = entry.eid;
    record->sid = entry.sid;
    record->scid = entry.scid;
    if (entry.label.present) {
        record->codeTyped = static_cast<uint32_t>(entry.label.charset);
        memcpy(record->label, entry.label.bytes.data(), std::min(entry.label.bytes.size(), sizeof(record->label)));
    }
}

bool isAsciiLetter(uint32_t cp) { return (cp >= 'A' && cp <= 'Z') || (cp >= 'a' && cp <= 'z'); }

uint32_t asciiUpper(uint32_t cp) { return (cp >= 'a' && cp <= 'z') ? cp - ('a' - 'A') : cp; }

// Letter 0 asks for the first label that does not begin with a Latin letter.
bool startsWith(const SimWorld::Label& label, uint8_t letter) {
    if (!label.present) return false;
    std::vector<uint32_t> cps = SimCharset::decode(label.bytes, label.charset);
    if (cps.empty()) return false;
    if (letter == 0) return !isAsciiLetter(cps.front());
    return asciiUpper(cps.front()) == asciiUpper(letter);
}

}  // namespace

int SimTuner::pchListReq(uint8_t bandCode) {
    if (bandCode > 3) return -1;
    HostMutex::Autolock lock(mStateLock);
    if (!mRunning) return -1;
    if (mUnresponsive || takeListRequestLocked()) return 0;
    scheduleLocked(randomMsLocked(kListDelayMinMs, kListDelayMaxMs), [this, bandCode](Outbox* out) REQUIRES(mStateLock) {
        // Band code 3 is the bank tuned when the tuner starts answering.
        answerPresetLocked(bandCode == 3 ? mBand : bandCode + 1, 1, out);
    });
    return 0;
}

void SimTuner::answerPresetLocked(int bank, int number, Outbox* out) {
    Note note;
    memset(&note, 0, sizeof(note));
    note.id = DAB_NOTIFY_PRESET_ITEM;
    note.value = number;
    note.record = Note::kPch;
    const SimWorld::Preset& preset = mPresets[bank - 1][number - 1];
    note.pch.band = static_cast<uint32_t>(bank - 1);
    note.pch.pchNum = static_cast<uint8_t>(number);
    // An empty slot still names a channel: the first one, without label.
    note.pch.nm = static_cast<uint8_t>(preset.block != 0 ? preset.block : SimWorld::kFirstBlock);
    const SimWorld::Service* svc = preset.block != 0 ? mWorld->findService(preset.block, preset.sid) : nullptr;
    if (svc != nullptr && svc->label.present) {
        note.pch.labelValid = 1;
        note.pch.labelEncode = static_cast<uint32_t>(svc->label.charset);
        memcpy(note.pch.label, svc->label.bytes.data(), std::min(svc->label.bytes.size(), sizeof(note.pch.label)));
    }
    out->push_back(note);
    if (number < SimWorld::kPresetsPerBank) {
        scheduleLocked(randomMsLocked(kPresetGapMinMs, kPresetGapMaxMs),
                       [this, bank, number](Outbox* o) REQUIRES(mStateLock) { answerPresetLocked(bank, number + 1, o); });
    }
}

int SimTuner::ensembleListItemReq(uint8_t position) { return requestListItem(kListEnsemble, position, 0); }

int SimTuner::svcCompListItemReq(uint8_t position, uint8_t, uint8_t) {
    return requestListItem(kListServiceComp, position, 0);
}

int SimTuner::ptyListItemReq(uint8_t position, uint8_t ptyGroup) {
    if (ptyGroup < 1 || ptyGroup > 4) return -1;
    return requestListItem(kListPty, position, ptyGroup);
}

int SimTuner::ensembleCompListItemReq(uint8_t position, uint16_t eid) {
    return requestListItem(kListEnsembleComp, position, eid);
}

int SimTuner::requestListItem(ListKind kind, int position, int param) {
    HostMutex::Autolock lock(mStateLock);
    if (!mRunning) return -1;
    if (mUnresponsive || takeListRequestLocked()) return 0;
    scheduleLocked(randomMsLocked(kListDelayMinMs, kListDelayMaxMs), [this, kind, position, param](Outbox* out) REQUIRES(mStateLock) {
        answerListItemLocked(kind, position, param, out);
    });
    return 0;
}

void SimTuner::answerListItemLocked(ListKind kind, int position, int param, Outbox* out) {
    std::vector<SimWorld::ListEntry> ensembleComps;
    const std::vector<SimWorld::ListEntry>* list = &mServiceCompList;
    switch (kind) {
        case kListServiceComp: list = &mServiceCompList; break;
        case kListPty: list = &mPtyLists[param - 1]; break;
        case kListEnsemble: list = &mEnsembleList; break;
        case kListEnsembleComp:
            ensembleComps = mWorld->ensembleComponentList(static_cast<uint16_t>(param));
            list = &ensembleComps;
            break;
    }
    Note note;
    memset(&note, 0, sizeof(note));
    note.id = DAB_NOTIFY_SVC_LIST_ITEM;
    note.value = position;
    note.record = Note::kSvc;
    const int size = static_cast<int>(list->size());
    note.svc.curnum_all = static_cast<uint8_t>(size);
    if (size > 0) {
        // A position past the end answers with an invalid entry rather than not at all.
        note.svc.curnum_pos = static_cast<uint8_t>(position);
        if (position >= 1 && position <= size) {
            note.svc.valid = 1;
            fillEntry((*list)[position - 1], &note.svc);
        }
    }
    out->push_back(note);
}

int SimTuner::svcListAbcSearchLabelReq(unsigned char position, unsigned char letter, unsigned char) {
    HostMutex::Autolock lock(mStateLock);
    if (!mRunning) return -1;
    if (mUnresponsive || takeListRequestLocked()) return 0;
    scheduleLocked(randomMsLocked(kListDelayMinMs, kListDelayMaxMs),
                   [this, position, letter](Outbox* out) REQUIRES(mStateLock) { answerAbcSearchLocked(position, letter, out); });
    return 0;
}

void SimTuner::answerAbcSearchLocked(int position, uint8_t letter, Outbox* out) {
    const int size = static_cast<int>(mServiceCompList.size());
    int found = 0;
    for (int i = std::max(1, position); i <= size && found == 0; ++i) {
        if (startsWith(mServiceCompList[i - 1].label, letter)) found = i;
    }
    Note note;
    memset(&note, 0, sizeof(note));
    note.id = DAB_NOTIFY_SVC_LIST_ITEM;
    note.value = found;
    note.record = Note::kSvc;
    if (found != 0) fillEntry(mServiceCompList[found - 1], &note.svc);
    // The answer is the position in the service component list: 0 when nothing matched.
    note.svc.valid = 1;
    note.svc.curnum_all = static_cast<uint8_t>(size);
    note.svc.curnum_pos = static_cast<uint8_t>(found);
    note.svc.listnum_all = static_cast<uint8_t>(size);
    note.svc.listnum_pos = static_cast<uint8_t>(found);
    out->push_back(note);
}

}  // namespace media_lib_dab
