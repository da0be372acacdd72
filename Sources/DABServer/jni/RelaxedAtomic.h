#ifndef DAB_SERVER_RELAXEDATOMIC_H
#define DAB_SERVER_RELAXEDATOMIC_H

#include <atomic>

// A single value that one thread writes and others read without a lock, where the reader
// needs a whole value but no ordering: nothing else is published through it. Reads and writes
// are relaxed atomics, so the field reads like a plain one at the call sites. Fields that
// hand over other data or take part in a handshake stay std::atomic with its default order.
template <typename T>
class RelaxedAtomic {
public:
    // Any thread; non-blocking, like every member.
    constexpr RelaxedAtomic() noexcept : mValue() {}
    constexpr RelaxedAtomic(T value) noexcept : mValue(value) {}  // NOLINT: reads as a T

    T load() const noexcept { return mValue.load(std::memory_order_relaxed); }
    void store(T value) noexcept { mValue.store(value, std::memory_order_relaxed); }
    operator T() const noexcept { return load(); }  // NOLINT: reads as a T
    RelaxedAtomic& operator=(T value) noexcept {
        store(value);
        return *this;
    }
    // Counters only: the count itself, not what happened before it, is what readers get.
    T fetch_add(T delta) noexcept { return mValue.fetch_add(delta, std::memory_order_relaxed); }

    RelaxedAtomic(const RelaxedAtomic&) = delete;
    RelaxedAtomic& operator=(const RelaxedAtomic&) = delete;

private:
    std::atomic<T> mValue;
};

#endif  // DAB_SERVER_RELAXEDATOMIC_H
