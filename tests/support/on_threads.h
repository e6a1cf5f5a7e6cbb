#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace qv::tests {

inline constexpr int threadCount = 4;

/// Runs the same on four threads that begin together; `run` is given the thread's number.
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

/// Does the same many times on four threads; returns how often it answered false.
inline int failuresOnThreads(int times, const std::function<bool(int)>& action) {
    std::atomic<int> failures = 0;
    onThreads([&](int thread) {
        for (int k = 0; k < times; ++k)
            failures += action(thread) ? 0 : 1;
    });
    return failures;
}

} // namespace qv::tests
