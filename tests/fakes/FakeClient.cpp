#include "FakeClient.h"

#include <binder/Parcel.h>

#include <climits>

using namespace android;

void FakeClient::notify(int msg, int ext1, int ext2, const Parcel* obj) {
    Note n{msg, ext1, ext2, obj != nullptr, ""};
    if (obj != nullptr) {
        size_t pos = obj->dataPosition();
        obj->setDataPosition(0);
        const char* s = obj->readCString();
        if (s != nullptr) n.text = s;
        obj->setDataPosition(pos);
    }
    {
        HostMutex::Autolock lock(mLock);
        mNotes.push_back(n);
    }
    mArrived.notify_all();
}

std::vector<FakeClient::Note> FakeClient::notes() const {
    HostMutex::Autolock lock(mLock);
    return mNotes;
}

std::vector<std::string> FakeClient::summary() const {
    std::vector<std::string> out;
    for (const Note& n : notes()) {
        std::string s = std::to_string(n.msg) + ":" + std::to_string(n.ext1) + ":";
        s += std::to_string(n.ext2);
        if (n.hasParcel) s += ":\"" + n.text + "\"";
        out.push_back(s);
    }
    return out;
}

void FakeClient::clear() {
    HostMutex::Autolock lock(mLock);
    mNotes.clear();
}

bool FakeClient::waitForNote(int msg, int ext1, std::chrono::milliseconds timeout) const {
    HostMutex::Autolock lock(mLock);
    return mArrived.wait_for(lock.native(), timeout, [&]() REQUIRES(mLock) {
        for (const Note& n : mNotes) {
            if (n.msg == msg && (ext1 == INT_MIN || n.ext1 == ext1)) return true;
        }
        return false;
    });
}

int FakeClient::count(int msg) const {
    int c = 0;
    for (const Note& n : notes()) c += (n.msg == msg) ? 1 : 0;
    return c;
}
