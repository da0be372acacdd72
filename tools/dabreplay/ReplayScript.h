#ifndef DAB_TOOLS_REPLAYSCRIPT_H
#define DAB_TOOLS_REPLAYSCRIPT_H

#include <functional>
#include <string>
#include <vector>

// One step of a replay script: the line's words, with quoted strings already unescaped.
struct ReplayStep {
    int line;
    std::vector<std::string> words;
    std::vector<bool> quoted;  // per word: written in double quotes
    std::string file;          // the script the step comes from (set by loadReplayScript)
};

// Splits a script into steps, without following includes: a pure function of the text. On
// error returns false with "LINE: problem" in *error (the caller prefixes the script name).
// Comments start with '#' outside quotes.
bool parseReplayScript(const std::string& text, std::vector<ReplayStep>* steps, std::string* error);

// Reads the file at path: its text and a canonical name that tells two paths to the same
// file apart from different files. False when it cannot be read.
using ReplayFileReader = std::function<bool(const std::string& path, std::string* canonical, std::string* text)>;

// Bounds of a script with its includes: a script is never trusted.
struct ReplayLimits {
    int maxDepth = 8;                  // includes within includes
    size_t maxBytes = 4 * 1024 * 1024;  // all files together
    size_t maxSteps = 100000;
};

// Parses the script named name with text, replacing every `include "FILE"` step (FILE
// relative to the including script's directory) by the included script's steps. Collects
// the patterns of "# replay-test: ignore REGEX" lines of every file into *ignores. On error
// returns false with "FILE:LINE: problem" in *error; an include cycle is an error.
bool loadReplayScript(const std::string& name, const std::string& text, const ReplayFileReader& read,
                      const ReplayLimits& limits, std::vector<ReplayStep>* steps,
                      std::vector<std::string>* ignores, std::string* error);

// Renders bytes for a transcript: printable ASCII as is, '"' and '\\' escaped, others \xNN.
std::string quoteBytes(const char* data, size_t len);
// The same without the surrounding quotes.
std::string escapeBytes(const char* data, size_t len);

#endif  // DAB_TOOLS_REPLAYSCRIPT_H
