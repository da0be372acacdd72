#ifndef DAB_TOOLS_DABWEB_RADIOMODEL_H
#define DAB_TOOLS_DABWEB_RADIOMODEL_H

#include "HostMutex.h"
#include "NotificationSink.h"
#include "RadioSnapshot.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <string>

namespace dabweb {

// The radio as the web screen shows it, kept up to date from the service's notifications:
// one JSON object whose top-level keys are what a notification changes. Every change returns
// the changed keys, which go to the browsers as they are.
class RadioModel {
public:
    using json = nlohmann::ordered_json;
    static constexpr size_t kTextHistory = 10;
    static constexpr size_t kLogLength = 40;
    static constexpr int kBands = 3;

    // A list the service announces item by item.
    struct ListKind {
        const char* name;    // in /api/list/<name> and the state's "lists"
        int countId;         // the notify id giving its size
        int itemId;          // the notify id announcing one item
        const char* request; // the operation that starts it
        const char* getter;  // the operation that reads one item
    };
    // Any thread; non-blocking. The lists, and the one of that name or notify id (else null).
    static const ListKind* listKinds(size_t* count);
    static const ListKind* findList(const std::string& name);
    static const ListKind* listOfNotify(int id);

    RadioModel();

    // Any thread; non-blocking. The whole state.
    json state() const;

    // Link thread; non-blocking. The service answered as it is now.
    json reset(const dabclient::RadioSnapshot& snapshot, const json& presets);
    // Link thread; non-blocking. The service went away or came back.
    json setRunning(bool running);
    // Link thread; non-blocking. Applies one notification; the changed keys.
    json apply(const dabclient::Notification& n, uint64_t seq);
    // Link thread; non-blocking. A label or the dynamic text ("dynamicText", kept in the
    // history too) read after a notification that carried none.
    json setText(const char* key, const json& value);
    // Link thread; non-blocking. A preset read after its notification.
    json setPreset(int band, int index, const json& preset);
    // Link thread; non-blocking. A list item read after its notification.
    json setListItem(const ListKind& kind, int index, const json& item);
    // Link thread; non-blocking. What the media manager shows.
    json setInfobar(const json& infobar);

    // HTTP worker threads; non-blocking. Forgets a list before it is requested again.
    void clearList(const ListKind& kind);
    // HTTP worker threads; blocks up to timeout. True once the list's size and every item
    // are known; *list holds it.
    bool waitForList(const ListKind& kind, std::chrono::milliseconds timeout, json* list);

    // Any thread; non-blocking. A preset as the screen shows it.
    static json presetJson(int result, const dabclient::ConvertedText& label, int labelAvail);
    // Any thread; non-blocking. A list entry: its label (null without one) or its raw bytes.
    static json itemJson(int result, const dabclient::ConvertedText& label);

private:
    bool listComplete(const ListKind& kind) const REQUIRES(mStateLock);
    void setTextLocked(const char* key, const json& value, json* patch) REQUIRES(mStateLock);

    mutable HostMutex mStateLock;        // guards mState
    std::condition_variable mListChanged;  // with mStateLock: a list item or size arrived
    json mState GUARDED_BY(mStateLock);
};

}  // namespace dabweb

#endif  // DAB_TOOLS_DABWEB_RADIOMODEL_H
