#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

class InputTest : public testing::Test {
protected:
    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node* m_node = static_cast<Node*>(m_scene->createNode("thing", "thing"));
};

TEST_F(InputTest, New_StartsWithOneReferenceAndIsInNoList) {
    IInput* input = new Input(m_node, nullptr, "size", AttrType::Real, AttrType::Null);
    EXPECT_EQ(m_node->inputCount(), 0u);
    EXPECT_EQ(input->node(), m_node);
    EXPECT_EQ(input->parent(), nullptr);
    EXPECT_STREQ(input->name().buf(), "size");
    EXPECT_STREQ(input->path().buf(), "thing.size");
    input->decRef();
}

struct TypeNameCase {
    AttrType type;
    AttrType elementType;
    const char* expected;
};

class InputTypeName : public InputTest, public testing::WithParamInterface<TypeNameCase> {};

TEST_P(InputTypeName, Result) {
    const auto input = RefersTo<IInput>::adopt(
        new Input(m_node, nullptr, "x", GetParam().type, GetParam().elementType));
    EXPECT_STREQ(input->typeName().buf(), GetParam().expected);
    EXPECT_EQ(input->type(), GetParam().type);
}

const TypeNameCase kTypeNames[] = {
    {AttrType::Null, AttrType::Null, "Null"},
    {AttrType::Real, AttrType::Null, "Real"},
    {AttrType::Array, AttrType::Node, "Array<Node>"},
    {AttrType::Array, AttrType::Null, "Array<Null>"},
    {AttrType::Buffer, AttrType::Null, "Buffer<Null>"},
    {AttrType::Object, AttrType::Null, "Object"},
    {AttrType(19), AttrType::Null, "<unknown>"},
    {AttrType(300), AttrType::Null, "<unknown>"},
    {AttrType(-1), AttrType::Null, "<unknown>"},
};
INSTANTIATE_TEST_SUITE_P(Table, InputTypeName, testing::ValuesIn(kTypeNames));

TEST_F(InputTest, UnknownKind_HoldsNothingAndConnectsToNothing) {
    IInput* input = m_node->createInput("x", AttrType(42));
    EXPECT_FALSE(input->setInt(1));
    EXPECT_FALSE(input->setString("1"));
    EXPECT_EQ(input->appendElement(), nullptr);
    EXPECT_EQ(input->hash({}), 0u);
    EXPECT_EQ(m_node->createInput("x", AttrType(42)), input);
}

TEST_F(InputTest, OutlivingItsNode_KnowsNoNodeAndKeepsItsValue) {
    auto node = RefersTo<Node>::adopt(new Node(nullptr, "thing", "gone"));
    const RefersTo<IInput> input(node->createInput("size", AttrType::Real));
    input->setReal(4);
    node.reset();
    EXPECT_EQ(input->node(), nullptr);
    EXPECT_STREQ(input->path().buf(), "size");
    EXPECT_TRUE(input->setReal(5));
    double value = 0;
    EXPECT_TRUE(input->readReal(value, true, nullptr));
    EXPECT_EQ(value, 5);
}

TEST_F(InputTest, Clone_KeepsTheConnectionAndTellsNobody) {
    Node* other = static_cast<Node*>(m_scene->createNode("thing", "other"));
    IOutput* output = other->createOutput("out", AttrType::Real);
    IInput* input = m_node->createInput("in", AttrType::Real);
    input->connect(output);
    m_node->setDirty(false);
    const auto copy = RefersTo<IInput>::adopt(static_cast<Input*>(input)->clone(m_node, nullptr));
    EXPECT_EQ(copy->source(), output);
    EXPECT_EQ(output->targetCount(), 2u);
    EXPECT_FALSE(m_node->dirty(false));
}

TEST_F(InputTest, CloneOfALink_IsClearedWithItsNode) {
    Node* other = static_cast<Node*>(m_scene->createNode("thing", "other"));
    IInput* link = m_node->createInput("link", AttrType::Node);
    link->setNode(other);
    const auto copy = RefersTo<IInput>::adopt(static_cast<Input*>(link)->clone(m_node, nullptr));
    m_scene->removeNode(other);
    EXPECT_EQ(static_cast<Input&>(*copy).value().asNode(), nullptr);
}

TEST_F(InputTest, CloneForANodeOfAnotherScene_LinksAndConnectsToNothing) {
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    INode* far = scene->createNode("thing", "far");
    IInput* link = m_node->createInput("link", AttrType::Node);
    IInput* in = m_node->createInput("in", AttrType::Real);
    link->setNode(m_node);
    INode* source = m_scene->createNode("thing", "source");
    ASSERT_TRUE(in->connect(source->createOutput("out", AttrType::Real)));
    const auto farLink = RefersTo<IInput>::adopt(static_cast<Input*>(link)->clone(far, nullptr));
    const auto farIn = RefersTo<IInput>::adopt(static_cast<Input*>(in)->clone(far, nullptr));
    EXPECT_EQ(static_cast<Input&>(*farLink).value().asNode(), nullptr);
    EXPECT_EQ(farIn->source(), nullptr);
}

// ---- Bytes ---------------------------------------------------------------------------------

TEST_F(InputTest, OwnBytes_AreThoseOfItselfNameAndValue) {
    auto* number = static_cast<Input*>(m_node->createInput("number", AttrType::Int));
    EXPECT_EQ(number->ownBytes(), sizeof(Input) + 6);
    auto* text = static_cast<Input*>(m_node->createInput("text", AttrType::String));
    text->setString(String(std::string(5000, 'x').c_str()));
    EXPECT_EQ(text->ownBytes(), sizeof(Input) + 4 + text->value().payloadBytes());
    EXPECT_GE(text->value().payloadBytes(), 5000u);
}

TEST_F(InputTest, OwnBytes_HaveTheValueThatIsKeptAside) {
    auto* text = static_cast<Input*>(m_node->createInput("text", AttrType::String));
    text->setString(String(std::string(5000, 'x').c_str()));
    text->stash();
    const u64 payload = text->value().payloadBytes();
    EXPECT_EQ(text->ownBytes(),
              sizeof(Input) + 4 + payload + sizeof(InputExtras) + sizeof(Value) + payload);
}

TEST_F(InputTest, OwnBytes_HaveTheMembers) {
    auto* object = static_cast<Input*>(m_node->createInput("object", AttrType::Object));
    auto* member = static_cast<Input*>(object->createInput("m", AttrType::Int));
    EXPECT_EQ(object->ownBytes(),
              sizeof(Input) + 6 + sizeof(InputExtras) + sizeof(member) + member->ownBytes());
}

TEST_F(InputTest, Description_MakesAnEqualInput) {
    AttrData data = AttrData::withDefault(0.5);
    data.silent = true;
    data.describe().unit = "m";
    auto* input = static_cast<Input*>(m_node->createInput("size", std::move(data)));
    input->setReal(2);
    const AttrData again = input->description();
    EXPECT_EQ(again.type, AttrType::Real);
    EXPECT_EQ(again.value, Value(2.0));
    EXPECT_TRUE(again.silent);
    EXPECT_STREQ(again.details->unit.buf(), "m");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
