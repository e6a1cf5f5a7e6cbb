// A diff is applied to live nodes while observers edit them; undo restores the scene before.
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/scene_diff.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace qv::kelvo_sdk {
namespace {

using interfaces::IInput;
using tests::nodeText;
using tests::sceneOf;
using tests::textOf;

// Calls a function of the test at the n-th notification about an input.
class Interferer : SceneObserver {
public:
    Interferer(const Scene& scene, int when, std::function<void(const Node&)> then)
        : m_scene(scene), m_left(when), m_then(std::move(then)) {
        m_scene.subscribe(this);
    }
    ~Interferer() override { m_scene.unsubscribe(static_cast<SceneObserver*>(this)); }
    Interferer(const Interferer&) = delete;
    Interferer& operator=(const Interferer&) = delete;
    [[nodiscard]] bool hasActed() const { return m_left < 0; }

private:
    void inputAdded(const IInput*) override { act(); }
    void inputRemoved(const IInput*) override { act(); }
    void inputChanged(const IInput*, const impl::AttrData*) override { act(); }
    void act() {
        if (m_left-- != 0) return;
        if (const Node node = m_scene["n"]) m_then(node);
    }

    Scene m_scene;
    int m_left;
    std::function<void(const Node&)> m_then;
};

struct Difference {
    const char* note;
    const char* before;
    const char* after;
};

constexpr Difference kDifferences[] = {
    {"values", "Real a = 1\nReal b = 2", "Real a = 3\nReal b = 4"},
    {"inputs that go", "Real a = 1\nReal b = 2\nReal c = 3", "Real c = 3"},
    {"members that go", "Real a = 1\nObject b {\n    Real m = 1\n    Real n = 2\n}",
     "Real a = 1\nObject b {\n}"},
    {"elements that go", "Real a = 1\nArray<Real> b = [1, 2, 3, 4]",
     "Real a = 1\nArray<Real> b = [2]"},
    {"elements that come", "Real a = 1\nArray<Real> b = [1, 2]",
     "Real a = 1\nArray<Real> b = [5, 1, 6, 2]"},
    {"elements that move", "Real a = 1\nArray<Real> b = [1, 2, 3, 4]",
     "Real a = 1\nArray<Real> b = [4, 3, 2, 1]"},
    {"all of it", "Real a = 1\nArray<Real> b = [1, 2, 3]\nReal c = 1",
     "Real a = 2\nArray<Real> b = [3, 7, 1]"},
};

struct Interference {
    const char* note;
    void (*run)(const Node& node);
};

constexpr Interference kInterferences[] = {
    {"takes b off", [](const Node& node) { node->removeInput(String("b")); }},
    {"takes the first input off", [](const Node& node) { node->removeInput(u64(0)); }},
    {"clears b",
     [](const Node& node) {
         if (node->hasInput("b", AttrType::Array)) node["b"]->clearInputs();
     }},
    {"removes the node", [](const Node& node) { node->scene()->removeNode(node.get()); }},
};

TEST(LivePatcher, ApplyTo_WhatAnObserverTakesApart_ComesBackWithUndo) {
    for (const Difference& difference : kDifferences)
        for (const Interference& interference : kInterferences)
            for (int when = 0; when < 20; ++when) {
                const std::string before = nodeText(difference.before);
                const Scene scene = sceneOf(before);
                scene.setUndoEnabled(true);
                const auto diff = SceneDiff::between(scene, sceneOf(nodeText(difference.after)));
                const Interferer interferer(scene, when, interference.run);
                const Result isDone = diff.applyTo(scene);
                EXPECT_TRUE(isDone) << isDone.message().buf();
                if (!interferer.hasActed()) break;
                while (scene.undo()) {
                }
                EXPECT_EQ(textOf(scene), before)
                    << difference.note << ", " << interference.note << " at " << when;
                EXPECT_TRUE(scene.verify().empty());
            }
}

} // namespace
} // namespace qv::kelvo_sdk
