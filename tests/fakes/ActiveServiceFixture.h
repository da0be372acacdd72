#ifndef DAB_TESTS_ACTIVESERVICEFIXTURE_H
#define DAB_TESTS_ACTIVESERVICEFIXTURE_H

#include "ServiceFixture.h"
#include "TunerListAnswerer.h"

#include <memory>
#include <string>
#include <vector>

// The service with its DAB source active, the preset lists of source-on answered and the list
// worker idle, and one connected client whose notifications the test reads. Every list
// request the worker sends later is answered at once unless the test says otherwise.
class ActiveServiceFixture : public ServiceFixture {
protected:
    void SetUp() override;
    void TearDown() override;

    // Activates the DAB source and waits until the worker has served the source-on requests.
    void activateAndSettle();
    // Waits until the worker holds nothing and has nothing queued.
    bool waitWorkerIdle(int timeoutMs = 5000);
    // Waits until the worker holds a message of this type.
    bool waitWorkerHolds(int msgType, int timeoutMs = 5000);
    // Forgets every notification, tuner command and log line so far.
    void clearRecords();
    // True when some log line's message contains text.
    bool logHas(const std::string& text) const;

    std::unique_ptr<TunerListAnswerer> mAnswerer;
    android::sp<FakeClient> mCallback;
    android::sp<android::IDABPlayer> mClient;
};

#endif  // DAB_TESTS_ACTIVESERVICEFIXTURE_H
