#include "kelvo/sdk/impl/observe/batch_notifier.h"

#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using UndoScope = kelvo_sdk::Scene::UndoScope;

// Records each batch as "+node -node ~before>node ^node +input -input =input >input +out -out |".
struct Noted : BatchObserver {
    void sceneChanged(const interfaces::SceneChanges& changes) override {
        for (const INode* node : changes.addedNodes)
            add("+", node->name());
        for (const INode* node : changes.removedNodes)
            add("-", node->name());
        for (const auto& [node, before] : changes.renamedNodes)
            add("~", before + ">" + node->name());
        for (const INode* node : changes.movedNodes)
            add("^", node->name());
        for (const IInput* input : changes.addedInputs)
            add("+", input->path());
        for (const IInput* input : changes.removedInputs)
            add("-", input->name());
        for (const IInput* input : changes.changedInputs)
            add("=", input->path());
        for (const IInput* input : changes.connectedInputs)
            add(">", input->path());
        for (const auto& [input, before] : changes.renamedInputs)
            add("~", before + ">" + input->path());
        for (const IOutput* output : changes.addedOutputs)
            add("+", output->path());
        for (const IOutput* output : changes.removedOutputs)
            add("-", output->name());
        told += "| ";
        if (then) then();
    }
    void add(const char* sign, const String& name) {
        told += sign + std::string(name.view()) + " ";
    }
    std::string take() { return std::exchange(told, {}); }

    std::string told;
    std::function<void()> then;
};

class BatchesTest : public testing::TestWithParam<bool> {
protected:
    BatchesTest() {
        m_scene.setUndoEnabled(GetParam());
        m_a = m_scene.createNode("t", "a");
        m_b = m_scene.createNode("t", "b");
        m_in = m_a->createInput("in", AttrType::Real);
        m_out = m_b->createOutput("out", AttrType::Real);
        m_scene.subscribe(&m_noted);
    }
    ~BatchesTest() override { m_scene.unsubscribe(&m_noted); }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    kelvo_sdk::Node m_a, m_b;
    interfaces::IInput* m_in;
    interfaces::IOutput* m_out;
    Noted m_noted;
};
INSTANTIATE_TEST_SUITE_P(Undo, BatchesTest, testing::Bool(),
                         [](const auto& on) { return on.param ? "On" : "Off"; });

TEST_P(BatchesTest, ChangeOutsideOfEdits_IsReportedAtOnce) {
    m_in->setReal(1);
    EXPECT_EQ(m_noted.take(), "=a.in | ");
}

TEST_P(BatchesTest, Scope_IsReportedOnceWhenItCloses) {
    {
        const UndoScope scope(m_scene, "", "");
        m_in->setReal(1);
        m_in->setReal(2);
        m_in->connect(m_out);
        m_scene.createNode("t", "c")->createInput("x", AttrType::Int);
        m_scene.renameNode(m_b, "d");
        m_scene.moveNode(m_b, 0);
        m_b->createOutput("more", AttrType::Int);
        EXPECT_EQ(m_noted.take(), "");
    }
    EXPECT_EQ(m_noted.take(), "+c ~b>d ^d =a.in >a.in +d.more | ");
}

TEST_P(BatchesTest, Group_IsReportedOnceWhenItCloses) {
    m_scene->beginEditGroup();
    m_in->setReal(1);
    m_in->setReal(2);
    EXPECT_EQ(m_noted.take(), "");
    m_scene->endEditGroup();
    EXPECT_EQ(m_noted.take(), "=a.in | ");
}

TEST_P(BatchesTest, EditWithoutANetChange_IsNotNotified) {
    {
        const UndoScope scope(m_scene, "", "");
        m_in->setReal(1);
        m_in->setReal(0);
        m_in->connect(m_out);
        m_in->disconnect();
        m_scene.removeNode(m_scene.createNode("t", "c"));
        m_a->removeInput(String("x")), m_a->createInput("x", AttrType::Int), m_a->removeInput("x");
        m_scene.renameNode(m_b, "d");
        m_scene.renameNode(m_b, "b");
    }
    EXPECT_EQ(m_noted.take(), "");
}

TEST_P(BatchesTest, ValueThatIsBackAfterAChangeThatWasNotTold_IsNotReported) {
    {
        const UndoScope scope(m_scene, "", "");
        {
            const DeferredNotifications muted(DeferredNotifications::Kind::Muted);
            m_in->setReal(1);
        }
        m_in->setReal(0);
    }
    EXPECT_EQ(m_noted.take(), "");
}

TEST_P(BatchesTest, CancelledScope_IsNotReported) {
    {
        const UndoScope scope(m_scene, "", "");
        m_in->setReal(1);
        m_scene.removeNode(m_b);
        scope.cancel();
    }
    EXPECT_EQ(m_noted.take(), "");
}

