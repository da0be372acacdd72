#ifndef DAB_TOOLS_REPLAYTHREADFAILURE_H
#define DAB_TOOLS_REPLAYTHREADFAILURE_H

#include <functional>

// Makes the next thread starts of this process fail, as pthread_create does when the system
// is out of threads (EAGAIN). The platform library's Thread::run starts its threads through
// pthread_create, which this executable interposes; the service's code is untouched.
class ReplayThreadFailure {
public:
    // Script thread; non-blocking. The next count thread starts fail; onFail runs on the
    // starting thread for each.
    static void failNext(int count, std::function<void()> onFail);
};

#endif  // DAB_TOOLS_REPLAYTHREADFAILURE_H
