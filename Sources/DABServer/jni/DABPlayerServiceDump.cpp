// The service's state dump: copied under the locks that guard it, formatted after.
#include "DABDumpFormatter.h"
#include "DABListProcessThread.h"
#include "DABPlayerService.h"
#include "DABSourceController.h"
#include "DABTASourceController.h"

#include <binder/IPCThreadState.h>

#include <errno.h>
#include <string.h>
#include <unistd.h>

using namespace android;

namespace {
// The shell user, which the platform's dump tool runs as.
constexpr uid_t kShellUid = 2000;

// Writes the whole text; a reader that goes away ends the dump quietly.
void writeAll(int fd, const String8& text) {
    const char* p = text.string();
    size_t left = text.length();
    while (left > 0) {
        const ssize_t n = write(fd, p, left);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return;
        p += n;
        left -= static_cast<size_t>(n);
    }
}

void copyLabel(char* dst, const char* src, size_t size) {
    memcpy(dst, src, size);
    dst[size - 1] = '\0';
}

void summarizeController(const MediaSourceController* controller, const char* name,
                         DABDumpSource* out) {
    memset(out, 0, sizeof(*out));
    out->name = name;
    if (controller == nullptr) return;
    MediaSourceController::Summary s;
    controller->summary(&s);
    out->hasSource = s.hasSource;
    out->mediaStatus = s.mediaStatus;
    out->reconnecting = s.reconnecting;
    out->attempts = s.attempts;
    out->lastAttemptNs = s.lastAttemptNs;
    out->lastSuccessNs = s.lastSuccessNs;
}
}  // namespace

status_t DABPlayerService::dump(int fd, const Vector<String16>& args) {
    const uid_t uid = IPCThreadState::self()->getCallingUid();
    if (uid != 0 && uid != getuid() && uid != kShellUid) {
        String8 denied;
        denied.appendFormat("Permission Denial: can't dump DABPlayer from pid=%d, uid=%d\n",
                            static_cast<int>(IPCThreadState::self()->getCallingPid()),
                            static_cast<int>(uid));
        writeAll(fd, denied);
        return PERMISSION_DENIED;
    }
    uint32_t sections = 0;
    bool json = false;
    String8 error;
    if (!DABDumpFormatter::parseArgs(args, &sections, &json, &error)) {
        writeAll(fd, error);
        return BAD_VALUE;
    }
    DABDumpState state;
    collectDumpState(&state);
    writeAll(fd, json ? DABDumpFormatter::json(state, sections)
                      : DABDumpFormatter::text(state, sections));
    return NO_ERROR;
}

void DABPlayerService::collectDumpState(DABDumpState* out) {
    out->nowNs = DABNotifyHistory::nowNs();

    DABDumpLifecycle& l = out->lifecycle;
    l.active = mIsActive;
    l.sourceType = mActiveSourceType;
    l.resumed = mIsResumed;
    l.suspended = mDumpSuspended;
    l.activatePending = mActivatePending;

    DABDumpStation& t = out->station;
    t.band = mCurrentBand;
    t.presetNum = mDumpPresetNum;
    t.blockId = mCurrentBlockId;
    {
        // The labels and the text are written whole under the publish lock.
        Mutex::Autolock lock(mPublishLock);
        copyLabel(t.ensembleLabel, mEnsembleLabel, sizeof(t.ensembleLabel));
        copyLabel(t.serviceLabel, mServiceLabel, sizeof(t.serviceLabel));
        copyLabel(t.compLabel, mCompLabel, sizeof(t.compLabel));
        copyLabel(t.dynamicText, mDynamicText, sizeof(t.dynamicText));
    }
    for (int i = 0; i < 3; ++i) t.labelCharset[i] = mDumpLabelCharset[i];
    t.dynamicTextCharset = mDynamicTextCached.charset;
    t.dynamicTextCached = isDynamicTextCached;
    t.logicMode = mCurrentLogicMode;
    t.busyPresetUpDown = isInPresetUpDown;
    t.busySeekCancel = isInSeekCancel;
    t.busyPresetMemory = isInPresetMemoryExtend;
    t.busyManualUpDown = isInManualUPDownInFreqExtend;
    t.busySwitchBand = isInSwitchBand;
    t.busySourceOnDelay = isInSourceOnDelay;
    t.seekDirection = mSeekDirection;
    t.errorType = mCurrentErrorType;
    t.errorPublished = errorCurPublished;
    t.antStatus = mCurrentAntStatus;
    t.signalLevel = mCurrentSignalLevel;
    t.fmLink = mCurrentFmLink;
    t.bitRate = mCurrentBitRate;
    t.ptyType = mCurrentPtyType;
    t.compTotal = mCurrentCompTotal;
    t.compNum = mCurrentCompNum;
    t.playbackStatus = mCurrentPlaybackStatus;
    t.totalTime = mCurrentTotalTime;
    t.cacheTime = mCurrentCacheTime;
    t.pauseTime = mCurrentPauseTime;
    t.displayFormat = mCurrentDisplayFormat;
    t.connectStatus = mCurrentConnectStatus;

    const Vector<wp<DABPlayer>> clients = copyClients();
    // Promoted and released outside mClientsLock: the last release removes the client.
    for (size_t i = 0; i < clients.size(); ++i) {
        sp<DABPlayer> client = clients[i].promote();
        if (client == nullptr) continue;
        DABDumpClient c;
        client->summary(&c);
        out->clients.add(c);
    }

    DABDumpWorker& w = out->worker;
    sp<DABListProcessThread> worker = listWorker();
    w.running = worker != nullptr ? 1 : 0;
    w.held = LIST_QUEUE_MSG{0, 0, 0};
    w.heldSinceNs = 0;
    if (worker != nullptr) {
        w.held = worker->currentMsg(&w.heldSinceNs);
        worker->queuedMsgs(&w.queue);
    }

    DABDumpCache& c = out->cache;
    DABListCacher::Summary cache;
    mListCacher.summary(&cache);
    for (int b = 0; b < 3; ++b) {
        c.presetItems[b] = cache.presetItems[b];
        c.presetNotCached[b] = mPresetListNotCached[b];
    }
    c.currentType = cache.currentType;
    c.listSize = cache.listCount;
    for (int type = 0; type <= 6; ++type) c.listItems[type] = cache.serviceItems[type];
    c.ensembleItems = cache.ensembleItems;

    summarizeController(mController.get(), "dab", &out->sources[0]);
    summarizeController(mTAController.get(), "tadab", &out->sources[1]);

    mHistory.tunerRecords(&out->tunerNotifications);
    mHistory.clientRecords(&out->clientNotifications);
    mHistory.logicModeRecords(&out->logicModes);
}
