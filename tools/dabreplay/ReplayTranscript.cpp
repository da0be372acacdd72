#include "ReplayTranscript.h"

ReplayTranscript::ReplayTranscript(FILE* out) : mOut(out) {}

void ReplayTranscript::add(const std::string& line) {
    {
        std::lock_guard<std::mutex> lock(mLinesLock);
        mLines.push_back(line);
        fputs(line.c_str(), mOut);
        fputc('\n', mOut);
    }
    mAdded.notify_all();
}

bool ReplayTranscript::await(const std::string& prefix, std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mLinesLock);
    size_t checked = mAwaitFrom;
    bool found = mAdded.wait_for(lock, timeout, [&] {
        for (; checked < mLines.size(); ++checked) {
            if (mLines[checked].compare(0, prefix.size(), prefix) == 0) return true;
        }
        return false;
    });
    if (found) mAwaitFrom = checked + 1;
    return found;
}

void ReplayTranscript::flush() {
    std::lock_guard<std::mutex> lock(mLinesLock);
    fflush(mOut);
}
