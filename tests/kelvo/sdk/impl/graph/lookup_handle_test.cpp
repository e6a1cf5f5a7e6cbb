#include "kelvo/kelvo.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace qv::kelvo_sdk {
namespace {

using tests::LogCapture;

constexpr Name radius("radius");

class LookUp : public testing::Test {
protected:
    LookUp() {
        m_lamp.createInput("width", AttrType::Int);
        m_radius = m_lamp.createInput("Radius", AttrType::Real);
        m_lamp.createInput("radius", AttrType::Int);
        m_result = m_lamp.createOutput("result", AttrType::Real);
        m_object = m_lamp.createInput("object", AttrType::Object);
        m_member = m_object.createInput("member", AttrType::Real);
        m_list = m_lamp.createArray("list", AttrType::Real);
        m_list.append();
        m_second = m_list.append();
    }

    Scene m_scene = Scene::create();
    Node m_lamp = m_scene.createNode("light", "lamp");
    Input m_radius, m_object, m_member, m_list, m_second;
    Output m_result;
};

TEST_F(LookUp, NameInAnyForm_FindsTheFirstInput) {
    const std::string text = "RADIUS";
    const char array[16] = "radius";
    char changeable[] = "radius";
    const Name kept = radius;
    EXPECT_EQ(m_lamp["radius"], m_radius);
    EXPECT_EQ(m_lamp[radius], m_radius);
    EXPECT_EQ(m_lamp[kept], m_radius);
    EXPECT_EQ(m_lamp[text.c_str()], m_radius);
    EXPECT_EQ(m_lamp[String(text.c_str())], m_radius);
    EXPECT_EQ(m_lamp[NameView(std::string_view(text))], m_radius);
    EXPECT_EQ(m_lamp[array], m_radius);
    EXPECT_EQ(m_lamp[changeable], m_radius);
}

// Both literals are arrays of one type, so their choice is an array too, of unknown text.
TEST_F(LookUp, ChoiceOfTwoLiterals_FindsTheChosen) {
    for (const bool isWidth : {true, false})
        EXPECT_EQ(m_lamp[isWidth ? "width" : "color"].name(), isWidth ? "width" : "");
}

TEST_F(LookUp, Miss_IsEmptyAndLogged) {
    const LogCapture log;
    EXPECT_FALSE(m_lamp["Radiux"]);
    EXPECT_FALSE(m_lamp.output("radius"));
    EXPECT_FALSE(m_object["other"]);
    EXPECT_EQ(log.text(), "error: Input 'Radiux' not found in 'light' node 'lamp'.\n"
                          "error: Output 'radius' not found in 'light' node 'lamp'.\n"
                          "error: Input 'other' not found in input 'lamp.object'.\n");
}

TEST_F(LookUp, Null_IsTheEmptyName) {
    const LogCapture log;
    const char* none = nullptr;
    EXPECT_FALSE(m_lamp[none]);
    EXPECT_EQ(log.text(), "error: Input '' not found in 'light' node 'lamp'.\n");
}

TEST_F(LookUp, Path_IsNoName) {
    const LogCapture log;
    EXPECT_FALSE(m_lamp["list[1]"]);
    EXPECT_FALSE(m_lamp["object.member"]);
    EXPECT_EQ(log.text(), "error: Input 'list[1]' not found in 'light' node 'lamp'.\n"
                          "error: Input 'object.member' not found in 'light' node 'lamp'.\n");
    EXPECT_EQ(m_lamp.inputAt("list[1]"), m_second);
    EXPECT_EQ(m_lamp.inputAt("object.member"), m_member);
}

TEST_F(LookUp, Index_IsAPosition) {
    EXPECT_EQ(m_lamp.input(1), m_radius);
    EXPECT_EQ(m_list.input(1), m_second);
    EXPECT_EQ(m_lamp.output(0), m_result);
}

TEST_F(LookUp, MembersAndElements_AreFoundByName) {
    constexpr Name member("MEMBER");
    EXPECT_EQ(m_object["Member"], m_member);
    EXPECT_EQ(m_object[member], m_member);
    EXPECT_EQ(m_lamp["list"]["1"], m_second);
    EXPECT_FALSE(m_list.hasInput("01"));
    EXPECT_TRUE(m_object.hasInput(member, AttrType::Real));
}

TEST_F(LookUp, Output_IsFoundByName) {
    constexpr Name result("RESULT");
    EXPECT_EQ(m_lamp.output("Result"), m_result);
    EXPECT_EQ(m_lamp.output(result), m_result);
    EXPECT_TRUE(m_lamp.hasOutput(result, AttrType::Real));
    EXPECT_FALSE(m_lamp.hasOutput("result", AttrType::Int));
}

TEST_F(LookUp, Question_IsAboutTheFirstOfTheName) {
    const LogCapture log;
    EXPECT_TRUE(m_lamp.hasInput("radius"));
    EXPECT_TRUE(m_lamp.hasInput(radius, AttrType::Real));
    EXPECT_FALSE(m_lamp.hasInput("radius", AttrType::Int));
    EXPECT_FALSE(m_lamp.hasInput(String("color")));
    EXPECT_EQ(log.text(), "");
}

TEST_F(LookUp, NodeOfScene_IsFoundByName) {
    constexpr Name lamp("LAMP");
    const LogCapture log;
    EXPECT_EQ(m_scene["Lamp"], m_lamp);
    EXPECT_EQ(m_scene[lamp], m_lamp);
    EXPECT_EQ(m_scene.findNode(String("lamp")), m_lamp);
    EXPECT_FALSE(m_scene["lamp2"]);
    EXPECT_EQ(log.text(), "");
}

TEST_F(LookUp, BorrowedInput_IsNullForAMissWithoutALogEntry) {
    const LogCapture log;
    EXPECT_EQ(m_lamp.borrowInput("radius"), m_radius.get());
    EXPECT_EQ(m_lamp.borrowOutput("result"), m_result.get());
    EXPECT_EQ(m_object.borrowInput("member"), m_member.get());
    EXPECT_EQ(m_lamp.borrowInput("color"), nullptr);
    EXPECT_EQ(m_lamp.borrowOutput("color"), nullptr);
    EXPECT_EQ(log.text(), "");
}

TEST_F(LookUp, EmptyHandle_FindsNothing) {
    const LogCapture log;
    EXPECT_FALSE(Node()["radius"]);
    EXPECT_FALSE(Node().output("radius"));
    EXPECT_FALSE(Input()["radius"]);
    EXPECT_FALSE(Scene()["lamp"]);
    EXPECT_EQ(Node().borrowInput("radius"), nullptr);
    EXPECT_EQ(Node().borrowOutput("radius"), nullptr);
    EXPECT_EQ(Input().borrowInput("radius"), nullptr);
    EXPECT_EQ(log.text(), "");
}

// A node with more inputs finds them through an index by name.
TEST_F(LookUp, AmongManyInputs_FindsTheFirstOfTheName) {
    for (int i = 0; i < 200; ++i)
        m_lamp.createInput(String::format("in%d", i), AttrType::Real);
    constexpr Name last("IN199");
    EXPECT_EQ(m_lamp["In42"].name(), "in42");
    EXPECT_EQ(m_lamp[last].name(), "in199");
    EXPECT_EQ(m_lamp["radius"], m_radius);
    EXPECT_EQ(m_lamp.borrowInput("in200"), nullptr);
}

TEST_F(LookUp, NamesOfEveryLength_AreFoundInOtherCase) {
    std::string name;
    for (int length = 1; length <= 70; ++length) {
        name += static_cast<char>('a' + length % 26);
        const String lower(name.c_str());
        const Input made = m_lamp.createInput(lower, AttrType::Real);
        ASSERT_EQ(m_lamp[lower.toUpper()], made) << length;
        ASSERT_EQ(m_lamp[lower.toUpper().buf()], made) << length;
    }
}

TEST_F(LookUp, KeptName_StandsForAStringToo) {
    constexpr Name height("height");
    const Input made = m_lamp.createInput(height, AttrType::Real);
    EXPECT_EQ(m_lamp[height], made);
    EXPECT_EQ(made.name(), "height");
    EXPECT_TRUE(m_lamp.removeInput(height));
}

static_assert(std::is_same_v<Name, qv::Name>);

// 0 is also a null pointer, which would stand for the empty name.
template<typename Handle>
concept TakesNumbers = requires(const Handle& handle) {
    handle[0];
};
static_assert(!TakesNumbers<Scene> && !TakesNumbers<Node> && !TakesNumbers<Input>);
static_assert(!TakesNumbers<Snapshot> && !TakesNumbers<SnapshotNode> &&
              !TakesNumbers<SnapshotInput>);

} // namespace
} // namespace qv::kelvo_sdk
