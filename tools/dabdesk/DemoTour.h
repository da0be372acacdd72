#ifndef DAB_TOOLS_DABDESK_DEMOTOUR_H
#define DAB_TOOLS_DABDESK_DEMOTOUR_H

#include "DeskCommands.h"
#include "DeskView.h"
#include "NotificationLog.h"

#include <chrono>
#include <functional>
#include <string>

// A scripted tour of the head unit on the desk, for a terminal-less run: seek, step, band,
// preset, service list, search, tuning from the list, the information bar, time-shift, an
// antenna fault with its DABError, a media-manager restart with re-created sources, suspend
// and resume. Each step says what it did and whether the radio answered as it should; the
// view is printed along the way. Main thread only.
class DemoTour {
public:
    // Main thread; non-blocking. log and commands must outlive the tour.
    DemoTour(const android::sp<android::IDABPlayer>& player, NotificationLog* log,
             DeskCommands* commands);

    // Blocks for the whole tour (about half a minute). 0 when every step passed, else 1.
    int run();

private:
    using Check = std::function<std::string()>;  // empty when fine, else what went wrong

    // Runs a desk command and then the check; prints both.
    void step(const std::string& command, const Check& check);
    void showView();
    // Brings the view up to the latest notification (from a dump when too far behind).
    void catchUp();
    // Waits for a notification after seq that matches; empty string or what is missing.
    std::string expectNotification(uint64_t seq, int id, int ext1, std::chrono::milliseconds timeout,
                                   const char* what);
    // Polls the simulator's answer to a JSON command until the predicate holds.
    std::string expectHeadUnit(const std::string& command,
                               const std::function<bool(const nlohmann::json&)>& holds,
                               std::chrono::milliseconds timeout, const char* what);

    const android::sp<android::IDABPlayer> mPlayer;  // immutable
    NotificationLog* const mLog;                     // immutable, not owned
    DeskCommands* const mCommands;                   // immutable, not owned
    DeskView mView;  // main thread only
    int mSteps;      // main thread only
    int mFailures;   // main thread only
    uint64_t mSeq;   // main thread only; the last notification before the current command
    uint64_t mViewSeq = 0;  // main thread only; the last notification the view took in
};

#endif  // DAB_TOOLS_DABDESK_DEMOTOUR_H
