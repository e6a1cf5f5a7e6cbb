#include "sdk/impl/input.h"
#include "sdk/impl/node.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using Token = PathParser::Token;
using Tokens = ds::Vector<Token>;

void listPaths(IInput& input, std::string& out) {
    out += std::string(input.path().buf()) + ' ' + input.typeName().buf() + '\n';
    for (u64 i = 0; i < input.inputCount(); ++i)
        listPaths(*input.input(i), out);
}

std::string pathOf(const IInput* input) {
    return input ? input->path().buf() : "none";
}

Token name(const char* text) {
    return {text, 0, -1};
}
Token element(i64 index) {
    return {String(), 0, index};
}

// Whatever a test does here, nothing is logged.
class NodeInputPathParse : public testing::Test {
protected:
    NodeInputPathParse() {
        m_node.setBases({"Shader", "Thing"}, false, false);
        m_array->appendElement()->createInput("m", AttrType::Int);
        m_array->appendElement();
        m_object->createInput("inner", AttrType::Object)->createInput("deep", AttrType::Int);
        m_grid->createArray("0", AttrType::Int);
    }
    void TearDown() override { EXPECT_EQ(m_log.text(), ""); }

    [[nodiscard]] std::string parsed(const char* path) {
        return pathOf(m_node.parseInputPath(path));
    }
    [[nodiscard]] std::string walked(const Tokens& tokens) {
        return pathOf(m_node.parseInputPath(tokens));
    }
    // All inputs of the node at any depth, with their kinds.
    [[nodiscard]] std::string inputs() const {
        std::string list;
        for (u64 i = 0; i < m_node.inputCount(); ++i)
            listPaths(*m_node.input(i), list);
        return list;
    }

    Node m_node{nullptr, "Material", "mat1"};
    IInput* m_color = m_node.createInput("color", AttrType::Rgba);
    IInput* m_array = m_node.createArray("arr", AttrType::Object);
    IInput* m_object = m_node.createInput("obj", AttrType::Object);
    IInput* m_grid = m_node.createArray("grid", AttrType::Array);
    tests::LogCapture m_log;
};

// ---- Texts: the first step -----------------------------------------------------------------

struct Case {
    const char* path;
    const char* expected;
    const char* note;
};

constexpr Case kParsed[] = {
    {"color", "mat1.color", "name alone"},
    {"COLOR", "mat1.color", "name in other case"},
    {"mat1.color", "mat1.color", "node first"},
    {"MAT1.Color", "mat1.color", "node in other case"},
    {"Material.color", "mat1.color", "type in place of the name"},
    {"Material.COLOR", "mat1.color", "case of what follows the type"},
    {"Material.arr[1]", "mat1.arr[1]", "element behind the type"},
    {"Shader.color", "mat1.color", "base in place of the name"},
    {"Thing.color", "mat1.color", "another base"},
    {"sHADER.color", "mat1.color", "base in other case"},
    {"material.color", "none", "the type's case counts"},
    {"Material", "none", "type alone is a name like others"},
    {"Shader", "none", "base alone is a name like others"},
    {"Shader.", "none", "nothing behind the base"},
    {"Shader.Shader.color", "none", "the base once more is a name"},
    {"mat1.Material.color", "none", "the type stands for the name in front only"},
    {"Shade.color", "none", "part of a base"},
    {"Shaders.color", "none", "more than a base"},
    {"", "none", "empty"},
    {".", "none", "separator alone"},
    {"mat1.", "none", "nothing behind the node"},
    {"MAT1.", "none", "nothing behind the node in other case"},
    {"mat1", "none", "no input has the node's name"},
    {"mat1.mat1", "none", "nor when that is written out"},
    {"mat1[0]", "none", "element of the node"},
    {"mat1..color", "none", "nothing between two separators"},
    {".color", "none", "nothing before the separator"},
    {"mat12.color", "none", "more than the node's name"},
    {"mat.color", "none", "part of the node's name"},
    {"other.color", "none", "another node's"},
    {" color", "none", "blank in front"},
    {"mat1 .color", "none", "blank behind the node"},
    {"color ", "none", "blank behind"},
};

