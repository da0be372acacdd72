#ifndef DAB_TOOLS_DABCTL_LISTFETCHER_H
#define DAB_TOOLS_DABCTL_LISTFETCHER_H

#include "PlayerConnection.h"
#include "TextConversion.h"

#include <functional>
#include <string>
#include <vector>

namespace dabclient {

// The lists a client can browse.
enum class ListKind {
    kService,
    kPtyPopular,
    kPtyClassics,
    kPtyNewsinfo,
    kPtyOthers,
    kEnsemble,
    kEnsembleComp,  // argument: the ensemble's position in the ensemble list, from 0
    kPreset,        // argument: the band, 1 to 3
};

// One entry of a list as the getters return it.
struct ListRow {
    int index;           // position from 0
    int result;          // the getter's result: 0 label, 1 no label there
    int code;            // conversion code of the label
    int labelAvail;      // presets only: 1 the station's own label, 0 its frequency or channel
    ConvertedText label;
};

// Fetches a whole list the way an application does: requests it through the player
// operations, waits for its items through the notifications, then reads every entry.
class ListFetcher {
public:
    enum {
        OK = 0,
        INACTIVE = 1,   // the service is not an active source
        REFUSED = 2,    // the request was refused (for example an ensemble not in the list)
        EMPTY = 3,      // the list has no entries
        NO_ANSWER = 4,  // the tuner gave no size, or items stopped arriving
        LOST = 5,       // the service went away
    };

    // Progress: items so far and the announced size.
    using Progress = std::function<void(int received, int size)>;

    // Main thread; non-blocking. The connection's notification handler is taken over while
    // fetch runs.
    explicit ListFetcher(const android::sp<PlayerConnection>& connection);

    // Any thread; pure. Maps a command-line name ("service", "pty-popular", ..., "preset") to
    // its kind; *needsArg tells whether it takes an argument.
    static bool parseKind(const std::string& name, ListKind* kind, bool* needsArg);
    // Any thread; pure. The names parseKind knows, separated by "|".
    static const char* kindNames();

    // Main thread; blocks until the list is complete or up to the worker's retry time-outs.
    // One of the values above; *error explains anything but OK.
    int fetch(ListKind kind, int arg, std::vector<ListRow>* rows, const Progress& progress,
              std::string* error);

private:
    android::sp<PlayerConnection> mConnection;
};

}  // namespace dabclient

#endif  // DAB_TOOLS_DABCTL_LISTFETCHER_H
