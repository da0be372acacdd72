#ifndef DAB_TOOLS_REPLAYPATTERN_H
#define DAB_TOOLS_REPLAYPATTERN_H

#include <regex>
#include <string>

// What await, expect and quiet look for in the transcript: a line's prefix, or /regex/
// searched anywhere in the line. Immutable once made; any thread may match.
class ReplayPattern {
public:
    ReplayPattern();
    // word as written in the script (quotes removed): /regex/ when it starts and ends with a
    // slash, else a prefix. False with *problem when the regex is not valid or too long.
    bool set(const std::string& word, std::string* problem);
    bool matches(const std::string& line) const;
    // As the script wrote it, for messages.
    const std::string& text() const;

private:
    bool mIsRegex = false;
    std::string mText;
    std::regex mRegex;
};

#endif  // DAB_TOOLS_REPLAYPATTERN_H
