// Undoes and redoes every kind of edit: text and hashes are those before and after, and the objects
// are the same.

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

namespace qv::kelvo_sdk::impl {
namespace {

using UndoScope = kelvo_sdk::Scene::UndoScope;

const char* const kText = R"(kelvo scene 1

# A room.
node xform "room" {
    # Its contents.
    Array<Node> children = [desk, lamp]
    Real size = 4
}
node desk "desk" {
    Real height = 0.7 <- wood.grain
    # Where it came from.
    Object origin {
        String maker = "Doe"  # a joiner
        Array<Int> years = [1, 2, 3]
        Node of = wood
    }
    Array<Real> legs = [1, 2 <- wood.grain, 3]
    output Real area  # in m2
    output Real weight
}
node lamp "lamp" {
    Real power = 1 <- desk.area
    Real spare = 2 <- desk.area
    Node on = desk
}
# Oak.
node wood "wood" {
    String kind = "oak"
    output Real grain
}
)";

class UndoTest : public testing::Test {
protected:
    UndoTest() {
        Diagnostics found;
        EXPECT_TRUE(m_scene.read(kText, "room.kns", &found));
        m_scene.setUndoEnabled(true);
    }

    Node& node(const char* name) { return static_cast<Node&>(*m_scene.findNode(name).get()); }
    interfaces::IInput& input(const char* path) {
        const auto dot = std::string(path).find('.');
        return *node(std::string(path).substr(0, dot).c_str())
                    .findInput(String(std::string(path).substr(dot + 1).c_str()));
    }
    std::string state() {
        std::string told = m_scene.text().buf();
        for (u64 i = 0; i < m_scene.nodeCount(); ++i) {
            const auto& each = static_cast<const Node&>(*m_scene.node(i).get());
            told += std::to_string(each.hash(StringVector())) + " ";
            for (u64 k = 0; k < each.outputCount(); ++k)
                for (u64 t = 0; t < each.output(k)->targetCount(); ++t)
                    told += std::string(each.output(k)->target(t)->path().buf()) + " ";
        }
        return told;
    }
    // Makes the edit, and undoes and redoes it twice.
    void check(const std::function<void()>& edit) {
        const std::string before = state();
        edit();
        const std::string after = state();
        EXPECT_NE(before, after);
        EXPECT_EQ(m_scene.undoCount(), 1u);
        for (int round = 0; round < 2; ++round) {
            EXPECT_TRUE(m_scene.undo());
            EXPECT_EQ(state(), before);
            EXPECT_TRUE(m_scene.redo());
            EXPECT_EQ(state(), after);
        }
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
};

struct Edit {
    const char* name;
    std::function<void(kelvo_sdk::Scene&)> run;
};

class UndoOf : public UndoTest, public testing::WithParamInterface<Edit> {};

TEST_P(UndoOf, TextAndHashes_ComeBack) {
    check([&] { GetParam().run(m_scene); });
}

Node& at(const kelvo_sdk::Scene& scene, const char* name) {
    return static_cast<Node&>(*scene.findNode(name).get());
}
interfaces::IInput& in(const kelvo_sdk::Scene& scene, const char* name, const char* path) {
    return *at(scene, name).findInput(String(path));
}

const Edit kEdits[] = {
    {"Value", [](auto& s) { in(s, "room", "size").setReal(5); }},
    {"Text", [](auto& s) { in(s, "wood", "kind").setString("ash"); }},
    {"Member", [](auto& s) { in(s, "desk", "origin.maker").setString("Roe"); }},
    {"Element", [](auto& s) { in(s, "desk", "origin.years[1]").setInt(9); }},
    {"Reset", [](auto& s) { in(s, "room", "size").reset(); }},
    {"ResetOfAnObject", [](auto& s) { in(s, "desk", "origin").reset(); }},
    {"Link", [](auto& s) { in(s, "lamp", "on").setNode(s.findNode("room").get()); }},
    {"LinkCleared", [](auto& s) { in(s, "lamp", "on").setNode(nullptr); }},
    {"Connection",
     [](auto& s) { in(s, "room", "size").connect(at(s, "wood").output(String("grain"))); }},
    {"ConnectionReplaced",
     [](auto& s) { in(s, "lamp", "power").connect(at(s, "wood").output(String("grain"))); }},
    {"Disconnection", [](auto& s) { in(s, "lamp", "power").disconnect(); }},
    {"InputAdded", [](auto& s) { at(s, "lamp").createInput("tint", AttrType::Rgba); }},
    {"InputRemoved", [](auto& s) { at(s, "desk").removeInput("height"); }},
    {"ObjectRemoved", [](auto& s) { at(s, "desk").removeInput("origin"); }},
    {"ArrayRemoved", [](auto& s) { at(s, "desk").removeInput("legs"); }},
    {"LinkRemoved", [](auto& s) { at(s, "lamp").removeInput("on"); }},
    {"MemberAdded", [](auto& s) { in(s, "desk", "origin").createInput("land", AttrType::String); }},
    {"MemberRemoved", [](auto& s) { in(s, "desk", "origin").removeInput("maker"); }},
    {"LinkMemberRemoved", [](auto& s) { in(s, "desk", "origin").removeInput("of"); }},
    {"InputsCleared", [](auto& s) { in(s, "desk", "origin").clearInputs(); }},
    {"ElementAdded", [](auto& s) { in(s, "desk", "legs").appendElement(); }},
    {"ElementInserted", [](auto& s) { in(s, "desk", "legs").insertElement(1); }},
    {"ElementRemoved", [](auto& s) { in(s, "desk", "legs").removeInput(1); }},
    {"ElementMoved", [](auto& s) { in(s, "desk", "legs").moveElement(0, 2); }},
    {"ChildRemoved", [](auto& s) { in(s, "room", "children").removeInput(0); }},
    {"ChildMoved", [](auto& s) { in(s, "room", "children").moveElement(1, 0); }},
    {"OutputAdded", [](auto& s) { at(s, "lamp").createOutput("light", AttrType::Real); }},
    {"OutputRemoved", [](auto& s) { at(s, "desk").removeOutput("area"); }},
    {"NodeAdded", [](auto& s) { s.createNode("thing", "thing"); }},
    {"NodeRemoved", [](auto& s) { s.removeNode(s.findNode("desk")); }},
    {"SourceNodeRemoved", [](auto& s) { s.removeNode(s.findNode("wood")); }},
    {"FirstNodeRemoved", [](auto& s) { s.removeNode(s.findNode("room")); }},
    {"NodeRenamed", [](auto& s) { s.renameNode(s.findNode("desk"), "table"); }},
    {"NameInAnotherCase", [](auto& s) { s.renameNode(s.findNode("desk"), "Desk"); }},
    {"NodeMoved", [](auto& s) { s.moveNode(s.findNode("wood"), 0); }},
    {"NodeMovedBack", [](auto& s) { s.moveNode(s.findNode("room"), 2); }},
    {"NodeConverted", [](auto& s) { s.findNode("desk").convertTo("table"); }},
    {"NodeCopied", [](auto& s) { s.findNode("desk")->clone(false); }},
    {"NodesCopied", [](auto& s) { s.findNode("lamp")->clone(true); }},
    {"TextRead",
     [](auto& s) {
         s.read("# More.\nnode a \"a\" {\n    Node b = desk\n    Real c <- desk.area\n}\n",
                "more.kns");
     }},
    {"ValueOutsideItsNotes",
     [](auto& s) {
         const UndoScope scope(s, "", "");
         static_cast<Input&>(in(s, "room", "size")).setValue(Value(7.0));
     }},
    {"Everything",
     [](auto& s) {
         const UndoScope scope(s, "", "");
         while (s.nodeCount() != 0)
             s.removeNode(s.node(s.nodeCount() / 2));
     }},
    {"Mixture",
     [](auto& s) {
         const UndoScope scope(s, "", "");
         s.removeNode(s.findNode("desk"));
         auto desk = s.createNode("desk", "desk");
         desk->createInput("height", AttrType::Real)
             ->connect(at(s, "wood").output(String("grain")));
         in(s, "lamp", "on").setNode(desk.get());
         s.renameNode(desk, "table");
         at(s, "lamp").removeInput("on");
         at(s, "wood").removeOutput("grain");
     }},
};
INSTANTIATE_TEST_SUITE_P(Edits, UndoOf, testing::ValuesIn(kEdits),
                         [](const auto& edit) { return std::string(edit.param.name); });

TEST_F(UndoTest, Clear_IsOneStepAndAllComeBack) {
    check([&] { m_scene->clear(); });
}

TEST_F(UndoTest, Children_AreParentedInOneStep) {
    check([&] { node("wood").parentTo(&node("room")); });
}

TEST_F(UndoTest, Children_AreUnparentedInOneStep) {
    check([&] { node("lamp").unparentFrom(&node("room")); });
}

TEST_F(UndoTest, Objects_AreTheSame) {
    const kelvo_sdk::Node desk = m_scene.findNode("desk");
    const kelvo_sdk::Input maker(&input("desk.origin.maker"));
    node("desk").removeInput("origin");
    m_scene.removeNode(desk);
    m_scene.undo();
    m_scene.undo();
    EXPECT_EQ(m_scene.findNode("desk").get(), desk.get());
    EXPECT_EQ(&input("desk.origin.maker"), maker.get());
    EXPECT_EQ(maker->node(), desk.get());
    EXPECT_EQ(maker->path(), "desk.origin.maker");
}

TEST_F(UndoTest, ManyInputs_AreFoundByNameAfterwards) {
    Node& wood = node("wood");
    for (int i = 0; i < 40; ++i)
        wood.createInput(String::format("i%d", i), AttrType::Int);
    wood.removeInput(u64(0));
    wood.removeInput(u64(20));
    m_scene.undo();
    m_scene.undo();
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(wood.input(String::format("i%d", i)), wood.input(static_cast<u64>(i) + 1));
}

TEST_F(UndoTest, Stash_DoneAgain_KeepsTheValue) {
    auto& spare = static_cast<Input&>(input("lamp.spare"));
    spare.setReal(3);
    spare.stash();
    EXPECT_TRUE(m_scene.undo());
    EXPECT_EQ(spare.stashed(), nullptr);
    EXPECT_TRUE(m_scene.redo());
    ASSERT_NE(spare.stashed(), nullptr);
    EXPECT_EQ(*spare.stashed(), Value(3.0));
}

TEST_F(UndoTest, Unstash_TakenBack_KeepsTheValueAside) {
    auto& spare = static_cast<Input&>(input("lamp.spare"));
    spare.setReal(3);
    spare.stash();
    spare.setReal(4);
    EXPECT_TRUE(spare.unstash());
    EXPECT_EQ(spare.stashed(), nullptr);
    while (!spare.stashed() && m_scene.undo()) {
    }
    ASSERT_NE(spare.stashed(), nullptr);
    EXPECT_EQ(*spare.stashed(), Value(3.0));
}

// Records the notifications of one node.
struct Heard : NodeObserver {
    void nodeRemoved() override { told += "removed "; }
    void nodeConverted(kelvo_sdk::Node) override {}
    void nodeRenamed(String name) override { told += std::string("renamed=") + name.buf() + " "; }
    void inputChanged(kelvo_sdk::Input) override {
        told += "changed ";
        if (then) then();
    }
    void inputConnected(kelvo_sdk::Input) override { told += "connected "; }
    std::string told;
    std::function<void()> then;
};

TEST_F(UndoTest, Observers_AreNotifiedOfItAsOfTheEdit) {
    Heard heard;
    node("lamp").subscribe(&heard);
    input("lamp.spare").setReal(3);
    input("lamp.power").disconnect();
    m_scene.renameNode(m_scene.findNode("lamp"), "light");
    heard.told.clear();
    for (int i = 0; i < 3; ++i)
        m_scene.undo();
    EXPECT_EQ(heard.told, "renamed=lamp connected changed ");
    node("lamp").unsubscribe(&heard);
}

TEST_F(UndoTest, AdditionTakenBack_IsReportedAsARemoval) {
    struct Removals : SceneObserver {
        void inputRemoved(const IInput* input) override { names += input->name(); }
        String names;
    } removals;
    m_scene["lamp"].createInput("in", AttrType::Real);
    m_scene.subscribe(&removals);
    m_scene.undo();
    m_scene.unsubscribe(&removals);
    EXPECT_EQ(removals.names, "in");
}

TEST_F(UndoTest, ObserverThatEdits_IsPartOfTheStep) {
    Heard heard;
    heard.then = [&] {
        double spare = 0;
        input("lamp.spare").readReal(spare, false, nullptr);
        input("room.size").setReal(2 * spare);
    };
    node("lamp").subscribe(&heard);
    check([&] { input("lamp.spare").setReal(3); });
    node("lamp").unsubscribe(&heard);
}

// The edits of an observer during undo are undone by the next redo.
TEST_F(UndoTest, ObserverThatEditsMeanwhile_IsTakenBackByTheNextTurn) {
    input("lamp.spare").setReal(3);
    const std::string after = state();
    Heard heard;
    heard.then = [&] { m_scene.createNode("note", "note"); };
    node("lamp").subscribe(&heard);
    m_scene.undo();
    EXPECT_TRUE(m_scene.findNode("note"));
    heard.then = nullptr;
    EXPECT_EQ(m_scene.undoCount(), 0u);
    m_scene.redo();
    EXPECT_EQ(state(), after);
    node("lamp").unsubscribe(&heard);
}

TEST_F(UndoTest, UndoFromInsideAChange_IsRefused) {
    Heard heard;
    bool done = true;
    heard.then = [&] { done = m_scene.undo() || m_scene.redo(); };
    node("lamp").subscribe(&heard);
    input("room.size").setReal(1);
    const tests::LogCapture log;
    input("lamp.spare").setReal(3);
    EXPECT_FALSE(done);
    done = true;
    m_scene.undo();
    EXPECT_FALSE(done);
    EXPECT_EQ(log.text(), "error: Cannot undo while a change is under way.\n"
                          "error: Cannot redo while a change is under way.\n"
                          "error: Cannot undo while a step is undone or redone.\n"
                          "error: Cannot redo while a step is undone or redone.\n");
    node("lamp").unsubscribe(&heard);
}

TEST_F(UndoTest, ObserverThatThrows_LeavesTheStepWhole) {
    const std::string before = state();
    {
        const UndoScope scope(m_scene, "", "");
        input("lamp.spare").setReal(3);
        input("room.size").setReal(3);
    }
    const std::string after = state();
    Heard heard;
    heard.then = [] { throw std::runtime_error("no"); };
    node("room").subscribe(&heard);
    EXPECT_THROW(m_scene.undo(), std::runtime_error);
    EXPECT_EQ(state(), before);
    EXPECT_THROW(m_scene.redo(), std::runtime_error);
    EXPECT_EQ(state(), after);
    EXPECT_EQ(m_scene.undoCount(), 1u);
    node("room").unsubscribe(&heard);
}

TEST_F(UndoTest, ScopeCancelledFromInsideAChange_WaitsForItsEnd) {
    const std::string before = state();
    Heard heard;
    node("lamp").subscribe(&heard);
    {
        const UndoScope scope(m_scene, "", "");
        input("room.size").setReal(3);
        bool isCancelled = false;
        heard.then = [&] {
            if (std::exchange(isCancelled, true)) return;
            scope.cancel();
            EXPECT_NE(state(), before);
        };
        input("lamp.spare").setReal(3);
        heard.then = nullptr;
        EXPECT_EQ(state(), before);
    }
    EXPECT_EQ(m_scene.undoCount(), 0u);
    node("lamp").unsubscribe(&heard);
}

// Removes its node during the notification of the node's removal.
struct Eager : NodeObserver {
    void nodeRemoved() override { scene->removeNode(node); }
    void nodeRenamed(String) override {}
    void nodeConverted(kelvo_sdk::Node) override {}
    void inputChanged(kelvo_sdk::Input) override {}
    void inputConnected(kelvo_sdk::Input) override {}
    kelvo_sdk::Scene scene;
    INode* node = nullptr;
};

TEST_F(UndoTest, RemovalFromInsideItsOwnNotification_IsOneStep) {
    Eager eager;
    eager.scene = m_scene;
    eager.node = &node("desk");
    node("desk").subscribe(&eager);
    check([&] { m_scene.removeNode(m_scene.findNode("desk")); });
    node("wood").unsubscribe(&eager);
    static_cast<Node*>(eager.node)->unsubscribe(&eager);
}

TEST_F(UndoTest, NodeThatIsOut_KeepsNothingInTheSceneAlive) {
    const kelvo_sdk::Node desk = m_scene.findNode("desk");
    m_scene.removeNode(desk);
    m_scene.setUndoEnabled(false);
    m_scene = kelvo_sdk::Scene();
    EXPECT_EQ(desk->scene(), nullptr);
    EXPECT_EQ(desk->inputCount(), 3u);
}

TEST_F(UndoTest, RemovedInputWithALinkKeptAside_ComesBackWithIt) {
    auto& link = static_cast<Input&>(*node("room").createInput("link", AttrType::Node));
    link.setNode(&node("desk"));
    link.stash();
    link.setNode(nullptr);
    EXPECT_TRUE(node("room").removeInput("link"));
    EXPECT_TRUE(m_scene.undo());
    ASSERT_NE(link.stashed(), nullptr);
    EXPECT_EQ(link.stashed()->asNode(), &node("desk"));
}

TEST_F(UndoTest, MembersConnectedAheadOfOthers_ComeBackInTheirPlaces) {
    interfaces::IOutput* out = node("wood").createOutput("fresh", AttrType::Real);
    interfaces::IInput* object = node("room").createInput("held", AttrType::Object);
    for (const char* name : {"a", "b"})
        object->createInput(name, AttrType::Real)->connect(out);
    node("room").createInput("later", AttrType::Real)->connect(out);
    const std::string before = state();
    EXPECT_TRUE(node("room").removeInput("held"));
    EXPECT_TRUE(m_scene.undo());
    EXPECT_EQ(state(), before);
}

TEST_F(UndoTest, MemberWhoseObjectIsGone_StaysOut) {
    Node& wood = node("wood");
    const kelvo_sdk::Node held(&wood);
    const kelvo_sdk::Input object(wood.createInput("object", AttrType::Object));
    const kelvo_sdk::Input member(object->createInput("m", AttrType::Int));
    EXPECT_TRUE(object->removeInput(String("m")));
    m_scene.removeNode(held);
    // The node is out of the scene, so no record is made.
    EXPECT_TRUE(wood.removeInput("object"));
    EXPECT_TRUE(m_scene.undo());
    EXPECT_TRUE(m_scene.undo());
    EXPECT_EQ(member->node(), nullptr);
    EXPECT_EQ(object.inputCount(), 0u);
}

TEST_F(UndoTest, MoveOfAnElementThatIsGone_IsPassedOver) {
    Node& wood = node("wood");
    const kelvo_sdk::Node held(&wood);
    interfaces::IInput* numbers = wood.createArray("numbers", AttrType::Int);
    for (int i = 0; i < 3; ++i)
        numbers->appendElement()->setInt(i);
    EXPECT_TRUE(numbers->moveElement(0, 2));
    m_scene.removeNode(held);
    // The node is out of the scene, so no record is made.
    EXPECT_TRUE(numbers->removeInput(u64(2)));
    EXPECT_TRUE(m_scene.undo());
    EXPECT_TRUE(m_scene.undo());
    EXPECT_EQ(numbers->inputCount(), 2u);
    EXPECT_EQ(static_cast<const Input*>(numbers->input(u64(0)))->value(), Value(1));
}

TEST_F(UndoTest, RemovedLink_DoesNotDangle) {
    const kelvo_sdk::Input on(&input("lamp.on"));
    node("lamp").removeInput("on");
    m_scene.setUndoEnabled(false);
    m_scene.removeNode(m_scene.findNode("desk"));
    INode* linked = nullptr;
    on->readNode(linked, false, nullptr);
    EXPECT_EQ(linked, nullptr);
}

TEST_F(UndoTest, FreeNodeTakenIn_LeavesWithoutReferences) {
    const auto free = RefersTo<Node>::adopt(new Node(nullptr, "thing", "free"));
    free->createInput("a", AttrType::Real)->connect(node("desk").output(String("area")));
    const auto impl = static_cast<Scene*>(m_scene.get());
    impl->addNode(free.get());
    const std::string after = state();
    m_scene.undo();
    EXPECT_EQ(node("desk").output(String("area"))->targetCount(), 2u);
    m_scene.redo();
    EXPECT_EQ(state(), after);
}

TEST_F(UndoTest, ReadingThatFails_LeavesNoStep) {
    Diagnostics found;
    EXPECT_FALSE(m_scene.read("node a \"a\" {\n", "a.kns", &found));
    EXPECT_EQ(m_scene.undoCount(), 0u);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
