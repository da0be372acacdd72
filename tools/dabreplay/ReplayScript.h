#ifndef DAB_TOOLS_REPLAYSCRIPT_H
#define DAB_TOOLS_REPLAYSCRIPT_H

#include <string>
#include <vector>

// One step of a replay script: the line's words, with quoted strings already unescaped.
struct ReplayStep {
    int line;
    std::vector<std::string> words;
    std::vector<bool> quoted;  // per word: written in double quotes
};

// Splits a script into steps. On error returns false with "LINE: problem" in *error (the
// caller prefixes the script name). Comments start with '#' outside quotes.
bool parseReplayScript(const std::string& text, std::vector<ReplayStep>* steps, std::string* error);

// Renders bytes for a transcript: printable ASCII as is, '"' and '\\' escaped, others \xNN.
std::string quoteBytes(const char* data, size_t len);

#endif  // DAB_TOOLS_REPLAYSCRIPT_H
