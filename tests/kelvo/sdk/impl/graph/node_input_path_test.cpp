#include "kelvo/sdk/impl/graph/output.h"
#include "tests/support/log_capture.h"
#include "tests/support/material_node.h"
#include "tests/support/node_probe.h"
#include "tests/support/small_stack.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;

class NodeInputPath : public testing::Test, protected tests::MaterialNode {
protected:
    [[nodiscard]] std::string found(const char* path) const {
        return tests::pathOf(node.findInput(path));
    }
};

// ---- By name -------------------------------------------------------------------------------

TEST_F(NodeInputPath, InputByName_OfAConstNode_NeverCreates) {
    const Node& constNode = node;
    const std::string before = inputs();
    const LogCapture log;
    EXPECT_EQ(constNode.input(String("COLOR")), color);
    EXPECT_EQ(constNode.input(String("size")), nullptr);
    EXPECT_EQ(constNode.input(String("")), nullptr);
    EXPECT_EQ(inputs(), before);
    EXPECT_EQ(log.text(), "error: Input 'size' not found in 'Material' node 'mat1'.\n"
                          "error: Input '' not found in 'Material' node 'mat1'.\n");
}

TEST_F(NodeInputPath, InputByName_GivesAnInputOfAnyKindAsItIs) {
    const std::string before = inputs();
    const LogCapture log;
    EXPECT_EQ(node.input(String("color")), color);
    EXPECT_EQ(node.input(String("ARR")), array);
    EXPECT_EQ(node.input(String("Obj")), object);
    EXPECT_EQ(inputs(), before);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeInputPath, InputByName_CreatesAMissingOneOnce) {
    const LogCapture log;
    IInput* size = node.input(String("size"));
    ASSERT_NE(size, nullptr);
    EXPECT_EQ(size->type(), AttrType::Null);
    EXPECT_EQ(size->name(), "size");
    EXPECT_EQ(node.input(String("size")), size);
    EXPECT_EQ(node.input(String("Size")), size);
    EXPECT_EQ(node.inputCount(), 5u);
    EXPECT_EQ(node.input(u64(4)), size);
    EXPECT_EQ(log.text(), "error: Input 'size' not found in 'Material' node 'mat1'.\n");
}

TEST_F(NodeInputPath, InputByName_FirstOfTheNameWins) {
    node.createInput("color", AttrType::Int);
    const Node& constNode = node;
    EXPECT_EQ(node.input(String("color")), color);
    EXPECT_EQ(constNode.input(String("color")), color);
}

// This look-up takes names, not paths.
TEST_F(NodeInputPath, InputByIllegalName_IsNullAndNamedTwice) {
    const std::string before = inputs();
    for (const char* name :
         {"", "a.b", "obj.inner", "mat1.color", "arr[0]", "1a", " a", "\xc3\xa4"}) {
        const LogCapture log;
        EXPECT_EQ(node.input(String(name)), nullptr) << name;
        EXPECT_EQ(log.text(), std::string("error: Input '") + name +
                                  "' not found in 'Material' node 'mat1'.\n"
                                  "error: Cannot create illegally-named " +
                                  name + " 'Input' on node mat1.\n");
    }
    EXPECT_EQ(inputs(), before);
}

// ---- Inputs found --------------------------------------------------------------------------

struct Case {
    const char* path;
    const char* expected;
    const char* note;
};

