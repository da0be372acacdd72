#ifndef DAB_TESTS_TUNERLISTANSWERER_H
#define DAB_TESTS_TUNERLISTANSWERER_H

#include "DABServerDefs.h"
#include "Eventually.h"
#include "FakeTuner.h"
#include "HostMutex.h"

#include <utils/RefBase.h>

#include <map>
#include <memory>
#include <string>

class DABListProcessThread;

// Plays the part of the notification dispatch for the list worker: installed as the fake
// tuner's command hook, it ends the worker's wait for every list request at once (as if the
// answer had been cached), except for requests the test wants left unanswered. Runs on the
// worker's thread; any thread may configure it.
class TunerListAnswerer {
public:
    explicit TunerListAnswerer(const android::sp<FakeTuner>& tuner);
    ~TunerListAnswerer();

    // The worker whose requests are answered (held weakly).
    void setWorker(const android::sp<DABListProcessThread>& worker);
    // The next count requests recorded as command stay unanswered.
    void leaveUnanswered(const std::string& command, int count = 1);

    // The worker's message that a recorded tuner command answers; false for other commands.
    static bool toMsg(const std::string& command, LIST_QUEUE_MSG* msg);

private:
    struct State {
        HostMutex lock;  // guards the fields below
        android::wp<DABListProcessThread> worker GUARDED_BY(lock);
        std::map<std::string, int> unanswered GUARDED_BY(lock);
    };
    static void answer(const std::shared_ptr<State>& state, const std::string& command);

    android::sp<FakeTuner> mTuner;  // immutable
    // Shared with the hook, which the tuner may still be running when this object goes.
    std::shared_ptr<State> mState;
};

// Test thread: asks the worker to exit, ends whatever it holds until its thread has ended,
// then joins it. False when it did not end within 8 seconds.
bool stopAndDrainWorker(const android::sp<DABListProcessThread>& worker);

// Test thread: waits until the worker holds nothing and has nothing queued, seen steadily
// for a few milliseconds (a message just popped is briefly in neither place).
bool waitListWorkerIdle(const android::sp<DABListProcessThread>& worker, int timeoutMs = 5000);

#endif  // DAB_TESTS_TUNERLISTANSWERER_H
