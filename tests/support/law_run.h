#pragma once

#include "base/types.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

namespace qv::tests {

/// One search for a case in which a law does not hold. Prints at its end how many it tried, for
/// scripts/soak to add up.
///
/// KELVO_LAWS_FULL=1 asks for a long search, KELVO_LAWS_SEED=N for other cases than the usual ones,
/// KELVO_LAWS_SECONDS=N for an end after about that time.
class LawRun {
public:
    explicit LawRun(std::string law) : m_law(std::move(law)) {}
    ~LawRun() {
        std::printf("law %s: %llu trials, %llu found, seed %llu\n", m_law.c_str(),
                    static_cast<unsigned long long>(m_trials),
                    static_cast<unsigned long long>(m_found),
                    static_cast<unsigned long long>(seed()));
        std::fflush(stdout);
    }
    LawRun(const LawRun&) = delete;
    LawRun& operator=(const LawRun&) = delete;

    [[nodiscard]] static bool isFull() { return std::getenv("KELVO_LAWS_FULL") != nullptr; }
    [[nodiscard]] static u64 seed() { return number("KELVO_LAWS_SEED", 1); }

    /// Counts a trial, and fails the test when something is wrong with it. Only the first findings
    /// are told; `repeat` are the variables by which the trial is run alone.
    void count(const std::string& wrong, const std::string& repeat) {
        constexpr u64 mostTold = 20;
        ++m_trials;
        if (wrong.empty() || ++m_found > mostTold) return;
        ADD_FAILURE() << wrong << "\nRepeat it with " << repeat;
    }
    [[nodiscard]] u64 trials() const { return m_trials; }
    [[nodiscard]] u64 found() const { return m_found; }

    /// Tells whether the time that was asked for, if any, is over.
    [[nodiscard]] bool isOver() const {
        const std::chrono::seconds most(number("KELVO_LAWS_SECONDS", 0));
        return most.count() != 0 && std::chrono::steady_clock::now() - m_start >= most;
    }

private:
    static u64 number(const char* variable, u64 fallback) {
        const char* text = std::getenv(variable);
        return text ? std::strtoull(text, nullptr, 10) : fallback;
    }

    std::string m_law;
    u64 m_trials = 0;
    u64 m_found = 0;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

} // namespace qv::tests
