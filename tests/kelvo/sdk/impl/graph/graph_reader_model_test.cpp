#include "kelvo/sdk/impl/graph/graph_reader.h"
#include "kelvo/sdk/impl/graph/node_iterator.h"
#include "kelvo/sdk/impl/graph/path_iterator.h"
#include "tests/support/known_rows.h"
#include "tests/support/log_capture.h"
#include "tests/support/random_edits.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

// Random edits of two scenes that are alike, with undo and redo: in one, walks go by the compact
// graph, in the other by the nodes. Results, their order and the lines of the log are the same. A
// failure tells the seed and the step.

namespace qv::kelvo_sdk::impl {
namespace {

using tests::RandomEdit;
using tests::RandomEdits;

std::string namesOf(NodeIterator* iterator) {
    const auto nodes = RefersTo<NodeIterator>::adopt(iterator);
    std::string text;
    for (const INode* node = nodes->first(); node; node = nodes->next())
        text += std::string(node->name().buf()) + " ";
    return text + "\n";
}

std::string namesOf(NodePath* path) {
    const auto held = RefersTo<NodePath>::adopt(path);
    std::string text;
    for (u64 i = 0; held && i < held->nodeCount(); ++i)
        text += std::string(held->node(i)->name().buf()) + "/";
    return text + "\n";
}

class Side {
public:
    explicit Side(bool goesByNodes) {
        m_scene.setUndoEnabled(true);
        auto* scene = static_cast<Scene*>(m_scene.get());
        if (goesByNodes) scene->graph().distrust();
    }

    void edit(const RandomEdit& edit) {
        switch (edit.kind % 8) {
        case 0:
            m_scene.undo();
            break;
        case 1:
            m_scene.redo();
            break;
        case 2:
            m_scene.setDirtyStateCached(edit.a % 2 == 0);
            break;
        case 3:
            if (INode* node = nodeAt(edit.a)) node->setDirty(false);
            break;
        default:
            m_edits.run({edit.kind / 8, edit.a, edit.b, edit.c});
        }
    }
    [[nodiscard]] std::string walked() {
        std::string text;
        for (u64 i = 0; i < m_scene.nodeCount(); ++i) {
            text += std::string(nodeAt(i)->name().buf()) + ":\n" + around(*nodeAt(i));
            for (u64 k = 0; k < m_scene.nodeCount(); ++k)
                text += between(*nodeAt(i), *nodeAt(k));
        }
        for (u64 i = 0; i < m_scene.nodeCount(); ++i)
            text += nodeAt(i)->dirty(false) ? "dirty " : "clean ";
        if (INode* node = nodeAt(0)) text += node->dirty(true) ? "dirty" : "clean";
        return text;
    }
    [[nodiscard]] std::string faults() const {
        std::string text;
        for (const auto& fault : m_scene.verify())
            text += std::string(fault.place.buf()) + " " + fault.message.buf() + "\n";
        return text;
    }

private:
    [[nodiscard]] INode* nodeAt(u64 index) const {
        return m_scene.nodeCount() != 0 ? m_scene->node(index % m_scene.nodeCount()) : nullptr;
    }
    // Paths along children end where they come back to a node.
    static std::string around(INode& node) {
        return namesOf(node.dependencies(false, false)) + namesOf(node.dependencies(true, true)) +
               namesOf(node.children(-1)) + namesOf(node.children(0)) + namesOf(node.children(2));
    }
    static std::string between(INode& from, INode& to) {
        return std::to_string(from.indexIn(&to)) + " " + namesOf(from.firstPathTo(&to, false)) +
               namesOf(from.firstPathTo(&to, true));
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    RandomEdits m_edits{m_scene};
};

// Returns what the walks find after an edit, and what was logged meanwhile.
std::string walkedAfter(const RandomEdit& edit, Side& side) {
    const tests::LogCapture logged;
    side.edit(edit);
    const std::string found = side.walked();
    return found + "\n" + logged.text();
}

class GraphReaderModel : public testing::TestWithParam<unsigned> {};

TEST_P(GraphReaderModel, WalksByTheGraph_FindTheSameAsByTheNodes) {
    std::mt19937 random(GetParam());
    Side byGraph(false), byNodes(true);
    for (int step = 0; step < 300 && !HasFailure(); ++step) {
        SCOPED_TRACE("seed " + std::to_string(GetParam()) + ", step " + std::to_string(step));
        const auto any = [&] { return static_cast<unsigned>(random()); };
        const RandomEdit edit{any(), any(), any(), any()};
        const std::string found = walkedAfter(edit, byGraph);
        EXPECT_EQ(found, walkedAfter(edit, byNodes));
        EXPECT_EQ(byGraph.faults(), "");
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, GraphReaderModel, testing::Range(1u, 9u));

} // namespace
} // namespace qv::kelvo_sdk::impl