TEST_F(NodeInputPathParse, FirstStep_IsTheNodeOrWhatStandsForIt) {
    const std::string before = inputs();
    for (const Case& c : kParsed)
        EXPECT_EQ(parsed(c.path), c.expected) << c.path << ": " << c.note;
    EXPECT_EQ(inputs(), before);
}

constexpr Case kSteps[] = {
    {"arr", "mat1.arr", "the array itself"},
    {"arr[0]", "mat1.arr[0]", "element"},
    {"arr[1]", "mat1.arr[1]", "last element"},
    {"arr[0].m", "mat1.arr[0].m", "member of an element"},
    {"ARR[0].M", "mat1.arr[0].m", "case ignored"},
    {"grid[0]", "mat1.grid[0]", "array in an array"},
    {"obj.inner", "mat1.obj.inner", "member"},
    {"mat1.obj.inner.deep", "mat1.obj.inner.deep", "members of members"},
    {"OBJ.INNER.DEEP", "mat1.obj.inner.deep", "members in other case"},
    {"size", "none", "no such input"},
    {"size.x", "none", "member of none"},
    {"size[0]", "none", "element of none"},
    {"obj.x", "none", "no such member"},
    {"obj.inn", "none", "part of a member's name"},
    {"obj.x.deep", "none", "behind a missing member"},
    {"arr[1].m", "none", "no such member of an element"},
    {"arr.m", "none", "member of an array"},
    {"arr.0", "none", "element by name"},
    {"obj[0]", "none", "element of an object"},
    {"obj[+]", "none", "new element of an object"},
    {"color.r", "none", "member of a plain input"},
    {"color[0]", "none", "element of a plain input"},
    {"color[+]", "none", "new element of a plain input"},
    {"obj.inner.deep.x", "none", "member of a plain member"},
    {"arr[", "none", "malformed"},
    {"arr[2", "none", "malformed, with an index past the end"},
    {"arr[+", "none", "malformed, with a new element"},
    {"arr[+].", "none", "malformed at the end"},
    {"arr[1048576]", "none", "beyond the greatest index"},
    {"arr[-2]", "none", "negative index"},
};

TEST_F(NodeInputPathParse, FurtherSteps_LeadDownOrNowhereAndCreateNothing) {
    const std::string before = inputs();
    for (const Case& c : kSteps)
        EXPECT_EQ(parsed(c.path), c.expected) << c.path << ": " << c.note;
    EXPECT_EQ(inputs(), before);
}

TEST_F(NodeInputPathParse, NameAndFullPath_LeadToTheSameInput) {
    EXPECT_EQ(m_node.parseInputPath("color"), m_color);
    EXPECT_EQ(m_node.parseInputPath("mat1.color"), m_color);
    EXPECT_EQ(m_node.parseInputPath("Material.color"), m_color);
    EXPECT_EQ(m_node.parseInputPath("Thing.color"), m_color);
}

TEST_F(NodeInputPathParse, InputOfTheNodesName_IsFoundByTheNameAlone) {
    IInput* same = m_node.createInput("mat1", AttrType::Object);
    IInput* color = same->createInput("color", AttrType::Int);
    EXPECT_EQ(m_node.parseInputPath("mat1"), same);
    EXPECT_EQ(m_node.parseInputPath("MAT1"), same);
    EXPECT_EQ(m_node.parseInputPath("mat1.mat1"), same);
    EXPECT_EQ(m_node.parseInputPath("mat1.color"), m_color);
    EXPECT_EQ(m_node.parseInputPath("mat1.mat1.color"), color);
}

TEST_F(NodeInputPathParse, InputWhoseNameBeginsWithTheNodes_IsAnInputLikeOthers) {
    IInput* longer = m_node.createInput("mat1x", AttrType::Object);
    IInput* color = longer->createInput("color", AttrType::Int);
    EXPECT_EQ(m_node.parseInputPath("mat1x"), longer);
    EXPECT_EQ(m_node.parseInputPath("mat1x.color"), color);
    EXPECT_EQ(m_node.parseInputPath("mat1.mat1x.color"), color);
}

