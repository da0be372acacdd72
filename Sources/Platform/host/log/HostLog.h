#ifndef DAB_HOST_LOG_H
#define DAB_HOST_LOG_H

#include "HostMutex.h"
#include <functional>
#include <mutex>
#include <string>
#include <vector>

// Host side of the tag-id log call. Every line goes to stderr in logcat's threadtime form
// unless a sink replaces that; tests capture lines through Capture.
namespace HostLog {

struct Line {
    int priority;
    int tagId;
    std::string tag;  // empty when the caller passed a null tag
    bool hasTag;
    std::string message;
};

using Sink = std::function<void(const Line&)>;

// Any thread; non-blocking apart from the sink's own work. Returns the previous sink.
Sink setSink(Sink sink);

// Any thread. Whether lines also go to stderr while a sink is set (default: no).
void setEcho(bool echo);

// Formats one line the way logcat -v threadtime prints it, without the trailing newline.
std::string formatThreadtime(const Line& line);

// Records every line written while it lives; restores the previous sink on destruction.
// Any thread may log while a Capture exists; its readers take the capture's own lock.
class Capture {
public:
    Capture();
    ~Capture();
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    std::vector<Line> lines() const;
    // Messages of every line with this tag (all lines when tag is null).
    std::vector<std::string> messages(const char* tag = nullptr) const;
    // True when some line's message equals text exactly.
    bool contains(const std::string& text) const;
    // Number of lines whose message equals text exactly.
    int count(const std::string& text) const;
    void clear();

private:
    mutable HostMutex mLinesLock;
    std::vector<Line> mLines GUARDED_BY(mLinesLock);
    Sink mPrevious;            // owner thread only
};

}  // namespace HostLog

#endif  // DAB_HOST_LOG_H
