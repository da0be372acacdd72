#ifndef DAB_TOOLS_HEADUNIT_SIM_SIMSYSCTRL_H
#define DAB_TOOLS_HEADUNIT_SIM_SIMSYSCTRL_H

#include "DelayedTasks.h"
#include "HostMutex.h"

#include <headunit/IHeadUnitSysCtrl.h>

#include <string>
#include <vector>

// The head unit's system control manager: modules attach their power-transition listener; a
// module is resumed shortly after it attached (it becomes active only after its first
// resume), and every attached module is suspended or resumed on command. The module answers
// each transition with finishSuspend or finishResume.
class SimSysCtrl : public headunit::BnHeadUnitSysCtrl, public android::IBinder::DeathRecipient {
public:
    enum PowerState { kAttached, kResuming, kResumed, kSuspending, kSuspended };

    struct ModuleView {
        int moduleId;
        int flags;
        PowerState state;
        int resumes;    // resumes the module finished
        int suspends;   // suspends the module finished
        std::string since;  // wall-clock time of the last change of state
    };

    // Any thread; non-blocking. resumeDelayMs < 0: modules are resumed on command only.
    explicit SimSysCtrl(int resumeDelayMs);

    // Binder threads; non-blocking. -1 for a listener that is not attached.
    int attach(const android::sp<headunit::IHeadUnitSysCtrlListener>& listener, int moduleId,
               int flags) override;
    int detach(const android::sp<headunit::IHeadUnitSysCtrlListener>& listener) override;
    int finishSuspend(const android::sp<headunit::IHeadUnitSysCtrlListener>& listener) override;
    int finishResume(const android::sp<headunit::IHeadUnitSysCtrlListener>& listener) override;

    // Binder pool thread: the module's process died; it is forgotten.
    void binderDied(const android::wp<android::IBinder>& who) override;

    // Control, any thread; non-blocking (the transitions are one-way). 0, with *message
    // saying how many modules were told.
    int suspendAll(std::string* message);
    // The same for resume.
    int resumeAll(std::string* message);

    // Any thread; non-blocking. In order of attachment.
    std::vector<ModuleView> modules() const;
    // Any thread; non-blocking. "resumed", ...
    static const char* stateName(PowerState state);

protected:
    ~SimSysCtrl() override;

private:
    struct Module {
        android::sp<headunit::IHeadUnitSysCtrlListener> listener;
        ModuleView view;
        int seq;  // attachment number, so a late automatic resume finds the right module
    };

    // Sends the transition to every module (seq 0) or to the module attached as seq.
    int transition(bool resume, int seq);
    // Sets a module's state when it is still attached; false when it is not.
    bool setState(const android::IBinder* listener, PowerState state, bool finished);

    const int mResumeDelayMs;         // immutable
    mutable HostMutex mStateLock;      // guards the fields below
    std::vector<Module> mModules GUARDED_BY(mStateLock);
    int mNextSeq GUARDED_BY(mStateLock);
    DelayedTasks mTasks;  // last member: its thread stops before the others go
};

#endif  // DAB_TOOLS_HEADUNIT_SIM_SIMSYSCTRL_H