TEST_F(NodeInputPathParse, ArrayOfTheNodesName_HasElements) {
    IInput* same = m_node.createArray("mat1", AttrType::Int);
    IInput* first = same->appendElement();
    EXPECT_EQ(m_node.parseInputPath("mat1[0]"), first);
    EXPECT_EQ(m_node.parseInputPath("mat1.mat1[0]"), first);
}

TEST_F(NodeInputPathParse, TypeInFront_IsReplacedOnce) {
    IInput* ofTypesName = m_node.createInput("Material", AttrType::Object);
    IInput* color = ofTypesName->createInput("color", AttrType::Int);
    EXPECT_EQ(m_node.parseInputPath("Material.Material.color"), color);
    EXPECT_EQ(m_node.parseInputPath("Shader.Material.color"), color);
    EXPECT_EQ(m_node.parseInputPath("mat1.Material.color"), color);
}

// The type in front stands for the node even where an input has its name.
TEST_F(NodeInputPathParse, InputOfTheTypesName_NeedsTheNodeInFront) {
    IInput* ofTypesName = m_node.createInput("Material", AttrType::Object);
    IInput* member = ofTypesName->createInput("m", AttrType::Int);
    EXPECT_EQ(m_node.parseInputPath("Material"), ofTypesName);
    EXPECT_EQ(m_node.parseInputPath("Material.m"), nullptr);
    EXPECT_EQ(m_node.parseInputPath("mat1.Material.m"), member);
    EXPECT_EQ(m_node.parseInputPath("material.m"), member);
}

TEST_F(NodeInputPathParse, InputOfABasesName_NeedsTheNodeInFront) {
    IInput* ofBasesName = m_node.createInput("shader", AttrType::Object);
    IInput* member = ofBasesName->createInput("m", AttrType::Int);
    EXPECT_EQ(m_node.parseInputPath("shader.m"), nullptr);
    EXPECT_EQ(m_node.parseInputPath("mat1.shader.m"), member);
}

TEST_F(NodeInputPathParse, NodeWithoutAType_TakesASeparatorInFront) {
    Node node(nullptr, "", "n");
    IInput* color = node.createInput("color", AttrType::Int);
    EXPECT_EQ(node.parseInputPath(".color"), color);
    EXPECT_EQ(node.parseInputPath("color"), color);
}

TEST_F(NodeInputPathParse, Paths_FollowTheNodesName) {
    m_node.setName("mat2");
    EXPECT_EQ(parsed("mat2.color"), "mat2.color");
    EXPECT_EQ(parsed("Material.color"), "mat2.color");
    EXPECT_EQ(parsed("mat1.color"), "none");
}

TEST_F(NodeInputPathParse, InputsOfOneName_OnlyTheFirstIsWalked) {
    IInput* second = m_node.createInput("color", AttrType::Object);
    second->createInput("r", AttrType::Real);
    EXPECT_EQ(m_node.parseInputPath("color"), m_color);
    EXPECT_EQ(m_node.parseInputPath("color.r"), nullptr);
}

TEST_F(NodeInputPathParse, NodeWithoutInputs_LeadsNowhere) {
    Node node(nullptr, "thing", "n");
    EXPECT_EQ(node.parseInputPath("a"), nullptr);
    EXPECT_EQ(node.parseInputPath("a[+]"), nullptr);
    EXPECT_EQ(node.inputCount(), 0u);
}

// ---- Elements made on the way --------------------------------------------------------------

TEST_F(NodeInputPathParse, IndexInside_MakesNothing) {
    EXPECT_EQ(m_node.parseInputPath("arr[1]"), m_array->input(u64(1)));
    EXPECT_EQ(m_array->inputCount(), 2u);
}

TEST_F(NodeInputPathParse, IndexAtTheEnd_MakesOne) {
    EXPECT_EQ(parsed("arr[2]"), "mat1.arr[2]");
    EXPECT_EQ(m_array->inputCount(), 3u);
}

