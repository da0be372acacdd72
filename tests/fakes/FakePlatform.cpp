#include "FakePlatform.h"

using namespace android;

bool FakeMediaData::allowCreate() {
    std::lock_guard<std::mutex> lock(mLock);
    return !mCreateFails;
}

int FakeMediaData::attach() {
    std::lock_guard<std::mutex> lock(mLock);
    ++mAttachCount;
    return 0;
}

int FakeMediaData::publish(const String8& key, int value) {
    std::lock_guard<std::mutex> lock(mLock);
    mPublished.emplace_back(key.string(), value);
    return 0;
}

void FakeMediaData::setCreateFails(bool fails) {
    std::lock_guard<std::mutex> lock(mLock);
    mCreateFails = fails;
}

std::vector<std::pair<std::string, int>> FakeMediaData::published() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mPublished;
}

int FakeMediaData::attachCount() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mAttachCount;
}

int FakeSysCtrl::attach(SysCtrlManagerIF* client, int moduleId, int flags) {
    std::lock_guard<std::mutex> lock(mLock);
    mClient = client;
    mCalls.push_back("attach(" + std::to_string(moduleId) + "," + std::to_string(flags) + ")");
    return 0;
}

void FakeSysCtrl::detach(SysCtrlManagerIF* client) {
    std::lock_guard<std::mutex> lock(mLock);
    if (mClient == client) mClient = nullptr;
}

int FakeSysCtrl::finishSuspend(SysCtrlManagerIF*) {
    std::lock_guard<std::mutex> lock(mLock);
    mCalls.push_back("finishSuspend");
    return 0;
}

int FakeSysCtrl::finishResume(SysCtrlManagerIF*) {
    std::lock_guard<std::mutex> lock(mLock);
    mCalls.push_back("finishResume");
    return 0;
}

std::vector<std::string> FakeSysCtrl::calls() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mCalls;
}

void FakeSysCtrl::suspend() {
    SysCtrlManagerIF* client;
    {
        std::lock_guard<std::mutex> lock(mLock);
        client = mClient;
    }
    if (client != nullptr) client->listener()->onSuspend();
}

void FakeSysCtrl::resume() {
    SysCtrlManagerIF* client;
    {
        std::lock_guard<std::mutex> lock(mLock);
        client = mClient;
    }
    if (client != nullptr) client->listener()->onResume();
}

int FakeProcessSupport::dropPrivileges() {
    std::lock_guard<std::mutex> lock(mLock);
    mCalls.push_back("drop_privileges");
    return 0;
}

int FakeProcessSupport::setOomAdj(int id, int status) {
    std::lock_guard<std::mutex> lock(mLock);
    mCalls.push_back("setOomAdj(" + std::to_string(id) + "," + std::to_string(status) + ")");
    return 0;
}

std::vector<std::string> FakeProcessSupport::calls() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mCalls;
}
