#ifndef DAB_TOOLS_REPLAYOPERATIONS_H
#define DAB_TOOLS_REPLAYOPERATIONS_H

#include <dabplayer/IDABPlayer.h>

#include <string>
#include <vector>

// Calls one IDABPlayer operation by name with the script's words and renders the transcript
// line "<operation>(<args>) = <result>[ name=value...]". Returns false with *error set when
// the operation or its arguments are wrong (checked before the run, so the call never fails
// for that reason later).
bool checkReplayCall(const std::vector<std::string>& args, std::string* error);
std::string runReplayCall(const android::sp<android::IDABPlayer>& player,
                          const std::vector<std::string>& args);

#endif  // DAB_TOOLS_REPLAYOPERATIONS_H
