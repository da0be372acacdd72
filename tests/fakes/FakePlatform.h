#ifndef DAB_TESTS_FAKEPLATFORM_H
#define DAB_TESTS_FAKEPLATFORM_H

#include "HostMutex.h"
#include "MediaDataBackend.h"
#include "ProcessSupportBackend.h"
#include "SysCtrlBackend.h"

#include <string>
#include <utility>
#include <vector>

// Media data service that records every published value and can refuse client creation.
class FakeMediaData : public android::MediaDataBackend {
public:
    bool allowCreate() override;
    int publish(const android::String8& key, int value) override;

    void setCreateFails(bool fails);
    std::vector<std::pair<std::string, int>> published() const;

private:
    mutable HostMutex mLock;  // guards everything below
    bool mCreateFails GUARDED_BY(mLock) = false;
    std::vector<std::pair<std::string, int>> mPublished GUARDED_BY(mLock);
};

// System control manager that records the service's calls; tests drive the listener.
class FakeSysCtrl : public android::SysCtrlBackend {
public:
    int attach(android::SysCtrlManagerIF* client, int moduleId, int flags) override;
    void detach(android::SysCtrlManagerIF* client) override;
    int finishSuspend(android::SysCtrlManagerIF* client) override;
    int finishResume(android::SysCtrlManagerIF* client) override;

    // The calls in order: "attach(13,0)", "finishSuspend", "finishResume".
    std::vector<std::string> calls() const;
    // Calls the attached listener's onSuspend / onResume on this thread.
    void suspend();
    void resume();

private:
    android::SysCtrlManagerIF* client() const;

    mutable HostMutex mLock;  // guards everything below
    std::vector<std::string> mCalls GUARDED_BY(mLock);
    android::SysCtrlManagerIF* mClient GUARDED_BY(mLock) = nullptr;
};

// Records drop_privileges and setOomAdj.
class FakeProcessSupport : public ProcessSupportBackend {
public:
    int dropPrivileges() override;
    int setOomAdj(int id, int status) override;
    // "drop_privileges", "setOomAdj(5,2)", ...
    std::vector<std::string> calls() const;

private:
    mutable HostMutex mLock;  // guards mCalls
    std::vector<std::string> mCalls GUARDED_BY(mLock);
};

#endif  // DAB_TESTS_FAKEPLATFORM_H
