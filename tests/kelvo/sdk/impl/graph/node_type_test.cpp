#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/interfaces/i_input.h"
#include "tests/support/counting_layout.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_probe.h"
#include "tests/support/recording_scene.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::CountingLayout;
using tests::Journal;
using tests::LogCapture;
using tests::RecordingScene;

class NodeType : public testing::Test {
protected:
    Node m_node{nullptr, "mesh", "m1"};
};

// ---- Type ------------------------------------------------------------------------------

TEST_F(NodeType, Texts_AreShared) {
    const String type("mesh"), name("m1");
    const StringVector bases{"geometry"};
    Node node(nullptr, type, name);
    node.setBases(bases, false, false);
    EXPECT_EQ(node.type().buf(), type.buf());
    EXPECT_EQ(node.name().buf(), name.buf());
    EXPECT_EQ(node.bases().get(), bases.get());
}

TEST_F(NodeType, AbstractAndInternal_AreTwoFlags) {
    EXPECT_FALSE(m_node.isAbstract() || m_node.isInternal());
    m_node.setBases({}, true, false);
    EXPECT_TRUE(m_node.isAbstract());
    EXPECT_FALSE(m_node.isInternal());
    m_node.setBases({}, false, true);
    EXPECT_FALSE(m_node.isAbstract());
    EXPECT_TRUE(m_node.isInternal());
}

