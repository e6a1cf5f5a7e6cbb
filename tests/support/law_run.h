#pragma once

#include "kelvo/base/types.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

// Exists only in builds whose sanitizer ends the process.
extern "C" [[gnu::weak]] void __sanitizer_set_death_callback(void (*)());

namespace qv::tests {

/// One search for a case in which a law does not hold. Prints the number of its trials at the end,
/// for scripts/soak to add up.
///
/// KELVO_LAWS_FULL=1 asks for a long search, KELVO_LAWS_SEED=N for other cases than the usual ones,
/// KELVO_LAWS_SECONDS=N for an end after about that time.
class LawRun {
public:
    explicit LawRun(std::string law) : m_law(std::move(law)) { hearOfTheEnd(); }
    ~LawRun() {
        if (__sanitizer_set_death_callback) __sanitizer_set_death_callback(nullptr);
        s_last.clear();
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

    /// Call before a trial that may end the process; `repeat` are the variables that run it alone.
    void begin(std::string repeat) { s_last = std::move(repeat); }
    /// Counts a trial, and fails the test when `wrong` names a failure. Only the first failures are
    /// reported.
    void count(const std::string& wrong) {
        constexpr u64 mostReported = 20;
        ++m_trials;
        if (wrong.empty() || ++m_found > mostReported) return;
        ADD_FAILURE() << wrong << "\nRepeat it with " << s_last;
    }
    /// Counts trials whose failures the test itself reports.
    void countReported(u64 trials, u64 found) {
        m_trials += trials;
        m_found += found;
    }
    [[nodiscard]] u64 trials() const { return m_trials; }
    [[nodiscard]] u64 found() const { return m_found; }

    /// Tells whether the requested time, if any, is over.
    [[nodiscard]] bool isOver() const {
        const std::chrono::seconds most(number("KELVO_LAWS_SECONDS", 0));
        return most.count() != 0 && std::chrono::steady_clock::now() - m_start >= most;
    }

private:
    static void hearOfTheEnd() {
        if (__sanitizer_set_death_callback) {
            __sanitizer_set_death_callback(&tellLast);
            return;
        }
        for (const int each : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE})
            std::signal(each, [](int number) {
                tellLast();
                std::signal(number, SIG_DFL);
                std::raise(number);
            });
    }
    static void tellLast() {
        if (!s_last.empty())
            std::fprintf(stderr, "The process ended. Repeat it with %s\n", s_last.c_str());
    }
    static u64 number(const char* variable, u64 fallback) {
        const char* text = std::getenv(variable);
        return text ? std::strtoull(text, nullptr, 10) : fallback;
    }

    static inline std::string s_last;

    std::string m_law;
    u64 m_trials = 0;
    u64 m_found = 0;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

} // namespace qv::tests
