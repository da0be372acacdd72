#include "RadioModel.h"

#include "DABChannelTable.h"
#include "DABServerDefs.h"
#include "HostMutex.h"
#include "NotifyNames.h"
#include "TextConversion.h"
#include "WallClock.h"


#include <cstdio>
#include <cstring>

using dabclient::ConvertedText;
using dabclient::Notification;

namespace dabweb {

namespace {

using json = RadioModel::json;

constexpr RadioModel::ListKind kLists[] = {
        {"services", DAB_SERVER_NOTIFY_SERVICE_COMP_LIST_COUNT_UPDATE,
         DAB_SERVER_NOTIFY_SERVICE_COMP_LIST_ITEM_UPDATE, "requestServiceCompList", "getServiceListItem"},
        {"news", DAB_SERVER_NOTIFY_PTY_NEWSINFO_LIST_COUNT_UPDATE,
         DAB_SERVER_NOTIFY_PTY_NEWSINFO_LIST_ITEM_UPDATE, "requestPTYSecondList", "getPtyNewsinfoListItem"},
        {"popular", DAB_SERVER_NOTIFY_PTY_POPULAR_LIST_COUNT_UPDATE,
         DAB_SERVER_NOTIFY_PTY_POPULAR_LIST_ITEM_UPDATE, "requestPTYSecondList", "getPtyPopularListItem"},
        {"classics", DAB_SERVER_NOTIFY_PTY_CLASSICS_LIST_COUNT_UPDATE,
         DAB_SERVER_NOTIFY_PTY_CLASSICS_LIST_ITEM_UPDATE, "requestPTYSecondList", "getPtyClassicsListItem"},
        {"others", DAB_SERVER_NOTIFY_PTY_OTHERS_LIST_COUNT_UPDATE,
         DAB_SERVER_NOTIFY_PTY_OTHERS_LIST_ITEM_UPDATE, "requestPTYSecondList", "getPtyOthersListItem"},
        {"ensembles", DAB_SERVER_NOTIFY_ENSEMBLE_LIST_COUNT_UPDATE,
         DAB_SERVER_NOTIFY_ENSEMBLE_LIST_ITEM_UPDATE, "requestEnsembleList", "getEnsembleListItem"},
        {"ensemble", DAB_SERVER_NOTIFY_ENSEMBLE_COMP_LIST_COUNT_UPDATE,
         DAB_SERVER_NOTIFY_ENSEMBLE_COMP_LIST_ITEM_UPDATE, "requestEnsembleSecondList",
         "getEnsembleCompListItem"},
};

// A list larger than this is not believed: the count comes from the tuner.
constexpr int kMaxListItems = 4096;

json emptyLists() {
    json lists = json::object();
    for (const RadioModel::ListKind& k : kLists) lists[k.name] = {{"count", nullptr}, {"items", json::array()}};
    return lists;
}

json emptyPresets() {
    json bands = json::array();
    for (int b = 0; b < RadioModel::kBands; ++b) {
        json band = json::array();
        for (int i = 0; i < dabclient::RadioSnapshot::kPresetsPerBand; ++i) band.push_back(nullptr);
        bands.push_back(band);
    }
    return bands;
}

// The keys a notification with a plain value writes.
const char* plainKey(int id) {
    switch (id) {
        case DAB_SERVER_NOTIFY_BAND_CHANGE: return "band";
        case DAB_SERVER_NOTIFY_SEVICE_FOLLOW_CHANGE: return "serviceFollow";
        case DAB_SERVER_NOTIFY_SIGNAL_LEVEL_CHANGE: return "signalLevel";
        case DAB_SERVER_NOTIFY_FM_LINK_CHANGE: return "fmLink";
        case DAB_SERVER_NOTIFY_BPS_CHANGE: return "bitPerSecond";
        case DAB_SERVER_NOTIFY_PTY_TYPE_CHANGE: return "ptyType";
        case DAB_SERVER_NOTIFY_COMP_TOTAL_CHANGE: return "compTotal";
        case DAB_SERVER_NOTIFY_COMP_NUM_CHANGE: return "compNum";
        case DAB_SERVER_NOTIFY_TOTAL_TIME_CHANGE: return "totalTime";
        case DAB_SERVER_NOTIFY_CACHE_TIME_CHANGE: return "cacheTime";
        case DAB_SERVER_NOTIFY_PAUSE_TIME_CHANGE: return "pauseTime";
        case DAB_SERVER_NOTIFY_ERROR_INFO_NOTIFIED: return "error";
        case DAB_SERVER_NOTIFY_ERROR_INFO_UPDATE: return "realError";
        case DAB_SERVER_NOTIFY_LOGIC_MODE_CHANGE: return "logicMode";
        case DAB_SERVER_NOTIFY_PRESET_NUM_CHANGE: return "presetNum";
        case DAB_SERVER_NOTIFY_ANT_STATUS_CHANGED: return "antStatus";
        default: return nullptr;
    }
}

const char* labelKey(int id) {
    switch (id) {
        case DAB_SERVER_NOTIFY_ENSEMBLE_LABEL_CHANGE: return "ensembleLabel";
        case DAB_SERVER_NOTIFY_SERVICE_LABEL_CHANGE: return "serviceLabel";
        case DAB_SERVER_NOTIFY_COMP_LABEL_CHANGE: return "compLabel";
        default: return nullptr;
    }
}

}  // namespace

const RadioModel::ListKind* RadioModel::listKinds(size_t* count) {
    *count = sizeof(kLists) / sizeof(kLists[0]);
    return kLists;
}

const RadioModel::ListKind* RadioModel::findList(const std::string& name) {
    for (const ListKind& k : kLists) {
        if (name == k.name) return &k;
    }
    return nullptr;
}

const RadioModel::ListKind* RadioModel::listOfNotify(int id) {
    for (const ListKind& k : kLists) {
        if (id == k.countId || id == k.itemId) return &k;
    }
    return nullptr;
}

RadioModel::RadioModel() {
    mState = {{"running", false}, {"active", false}, {"presets", emptyPresets()},
              {"textHistory", json::array()}, {"lists", emptyLists()}, {"abcResult", nullptr},
              {"infobar", nullptr}, {"log", json::array()}};
}

json RadioModel::state() const {
    HostMutex::Autolock lock(mStateLock);
    return mState;
}

json RadioModel::presetJson(int result, const ConvertedText& label, int labelAvail) {
    json p = {{"result", result}, {"labelAvail", labelAvail}, {"label", nullptr}};
    if (result == 0) {
        if (label.converted) {
            p["label"] = label.utf8;
        } else {
            p["hex"] = label.hex;
        }
    }
    return p;
}

json RadioModel::itemJson(int result, const ConvertedText& label) {
    json item = {{"label", nullptr}};
    if (result == 0) {
        if (label.converted) {
            item["label"] = label.utf8;
        } else {
            item["hex"] = label.hex;
        }
    }
    return item;
}

json RadioModel::reset(const dabclient::RadioSnapshot& snapshot, const json& presets) {
    json patch = snapshot.toJson();
    patch.erase("presets");
    patch["presets"] = presets;
    patch["running"] = true;
    patch["serviceFollow"] = nullptr;
    // The query tells live (1), behind live (2, 3) and paused (4); the notification playing
    // (1) or paused (2): the screen shows the notification's view.
    const json& ts = patch["playbackStatus"];
    patch["playing"] = ts.is_number_integer() && ts.get<int>() >= 1 && ts.get<int>() <= 4
                               ? json(ts.get<int>() != 4)
                               : json(nullptr);
    HostMutex::Autolock lock(mStateLock);
    for (auto it = patch.begin(); it != patch.end(); ++it) mState[it.key()] = it.value();
    json text = json::object();
    setTextLocked("dynamicText", patch["dynamicText"], &text);
    if (text.contains("textHistory")) patch["textHistory"] = text["textHistory"];
    return patch;
}

json RadioModel::setRunning(bool running) {
    HostMutex::Autolock lock(mStateLock);
    mState["running"] = running;
    if (!running) mState["active"] = false;
    return json{{"running", running}, {"active", mState["active"]}};
}

json RadioModel::apply(const Notification& n, uint64_t seq) {
    json patch = json::object();
    const char* name = dabclient::notifyName(n.id);
    std::string shortName = name != nullptr ? name : "UNKNOWN";
    static const char kPrefix[] = "DAB_SERVER_NOTIFY_";
    if (shortName.compare(0, sizeof(kPrefix) - 1, kPrefix) == 0) shortName.erase(0, sizeof(kPrefix) - 1);
    json entry = {{"seq", seq}, {"time", wallClockText()}, {"id", n.id}, {"name", shortName},
                  {"ext1", n.ext1}, {"ext2", n.ext2}};
    if (n.hasParcel) entry["text"] = n.text;

    HostMutex::Autolock lock(mStateLock);
    // A notification means the source answers; the state says so before the first snapshot.
    if (const char* key = plainKey(n.id)) {
        patch[key] = n.ext1;
        if (n.id == DAB_SERVER_NOTIFY_BAND_CHANGE) patch["presetBand"] = n.ext1;
    } else if (const char* key = labelKey(n.id)) {
        // Without a parcel the service asks its clients to read the label again.
        if (n.hasParcel) patch[key] = n.text;
    } else if (n.id == DAB_SERVER_NOTIFY_FREQ_CHANGE) {
        patch["blockId"] = n.ext1;
        const DAB_CHANNEL_INFO* channel = DABChannelTable::lookup(n.ext1);
        patch["channel"] = channel != nullptr ? json(dabclient::fieldText(channel->label, sizeof(channel->label)))
                                              : json(nullptr);
        patch["freqString"] = channel != nullptr
                                      ? json(dabclient::fieldText(channel->freqTextUnit,
                                                                  sizeof(channel->freqTextUnit)))
                                      : json(nullptr);
        patch["frequency"] = channel != nullptr ? json(channel->kHz) : json(nullptr);
    } else if (n.id == DAB_SERVER_NOTIFY_DYNAMIC_TEXT_UPDATE && n.hasParcel) {
        setTextLocked("dynamicText", n.text, &patch);
    } else if (n.id == DAB_SERVER_NOTIFY_PLAYBACK_STATUS_CHANGE) {
        patch["playing"] = n.ext1 == 1;
    } else if (n.id == DAB_SERVER_NOTIFY_ABC_SEARCH_RESULT) {
        patch["abcResult"] = n.ext1;
    } else if (n.id == DAB_SERVER_NOTIFY_ABC_SEARCH_NOT_FOUND) {
        patch["abcResult"] = -1;
    } else if (const ListKind* kind = listOfNotify(n.id)) {
        json& list = mState["lists"][kind->name];
        if (n.id == kind->countId) {
            const int count = n.ext1 < 0 ? 0 : (n.ext1 > kMaxListItems ? kMaxListItems : n.ext1);
            list["count"] = count;
            json items = json::array();
            for (int i = 0; i < count; ++i) items.push_back(nullptr);
            list["items"] = items;
            patch["lists"] = json{{kind->name, list}};
            mListChanged.notify_all();
        }
        // An item's label follows with setListItem.
    }
    for (auto it = patch.begin(); it != patch.end(); ++it) {
        if (it.key() != "lists") mState[it.key()] = it.value();
    }
    json& log = mState["log"];
    log.push_back(entry);
    if (log.size() > kLogLength) log.erase(log.begin());
    return json{{"notify", entry}, {"state", patch}};
}

void RadioModel::setTextLocked(const char* key, const json& value, json* patch) {
    (*patch)[key] = value;
    if (std::strcmp(key, "dynamicText") != 0 || value.is_null()) return;
    json& history = mState["textHistory"];
    if (history.empty() || history.front() != value) {
        history.insert(history.begin(), value);
        if (history.size() > kTextHistory) history.erase(history.end() - 1);
    }
    (*patch)["textHistory"] = history;
}

json RadioModel::setText(const char* key, const json& value) {
    json patch = json::object();
    HostMutex::Autolock lock(mStateLock);
    setTextLocked(key, value, &patch);
    mState[key] = value;
    return patch;
}

json RadioModel::setPreset(int band, int index, const json& preset) {
    if (band < 1 || band > kBands || index < 0 || index >= dabclient::RadioSnapshot::kPresetsPerBand) {
        return json::object();
    }
    HostMutex::Autolock lock(mStateLock);
    mState["presets"][static_cast<size_t>(band - 1)][static_cast<size_t>(index)] = preset;
    return json{{"presets", mState["presets"]}};
}

json RadioModel::setListItem(const ListKind& kind, int index, const json& item) {
    HostMutex::Autolock lock(mStateLock);
    json& list = mState["lists"][kind.name];
    json& items = list["items"];
    if (index < 0 || index >= kMaxListItems) return json::object();
    // An item before its count (or past it) widens the list: the count comes with item 1.
    while (items.size() <= static_cast<size_t>(index)) items.push_back(nullptr);
    items[static_cast<size_t>(index)] = item;
    mListChanged.notify_all();
    return json{{"list", kind.name}, {"index", index}, {"item", item}};
}

json RadioModel::setInfobar(const json& infobar) {
    HostMutex::Autolock lock(mStateLock);
    mState["infobar"] = infobar;
    return json{{"infobar", infobar}};
}

void RadioModel::clearList(const ListKind& kind) {
    HostMutex::Autolock lock(mStateLock);
    mState["lists"][kind.name] = {{"count", nullptr}, {"items", json::array()}};
}

bool RadioModel::listComplete(const ListKind& kind) const {
    const json& list = mState["lists"][kind.name];
    if (list["count"].is_null()) return false;
    const json& items = list["items"];
    if (items.size() < list["count"].get<size_t>()) return false;
    for (const json& item : items) {
        if (item.is_null()) return false;
    }
    return true;
}

bool RadioModel::waitForList(const ListKind& kind, std::chrono::milliseconds timeout, json* list) {
    HostMutex::Autolock lock(mStateLock);
    const bool complete = mListChanged.wait_for(lock.native(), timeout, [&]() REQUIRES(mStateLock) { return listComplete(kind); });
    *list = mState["lists"][kind.name];
    return complete;
}

}  // namespace dabweb
