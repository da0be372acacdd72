#ifndef DAB_HOST_RECORDINGPLAYERCALLS_H
#define DAB_HOST_RECORDINGPLAYERCALLS_H

#include "HostMutex.h"

#include <binder/IBinder.h>

#include <map>
#include <string>

// Records the applications' side of a session for the player interface stubs: clients are
// numbered by connection, and each IDABPlayer call becomes a replay step of its client.
class RecordingPlayerCalls : public android::IBinder::DeathRecipient {
public:
    // Any thread; non-blocking. The process's recorder of client calls, or null when nothing
    // is recorded.
    static RecordingPlayerCalls* get();

    // Binder threads. A connection: begun before createClient, ended with what it returned.
    uint64_t connecting();
    void connected(uint64_t token, const android::sp<android::IBinder>& callback,
                   const android::sp<android::IBinder>& player);
    // A call of player; words are the operation and its arguments as a replay writes them.
    uint64_t calling(const void* player, const std::string& words);
    // setClientListener of player with callback (null: off).
    uint64_t settingListener(const void* player, const android::sp<android::IBinder>& callback);
    void finished(uint64_t token);

    // Binder thread of the transport: an application's process went away.
    void binderDied(const android::wp<android::IBinder>& who) override;

private:
    RecordingPlayerCalls();
    int clientOf(const void* player);

    HostMutex mClientsLock;  // guards the fields below
    int mNextClient GUARDED_BY(mClientsLock) = 1;
    std::map<const void*, int> mPlayers GUARDED_BY(mClientsLock);  // player binder -> client number
    std::map<const void*, int> mCallbacks GUARDED_BY(mClientsLock);  // callback binder -> client number
    // Remote callbacks are held until their process dies: an application that lets go of its
    // client before exiting would otherwise take the proxy, and its obituary, with it.
    std::map<const void*, android::sp<android::IBinder>> mRemoteCallbacks GUARDED_BY(mClientsLock);
};

#endif  // DAB_HOST_RECORDINGPLAYERCALLS_H
