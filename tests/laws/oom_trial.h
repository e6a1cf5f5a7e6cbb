#pragma once

#include "tests/laws/oom_memory.h"
#include "tests/laws/oom_portrait.h"

#include <string>
#include <vector>

namespace qv::tests {

/// The trials of one operation, each in a world of its own: one for each allocation that fails.
class OomTrial {
public:
    /// Runs it once with memory enough, to know the outcome.
    explicit OomTrial(const OomEdit& edit);

    /// Returns the number of allocations of a run with memory enough.
    [[nodiscard]] u64 allocations() const noexcept { return m_allocations; }
    /// Fails the `which`-th allocation; returns what is wrong afterwards, empty when all is well.
    [[nodiscard]] std::string run(OomMemory::Fails fails, u64 which) const;
    /// The library says that modifiers wait for the next change.
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
    // With the operation not done, and done.
    std::vector<OomPortrait> m_portraits;
    std::vector<std::vector<std::string>> m_histories;
};

} // namespace qv::tests
