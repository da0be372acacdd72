#ifndef DAB_TOOLS_REPLAYSTEPCHECK_H
#define DAB_TOOLS_REPLAYSTEPCHECK_H

#include "ReplayScript.h"

#include <dablib/DABLibTypes.h>

#include <set>
#include <string>
#include <vector>

// Checks every step before anything runs; "FILE:LINE: problem" in *error for the first bad
// one. Steps that passed are run without further checks of their form.
bool checkReplaySteps(const std::vector<ReplayStep>& steps, std::string* error);

// The tuner getters a script can answer.
const std::set<std::string>& replayGetters();

// A record a tuner step sets: words[at] is title, dls, pch or svc.
struct ReplayRecord {
    std::string kind;
    int titleKind = 0;
    media_lib_dab::ST_DAB_TITLE_TEXT title{};
    media_lib_dab::ST_DAB_DLS_TEXT dls{};
    media_lib_dab::ST_DAB_PCH_LIST_ITEM pch{};
    media_lib_dab::ST_DAB_SVC_LIST_DATA svc{};
};
bool parseReplayRecord(const ReplayStep& s, size_t at, ReplayRecord* out, std::string* problem);

// A canned list entry (key=value words from index from on).
bool parseListEntry(const ReplayStep& s, size_t from, media_lib_dab::ST_DAB_SVC_LIST_DATA* out, std::string* problem);
bool parsePresetEntry(const ReplayStep& s, size_t from, media_lib_dab::ST_DAB_PCH_LIST_ITEM* out, std::string* problem);

// Number word of a checked step ("0x0100", "-3").
long replayNumber(const std::string& word);

#endif  // DAB_TOOLS_REPLAYSTEPCHECK_H
