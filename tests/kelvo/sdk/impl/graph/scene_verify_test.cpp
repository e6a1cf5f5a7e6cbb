#include "kelvo/sdk/impl/graph/scene_verify.h"

#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/node_probe.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace qv::kelvo_sdk::impl {

struct LawBreaker {
    static NodeTable::ByName<NodeTable::Entry>& entries(NodeTable& table) { return table.m_byName; }
    static const Link& link(const Input& input) { return input.m_extras->link; }
    static Link& keptLink(const Input& input) { return input.m_extras->stash->link; }
    static void setNode(Input& input, Node* node) { input.m_node = node; }
    static void setParent(Input& input, Input* parent) { input.m_parent = parent; }
    static void setIndex(Input& input, u64 index) { input.m_number = index; }
    static void setNameHash(Input& input, u64 hash) { input.m_nameHash = hash; }
    static void setValue(Input& input, INode* node) { input.m_value = Value(node); }
    static void setSource(Input& input, Output* source) { input.extras().source = source; }
    static void setSourceSlot(Input& input, u64 slot) { input.extras().sourceSlot = slot; }
    static u64 addTarget(Output& output, Input& input) {
        return output.addTarget(&input, noIndex, {});
    }
    static void dropSlot(Output& output, u64 slot) { output.removeTarget(slot, {}); }
    static void dropTarget(Output& output, const Input& input) {
        output.removeTarget(input.m_extras->sourceSlot, {});
    }
    static void setNode(Output& output, Node* node) { output.m_node = node; }
    static ds::Vector<IInput*>& members(Input& input) { return input.extras().members; }
    static LinkTable& table(Scene& scene) { return scene.links(); }
    static void unlink(Input& input) { input.m_extras->link.table->remove(input.m_extras->link); }
    static void relink(Input& input, LinkTable& table, INode* target) {
        table.add(input.m_extras->link, target);
    }
};

namespace {

class SceneVerify : public testing::Test {
protected:
    SceneVerify() {
        m_children = input(*m_room.createArray("children", AttrType::Node));
        for (INode* child : {&m_lamp, &m_desk})
            m_children->appendElement()->setNode(child);
        m_color = input(*m_desk.createInput("color", AttrType::Rgba));
        m_output = static_cast<Output*>(m_lamp.createOutput("light", AttrType::Rgba));
        m_color->connect(m_output);
        m_target = input(*m_lamp.createInput("target", AttrType::Node));
        m_target->setNode(&m_desk);
        auto* shade = m_lamp.createInput("shade", AttrType::Object);
        m_tint = input(*shade->createInput("tint", AttrType::Rgba));
    }

    static Input* input(IInput& made) { return static_cast<Input*>(&made); }
    Node& node(const char* type, const char* name) {
        return static_cast<Node&>(*m_handle->createNode(type, name));
    }
    Input& child(u64 index) { return *input(*m_children->input(index)); }

    /// Returns all broken laws, "place message" line by line.
    [[nodiscard]] std::string errors() const {
        std::string text;
        for (const IntegrityError& error : m_handle.verify()) {
            if (!text.empty()) text += '\n';
            text += (error.place + " " + error.message).buf();
        }
        return text;
    }
    [[nodiscard]] std::string errorsWith(const NodeTable& nodes, const LinkTable& links) const {
        std::string text;
        for (const IntegrityError& error :
             SceneVerifier(m_scene, {nodes, links, m_scene.stashLinks()}).verify())
            text += (error.place + " " + error.message + "\n").buf();
        return text;
    }
    /// Expects errors while a law is broken, and none before and after.
    void expectBroken(const std::string& expected, const std::function<void()>& breakIt,
                      const std::function<void()>& mendIt) {
        EXPECT_EQ(errors(), "");
        breakIt();
        EXPECT_EQ(errors(), expected);
        mendIt();
        EXPECT_EQ(errors(), "");
    }

