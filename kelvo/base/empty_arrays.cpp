#include "kelvo/base/empty_arrays.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <new>

namespace qv::ds {

/// Free runs, reused last in first out because they are still in the cache, and untouched memory
/// for new runs.
class EmptyArraysPool {
public:
    // Never destroyed: maps with static storage may outlive any other static object.
    static EmptyArraysPool& instance() {
        static EmptyArraysPool& pool = *new EmptyArraysPool;
        return pool;
    }

    EmptyArrays* take() {
        const std::lock_guard lock(m_mutex);
        EmptyArrays* run = m_free;
        if (run)
            m_free = run->m_nextFree;
        else
            run = carve();
        run->m_live = EmptyArrays::cellCount;
        std::fill(std::begin(run->m_released), std::end(run->m_released), u64{0});
        ++m_taken;
        return run;
    }

    void give(EmptyArrays* run) noexcept {
        const std::lock_guard lock(m_mutex);
        run->m_nextFree = m_free;
        m_free = run;
        --m_taken;
    }

    EmptyArrays::Usage usage() noexcept {
        const std::lock_guard lock(m_mutex);
        return {m_taken, m_total};
    }

private:
    static constexpr u64 runsPerSlab = 64;

    // Slabs are linked so that leak checkers find them; a run is first touched when it is taken.
    struct Slab {
        Slab* next;
        alignas(EmptyArrays) unsigned char runs[runsPerSlab * sizeof(EmptyArrays)];
    };

    EmptyArrays* carve() {
        if (m_carved == runsPerSlab) {
            Slab* slab = ::new (::operator new(sizeof(Slab))) Slab;
            slab->next = m_slabs;
            m_slabs = slab;
            m_carved = 0;
        }
        ++m_total;
        return ::new (m_slabs->runs + m_carved++ * sizeof(EmptyArrays)) EmptyArrays;
    }

    std::mutex m_mutex;
    EmptyArrays* m_free = nullptr;
    Slab* m_slabs = nullptr;
    u64 m_carved = runsPerSlab;
    u64 m_taken = 0;
    u64 m_total = 0;
};

EmptyArrays* EmptyArrays::take() {
    return EmptyArraysPool::instance().take();
}

void EmptyArrays::give(EmptyArrays* run) noexcept {
    EmptyArraysPool::instance().give(run);
}

EmptyArrays::Usage EmptyArrays::usage() noexcept {
    return EmptyArraysPool::instance().usage();
}

} // namespace qv::ds
