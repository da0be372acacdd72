#include "FakeMediaManager.h"

#include "Eventually.h"

using namespace android;

// The entries of one source (all of them when name is empty).
template <typename T>
static std::vector<T> ofSource(const std::vector<T>& all, const std::string& name) {
    std::vector<T> out;
    for (const T& entry : all) {
        if (name.empty() || entry.name == name) out.push_back(entry);
    }
    return out;
}

std::string FakeMediaManager::Record::text() const {
    std::string out;
    for (const MediaInfoParcel::Field& f : fields) {
        if (!out.empty()) out += ", ";
        out += MediaInfoParcel::writerName(f.kind);
        out += "(";
        out += f.kind == MediaInfoParcel::FIELD_PRESET_STATION_NUMBER ? std::to_string(f.value)
                                                                      : f.text.string();
        out += ")";
    }
    return out;
}

bool FakeMediaManager::createSource(const String8& name, const sp<ISourceListener>& listener) {
    HostMutex::Autolock lock(mLock);
    bool accepted = true;
    if (mRefuseCount != 0 && (mRefuseName.empty() || mRefuseName == name.string())) {
        accepted = false;
        if (mRefuseCount > 0) --mRefuseCount;
    }
    mAttempts.push_back({name.string(), listener, accepted, std::chrono::steady_clock::now()});
    if (accepted) mListeners[name.string()] = listener;
    return accepted;
}

int FakeMediaManager::registerSource(const String8& name, int code, Parcel* reply) {
    std::function<void(const std::string&)> hook;
    int result;
    {
        HostMutex::Autolock lock(mLock);
        mRegistrations.push_back({name.string(), code});
        hook = mRegisterHook;
        result = mRegisterResult;
        if (reply != nullptr && mReplyInts > 0) {
            for (int i = 0; i < mReplyInts; ++i) reply->writeInt32(i);
            reply->setDataPosition(0);
        }
    }
    if (hook) hook(name.string());
    return result;
}

int FakeMediaManager::publishMediaInfo(const String8& name, const MediaInfoParcel& info) {
    Record record{name.string(), info.fields()};
    std::function<void(const Record&)> hook;
    {
        HostMutex::Autolock lock(mLock);
        mRecords.push_back(record);
        hook = mPublishHook;
    }
    if (hook) hook(record);
    return 0;
}

int FakeMediaManager::setMediaStatus(const String8& name, MediaStatus status) {
    HostMutex::Autolock lock(mLock);
    mStatuses.push_back({name.string(), static_cast<int>(status)});
    return 0;
}

void FakeMediaManager::refuseCreate(int count, const std::string& name) {
    HostMutex::Autolock lock(mLock);
    mRefuseCount = count;
    mRefuseName = name;
}

void FakeMediaManager::allowCreate() { refuseCreate(0); }

void FakeMediaManager::setRegisterResult(int result, int replyInts) {
    HostMutex::Autolock lock(mLock);
    mRegisterResult = result;
    mReplyInts = replyInts;
}

void FakeMediaManager::setRegisterHook(std::function<void(const std::string&)> hook) {
    HostMutex::Autolock lock(mLock);
    mRegisterHook = std::move(hook);
}

void FakeMediaManager::setPublishHook(std::function<void(const Record&)> hook) {
    HostMutex::Autolock lock(mLock);
    mPublishHook = std::move(hook);
}

std::vector<FakeMediaManager::Attempt> FakeMediaManager::attempts(const std::string& name) const {
    HostMutex::Autolock lock(mLock);
    return ofSource(mAttempts, name);
}

int FakeMediaManager::acceptedCount(const std::string& name) const {
    int count = 0;
    for (const Attempt& a : attempts(name)) count += a.accepted ? 1 : 0;
    return count;
}

std::vector<FakeMediaManager::Registration> FakeMediaManager::registrations() const {
    HostMutex::Autolock lock(mLock);
    return mRegistrations;
}

std::vector<FakeMediaManager::Record> FakeMediaManager::records(const std::string& name) const {
    HostMutex::Autolock lock(mLock);
    return ofSource(mRecords, name);
}

std::vector<std::string> FakeMediaManager::recordTexts(const std::string& name) const {
    std::vector<std::string> out;
    for (const Record& r : records(name)) out.push_back(r.text());
    return out;
}

std::vector<FakeMediaManager::Status> FakeMediaManager::statuses(const std::string& name) const {
    HostMutex::Autolock lock(mLock);
    return ofSource(mStatuses, name);
}

void FakeMediaManager::clearRecords() {
    HostMutex::Autolock lock(mLock);
    mAttempts.clear();
    mRegistrations.clear();
    mRecords.clear();
    mStatuses.clear();
}

bool FakeMediaManager::waitFor(const std::function<bool()>& pred,
                               std::chrono::milliseconds timeout) const {
    return waitUntil(pred, timeout);
}

sp<ISourceListener> FakeMediaManager::listener(const std::string& name) const {
    HostMutex::Autolock lock(mLock);
    auto it = mListeners.find(name);
    return it == mListeners.end() ? nullptr : it->second.promote();
}

int FakeMediaManager::activate(const std::string& name, int request) {
    sp<ISourceListener> l = listener(name);
    return l == nullptr ? -1 : l->onRequestActivation(request);
}

int FakeMediaManager::deactivate(const std::string& name, int request) {
    sp<ISourceListener> l = listener(name);
    return l == nullptr ? -1 : l->onRequestDeactivation(request);
}

void FakeMediaManager::requestPublish(const std::string& name) {
    sp<ISourceListener> l = listener(name);
    if (l != nullptr) l->onReqPublishMediaInfo();
}

void FakeMediaManager::notify(const std::string& name, int msg, int ext1, int ext2,
                              const Parcel* data) {
    sp<ISourceListener> l = listener(name);
    if (l != nullptr) l->onNotify(msg, ext1, ext2, data);
}
