#include "WallClock.h"

#include <sys/time.h>

#include <cstdio>
#include <ctime>

std::string wallClockText() {
    struct timeval tv;
    gettimeofday(&tv, nullptr);
    struct tm local;
    localtime_r(&tv.tv_sec, &local);
    char buf[32];
    snprintf(buf, sizeof(buf), "%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
             static_cast<int>(tv.tv_usec / 1000));
    return buf;
}
