#ifndef DAB_TOOLS_HEADUNIT_SIM_SIMCLOCK_H
#define DAB_TOOLS_HEADUNIT_SIM_SIMCLOCK_H

#include <chrono>
#include <cstdint>

// Time stamps of the simulator's records. Any thread; non-blocking.
namespace simclock {

// Milliseconds of the monotonic clock.
inline int64_t monotonicMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
                   std::chrono::steady_clock::now().time_since_epoch())
            .count();
}

}  // namespace simclock

#endif  // DAB_TOOLS_HEADUNIT_SIM_SIMCLOCK_H
