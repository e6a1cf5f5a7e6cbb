#pragma once

#include "tests/laws/oom_memory.h"
#include "tests/laws/oom_portrait.h"

#include <string>
#include <vector>

namespace qv::tests {

/// The trials of one operation, each in its own world: one for each allocation that can fail.
class OomTrial {
public:
    /// Runs the operation once with enough memory, to record the outcome.
    explicit OomTrial(const OomEdit& edit);

    /// Returns the number of allocations of a run with enough memory.
    [[nodiscard]] u64 allocations() const noexcept { return m_allocations; }
    /// Fails the `which`-th allocation; returns the failure, empty if there is none.
    [[nodiscard]] std::string run(OomMemory::Fails fails, u64 which) const;
    /// Call when the library logs that modifiers wait for the next change.
    static void noteWait() noexcept { s_doModifiersWait = true; }

private:
    enum class Outcome { Answered, Refused, OutOfMemory };

    [[nodiscard]] Outcome perform(OomWorld& world) const;
    [[nodiscard]] std::string judge(OomWorld& world, Outcome outcome) const;
    [[nodiscard]] std::string judgeHistory(OomWorld& world, bool isDone) const;
    [[nodiscard]] std::string judgeObservers(OomWorld& world) const;
    [[nodiscard]] std::string inWorld(OomMemory::Fails fails, u64 which) const;

    inline static bool s_doModifiersWait = false;
    const OomEdit& m_edit;
    u64 m_allocations = 0;
    // The expected states: without the operation, and with it.
    std::vector<OomPortrait> m_portraits;
    std::vector<std::vector<std::string>> m_histories;
};

} // namespace qv::tests
