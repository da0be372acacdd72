#include "FakePlatform.h"

using namespace android;

bool FakeMediaData::allowCreate() {
    HostMutex::Autolock lock(mLock);
    return !mCreateFails;
}

int FakeMediaData::publish(const String8& key, int value) {
    HostMutex::Autolock lock(mLock);
    mPublished.emplace_back(key.string(), value);
    return 0;
}

void FakeMediaData::setCreateFails(bool fails) {
    HostMutex::Autolock lock(mLock);
    mCreateFails = fails;
}

std::vector<std::pair<std::string, int>> FakeMediaData::published() const {
    HostMutex::Autolock lock(mLock);
    return mPublished;
}

int FakeSysCtrl::attach(SysCtrlManagerIF* client, int moduleId, int flags) {
    HostMutex::Autolock lock(mLock);
    mClient = client;
    mCalls.push_back("attach(" + std::to_string(moduleId) + "," + std::to_string(flags) + ")");
    return 0;
}

void FakeSysCtrl::detach(SysCtrlManagerIF* client) {
    HostMutex::Autolock lock(mLock);
    if (mClient == client) mClient = nullptr;
}

int FakeSysCtrl::finishSuspend(SysCtrlManagerIF*) {
    HostMutex::Autolock lock(mLock);
    mCalls.push_back("finishSuspend");
    return 0;
}

int FakeSysCtrl::finishResume(SysCtrlManagerIF*) {
    HostMutex::Autolock lock(mLock);
    mCalls.push_back("finishResume");
    return 0;
}

std::vector<std::string> FakeSysCtrl::calls() const {
    HostMutex::Autolock lock(mLock);
    return mCalls;
}

SysCtrlManagerIF* FakeSysCtrl::client() const {
    HostMutex::Autolock lock(mLock);
    return mClient;
}

void FakeSysCtrl::suspend() {
    SysCtrlManagerIF* attached = client();
    if (attached != nullptr) attached->listener()->onSuspend();
}

void FakeSysCtrl::resume() {
    SysCtrlManagerIF* attached = client();
    if (attached != nullptr) attached->listener()->onResume();
}

int FakeProcessSupport::dropPrivileges() {
    HostMutex::Autolock lock(mLock);
    mCalls.push_back("drop_privileges");
    return 0;
}

int FakeProcessSupport::setOomAdj(int id, int status) {
    HostMutex::Autolock lock(mLock);
    mCalls.push_back("setOomAdj(" + std::to_string(id) + "," + std::to_string(status) + ")");
    return 0;
}

std::vector<std::string> FakeProcessSupport::calls() const {
    HostMutex::Autolock lock(mLock);
    return mCalls;
}