TEST_P(BatchesTest, MovedElement_IsReportedUnlessItIsBackAtItsPlace) {
    interfaces::IInput* const array = m_a->createArray("list", AttrType::Real);
    for (int i = 0; i < 3; ++i)
        array->appendElement();
    m_noted.take();
    const auto moveTwice = [&](u64 from, u64 to) {
        const UndoScope scope(m_scene, "", "");
        array->moveElement(0, 2);
        array->moveElement(from, to);
    };
    moveTwice(0, 1);
    EXPECT_EQ(m_noted.take(), "=a.list | ");
    moveTwice(2, 0);
    EXPECT_EQ(m_noted.take(), "");
    {
        const UndoScope scope(m_scene, "", "");
        array->moveElement(2, 0);
        scope.cancel();
    }
    EXPECT_EQ(m_noted.take(), "");
}

TEST_P(BatchesTest, ElementMovedAfterOthersCame_IsReported) {
    interfaces::IInput* const array = m_a->createArray("list", AttrType::Real);
    m_noted.take();
    {
        const UndoScope scope(m_scene, "", "");
        array->appendElement();
        array->appendElement();
        array->moveElement(0, 1);
    }
    EXPECT_EQ(m_noted.take(), "+a.list[1] +a.list[0] =a.list | ");
}

TEST_P(BatchesTest, ElementMovedBackWhileAnotherWent_IsReportedIfTheRestIsReordered) {
    const auto change = [&](const char* name, u64 from, u64 to) {
        interfaces::IInput* const array = m_a->createArray(name, AttrType::Real);
        for (int i = 0; i < 4; ++i)
            array->appendElement();
        m_noted.take();
        const UndoScope scope(m_scene, "", "");
        array->moveElement(0, 2);
        array->removeInput(u64(1));
        array->moveElement(from, to);
    };
    change("other", 2, 0);
    EXPECT_EQ(m_noted.take(), "- =a.other | ");
    change("same", 1, 0);
    EXPECT_EQ(m_noted.take(), "- | ");
}

TEST(BatchNotifier, ElementMovedAndListChangedInACancelledScope_AreNotReported) {
    const kelvo_sdk::Scene scene = kelvo_sdk::Scene::create();
    scene.setUndoEnabled(true);
    interfaces::IInput* const array =
        scene.createNode("t", "a")->createArray("list", AttrType::Real);
    for (int i = 0; i < 4; ++i)
        array->appendElement();
    Noted noted;
    scene.subscribe(&noted);
    {
        const UndoScope edit(scene, "", "");
        array->removeInput(u64(1));
        array->appendElement();
        array->moveElement(3, 0);
        array->moveElement(0, 2);
        edit.cancel();
    }
    EXPECT_EQ(noted.take(), "");
    scene.unsubscribe(&noted);
}

TEST_P(BatchesTest, NodesMovedBackInReverseOrder_AreNotReported) {
    const kelvo_sdk::Node c = m_scene.createNode("t", "c");
    m_noted.take();
    {
        const UndoScope scope(m_scene, "", "");
        m_scene.moveNode(m_a, 2);
        m_scene.createNode("t", "d");
        m_scene.moveNode(c, 0);
        m_scene.moveNode(c, 1);
        m_scene.moveNode(m_a, 0);
    }
    EXPECT_EQ(m_noted.take(), "+d | ");
}

TEST_P(BatchesTest, MovedNode_IsReportedThoughItsIndexIsTheSame) {
    m_scene.createNode("t", "c");
    m_scene.createNode("t", "d");
    m_noted.take();
    {
        const UndoScope scope(m_scene, "", "");
        m_scene.moveNode(m_b, 2);
        m_scene.removeNode(m_a);
    }
    EXPECT_EQ(m_noted.take(), "-a ^b | ");
}

TEST_P(BatchesTest, NodeMovedBackToAnIndexWhereAnotherWent_IsReported) {
    const kelvo_sdk::Node c = m_scene.createNode("t", "c");
    m_noted.take();
    {
        const UndoScope scope(m_scene, "", "");
        m_scene.moveNode(m_b, 2);
        m_scene.removeNode(m_a);
        m_scene.moveNode(m_b, 0);
        m_scene.moveNode(m_b, 1);
    }
    EXPECT_EQ(m_noted.take(), "-a ^b | ");
}

