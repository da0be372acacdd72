#ifndef DAB_TOOLS_COMMON_WALLCLOCK_H
#define DAB_TOOLS_COMMON_WALLCLOCK_H

#include <string>

// Any thread; non-blocking. The local time of day with milliseconds, "14:03:27.512", as the
// tools stamp what they show or keep.
std::string wallClockText();

#endif  // DAB_TOOLS_COMMON_WALLCLOCK_H