    kelvo_sdk::Scene m_handle = kelvo_sdk::Scene::create();
    Scene& m_scene = static_cast<Scene&>(*m_handle.get());
    Node& m_room = node("xform", "room");
    Node& m_lamp = node("light", "lamp");
    Node& m_desk = node("mesh", "desk");
    Node m_stranger{nullptr, "light", "stranger"};
    Input* m_children = nullptr;
    Input* m_color = nullptr;
    Input* m_target = nullptr;
    Input* m_tint = nullptr;
    Output* m_output = nullptr;
};

// ---- Sound scenes ----------------------------------------------------------------------------

TEST_F(SceneVerify, SoundScene_HasNoFaults) {
    EXPECT_EQ(errors(), "");
    EXPECT_TRUE(kelvo_sdk::Scene().verify().empty());
    EXPECT_TRUE(kelvo_sdk::Scene::create().verify().empty());
}

TEST_F(SceneVerify, EditsOfAllSorts_LeaveNoFaults) {
    m_scene.renameNode(&m_lamp, "Lantern");
    m_children->moveElement(0, 1);
    m_children->insertElement(1)->setNode(&m_room);
    EXPECT_EQ(errors(), "");
    m_scene.cloneNode(&m_desk, true);
    m_scene.convertNode(&m_desk, "table");
    EXPECT_EQ(errors(), "");
    m_lamp.removeOutput("light");
    m_lamp.removeInput("shade");
    EXPECT_EQ(errors(), "");
    m_scene.removeNode(&m_lamp);
    m_children->removeInput(0);
    EXPECT_EQ(errors(), "");
    m_scene.clear();
    EXPECT_EQ(errors(), "");
}

TEST_F(SceneVerify, LongListsOfNames_AreSoundWhenEdited) {
    for (int i = 0; i < 40; ++i)
        m_desk.createInput(("w" + std::to_string(i)).c_str(), AttrType::Real);
    EXPECT_EQ(errors(), "");
    m_desk.removeInput("color");
    m_desk.removeInput("w7");
    EXPECT_EQ(errors(), "");
    m_desk.createInput("w7", AttrType::Int);
    EXPECT_EQ(errors(), "");
}

TEST_F(SceneVerify, InputsOutsideTheScene_MayLeadIntoIt) {
    IInput* link = m_stranger.createInput("target", AttrType::Node);
    IInput* color = m_stranger.createInput("color", AttrType::Rgba);
    EXPECT_TRUE(link->setNode(&m_desk));
    EXPECT_TRUE(color->connect(m_output));
    EXPECT_EQ(errors(), "");
}

TEST_F(SceneVerify, DeepNesting_NeedsNoStack) {
    IInput* parent = m_desk.createInput("deep", AttrType::Object);
    for (int i = 0; i < 2000; ++i)
        parent = parent->createInput("o", AttrType::Object);
    EXPECT_EQ(errors(), "");
    while (IInput* around = parent->parent()) {
        around->removeInput(0);
        parent = around;
    }
}

// ---- Nodes -----------------------------------------------------------------------------------

TEST_F(SceneVerify, NodeUnderAnotherName_IsTold) {
    expectBroken(
        "desk is not found by its name", [&] { tests::probe(m_room).setName("desk"); },
        [&] { tests::probe(m_room).setName("room"); });
    expectBroken(
        "a b has a name that is no simple identifier\na b is not found by its name",
        [&] { tests::probe(m_desk).setName("a b"); },
        [&] { tests::probe(m_desk).setName("desk"); });
}

TEST_F(SceneVerify, NodeOfAnotherScene_IsTold) {
    expectBroken(
        "desk belongs to another scene or none", [&] { tests::probe(m_desk).setScene(nullptr); },
        [&] { tests::probe(m_desk).setScene(&m_scene); });
}

TEST_F(SceneVerify, NodeListedTwice_IsTold) {
    NodeTable nodes;
    nodes.add("desk", &m_desk);
    nodes.add("table", &m_desk);
    EXPECT_NE(errorsWith(nodes, LinkTable()).find("desk stands in the scene twice\n"),
              std::string::npos);
}

TEST_F(SceneVerify, NamesAndPlacesThatDisagree_AreTold) {
    NodeTable nodes;
    nodes.add("room", &m_stranger);
    nodes.add("desk", &m_stranger);
    auto& entries = LawBreaker::entries(nodes);
    std::swap(entries.at("room").slot, entries.at("desk").slot);
    const std::string found = errorsWith(nodes, LinkTable());
    EXPECT_NE(found.find("room does not stand at the place that its name leads to\n"),
              std::string::npos);
    std::swap(entries.at("room").slot, entries.at("desk").slot);
    entries.emplace("ghost", entries.at("room"));
    EXPECT_NE(errorsWith(nodes, LinkTable()).find(" has 2 nodes but 3 names\n"), std::string::npos);
}

// ---- Inputs and outputs ----------------------------------------------------------------------

TEST_F(SceneVerify, InputOfAnotherOwner_IsTold) {
    expectBroken(
        "desk.color belongs to another node or none",
        [&] { LawBreaker::setNode(*m_color, &m_lamp); },
        [&] { LawBreaker::setNode(*m_color, &m_desk); });
    Input* shade = LawBreaker::members(*m_tint).empty() ? input(*m_tint->parent()) : nullptr;
    expectBroken(
        "lamp.shade.tint belongs to another input or none",
        [&] { LawBreaker::setParent(*m_tint, nullptr); },
        [&] { LawBreaker::setParent(*m_tint, shade); });
}

TEST_F(SceneVerify, ElementThatMiscountsItself_IsTold) {
    expectBroken(
        "room.children[1] counts itself as element [7]", [&] { LawBreaker::setIndex(child(1), 7); },
        [&] { LawBreaker::setIndex(child(1), 1); });
}

TEST_F(SceneVerify, NameWithAnotherHash_IsTold) {
    const u64 hash = m_tint->nameHash();
    expectBroken(
        "lamp.shade.tint has a name with the hash of another",
        [&] { LawBreaker::setNameHash(*m_tint, hash + 1); },
        [&] { LawBreaker::setNameHash(*m_tint, hash); });
}

TEST_F(SceneVerify, InputListedTwice_IsTold) {
    expectBroken(
        "lamp.shade lists an input twice, or none at a place",
        [&] { LawBreaker::members(*input(*m_tint->parent())).push_back(m_tint); },
        [&] { LawBreaker::members(*input(*m_tint->parent())).pop_back(); });
}

TEST_F(SceneVerify, InputsInAPlainInput_AreTold) {
    const RefersTo<Input> held(new Input(&m_desk, m_color, "x", AttrType::Real, AttrType::Null));
    held->decRef();
    expectBroken(
        "desk.color holds inputs but is no array or object",
        [&] { LawBreaker::members(*m_color).push_back(held.get()); },
        [&] { LawBreaker::members(*m_color).clear(); });
}

TEST_F(SceneVerify, IndexThatLacksAName_IsTold) {
    auto* many = input(*m_desk.createInput("many", AttrType::Object));
    for (int i = 0; i < 20; ++i)
        many->createInput(("w" + std::to_string(i)).c_str(), AttrType::Real);
    IInput* last = LawBreaker::members(*many).back();
    expectBroken(
        "desk.many has names for inputs that it does not hold",
        [&] { LawBreaker::members(*many).pop_back(); },
        [&] { LawBreaker::members(*many).push_back(last); });
    Input stray(&m_desk, many, "stray", AttrType::Real, AttrType::Null);
    expectBroken(
        "desk.many does not find its input 'stray' by name",
        [&] { LawBreaker::members(*many).push_back(&stray); },
        [&] { LawBreaker::members(*many).pop_back(); });
}

TEST_F(SceneVerify, OutputOfAnotherNode_IsTold) {
    expectBroken(
        "lamp.light belongs to another node or none",
        [&] { LawBreaker::setNode(*m_output, &m_desk); },
        [&] { LawBreaker::setNode(*m_output, &m_lamp); });
}

// ---- Connections -----------------------------------------------------------------------------

TEST_F(SceneVerify, ConnectionThatOnlyTheInputKnows_IsTold) {
    expectBroken(
        "desk.color is connected to 'lamp.light', which does not list it there",
        [&] { LawBreaker::dropTarget(*m_output, *m_color); },
        [&] { LawBreaker::addTarget(*m_output, *m_color); });
    expectBroken(
        "desk.color is connected to 'lamp.light', which does not list it there",
        [&] { LawBreaker::setSourceSlot(*m_color, 5); },
        [&] { LawBreaker::setSourceSlot(*m_color, 0); });
}

TEST_F(SceneVerify, ConnectionThatOnlyTheOutputKnows_IsTold) {
    expectBroken(
        "lamp.light lists 'desk.color', which is not connected to it",
        [&] { LawBreaker::setSource(*m_color, nullptr); },
        [&] { LawBreaker::setSource(*m_color, m_output); });
    const u64 second = LawBreaker::addTarget(*m_output, *m_color);
    EXPECT_EQ(errors(), "lamp.light lists its target 'desk.color' twice");
    LawBreaker::dropSlot(*m_output, second);
    EXPECT_EQ(errors(), "");
}

TEST_F(SceneVerify, ConnectionToANodeOfNoScene_IsSound) {
    auto* outside = static_cast<Output*>(m_stranger.createOutput("light", AttrType::Rgba));
    EXPECT_TRUE(m_color->connect(outside));
    EXPECT_EQ(errors(), "");
}

TEST_F(SceneVerify, ConnectionToAnotherScene_IsTold) {
    const auto other = kelvo_sdk::Scene::create();
    const auto far = other.createNode("light", "far");
    auto* outside = static_cast<Output*>(far->createOutput("light", AttrType::Rgba));
    LawBreaker::setSource(*m_color, outside);
    EXPECT_NE(errors().find("desk.color is connected to an output that no node of the scene has"),
              std::string::npos);
    LawBreaker::setSource(*m_color, m_output);
}

// ---- Links -----------------------------------------------------------------------------------

TEST_F(SceneVerify, LinkToANodeOfNoScene_IsSoundAndEndsWithIt) {
    {
        Node gone(nullptr, "light", "gone");
        m_target->setNode(&gone);
        EXPECT_EQ(errors(), "");
    }
    EXPECT_EQ(m_target->value().asNode(), nullptr);
    EXPECT_EQ(errors(), "");
}

TEST_F(SceneVerify, LinkToAnotherScene_IsTold) {
    const auto other = kelvo_sdk::Scene::create();
    const auto far = other.createNode("light", "far");
    LawBreaker::setValue(*m_target, far.get());
    EXPECT_NE(errors().find("lamp.target links to a node that is not of the scene"),
              std::string::npos);
    LawBreaker::setValue(*m_target, &m_desk);
}

TEST_F(SceneVerify, LinkThatTheTableLacks_IsTold) {
    expectBroken(
        "lamp.target links to 'desk', which does not know", [&] { LawBreaker::unlink(*m_target); },
        [&] { LawBreaker::relink(*m_target, m_scene.links(), &m_desk); });
}

TEST_F(SceneVerify, LinkInAnotherTable_IsTold) {
    LinkTable other;
    LawBreaker::unlink(*m_target);
    LawBreaker::relink(*m_target, other, &m_desk);
    EXPECT_EQ(errors(), "lamp.target links to 'desk', which does not know");
    LawBreaker::unlink(*m_target);
    LawBreaker::relink(*m_target, m_scene.links(), &m_desk);
    EXPECT_EQ(errors(), "");
}

TEST_F(SceneVerify, TableThatLacksItsLinks_IsTold) {
    NodeTable nodes;
    nodes.add("desk", &m_desk);
    nodes.add("lamp", &m_lamp);
    EXPECT_NE(errorsWith(nodes, LinkTable())
                  .find("lamp.target links to 'desk', which does not "
                        "know\n"),
              std::string::npos);
}

TEST_F(SceneVerify, LinkOfTheTableThatLeadsElsewhere_IsTold) {
    expectBroken(
        "lamp.target links to 'room', which does not know\n"
        "lamp.target has a place among the links to a node that it does not link to",
        [&] { LawBreaker::setValue(*m_target, &m_room); },
        [&] { LawBreaker::setValue(*m_target, &m_desk); });
    expectBroken(
        "lamp.target links to no node but has a place among the links\n"
        "lamp.target has a place among the links to a node that it does not link to",
        [&] { LawBreaker::setValue(*m_target, nullptr); },
        [&] { LawBreaker::setValue(*m_target, &m_desk); });
}

TEST_F(SceneVerify, LinkOfNoInput_IsTold) {
    Link stray;
    stray.input = m_color;
    expectBroken(
        "desk has a link in its ring that is no input's",
        [&] { m_scene.links().add(stray, &m_desk); }, [&] { m_scene.links().remove(stray); });
}

TEST_F(SceneVerify, LinkOfAnInputThatItsNodeLacks_IsTold) {
    Input lost(&m_lamp, nullptr, "lost", AttrType::Node, AttrType::Null);
    lost.setNode(&m_desk);
    EXPECT_EQ(errors(), "lamp.lost has a place among the links but none in its node");
    lost.setNode(nullptr);
    EXPECT_EQ(errors(), "");
}

TEST_F(SceneVerify, BrokenRing_EndsTheWalk) {
    auto& link = const_cast<Link&>(LawBreaker::link(*m_target));
    Link* before = link.previous;
    link.previous = nullptr;
    EXPECT_NE(errors().find("desk has a broken ring of links"), std::string::npos);
    link.previous = before;
    EXPECT_EQ(errors(), "");
}

TEST_F(SceneVerify, LinkKeptAside_EndsWithItsNode) {
    {
        Node gone(nullptr, "light", "gone");
        m_target->setStashed(Value(static_cast<INode*>(&gone)));
        EXPECT_EQ(errors(), "");
    }
    EXPECT_EQ(m_target->stashed()->asNode(), nullptr);
    m_target->setStashed(Value(static_cast<INode*>(&m_room)));
    EXPECT_EQ(errors(), "");
}

TEST_F(SceneVerify, LinkKeptAside_IsKnownToItsNode) {
    m_target->stash();
    EXPECT_EQ(errors(), "");
    Link& kept = LawBreaker::keptLink(*m_target);
    expectBroken(
        "lamp.target keeps aside a link to 'desk', which does not know",
        [&] { m_scene.stashLinks().remove(kept); },
        [&] { m_scene.stashLinks().add(kept, &m_desk); });
    expectBroken(
        "lamp.target keeps aside a link to 'desk', which does not know\n"
        "lamp.target has a place among the links but none in its node",
        [&] {
            m_scene.stashLinks().remove(kept);
            m_scene.links().add(kept, &m_desk);
        },
        [&] {
            m_scene.links().remove(kept);
            m_scene.stashLinks().add(kept, &m_desk);
        });
    m_scene.removeNode(&m_desk);
    EXPECT_EQ(errors(), "");
    EXPECT_EQ(m_target->stashed()->asNode(), nullptr);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
