#ifndef DAB_TOOLS_HEADUNIT_SIM_SIMMEDIADATA_H
#define DAB_TOOLS_HEADUNIT_SIM_SIMMEDIADATA_H

#include "HostMutex.h"

#include <headunit/IHeadUnitMediaData.h>

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

// The head unit's media data service: keeps every published value with its time stamp.
class SimMediaData : public headunit::BnHeadUnitMediaData {
public:
    struct Entry {
        std::string time;   // wall-clock time
        int64_t ms;         // monotonic time
        std::string key;
        int value;
    };

    // Any thread; non-blocking.
    SimMediaData();

    // Binder threads; non-blocking.
    int attach() override;
    int publish(const android::String8& key, int value) override;

    // Any thread; non-blocking. Entries with this key (every entry for an empty key), oldest
    // first.
    std::vector<Entry> history(const std::string& key) const;
    int attachCount() const;

protected:
    ~SimMediaData() override;

private:
    // Keeps this many values; older ones are dropped.
    static constexpr size_t kMaxEntries = 10000;

    mutable HostMutex mEntriesLock;  // guards the fields below
    std::deque<Entry> mEntries GUARDED_BY(mEntriesLock);
    int mAttaches GUARDED_BY(mEntriesLock);
};

#endif  // DAB_TOOLS_HEADUNIT_SIM_SIMMEDIADATA_H
