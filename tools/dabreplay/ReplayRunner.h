#ifndef DAB_TOOLS_REPLAYRUNNER_H
#define DAB_TOOLS_REPLAYRUNNER_H

#include "ReplayScript.h"
#include "ReplayTranscript.h"

#include <string>
#include <vector>

// Exit statuses of a replay.
enum {
    REPLAY_OK = 0,
    REPLAY_AWAIT_TIMED_OUT = 1,
    REPLAY_SCRIPT_ERROR = 2,
};

// Checks every step before anything runs; "LINE: problem" in *error for the first bad one.
bool checkReplaySteps(const std::vector<ReplayStep>& steps, std::string* error);

// Runs checked steps against the real service on recording backends; writes the transcript
// to stdout (with log lines when withLog). Returns one of the statuses above; *error holds
// the line for stderr (script error) or for the transcript (await).
int runReplay(const std::vector<ReplayStep>& steps, bool withLog, std::string* error);

#endif  // DAB_TOOLS_REPLAYRUNNER_H
