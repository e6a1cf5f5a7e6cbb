#include "sdk/impl/input.h"
#include "sdk/impl/node.h"
#include "sdk/impl/output.h"
#include "tests/support/log_capture.h"
#include "tests/support/small_stack.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;

class NodeInputPath : public testing::Test {
protected:
    NodeInputPath() {
        m_node.setBases({"Shader", "Thing"}, false, false);
        m_array->appendElement()->createInput("m", AttrType::Int);
        m_array->appendElement();
        m_object->createInput("inner", AttrType::Object)->createInput("deep", AttrType::Int);
    }

    [[nodiscard]] std::string parsed(const char* path) {
        return pathOf(m_node.parseInputPath(path));
    }
    [[nodiscard]] std::string found(const char* path) { return pathOf(m_node.findInput(path)); }
    [[nodiscard]] static std::string pathOf(const IInput* input) {
        return input ? input->path().buf() : "none";
    }

    Node m_node{nullptr, "Material", "mat1"};
    IInput* m_color = m_node.createInput("color", AttrType::Rgba);
    IInput* m_array = m_node.createArray("arr", AttrType::Object);
    IInput* m_object = m_node.createInput("obj", AttrType::Object);
};

// ---- By name -------------------------------------------------------------------------------

TEST_F(NodeInputPath, InputByName_OfAConstNode_NeverCreates) {
    const Node& node = m_node;
    const LogCapture log;
    EXPECT_EQ(node.input(String("COLOR")), m_color);
    EXPECT_EQ(node.input(String("size")), nullptr);
    EXPECT_EQ(node.inputCount(), 3u);
    EXPECT_EQ(log.text(), "error: Input 'size' not found in 'Material' node 'mat1'.\n");
}

TEST_F(NodeInputPath, InputByName_CreatesAMissingOneOnce) {
    const LogCapture log;
    IInput* size = m_node.input(String("size"));
    ASSERT_NE(size, nullptr);
    EXPECT_EQ(size->type(), AttrType::Null);
    EXPECT_EQ(m_node.input(String("Size")), size);
    EXPECT_EQ(m_node.inputCount(), 4u);
    EXPECT_EQ(log.text(), "error: Input 'size' not found in 'Material' node 'mat1'.\n");
}

TEST_F(NodeInputPath, InputByIllegalName_IsNull) {
    const LogCapture log;
    EXPECT_EQ(m_node.input(String("a.b")), nullptr);
    EXPECT_EQ(log.text(), "error: Input 'a.b' not found in 'Material' node 'mat1'.\n"
                          "error: Cannot create illegally-named a.b 'Input' on node mat1.\n");
}

// ---- Parsed --------------------------------------------------------------------------------

struct Case {
    const char* path;
    const char* expected;
    const char* note;
};

constexpr Case kParsed[] = {
    {"color", "mat1.color", "name alone"},
    {"mat1.color", "mat1.color", "node first"},
    {"MAT1.Color", "mat1.color", "case ignored"},
    {"Material.color", "mat1.color", "type in place of the name"},
    {"Shader.color", "mat1.color", "base in place of the name"},
    {"thing.color", "mat1.color", "base without regard to case"},
    {"arr[1]", "mat1.arr[1]", "element"},
    {"arr[0].m", "mat1.arr[0].m", "member of an element"},
    {"mat1.obj.inner.deep", "mat1.obj.inner.deep", "members of members"},
    {"OBJ.INNER.DEEP", "mat1.obj.inner.deep", "members without regard to case"},
    {"", "none", "empty"},
    {"mat1.", "none", "nothing behind the node"},
    {"mat1", "none", "no input has the node's name"},
    {"size", "none", "no such input"},
    {"obj.x", "none", "no such member"},
    {"obj[0]", "none", "element of an object"},
    {"color.r", "none", "member of a plain input"},
    {"color[0]", "none", "element of a plain input"},
    {"other.color", "none", "another node's"},
    {"arr[", "none", "malformed"},
};

TEST_F(NodeInputPath, Parsed_LeadsThereOrNowhereSilently) {
    const LogCapture log;
    for (const Case& c : kParsed)
        EXPECT_EQ(parsed(c.path), c.expected) << c.path << ": " << c.note;
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(m_node.inputCount(), 3u);
}

TEST_F(NodeInputPath, ParsedNodeNameAlone_IsAnInputOfThatName) {
    IInput* same = m_node.createInput("mat1", AttrType::Int);
    EXPECT_EQ(m_node.parseInputPath("mat1"), same);
    EXPECT_EQ(m_node.parseInputPath("mat1.mat1"), same);
}

TEST_F(NodeInputPath, ParsedIndexPastTheEnd_GrowsTheArray) {
    EXPECT_EQ(parsed("arr[5]"), "mat1.arr[5]");
    EXPECT_EQ(m_array->inputCount(), 6u);
}

TEST_F(NodeInputPath, ParsedAppendStep_AddsOneElement) {
    EXPECT_EQ(parsed("arr[+]"), "mat1.arr[2]");
    EXPECT_EQ(m_array->inputCount(), 3u);
    ds::Vector<PathParser::Token> tokens = PathParser::parsePath("mat1.arr[0]");
    tokens[2].index = -7;
    EXPECT_EQ(pathOf(m_node.parseInputPath(tokens)), "mat1.arr[3]");
}