TEST(BatchNotifier, NodesMovedAndRemovedInACancelledScope_AreNotReported) {
    const kelvo_sdk::Scene scene = kelvo_sdk::Scene::create();
    scene.setUndoEnabled(true);
    kelvo_sdk::Node nodes[4];
    for (auto& node : nodes)
        node = scene.createNode("t", "n");
    Noted noted;
    scene.subscribe(&noted);
    {
        const UndoScope outer(scene, "", "");
        scene.moveNode(nodes[3], 0);
        const UndoScope edit(scene, "", "");
        scene.moveNode(nodes[0], 3);
        scene.createNode("t", "new");
        scene.moveNode(nodes[3], 4);
        scene.removeNode(nodes[1]);
        scene.moveNode(nodes[2], 0);
        edit.cancel();
    }
    EXPECT_EQ(noted.take(), "^n3 | ");
    scene.unsubscribe(&noted);
}

std::vector<const INode*> nodesOf(const kelvo_sdk::Scene& scene) {
    std::vector<const INode*> nodes;
    for (u64 i = 0; i < scene.nodeCount(); ++i)
        nodes.push_back(scene->node(i));
    return nodes;
}

void editAtRandom(const kelvo_sdk::Scene& scene, std::mt19937& random) {
    const kelvo_sdk::Scene::UndoScope scope(scene, "", "");
    for (u32 i = random() % 4; i > 0; --i) {
        const u64 count = scene.nodeCount();
        const u32 kind = random() % 4;
        if (count < 4 || (kind == 0 && count < 12))
            scene.createNode("t", "n");
        else if (kind == 1)
            scene.removeNode(scene.node(random() % count));
        else
            scene.moveNode(scene.node(random() % count), random() % count);
    }
    if (random() % 2 == 0) scope.cancel();
}

TEST(BatchNotifier, NodesThatAreNotReported_KeepTheirOrder) {
    struct Mirror : BatchObserver {
        void sceneChanged(const interfaces::SceneChanges& changes) override {
            for (const auto* gone : {&changes.removedNodes, &changes.movedNodes})
                for (const INode* node : *gone)
                    std::erase(kept, node);
        }
        std::vector<const INode*> kept;
    } mirror;
    const kelvo_sdk::Scene scene = kelvo_sdk::Scene::create();
    scene.setUndoEnabled(true);
    scene.subscribe(&mirror);
    std::mt19937 random(7);
    for (int edit = 0; edit < 1000; ++edit) {
        mirror.kept = nodesOf(scene);
        {
            const UndoScope scope(scene, "", "");
            for (int i = 0; i < 4; ++i)
                editAtRandom(scene, random);
        }
        std::vector<const INode*> now = nodesOf(scene);
        std::erase_if(now, [&](const INode* node) {
            return std::ranges::find(mirror.kept, node) == mirror.kept.end();
        });
        ASSERT_EQ(now, mirror.kept);
    }
    scene.unsubscribe(&mirror);
}

TEST_P(BatchesTest, RemovedThings_CanBeRead) {
    {
        const UndoScope scope(m_scene, "", "");
        m_a->removeInput("in");
        m_b->removeOutput("out");
        m_scene.removeNode(std::exchange(m_b, {}));
    }
    EXPECT_EQ(m_noted.take(), "-b -in | ");
}

TEST_P(BatchesTest, EditsFromInside_AreReportedNext) {
    m_noted.then = [&] {
        m_noted.then = nullptr;
        m_in->setReal(5);
    };
    m_scene.createNode("t", "c");
    EXPECT_EQ(m_noted.take(), "+c | =a.in | ");
}

TEST_P(BatchesTest, ObserverThatThrows_IsLogged) {
    m_noted.then = [] { throw std::runtime_error("no"); };
    const tests::LogCapture log;
    {
        const UndoScope scope(m_scene, "", "");
        m_in->setReal(1);
    }
    EXPECT_EQ(log.text(), "error: An observer threw when it was told of an edit: no.\n");
}

TEST_P(BatchesTest, ObserverThatUnsubscribed_IsNotNotified) {
    const UndoScope scope(m_scene, "", "");
    m_in->setReal(1);
    EXPECT_TRUE(m_scene.unsubscribe(&m_noted));
    EXPECT_FALSE(m_scene.unsubscribe(&m_noted));
    EXPECT_TRUE(m_scene.subscribe(&m_noted));
    EXPECT_FALSE(m_scene.subscribe(&m_noted));
}

TEST(BatchNotifier, UndoAndRedo_AreReportedOnce) {
    const auto scene = kelvo_sdk::Scene::create();
    scene.setUndoEnabled(true);
    Noted noted;
    {
        const UndoScope scope(scene, "", "");
        scene.createNode("t", "a")->createInput("in", AttrType::Real);
        scene.createNode("t", "b");
    }
    scene.subscribe(&noted);
    scene.undo();
    EXPECT_EQ(noted.take(), "-b -a | ");
    scene.redo();
    EXPECT_EQ(noted.take(), "+a +b | ");
    scene.unsubscribe(&noted);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
