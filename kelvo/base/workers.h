#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/types.h"

#include <functional>
#include <thread>
#include <utility>

namespace qv {

/// Runs pieces of work on several threads at once, the calling thread among them. The other threads
/// live as long as the call.
class QV_EXPORT Workers {
public:
    using Piece = std::function<void(u64)>;
    using Task = std::function<void()>;
    /// Starts a thread that runs a task; throws when there can be no further thread.
    using Starter = std::function<std::thread(const Task&)>;

    /// Uses at most `threads` threads; 0 stands for as many as the machine runs at once.
    explicit Workers(u32 threads = 0);
    Workers(u32 threads, Starter starter) : m_threads(threads), m_starter(std::move(starter)) {}

    /// Calls `work` once for each number below `count`, in any order. Returns when all calls have
    /// ended. Where a thread cannot be started, the others do its share.
    ///
    /// When calls throw, begins no others and rethrows the exception of the lowest number that
    /// threw, which is the same for any number of threads.
    void run(u64 count, const Piece& work) const;

private:
    [[nodiscard]] u64 threads() const noexcept;

    u32 m_threads;
    Starter m_starter;
};

} // namespace qv
