#ifndef DAB_SERVER_DABCALLCAUSE_H
#define DAB_SERVER_DABCALLCAUSE_H

#include <stdint.h>

// What the current thread is doing on behalf of whom: a tuner notification, a client
// operation, a wait event that expired, or a source controller. Kept per thread so that a
// state change can be attributed without passing anything through the service's operations.
// Plain record: copied whole into the service's history.
struct DABCallCause {
    enum Kind : int32_t {
        kNone = 0,
        kTuner = 1,      // a = tuner id, b = value
        kOperation = 2,  // name = operation, pid and uid of the client
        kWaitEvent = 3,  // a = wait event type that expired
        kSource = 4,     // name = "activate" or "deactivate", a = source type
    };

    int32_t kind;
    int32_t a;
    int32_t b;
    int32_t pid;
    int32_t uid;
    const char* name;  // a string literal or null

    // Any thread; non-blocking. The cause of the calling thread (kind kNone when none).
    static DABCallCause current();

    // Marks the calling thread's cause for its lifetime and restores the previous one after;
    // nested scopes keep the outermost cause, which is what started the work.
    class Scope {
    public:
        explicit Scope(const DABCallCause& cause);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        bool mSet;  // this scope set the cause (none was set before)
    };
};

#endif  // DAB_SERVER_DABCALLCAUSE_H
