#include "kelvo/sdk/impl/eval/parallel_evaluation.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_fetch.h"
#include "kelvo/sdk/impl/graph/output.h"

#include "kelvo/base/fetch_line.h"
#include "kelvo/base/workers.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

thread_local const ParallelEvaluation* t_evaluation = nullptr;

// A thread takes this many tasks at a time, and keeps as many for itself.
constexpr u64 portion = 64;

} // namespace

// The tasks that are ready and that no thread has taken. Threads wait here for further ones.
class ParallelEvaluation::Queue {
public:
    Queue(u64 left, std::vector<u32> ready) : m_ready(std::move(ready)), m_left(left) {}

    /// Moves some tasks to `taken`; waits while others may become ready. Returns false at the end.
    bool take(std::vector<u32>& taken, u64 done) {
        std::unique_lock lock(m_mutex);
        m_left -= done;
        if (m_left == 0) m_change.notify_all();
        ++m_waiting;
        m_change.wait(lock, [this] { return !m_ready.empty() || hasEnded(); });
        --m_waiting;
        if (hasEnded()) return false;
        const u64 count = std::clamp<u64>(m_ready.size() / 4, 1, portion);
        taken.assign(m_ready.end() - static_cast<std::ptrdiff_t>(count), m_ready.end());
        m_ready.resize(m_ready.size() - count);
        return true;
    }
    /// Hands tasks to threads that wait, if there are any.
    void share(std::vector<u32>& own) {
        if (m_waiting.load(std::memory_order_relaxed) == 0 && own.size() < 4 * portion) return;
        const std::lock_guard lock(m_mutex);
        const auto half = own.begin() + static_cast<std::ptrdiff_t>(own.size() / 2);
        m_ready.insert(m_ready.end(), own.begin(), half);
        own.erase(own.begin(), half);
        m_change.notify_all();
    }
    void fail() noexcept {
        const std::lock_guard lock(m_mutex);
        m_hasFailed = true;
        m_change.notify_all();
    }

private:
    [[nodiscard]] bool hasEnded() const noexcept { return m_left == 0 || m_hasFailed; }

    std::mutex m_mutex;
    std::condition_variable m_change;
    std::vector<u32> m_ready;
    u64 m_left;
    std::atomic<u32> m_waiting = 0;
    bool m_hasFailed = false;
};

// Gives reads on this thread the results, during its lifetime.
class ParallelEvaluation::OnThread {
public:
    explicit OnThread(const ParallelEvaluation& evaluation) noexcept
        : m_outer(std::exchange(t_evaluation, &evaluation)) {}
    ~OnThread() { t_evaluation = m_outer; }
    OnThread(const OnThread&) = delete;
    OnThread& operator=(const OnThread&) = delete;

private:
    const ParallelEvaluation* m_outer;
};

void ParallelEvaluation::reserve(u64 outputs) {
    m_tasks.reserve(outputs);
    m_places.reserve(outputs);
}

u32 ParallelEvaluation::add(Output& output) {
    const auto [place, isNew] = m_places.add(&output, static_cast<i64>(m_tasks.size()));
    if (isNew) m_tasks.push_back({.output = &output});
    return static_cast<u32>(place);
}

// Sorts the waits by source, and counts how many each task has to wait for.
void ParallelEvaluation::lineUp() {
    const u64 count = m_tasks.size();
    m_left = std::make_unique<std::atomic<u32>[]>(count);
    m_isDone = std::make_unique<std::atomic<bool>[]>(count);
    for (const Wait& wait : m_waits) {
        ++m_tasks[wait.source].waitingCount;
        m_left[wait.place].fetch_add(1, std::memory_order_relaxed);
    }
    u32 next = 0;
    for (Task& task : m_tasks) {
        task.firstWaiting = next;
        next += std::exchange(task.waitingCount, 0);
    }
    m_waiting.resize(m_waits.size());
    for (const Wait& wait : m_waits) {
        Task& source = m_tasks[wait.source];
        m_waiting[source.firstWaiting + source.waitingCount++] = wait.place;
    }
}

// The others wait for each other: they would never be ready.
u64 ParallelEvaluation::countReachable() const {
    std::vector<u32> left(m_tasks.size()), ready;
    for (u32 place = 0; place < m_tasks.size(); ++place) {
        left[place] = m_left[place].load(std::memory_order_relaxed);
        if (left[place] == 0) ready.push_back(place);
    }
    for (u64 i = 0; i < ready.size(); ++i) {
        const Task& task = m_tasks[ready[i]];
        for (u32 next = 0; next < task.waitingCount; ++next) {
            const u32 place = m_waiting[task.firstWaiting + next];
            if (--left[place] == 0) ready.push_back(place);
        }
    }
    return ready.size();
}

void ParallelEvaluation::run(u32 threads) {
    lineUp();
    std::vector<u32> ready;
    for (u32 place = 0; place < m_tasks.size(); ++place)
        if (m_left[place].load(std::memory_order_relaxed) == 0) ready.push_back(place);
    std::ranges::reverse(ready);
    Queue queue(countReachable(), std::move(ready));
    const u64 most = threads != 0 ? threads : std::max(std::thread::hardware_concurrency(), 1u);
    const u64 useful = std::min<u64>(most, m_tasks.size() / portion + 1);
    Workers(threads).run(useful, [&](u64) { work(queue); });
}

void ParallelEvaluation::work(Queue& queue) {
    const OnThread here(*this);
    try {
        std::vector<u32> own;
        for (u64 done = 0; queue.take(own, done);) {
            for (done = 0; !own.empty(); ++done) {
                const u32 place = own.back();
                own.pop_back();
                evaluate(place, own);
                if (own.size() > 1) queue.share(own);
            }
        }
    } catch (...) {
        queue.fail();
        throw;
    }
}

// Tasks are mostly evaluated in the order in which they were added.
void ParallelEvaluation::fetchAhead(u32 place) const noexcept {
    if (place + 16 < m_tasks.size()) fetchLine(m_tasks[place + 16].output, 0);
    NodeFetch::ahead(place, m_tasks.size(), [this](u64 at) {
        const INode* const node = m_tasks[at].output->node();
        return implOf(node);
    });
}

void ParallelEvaluation::evaluate(u32 place, std::vector<u32>& ready) {
    fetchAhead(place);
    Task& task = m_tasks[place];
    task.result = task.output->evaluate(nullptr);
    m_isDone[place].store(true, std::memory_order_release);
    for (u32 i = 0; i < task.waitingCount; ++i) {
        const u32 next = m_waiting[task.firstWaiting + i];
        if (m_left[next].fetch_sub(1, std::memory_order_acq_rel) == 1) ready.push_back(next);
    }
}

const Value* ParallelEvaluation::result(const Output& output) const noexcept {
    const i64* const place = m_isDone ? m_places.find(&output) : nullptr;
    if (!place || !m_isDone[static_cast<u64>(*place)].load(std::memory_order_acquire))
        return nullptr;
    return &m_tasks[static_cast<u64>(*place)].result;
}

const Value* ParallelEvaluation::known(const Output& output, const EvalCtx* caller) noexcept {
    if (!t_evaluation || (caller && caller->user())) return nullptr;
    return t_evaluation->result(output);
}

} // namespace qv::kelvo_sdk::impl
