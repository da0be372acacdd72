#include "SessionRecorder.h"
#include "HostMutex.h"

#include <cstdlib>
#include <ctime>
#include <mutex>

namespace {

// Events begun on this thread and not yet ended, innermost last.
thread_local std::vector<uint64_t> tOpenEvents;

// Shorter gaps are scheduling noise, not part of the session.
constexpr int64_t kMinSleepMs = 5;

}  // namespace

SessionRecorder* SessionRecorder::get() {
    static std::once_flag once;
    static SessionRecorder* recorder = nullptr;
    std::call_once(once, [] {
        const char* path = getenv("DAB_RECORD");
        if (path == nullptr || path[0] == '\0') return;
        FILE* file = fopen(path, "w");
        if (file == nullptr) {
            fprintf(stderr, "DAB_RECORD: cannot write %s; not recording\n", path);
            return;
        }
        time_t now = time(nullptr);
        char stamp[32] = "";
        strftime(stamp, sizeof(stamp), "%Y-%m-%d %H:%M:%S", localtime(&now));
        fprintf(file, "# Session recorded by the host layers at %s; replay with: dabreplay FILE\n", stamp);
        fflush(file);
        // Lives as long as the process: the service's threads record until the very end.
        recorder = new SessionRecorder(file);
    });
    return recorder;
}

SessionRecorder::SessionRecorder(FILE* file) : mStart(std::chrono::steady_clock::now()), mFile(file) {}

int64_t SessionRecorder::nowMs() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - mStart)
            .count();
}

uint64_t SessionRecorder::beginEvent(const std::string& line) {
    const int64_t at = nowMs();
    uint64_t token;
    {
        HostMutex::Autolock lock(mEntriesLock);
        token = mNextToken++;
        mEntries.push_back(Entry{token, true, true, at, line, {}});
    }
    tOpenEvents.push_back(token);
    return token;
}

void SessionRecorder::setEventLine(uint64_t token, const std::string& line) {
    HostMutex::Autolock lock(mEntriesLock);
    if (Entry* e = findLocked(token)) e->line = line;
}

void SessionRecorder::endEvent(uint64_t token) {
    for (auto it = tOpenEvents.begin(); it != tOpenEvents.end(); ++it) {
        if (*it == token) {
            tOpenEvents.erase(it);
            break;
        }
    }
    HostMutex::Autolock lock(mEntriesLock);
    if (Entry* e = findLocked(token)) e->open = false;
    flushLocked();
}

void SessionRecorder::event(const std::string& line) {
    const int64_t at = nowMs();
    HostMutex::Autolock lock(mEntriesLock);
    mEntries.push_back(Entry{mNextToken++, false, true, at, line, {}});
    flushLocked();
}

void SessionRecorder::tunerRead(const std::string& key, const std::string& answer, bool isGetter) {
    HostMutex::Autolock lock(mEntriesLock);
    Entry* owner = tOpenEvents.empty() ? nullptr : findLocked(tOpenEvents.back());
    if (owner == nullptr) {
        mEntries.push_back(Entry{mNextToken++, false, false, nowMs(), std::string(), {}});
        owner = &mEntries.back();
    }
    addReadLocked(owner, key, answer, isGetter, std::string());
    flushLocked();
}

void SessionRecorder::stateRead(const std::string& key, const std::string& line, const std::string& initial) {
    HostMutex::Autolock lock(mEntriesLock);
    Entry* owner = tOpenEvents.empty() ? nullptr : findLocked(tOpenEvents.back());
    if (owner == nullptr) {
        mEntries.push_back(Entry{mNextToken++, false, false, nowMs(), std::string(), {}});
        owner = &mEntries.back();
    }
    addReadLocked(owner, key, line, false, initial);
    flushLocked();
}

SessionRecorder::Entry* SessionRecorder::findLocked(uint64_t token) {
    for (Entry& e : mEntries) {
        if (e.token == token) return &e;
    }
    return nullptr;
}

void SessionRecorder::addReadLocked(Entry* entry, const std::string& key, const std::string& answer,
                                    bool isGetter, const std::string& initial) {
    for (Read& r : entry->reads) {
        if (r.key == key) {
            r.answers.push_back(answer);
            return;
        }
    }
    entry->reads.push_back(Read{key, isGetter, initial, {answer}});
}

void SessionRecorder::flushLocked() {
    bool wrote = false;
    while (!mEntries.empty() && !mEntries.front().open) {
        writeEntryLocked(mEntries.front());
        mEntries.pop_front();
        wrote = true;
    }
    if (wrote) fflush(mFile);
}

void SessionRecorder::writeEntryLocked(const Entry& e) {
    for (const Read& r : e.reads) {
        std::vector<std::string> answers = r.answers;
        // The last answer stays from then on: repeating it at the end says nothing more.
        while (answers.size() > 1 && answers[answers.size() - 1] == answers[answers.size() - 2]) {
            answers.pop_back();
        }
        auto written = mWritten.find(r.key);
        const std::string& now = written != mWritten.end() ? written->second : r.initial;
        if (answers.size() == 1 && answers[0] == now) continue;
        if (r.isGetter) {
            std::string line = "tuner " + r.key;
            for (const std::string& a : answers) line += " " + a;
            fprintf(mFile, "%s\n", line.c_str());
        } else if (r.initial.empty()) {
            for (size_t i = 0; i < answers.size(); ++i) {
                fprintf(mFile, "tuner %s%s\n", i == 0 ? "" : "then ", answers[i].c_str());
            }
        } else {
            fprintf(mFile, "%s\n", answers.back().c_str());
        }
        mWritten[r.key] = answers.back();
    }
    if (!e.isEvent || e.line.empty()) return;
    if (!mStartWritten) {
        // Whatever the start-up read is in place above; the events come after it.
        fputs("start\n", mFile);
        mStartWritten = true;
    }
    if (e.atMs - mLastEventMs >= kMinSleepMs) fprintf(mFile, "sleep %lld\n", static_cast<long long>(e.atMs - mLastEventMs));
    if (e.atMs > mLastEventMs) mLastEventMs = e.atMs;
    fprintf(mFile, "%s\n", e.line.c_str());
}
