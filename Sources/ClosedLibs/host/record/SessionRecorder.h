#ifndef DAB_HOST_SESSIONRECORDER_H
#define DAB_HOST_SESSIONRECORDER_H

#include "HostMutex.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

// Writes, while the process runs, a dabreplay script that reproduces what the host layers saw:
// every event from outside (tuner notification, client call, media manager and system control
// event) with the tuner answers read while it was handled placed before it, and sleeps from
// the real timing. Enabled by DAB_RECORD=FILE in the process environment.
//
// An event's line keeps its place from the moment the event began; the tuner answers read on
// the event's thread until it ends are written before that line, so that a replay has them in
// place when the service reads them. Lines reach the file as soon as every earlier event has
// ended.
class SessionRecorder {
public:
    // Any thread; non-blocking after the first call. The process's recorder, or null when
    // DAB_RECORD is unset or its file cannot be written (said once on stderr).
    static SessionRecorder* get();

    // Any thread; blocks only on the recorder's lock. Starts an event whose line is known
    // now; the calling thread's tuner reads belong to it until endEvent. Returns its token.
    uint64_t beginEvent(const std::string& line);
    // Any thread: replaces the line of an event that has not ended (empty: writes no line).
    void setEventLine(uint64_t token, const std::string& line);
    void endEvent(uint64_t token);
    // Any thread: a finished event in one step.
    void event(const std::string& line);
    // Any thread: a tuner answer. key names what was read ("getBand", "title 1"); answer is
    // the value ("2") for getters, the whole step after "tuner " for records.
    void tunerRead(const std::string& key, const std::string& answer, bool isGetter);
    // Any thread: a state the replay must set before the service next asks ("mm create fail
    // dab"); key identifies the state, initial is its default rendering.
    void stateRead(const std::string& key, const std::string& line, const std::string& initial);

private:
    struct Read {
        std::string key;
        bool isGetter;
        std::string initial;  // non-getter states: the rendering that needs no line
        std::vector<std::string> answers;
    };
    struct Entry {
        uint64_t token;
        bool open;
        bool isEvent;  // false: reads made outside any event
        int64_t atMs;
        std::string line;
        std::vector<Read> reads;
    };

    explicit SessionRecorder(FILE* file);
    int64_t nowMs() const;
    Entry* findLocked(uint64_t token) REQUIRES(mEntriesLock);
    void addReadLocked(Entry* entry, const std::string& key, const std::string& answer, bool isGetter,
                       const std::string& initial) REQUIRES(mEntriesLock);
    void flushLocked() REQUIRES(mEntriesLock);
    void writeEntryLocked(const Entry& e) REQUIRES(mEntriesLock);

    const std::chrono::steady_clock::time_point mStart;  // immutable
    HostMutex mEntriesLock;  // guards everything below, and writing to mFile
    FILE* const mFile;
    std::deque<Entry> mEntries GUARDED_BY(mEntriesLock);
    uint64_t mNextToken GUARDED_BY(mEntriesLock) = 1;
    std::map<std::string, std::string> mWritten GUARDED_BY(mEntriesLock);  // per key: the answer the script gives now
    int64_t mLastEventMs GUARDED_BY(mEntriesLock) = 0;
    bool mStartWritten GUARDED_BY(mEntriesLock) = false;
};

#endif  // DAB_HOST_SESSIONRECORDER_H
