#include "kelvo/sdk/impl/graph/node.h"

#include "tests/support/walked_scene.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::faultsOf;
using tests::fillRows;
using NodeRows = tests::WalkedScene;

// ---- Changes -------------------------------------------------------------------------------

TEST_F(NodeRows, ValueThatIsNoLink_LeavesAllRowsKnown) {
    m_lamp->createInput("size", AttrType::Real);
    fillRows(m_scene);
    m_lamp->findInput("size")->setReal(3);
    for (const LeadKind kind : CompactGraph::allKinds)
        EXPECT_TRUE(isKnown(m_lamp, kind));
}

TEST_F(NodeRows, Change_DropsTheRowsThatItIsAboutAlone) {
    fillRows(m_scene);
    m_power->disconnect();
    EXPECT_FALSE(isKnown(m_lamp, LeadKind::Dependencies));
    EXPECT_FALSE(isKnown(m_desk, LeadKind::Readers));
    EXPECT_TRUE(isKnown(m_desk, LeadKind::Dependencies));
    EXPECT_TRUE(isKnown(m_room, LeadKind::Children));
    EXPECT_EQ(leads(m_lamp, LeadKind::Dependencies), "room ");
}

TEST_F(NodeRows, AnyChange_LeavesNothingWrongBehind) {
    m_scene.setUndoEnabled(true);
    const std::pair<const char*, std::function<void()>> changes[] = {
        {"link", [&] { m_home->setNode(m_desk.get()); }},
        {"no link", [&] { m_home->setNode(nullptr); }},
        {"disconnected", [&] { m_power->disconnect(); }},
        {"connected", [&] { m_power->connect(m_desk->output(u64(0))); }},
        {"linked input added",
         [&] {
             AttrData data(AttrType::Node);
             data.value = Value(m_desk.get());
             implOf(m_lamp.get())->createInput("linked", data);
         }},
        {"element moved", [&] { children()->moveElement(0, 1); }},
        {"element added", [&] { children()->insertElement(0)->setNode(m_room.get()); }},
        {"element removed", [&] { children()->removeInput(1); }},
        {"list cleared", [&] { children()->clearInputs(); }},
        {"input removed", [&] { m_lamp.get()->removeInput(u64(1)); }},
        {"output removed", [&] { m_desk.get()->removeOutput(u64(0)); }},
        {"input renamed", [&] { kelvo_sdk::Input(children()).rename("kids"); }},
        {"node renamed", [&] { m_scene.renameNode(m_lamp, "sun"); }},
        {"node moved", [&] { m_scene->moveNode(m_desk.get(), 0); }},
        {"node converted", [&] { m_lamp->convertTo("xform"); }},
        {"node removed", [&] { m_scene.removeNode(m_desk); }},
        {"node cloned", [&] { m_room.get()->clone(true); }},
        {"cleared", [&] { m_scene->clear(); }}};
    for (const auto& [name, change] : changes) {
        for (const auto& act : {change, std::function<void()>([&] { m_scene.undo(); }),
                                std::function<void()>([&] { m_scene.redo(); }),
                                std::function<void()>([&] { m_scene.undo(); })}) {
            fillRows(m_scene);
            act();
            EXPECT_EQ(faultsOf(m_scene), "") << name;
        }
    }
}

TEST_F(NodeRows, AdditionTakenBack_EndsAConnectionMadeWhileTheNodesWereOut) {
    m_scene.setUndoEnabled(true);
    const kelvo_sdk::Input added(m_room->createInput("added", AttrType::Real));
    {
        const kelvo_sdk::Scene::UndoScope scope(m_scene, "", "");
        m_scene.removeNode(m_room);
        m_scene.removeNode(m_desk);
    }
    ASSERT_TRUE(added->connect(m_desk->output(u64(0))));
    ASSERT_TRUE(m_scene.undo());
    EXPECT_NE(leads(m_desk, LeadKind::Readers).find("room! "), std::string::npos);
    ASSERT_TRUE(m_scene.undo());
    EXPECT_EQ(leads(m_desk, LeadKind::Readers).find("room! "), std::string::npos);
}

TEST_F(NodeRows, OutputTakenBack_EndsAConnectionMadeWhileTheNodesWereOut) {
    m_scene.setUndoEnabled(true);
    const kelvo_sdk::Input size(m_room->createInput("size", AttrType::Real));
    const kelvo_sdk::Output added(m_desk->createOutput("added", AttrType::Real));
    {
        const kelvo_sdk::Scene::UndoScope scope(m_scene, "", "");
        m_scene.removeNode(m_room);
        m_scene.removeNode(m_desk);
    }
    ASSERT_TRUE(size.connect(added));
    ASSERT_TRUE(m_scene.undo());
    EXPECT_NE(leads(m_room, LeadKind::Dependencies).find("desk! "), std::string::npos);
    ASSERT_TRUE(m_scene.undo());
    EXPECT_EQ(leads(m_room, LeadKind::Dependencies).find("desk! "), std::string::npos);
}

