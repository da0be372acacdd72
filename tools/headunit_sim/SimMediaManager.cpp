#include "SimMediaManager.h"

#include "HostMutex.h"
#include "SimClock.h"
#include "WallClock.h"

#include <headunit/HeadUnitNames.h>
#include <log/log_tag_id.h>

#include <algorithm>

using namespace android;
using headunit::IHeadUnitSourceListener;

namespace {
constexpr int kLogInfo = 4;
// The media manager's request argument of a real activation or deactivation.
constexpr int kRequestSwitch = 0;
constexpr size_t kMaxSourceName = 32;

bool validSourceName(const std::string& name) {
    if (name.empty() || name.size() > kMaxSourceName) return false;
    for (char c : name) {
        if (c <= ' ' || c > '~') return false;
    }
    return true;
}
}  // namespace

SimMediaManager::SimMediaManager()
    : mNextId(1), mRestarts(0), mRestartMs(-1), mRefuseUntilMs(0) {}

SimMediaManager::~SimMediaManager() {}

int SimMediaManager::createSource(const String8& name8,
                                  const sp<IHeadUnitSourceListener>& listener) {
    const std::string name(name8.string());
    if (!validSourceName(name) || listener == nullptr) return -1;
    const int64_t now = simclock::monotonicMs();
    sp<IHeadUnitSourceListener> replaced;  // dropped after the lock is released
    int id = 0;
    int64_t afterRestart = -1;
    {
        HostMutex::Autolock lock(mStateLock);
        if (now < mRefuseUntilMs) {
            __android_log_print_tag_id(kLogInfo, headunit::kLogTagId, headunit::kLogTag,
                                       "media manager restarting: source %s refused",
                                       name.c_str());
            return -1;
        }
        Source& s = mSources[name];
        replaced = s.listener;
        s = Source();
        s.listener = listener;
        s.view.name = name;
        s.view.id = id = mNextId++;
        s.view.registered = false;
        s.view.registerCode = 0;
        s.view.active = false;
        s.view.mediaStatus = 0;
        s.view.records = 0;
        s.view.createdAt = wallClockText();
        s.view.createdAfterRestartMs = afterRestart = (mRestartMs >= 0 ? now - mRestartMs : -1);
    }
    IInterface::asBinder(listener)->linkToDeath(sp<IBinder::DeathRecipient>(this));
    if (afterRestart >= 0) {
        __android_log_print_tag_id(kLogInfo, headunit::kLogTagId, headunit::kLogTag,
                                   "source %s created (id %d), %lld ms after the restart",
                                   name.c_str(), id, static_cast<long long>(afterRestart));
    } else {
        __android_log_print_tag_id(kLogInfo, headunit::kLogTagId, headunit::kLogTag,
                                   "source %s created (id %d)", name.c_str(), id);
    }
    return 0;
}

int SimMediaManager::registerSource(const String8& name8, int code, Parcel* reply) {
    const std::string name(name8.string());
    int id = 0;
    {
        HostMutex::Autolock lock(mStateLock);
        auto it = mSources.find(name);
        if (it == mSources.end()) return -1;
        it->second.view.registered = true;
        it->second.view.registerCode = code;
        id = it->second.view.id;
    }
    if (reply != nullptr) reply->writeInt32(id);
    __android_log_print_tag_id(kLogInfo, headunit::kLogTagId, headunit::kLogTag,
                               "source %s registered with code %d", name.c_str(), code);
    return 0;
}

int SimMediaManager::publishMediaInfo(const String8& name8, const MediaInfoParcel& info) {
    const std::string name(name8.string());
    HostMutex::Autolock lock(mStateLock);
    auto it = mSources.find(name);
    if (it == mSources.end()) return -1;
    SourceView& view = it->second.view;
    for (const MediaInfoParcel::Field& f : info.fields()) {
        view.bar[f.kind] = BarField{std::string(f.text.string()), f.value};
    }
    ++view.records;
    mRecords.push_back(RecordView{wallClockText(), name, info.fields()});
    while (mRecords.size() > kMaxRecords) mRecords.pop_front();
    return 0;
}

int SimMediaManager::setMediaStatus(const String8& name8, int status) {
    const std::string name(name8.string());
    {
        HostMutex::Autolock lock(mStateLock);
        auto it = mSources.find(name);
        if (it == mSources.end()) return -1;
        it->second.view.mediaStatus = status;
    }
    __android_log_print_tag_id(kLogInfo, headunit::kLogTagId, headunit::kLogTag,
                               "source %s media status %d", name.c_str(), status);
    return 0;
}

void SimMediaManager::binderDied(const wp<IBinder>& who) {
    std::vector<sp<IHeadUnitSourceListener>> gone;  // dropped after the lock is released
    std::vector<std::string> names;
    {
        HostMutex::Autolock lock(mStateLock);
        for (auto it = mSources.begin(); it != mSources.end();) {
            if (IInterface::asBinder(it->second.listener).get() == who.unsafe_get()) {
                gone.push_back(it->second.listener);
                names.push_back(it->first);
                it = mSources.erase(it);
            } else {
                ++it;
            }
        }
    }
    for (const std::string& name : names) {
        __android_log_print_tag_id(kLogInfo, headunit::kLogTagId, headunit::kLogTag,
                                   "source %s gone: its process died", name.c_str());
    }
}

