#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "tests/support/small_stack.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

class InputHash : public testing::Test {
protected:
    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node* m_node = static_cast<Node*>(m_scene->createNode("thing", "thing"));
    Node* m_other = static_cast<Node*>(m_scene->createNode("lamp", "other"));
};

TEST_F(InputHash, NothingToAdd_IsZero) {
    EXPECT_EQ(m_node->createInput("a", AttrType::Null)->hash({}), 0u);
    EXPECT_EQ(m_node->createInput("b", AttrType::Node)->hash({}), 0u);
    EXPECT_EQ(m_node->createInput("c", AttrType::Object)->hash({}), 0u);
    EXPECT_EQ(m_node->createArray("d", AttrType::Int)->hash({}), 0u);
}

TEST_F(InputHash, ZeroValues_AreSomething) {
    EXPECT_NE(m_node->createInput("a", AttrType::Bool)->hash({}), 0u);
    EXPECT_NE(m_node->createInput("b", AttrType::Real)->hash({}), 0u);
    EXPECT_NE(m_node->createInput("c", AttrType::String)->hash({}), 0u);
}

TEST_F(InputHash, EqualValues_HashEqual_WhateverTheName) {
    IInput* a = m_node->createInput("a", AttrType::Real);
    IInput* b = m_node->createInput("b", AttrType::Real);
    a->setReal(0.5);
    EXPECT_NE(a->hash({}), b->hash({}));
    b->setReal(0.5);
    EXPECT_EQ(a->hash({}), b->hash({}));
}

TEST_F(InputHash, KindsOfEqualBits_HashApart) {
    IInput* a = m_node->createInput("a", AttrType::Vec3);
    IInput* b = m_node->createInput("b", AttrType::Pos3);
    EXPECT_NE(a->hash({}), b->hash({}));
}

TEST_F(InputHash, ChangedElement_ChangesTheArrayAndTheObjectAroundIt) {
    IInput* object = m_node->createInput("obj", AttrType::Object);
    IInput* array = object->createArray("arr", AttrType::Int);
    array->appendElement();
    const u64 before = object->hash({});
    const u64 arrayBefore = array->hash({});
    array->input(u64(0))->setInt(4);
    EXPECT_NE(object->hash({}), before);
    EXPECT_NE(array->hash({}), arrayBefore);
    array->input(u64(0))->setInt(0);
    EXPECT_EQ(object->hash({}), before);
}

TEST_F(InputHash, AddedAndRemovedElements_ChangeTheHash) {
    IInput* array = m_node->createArray("arr", AttrType::Int);
    array->appendElement();
    const u64 one = array->hash({});
    array->appendElement();
    const u64 two = array->hash({});
    EXPECT_NE(one, two);
    array->removeLastInput();
    EXPECT_EQ(array->hash({}), one);
}

TEST_F(InputHash, MovedElements_ChangeTheHash) {
    IInput* array = m_node->createArray("arr", AttrType::Int);
    array->appendElement()->setInt(1);
    array->appendElement()->setInt(2);
    const u64 before = array->hash({});
    array->moveElement(0, 1);
    EXPECT_NE(array->hash({}), before);
}

TEST_F(InputHash, Members_CountByName) {
    IInput* a = m_node->createInput("a", AttrType::Object);
    IInput* b = m_node->createInput("b", AttrType::Object);
    a->createInput("x", AttrType::Int);
    b->createInput("y", AttrType::Int);
    EXPECT_NE(a->hash({}), b->hash({}));
}

TEST_F(InputHash, Link_FollowsTheNameOfItsNode) {
    IInput* link = m_node->createInput("link", AttrType::Node);
    link->setNode(m_other);
    const u64 before = link->hash({});
    EXPECT_NE(before, 0u);
    m_scene->renameNode(m_other, "another");
    EXPECT_NE(link->hash({}), before);
}

TEST_F(InputHash, Link_WithoutNodeNames_FollowsTheType) {
    const StringVector skip{"__node_name__"};
    IInput* link = m_node->createInput("link", AttrType::Node);
    link->setNode(m_other);
    const u64 before = link->hash(skip);
    m_scene->renameNode(m_other, "another");
    EXPECT_EQ(link->hash(skip), before);
}

TEST_F(InputHash, LinkToASkippedType_IsZero) {
    IInput* link = m_node->createInput("link", AttrType::Node);
    link->setNode(m_other);
    EXPECT_EQ(link->hash({"lamp"}), 0u);
}

TEST_F(InputHash, OfDeeplyNestedObjects_NeedsLittleStack) {
    IInput* outer = m_node->createInput("o", AttrType::Object);
    IInput* inner = outer;
    for (int i = 0; i < 5000; ++i)
        inner = inner->createInput("o", AttrType::Object);
    inner->createInput("x", AttrType::Int)->setInt(1);
    const u64 before = outer->hash({});
    inner->input("x")->setInt(2);
    tests::runOnSmallStack([&] { EXPECT_NE(outer->hash({}), before); });
}

TEST_F(InputHash, ArrayOfLinks_IsNotKept) {
    IInput* array = m_node->createArray("links", AttrType::Node);
    array->appendElement()->setNode(m_other);
    const u64 plain = array->hash({});
    EXPECT_NE(array->hash({"lamp"}), plain);
    EXPECT_EQ(array->hash({}), plain);
}

TEST_F(InputHash, Connection_CountsInPlaceOfTheStoredValue) {
    IInput* input = m_node->createInput("in", AttrType::Real);
    const u64 stored = input->hash({});
    input->connect(m_other->createOutput("out", AttrType::Real));
    const u64 connected = input->hash({});
    EXPECT_NE(connected, stored);
    input->setReal(5);
    EXPECT_EQ(input->hash({}), connected);
}

// The definition of a hash must never change, because caches and files depend on it. The numbers
// were computed independently of the code.
TEST_F(InputHash, LiteralValues_AreTheSameEverywhere) {
    const auto hashOf = [this](AttrType kind, const char* text) {
        m_node->clearInputs();
        IInput* input = m_node->createInput("x", kind);
        EXPECT_TRUE(input->setString(text));
        return input->hash({});
    };
    EXPECT_EQ(hashOf(AttrType::Bool, "true"), 0x4c9b6ca3b1146fc8u);
    EXPECT_EQ(hashOf(AttrType::Int, "-3"), 0x866aac32ba2e32e4u);
    EXPECT_EQ(hashOf(AttrType::Real, "0.5"), 0xe6e9e74831addcadu);
    EXPECT_EQ(hashOf(AttrType::Vec3, "(1 2 3)"), 0x579d0ff5cfb24dbu);
    EXPECT_EQ(hashOf(AttrType::String, "text"), 0x9435e3591fe38546u);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