TEST_F(NodeInputPath, ElementsMadeOnAWayThatLeadsNowhere_Stay) {
    EXPECT_EQ(parsed("arr[3].x"), "none");
    EXPECT_EQ(m_array->inputCount(), 4u);
}

TEST_F(NodeInputPath, ParsedTokens_NeedOne) {
    EXPECT_EQ(m_node.parseInputPath(ds::Vector<PathParser::Token>()), nullptr);
    EXPECT_EQ(m_node.parseInputPath(PathParser::parsePath("mat1")), nullptr);
}

// A first step that is not the node names an input, and counts again as a step below it.
TEST_F(NodeInputPath, ParsedTokensWithoutTheNode_AskForTheNameTwice) {
    EXPECT_EQ(pathOf(m_node.parseInputPath(PathParser::parsePath("color"))), "none");
    EXPECT_EQ(pathOf(m_node.parseInputPath(PathParser::parsePath("size"))), "none");
    IInput* twin = m_object->createInput("obj", AttrType::Int);
    EXPECT_EQ(m_node.parseInputPath(PathParser::parsePath("obj")), twin);
}

// ---- Found ---------------------------------------------------------------------------------

constexpr Case kFound[] = {
    {"color", "mat1.color", "name alone"},
    {"mat1.color", "mat1.color", "node first"},
    {"mat1.COLOR", "mat1.color", "case ignored"},
    {"MAT1.color", "mat1.color", "node's case ignored"},
    {"arr[1]", "mat1.arr[1]", "element"},
    {"arr[0].M", "mat1.arr[0].m", "member of an element"},
    {"obj.inner.deep", "mat1.obj.inner.deep", "members of members"},
    {"Material.color", "none", "the type does not stand for the name"},
    {"arr[2]", "none", "past the end"},
    {"arr[01]", "none", "not as paths write it"},
    {"arr[+]", "none", "nothing is made"},
    {"arr[0", "none", "cut off"},
    {"arr[0]m", "none", "no separator"},
    {"arr.0", "none", "not as paths write it"},
    {"obj.", "none", "nothing behind the separator"},
    {"obj[0]", "none", "element of an object"},
    {"color.r", "none", "member of a plain input"},
    {"colo", "none", "part of a name"},
    {"color ", "none", "blank behind"},
    {"", "none", "empty"},
    {"mat1.", "none", "the node alone"},
    {"mat1", "none", "no input has the node's name"},
};

TEST_F(NodeInputPath, Found_AreWholePathsWithoutRegardToCase) {
    const LogCapture log;
    for (const Case& c : kFound)
        EXPECT_EQ(found(c.path), c.expected) << c.path << ": " << c.note;
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(m_array->inputCount(), 2u);
}

TEST_F(NodeInputPath, EveryInput_IsFoundByItsPath) {
    for (IInput* input :
         {m_color, m_array, m_object, m_array->input(u64(0)), m_array->input(u64(0))->input(u64(0)),
          m_object->input(u64(0)), m_object->input(u64(0))->input(u64(0))})
        EXPECT_EQ(m_node.findInput(input->path()), input) << input->path().buf();
}

TEST_F(NodeInputPath, FoundAmongInputsOfOneName_FirstThatHasThePathWins) {
    IInput* second = m_node.createInput("color", AttrType::Object);
    IInput* red = second->createInput("r", AttrType::Real);
    EXPECT_EQ(m_node.findInput("color"), m_color);
    EXPECT_EQ(m_node.findInput("color.r"), red);
}

TEST_F(NodeInputPath, FoundOnANodeWithoutAttributes_IsNull) {
    const Node node(nullptr, "thing", "n");
    EXPECT_EQ(node.findInput("a"), nullptr);
    EXPECT_EQ(node.findOutput("a"), nullptr);
}

TEST_F(NodeInputPath, Outputs_AreFoundExactly) {
    IOutput* out = m_node.createOutput("out", AttrType::Real);
    const LogCapture log;
    EXPECT_EQ(m_node.findOutput("out"), out);
    EXPECT_EQ(m_node.findOutput("mat1.out"), out);
    EXPECT_EQ(m_node.findOutput("OUT"), nullptr);
    EXPECT_EQ(m_node.findOutput("Mat1.out"), nullptr);
    EXPECT_EQ(m_node.findOutput(""), nullptr);
    EXPECT_EQ(log.text(), "");
}

// Arrays of arrays, nested far deeper than a recursion could go.
TEST_F(NodeInputPath, DeepPath_IsFoundAndParsed) {
    constexpr int kDepth = 5'000;
    IInput* inner = m_node.createArray("deep", AttrType::Array);
    std::string path = "deep";
    for (int i = 0; i < kDepth; ++i) {
        inner = inner->createArray("0", AttrType::Array);
        path += "[0]";
    }
    tests::runOnSmallStack([&] {
        EXPECT_EQ(m_node.findInput(String(path)), inner);
        EXPECT_EQ(m_node.parseInputPath(String(path)), inner);
    });
}

} // namespace
} // namespace qv::kelvo_sdk::impl
