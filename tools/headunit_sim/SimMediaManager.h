#ifndef DAB_TOOLS_HEADUNIT_SIM_SIMMEDIAMANAGER_H
#define DAB_TOOLS_HEADUNIT_SIM_SIMMEDIAMANAGER_H

#include "HostMutex.h"

#include <headunit/IHeadUnitMediaManager.h>

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

// The head unit's media manager: sources of other processes create and register themselves,
// publish media-info records and their media status; the manager activates and deactivates
// them (one active source at a time), asks them for media information, keeps the
// information bar (the last value of every record field, per source) and can restart, which
// forgets every source and asks each to reconnect.
class SimMediaManager : public headunit::BnHeadUnitMediaManager,
                        public android::IBinder::DeathRecipient {
public:
    // One field of the information bar.
    struct BarField {
        std::string text;  // text fields
        int value;         // the preset station number
    };

    // What the manager knows of one source.
    struct SourceView {
        std::string name;
        int id;                        // given at creation, new for every creation
        bool registered;
        int registerCode;
        bool active;
        int mediaStatus;               // 0 until the source sets one
        int records;                   // media-info records received
        std::map<int, BarField> bar;   // by MediaInfoParcel::FieldKind
        std::string createdAt;         // wall-clock time
        int64_t createdAfterRestartMs; // since the last restart; -1 without restart
    };

    // One media-info record as received.
    struct RecordView {
        std::string time;  // wall-clock time
        std::string source;
        std::vector<android::MediaInfoParcel::Field> fields;
    };

    // Any thread; non-blocking.
    SimMediaManager();

    // Binder threads; non-blocking (the reply data of registerSource is the source's id).
    int createSource(const android::String8& name,
                     const android::sp<headunit::IHeadUnitSourceListener>& listener) override;
    int registerSource(const android::String8& name, int code, android::Parcel* reply) override;
    int publishMediaInfo(const android::String8& name,
                         const android::MediaInfoParcel& info) override;
    int setMediaStatus(const android::String8& name, int status) override;

    // Binder pool thread: a source's process died; the source is forgotten.
    void binderDied(const android::wp<android::IBinder>& who) override;

    // Control, any thread. Each blocks until the source(s) answered; 0 done, -1 refused or
    // unknown source; *message says what happened.
    int activate(const std::string& name, std::string* message);
    // The same for a deactivation, and for a request to publish media information again.
    int deactivate(const std::string& name, std::string* message);
    int requestMediaInfo(const std::string& name, std::string* message);
    // Non-blocking: forgets every source and sends each the reconnect request (one-way);
    // refuses new sources for downtimeMs.
    int restart(int downtimeMs, std::string* message);

    // Any thread; non-blocking. Snapshots, sources by name.
    std::vector<SourceView> sources() const;
    // The last max records, oldest first.
    std::vector<RecordView> records(size_t max) const;
    int restartCount() const;

protected:
    ~SimMediaManager() override;

private:
    struct Source {
        SourceView view;
        android::sp<headunit::IHeadUnitSourceListener> listener;
    };

    // Keeps this many records for the records command.
    static constexpr size_t kMaxRecords = 500;

    // Copies the named source's listener; null when unknown.
    android::sp<headunit::IHeadUnitSourceListener> listenerOf(const std::string& name, int* id);
    // Sets a source's active flag when it is still the one with this id.
    void setActive(const std::string& name, int id, bool active);

    mutable HostMutex mStateLock;             // guards the fields below
    std::map<std::string, Source> mSources GUARDED_BY(mStateLock);
    std::deque<RecordView> mRecords GUARDED_BY(mStateLock);
    int mNextId GUARDED_BY(mStateLock);
    int mRestarts GUARDED_BY(mStateLock);
    int64_t mRestartMs GUARDED_BY(mStateLock);  // monotonic time of the last restart, -1 none
    int64_t mRefuseUntilMs GUARDED_BY(mStateLock);  // new sources are refused until then
};

#endif  // DAB_TOOLS_HEADUNIT_SIM_SIMMEDIAMANAGER_H
