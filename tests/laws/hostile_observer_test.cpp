// An observer does something bad at one notification of one edit: whatever it is, the scene keeps
// its laws, its text reads back, and undo brings back what was. A run tries some of the cases, with
// KELVO_LAWS_FULL=1 all of them.
#include "tests/laws/hostile_observer.h"

#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <stdexcept>
#include <type_traits>

namespace qv::tests {
namespace {

using kelvo_sdk::BatchObserver;
using kelvo_sdk::NodeObserver;
using kelvo_sdk::SceneChanges;
using kelvo_sdk::SceneObserver;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;
using kelvo_sdk::interfaces::IOutput;

// Does a misdeed at the n-th notification, and none meanwhile. Reads what it is told of.
class Hostile : public SceneObserver, public NodeObserver, public BatchObserver {
public:
    Hostile(const Deed& misdeed, int when) : m_misdeed(misdeed), m_left(when) {}

    void start(Stage& stage) { m_stage = &stage; }
    void stop() { m_stage = nullptr; }

    void nodeAdded(INode* node) override { act(node); }
    void nodeRemoved(INode* node) override { act(node); }
    void nodeRenamed(INode* node, String) override { act(node); }
    void nodeMoved(INode* node, u64) override { act(node); }
    void inputAdded(const IInput* input) override { act(input); }
    void inputRemoved(const IInput* input) override { act(input); }
    void outputAdded(const IOutput* output) override { act(output); }
    void outputRemoved(const IOutput* output) override { act(output); }
    void inputChanged(const IInput* input, const kelvo_sdk::impl::AttrData*) override {
        act(input);
    }
    void inputConnected(const IInput* input, const IOutput* before, const IOutput* after) override {
        if (before) m_read += before->path();
        if (after) m_read += after->path();
        act(input);
    }
    void nodeConverted(INode* node, INode* replacement) override {
        m_read += replacement->name();
        act(node);
    }
    void nodeRemoved() override { act(); }
    void nodeRenamed(String) override { act(); }
    void nodeConverted(Node replacement) override { act(replacement.get()); }
    void inputChanged(Input input) override { act(input.get()); }
    void inputConnected(Input input) override { act(input.get()); }
    void sceneChanged(const SceneChanges& changes) override {
        for (const INode* node : changes.removedNodes)
            m_read += node->name();
        for (const IInput* input : changes.changedInputs)
            m_read += input->path();
        act();
    }

    [[nodiscard]] bool hasActed() const { return m_left < 0; }

private:
    template<typename Thing>
    void act(const Thing* thing) {
        if (!m_stage) return;
        m_read = thing->name();
        if constexpr (!std::is_same_v<Thing, INode>) m_read += thing->path();
        act();
    }
    void act() {
        if (!m_stage || m_isActing || m_left-- != 0 || !m_stage->scene) return;
        m_isActing = true;
        struct End {
            ~End() { isActing = false; }
            bool& isActing;
        } const end{m_isActing};
        m_misdeed.run(*m_stage);
    }

    Stage* m_stage = nullptr;
    const Deed& m_misdeed;
    int m_left;
    bool m_isActing = false;
    String m_read;
};

struct Trial {
    const Deed& edit;
    const Deed& misdeed;
    int when;
    bool recordsUndo;
    bool isBatched;

