// Linked into the test programs in which all mutants are behind a switch: turns the mutant of the
// environment on, and tells which functions each test reaches.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>

int mutantSwitch = -1;
unsigned char reachedFunctions[1 << 16];

namespace {

class Reached : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo& test) override {
        std::FILE* file = std::fopen(std::getenv("MUTANTS_REACHED"), "a");
        std::fprintf(file, "%s.%s %lld", test.test_suite_name(), test.name(),
                     static_cast<long long>(test.result()->elapsed_time()));
        for (unsigned i = 0; i < std::size(reachedFunctions); ++i) {
            if (reachedFunctions[i]) std::fprintf(file, " %u", i);
        }
        std::fprintf(file, "\n");
        std::fclose(file);
        std::fill(std::begin(reachedFunctions), std::end(reachedFunctions), '\0');
    }
};

// Before all static objects of the library, which may use it.
__attribute__((constructor(101))) void readEnvironment() {
    if (const char* number = std::getenv("MUTANTS_SWITCH")) mutantSwitch = std::atoi(number);
}

const bool isListening = [] {
    if (std::getenv("MUTANTS_REACHED"))
        testing::UnitTest::GetInstance()->listeners().Append(new Reached);
    return true;
}();

} // namespace
