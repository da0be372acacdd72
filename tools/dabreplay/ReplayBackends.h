#ifndef DAB_TOOLS_REPLAYBACKENDS_H
#define DAB_TOOLS_REPLAYBACKENDS_H

#include "ReplayTranscript.h"

#include "HostMutex.h"
#include "MediaDataBackend.h"
#include "MediaManagerBackend.h"
#include "ProcessSupportBackend.h"
#include "SysCtrlBackend.h"

#include <dabplayer/IDABPlayerClient.h>

#include <map>

// Media manager that writes every source creation, registration, record and status to the
// transcript and lets the script drive the sources' listeners.
class ReplayMediaManager : public android::MediaManagerBackend {
public:
    explicit ReplayMediaManager(ReplayTranscript* transcript);
    bool createSource(const android::String8& name, const android::sp<android::ISourceListener>& listener) override;
    int registerSource(const android::String8& name, int code, android::Parcel* reply) override;
    int publishMediaInfo(const android::String8& name, const android::MediaInfoParcel& info) override;
    int setMediaStatus(const android::String8& name, android::MediaStatus status) override;

    // Failures the script injects; source "" means every source.
    void setCreateFails(const std::string& source, bool fails);
    void setRegisterFails(const std::string& source, bool fails);
    void setStatusFails(const std::string& source, bool fails);
    // The listener of the source last created under name, or null.
    android::sp<android::ISourceListener> listener(const std::string& name);

private:
    bool failsLocked(const std::map<std::string, bool>& fails, const std::string& source) const REQUIRES(mLock);

    ReplayTranscript* const mTranscript;  // immutable
    HostMutex mLock;                      // guards the fields below
    std::map<std::string, bool> mCreateFails GUARDED_BY(mLock);  // per source, "" for all
    std::map<std::string, bool> mRegisterFails GUARDED_BY(mLock);
    std::map<std::string, bool> mStatusFails GUARDED_BY(mLock);
    std::map<std::string, android::sp<android::ISourceListener>> mListeners GUARDED_BY(mLock);
};

class ReplayMediaData : public android::MediaDataBackend {
public:
    explicit ReplayMediaData(ReplayTranscript* transcript);
    bool allowCreate() override;
    int publish(const android::String8& key, int value) override;
    void setCreateFails(bool fails);

private:
    ReplayTranscript* const mTranscript;
    HostMutex mLock;  // guards mCreateFails
    bool mCreateFails GUARDED_BY(mLock) = false;
};

class ReplaySysCtrl : public android::SysCtrlBackend {
public:
    explicit ReplaySysCtrl(ReplayTranscript* transcript);
    int attach(android::SysCtrlManagerIF* client, int moduleId, int flags) override;
    void detach(android::SysCtrlManagerIF* client) override;
    int finishSuspend(android::SysCtrlManagerIF* client) override;
    int finishResume(android::SysCtrlManagerIF* client) override;
    // Script thread: calls the attached listener.
    bool resume();
    bool suspend();

private:
    ReplayTranscript* const mTranscript;
    HostMutex mLock;  // guards mClient
    android::SysCtrlManagerIF* mClient GUARDED_BY(mLock) = nullptr;
};

class ReplayProcessSupport : public ProcessSupportBackend {
public:
    explicit ReplayProcessSupport(ReplayTranscript* transcript);
    int setOomAdj(int id, int status) override;

private:
    ReplayTranscript* const mTranscript;
};

// An application's callback: every notification becomes "client<n> notify ...". The script
// can make it slow (it blocks the service's calling thread) or dead (it takes nothing more).
class ReplayClient : public android::BnDABPlayerClient {
public:
    ReplayClient(ReplayTranscript* transcript, int index);
    // The service's threads; blocks for the slowness the script set.
    void notify(int msg, int ext1, int ext2, const android::Parcel* obj) override;
    // Script thread; non-blocking.
    void setSlowMs(int ms);
    void setDead();

    // Everything a parcel holds: its first C string quoted, then any bytes after it.
    static std::string renderParcel(const android::Parcel& parcel);

private:
    ReplayTranscript* const mTranscript;  // immutable
    const int mIndex;                     // immutable
    HostMutex mLock;                      // guards the fields below
    int mSlowMs GUARDED_BY(mLock) = 0;
    bool mDead GUARDED_BY(mLock) = false;
};

#endif  // DAB_TOOLS_REPLAYBACKENDS_H