TEST_F(NodeType, IsTypeOf_KnowsItsTypeAndItsListedBasesExactly) {
    m_node.setBases({"geometry", "object"}, false, false);
    struct Case {
        const char* type;
        bool expected;
    };
    const Case cases[] = {
        {"mesh", true},  {"geometry", true},  {"object", true},   {"thing", false},
        {"Mesh", false}, {"GEOMETRY", false}, {"Object", false},  {"", false},
        {"mes", false},  {"mesh ", false},    {"geometr", false}, {"geometry, object", false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(m_node.isTypeOf(String(c.type)), c.expected) << c.type;
}

TEST_F(NodeType, IsTypeOf_DoesNotWalkTheBasesOfItsBases) {
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    static_cast<Node*>(scene->createNode("geometry", "g"))->setBases({"object"}, false, false);
    auto* node = static_cast<Node*>(scene->createNode("mesh", "m"));
    node->setBases({"geometry"}, false, false);
    EXPECT_TRUE(node->isTypeOf(String("geometry")));
    EXPECT_FALSE(node->isTypeOf(String("object")));
}

TEST_F(NodeType, IsTypeOf_OfANodeWithoutAType_KnowsTheEmptyName) {
    EXPECT_TRUE(Node().isTypeOf(String()));
    EXPECT_FALSE(Node().isTypeOf(String("mesh")));
}

TEST_F(NodeType, IsTypeOfSeveral_NeedsOne) {
    m_node.setBases({"geometry"}, false, false);
    struct Case {
        StringVector types;
        bool expected;
    };
    const Case cases[] = {
        {{}, false},
        {{"mesh"}, true},
        {{"light", "mesh"}, true},
        {{"mesh", "light"}, true},
        {{"light", "geometry"}, true},
        {{"light", "camera"}, false},
        {{"Mesh", "Geometry"}, false},
        {{""}, false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(m_node.isTypeOf(c.types), c.expected) << c.types.join("|");
}

TEST_F(NodeType, TypeDesc_ListsTheBasesInBrackets) {
    struct Case {
        StringVector bases;
        const char* expected;
    };
    const Case cases[] = {
        {{}, "mesh"},
        {{"geometry"}, "mesh [geometry]"},
        {{"geometry", "object"}, "mesh [geometry, object]"},
        {{"object", "geometry", "object"}, "mesh [object, geometry, object]"},
        {{""}, "mesh []"},
    };
    for (const Case& c : cases) {
        m_node.setBases(c.bases, false, false);
        EXPECT_EQ(m_node.typeDesc(), c.expected);
    }
}

// ---- Meta input ------------------------------------------------------------------------

TEST_F(NodeType, Meta_IsMadeOnceAsAnObject) {
    const Node& constant = m_node;
    const LogCapture log;
    IInput* meta = constant.meta();
    ASSERT_NE(meta, nullptr);
    EXPECT_EQ(meta->name(), "_meta");
    EXPECT_EQ(meta->type(), AttrType::Object);
    EXPECT_EQ(meta->node(), &m_node);
    EXPECT_EQ(constant.meta(), meta);
    EXPECT_EQ(m_node.inputCount(), 1u);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeType, Meta_IsAppendedAndAnnouncedOnFirstRequestOnly) {
    Journal journal;
    const auto scene = RecordingScene::make(journal);
    Node node(scene.get(), "mesh", "m1");
    node.createInput("size", AttrType::Real);
    node.setDirty(false);
    journal.take();
    IInput* meta = node.meta();
    EXPECT_EQ(node.indexOf(meta), 1);
    EXPECT_EQ(journal.take(), "+_meta");
    EXPECT_TRUE(tests::probe(node).dirty());
    tests::probe(node).dirty() = false;
    node.meta();
    EXPECT_EQ(journal.take(), "");
    EXPECT_FALSE(tests::probe(node).dirty());
    tests::probe(node).setScene(nullptr);
}

TEST_F(NodeType, Meta_IsTheObjectThatIsThereInAnyCase) {
    IInput* made = m_node.createInput("_META", AttrType::Object);
    EXPECT_EQ(m_node.meta(), made);
    EXPECT_EQ(m_node.inputCount(), 1u);
}

TEST_F(NodeType, Meta_BesideAnInputOfAnotherKind_IsMade) {
    IInput* other = m_node.createInput("_meta", AttrType::String);
    const LogCapture log;
    IInput* meta = m_node.meta();
    ASSERT_NE(meta, other);
    EXPECT_EQ(meta->type(), AttrType::Object);
    EXPECT_EQ(m_node.indexOf(meta), 1);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeType, Meta_RemovedIsMadeAnew) {
    m_node.meta();
    m_node.removeInput(String("_meta"));
    EXPECT_EQ(m_node.inputCount(), 0u);
    const IInput* meta = m_node.meta();
    EXPECT_EQ(m_node.indexOf(meta), 0);
}

// Creates no input of its own but returns that of another node.
class BorrowingNode : public Node {
public:
    using Node::createInput;
    IInput* createInput(String name, AttrType type) override {
        asked = name + ":" + attrTypeName(type);
        return lent;
    }

    String asked;
    IInput* lent = nullptr;
};

TEST_F(NodeType, Meta_ComesFromTheNodesOwnCreator) {
    BorrowingNode node;
    EXPECT_EQ(node.meta(), nullptr);
    EXPECT_EQ(node.asked, "_meta:Object");
    node.lent = m_node.createInput("x", AttrType::Int);
    EXPECT_EQ(node.meta(), node.lent);
}

// ---- Layout ----------------------------------------------------------------------------

TEST_F(NodeType, Layout_IsNullAtFirstAndTakenNoReferenceOn) {
    EXPECT_EQ(m_node.layout(), nullptr);
    CountingLayout layout;
    m_node.setLayout(&layout);
    EXPECT_EQ(m_node.layout(), &layout);
    EXPECT_EQ(layout.count, 1);
    m_node.setLayout(nullptr);
}

TEST_F(NodeType, SameLayoutAgain_IsTakenBeforeItIsDropped) {
    CountingLayout layout;
    m_node.setLayout(&layout);
    int lowest = layout.count;
    layout.whenDropped = [&] { lowest = std::min(lowest, layout.count); };
    m_node.setLayout(&layout);
    EXPECT_EQ(lowest, 1);
    EXPECT_EQ(layout.count, 1);
    EXPECT_EQ(m_node.layout(), &layout);
    m_node.setLayout(nullptr);
}

TEST_F(NodeType, AnotherLayout_IsTakenBeforeTheOldIsDroppedAndStoredLast) {
    CountingLayout first, second;
    m_node.setLayout(&first);
    int held = -1;
    interfaces::ILayout* shown = nullptr;
    first.whenDropped = [&] {
        held = second.count;
        shown = m_node.layout();
    };
    m_node.setLayout(&second);
    EXPECT_EQ(held, 1);
    EXPECT_EQ(shown, &first);
    EXPECT_EQ(first.count, 0);
    EXPECT_EQ(second.count, 1);
    EXPECT_EQ(m_node.layout(), &second);
    m_node.setLayout(nullptr);
}

TEST_F(NodeType, NullLayout_ClearsAndMayBeSetTwice) {
    CountingLayout layout;
    m_node.setLayout(&layout);
    m_node.setLayout(nullptr);
    m_node.setLayout(nullptr);
    EXPECT_EQ(layout.count, 0);
    EXPECT_EQ(m_node.layout(), nullptr);
}

// ---- Library ---------------------------------------------------------------------------

TEST_F(NodeType, NodeDefPath_IsTheLibrarys) {
    EXPECT_TRUE(m_node.nodeDefPath().isEmpty());
    const auto library = RefersTo<LibInfo>::adopt(new LibInfo("lib/mesh.knd"));
    m_node.initLibInfo(library.get());
    EXPECT_EQ(m_node.nodeDefPath(), "lib/mesh.knd");
}

class OfEveryType : public Node {
public:
    using Node::isTypeOf;
    bool isTypeOf(String type) const override { return type == "anything" || type == "path"; }
};

TEST(NodeOwnIsTypeOf, OfSeveral_AsksTheNodesOwnForOne) {
    const OfEveryType node;
    EXPECT_TRUE(node.isTypeOf(StringVector{"x", "anything"}));
}

TEST(NodeOwnIsTypeOf, DisplayName_AsksTheNodesOwn) {
    OfEveryType node;
    for (const char* part : {"dir", "file", "ext"})
        node.createInput(part, AttrType::String);
    node.setPath(String("a/wood.png"));
    EXPECT_EQ(node.displayName(), "wood.png");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
