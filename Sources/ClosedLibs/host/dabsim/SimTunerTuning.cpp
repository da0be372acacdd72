// Tuning of the simulated tuner: power-on, manual step, seek, service-list update, band
// switch, presets, service recall and the dynamic label. Everything here runs on the
// callback thread under mStateLock and only queues notifications.
#include "SimTuner.h"

#include <algorithm>
#include <cstring>

namespace media_lib_dab {

namespace {

int nextBlock(int block, int direction) {
    int next = block + direction;
    if (next > SimWorld::kLastBlock) return SimWorld::kFirstBlock;
    if (next < SimWorld::kFirstBlock) return SimWorld::kLastBlock;
    return next;
}

}  // namespace

const SimWorld::Ensemble* SimTuner::ensembleLocked() const {
    if (mStation.ensemble < 0) return nullptr;
    return &mWorld->ensembles[mStation.ensemble];
}

const SimWorld::Service* SimTuner::serviceLocked() const {
    const SimWorld::Ensemble* ens = ensembleLocked();
    if (ens == nullptr || mStation.service < 0) return nullptr;
    return &ens->services[mStation.service];
}

SimTuner::Station SimTuner::stationFor(int block, uint32_t sid, uint32_t scid, bool matchService) const {
    Station station;
    station.block = block;
    for (size_t e = 0; e < mWorld->ensembles.size(); ++e) {
        const SimWorld::Ensemble& ens = mWorld->ensembles[e];
        if (ens.block != block) continue;
        station.ensemble = static_cast<int>(e);
        station.service = 0;
        station.component = 0;
        if (!matchService) break;
        for (size_t s = 0; s < ens.services.size(); ++s) {
            if (ens.services[s].sid != sid) continue;
            station.service = static_cast<int>(s);
            const auto& comps = ens.services[s].components;
            for (size_t c = 0; c < comps.size(); ++c) {
                if ((comps[c].scid & 0xFF) == (scid & 0xFF)) station.component = static_cast<int>(c);
            }
            break;
        }
        break;
    }
    return station;
}

void SimTuner::tuneLocked(const Station& station) {
    mStation = station;
    mListening = station.service >= 0;
    mListenStart = Clock::now();
    mTsPaused = false;
    mTsDelayBase = 0;
    mPchNum = presetNumberLocked();
    mDlsNext = 0;
    if (mListening) {
        restartDynamicTextLocked(randomMsLocked(kFirstTextMinMs, kFirstTextMaxMs));
    } else {
        ++mDlsGen;
    }
}

void SimTuner::leaveStationLocked() {
    mStation.ensemble = mStation.service = mStation.component = -1;
    mListening = false;
    ++mDlsGen;
}

int SimTuner::presetNumberLocked() const {
    const SimWorld::Service* svc = serviceLocked();
    for (int p = 0; p < SimWorld::kPresetsPerBank; ++p) {
        const SimWorld::Preset& preset = mPresets[mBand - 1][p];
        if (preset.block == 0 || preset.block != mStation.block) continue;
        if (svc == nullptr) {
            if (preset.sid == 0) return p + 1;
        } else if (preset.sid == svc->sid &&
                   (preset.scid & 0xFF) == (svc->components[mStation.component].scid & 0xFF)) {
            return p + 1;
        }
    }
    return 0;
}

int SimTuner::signalLevelLocked() const {
    if (mSignalOverride != 0) return mSignalOverride;
    const SimWorld::Ensemble* ens = ensembleLocked();
    return ens != nullptr ? ens->signalLevel : 1;
}

void SimTuner::reportStationLocked(Outbox* out, bool withFrequency) {
    const SimWorld::Service* svc = serviceLocked();
    if (withFrequency) push(out, DAB_NOTIFY_FREQ, mStation.block);
    push(out, DAB_NOTIFY_PRESET_NUM, mPchNum);
    push(out, DAB_NOTIFY_COMP_TOTAL, svc != nullptr ? static_cast<int>(svc->components.size()) : 0);
    push(out, DAB_NOTIFY_COMP_NUM, svc != nullptr ? mStation.component + 1 : 0);
    push(out, DAB_NOTIFY_ENSEMBLE_LABEL, 0);
    push(out, DAB_NOTIFY_SERVICE_LABEL, 0);
    push(out, DAB_NOTIFY_COMP_LABEL, 0);
    push(out, DAB_NOTIFY_PTY_TYPE, svc != nullptr ? svc->pty : 0);
    push(out, DAB_NOTIFY_BIT_RATE, svc != nullptr ? svc->bitRate : 0);
    push(out, DAB_NOTIFY_SIGNAL_LEVEL, signalLevelLocked());
    push(out, DAB_NOTIFY_FM_LINK, svc != nullptr ? svc->fmLink : 1);
}

void SimTuner::endOperationLocked(Outbox* out) {
    if (mOperation == kOpIdle) return;
    ++mOperationGen;
    mOperation = kOpIdle;
    if (mLogicMode != EN_DAB_LM_NORMAL) {
        mLogicMode = EN_DAB_LM_NORMAL;
        push(out, DAB_NOTIFY_LOGIC_MODE, mLogicMode);
    }
}

void SimTuner::powerOnLocked(Outbox* out) {
    mOperation = kOpIdle;
    ++mOperationGen;
    mLogicMode = EN_DAB_LM_NORMAL;
    mBand = mWorld->startBand;
    mBankPreset[mBand - 1] = mWorld->startPreset;
    const SimWorld::Preset& preset = mPresets[mBand - 1][mWorld->startPreset - 1];
    Station station;
    if (preset.block != 0) {
        station = stationFor(preset.block, preset.sid, preset.scid, true);
    } else if (!mWorld->ensembles.empty()) {
        station = stationFor(mWorld->ensembles.front().block, 0, 0, false);
    }
    tuneLocked(station);
    push(out, DAB_NOTIFY_CONNECT_STATUS, mConnectStatus);
    push(out, DAB_NOTIFY_ANT_STATUS, mAntStatus);
    push(out, DAB_NOTIFY_BAND, mBand);
    push(out, DAB_NOTIFY_FREQ, mStation.block);
    push(out, DAB_NOTIFY_LOGIC_MODE, mLogicMode);
    reportStationLocked(out, false);
    if (mErrorInfo != EN_DAB_ERROR_INFO_NO_ERROR) push(out, DAB_NOTIFY_ERROR_INFO, mErrorInfo);
}

void SimTuner::stepLocked(int direction, Outbox* out) {
    endOperationLocked(out);
    tuneLocked(stationFor(nextBlock(mStation.block, direction), 0, 0, false));
    reportStationLocked(out, true);
}

void SimTuner::seekCommandLocked(int direction, Outbox* out) {
    if (mOperation == kOpSeek) {
        // A seek command during a seek stops it on the channel it has reached.
        endOperationLocked(out);
        tuneLocked(stationFor(mStation.block, 0, 0, false));
        reportStationLocked(out, true);
        return;
    }
    if (mOperation == kOpListUpdate) {
        ++mOperationGen;  // the seek replaces the update; its return station is forgotten
        mOperation = kOpIdle;
    }
    mOperation = kOpSeek;
    mSeekDirection = direction;
    mSeekStartBlock = mStation.block;
    const uint64_t gen = ++mOperationGen;
    leaveStationLocked();
    mLogicMode = direction > 0 ? EN_DAB_LM_SEEK_UP : EN_DAB_LM_SEEK_DOWN;
    push(out, DAB_NOTIFY_LOGIC_MODE, mLogicMode);
    if (mPchNum != 0) {
        mPchNum = 0;
        push(out, DAB_NOTIFY_PRESET_NUM, 0);
    }
    scheduleLocked(randomMsLocked(kSeekStepMinMs, kSeekStepMaxMs),
                   [this, gen](Outbox* o) REQUIRES(mStateLock) { seekStepLocked(gen, o); });
}

void SimTuner::seekStepLocked(uint64_t gen, Outbox* out) {
    if (gen != mOperationGen) return;
    mStation.block = nextBlock(mStation.block, mSeekDirection);
    push(out, DAB_NOTIFY_FREQ, mStation.block);
    // Stop on the first channel carrying an ensemble, or back where the seek began.
    bool found = mWorld->ensembleOnBlock(mStation.block) != nullptr || mStation.block == mSeekStartBlock;
    int delay = randomMsLocked(kSeekStepMinMs, kSeekStepMaxMs);
    if (found) {
        scheduleLocked(delay, [this, gen](Outbox* o) REQUIRES(mStateLock) { seekLandLocked(gen, o); });
    } else {
        scheduleLocked(delay, [this, gen](Outbox* o) REQUIRES(mStateLock) { seekStepLocked(gen, o); });
    }
}

void SimTuner::seekLandLocked(uint64_t gen, Outbox* out) {
    if (gen != mOperationGen) return;
    endOperationLocked(out);
    tuneLocked(stationFor(mStation.block, 0, 0, false));
    reportStationLocked(out, false);
}

void SimTuner::listUpdateStartLocked(Outbox* out) {
    if (mOperation == kOpListUpdate) return;
    if (mOperation == kOpSeek) {
        ++mOperationGen;
        mOperation = kOpIdle;
    }
    if (mStation.service >= 0) {
        mUpdateReturn = mStation;
    } else {
        mUpdateReturn = stationFor(mStation.block, 0, 0, false);
    }
    mOperation = kOpListUpdate;
    const uint64_t gen = ++mOperationGen;
    leaveStationLocked();
    mLogicMode = EN_DAB_LM_SERLIST_UPDATE;
    push(out, DAB_NOTIFY_LOGIC_MODE, mLogicMode);
    mUpdateBlock = SimWorld::kFirstBlock - 1;
    scheduleLocked(listUpdateStepMs(), [this, gen](Outbox* o) REQUIRES(mStateLock) { listUpdateStepLocked(gen, o); });
}

int SimTuner::listUpdateStepMs() const {
    const int channels = SimWorld::kLastBlock - SimWorld::kFirstBlock + 1;
    return std::max(1, mWorld->listUpdateMs / channels);
}

void SimTuner::listUpdateStepLocked(uint64_t gen, Outbox* out) {
    if (gen != mOperationGen) return;
    if (++mUpdateBlock > SimWorld::kLastBlock) {
        listUpdateFinishLocked(out);
        return;
    }
    mStation.block = mUpdateBlock;
    push(out, DAB_NOTIFY_FREQ, mStation.block);
    scheduleLocked(listUpdateStepMs(), [this, gen](Outbox* o) REQUIRES(mStateLock) { listUpdateStepLocked(gen, o); });
}

void SimTuner::listUpdateFinishLocked(Outbox* out) {
    endOperationLocked(out);
    tuneLocked(mUpdateReturn);
    reportStationLocked(out, true);
}

void SimTuner::switchBandLocked(Outbox* out) {
    endOperationLocked(out);
    mBand = mBand % SimWorld::kBanks + 1;
    push(out, DAB_NOTIFY_BAND, mBand);
    const int number = mBankPreset[mBand - 1];
    if (mPresets[mBand - 1][number - 1].block == 0) {
        // Nothing stored there: the tuner stays where it is, in the new bank.
        mPchNum = presetNumberLocked();
        push(out, DAB_NOTIFY_PRESET_NUM, mPchNum);
        return;
    }
    recallPresetLocked(mBand, number, out);
}

void SimTuner::recallPresetLocked(int bank, int number, Outbox* out) {
    const SimWorld::Preset preset = mPresets[bank - 1][number - 1];
    if (preset.block == 0) return;  // an empty slot recalls nothing
    endOperationLocked(out);
    mBankPreset[bank - 1] = number;
    tuneLocked(stationFor(preset.block, preset.sid, preset.scid, preset.sid != 0));
    mPchNum = number;
    reportStationLocked(out, true);
}

void SimTuner::presetStepLocked(int direction, Outbox* out) {
    int from = mPchNum;
    if (from == 0) from = direction > 0 ? 0 : SimWorld::kPresetsPerBank + 1;
    for (int i = 1; i <= SimWorld::kPresetsPerBank; ++i) {
        int n = ((from - 1 + direction * i) % SimWorld::kPresetsPerBank + SimWorld::kPresetsPerBank) %
                    SimWorld::kPresetsPerBank + 1;
        if (mPresets[mBand - 1][n - 1].block != 0) {
            recallPresetLocked(mBand, n, out);
            return;
        }
    }
}

void SimTuner::storePresetLocked(int bank, int number, Outbox* out) {
    SimWorld::Preset preset;
    preset.block = mStation.block;
    const SimWorld::Service* svc = serviceLocked();
    if (svc != nullptr) {
        preset.sid = svc->sid;
        preset.scid = svc->components[mStation.component].scid;
    }
    mPresets[bank - 1][number - 1] = preset;
    if (bank == mBand) {
        mBankPreset[bank - 1] = number;
        mPchNum = number;
        push(out, DAB_NOTIFY_PRESET_NUM, number);
    }
    scheduleLocked(kPresetUpdateDelayMs, [](Outbox* o) REQUIRES(mStateLock) { push(o, DAB_NOTIFY_PRESET_LIST_UPDATE_REQ, 0); });
}

void SimTuner::serviceRecallLocked(int block, uint16_t eid, uint32_t sid, uint8_t scid, Outbox* out) {
    // The EId and SId decide; the block is only a hint (a service may move).
    const SimWorld::Ensemble* target = nullptr;
    for (const auto& ens : mWorld->ensembles) {
        if (ens.eid == eid && (target == nullptr || ens.block == block)) target = &ens;
    }
    if (target == nullptr || mWorld->findService(target->block, sid) == nullptr) return;
    endOperationLocked(out);
    tuneLocked(stationFor(target->block, sid, scid, true));
    reportStationLocked(out, true);
}

int SimTuner::nextDynamicTextDelayLocked() {
    const int interval = mWorld->dynamicTextIntervalMs;
    return randomMsLocked(interval * 4 / 5, interval * 6 / 5);
}

void SimTuner::restartDynamicTextLocked(int delayMs) {
    const uint64_t gen = ++mDlsGen;
    scheduleLocked(delayMs, [this, gen](Outbox* out) REQUIRES(mStateLock) { dynamicTextTickLocked(gen, out); });
}

void SimTuner::dynamicTextTickLocked(uint64_t gen, Outbox* out) {
    if (gen != mDlsGen || !mListening || mLogicMode != EN_DAB_LM_NORMAL) return;
    const SimWorld::Service* svc = serviceLocked();
    SimWorld::DynamicText text;
    if (mDlsOverride) {
        text = mDlsOverrideText;
    } else if (svc != nullptr && !svc->dynamicTexts.empty()) {
        text = svc->dynamicTexts[mDlsNext % svc->dynamicTexts.size()];
        ++mDlsNext;
    } else {
        text.charset = 1;
        text.bytes.assign(kNoDataProvided, 16);
    }
    sendDynamicTextLocked(text, out);
    scheduleLocked(nextDynamicTextDelayLocked(), [this, gen](Outbox* o) REQUIRES(mStateLock) { dynamicTextTickLocked(gen, o); });
}

void SimTuner::sendDynamicTextLocked(const SimWorld::DynamicText& text, Outbox* out) {
    const size_t length = std::min(text.bytes.size(), static_cast<size_t>(SimWorld::kDynamicTextBytes));
    for (uint8_t segment = 0; segment < 2; ++segment) {
        Note note;
        memset(&note, 0, sizeof(note));
        note.id = DAB_NOTIFY_DLS;
        note.value = 0;
        note.record = Note::kDls;
        note.dls.charset = static_cast<uint32_t>(text.charset);
        note.dls.length = static_cast<uint8_t>(length);
        note.dls.segment = segment;
        const size_t begin = segment * sizeof(note.dls.text);
        if (length > begin) {
            memcpy(note.dls.text, text.bytes.data() + begin, std::min(length - begin, sizeof(note.dls.text)));
        }
        out->push_back(note);
    }
}

}  // namespace media_lib_dab
