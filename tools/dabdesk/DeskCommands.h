#ifndef DAB_TOOLS_DABDESK_DESKCOMMANDS_H
#define DAB_TOOLS_DABDESK_DESKCOMMANDS_H

#include "NotificationLog.h"

#include <dabplayer/IDABPlayer.h>

#include <functional>
#include <string>
#include <vector>

// The desk's commands ("seek up", "preset 2", "list services", "search A", "ts pause",
// "hu activate dab", ...), carried out with the desk's own client object. Lists are read the
// way an application reads them: request, wait for the count and the items, then get each.
// One thread at a time.
class DeskCommands {
public:
    struct Result {
        int status;        // 0 done, -1 refused or failed, 2 unknown command or bad arguments
        std::string text;  // what to show; several lines for lists
        bool quit;         // the user asked to leave
    };

    // Any thread; non-blocking. log must outlive the object.
    DeskCommands(const android::sp<android::IDABPlayer>& player, NotificationLog* log);

    // The calling thread; blocks for a list (up to a few seconds), otherwise for one call.
    Result run(const std::string& line);

    // Any thread; non-blocking.
    static const char* helpText();

private:
    // One list entry as read with its getter.
    struct Item {
        int result;
        std::string label;
    };
    using ListItemGetter = int (android::IDABPlayer::*)(int, char*, int*);

    // Requests a list and reads it; *items gets every entry. False with *error on failure.
    bool readList(const std::function<int(android::IDABPlayer&)>& request, int countId,
                  int itemId, ListItemGetter getter, std::vector<Item>* items, std::string* error);
    // what: "services", "ensembles", "components" (arg: position from 0), or a PTY list name.
    Result listCommand(const std::string& what, int arg = 0);
    Result searchCommand(const std::string& letter);
    Result timeShiftCommand(const std::vector<std::string>& words);
    static std::string listText(const char* title, const std::vector<Item>& items);

    const android::sp<android::IDABPlayer> mPlayer;  // immutable
    NotificationLog* const mLog;                     // immutable, not owned
    int mServiceListCount;  // calling thread only; entries of the last complete service list
};

#endif  // DAB_TOOLS_DABDESK_DESKCOMMANDS_H
