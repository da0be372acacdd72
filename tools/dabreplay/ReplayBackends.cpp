#include "ReplayBackends.h"

#include "HostMutex.h"
#include "ReplayScript.h"

#include <binder/Parcel.h>

#include <cstring>
#include <thread>

using namespace android;

ReplayMediaManager::ReplayMediaManager(ReplayTranscript* transcript) : mTranscript(transcript) {}

bool ReplayMediaManager::failsLocked(const std::map<std::string, bool>& fails, const std::string& source) const {
    auto own = fails.find(source);
    if (own != fails.end()) return own->second;
    auto all = fails.find("");
    return all != fails.end() && all->second;
}

bool ReplayMediaManager::createSource(const String8& name, const sp<ISourceListener>& listener) {
    bool ok;
    {
        HostMutex::Autolock lock(mLock);
        ok = !failsLocked(mCreateFails, name.string());
        if (ok) mListeners[name.string()] = listener;
    }
    mTranscript->add(std::string("mm create ") + name.string() + " = " + (ok ? "ok" : "null"));
    return ok;
}

int ReplayMediaManager::registerSource(const String8& name, int code, Parcel*) {
    bool fails;
    {
        HostMutex::Autolock lock(mLock);
        fails = failsLocked(mRegisterFails, name.string());
    }
    mTranscript->add(std::string("mm ") + name.string() + " register " + std::to_string(code) + (fails ? " = -1" : ""));
    return fails ? -1 : 0;
}

int ReplayMediaManager::publishMediaInfo(const String8& name, const MediaInfoParcel& info) {
    std::string line = std::string("mm ") + name.string() + " record";
    for (const MediaInfoParcel::Field& f : info.fields()) {
        line += std::string(" ") + MediaInfoParcel::writerName(f.kind) + "=";
        if (f.kind == MediaInfoParcel::FIELD_PRESET_STATION_NUMBER) {
            line += std::to_string(f.value);
        } else {
            line += quoteBytes(f.text.string(), f.text.length());
        }
    }
    mTranscript->add(line);
    return 0;
}

int ReplayMediaManager::setMediaStatus(const String8& name, MediaStatus status) {
    bool fails;
    {
        HostMutex::Autolock lock(mLock);
        fails = failsLocked(mStatusFails, name.string());
    }
    mTranscript->add(std::string("mm ") + name.string() + " status " + std::to_string(status) + (fails ? " = -1" : ""));
    return fails ? -1 : 0;
}

void ReplayMediaManager::setCreateFails(const std::string& source, bool fails) {
    HostMutex::Autolock lock(mLock);
    // A setting for every source replaces the sources' own.
    if (source.empty()) mCreateFails.clear();
    mCreateFails[source] = fails;
}

void ReplayMediaManager::setRegisterFails(const std::string& source, bool fails) {
    HostMutex::Autolock lock(mLock);
    mRegisterFails[source] = fails;
}

void ReplayMediaManager::setStatusFails(const std::string& source, bool fails) {
    HostMutex::Autolock lock(mLock);
    mStatusFails[source] = fails;
}

sp<ISourceListener> ReplayMediaManager::listener(const std::string& name) {
    HostMutex::Autolock lock(mLock);
    auto it = mListeners.find(name);
    return it == mListeners.end() ? nullptr : it->second;
}

ReplayMediaData::ReplayMediaData(ReplayTranscript* transcript) : mTranscript(transcript) {}

bool ReplayMediaData::allowCreate() {
    HostMutex::Autolock lock(mLock);
    return !mCreateFails;
}

int ReplayMediaData::publish(const String8& key, int value) {
    mTranscript->add(std::string("mediadata ") + key.string() + " " + std::to_string(value));
    return 0;
}

void ReplayMediaData::setCreateFails(bool fails) {
    HostMutex::Autolock lock(mLock);
    mCreateFails = fails;
}

ReplaySysCtrl::ReplaySysCtrl(ReplayTranscript* transcript) : mTranscript(transcript) {}

int ReplaySysCtrl::attach(SysCtrlManagerIF* client, int moduleId, int flags) {
    {
        HostMutex::Autolock lock(mLock);
        mClient = client;
    }
    mTranscript->add("sys attach " + std::to_string(moduleId) + " " + std::to_string(flags));
    return 0;
}

void ReplaySysCtrl::detach(SysCtrlManagerIF* client) {
    HostMutex::Autolock lock(mLock);
    if (mClient == client) mClient = nullptr;
}

int ReplaySysCtrl::finishSuspend(SysCtrlManagerIF*) {
    mTranscript->add("sys finishSuspend");
    return 0;
}

int ReplaySysCtrl::finishResume(SysCtrlManagerIF*) {
    mTranscript->add("sys finishResume");
    return 0;
}

bool ReplaySysCtrl::resume() {
    SysCtrlManagerIF* client;
    {
        HostMutex::Autolock lock(mLock);
        client = mClient;
    }
    if (client == nullptr) return false;
    client->listener()->onResume();
    return true;
}

bool ReplaySysCtrl::suspend() {
    SysCtrlManagerIF* client;
    {
        HostMutex::Autolock lock(mLock);
        client = mClient;
    }
    if (client == nullptr) return false;
    client->listener()->onSuspend();
    return true;
}

ReplayProcessSupport::ReplayProcessSupport(ReplayTranscript* transcript) : mTranscript(transcript) {}

int ReplayProcessSupport::setOomAdj(int id, int status) {
    mTranscript->add("oomadj " + std::to_string(id) + " " + std::to_string(status));
    return 0;
}

ReplayClient::ReplayClient(ReplayTranscript* transcript, int index)
    : mTranscript(transcript), mIndex(index) {}

void ReplayClient::notify(int msg, int ext1, int ext2, const Parcel* obj) {
    int slowMs;
    {
        HostMutex::Autolock lock(mLock);
        if (mDead) return;
        slowMs = mSlowMs;
    }
    std::string line = "client" + std::to_string(mIndex) + " notify " + std::to_string(msg) + " " +
                       std::to_string(ext1) + " " + std::to_string(ext2);
    if (obj != nullptr) line += " " + renderParcel(*obj);
    mTranscript->add(line);
    if (slowMs > 0) std::this_thread::sleep_for(std::chrono::milliseconds(slowMs));
}

void ReplayClient::setSlowMs(int ms) {
    HostMutex::Autolock lock(mLock);
    mSlowMs = ms;
}

void ReplayClient::setDead() {
    HostMutex::Autolock lock(mLock);
    mDead = true;
}

std::string ReplayClient::renderParcel(const Parcel& parcel) {
    const size_t pos = parcel.dataPosition();
    parcel.setDataPosition(0);
    const char* s = parcel.readCString();
    std::string out;
    if (s != nullptr) {
        out = quoteBytes(s, strlen(s));
    } else {
        // Not a C string: nothing was read, all of it is shown below.
        out = "\"\"";
        parcel.setDataPosition(0);
    }
    const size_t rest = parcel.dataSize() - parcel.dataPosition();
    if (rest > 0) {
        const char* bytes = static_cast<const char*>(parcel.readInplace(rest));
        if (bytes != nullptr) out += " +" + quoteBytes(bytes, rest);
    }
    parcel.setDataPosition(pos);
    return out;
}
