#ifndef DAB_SERVER_MEDIASOURCECONTROLLER_H
#define DAB_SERVER_MEDIASOURCECONTROLLER_H

#include <mediamanager/ISourceListener.h>
#include <mediamanager/MediaInfoParcel.h>
#include <mediamanager/Source.h>
#include <utils/Mutex.h>
#include <utils/RefBase.h>
#include <utils/Thread.h>

class DABPlayerService;

// What the DAB and the traffic-announcement source controllers share: the media manager
// drives one source through it (activation, deactivation, publishing requests, the reconnect
// request), and the service publishes media information and the connection status through
// it. The two controllers differ only in the source type they activate, the names in their
// log lines, the source name and their reconnection thread variant.
class MediaSourceController : public android::ISourceListener {
public:
    // Main thread at start-up and the reconnection thread; non-blocking. Null drops the source.
    int setSource(const android::sp<android::Source>& source);
    // Main thread at start-up; non-blocking. Null unbinds the service again (shutdown, tests).
    int setService(const android::sp<DABPlayerService>& service);

    // Media manager callbacks, binder threads. Activation and deactivation block as long as
    // the service's activate/deactivate; the others do not block.
    int onRequestActivation(int request) override;
    int onRequestDeactivation(int request) override;
    void onReqPublishMediaInfo() override;
    void onSourceRelease(int reason) override;
    int onRequestPrivateData(int request, const android::Parcel* data,
                             android::Parcel* reply) override;
    // Binder threads; non-blocking. Msg 100 with ext1 100 re-creates the source.
    void onNotify(int msg, int ext1, int ext2, const android::Parcel* data) override;

    // The service's publishing path: tuner callback thread and binder threads; blocks for one
    // hand-over to the media manager. 0 when handed over, 1 when there is no source.
    virtual int publishMediaInfo(const android::MediaInfoParcel& info);
    // Tuner callback thread (connect status: 1 connected, 2 not connected); blocks for one
    // hand-over. Lost while the source is absent.
    void setMediaStatus(int status);
    // Reconnection thread; non-blocking. The last status given to setMediaStatus (initial 2).
    int mediaStatus() const;

    // Any thread but a reconnection thread; non-blocking. The running or last reconnection
    // thread, null before the first reconnect request.
    android::sp<android::Thread> reconnectThread() const;
    // What the dump shows of this controller.
    struct Summary {
        int32_t hasSource;
        int32_t mediaStatus;
        int32_t reconnecting;   // a reconnection thread is running
        int32_t attempts;       // re-creation attempts since start-up
        int64_t lastAttemptNs;  // monotonic; 0 never
        int64_t lastSuccessNs;  // monotonic; 0 never
    };
    // Any thread; non-blocking (copies under the controller's locks, one at a time).
    void summary(Summary* out) const;
    // Reconnection thread, after each attempt; non-blocking.
    void noteReconnectAttempt(bool succeeded);

    // Shutdown and tests, never from a reconnection thread: asks the reconnection thread to
    // stop, waits for it to end and drops it. Blocks up to one retry pause.
    void stopReconnection();

protected:
    // sourceType is the argument of the service's activate/deactivate; logName is the class
    // name that starts the log lines. Both must outlive the object (string literals).
    MediaSourceController(int sourceType, const char* logName);
    ~MediaSourceController() override;

    // Binder thread of a reconnect request, under mReconnectLock: creates (without starting)
    // this controller's reconnection thread, which first waits for the one it replaces
    // (null when there is none). Null when the thread cannot be created.
    virtual android::sp<android::Thread> newReconnectThread(
            const android::sp<android::Thread>& previous) = 0;

private:
    android::sp<android::Source> source() const;
    android::sp<DABPlayerService> service() const;

    const int mSourceType;     // immutable
    const char* const mLogName;  // immutable

    // Never held together. mReconnectLock is held across starting a reconnection thread so
    // that concurrent reconnect requests chain their threads in order.
    mutable android::Mutex mStateLock;      // guards mSource, mService, mMediaStatus
    mutable android::Mutex mReconnectLock;  // guards mReconnectThread; serialises reconnects

    // Released in reverse order of declaration: the thread, the service, then the source.
    android::sp<android::Source> mSource GUARDED_BY(mStateLock);
    android::sp<DABPlayerService> mService GUARDED_BY(mStateLock);
    android::sp<android::Thread> mReconnectThread GUARDED_BY(mReconnectLock);
    int mMediaStatus GUARDED_BY(mStateLock);
    int mReconnectAttempts GUARDED_BY(mStateLock);
    int64_t mLastAttemptNs GUARDED_BY(mStateLock);
    int64_t mLastSuccessNs GUARDED_BY(mStateLock);
};

#endif  // DAB_SERVER_MEDIASOURCECONTROLLER_H
