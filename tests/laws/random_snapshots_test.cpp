// Makes random edits of a scene, with undo, and takes snapshots. Each snapshot says what the scene
// says, never changes, is followed by deltas and is read into a scene again. A failing script is
// reduced to a minimal one and printed.
#include "tests/laws/snapshot_player.h"

#include "tests/support/law_run.h"
#include "tests/support/log_capture.h"
#include "tests/support/shrink.h"

#include <gtest/gtest.h>

#include <random>

namespace qv::tests {
namespace {

using Script = std::vector<RandomEdit>;

Script randomScript(u64 seed) {
    std::mt19937_64 random(seed);
    const auto below = [&](unsigned end) { return static_cast<unsigned>(random() % end); };
    Script script(100 + below(500));
    for (RandomEdit& step : script)
        step = {below(SnapshotPlayer::kindCount()), below(1024), below(1024), below(1024)};
    return script;
}

std::string printed(const Script& script) {
    std::string text;
    for (const RandomEdit& step : script) {
        text += SnapshotPlayer::name(step.kind);
        for (const unsigned number : {step.a, step.b, step.c})
            text += " " + std::to_string(number);
        text += "\n";
    }
    return text;
}

std::string shortest(unsigned flavour, const Script& script) {
    const Script least = shrunk(
        script, [&](const Script& part) { return !SnapshotPlayer(flavour).play(part).empty(); });
    return printed(least) + SnapshotPlayer(flavour).play(least);
}

TEST(RandomSnapshots, OfEditsWithUndo_AreRightAndNeverChange) {
    const LogCapture quiet;
    LawRun law("edits beside snapshots");
    const u64 edits = LawRun::isFull() ? 1'000'000 : 10'000;
    u64 snapshots = 0;
    for (u64 seed = LawRun::seed(); law.trials() < edits && !law.isOver(); ++seed) {
        law.begin("KELVO_LAWS_SEED=" + std::to_string(seed));
        const Script script = randomScript(seed);
        const auto flavour = static_cast<unsigned>(seed);
        SnapshotPlayer player(flavour);
        const std::string wrong = player.play(script);
        law.countReported(player.edits(), wrong.empty() ? 0 : 1);
        snapshots += player.snapshots();
        if (wrong.empty()) continue;
        ADD_FAILURE() << shortest(flavour, script) << "\nRepeat it with KELVO_LAWS_SEED=" << seed;
        return;
    }
    std::printf("%llu snapshots\n", static_cast<unsigned long long>(snapshots));
}

} // namespace
} // namespace qv::tests
