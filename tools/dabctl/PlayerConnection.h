#ifndef DAB_TOOLS_DABCTL_PLAYERCONNECTION_H
#define DAB_TOOLS_DABCTL_PLAYERCONNECTION_H

#include "HostMutex.h"
#include "NotificationSink.h"

#include <dabplayer/IDABPlayerService.h>

#include <atomic>
#include <functional>
#include <string>

namespace dabclient {

// An application's connection to the "DABPlayer" service: its own client object, with a
// NotificationSink registered as its callback.
class PlayerConnection : public android::IBinder::DeathRecipient {
public:
    enum {
        CONNECTED = 0,
        NO_SERVICE = 1,      // nobody serves "DABPlayer"
        NO_CLIENT = 2,       // the service gave no client object
    };

    // Any thread; non-blocking.
    PlayerConnection();

    // Main thread, once; blocks up to 2 s for a service that is starting. One of the values
    // above; *error says what went wrong.
    int connect(std::string* error);

    // Any thread; non-blocking. The client object (null before connect succeeded).
    const android::sp<android::IDABPlayer>& player() const { return mPlayer; }
    // Any thread; non-blocking.
    const android::sp<NotificationSink>& sink() const { return mSink; }
    // Any thread; non-blocking. True once the service's process is gone.
    bool serviceDied() const { return mDied.load(); }
    // Any thread; non-blocking. Runs once, on a binder thread, when the service dies.
    void setOnDeath(std::function<void()> onDeath);

    // Binder pool thread.
    void binderDied(const android::wp<android::IBinder>& who) override;

protected:
    ~PlayerConnection() override;

private:
    android::sp<android::IDABPlayer> mPlayer;   // set once by connect, main thread
    // The service's own object, set once by connect: its death is what is watched, and a
    // proxy nobody holds reports nothing.
    android::sp<android::IBinder> mServiceBinder;
    const android::sp<NotificationSink> mSink;  // immutable
    std::atomic<bool> mDied;                    // any thread
    HostMutex mDeathLock;                       // guards mOnDeath
    std::function<void()> mOnDeath GUARDED_BY(mDeathLock);
};

}  // namespace dabclient

#endif  // DAB_TOOLS_DABCTL_PLAYERCONNECTION_H
