#include "PlayerConnection.h"

#include "HostMutex.h"
#include "ToolArgs.h"

#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include <unistd.h>

using namespace android;

namespace dabclient {

namespace {
constexpr const char kServiceName[] = "DABPlayer";
}  // namespace

PlayerConnection::PlayerConnection() : mSink(new NotificationSink()), mDied(false) {}
PlayerConnection::~PlayerConnection() {}

int PlayerConnection::connect(std::string* error) {
    ProcessState::self()->startThreadPool();
    sp<IBinder> binder = defaultServiceManager()->getService(String16(kServiceName));
    if (binder == nullptr) {
        *error = ToolArgs::notRunning("the DAB player service", kServiceName);
        return NO_SERVICE;
    }
    mServiceBinder = binder;
    binder->linkToDeath(sp<IBinder::DeathRecipient>(this));
    sp<IDABPlayerService> service = interface_cast<IDABPlayerService>(binder);
    mPlayer = service->createClient(static_cast<int>(getpid()), mSink);
    if (mPlayer == nullptr) {
        *error = "the DAB player service gave no client object";
        return NO_CLIENT;
    }
    return CONNECTED;
}

void PlayerConnection::setOnDeath(std::function<void()> onDeath) {
    HostMutex::Autolock lock(mDeathLock);
    mOnDeath = std::move(onDeath);
}

void PlayerConnection::binderDied(const wp<IBinder>&) {
    mDied.store(true);
    std::function<void()> onDeath;
    {
        HostMutex::Autolock lock(mDeathLock);
        onDeath = mOnDeath;
    }
    if (onDeath) onDeath();
}

}  // namespace dabclient
