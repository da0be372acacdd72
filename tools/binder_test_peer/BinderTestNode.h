#ifndef DAB_TOOLS_BINDER_TEST_NODE_H
#define DAB_TOOLS_BINDER_TEST_NODE_H

// The binder object both sides of the transport's multi-process tests use: the helper process
// binder_test_peer and the test process itself. Header-only so the tests build it without
// linking the helper.

#include "HostMutex.h"

#include <binder/Binder.h>
#include <binder/IPCThreadState.h>
#include <binder/Parcel.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <thread>
#include <vector>

namespace binder_test {

using namespace android;

enum Code : uint32_t {
    ECHO = IBinder::FIRST_CALL_TRANSACTION,  // int32 v, String8 s -> v + 1, s
    IDS,           // -> calling uid, calling pid, own pid
    NEST,          // binder peer, int32 depth -> depth (calls peer NEST(this, depth - 1) first)
    HOLD,          // binder -> number held
    DROP_ALL,      // releases every held binder -> 0
    GET_HELD,      // int32 index -> that held binder
    SAME,          // binder a, binder b -> 1 when both are the same object
    NOTIFY,        // one-way: int32 seq, then padding
    REGISTER,      // binder callback -> calling pid
    WAIT_COUNT,    // int32 n -> notifications received when n arrived (or after 10 s), in order
    SLEEP_MS,      // int32 ms -> 0
    CREATE,        // -> a new node of this process
    LIVE_NODES,    // -> nodes alive in this process
};

// Nodes alive in this process.
inline std::atomic<int>& liveNodes() {
    static std::atomic<int> count{0};
    return count;
}

inline pid_t currentTid() { return static_cast<pid_t>(syscall(SYS_gettid)); }

class TestNode : public BBinder {
public:
    TestNode() { liveNodes()++; }

    // Any thread. Callbacks registered with REGISTER, in order.
    std::vector<sp<IBinder>> registered() const {
        HostMutex::Autolock lock(mLock);
        return mRegistered;
    }
    // Any thread. Pids that called REGISTER.
    std::vector<pid_t> registeredPids() const {
        HostMutex::Autolock lock(mLock);
        return mRegisteredPids;
    }
    // Any thread. Threads that served NEST here, in order.
    std::vector<pid_t> nestThreads() const {
        HostMutex::Autolock lock(mLock);
        return mNestThreads;
    }
    // Any thread; blocks up to the time-out. True once n callbacks are registered.
    bool waitRegistered(size_t n, std::chrono::milliseconds timeout) {
        HostMutex::Autolock lock(mLock);
        return mChanged.wait_for(lock.native(), timeout, [&]() REQUIRES(mLock) { return mRegistered.size() >= n; });
    }
    // Any thread; blocks up to the time-out. Notifications received, once at least n.
    int waitNotifications(int n, std::chrono::milliseconds timeout, bool* inOrder) {
        HostMutex::Autolock lock(mLock);
        mChanged.wait_for(lock.native(), timeout, [&]() REQUIRES(mLock) { return mReceived >= n; });
        *inOrder = mInOrder;
        return mReceived;
    }
    void clearRegistered() {
        std::vector<sp<IBinder>> old;
        HostMutex::Autolock lock(mLock);
        old.swap(mRegistered);
    }

protected:
    ~TestNode() override { liveNodes()--; }

    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                        uint32_t flags) override {
        switch (code) {
            case ECHO: {
                const int32_t v = data.readInt32();
                const String8 s = data.readString8();
                reply->writeInt32(v + 1);
                reply->writeString8(s);
                return NO_ERROR;
            }
            case IDS:
                reply->writeInt32(static_cast<int32_t>(IPCThreadState::self()->getCallingUid()));
                reply->writeInt32(static_cast<int32_t>(IPCThreadState::self()->getCallingPid()));
                reply->writeInt32(static_cast<int32_t>(getpid()));
                return NO_ERROR;
            case NEST: {
                sp<IBinder> peer = data.readStrongBinder();
                const int32_t depth = data.readInt32();
                {
                    HostMutex::Autolock lock(mLock);
                    mNestThreads.push_back(currentTid());
                }
                if (peer == nullptr || depth < 0) return BAD_VALUE;
                if (depth == 0) return reply->writeInt32(0);
                Parcel in;
                Parcel out;
                in.writeStrongBinder(this);
                in.writeInt32(depth - 1);
                status_t err = peer->transact(NEST, in, &out);
                if (err != NO_ERROR) return err;
                return reply->writeInt32(out.readInt32() + 1);
            }
            case HOLD: {
                sp<IBinder> b = data.readStrongBinder();
                HostMutex::Autolock lock(mLock);
                mHeld.push_back(b);
                return reply->writeInt32(static_cast<int32_t>(mHeld.size()));
            }
            case DROP_ALL: {
                std::vector<sp<IBinder>> old;
                {
                    HostMutex::Autolock lock(mLock);
                    old.swap(mHeld);
                }
                old.clear();
                return reply->writeInt32(0);
            }
            case GET_HELD: {
                const int32_t index = data.readInt32();
                HostMutex::Autolock lock(mLock);
                if (index < 0 || static_cast<size_t>(index) >= mHeld.size()) return BAD_VALUE;
                return reply->writeStrongBinder(mHeld[static_cast<size_t>(index)]);
            }
            case SAME: {
                sp<IBinder> a = data.readStrongBinder();
                sp<IBinder> b = data.readStrongBinder();
                return reply->writeInt32(a != nullptr && a == b ? 1 : 0);
            }
            case NOTIFY: {
                const int32_t seq = data.readInt32();
                HostMutex::Autolock lock(mLock);
                if (seq != mReceived) mInOrder = false;
                mReceived++;
                mChanged.notify_all();
                return NO_ERROR;
            }
            case REGISTER: {
                sp<IBinder> callback = data.readStrongBinder();
                HostMutex::Autolock lock(mLock);
                mRegistered.push_back(callback);
                mRegisteredPids.push_back(IPCThreadState::self()->getCallingPid());
                mChanged.notify_all();
                return reply->writeInt32(static_cast<int32_t>(IPCThreadState::self()->getCallingPid()));
            }
            case WAIT_COUNT: {
                bool inOrder = false;
                const int got = waitNotifications(data.readInt32(), std::chrono::seconds(10), &inOrder);
                reply->writeInt32(got);
                return reply->writeInt32(inOrder ? 1 : 0);
            }
            case SLEEP_MS:
                std::this_thread::sleep_for(std::chrono::milliseconds(data.readInt32()));
                return reply->writeInt32(0);
            case CREATE:
                return reply->writeStrongBinder(sp<IBinder>(new TestNode()));
            case LIVE_NODES:
                return reply->writeInt32(liveNodes().load());
            default:
                return BBinder::onTransact(code, data, reply, flags);
        }
    }

private:
    mutable HostMutex mLock;                  // guards every field below
    std::condition_variable mChanged;         // signalled under mLock
    std::vector<sp<IBinder>> mHeld GUARDED_BY(mLock);
    std::vector<sp<IBinder>> mRegistered GUARDED_BY(mLock);
    std::vector<pid_t> mRegisteredPids GUARDED_BY(mLock);
    std::vector<pid_t> mNestThreads GUARDED_BY(mLock);
    int mReceived GUARDED_BY(mLock) = 0;
    bool mInOrder GUARDED_BY(mLock) = true;
};

}  // namespace binder_test

#endif  // DAB_TOOLS_BINDER_TEST_NODE_H
