#pragma once

#include <pthread.h>

#include <cstddef>
#include <functional>
#include <stdexcept>

namespace qv::tests {

/// Calls `action` on a thread whose stack is too small for a recursion of many thousand levels.
inline void runOnSmallStack(std::function<void()> action, std::size_t stackBytes = 512 * 1024) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stackBytes);
    const auto call = [](void* function) -> void* {
        (*static_cast<std::function<void()>*>(function))();
        return nullptr;
    };
    pthread_t thread;
    const int failed = pthread_create(&thread, &attributes, call, &action);
    pthread_attr_destroy(&attributes);
    if (failed) throw std::runtime_error("no thread");
    pthread_join(thread, nullptr);
}

} // namespace qv::tests
