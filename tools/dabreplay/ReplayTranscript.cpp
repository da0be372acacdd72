#include "ReplayTranscript.h"
#include "HostMutex.h"

ReplayTranscript::ReplayTranscript(FILE* out, bool timestamps)
    : mStart(std::chrono::steady_clock::now()), mTimestamps(timestamps), mOut(out) {}

void ReplayTranscript::add(const std::string& line) {
    std::string printed = line;
    if (mTimestamps) {
        const long long ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                                     std::chrono::steady_clock::now() - mStart).count();
        printed = "+" + std::to_string(ms) + " " + line;
    }
    {
        HostMutex::Autolock lock(mLinesLock);
        mLines.push_back(line);
        if (mOut != nullptr) {
            fputs(printed.c_str(), mOut);
            fputc('\n', mOut);
        }
        mPrinted.push_back(std::move(printed));
    }
    mAdded.notify_all();
}

bool ReplayTranscript::findLocked(const ReplayPattern& pattern, size_t* from) {
    for (; *from < mLines.size(); ++*from) {
        if (pattern.matches(mLines[*from])) return true;
    }
    return false;
}

bool ReplayTranscript::await(const ReplayPattern& pattern, std::chrono::milliseconds timeout) {
    HostMutex::Autolock lock(mLinesLock);
    size_t checked = mAwaitFrom;
    bool found = mAdded.wait_for(lock.native(), timeout, [&]() REQUIRES(mLinesLock) { return findLocked(pattern, &checked); });
    if (found) mAwaitFrom = checked + 1;
    return found;
}

size_t ReplayTranscript::size() {
    HostMutex::Autolock lock(mLinesLock);
    return mLines.size();
}

bool ReplayTranscript::expect(const ReplayPattern& pattern, size_t from, std::chrono::milliseconds timeout) {
    HostMutex::Autolock lock(mLinesLock);
    size_t checked = from;
    return mAdded.wait_for(lock.native(), timeout, [&]() REQUIRES(mLinesLock) { return findLocked(pattern, &checked); });
}

bool ReplayTranscript::quiet(const ReplayPattern& pattern, size_t from, std::chrono::milliseconds duration,
                             std::string* line) {
    HostMutex::Autolock lock(mLinesLock);
    size_t checked = from;
    if (mAdded.wait_for(lock.native(), duration, [&]() REQUIRES(mLinesLock) { return findLocked(pattern, &checked); })) {
        *line = mLines[checked];
        return false;
    }
    return true;
}

std::vector<std::string> ReplayTranscript::printed() {
    HostMutex::Autolock lock(mLinesLock);
    return mPrinted;
}

void ReplayTranscript::flush() {
    HostMutex::Autolock lock(mLinesLock);
    if (mOut != nullptr) fflush(mOut);
}
