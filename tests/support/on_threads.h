#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace qv::tests {

inline constexpr int threadCount = 4;

/// Runs a function on four threads that begin together; `run` gets the thread's number.
inline void onThreads(const std::function<void(int)>& run) {
    std::atomic<int> ready = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i)
        threads.emplace_back([&, i] {
            for (++ready; ready < threadCount;)
                std::this_thread::yield();
            run(i);
        });
    for (std::thread& thread : threads)
        thread.join();
}

/// Runs an action many times on four threads; returns how often it returned false.
inline int failuresOnThreads(int times, const std::function<bool(int)>& action) {
    std::atomic<int> failures = 0;
    onThreads([&](int thread) {
        for (int k = 0; k < times; ++k)
            failures += action(thread) ? 0 : 1;
    });
    return failures;
}

} // namespace qv::tests
