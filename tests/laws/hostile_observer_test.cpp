// An observer misbehaves at one notification of one edit: in every case the scene keeps its laws,
// its text reads back, and undo restores the state before. A run tries some of the cases, with
// KELVO_LAWS_FULL=1 all of them; KELVO_LAWS_CASE selects a single one.
#include "tests/laws/hostile_observer.h"

#include "tests/support/known_rows.h"
#include "tests/support/law_run.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>

namespace qv::tests {
namespace {

struct Trial {
    std::size_t edit;
    std::size_t misdeed;
    Ear ear;
    bool recordsUndo;
    int when = 0;

    [[nodiscard]] std::string text() const {
        return std::string(hostileEdits().at(edit).name) + ", and at notification " +
               std::to_string(when) + ": " + hostileMisdeeds().at(misdeed).name + ", " +
               earName(ear) + (recordsUndo ? ", undo on" : "");
    }
    [[nodiscard]] std::string repeat() const {
        return "KELVO_LAWS_CASE='" + std::to_string(edit) + " " + std::to_string(misdeed) + " " +
               std::to_string(when) + " " + std::to_string(static_cast<int>(ear)) + " " +
               std::to_string(recordsUndo) + "'";
    }
    /// Returns the failure, empty if none; `hasActed` tells whether there was such a notification.
    std::string run(bool& hasActed) const;

private:
    static std::string faultsOf(const Stage& stage, const char* when);
    [[nodiscard]] std::string checkHistory(const Stage& stage, const std::string& before) const;
};

// Returns the text of a scene and the hash of each of its nodes.
std::string portraitOf(const Scene& scene) {
    std::string portrait = scene.text().buf();
    for (u64 i = 0; i < scene.nodeCount(); ++i)
        portrait += "# " + std::to_string(scene.node(i).hash()) + "\n";
    return portrait;
}

std::string Trial::faultsOf(const Stage& stage, const char* when) {
    std::string wrong;
    for (const auto& fault : stage.scene.verify())
        wrong += std::string(when) + ": " + fault.place.buf() + " " + fault.message.buf() + "\n";
    if (!wrong.empty()) return wrong;
    fillRows(stage.scene);
    const Scene again = Scene::create();
    again.addLibrary(stage.library);
    const String text = stage.scene.text();
    if (!again.read(text, "text") || again.text() != text)
        wrong += std::string(when) + ": the text does not read back\n";
    return wrong;
}

// Undoes to the first step, redoes to the last and undoes again.
std::string Trial::checkHistory(const Stage& stage, const std::string& before) const {
    const Scene& scene = stage.scene;
    const bool comesBack =
        hostileEdits().at(edit).comesBack && hostileMisdeeds().at(misdeed).comesBack;
    // An observer that undid steps left the scene in an earlier state than that after the last
    // step.
    std::string after = scene.redoCount() == 0 ? portraitOf(scene) : std::string();
    std::string wrong;
    const auto compare = [&](const std::string& expected, const char* what) {
        if (wrong.empty() && comesBack && portraitOf(scene) != expected)
            wrong += std::string(what) + " leads elsewhere:\n" + portraitOf(scene);
    };
    if (scene->editDepth() != 0) wrong += "an edit is open\n";
    for (const char* what : {"undo", "undo after redo"}) {
        while (wrong.empty() && scene.undo())
            wrong += faultsOf(stage, "undone");
        compare(before, what);
        while (wrong.empty() && scene.redo())
            wrong += faultsOf(stage, "redone");
        if (after.empty()) after = portraitOf(scene);
        compare(after, "redo");
    }
    return wrong;
}

std::string Trial::run(bool& hasActed) const {
    // Declared first, because nodes that a misdeed took out of reach stay subscribed to it.
    Hostile hostile(hostileMisdeeds().at(misdeed), when);
    Stage stage(ear == Ear::Library ? HostileLibrary::types() : LibInfo::standard(), recordsUndo);
    const HostileLibrary library([&](auto* node, auto* input) { hostile.called(node, input); });
    const std::string before = portraitOf(stage.scene);
    hostile.start(stage, ear);
    try {
        hostileEdits().at(edit).run(stage);
    } catch (const std::runtime_error&) {
    }
    hasActed = hostile.hasActed();
    hostile.stop();
    stage.scopes.clear();
    if (!stage.scene) return {};
    std::string wrong = faultsOf(stage, "after the edit");
    stage.handles.clear();
    wrong += faultsOf(stage, "with all handles gone");
    if (!wrong.empty() || !recordsUndo || !stage.scene.undoEnabled()) return wrong;
    return checkHistory(stage, before);
}

std::optional<Trial> chosen() {
    const char* text = std::getenv("KELVO_LAWS_CASE");
    std::size_t edit = 0, misdeed = 0;
    int when = 0, ear = 0, undo = 0;
    if (!text || std::sscanf(text, "%zu %zu %d %d %d", &edit, &misdeed, &when, &ear, &undo) != 5)
        return {};
    return Trial{edit, misdeed, static_cast<Ear>(ear), undo != 0, when};
}

std::vector<Trial> allTrials() {
    std::vector<Trial> trials;
    for (std::size_t edit = 0; edit < hostileEdits().size(); ++edit)
        for (std::size_t misdeed = 0; misdeed < hostileMisdeeds().size(); ++misdeed)
            for (int ear = 0; ear < earCount; ++ear)
                for (const bool recordsUndo : {false, true})
                    trials.push_back({edit, misdeed, static_cast<Ear>(ear), recordsUndo});
    return trials;
}

TEST(HostileObserver, AnyMisdeedAtAnyNotification_LeavesASoundScene) {
    const LogCapture quiet;
    LawRun law("hostile observer");
    bool hasActed = false;
    if (const auto one = chosen()) {
        law.begin(one->repeat());
        return law.count(one->run(hasActed));
    }
    std::vector<Trial> trials = allTrials();
    std::ranges::shuffle(trials, std::mt19937_64(LawRun::seed()));
    if (!LawRun::isFull()) trials.resize(trials.size() / 40);
    const int most = LawRun::isFull() ? 1000 : 4;
    u64 acted = 0;
    for (Trial& trial : trials) {
        hasActed = true;
        for (trial.when = 0; hasActed && trial.when < most && !law.isOver(); ++trial.when) {
            law.begin(trial.repeat());
            const std::string wrong = trial.run(hasActed);
            acted += hasActed ? 1 : 0;
            law.count(wrong.empty() ? wrong : trial.text() + "\n" + wrong);
        }
    }
    EXPECT_GT(acted, law.trials() / 3);
}

} // namespace
} // namespace qv::tests
