#include "kelvo/base/workers.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <new>
#include <system_error>
#include <vector>

namespace qv {

namespace {

// The pieces of one call, taken by its threads in ascending order.
class Pieces {
public:
    Pieces(u64 count, const Workers::Piece& work) : m_count(count), m_work(work) {}

    // Works until no piece is left or one has failed. A piece that was taken is always worked on,
    // so that none below the lowest failure is left out.
    void work() noexcept {
        while (!m_hasFailed) {
            const u64 piece = m_next++;
            if (piece >= m_count) return;
            try {
                m_work(piece);
            } catch (...) {
                fail(piece, std::current_exception());
            }
        }
    }

    void rethrow() const {
        if (m_failure) std::rethrow_exception(m_failure);
    }

private:
    void fail(u64 piece, std::exception_ptr failure) noexcept {
        const std::lock_guard lock(m_mutex);
        m_hasFailed = true;
        if (piece >= m_failed) return;
        m_failed = piece;
        m_failure = std::move(failure);
    }

    const u64 m_count;
    const Workers::Piece& m_work;
    std::atomic<u64> m_next = 0;
    std::atomic<bool> m_hasFailed = false;
    std::mutex m_mutex;
    u64 m_failed = noIndex;
    std::exception_ptr m_failure;
};

// Threads that are waited for when it is destroyed.
class Crew {
public:
    Crew() = default;
    ~Crew() {
        for (std::thread& thread : m_threads)
            thread.join();
    }
    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;

    // Starts as many of the threads as the system and memory allow.
    void start(u64 count, const Workers::Starter& starter, const Workers::Task& task) {
        try {
            m_threads.reserve(count);
            while (m_threads.size() < count)
                m_threads.push_back(starter(task));
        } catch (const std::system_error&) {
            return;
        } catch (const std::bad_alloc&) {
            return;
        }
    }

private:
    std::vector<std::thread> m_threads;
};

} // namespace

// The library would export what `std::thread` makes of a named type; lambdas have no name outside.
Workers::Workers(u32 threads)
    : Workers(threads, [](const Task& task) { return std::thread([task] { task(); }); }) {}

u64 Workers::threads() const noexcept {
    return std::max(m_threads != 0 ? m_threads : std::thread::hardware_concurrency(), 1u);
}

void Workers::run(u64 count, const Piece& work) const {
    Pieces pieces(count, work);
    {
        Crew crew;
        if (count > 1)
            crew.start(std::min(count, threads()) - 1, m_starter, [&] { pieces.work(); });
        pieces.work();
    }
    pieces.rethrow();
}

} // namespace qv
