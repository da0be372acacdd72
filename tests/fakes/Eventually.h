#ifndef DAB_TESTS_EVENTUALLY_H
#define DAB_TESTS_EVENTUALLY_H

#include <chrono>
#include <thread>

// Any thread: polls until pred holds or the time-out passes; true when it held.
template <typename Pred>
bool eventually(Pred pred, int timeoutMs = 5000) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!pred()) {
        if (std::chrono::steady_clock::now() >= deadline) return pred();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

template <typename Pred>
bool waitUntil(Pred pred, std::chrono::milliseconds timeout) {
    return eventually(pred, static_cast<int>(timeout.count()));
}

#endif  // DAB_TESTS_EVENTUALLY_H
