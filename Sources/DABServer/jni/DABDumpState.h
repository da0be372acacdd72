#ifndef DAB_SERVER_DABDUMPSTATE_H
#define DAB_SERVER_DABDUMPSTATE_H

#include "DABNotifyHistory.h"
#include "DABServerDefs.h"

#include <stdint.h>

#include <utils/String8.h>
#include <utils/Vector.h>

// Everything the service's dump shows, copied out of the live objects under their locks so
// that the formatting runs with no lock held. Times are on the monotonic clock, in ns.

struct DABDumpLifecycle {
    int32_t active;
    int32_t sourceType;
    int32_t resumed;
    int32_t suspended;  // the last system control call was a suspend
    int32_t activatePending;
};

struct DABDumpStation {
    int32_t band;
    int32_t presetNum;  // last preset number the tuner notified; 0 none
    int32_t blockId;
    char ensembleLabel[65];
    char serviceLabel[65];
    char compLabel[65];
    int32_t labelCharset[3];  // tuner charset code of the last stored label; -1 none yet
    char dynamicText[129];
    int32_t dynamicTextCharset;
    int32_t dynamicTextCached;
    int32_t logicMode;
    int32_t busyPresetUpDown;
    int32_t busySeekCancel;
    int32_t busyPresetMemory;
    int32_t busyManualUpDown;
    int32_t busySwitchBand;
    int32_t busySourceOnDelay;
    int32_t seekDirection;
    int32_t errorType;
    int32_t errorPublished;
    int32_t antStatus;
    int32_t signalLevel;
    int32_t fmLink;
    int32_t bitRate;
    int32_t ptyType;
    int32_t compTotal;
    int32_t compNum;
    int32_t playbackStatus;
    int32_t totalTime;
    int32_t cacheTime;
    int32_t pauseTime;
    int32_t displayFormat;
    int32_t connectStatus;
};

struct DABDumpClient {
    int32_t pid;
    int32_t uid;
    int32_t listener;      // 1 when a callback is set
    int32_t backlogKnown;  // 0 when the transport cannot tell
    uint64_t queuedMessages;
    uint64_t queuedBytes;
    uint64_t sent;
    uint64_t dropped;
};

struct DABDumpWorker {
    int32_t running;
    LIST_QUEUE_MSG held;  // type 0 when none
    int64_t heldSinceNs;
    android::Vector<LIST_QUEUE_MSG> queue;  // front first
};

struct DABDumpCache {
    int32_t presetItems[3];     // cached presets per band
    int32_t presetNotCached[3];
    int32_t currentType;        // service item type, 0 none
    int32_t listSize;           // size the tuner announced for the current list
    int32_t listItems[7];       // items cached per service list type 1 to 6 ([0] unused)
    int32_t ensembleItems;
};

struct DABDumpSource {
    const char* name;
    int32_t hasSource;
    int32_t mediaStatus;
    int32_t reconnecting;
    int32_t attempts;
    int64_t lastAttemptNs;  // 0 never
    int64_t lastSuccessNs;  // 0 never
};

struct DABDumpState {
    int64_t nowNs;
    DABDumpLifecycle lifecycle;
    DABDumpStation station;
    android::Vector<DABDumpClient> clients;
    DABDumpWorker worker;
    DABDumpCache cache;
    DABDumpSource sources[2];
    android::Vector<DABTunerNotifyRecord> tunerNotifications;
    android::Vector<DABClientNotifyRecord> clientNotifications;
    android::Vector<DABLogicModeRecord> logicModes;
};

#endif  // DAB_SERVER_DABDUMPSTATE_H