TEST_F(NodeInputPathParse, IndexPastTheEnd_MakesAllUpToIt) {
    const IInput* element = m_node.parseInputPath("arr[5]");
    ASSERT_EQ(m_array->inputCount(), 6u);
    EXPECT_EQ(element, m_array->input(u64(5)));
    for (u64 i = 2; i < 6; ++i)
        EXPECT_EQ(m_array->input(i)->type(), AttrType::Object);
    EXPECT_EQ(m_node.parseInputPath("arr[5]"), element);
    EXPECT_EQ(m_array->inputCount(), 6u);
}

TEST_F(NodeInputPathParse, AppendStep_MakesOneEachTime) {
    EXPECT_EQ(parsed("arr[+]"), "mat1.arr[2]");
    EXPECT_EQ(parsed("Material.arr[+]"), "mat1.arr[3]");
    EXPECT_EQ(m_array->inputCount(), 4u);
}

TEST_F(NodeInputPathParse, EveryStep_MakesElements) {
    EXPECT_EQ(parsed("grid[0][2]"), "mat1.grid[0][2]");
    EXPECT_EQ(parsed("grid[1][+]"), "mat1.grid[1][0]");
    EXPECT_EQ(parsed("grid[+][1]"), "mat1.grid[2][1]");
    EXPECT_EQ(m_grid->inputCount(), 3u);
}

TEST_F(NodeInputPathParse, ElementsMadeOnAWayThatLeadsNowhere_Stay) {
    EXPECT_EQ(parsed("arr[3].x"), "none");
    EXPECT_EQ(m_array->inputCount(), 4u);
    EXPECT_EQ(parsed("arr[+].x"), "none");
    EXPECT_EQ(m_array->inputCount(), 5u);
    EXPECT_EQ(parsed("arr[5][0]"), "none");
    EXPECT_EQ(m_array->inputCount(), 6u);
}

TEST_F(NodeInputPathParse, GreatestIndexOfAPath_IsReached) {
    IInput* many = m_node.createArray("many", AttrType::Bool);
    EXPECT_EQ(parsed("many[1048575]"), "mat1.many[1048575]");
    EXPECT_EQ(many->inputCount(), 1'048'576u);
}

TEST_F(NodeInputPathParse, NoReference_IsTakenForTheCaller) {
    AttrData data(AttrType::Int);
    data.describe();
    const RefersTo<AttrDetails> details = data.details;
    m_node.createInput("size", std::move(data));
    ASSERT_NE(m_node.parseInputPath("size"), nullptr);
    ASSERT_NE(m_node.parseInputPath("Material.size"), nullptr);
    m_node.removeInput("size");
    EXPECT_EQ(details->refCount(), 1);
}

// ---- Steps made by hand --------------------------------------------------------------------

TEST_F(NodeInputPathParse, NoTokens_LeadNowhere) {
    EXPECT_EQ(walked({}), "none");
}

TEST_F(NodeInputPathParse, NodesStepAlone_LeadsNowhere) {
    m_node.createInput("mat1", AttrType::Int);
    EXPECT_EQ(walked({name("mat1")}), "none");
    EXPECT_EQ(walked({name("mat1"), name("mat1")}), "mat1.mat1");
}

TEST_F(NodeInputPathParse, NodesStep_IsReadWithoutRegardToCase) {
    EXPECT_EQ(walked({name("MAT1"), name("color")}), "mat1.color");
}

TEST_F(NodeInputPathParse, TypeInTokens_DoesNotStandForTheName) {
    EXPECT_EQ(walked({name("Material"), name("color")}), "none");
    EXPECT_EQ(walked({name("Shader"), name("color")}), "none");
}

TEST_F(NodeInputPathParse, AuxAndTheIndexOfTheNodesStep_AreNotRead) {
    EXPECT_EQ(walked({{"mat1", 99, 5}, {"obj", 98, -1}, {"inner", 97, -1}}), "mat1.obj.inner");
    EXPECT_EQ(walked({{"mat1", 99, -2}, {"arr", 98, -1}, {"x", 97, 1}}), "mat1.arr[1]");
}