TEST_F(NodeRows, NewInputWithALink_IsADependency) {
    fillRows(m_scene);
    implOf(m_desk.get())->createInput("home", AttrData::withDefault(Value(m_room.get())));
    EXPECT_EQ(leads(m_desk, LeadKind::Dependencies), "room ");
    EXPECT_EQ(faultsOf(m_scene), "");
}

TEST_F(NodeRows, ChangedSurroundings_DropTheRowsOfTheNodeAndItsNeighbours) {
    fillRows(m_scene);
    surroundingsChanged(*implOf(m_desk.get()));
    for (const LeadKind kind : CompactGraph::allKinds)
        EXPECT_FALSE(isKnown(m_desk, kind));
    EXPECT_FALSE(isKnown(m_lamp, LeadKind::Dependencies));
    EXPECT_FALSE(isKnown(m_room, LeadKind::Children));
    EXPECT_TRUE(isKnown(m_room, LeadKind::Readers));
}

// Calls a function of the test when an output is removed.
struct OutputObserver : SceneObserver {
    void outputRemoved(const IOutput* /*output*/) override { then(); }
    std::function<void()> then;
};

TEST_F(NodeRows, OutputThatIsBeingRemoved_HasNoReaders) {
    OutputObserver observer;
    std::string readers;
    observer.then = [&] { readers = leads(m_desk, LeadKind::Readers); };
    m_scene.subscribe(&observer);
    fillRows(m_scene);
    EXPECT_TRUE(m_desk->removeOutput(u64(0)));
    EXPECT_EQ(readers, "room ");
    EXPECT_EQ(faultsOf(m_scene), "");
    m_scene.unsubscribe(&observer);
}

TEST_F(NodeRows, ReadersOfAnOutputThatIsBeingRemoved_AreDirty) {
    OutputObserver observer;
    bool isDirty = false;
    observer.then = [&] { isDirty = m_lamp.dirty(); };
    m_scene.setDirtyStateCached(true);
    for (const kelvo_sdk::Node& node : {m_room, m_lamp, m_desk})
        node->setDirty(false);
    EXPECT_FALSE(m_lamp.dirty());
    m_scene.subscribe(&observer);
    EXPECT_TRUE(m_desk->removeOutput(u64(0)));
    EXPECT_TRUE(isDirty);
    m_scene.unsubscribe(&observer);
}

TEST_F(NodeRows, BasesThatMakeATransform_GiveItChildren) {
    m_lamp.get()->createArray("children", AttrType::Node)->appendElement()->setNode(m_desk.get());
    EXPECT_EQ(leads(m_lamp, LeadKind::Children), "");
    implOf(m_lamp.get())->setBases({"xform"}, false, false);
    EXPECT_EQ(leads(m_lamp, LeadKind::Children), "desk ");
}

// ---- Numbers -------------------------------------------------------------------------------

TEST_F(NodeRows, Number_StaysThroughRenamingRemovalAndUndo) {
    m_scene.setUndoEnabled(true);
    const NodeNumber number = implOn(m_desk).number();
    m_scene.renameNode(m_desk, "table");
    m_scene.removeNode(m_desk);
    const kelvo_sdk::Node other = m_scene.createNode("mesh", "other");
    EXPECT_NE(implOn(other).number(), number);
    while (m_scene.undo()) {
    }
    EXPECT_EQ(implOn(m_desk).number(), number);
    EXPECT_EQ(sceneAround(implOn(m_desk))->graph().node(number), m_desk.get());
}

TEST_F(NodeRows, Number_IsGivenAwayWhenNobodyCanBringTheNodeBack) {
    const NodeNumber number = implOn(m_desk).number();
    m_scene.removeNode(m_desk);
    EXPECT_EQ(sceneAround(implOn(m_desk)), nullptr);
    const kelvo_sdk::Node other = m_scene.createNode("mesh", "other");
    EXPECT_EQ(implOn(other).number(), number);
    EXPECT_EQ(leads(other, LeadKind::Readers), "");
}

TEST_F(NodeRows, ConvertedNode_KeepsTheNumber) {
    const NodeNumber number = implOn(m_lamp).number();
    const kelvo_sdk::Node converted(m_lamp->convertTo("xform"));
    EXPECT_EQ(implOn(converted).number(), number);
    EXPECT_EQ(sceneAround(implOn(m_lamp)), nullptr);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
