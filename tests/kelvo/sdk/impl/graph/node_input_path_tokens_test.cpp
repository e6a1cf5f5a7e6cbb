#include "tests/support/log_capture.h"
#include "tests/support/material_node.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using Token = PathParser::Token;
using Tokens = ds::Vector<Token>;

Token name(const char* text) {
    return {text, 0, -1};
}
Token element(i64 index) {
    return {String(), 0, index};
}

// Checks that no test here logs a line.
class NodeInputPathTokens : public testing::Test, protected tests::MaterialNode {
protected:
    void TearDown() override { EXPECT_EQ(m_log.text(), ""); }

    [[nodiscard]] std::string walked(const Tokens& tokens) {
        return tests::pathOf(node.parseInputPath(tokens));
    }

    tests::LogCapture m_log;
};

// ---- Steps made by hand --------------------------------------------------------------------

TEST_F(NodeInputPathTokens, NoTokens_LeadNowhere) {
    EXPECT_EQ(walked({}), "none");
}

TEST_F(NodeInputPathTokens, NodesStepAlone_LeadsNowhere) {
    node.createInput("mat1", AttrType::Int);
    EXPECT_EQ(walked({name("mat1")}), "none");
    EXPECT_EQ(walked({name("mat1"), name("mat1")}), "mat1.mat1");
}

TEST_F(NodeInputPathTokens, NodesStep_IsReadWithoutRegardToCase) {
    EXPECT_EQ(walked({name("MAT1"), name("color")}), "mat1.color");
}

TEST_F(NodeInputPathTokens, TypeInTokens_DoesNotStandForTheName) {
    EXPECT_EQ(walked({name("Material"), name("color")}), "none");
    EXPECT_EQ(walked({name("Shader"), name("color")}), "none");
}

TEST_F(NodeInputPathTokens, AuxAndTheIndexOfTheNodesStep_AreNotRead) {
    EXPECT_EQ(walked({{"mat1", 99, 5}, {"obj", 98, -1}, {"inner", 97, -1}}), "mat1.obj.inner");
    EXPECT_EQ(walked({{"mat1", 99, -2}, {"arr", 98, -1}, {"x", 97, 1}}), "mat1.arr[1]");
}

TEST_F(NodeInputPathTokens, IndexOfTheStepBehindTheNodes_IsNotRead) {
    for (const i64 index : {i64(0), i64(7), i64(-2), std::numeric_limits<i64>::max()}) {
        EXPECT_EQ(walked({name("mat1"), {"arr", 0, index}}), "mat1.arr");
        EXPECT_EQ(walked({name("mat1"), {"color", 0, index}}), "mat1.color");
        EXPECT_EQ(walked({name("mat1"), {"size", 0, index}}), "none");
    }
    EXPECT_EQ(array->inputCount(), 2u);
}

TEST_F(NodeInputPathTokens, TextOfAnElementStep_IsNotRead) {
    EXPECT_EQ(walked({name("mat1"), name("arr"), {"m", 0, 1}}), "mat1.arr[1]");
    EXPECT_EQ(walked({name("mat1"), name("arr"), {"no name", 0, 0}, name("m")}), "mat1.arr[0].m");
}

TEST_F(NodeInputPathTokens, EmptyTexts_NameNothing) {
    EXPECT_EQ(walked({name("")}), "none");
    EXPECT_EQ(walked({Token()}), "none");
    EXPECT_EQ(walked({Token(), name("mat1"), name("color")}), "none");
    EXPECT_EQ(walked({name("mat1"), Token()}), "none");
    EXPECT_EQ(walked({name("mat1"), element(0)}), "none");
    EXPECT_EQ(walked({name("mat1"), name("obj"), Token()}), "none");
    EXPECT_EQ(walked({name("mat1"), name("arr"), Token()}), "none");
    EXPECT_EQ(walked({name("mat1"), name("color"), Token()}), "none");
    EXPECT_EQ(walked({name("mat1"), name("obj"), Token(), name("inner")}), "none");
}

