#ifndef DAB_TESTS_FAKEMEDIAMANAGER_H
#define DAB_TESTS_FAKEMEDIAMANAGER_H

#include "HostMutex.h"
#include "MediaManagerBackend.h"

#include <binder/Parcel.h>

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

// Media manager that records what the sources do and drives their listeners the way the
// media manager would. Every creation attempt, registration, published record (field by
// field, in write order) and media status is recorded with the source's name. Creation can
// be refused for a number of attempts or until allowed again. Any thread may use it.
class FakeMediaManager : public android::MediaManagerBackend {
public:
    struct Attempt {
        std::string name;
        android::wp<android::ISourceListener> listener;
        bool accepted;
        std::chrono::steady_clock::time_point when;
    };
    struct Registration {
        std::string name;
        int code;
    };
    struct Record {
        std::string name;
        std::vector<android::MediaInfoParcel::Field> fields;
        // The fields as "writer(value)" joined by ", ": "writeMediaSourceID(DAB), ...".
        std::string text() const;
    };
    struct Status {
        std::string name;
        int status;
    };

    // Backend side.
    bool createSource(const android::String8& name,
                      const android::sp<android::ISourceListener>& listener) override;
    int registerSource(const android::String8& name, int code, android::Parcel* reply) override;
    int publishMediaInfo(const android::String8& name,
                         const android::MediaInfoParcel& info) override;
    int setMediaStatus(const android::String8& name, android::MediaStatus status) override;

    // Refuses the next count creation attempts (of name only, when not empty); a negative
    // count refuses until allowCreate().
    void refuseCreate(int count, const std::string& name = std::string());
    void allowCreate();
    // What registerSource answers, and an int it writes into the reply (none when 0 ints).
    void setRegisterResult(int result, int replyInts = 0);
    // Called without the fake's lock at every registration and every published record.
    void setRegisterHook(std::function<void(const std::string& name)> hook);
    void setPublishHook(std::function<void(const Record& record)> hook);

    std::vector<Attempt> attempts(const std::string& name = std::string()) const;
    int acceptedCount(const std::string& name = std::string()) const;
    std::vector<Registration> registrations() const;
    std::vector<Record> records(const std::string& name = std::string()) const;
    // The records' text() of one source (all sources when name is empty).
    std::vector<std::string> recordTexts(const std::string& name = std::string()) const;
    std::vector<Status> statuses(const std::string& name = std::string()) const;
    // Forgets every record and attempt; the sources stay known for driving.
    void clearRecords();
    // Polls pred (called without the fake's lock) until true or timeout.
    bool waitFor(const std::function<bool()>& pred,
                 std::chrono::milliseconds timeout = std::chrono::seconds(5)) const;

    // Driving side: the listener of the last accepted source of that name (null if none).
    android::sp<android::ISourceListener> listener(const std::string& name) const;
    int activate(const std::string& name, int request = 0);
    int deactivate(const std::string& name, int request = 0);
    void requestPublish(const std::string& name);
    void notify(const std::string& name, int msg, int ext1, int ext2,
                const android::Parcel* data = nullptr);

private:
    mutable HostMutex mLock;  // guards everything below
    int mRefuseCount GUARDED_BY(mLock) = 0;
    std::string mRefuseName GUARDED_BY(mLock);
    int mRegisterResult GUARDED_BY(mLock) = 0;
    int mReplyInts GUARDED_BY(mLock) = 0;
    std::function<void(const std::string&)> mRegisterHook GUARDED_BY(mLock);
    std::function<void(const Record&)> mPublishHook GUARDED_BY(mLock);
    std::vector<Attempt> mAttempts GUARDED_BY(mLock);
    // The listener of each source's last accepted creation.
    std::map<std::string, android::wp<android::ISourceListener>> mListeners GUARDED_BY(mLock);
    std::vector<Registration> mRegistrations GUARDED_BY(mLock);
    std::vector<Record> mRecords GUARDED_BY(mLock);
    std::vector<Status> mStatuses GUARDED_BY(mLock);
};

#endif  // DAB_TESTS_FAKEMEDIAMANAGER_H