TEST_F(NodeInputPathParse, IndexOfTheStepBehindTheNodes_IsNotRead) {
    for (const i64 index : {i64(0), i64(7), i64(-2), std::numeric_limits<i64>::max()}) {
        EXPECT_EQ(walked({name("mat1"), {"arr", 0, index}}), "mat1.arr");
        EXPECT_EQ(walked({name("mat1"), {"color", 0, index}}), "mat1.color");
        EXPECT_EQ(walked({name("mat1"), {"size", 0, index}}), "none");
    }
    EXPECT_EQ(m_array->inputCount(), 2u);
}

TEST_F(NodeInputPathParse, TextOfAnElementStep_IsNotRead) {
    EXPECT_EQ(walked({name("mat1"), name("arr"), {"m", 0, 1}}), "mat1.arr[1]");
    EXPECT_EQ(walked({name("mat1"), name("arr"), {"no name", 0, 0}, name("m")}), "mat1.arr[0].m");
}

TEST_F(NodeInputPathParse, EmptyTexts_NameNothing) {
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

TEST_F(NodeInputPathParse, NegativeIndices_EachMakeOneElement) {
    u64 count = m_array->inputCount();
    for (const i64 index : {i64(-2), i64(-3), i64(-1000), std::numeric_limits<i64>::min()}) {
        const IInput* made = m_node.parseInputPath({name("mat1"), name("arr"), element(index)});
        ASSERT_EQ(m_array->inputCount(), count + 1);
        EXPECT_EQ(made, m_array->input(count++));
    }
}

// A member step asks the array for an element of that name, and never makes one.
TEST_F(NodeInputPathParse, MemberStepIntoAnArray_TakesAnElementByItsName) {
    EXPECT_EQ(walked({name("mat1"), name("arr"), name("1")}), "mat1.arr[1]");
    EXPECT_EQ(walked({name("mat1"), name("arr"), name("2")}), "none");
    EXPECT_EQ(walked({name("mat1"), name("arr"), name("+")}), "none");
    EXPECT_EQ(m_array->inputCount(), 2u);
}

TEST_F(NodeInputPathParse, MissingSteps_LeadNowhereAndCreateNothing) {
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

TEST_F(NodeInputPathParse, CallersTokens_StayAsTheyAre) {
    const Tokens tokens{name("mat1"), name("arr"), element(1)};
    EXPECT_EQ(walked(tokens), "mat1.arr[1]");
    ASSERT_EQ(tokens.size(), 3u);
    EXPECT_EQ(tokens[0].text, "mat1");
    EXPECT_EQ(walked(tokens), "mat1.arr[1]");
}

// ---- A first step that is not the node's ---------------------------------------------------
// It names an input, and counts again as a step below it.

TEST_F(NodeInputPathParse, FirstInputsName_IsAskedOfItsMembersToo) {
    EXPECT_EQ(walked({name("color")}), "none");
    EXPECT_EQ(walked({name("obj")}), "none");
    EXPECT_EQ(walked({name("obj"), name("inner")}), "none");
    EXPECT_EQ(walked({name("arr"), element(0)}), "none");
}

TEST_F(NodeInputPathParse, MemberOfTheFirstInputsName_IsReached) {
    m_object->createInput("OBJ", AttrType::Object)->createInput("x", AttrType::Int);
    EXPECT_EQ(walked({name("obj")}), "mat1.obj.OBJ");
    EXPECT_EQ(walked({name("Obj"), name("x")}), "mat1.obj.OBJ.x");
    EXPECT_EQ(walked({name("obj"), name("obj")}), "none");
}

TEST_F(NodeInputPathParse, IndexOfTheFirstInputsStep_PicksAnElement) {
    EXPECT_EQ(walked({{"arr", 0, 0}, name("m")}), "mat1.arr[0].m");
    EXPECT_EQ(walked({{"arr", 0, 3}}), "mat1.arr[3]");
    EXPECT_EQ(walked({{"arr", 0, -2}}), "mat1.arr[4]");
    EXPECT_EQ(walked({{"color", 0, 0}}), "none");
    EXPECT_EQ(walked({{"size", 0, 0}}), "none");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
