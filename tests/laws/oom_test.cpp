// Every allocation of every operation fails once, alone and with all after it: the operation then
// succeeds nevertheless, or throws `std::bad_alloc` and leaves the scene as it was. A run tries
// some of the allocations, with KELVO_LAWS_FULL=1 all of them.
//
// KELVO_LAWS_CASE="allocation once" (or "from") with --gtest_filter runs one trial, without a child
// process.
#include "tests/laws/oom_trial.h"

#include "kelvo/base/log.h"
#include "tests/support/law_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <random>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qv::tests {
namespace {

using Fails = OomMemory::Fails;

// Is shared with the child process of the trials, which may end in the middle of one.
struct Progress {
    u64 next;
    u64 failed;
    char told[4000];
};

struct Case {
    Fails fails;
    u64 which;

    [[nodiscard]] std::string text() const {
        return "allocation " + std::to_string(which) +
               (fails == Fails::Once ? " fails" : " and all behind it fail");
    }
};

// Returns all allocations, or some of them: the first, the last, and each n-th in between.
std::vector<Case> casesOf(u64 allocations) {
    constexpr u64 most = 6;
    const u64 stride = LawRun::isFull() ? 1 : std::max<u64>(1, allocations / most);
    std::vector<Case> cases;
    for (const Fails fails : {Fails::Once, Fails::FromThen})
        for (u64 which = 1 + (LawRun::seed() + static_cast<u64>(fails)) % stride;
             which <= allocations; which += stride)
            cases.push_back({fails, which});
    return cases;
}

void note(Progress& progress, const std::string& text) {
    ++progress.failed;
    std::strncat(progress.told, (text + "\n").c_str(),
                 sizeof progress.told - std::strlen(progress.told) - 1);
}

// Records without allocating that the library logged waiting modifiers.
void takeLine(LogLevel, const char* line, void*) {
    if (std::strncmp(line, "Modifiers wait", 14) == 0) OomTrial::noteWait();
}

// Runs cases in a child process until one of them ends it.
void runFrom(Progress& progress, const OomTrial& trial, const std::vector<Case>& cases) {
    alarm(120);
    for (; progress.next < cases.size(); ++progress.next) {
        const Case& each = cases[progress.next];
        const std::string wrong = trial.run(each.fails, each.which);
        if (!wrong.empty()) note(progress, each.text() + ": " + wrong);
    }
    _exit(0);
}

void runAll(Progress& progress, const OomTrial& trial, const std::vector<Case>& cases) {
    while (progress.next < cases.size()) {
        const pid_t child = fork();
        if (child == 0) runFrom(progress, trial, cases);
        int status = 0;
        waitpid(child, &status, 0);
        if (WIFEXITED(status) && WEXITSTATUS(status) == 0) continue;
        note(progress,
             cases[progress.next].text() + ": the process ends" +
                 (WIFSIGNALED(status) ? ", by signal " + std::to_string(WTERMSIG(status)) : ""));
        ++progress.next;
    }
}

// Returns the case that the user selected, if any.
std::optional<Case> chosen() {
    const char* text = std::getenv("KELVO_LAWS_CASE");
    if (!text) return {};
    char how[8] = "";
    unsigned long long which = 0;
    if (std::sscanf(text, "%llu %7s", &which, how) != 2) return {};
    return Case{std::strcmp(how, "once") == 0 ? Fails::Once : Fails::FromThen, which};
}

// All operations count as one law and share its time.
class OutOfMemory : public testing::TestWithParam<const OomEdit*> {
protected:
    static void SetUpTestSuite() { s_law.emplace("out of memory"); }
    static void TearDownTestSuite() { s_law.reset(); }

    static inline std::optional<LawRun> s_law;
};

TEST_P(OutOfMemory, EachAllocationThatFails_LeavesAllOrNothing) {
    if (s_law->isOver()) return;
    const LogSink before = setLogHandler(takeLine);
    const std::unique_ptr<const LogSink, void (*)(const LogSink*)> end(
        &before, [](const LogSink* sink) { setLogHandler(sink->handler, sink->user); });
    const OomTrial trial(*GetParam());
    if (const auto one = chosen()) {
        EXPECT_EQ(trial.run(one->fails, one->which), "") << one->text();
        return;
    }
    const auto cases = casesOf(trial.allocations());
    RecordProperty("allocations", static_cast<int>(trial.allocations()));
    RecordProperty("trials", static_cast<int>(cases.size()));
    void* shared =
        mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    auto& progress = *new (shared) Progress{};
    runAll(progress, trial, cases);
    s_law->countReported(cases.size(), progress.failed);
    EXPECT_EQ(progress.failed, 0u)
        << GetParam()->name << ", " << progress.failed << " of " << cases.size() << " trials:\n"
        << progress.told;
    munmap(shared, sizeof(Progress));
}

std::vector<const OomEdit*> allEdits() {
    std::vector<const OomEdit*> all;
    for (const auto* table : {&oomCoreEdits(), &oomHistoryEdits(), &oomSnapshotEdits(),
                              &oomTextEdits(), &oomLibraryEdits()})
        for (const OomEdit& edit : *table)
            all.push_back(&edit);
    // Shuffles the operations, so that each comes first in some run that is too short for all.
    if (LawRun::isFull()) std::ranges::shuffle(all, std::mt19937_64(LawRun::seed()));
    return all;
}

std::string nameOf(const testing::TestParamInfo<const OomEdit*>& info) {
    std::string name = info.param->name;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Laws, OutOfMemory, testing::ValuesIn(allEdits()), nameOf);

} // namespace
} // namespace qv::tests
