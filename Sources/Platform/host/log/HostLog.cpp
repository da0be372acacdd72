#include "HostLog.h"

#include "HostMutex.h"

#include <log/log_tag_id.h>

#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

namespace HostLog {
namespace {

HostMutex gSinkLock;
Sink gSink;          // guarded by gSinkLock
bool gEcho = false;  // guarded by gSinkLock
HostMutex gStderrLock;  // keeps lines whole on stderr

char priorityLetter(int prio) {
    static const char kLetters[] = "??VDIWEF";
    return (prio >= 2 && prio <= 7) ? kLetters[prio] : '?';
}

}  // namespace

Sink setSink(Sink sink) {
    HostMutex::Autolock lock(gSinkLock);
    Sink previous = std::move(gSink);
    gSink = std::move(sink);
    return previous;
}

void setEcho(bool echo) {
    HostMutex::Autolock lock(gSinkLock);
    gEcho = echo;
}

std::string formatThreadtime(const Line& line) {
    struct timespec ts;
    clock_gettime(CLOCK_REALTIME, &ts);
    struct tm tmv;
    localtime_r(&ts.tv_sec, &tmv);
    char head[64];
    snprintf(head, sizeof(head), "%02d-%02d %02d:%02d:%02d.%03ld %5d %5d %c ", tmv.tm_mon + 1,
             tmv.tm_mday, tmv.tm_hour, tmv.tm_min, tmv.tm_sec, ts.tv_nsec / 1000000L,
             static_cast<int>(getpid()), static_cast<int>(syscall(SYS_gettid)),
             priorityLetter(line.priority));
    return std::string(head) + line.tag + ": " + line.message;
}

Capture::Capture() {
    mPrevious = setSink([this](const Line& line) {
        HostMutex::Autolock lock(mLinesLock);
        mLines.push_back(line);
    });
}

Capture::~Capture() { setSink(std::move(mPrevious)); }

std::vector<Line> Capture::lines() const {
    HostMutex::Autolock lock(mLinesLock);
    return mLines;
}

std::vector<std::string> Capture::messages(const char* tag) const {
    HostMutex::Autolock lock(mLinesLock);
    std::vector<std::string> out;
    for (const Line& l : mLines) {
        if (tag == nullptr || (l.hasTag && l.tag == tag)) out.push_back(l.message);
    }
    return out;
}

bool Capture::contains(const std::string& text) const { return count(text) > 0; }

int Capture::count(const std::string& text) const {
    HostMutex::Autolock lock(mLinesLock);
    int n = 0;
    for (const Line& l : mLines) n += (l.message == text) ? 1 : 0;
    return n;
}

void Capture::clear() {
    HostMutex::Autolock lock(mLinesLock);
    mLines.clear();
}

}  // namespace HostLog

extern "C" int __android_log_print_tag_id(int prio, int tagId, const char* tag, const char* fmt,
                                          ...) {
    va_list ap;
    va_start(ap, fmt);
    va_list copy;
    va_copy(copy, ap);
    int n = vsnprintf(nullptr, 0, fmt, copy);
    va_end(copy);
    std::string message(n > 0 ? static_cast<size_t>(n) : 0, '\0');
    if (n > 0) vsnprintf(&message[0], message.size() + 1, fmt, ap);
    va_end(ap);

    HostLog::Line line{prio, tagId, tag ? tag : "", tag != nullptr, std::move(message)};
    HostLog::Sink sink;
    bool echo;
    {
        HostMutex::Autolock lock(HostLog::gSinkLock);
        sink = HostLog::gSink;
        echo = HostLog::gEcho;
    }
    if (sink) sink(line);
    if (!sink || echo) {
        std::string text = HostLog::formatThreadtime(line);
        HostMutex::Autolock lock(HostLog::gStderrLock);
        fprintf(stderr, "%s\n", text.c_str());
    }
    return 1;
}