constexpr Case kFound[] = {
    {"color", "mat1.color", "name alone"},
    {"mat1.color", "mat1.color", "node first"},
    {"mat1.COLOR", "mat1.color", "case ignored"},
    {"MAT1.color", "mat1.color", "node's case ignored"},
    {"arr", "mat1.arr", "the array itself"},
    {"arr[1]", "mat1.arr[1]", "element"},
    {"arr[0].M", "mat1.arr[0].m", "member of an element"},
    {"obj.inner", "mat1.obj.inner", "member"},
    {"obj.inner.deep", "mat1.obj.inner.deep", "members of members"},
    {"grid[0]", "mat1.grid[0]", "array in an array"},
    {"Material.color", "none", "the type does not stand for the name"},
    {"Shader.color", "none", "nor does a base"},
    {"other.color", "none", "another node's"},
    {"mat1.mat1.color", "none", "the node twice"},
    {"mat12.color", "none", "more than the node's name"},
    {"mat.color", "none", "part of the node's name"},
    {"arr[2]", "none", "past the end"},
    {"arr[01]", "none", "leading zero"},
    {"arr[00]", "none", "two zeros"},
    {"arr[-0]", "none", "negative zero"},
    {"arr[+0]", "none", "signed index"},
    {"arr[-1]", "none", "negative index"},
    {"arr[ 1]", "none", "blank in the index"},
    {"arr[1 ]", "none", "blank behind the index"},
    {"arr [1]", "none", "blank before the bracket"},
    {"arr[1] ", "none", "blank behind the bracket"},
    {"arr[0x1]", "none", "hexadecimal index"},
    {"arr[18446744073709551616]", "none", "beyond 64 bits, 0 without what is beyond"},
    {"arr[+]", "none", "nothing is made"},
    {"arr[]", "none", "no index"},
    {"arr[0", "none", "cut off"},
    {"arr[", "none", "open bracket"},
    {"arr[0]m", "none", "no separator"},
    {"arr[0]x", "none", "text behind the bracket"},
    {"arr[0].", "none", "nothing behind the separator"},
    {"arr[0].m.", "none", "nothing behind the separator of a plain member"},
    {"arr[0][m]", "none", "member in brackets"},
    {"arr[0][0]", "none", "element of an object"},
    {"arr.0", "none", "element as a member"},
    {"arr.[0]", "none", "separator before the bracket"},
    {"arr.0]", "none", "separator for the bracket"},
    {"arr.m", "none", "member of an array"},
    {"obj.", "none", "nothing behind the separator"},
    {"obj..inner", "none", "nothing between two separators"},
    {"obj.inn", "none", "part of a member's name"},
    {"obj.inner.deeper", "none", "more than a member's name"},
    {"obj[0]", "none", "element of an object"},
    {"obj[inner]", "none", "member in brackets"},
    {"obj[inner", "none", "bracket for the separator"},
    {"inner", "none", "member without what holds it"},
    {"color.r", "none", "member of a plain input"},
    {"color[0]", "none", "element of a plain input"},
    {"colo", "none", "part of a name"},
    {"colors", "none", "more than a name"},
    {" color", "none", "blank in front"},
    {"color ", "none", "blank behind"},
    {".color", "none", "nothing before the separator"},
    {"[0]", "none", "element of nothing"},
    {"", "none", "empty"},
    {".", "none", "separator alone"},
    {"mat1.", "none", "the node alone"},
    {"mat1..color", "none", "two separators"},
    {"mat1", "none", "no input has the node's name"},
};

TEST_F(NodeInputPath, Found_AreWholePathsWithoutRegardToCase) {
    const std::string before = inputs();
    const LogCapture log;
    for (const Case& c : kFound)
        EXPECT_EQ(found(c.path), c.expected) << c.path << ": " << c.note;
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(inputs(), before);
}

TEST_F(NodeInputPath, EveryInput_IsFoundByItsPath) {
    for (IInput* input :
         {color, array, object, array->input(u64(0)), array->input(u64(0))->input(u64(0)),
          object->input(u64(0)), object->input(u64(0))->input(u64(0)), grid->input(u64(0))})
        EXPECT_EQ(node.findInput(input->path()), input) << input->path().buf();
}

TEST_F(NodeInputPath, PathWithANul_IsNotTheOneInFrontOfIt) {
    EXPECT_EQ(node.findInput(String(std::string_view("color\0", 6))), nullptr);
    EXPECT_EQ(node.findInput(String(std::string_view("arr[1\0]", 7))), nullptr);
}

TEST_F(NodeInputPath, InputOfTheNodesName_IsFoundByTheNameAlone) {
    IInput* same = node.createInput("mat1", AttrType::Object);
    IInput* inside = same->createInput("color", AttrType::Int);
    EXPECT_EQ(node.findInput("mat1"), same);
    EXPECT_EQ(node.findInput("mat1.mat1"), same);
    EXPECT_EQ(node.findInput("mat1.color"), color);
    EXPECT_EQ(node.findInput("mat1.mat1.color"), inside);
}

TEST_F(NodeInputPath, InputWhoseNameBeginsWithTheNodes_IsFoundWithAndWithoutTheNode) {
    IInput* longer = node.createInput("mat1x", AttrType::Object);
    IInput* inside = longer->createInput("color", AttrType::Int);
    EXPECT_EQ(node.findInput("mat1x"), longer);
    EXPECT_EQ(node.findInput("mat1x.color"), inside);
    EXPECT_EQ(node.findInput("mat1.mat1x.color"), inside);
}

TEST_F(NodeInputPath, FoundAmongInputsOfOneName_FirstThatHasThePathWins) {
    IInput* second = node.createInput("color", AttrType::Object);
    IInput* red = second->createInput("r", AttrType::Real);
    IInput* third = node.createArray("COLOR", AttrType::Int);
    IInput* first = third->appendElement();
    EXPECT_EQ(node.findInput("color"), color);
    EXPECT_EQ(node.findInput("color.r"), red);
    EXPECT_EQ(node.findInput("color[0]"), first);
}

