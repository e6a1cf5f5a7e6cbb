#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <vector>

// The parts of a node's hash. The hash of a single input has its own test.

namespace qv::kelvo_sdk::impl {
namespace {

const StringVector kNameless{"__node_name__"};

// Writes out the formula: `seed` mixed with each hash that is not empty.
u64 mixed(u64 seed, std::initializer_list<u64> hashes) {
    for (const u64 h : hashes) {
        if (h == 0) continue;
        const u64 left = seed * 64;
        const u64 right = seed / 4;
        const u64 sum = h + u64{2654435769} + left + right;
        seed = seed ^ sum;
    }
    return seed;
}

class NodeStateHash : public testing::Test {
protected:
    [[nodiscard]] Node* make(const char* type, const char* name) {
        return static_cast<Node*>(m_scene->createNode(type, name));
    }

    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node* m_a = make("thing", "a");
    Node* m_b = make("thing", "b");
    Node* m_lamp = make("light", "lamp");
};

// ---- Seed ----------------------------------------------------------------------------------

TEST_F(NodeStateHash, NodeWithoutInputs_HashesAsItsName) {
    EXPECT_EQ(m_a->hash({}), String("a").hash());
    m_scene->renameNode(m_a, "other");
    EXPECT_EQ(m_a->hash({}), String("other").hash());
}

TEST_F(NodeStateHash, NodeWithoutInputs_HashesAsItsTypeWhereNamesDoNotMatter) {
    EXPECT_EQ(m_a->hash(kNameless), String("thing").hash());
    EXPECT_EQ(m_lamp->hash({"what", "__node_name__"}), String("light").hash());
}

TEST_F(NodeStateHash, OnlyTheExactKey_LeavesOutTheName) {
    for (const char* key : {"__NODE_NAME__", "__Node_name__", "__node_name_", "__node_name__ ",
                            "node_name", "__node_name__x", ""})
        EXPECT_EQ(m_a->hash({key}), String("a").hash()) << key;
}

TEST_F(NodeStateHash, NameCountsWithItsCase) {
    const u64 before = m_a->hash({});
    m_scene->renameNode(m_a, "A");
    EXPECT_NE(m_a->hash({}), before);
}

TEST_F(NodeStateHash, Renaming_DoesNotChangeTheHashWithoutTheName) {
    m_a->createInput("x", AttrType::Real)->setReal(2.5);
    const u64 before = m_a->hash(kNameless);
    m_scene->renameNode(m_a, "other");
    EXPECT_EQ(m_a->hash(kNameless), before);
}

TEST_F(NodeStateHash, HashWithoutTheName_IsEqualForEqualInputsOfOneType) {
    Node* other = make("stuff", "c");
    for (Node* node : {m_a, m_b, other})
        node->createInput("x", AttrType::Real)->setReal(2.5);
    EXPECT_NE(m_a->hash({}), m_b->hash({}));
    EXPECT_EQ(m_a->hash(kNameless), m_b->hash(kNameless));
    EXPECT_NE(m_a->hash(kNameless), other->hash(kNameless));
}

// ---- Skipped types -------------------------------------------------------------------------

TEST_F(NodeStateHash, SkippedType_IsZero) {
    m_a->createInput("x", AttrType::Real);
    EXPECT_EQ(m_a->hash({"thing"}), 0u);
    EXPECT_EQ(m_a->hash({"other", "thing", "last"}), 0u);
    EXPECT_EQ(m_a->hash({"__node_name__", "thing"}), 0u);
    EXPECT_NE(m_a->hash({"other"}), 0u);
}

TEST_F(NodeStateHash, SkippedBase_IsZero) {
    m_a->setBases({"near", "far"}, false, false);
    EXPECT_EQ(m_a->hash({"near"}), 0u);
    EXPECT_EQ(m_a->hash({"other", "far"}), 0u);
    EXPECT_NE(m_a->hash({"nearer"}), 0u);
}

TEST_F(NodeStateHash, TypesAreSkippedByTheExactName) {
    for (const char* type : {"Thing", "THING", "thin", "things", "a", ""})
        EXPECT_EQ(m_a->hash({type}), m_a->hash({})) << type;
}

TEST_F(NodeStateHash, NodeOfTheKeysType_IsSkipped) {
    EXPECT_EQ(make("__node_name__", "odd")->hash(kNameless), 0u);
}

TEST_F(NodeStateHash, SkipList_IsPassedOnToTheInputs) {
    IInput* link = m_a->createInput("n", AttrType::Node);
    link->setNode(m_lamp);
    m_a->createArray("list", AttrType::Node)->appendElement()->setNode(m_lamp);
    for (const StringVector& skip : {StringVector{}, {"light"}, kNameless}) {
        const u64 seed =
            skip.contains("__node_name__", false) ? m_a->type().hash() : String("a").hash();
        const u64 list = m_a->input(u64(1))->hash(skip);
        EXPECT_EQ(m_a->hash(skip), mixed(seed, {link->hash(skip), list}));
    }
    EXPECT_EQ(link->hash({"light"}), 0u);
    EXPECT_EQ(link->hash(kNameless), String("light").hash());
}

// ---- Inputs --------------------------------------------------------------------------------

TEST_F(NodeStateHash, InputsAreMixedByTheFormula) {
    std::vector<u64> hashes;
    for (const double value : {1.0, -2.5, 1e300}) {
        const String name = String::format("x%d", static_cast<int>(hashes.size()));
        IInput* input = m_a->createInput(name, AttrType::Real);
        input->setReal(value);
        hashes.push_back(input->hash({}));
    }
    const u64 seed = String("a").hash();
    EXPECT_EQ(m_a->hash({}), mixed(seed, {hashes[0], hashes[1], hashes[2]}));
    const u64 typeSeed = String("thing").hash();
    EXPECT_EQ(m_a->hash(kNameless), mixed(typeSeed, {hashes[0], hashes[1], hashes[2]}));
}

TEST_F(NodeStateHash, OrderOfInputs_Matters) {
    m_a->createInput("x", AttrType::Int)->setInt(1);
    m_a->createInput("y", AttrType::Int)->setInt(2);
    m_b->createInput("y", AttrType::Int)->setInt(2);
    m_b->createInput("x", AttrType::Int)->setInt(1);
    EXPECT_NE(m_a->hash(kNameless), m_b->hash(kNameless));
}

TEST_F(NodeStateHash, NamesOfInputs_DoNotMatter) {
    m_a->createInput("x", AttrType::Int)->setInt(1);
    m_b->createInput("y", AttrType::Int)->setInt(1);
    EXPECT_EQ(m_a->hash(kNameless), m_b->hash(kNameless));
}

TEST_F(NodeStateHash, EqualInputs_DoNotCancelEachOther) {
    m_a->createInput("x", AttrType::Int);
    const u64 one = m_a->hash({});
    m_a->createInput("y", AttrType::Int);
    EXPECT_NE(m_a->hash({}), one);
    EXPECT_NE(m_a->hash({}), String("a").hash());
}

TEST_F(NodeStateHash, InputsWithNothingToAdd_LeaveTheHashAlone) {
    m_a->createInput("node", AttrType::Node);
    m_a->createInput("null", AttrType::Null);
    m_a->createInput("obj", AttrType::Object);
    m_a->createArray("list", AttrType::Real);
    EXPECT_EQ(m_a->hash({}), String("a").hash());
    m_a->createInput("x", AttrType::Int);
    const u64 x = m_a->findInputByName("x")->hash({});
    EXPECT_EQ(m_a->hash({}), mixed(String("a").hash(), {x}));
    m_a->createInput("last", AttrType::Node);
    EXPECT_EQ(m_a->hash({}), mixed(String("a").hash(), {x}));
}

TEST_F(NodeStateHash, ValueBroughtBack_BringsTheHashBack) {
    IInput* x = m_a->createInput("x", AttrType::Real);
    x->setReal(1);
    const u64 before = m_a->hash({});
    x->setReal(2);
    EXPECT_NE(m_a->hash({}), before);
    x->setReal(1);
    EXPECT_EQ(m_a->hash({}), before);
}

TEST_F(NodeStateHash, RemovedInput_DoesNotCountAnyMore) {
    m_a->createInput("x", AttrType::Real);
    const u64 before = m_a->hash({});
    m_a->createInput("y", AttrType::Real);
    m_a->removeInput("y");
    EXPECT_EQ(m_a->hash({}), before);
}

TEST_F(NodeStateHash, OutputsAndDirtyState_DoNotCount) {
    m_a->createInput("x", AttrType::Real);
    const u64 before = m_a->hash({});
    m_a->createOutput("o", AttrType::Real);
    m_a->setDirty(true);
    EXPECT_EQ(m_a->hash({}), before);
    m_a->setDirty(false);
    EXPECT_EQ(m_a->hash({}), before);
}

TEST_F(NodeStateHash, OtherNodesValues_DoNotCount) {
    m_a->createInput("n", AttrType::Node)->setNode(m_b);
    const u64 before = m_a->hash({});
    m_b->createInput("x", AttrType::Real)->setReal(3);
    EXPECT_EQ(m_a->hash({}), before);
}

TEST_F(NodeStateHash, LinkedNodesName_CountsUnlessNamesDoNot) {
    m_a->createArray("list", AttrType::Node)->appendElement()->setNode(m_lamp);
    const u64 named = m_a->hash({}), nameless = m_a->hash(kNameless);
    m_scene->renameNode(m_lamp, "sun");
    EXPECT_NE(m_a->hash({}), named);
    EXPECT_EQ(m_a->hash(kNameless), nameless);
}

// ---- The directory of path nodes -----------------------------------------------------------

class NodeStateHashDir : public NodeStateHash {
protected:
    // Tells whether the text of an input of that name changes the hash of its node.
    [[nodiscard]] bool counts(Node* node, const char* name) {
        IInput* input = node->createInput(name, AttrType::String);
        const u64 empty = node->hash({});
        input->setString("there");
        return node->hash({}) != empty;
    }
};

TEST_F(NodeStateHashDir, DirOfAPathNode_DoesNotCount) {
    Node* path = make("path", "p");
    EXPECT_FALSE(counts(path, "dir"));
    EXPECT_EQ(path->hash({}), String("p").hash());
    EXPECT_TRUE(counts(path, "file"));
    EXPECT_TRUE(counts(path, "ext"));
}

TEST_F(NodeStateHashDir, DirOfANodeBasedOnPath_DoesNotCount) {
    m_a->setBases({"other", "path"}, false, false);
    EXPECT_FALSE(counts(m_a, "dir"));
}

TEST_F(NodeStateHashDir, DirOfAnyOtherNode_Counts) {
    EXPECT_TRUE(counts(m_a, "dir"));
    m_b->createInput("file", AttrType::String);
    m_b->createInput("ext", AttrType::String);
    EXPECT_TRUE(counts(m_b, "dir"));
    ASSERT_TRUE(m_b->isPath());
    EXPECT_TRUE(counts(make("Path", "p"), "dir"));
}

TEST_F(NodeStateHashDir, OnlyTheExactName_IsLeftOut) {
    for (const char* name : {"Dir", "DIR", "dirs", "di"})
        EXPECT_TRUE(counts(make("path", "p"), name)) << name;
}

TEST_F(NodeStateHashDir, DirOfAnyKind_IsLeftOut) {
    Node* path = make("path", "p");
    path->createInput("dir", AttrType::Int)->setInt(4);
    path->createInput("dir", AttrType::String)->setString("here");
    ASSERT_EQ(path->inputCount(), 2u);
    EXPECT_EQ(path->hash({}), String("p").hash());
}

TEST_F(NodeStateHashDir, DirInsideAnObject_Counts) {
    Node* path = make("path", "p");
    IInput* object = path->createInput("obj", AttrType::Object);
    IInput* dir = object->createInput("dir", AttrType::String);
    const u64 before = path->hash({});
    dir->setString("there");
    EXPECT_NE(path->hash({}), before);
}

// ---- Literal values ------------------------------------------------------------------------
// The definition of a hash must never change, because caches and files depend on it. The numbers
// were computed independently of the code, for a node "node" that may refer to a node "lamp" with
// output "out".

struct Literal {
    const char* note;
    u64 hash;
    std::function<void(Node&, Node&)> furnish;
};

Literal plain(AttrType type, const char* text, u64 hash) {
    return {attrTypeName(type), hash,
            [=](Node& node, Node&) { EXPECT_TRUE(node.createInput("x", type)->setString(text)); }};
}

const std::vector<Literal>& plainLiterals() {
    static const std::vector<Literal> all{
        {"no inputs", 0x6c82ffe19f7bbaa4u, [](Node&, Node&) {}},
        plain(AttrType::Bool, "true", 0xe4fedae509623b8eu),
        plain(AttrType::Bool, "false", 0x27b731453ca9c882u),
        plain(AttrType::Int, "-3", 0xaec99b720048fee2u),
        plain(AttrType::UInt, "18446744073709551615", 0x290e910259ba023fu),
        plain(AttrType::Real, "0.1", 0x00af5e28de97d307u),
        plain(AttrType::Real, "-0", 0x2cde2bf46e5483cbu),
        plain(AttrType::Vec2, "(1 2)", 0x64cbbbdc2353f8edu),
        plain(AttrType::Vec3, "(1 2 3)", 0x2dd87681dd7b8c99u),
        plain(AttrType::Vec4, "(1 2 3 4)", 0x0db7df690d7aa30eu),
        plain(AttrType::Pos2, "(1 2)", 0x6f1ade04c976cc20u),
        plain(AttrType::Pos3, "(1 2 3)", 0x96a5f325805e6f23u),
        plain(AttrType::Quat, "(0 0.6 0 0.8)", 0x351582ba5e64b31fu),
        plain(AttrType::Rgba, "(0.8 0.6 0.4 1)", 0xaab57a7dcc1307c8u),
        plain(AttrType::Mat3, "(1 2 3 4 5 6 7 8 9)", 0x3672db3e4b57ddabu),
        plain(AttrType::Mat4, "(1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16)", 0x7d72f9439f2aade4u),
        plain(AttrType::String, "text", 0xbc94645b9b932c0cu),
        plain(AttrType::String, "", 0xf25923ebc0b09ed9u),
        plain(AttrType::String,
              "A line of text that is longer than the sixty-four bytes of one stripe.",
              0xdb0b44d9ba204310u),
        plain(AttrType::Node, "lamp", 0xb383c46b31eef180u),
        plain(AttrType::Node, "", 0x6c82ffe19f7bbaa4u),
    };
    return all;
}

const float kFloats[] = {1, 2.5f, -3};

const std::vector<Literal>& builtLiterals() {
    static const std::vector<Literal> all{
        {"buffer", 0xba50378cd14b1e7au,
         [](Node& node, Node&) {
             IInput* buffer = node.createInput("x", AttrType::Buffer);
             EXPECT_TRUE(buffer->setBuffer({DataType::Float, kFloats, 3}));
         }},
        {"empty buffer", 0xce03df5c7ab19f00u,
         [](Node& node, Node&) { node.createInput("x", AttrType::Buffer); }},
        {"array of Int", 0x40f407a10a1ab779u,
         [](Node& node, Node&) {
             IInput* array = node.createArray("x", AttrType::Int);
             array->appendElement()->setInt(1);
             array->appendElement()->setInt(2);
         }},
        {"array of Node", 0xe7983e859424d315u,
         [](Node& node, Node& lamp) {
             IInput* array = node.createArray("x", AttrType::Node);
             array->appendElement()->setNode(&lamp);
             array->appendElement();
         }},
        {"array of Array", 0xaafcb9520e8bcc0bu,
         [](Node& node, Node&) {
             IInput* array = node.createArray("x", AttrType::Array);
             array->createArray("0", AttrType::Int)->appendElement()->setInt(1);
             array->createArray("1", AttrType::Int);
         }},
        {"object", 0x0c806719db82ce27u,
         [](Node& node, Node& lamp) {
             IInput* object = node.createInput("obj", AttrType::Object);
             object->createInput("x", AttrType::Real)->setReal(0.5);
             object->createInput("n", AttrType::Node)->setNode(&lamp);
         }},
        {"connected", 0x0b0adbbc69713eb5u,
         [](Node& node, Node& lamp) {
             node.createInput("x", AttrType::Real)->connect(lamp.output("out"));
         }},
        {"two inputs", 0x1b3e42b72fc0583bu,
         [](Node& node, Node&) {
             node.createInput("x", AttrType::Int)->setInt(1);
             node.createInput("y", AttrType::Int)->setInt(2);
         }},
        {"with an empty one between", 0x517fc6b9d8b7bbf1u,
         [](Node& node, Node&) {
             node.createInput("x", AttrType::Int)->setInt(1);
             node.createInput("y", AttrType::Node);
             node.createInput("z", AttrType::String)->setString("b");
         }},
    };
    return all;
}

TEST_F(NodeStateHash, LiteralValues_AreTheSameEverywhere) {
    m_lamp->createOutput("out", AttrType::Real);
    Node* node = make("thing", "node");
    for (const auto* table : {&plainLiterals(), &builtLiterals()}) {
        for (const Literal& literal : *table) {
            node->clearInputs();
            literal.furnish(*node, *m_lamp);
            EXPECT_EQ(node->hash({}), literal.hash) << literal.note;
            EXPECT_EQ(node->hash({}), literal.hash) << literal.note << ", asked again";
        }
    }
}

TEST_F(NodeStateHash, LiteralValueWithoutNames_IsTheSameEverywhere) {
    m_a->createInput("x", AttrType::Real)->connect(m_lamp->createOutput("out", AttrType::Real));
    m_a->createInput("n", AttrType::Node)->setNode(m_lamp);
    EXPECT_EQ(m_a->hash(kNameless), 0x1440260550fa8d76u);
}

TEST(NodeHash, EmptyBuffers_HashEqualHoweverTheyCameToBe) {
    Node a(nullptr, "thing", "a"), b(nullptr, "thing", "b");
    IInput* fresh = a.createInput("x", AttrType::Buffer);
    IInput* emptied = b.createInput("x", AttrType::Buffer);
    const u8 byte = 1;
    ASSERT_TRUE(emptied->setBuffer({DataType::Byte, &byte, 1}));
    ASSERT_TRUE(emptied->setBuffer({DataType::Null, nullptr, 0}));
    EXPECT_TRUE(static_cast<Input*>(fresh)->value() == static_cast<Input*>(emptied)->value());
    EXPECT_EQ(a.hash(kNameless), b.hash(kNameless));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
