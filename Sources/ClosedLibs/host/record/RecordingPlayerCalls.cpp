#include "RecordingPlayerCalls.h"

#include "HostMutex.h"
#include "SessionRecorder.h"

using namespace android;

RecordingPlayerCalls* RecordingPlayerCalls::get() {
    if (SessionRecorder::get() == nullptr) return nullptr;
    static RecordingPlayerCalls* calls = [] {
        RecordingPlayerCalls* c = new RecordingPlayerCalls();
        c->incStrong(c);  // lives as long as the process; death notices may come until the end
        return c;
    }();
    return calls;
}

RecordingPlayerCalls::RecordingPlayerCalls() {}

int RecordingPlayerCalls::clientOf(const void* player) {
    HostMutex::Autolock lock(mClientsLock);
    auto it = mPlayers.find(player);
    return it == mPlayers.end() ? 0 : it->second;
}

uint64_t RecordingPlayerCalls::connecting() {
    // The line is known once the service has answered.
    return SessionRecorder::get()->beginEvent(std::string());
}

void RecordingPlayerCalls::connected(uint64_t token, const sp<IBinder>& callback, const sp<IBinder>& player) {
    SessionRecorder* r = SessionRecorder::get();
    if (player == nullptr) {
        r->setEventLine(token, "# a client connection was refused");
        r->endEvent(token);
        return;
    }
    int n;
    {
        HostMutex::Autolock lock(mClientsLock);
        n = mNextClient++;
        mPlayers[player.get()] = n;
        if (callback != nullptr) mCallbacks[callback.get()] = n;
    }
    r->setEventLine(token, "client " + std::to_string(n) + " connect");
    r->endEvent(token);
    // A remote application's death is what a replay's "die" reproduces.
    if (callback != nullptr && callback->remoteBinder() != nullptr) {
        {
            HostMutex::Autolock lock(mClientsLock);
            mRemoteCallbacks[callback.get()] = callback;
        }
        callback->linkToDeath(sp<IBinder::DeathRecipient>(this));
    }
}

uint64_t RecordingPlayerCalls::calling(const void* player, const std::string& words) {
    const int n = clientOf(player);
    return SessionRecorder::get()->beginEvent(n == 0 ? "# call of an unknown client: " + words
                                                     : "call " + std::to_string(n) + " " + words);
}

uint64_t RecordingPlayerCalls::settingListener(const void* player, const sp<IBinder>& callback) {
    const int n = clientOf(player);
    int owner = 0;
    if (callback != nullptr) {
        HostMutex::Autolock lock(mClientsLock);
        auto it = mCallbacks.find(callback.get());
        if (it != mCallbacks.end()) owner = it->second;
    }
    std::string line;
    if (n == 0 || (callback != nullptr && owner == 0)) {
        line = "# a listener a replay cannot name was set";
    } else if (callback == nullptr) {
        line = "client " + std::to_string(n) + " listener off";
    } else if (owner == n) {
        line = "client " + std::to_string(n) + " listener on";
    } else {
        line = "client " + std::to_string(n) + " listener " + std::to_string(owner);
    }
    return SessionRecorder::get()->beginEvent(line);
}

void RecordingPlayerCalls::finished(uint64_t token) { SessionRecorder::get()->endEvent(token); }

void RecordingPlayerCalls::binderDied(const wp<IBinder>& who) {
    int n = 0;
    sp<IBinder> proxy;  // released after the lock
    {
        HostMutex::Autolock lock(mClientsLock);
        auto held = mRemoteCallbacks.find(who.unsafe_get());
        if (held != mRemoteCallbacks.end()) {
            proxy = held->second;
            mRemoteCallbacks.erase(held);
        }
        auto it = mCallbacks.find(who.unsafe_get());
        if (it != mCallbacks.end()) {
            n = it->second;
            mCallbacks.erase(it);
        }
    }
    if (n != 0) SessionRecorder::get()->event("client " + std::to_string(n) + " die");
}