    [[nodiscard]] std::string text() const {
        return std::string(edit.name) + ", and at notification " + std::to_string(when) + ": " +
               misdeed.name + (recordsUndo ? ", undo on" : "") +
               (isBatched ? ", told in batches" : "");
    }
    /// Returns what is wrong; `hasActed` tells whether there was such a notification.
    std::string run(bool& hasActed) const;
};

std::string faultsOf(const Scene& scene, const char* when) {
    std::string wrong;
    for (const auto& fault : scene.verify())
        wrong += std::string(when) + ": " + fault.place.buf() + " " + fault.message.buf() + "\n";
    if (!wrong.empty()) return wrong;
    const Scene again = Scene::create();
    again.addLibrary(Stage::library());
    if (!again.read(scene.text(), "text") || again.text() != scene.text())
        wrong += std::string(when) + ": the text does not read back\n";
    return wrong;
}

std::string Trial::run(bool& hasActed) const {
    // Nodes that a misdeed took out of reach keep it as their observer.
    Hostile hostile(misdeed, when);
    Stage stage(recordsUndo);
    const String before = stage.scene.text();
    if (isBatched) stage.scene.subscribe(static_cast<BatchObserver*>(&hostile));
    if (!isBatched) stage.scene.subscribe(static_cast<SceneObserver*>(&hostile));
    for (u64 i = 0; !isBatched && i < stage.scene.nodeCount(); ++i)
        stage.scene.node(i)->subscribe(&hostile);
    hostile.start(stage);
    try {
        edit.run(stage);
    } catch (const std::runtime_error&) {
    }
    hasActed = hostile.hasActed();
    hostile.stop();
    const Scene scene = stage.scene;
    if (!scene) return {};
    scene.unsubscribe(static_cast<SceneObserver*>(&hostile));
    scene.unsubscribe(static_cast<BatchObserver*>(&hostile));
    std::string wrong = faultsOf(scene, "after the edit");
    stage.handles.clear();
    wrong += faultsOf(scene, "with all handles gone");
    if (!recordsUndo || !scene.undoEnabled()) return wrong;
    if (scene->editDepth() != 0) wrong += "an edit is open\n";
    while (wrong.empty() && scene.undo())
        wrong += faultsOf(scene, "undone");
    if (wrong.empty() && edit.comesBack && scene.text() != before)
        wrong += std::string("undo leads elsewhere:\n") + scene.text().buf();
    while (wrong.empty() && scene.redo())
        wrong += faultsOf(scene, "redone");
    return wrong;
}

// KELVO_LAWS_CASE="edit misdeed when undo batched" runs one, by its numbers.
std::optional<Trial> chosen() {
    const char* text = std::getenv("KELVO_LAWS_CASE");
    std::size_t edit = 0, misdeed = 0;
    int when = 0, undo = 0, batched = 0;
    if (!text ||
        std::sscanf(text, "%zu %zu %d %d %d", &edit, &misdeed, &when, &undo, &batched) != 5)
        return {};
    return Trial{hostileEdits().at(edit), hostileMisdeeds().at(misdeed), when, undo != 0,
                 batched != 0};
}

TEST(HostileObserver, AnyMisdeedAtAnyNotification_LeavesASoundScene) {
    const LogCapture quiet;
    bool hasActed = false;
    if (const auto one = chosen()) {
        EXPECT_EQ(one->run(hasActed), "") << one->text();
        return;
    }
    const bool isFull = std::getenv("KELVO_LAWS_FULL") != nullptr;
    const bool isLoud = std::getenv("KELVO_LAWS_LOUD") != nullptr;
    const auto& edits = hostileEdits();
    const auto& misdeeds = hostileMisdeeds();
    u64 tried = 0, acted = 0, failed = 0;
    const u64 stride = isFull ? 1 : 7;
    u64 next = 0;
    for (std::size_t edit = 0; edit < edits.size(); ++edit)
        for (std::size_t misdeed = 0; misdeed < misdeeds.size(); ++misdeed)
            for (const int kind : {0, 1, 2, 3}) {
                if (next++ % stride != 0) continue;
                const int most = isFull ? 1000 : 3;
                hasActed = true;
                for (int when = 0; hasActed && when < most; ++when, ++tried) {
                    const Trial trial{edits[edit], misdeeds[misdeed], when, kind % 2 == 1,
                                      kind >= 2};
                    if (isLoud)
                        std::fprintf(stderr, "%zu %zu %d %d %d\n", edit, misdeed, when, kind % 2,
                                     kind / 2);
                    const std::string wrong = trial.run(hasActed);
                    acted += hasActed ? 1 : 0;
                    if (wrong.empty() || ++failed > 20) continue;
                    ADD_FAILURE() << "Case " << edit << " " << misdeed << " " << when << " "
                                  << kind % 2 << " " << kind / 2 << ": " << trial.text() << "\n"
                                  << wrong;
                }
            }
    RecordProperty("tried", static_cast<int>(tried));
    EXPECT_EQ(failed, 0u);
    EXPECT_GT(acted, tried / 3);
}

} // namespace
} // namespace qv::tests