TEST_F(NodeInputPathTokens, NegativeIndices_EachMakeOneElement) {
    u64 count = array->inputCount();
    for (const i64 index : {i64(-2), i64(-3), i64(-1000), std::numeric_limits<i64>::min()}) {
        const IInput* made = node.parseInputPath({name("mat1"), name("arr"), element(index)});
        ASSERT_EQ(array->inputCount(), count + 1);
        EXPECT_EQ(made, array->input(count++));
    }
}

// A member step looks for an element of that name in an array, and never creates one.
TEST_F(NodeInputPathTokens, MemberStepIntoAnArray_TakesAnElementByItsName) {
    EXPECT_EQ(walked({name("mat1"), name("arr"), name("1")}), "mat1.arr[1]");
    EXPECT_EQ(walked({name("mat1"), name("arr"), name("2")}), "none");
    EXPECT_EQ(walked({name("mat1"), name("arr"), name("+")}), "none");
    EXPECT_EQ(array->inputCount(), 2u);
}

TEST_F(NodeInputPathTokens, MissingSteps_LeadNowhereAndCreateNothing) {
    const std::string before = inputs();
    EXPECT_EQ(walked({name("size")}), "none");
    EXPECT_EQ(walked({name("size"), name("size")}), "none");
    EXPECT_EQ(walked({name("mat1"), name("size")}), "none");
    EXPECT_EQ(walked({name("mat1"), name("obj"), name("size")}), "none");
    EXPECT_EQ(walked({name("mat1"), name("color"), name("color")}), "none");
    EXPECT_EQ(walked({name("mat1"), name("color"), element(-2)}), "none");
    EXPECT_EQ(walked({name("mat1"), name("obj"), element(3)}), "none");
    EXPECT_EQ(inputs(), before);
}

TEST_F(NodeInputPathTokens, CallersTokens_StayAsTheyAre) {
    const Tokens tokens{name("mat1"), name("arr"), element(1)};
    EXPECT_EQ(walked(tokens), "mat1.arr[1]");
    ASSERT_EQ(tokens.size(), 3u);
    EXPECT_EQ(tokens[0].text, "mat1");
    EXPECT_EQ(walked(tokens), "mat1.arr[1]");
}

// ---- A first step that is not the node's ---------------------------------------------------
// It names an input, and counts again as a step below it.

TEST_F(NodeInputPathTokens, FirstInputsName_IsAskedOfItsMembersToo) {
    EXPECT_EQ(walked({name("color")}), "none");
    EXPECT_EQ(walked({name("obj")}), "none");
    EXPECT_EQ(walked({name("obj"), name("inner")}), "none");
    EXPECT_EQ(walked({name("arr"), element(0)}), "none");
}

TEST_F(NodeInputPathTokens, MemberOfTheFirstInputsName_IsReached) {
    object->createInput("OBJ", AttrType::Object)->createInput("x", AttrType::Int);
    EXPECT_EQ(walked({name("obj")}), "mat1.obj.OBJ");
    EXPECT_EQ(walked({name("Obj"), name("x")}), "mat1.obj.OBJ.x");
    EXPECT_EQ(walked({name("obj"), name("obj")}), "none");
}

TEST_F(NodeInputPathTokens, IndexOfTheFirstInputsStep_PicksAnElement) {
    EXPECT_EQ(walked({{"arr", 0, 0}, name("m")}), "mat1.arr[0].m");
    EXPECT_EQ(walked({{"arr", 0, 3}}), "mat1.arr[3]");
    EXPECT_EQ(walked({{"arr", 0, -2}}), "mat1.arr[4]");
    EXPECT_EQ(walked({{"color", 0, 0}}), "none");
    EXPECT_EQ(walked({{"size", 0, 0}}), "none");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
