// Makes random edits of two scenes, with handles kept and dropped, free nodes, destroyed scenes,
// edits cancelled, undone and redone, and compares with a model in plain containers. A failing
// script is reduced to a minimal one and printed.
#include "tests/laws/lives_player.h"

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
    Script script(20 + below(180));
    for (RandomEdit& step : script)
        step = {below(LivesPlayer::kindCount()), below(1024), below(1024), below(1024)};
    return script;
}

std::string printed(const Script& script) {
    std::string text;
    for (const RandomEdit& step : script) {
        text += LivesPlayer::name(step.kind);
        for (const unsigned number : {step.a, step.b, step.c})
            text += " " + std::to_string(number);
        text += "\n";
    }
    return text;
}

std::string played(u64 flavour, const Script& script) {
    const i64 before = impl_nodeInstanceCount();
    std::string wrong = LivesPlayer(static_cast<unsigned>(flavour)).play(script);
    if (wrong.empty() && impl_nodeInstanceCount() != before)
        wrong = "nodes outlive all that held them";
    return wrong;
}

TEST(RandomLives, EditsOfTwoScenes_LeaveThemAsTheModelSays) {
    const LogCapture quiet;
    LawRun law("random lives");
    const u64 scripts = LawRun::isFull() ? 20'000 : 150;
    for (u64 seed = LawRun::seed(); law.trials() < scripts && !law.isOver(); ++seed) {
        law.begin("KELVO_LAWS_SEED=" + std::to_string(seed));
        const Script script = randomScript(seed);
        std::string wrong = played(seed, script);
        if (!wrong.empty()) {
            const Script least =
                shrunk(script, [&](const Script& part) { return !played(seed, part).empty(); });
            wrong = printed(least) + played(seed, least);
        }
        law.count(wrong);
        if (law.found() >= 3) return;
    }
}

} // namespace
} // namespace qv::tests
