#include "SysCtrlListenerBinder.h"

#include "HostMutex.h"

using namespace android;

namespace headunit {

SysCtrlListenerBinder::SysCtrlListenerBinder(SysCtrlManagerListenerBase* listener)
    : mListener(listener), mStopping(false) {}

SysCtrlListenerBinder::~SysCtrlListenerBinder() {
    stop();
}

void SysCtrlListenerBinder::onSuspend() { post(kSuspend); }
void SysCtrlListenerBinder::onResume() { post(kResume); }

void SysCtrlListenerBinder::post(Transition transition) {
    HostMutex::Autolock lock(mQueueLock);
    if (mStopping || mListener == nullptr) return;
    mQueue.push_back(transition);
    // The thread starts with the first transition: a module that is never resumed keeps none.
    // It holds the object until stop(), so the object never goes away under it.
    if (!mThread.joinable()) {
        sp<SysCtrlListenerBinder> self(this);
        mThread = std::thread([self] { self->threadLoop(); });
    }
    mQueueChanged.notify_one();
}

void SysCtrlListenerBinder::threadLoop() {
    HostMutex::Autolock lock(mQueueLock);
    for (;;) {
        while (!mStopping && mQueue.empty()) mQueueChanged.wait(lock.native());
        if (mStopping) return;
        const Transition transition = mQueue.front();
        mQueue.pop_front();
        lock.unlock();
        if (transition == kSuspend) {
            mListener->onSuspend();
        } else {
            mListener->onResume();
        }
        lock.lock();
    }
}

void SysCtrlListenerBinder::stop() {
    std::thread thread;
    {
        HostMutex::Autolock lock(mQueueLock);
        mStopping = true;
        mQueue.clear();
        thread.swap(mThread);
        mQueueChanged.notify_all();
    }
    if (!thread.joinable()) return;
    if (thread.get_id() == std::this_thread::get_id()) {
        thread.detach();  // the listener let go of itself from its own callback
    } else {
        thread.join();
    }
}

}  // namespace headunit
