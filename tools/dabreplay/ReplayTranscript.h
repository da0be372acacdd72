#ifndef DAB_TOOLS_REPLAYTRANSCRIPT_H
#define DAB_TOOLS_REPLAYTRANSCRIPT_H

#include "HostMutex.h"
#include "ReplayPattern.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <string>
#include <vector>

// The transcript: every observable event as one line, in the order observed. Any thread may
// add a line; lines never interleave.
class ReplayTranscript {
public:
    // out null keeps the lines only in memory. With timestamps every printed line starts with
    // "+MS " (milliseconds since the transcript began); matching never sees that prefix.
    ReplayTranscript(FILE* out, bool timestamps);

    // Any thread; blocks only on the transcript's lock.
    void add(const std::string& line);
    // Script thread; blocks until a line added since the previous await (or any line when
    // none) matches, or the time-out passes. False on time-out.
    bool await(const ReplayPattern& pattern, std::chrono::milliseconds timeout);
    // Any thread: how many lines there are; lines from this index on are "after now".
    size_t size();
    // Script thread; blocks until a line from index from on matches. False on time-out.
    bool expect(const ReplayPattern& pattern, size_t from, std::chrono::milliseconds timeout);
    // Script thread; blocks for duration. False with the line when a line from index from
    // on matches within it.
    bool quiet(const ReplayPattern& pattern, size_t from, std::chrono::milliseconds duration, std::string* line);
    // The lines as printed (with their timestamps when asked for).
    std::vector<std::string> printed();
    void flush();

private:
    bool findLocked(const ReplayPattern& pattern, size_t* from) REQUIRES(mLinesLock);

    const std::chrono::steady_clock::time_point mStart;  // immutable
    const bool mTimestamps;                               // immutable
    HostMutex mLinesLock;              // guards mLines, mPrinted, mAwaitFrom
    std::condition_variable mAdded;
    std::vector<std::string> mLines GUARDED_BY(mLinesLock);
    std::vector<std::string> mPrinted GUARDED_BY(mLinesLock);
    size_t mAwaitFrom GUARDED_BY(mLinesLock) = 0;
    FILE* const mOut;                  // written under mLinesLock
};

#endif  // DAB_TOOLS_REPLAYTRANSCRIPT_H
