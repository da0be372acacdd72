#ifndef DAB_TESTS_FAKECLIENT_H
#define DAB_TESTS_FAKECLIENT_H

#include "HostMutex.h"

#include <dabplayer/IDABPlayerClient.h>

#include <chrono>
#include <condition_variable>
#include <string>
#include <vector>

// An application's callback that records every notification.
class FakeClient : public android::BnDABPlayerClient {
public:
    struct Note {
        int msg;
        int ext1;
        int ext2;
        bool hasParcel;
        std::string text;  // the C string in the parcel, when there is one
    };

    void notify(int msg, int ext1, int ext2, const android::Parcel* obj) override;

    std::vector<Note> notes() const;
    // Notes as "msg:ext1:ext2" (with ":\"text\"" when a parcel came), for readable asserts.
    std::vector<std::string> summary() const;
    void clear();
    // Waits until a note with this msg (and ext1, unless ext1 is INT32_MIN) has arrived.
    bool waitForNote(int msg, int ext1 = INT32_MIN,
                     std::chrono::milliseconds timeout = std::chrono::seconds(5)) const;
    int count(int msg) const;

private:
    mutable HostMutex mLock;  // guards mNotes
    mutable std::condition_variable mArrived;
    std::vector<Note> mNotes GUARDED_BY(mLock);
};

#endif  // DAB_TESTS_FAKECLIENT_H
