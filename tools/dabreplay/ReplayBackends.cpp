#include "ReplayBackends.h"

#include "ReplayScript.h"

#include <binder/Parcel.h>

#include <cstring>

using namespace android;

ReplayMediaManager::ReplayMediaManager(ReplayTranscript* transcript) : mTranscript(transcript) {}

bool ReplayMediaManager::createSource(const String8& name, const sp<ISourceListener>& listener) {
    bool ok;
    {
        std::lock_guard<std::mutex> lock(mLock);
        ok = !mCreateFails;
        if (ok) mListeners[name.string()] = listener;
    }
    mTranscript->add(std::string("mm create ") + name.string() + " = " + (ok ? "ok" : "null"));
    return ok;
}

int ReplayMediaManager::registerSource(const String8& name, int code, Parcel*) {
    mTranscript->add(std::string("mm ") + name.string() + " register " + std::to_string(code));
    return 0;
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
    mTranscript->add(std::string("mm ") + name.string() + " status " + std::to_string(status));
    return 0;
}

void ReplayMediaManager::setCreateFails(bool fails) {
    std::lock_guard<std::mutex> lock(mLock);
    mCreateFails = fails;
}

sp<ISourceListener> ReplayMediaManager::listener(const std::string& name) {
    std::lock_guard<std::mutex> lock(mLock);
    auto it = mListeners.find(name);
    return it == mListeners.end() ? nullptr : it->second;
}

ReplayMediaData::ReplayMediaData(ReplayTranscript* transcript) : mTranscript(transcript) {}

bool ReplayMediaData::allowCreate() {
    std::lock_guard<std::mutex> lock(mLock);
    return !mCreateFails;
}

int ReplayMediaData::publish(const String8& key, int value) {
    mTranscript->add(std::string("mediadata ") + key.string() + " " + std::to_string(value));
    return 0;
}

void ReplayMediaData::setCreateFails(bool fails) {
    std::lock_guard<std::mutex> lock(mLock);
    mCreateFails = fails;
}

ReplaySysCtrl::ReplaySysCtrl(ReplayTranscript* transcript) : mTranscript(transcript) {}

int ReplaySysCtrl::attach(SysCtrlManagerIF* client, int moduleId, int flags) {
    {
        std::lock_guard<std::mutex> lock(mLock);
        mClient = client;
    }
    mTranscript->add("sys attach " + std::to_string(moduleId) + " " + std::to_string(flags));
    return 0;
}

void ReplaySysCtrl::detach(SysCtrlManagerIF* client) {
    std::lock_guard<std::mutex> lock(mLock);
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
        std::lock_guard<std::mutex> lock(mLock);
        client = mClient;
    }
    if (client == nullptr) return false;
    client->listener()->onResume();
    return true;
}

bool ReplaySysCtrl::suspend() {
    SysCtrlManagerIF* client;
    {
        std::lock_guard<std::mutex> lock(mLock);
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
    std::string line = "client" + std::to_string(mIndex) + " notify " + std::to_string(msg) + " " +
                       std::to_string(ext1) + " " + std::to_string(ext2);
    if (obj != nullptr) {
        size_t pos = obj->dataPosition();
        obj->setDataPosition(0);
        const char* s = obj->readCString();
        obj->setDataPosition(pos);
        line += " " + quoteBytes(s ? s : "", s ? strlen(s) : 0);
    }
    mTranscript->add(line);
}