TEST_F(NodeInputPath, MovedElements_AreFoundWhereTheyAre) {
    IInput* first = array->input(u64(0));
    array->moveElement(0, 1);
    EXPECT_EQ(node.findInput("arr[1]"), first);
    array->removeInput(u64(0));
    EXPECT_EQ(node.findInput("arr[0]"), first);
    EXPECT_EQ(node.findInput("arr[1]"), nullptr);
}

TEST_F(NodeInputPath, FoundPaths_FollowTheNodesName) {
    tests::probe(node).setName("mat2");
    EXPECT_EQ(node.findInput("mat2.color"), color);
    EXPECT_EQ(node.findInput("mat1.color"), nullptr);
}

TEST_F(NodeInputPath, FoundOnANodeWithoutAttributes_IsNull) {
    const Node empty(nullptr, "thing", "n");
    EXPECT_EQ(empty.findInput("a"), nullptr);
    EXPECT_EQ(empty.findInput(""), nullptr);
    EXPECT_EQ(empty.findOutput("a"), nullptr);
    EXPECT_EQ(empty.findOutput(""), nullptr);
}

// A leaked reference to an input would keep its text alive.
TEST_F(NodeInputPath, NoReference_IsTakenForTheCaller) {
    const String text("kept");
    const Node& constNode = node;
    node.createInput("said", AttrType::String);
    node.createArray("texts", AttrType::String)->appendElement();
    object->createInput("text", AttrType::String);
    for (const char* path : {"said", "texts[0]", "obj.text"})
        EXPECT_TRUE(node.findInput(path)->setString(text)) << path;
    EXPECT_TRUE(node.input(String("said"))->setString(text));
    EXPECT_TRUE(constNode.input(String("said"))->setString(text));
    EXPECT_EQ(text.get()->refCount(), 4);
    for (const char* name : {"said", "texts", "obj"})
        node.removeInput(name);
    EXPECT_EQ(text.get()->refCount(), 1);
}

// Arrays of arrays nest far deeper than a recursion could go.
TEST_F(NodeInputPath, DeepPath_IsFoundAndParsed) {
    constexpr int kDepth = 5'000;
    IInput* inner = node.createArray("deep", AttrType::Array);
    std::string path = "deep";
    for (int i = 0; i < kDepth; ++i) {
        inner = inner->createArray("0", AttrType::Array);
        path += "[0]";
    }
    tests::runOnSmallStack([&] {
        EXPECT_EQ(node.findInput(String(path)), inner);
        EXPECT_EQ(node.parseInputPath(String(path)), inner);
    });
}

// ---- Outputs found -------------------------------------------------------------------------

TEST_F(NodeInputPath, Outputs_AreFoundExactly) {
    IOutput* out = node.createOutput("out", AttrType::Real);
    const LogCapture log;
    EXPECT_EQ(node.findOutput("out"), out);
    EXPECT_EQ(node.findOutput("mat1.out"), out);
    for (const char* path :
         {"OUT", "mat1.Out", "Mat1.out", "MAT1.out", "Material.out", "ou", "outs", "out ", " out",
          "mat1.mat1.out", "mat1.", "mat1", ".out", "out.x", ""})
        EXPECT_EQ(node.findOutput(path), nullptr) << path;
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(node.outputCount(), 1u);
}

TEST_F(NodeInputPath, OutputOfTheNodesName_IsFoundByTheNameAlone) {
    IOutput* out = node.createOutput("mat1", AttrType::Real);
    EXPECT_EQ(node.findOutput("mat1"), out);
    EXPECT_EQ(node.findOutput("mat1.mat1"), out);
    EXPECT_EQ(node.findOutput("MAT1"), nullptr);
}

TEST_F(NodeInputPath, OutputsOfOneName_FirstWins) {
    IOutput* first = node.createOutput("out", AttrType::Real);
    node.createOutput("out", AttrType::Int);
    EXPECT_EQ(node.findOutput("out"), first);
}

// Two outputs whose names differ in case can exist if their kinds differ.
TEST_F(NodeInputPath, OutputsThatDifferInCase_AreEachFound) {
    IOutput* lower = node.createOutput("out", AttrType::Real);
    IOutput* upper = node.createOutput("OUT", AttrType::Int);
    EXPECT_EQ(node.findOutput("out"), lower);
    EXPECT_EQ(node.findOutput("OUT"), upper);
}

TEST_F(NodeInputPath, InputsAndOutputs_AreSearchedApart) {
    node.createOutput("out", AttrType::Real);
    EXPECT_EQ(node.findOutput("color"), nullptr);
    EXPECT_EQ(node.findInput("out"), nullptr);
    EXPECT_EQ(node.parseInputPath("out"), nullptr);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
