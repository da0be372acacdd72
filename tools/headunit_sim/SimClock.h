#ifndef DAB_TOOLS_HEADUNIT_SIM_SIMCLOCK_H
#define DAB_TOOLS_HEADUNIT_SIM_SIMCLOCK_H

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>
#include <sys/time.h>

// Time stamps of the simulator's records. Any thread; non-blocking.
namespace simclock {

// Milliseconds of the monotonic clock.
inline int64_t monotonicMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
                   std::chrono::steady_clock::now().time_since_epoch())
            .count();
}

// Local wall-clock time of day, "HH:MM:SS.mmm".
inline std::string wallClockText() {
    struct timeval tv;
    gettimeofday(&tv, nullptr);
    struct tm local;
    localtime_r(&tv.tv_sec, &local);
    char buf[32];
    snprintf(buf, sizeof(buf), "%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
             static_cast<int>(tv.tv_usec / 1000));
    return buf;
}

}  // namespace simclock

#endif  // DAB_TOOLS_HEADUNIT_SIM_SIMCLOCK_H