sp<IHeadUnitSourceListener> SimMediaManager::listenerOf(const std::string& name, int* id) {
    HostMutex::Autolock lock(mStateLock);
    auto it = mSources.find(name);
    if (it == mSources.end()) return nullptr;
    *id = it->second.view.id;
    return it->second.listener;
}

void SimMediaManager::setActive(const std::string& name, int id, bool active) {
    HostMutex::Autolock lock(mStateLock);
    auto it = mSources.find(name);
    if (it != mSources.end() && it->second.view.id == id) it->second.view.active = active;
}

int SimMediaManager::activate(const std::string& name, std::string* message) {
    int id = 0;
    sp<IHeadUnitSourceListener> listener = listenerOf(name, &id);
    if (listener == nullptr) {
        *message = "no source \"" + name + "\"";
        return -1;
    }
    // One source plays at a time: the active one is switched off first.
    std::string previous;
    int previousId = 0;
    sp<IHeadUnitSourceListener> previousListener;
    {
        HostMutex::Autolock lock(mStateLock);
        for (const auto& entry : mSources) {
            if (entry.second.view.active && entry.first != name) {
                previous = entry.first;
                previousId = entry.second.view.id;
                previousListener = entry.second.listener;
            }
        }
    }
    std::string prefix;
    if (previousListener != nullptr) {
        const int r = previousListener->onRequestDeactivation(kRequestSwitch);
        if (r == 1) setActive(previous, previousId, false);
        prefix = "deactivate " + previous + ": " + (r == 1 ? "accepted" : "refused") + "\n";
    }
    const int result = listener->onRequestActivation(kRequestSwitch);
    if (result == 1) setActive(name, id, true);
    __android_log_print_tag_id(kLogInfo, headunit::kLogTagId, headunit::kLogTag,
                               "activate %s: %d", name.c_str(), result);
    *message = prefix + "activate " + name + ": " + (result == 1 ? "accepted" : "refused");
    return result == 1 ? 0 : -1;
}

int SimMediaManager::deactivate(const std::string& name, std::string* message) {
    int id = 0;
    sp<IHeadUnitSourceListener> listener = listenerOf(name, &id);
    if (listener == nullptr) {
        *message = "no source \"" + name + "\"";
        return -1;
    }
    const int result = listener->onRequestDeactivation(kRequestSwitch);
    if (result == 1) setActive(name, id, false);
    __android_log_print_tag_id(kLogInfo, headunit::kLogTagId, headunit::kLogTag,
                               "deactivate %s: %d", name.c_str(), result);
    *message = "deactivate " + name + ": " + (result == 1 ? "accepted" : "refused");
    return result == 1 ? 0 : -1;
}

int SimMediaManager::requestMediaInfo(const std::string& name, std::string* message) {
    int id = 0;
    sp<IHeadUnitSourceListener> listener = listenerOf(name, &id);
    if (listener == nullptr) {
        *message = "no source \"" + name + "\"";
        return -1;
    }
    listener->onReqPublishMediaInfo();
    *message = "media information requested from " + name;
    return 0;
}

int SimMediaManager::restart(int downtimeMs, std::string* message) {
    std::map<std::string, Source> old;  // dropped after the lock is released
    {
        HostMutex::Autolock lock(mStateLock);
        old.swap(mSources);
        ++mRestarts;
        mRestartMs = simclock::monotonicMs();
        mRefuseUntilMs = mRestartMs + (downtimeMs > 0 ? downtimeMs : 0);
    }
    __android_log_print_tag_id(kLogInfo, headunit::kLogTagId, headunit::kLogTag,
                               "media manager restarted: %d sources asked to reconnect",
                               static_cast<int>(old.size()));
    for (const auto& entry : old) {
        entry.second.listener->onNotify(headunit::kNotifyReconnect, headunit::kReconnectExt, 0,
                                        nullptr);
    }
    *message = "media manager restarted; " + std::to_string(old.size()) +
               " sources asked to reconnect";
    return 0;
}

std::vector<SimMediaManager::SourceView> SimMediaManager::sources() const {
    HostMutex::Autolock lock(mStateLock);
    std::vector<SourceView> out;
    for (const auto& entry : mSources) out.push_back(entry.second.view);
    return out;
}

std::vector<SimMediaManager::RecordView> SimMediaManager::records(size_t max) const {
    HostMutex::Autolock lock(mStateLock);
    const size_t n = std::min(max, mRecords.size());
    return std::vector<RecordView>(mRecords.end() - static_cast<std::ptrdiff_t>(n), mRecords.end());
}

int SimMediaManager::restartCount() const {
    HostMutex::Autolock lock(mStateLock);
    return mRestarts;
}
