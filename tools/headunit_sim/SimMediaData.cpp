#include "SimMediaData.h"

#include "HostMutex.h"
#include "SimClock.h"
#include "WallClock.h"

#include <headunit/HeadUnitNames.h>
#include <log/log_tag_id.h>

using namespace android;

namespace {
constexpr int kLogInfo = 4;
}  // namespace

SimMediaData::SimMediaData() : mAttaches(0) {}
SimMediaData::~SimMediaData() {}

int SimMediaData::attach() {
    HostMutex::Autolock lock(mEntriesLock);
    ++mAttaches;
    return 0;
}

int SimMediaData::publish(const String8& key, int value) {
    Entry e{wallClockText(), simclock::monotonicMs(), std::string(key.string()), value};
    __android_log_print_tag_id(kLogInfo, headunit::kLogTagId, headunit::kLogTag,
                               "media data %s = %d", e.key.c_str(), value);
    HostMutex::Autolock lock(mEntriesLock);
    mEntries.push_back(std::move(e));
    while (mEntries.size() > kMaxEntries) mEntries.pop_front();
    return 0;
}

std::vector<SimMediaData::Entry> SimMediaData::history(const std::string& key) const {
    HostMutex::Autolock lock(mEntriesLock);
    std::vector<Entry> out;
    for (const Entry& e : mEntries) {
        if (key.empty() || e.key == key) out.push_back(e);
    }
    return out;
}

int SimMediaData::attachCount() const {
    HostMutex::Autolock lock(mEntriesLock);
    return mAttaches;
}
