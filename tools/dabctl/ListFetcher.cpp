#include "ListFetcher.h"

#include "HostMutex.h"
#include "PlayerOperations.h"

#include <DABServerDefs.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <set>

using namespace android;

namespace dabclient {

namespace {

// The worker holds a list request for 5 s and then retries it once the queue is through: a
// size that has not come after two holds will not come.
constexpr auto kCountTimeout = std::chrono::seconds(11);
// Items arrive one per tuner answer; this long without one means they stopped.
constexpr auto kItemIdleTimeout = std::chrono::seconds(11);
// A preset band that is cached already sends nothing after the request.
constexpr auto kPresetQuietTimeout = std::chrono::milliseconds(1500);
constexpr int kPresetCount = 6;
constexpr int kLabelBytes = 16;

struct KindInfo {
    const char* name;
    ListKind kind;
    bool needsArg;
    int countId;  // notify id of the size
    int itemId;   // notify id of one item
};

const KindInfo kKinds[] = {
        {"service", ListKind::kService, false, DAB_SERVER_NOTIFY_SERVICE_COMP_LIST_COUNT_UPDATE,
         DAB_SERVER_NOTIFY_SERVICE_COMP_LIST_ITEM_UPDATE},
        {"pty-popular", ListKind::kPtyPopular, false, DAB_SERVER_NOTIFY_PTY_POPULAR_LIST_COUNT_UPDATE,
         DAB_SERVER_NOTIFY_PTY_POPULAR_LIST_ITEM_UPDATE},
        {"pty-classics", ListKind::kPtyClassics, false, DAB_SERVER_NOTIFY_PTY_CLASSICS_LIST_COUNT_UPDATE,
         DAB_SERVER_NOTIFY_PTY_CLASSICS_LIST_ITEM_UPDATE},
        {"pty-newsinfo", ListKind::kPtyNewsinfo, false, DAB_SERVER_NOTIFY_PTY_NEWSINFO_LIST_COUNT_UPDATE,
         DAB_SERVER_NOTIFY_PTY_NEWSINFO_LIST_ITEM_UPDATE},
        {"pty-others", ListKind::kPtyOthers, false, DAB_SERVER_NOTIFY_PTY_OTHERS_LIST_COUNT_UPDATE,
         DAB_SERVER_NOTIFY_PTY_OTHERS_LIST_ITEM_UPDATE},
        {"ensemble", ListKind::kEnsemble, false, DAB_SERVER_NOTIFY_ENSEMBLE_LIST_COUNT_UPDATE,
         DAB_SERVER_NOTIFY_ENSEMBLE_LIST_ITEM_UPDATE},
        {"ensemble-comp", ListKind::kEnsembleComp, true, DAB_SERVER_NOTIFY_ENSEMBLE_COMP_LIST_COUNT_UPDATE,
         DAB_SERVER_NOTIFY_ENSEMBLE_COMP_LIST_ITEM_UPDATE},
        {"preset", ListKind::kPreset, true, 0, DAB_SERVER_NOTIFY_PRESET_ITEM_UPDATE},
};

const KindInfo& infoOf(ListKind kind) {
    for (const KindInfo& k : kKinds) {
        if (k.kind == kind) return k;
    }
    return kKinds[0];
}

// What the notification handler saw, for the fetching thread.
struct Seen {
    HostMutex lock;
    std::condition_variable changed;
    int size GUARDED_BY(lock) = -1;  // -1 until announced
    std::set<int> items GUARDED_BY(lock);  // positions announced, from 0
    std::chrono::steady_clock::time_point lastItem GUARDED_BY(lock);
};

int request(IDABPlayer& p, ListKind kind, int arg) {
    switch (kind) {
        case ListKind::kService: return p.requestServiceCompList();
        case ListKind::kPtyNewsinfo: return p.requestPTYSecondList(0);
        case ListKind::kPtyPopular: return p.requestPTYSecondList(1);
        case ListKind::kPtyClassics: return p.requestPTYSecondList(2);
        case ListKind::kPtyOthers: return p.requestPTYSecondList(3);
        case ListKind::kEnsemble: return p.requestEnsembleList();
        case ListKind::kEnsembleComp: return p.requestEnsembleSecondList(arg);
        case ListKind::kPreset: return p.requestPresetList(arg);
    }
    return -1;
}

int getItem(IDABPlayer& p, ListKind kind, int arg, int index, char* label, int* code,
            int* labelAvail) {
    switch (kind) {
        case ListKind::kService: return p.getServiceListItem(index, label, code);
        case ListKind::kPtyNewsinfo: return p.getPtyNewsinfoListItem(index, label, code);
        case ListKind::kPtyPopular: return p.getPtyPopularListItem(index, label, code);
        case ListKind::kPtyClassics: return p.getPtyClassicsListItem(index, label, code);
        case ListKind::kPtyOthers: return p.getPtyOthersListItem(index, label, code);
        case ListKind::kEnsemble: return p.getEnsembleListItem(index, label, code);
        case ListKind::kEnsembleComp: return p.getEnsembleCompListItem(index, label, code);
        case ListKind::kPreset: return p.getPresetListItem(arg, index, label, code, labelAvail);
    }
    return -1;
}

}  // namespace

ListFetcher::ListFetcher(const sp<PlayerConnection>& connection) : mConnection(connection) {}

bool ListFetcher::parseKind(const std::string& name, ListKind* kind, bool* needsArg) {
    for (const KindInfo& k : kKinds) {
        if (name == k.name) {
            *kind = k.kind;
            *needsArg = k.needsArg;
            return true;
        }
    }
    return false;
}

const char* ListFetcher::kindNames() {
    return "service|pty-popular|pty-classics|pty-newsinfo|pty-others|ensemble|ensemble-comp "
           "INDEX|preset BAND";
}

int ListFetcher::fetch(ListKind kind, int arg, std::vector<ListRow>* rows,
                       const Progress& progress, std::string* error) {
    rows->clear();
    const KindInfo& info = infoOf(kind);
    IDABPlayer& player = *mConnection->player();
    auto seen = std::make_shared<Seen>();
    mConnection->sink()->setHandler([seen, info, kind, arg](const Notification& n) {
        HostMutex::Autolock lock(seen->lock);
        if (kind == ListKind::kPreset) {
            if (n.id != info.itemId || n.ext1 != arg || n.ext2 < 0 || n.ext2 >= kPresetCount) return;
            seen->items.insert(n.ext2);
        } else if (n.id == info.countId) {
            seen->size = n.ext1;
        } else if (n.id == info.itemId && n.ext1 >= 0) {
            seen->items.insert(n.ext1);
        } else {
            return;
        }
        seen->lastItem = std::chrono::steady_clock::now();
        seen->changed.notify_all();
    });
    struct ClearHandler {
        PlayerConnection* c;
        ~ClearHandler() { c->sink()->setHandler(nullptr); }
    } clearHandler{mConnection.get()};

    const auto start = std::chrono::steady_clock::now();
    const int r = request(player, kind, arg);
    if (isTransportError(r)) {
        *error = "the DAB player service went away";
        return LOST;
    }
    if (r != 0) {
        int band = 0;
        const int active = player.getBand(&band);
        if (isTransportError(active)) {
            *error = "the DAB player service went away";
            return LOST;
        }
        if (active != 0) {
            *error = "the DAB player service is not active (no source is playing)";
            return INACTIVE;
        }
        *error = kind == ListKind::kEnsembleComp
                         ? "ensemble " + std::to_string(arg) +
                                   " is not in the ensemble list (run \"dabctl list ensemble\" first)"
                         : std::string("the service refused the list request");
        return REFUSED;
    }

    int size = kPresetCount;
    {
        HostMutex::Autolock lock(seen->lock);
        if (kind == ListKind::kPreset) {
            // Either the six presets arrive, or the band was cached and nothing comes.
            seen->changed.wait_for(lock.native(), kPresetQuietTimeout, [&]() REQUIRES(seen->lock) { return !seen->items.empty(); });
            if (!seen->items.empty()) {
                seen->changed.wait_for(lock.native(), kItemIdleTimeout,
                                       [&]() REQUIRES(seen->lock) { return seen->items.size() >= kPresetCount; });
            }
        } else {
            if (!seen->changed.wait_for(lock.native(), kCountTimeout, [&]() REQUIRES(seen->lock) { return seen->size >= 0; })) {
                *error = "the tuner announced no list size (the list stays empty after the "
                         "worker's retry)";
                return NO_ANSWER;
            }
            size = seen->size;
            if (size <= 0) {
                *error = "the list is empty";
                return EMPTY;
            }
            bool reported = false;
            while (static_cast<int>(seen->items.size()) < size) {
                seen->changed.wait_for(lock.native(), std::chrono::milliseconds(200));
                const auto now = std::chrono::steady_clock::now();
                if (progress && now - start > std::chrono::seconds(1)) {
                    const int received = static_cast<int>(seen->items.size());
                    lock.unlock();
                    progress(received, size);
                    lock.lock();
                    reported = true;
                }
                if (now - seen->lastItem > kItemIdleTimeout) {
                    *error = "items stopped arriving at " + std::to_string(seen->items.size()) +
                             " of " + std::to_string(size);
                    return NO_ANSWER;
                }
            }
            if (progress && reported) progress(size, size);
        }
    }

    for (int i = 0; i < size; ++i) {
        char label[kLabelBytes + 1];
        memset(label, 0, sizeof(label));
        int code = 0;
        int labelAvail = 1;
        const int result = getItem(player, kind, arg, i, label, &code, &labelAvail);
        if (isTransportError(result)) {
            *error = "the DAB player service went away";
            return LOST;
        }
        if (result < 0) {
            *error = "the list changed while it was read (another client requested a list)";
            return REFUSED;
        }
        ListRow row;
        row.index = i;
        row.result = result;
        row.code = code;
        row.labelAvail = kind == ListKind::kPreset ? labelAvail : 1;
        if (result == 0) row.label = convertText(label, kLabelBytes, code);
        rows->push_back(row);
    }
    return OK;
}

}  // namespace dabclient
