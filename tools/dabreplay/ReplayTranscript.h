#ifndef DAB_TOOLS_REPLAYTRANSCRIPT_H
#define DAB_TOOLS_REPLAYTRANSCRIPT_H

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

// The transcript: every observable event as one line, in the order observed. Any thread may
// add a line; lines never interleave.
class ReplayTranscript {
public:
    explicit ReplayTranscript(FILE* out);

    // Any thread; blocks only on the transcript's lock.
    void add(const std::string& line);
    // Script thread; blocks until a line added since the previous await (or any line when
    // none) begins with prefix, or the time-out passes. False on time-out.
    bool await(const std::string& prefix, std::chrono::milliseconds timeout);
    void flush();

private:
    std::mutex mLinesLock;             // guards mLines, mAwaitFrom
    std::condition_variable mAdded;
    std::vector<std::string> mLines;
    size_t mAwaitFrom = 0;
    FILE* const mOut;                  // written under mLinesLock
};

#endif  // DAB_TOOLS_REPLAYTRANSCRIPT_H
