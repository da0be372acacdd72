#ifndef DAB_TOOLS_REPLAYRUNNER_H
#define DAB_TOOLS_REPLAYRUNNER_H

#include "ReplayScript.h"
#include "ReplayTranscript.h"

#include <string>
#include <vector>

// Exit statuses of a replay.
enum {
    REPLAY_OK = 0,
    REPLAY_AWAIT_TIMED_OUT = 1,  // also: a quiet step saw its line, an expect timed out
    REPLAY_SCRIPT_ERROR = 2,
};

// Runs checked steps (checkReplaySteps) against the real service on recording backends,
// writing to transcript (with log lines when withLog). Returns one of the statuses above;
// *error holds "FILE:LINE: problem" for a script error, or the transcript's closing line
// ("error: await timed out: ...") otherwise. Call once per process.
int runReplay(const std::vector<ReplayStep>& steps, bool withLog, ReplayTranscript* transcript, std::string* error);

#endif  // DAB_TOOLS_REPLAYRUNNER_H
