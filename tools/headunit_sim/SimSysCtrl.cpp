#include "SimSysCtrl.h"

#include "HostMutex.h"
#include "WallClock.h"

#include <headunit/HeadUnitNames.h>
#include <log/log_tag_id.h>

using namespace android;
using headunit::IHeadUnitSysCtrlListener;

namespace {
constexpr int kLogInfo = 4;
}  // namespace

SimSysCtrl::SimSysCtrl(int resumeDelayMs) : mResumeDelayMs(resumeDelayMs), mNextSeq(1) {}

SimSysCtrl::~SimSysCtrl() { mTasks.stop(); }

const char* SimSysCtrl::stateName(PowerState state) {
    switch (state) {
        case kAttached: return "attached";
        case kResuming: return "resuming";
        case kResumed: return "resumed";
        case kSuspending: return "suspending";
        case kSuspended: return "suspended";
    }
    return "unknown";
}

int SimSysCtrl::attach(const sp<IHeadUnitSysCtrlListener>& listener, int moduleId, int flags) {
    if (listener == nullptr) return -1;
    int seq = 0;
    {
        HostMutex::Autolock lock(mStateLock);
        seq = mNextSeq++;
        mModules.push_back(Module{listener,
                                  ModuleView{moduleId, flags, kAttached, 0, 0,
                                             wallClockText()},
                                  seq});
    }
    IInterface::asBinder(listener)->linkToDeath(sp<IBinder::DeathRecipient>(this));
    __android_log_print_tag_id(kLogInfo, headunit::kLogTagId, headunit::kLogTag,
                               "module %d attached", moduleId);
    if (mResumeDelayMs >= 0) {
        // A module starts suspended: the head unit resumes it once it is up.
        wp<SimSysCtrl> weak(this);
        mTasks.post(mResumeDelayMs, [weak, seq] {
            sp<SimSysCtrl> self = weak.promote();
            if (self != nullptr) self->transition(true, seq);
        });
    }
    return 0;
}

int SimSysCtrl::detach(const sp<IHeadUnitSysCtrlListener>& listener) {
    sp<IHeadUnitSysCtrlListener> gone;  // dropped after the lock is released
    HostMutex::Autolock lock(mStateLock);
    for (auto it = mModules.begin(); it != mModules.end(); ++it) {
        if (IInterface::asBinder(it->listener) == IInterface::asBinder(listener)) {
            gone = it->listener;
            mModules.erase(it);
            return 0;
        }
    }
    return -1;
}

bool SimSysCtrl::setState(const IBinder* listener, PowerState state, bool finished) {
    HostMutex::Autolock lock(mStateLock);
    for (Module& m : mModules) {
        if (IInterface::asBinder(m.listener).get() != listener) continue;
        m.view.state = state;
        m.view.since = wallClockText();
        if (finished && state == kResumed) ++m.view.resumes;
        if (finished && state == kSuspended) ++m.view.suspends;
        return true;
    }
    return false;
}

int SimSysCtrl::finishSuspend(const sp<IHeadUnitSysCtrlListener>& listener) {
    return setState(IInterface::asBinder(listener).get(), kSuspended, true) ? 0 : -1;
}

int SimSysCtrl::finishResume(const sp<IHeadUnitSysCtrlListener>& listener) {
    return setState(IInterface::asBinder(listener).get(), kResumed, true) ? 0 : -1;
}

void SimSysCtrl::binderDied(const wp<IBinder>& who) {
    std::vector<sp<IHeadUnitSysCtrlListener>> gone;  // dropped after the lock is released
    std::vector<int> ids;
    {
        HostMutex::Autolock lock(mStateLock);
        for (auto it = mModules.begin(); it != mModules.end();) {
            if (IInterface::asBinder(it->listener).get() == who.unsafe_get()) {
                gone.push_back(it->listener);
                ids.push_back(it->view.moduleId);
                it = mModules.erase(it);
            } else {
                ++it;
            }
        }
    }
    for (int id : ids) {
        __android_log_print_tag_id(kLogInfo, headunit::kLogTagId, headunit::kLogTag,
                                   "module %d gone: its process died", id);
    }
}

int SimSysCtrl::transition(bool resume, int seq) {
    std::vector<std::pair<sp<IHeadUnitSysCtrlListener>, int>> targets;
    {
        HostMutex::Autolock lock(mStateLock);
        for (Module& m : mModules) {
            if (seq != 0 && m.seq != seq) continue;
            m.view.state = resume ? kResuming : kSuspending;
            m.view.since = wallClockText();
            targets.emplace_back(m.listener, m.view.moduleId);
        }
    }
    for (const auto& t : targets) {
        __android_log_print_tag_id(kLogInfo, headunit::kLogTagId, headunit::kLogTag,
                                   "%s module %d", resume ? "resume" : "suspend", t.second);
        if (resume) {
            t.first->onResume();
        } else {
            t.first->onSuspend();
        }
    }
    return static_cast<int>(targets.size());
}

int SimSysCtrl::suspendAll(std::string* message) {
    const int n = transition(false, 0);
    *message = "suspend sent to " + std::to_string(n) + " modules";
    return 0;
}

int SimSysCtrl::resumeAll(std::string* message) {
    const int n = transition(true, 0);
    *message = "resume sent to " + std::to_string(n) + " modules";
    return 0;
}

std::vector<SimSysCtrl::ModuleView> SimSysCtrl::modules() const {
    HostMutex::Autolock lock(mStateLock);
    std::vector<ModuleView> out;
    for (const Module& m : mModules) out.push_back(m.view);
    return out;
}
