#include "kelvo/sdk/scene.h"
#include "tests/support/log_capture.h"
#include "tests/support/material_node.h"
#include "tests/support/node_probe.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

// Checks that no test here logs a line.
class NodeInputPathParse : public testing::Test, protected tests::MaterialNode {
protected:
    void TearDown() override { EXPECT_EQ(m_log.text(), ""); }

    [[nodiscard]] std::string parsed(const char* path) {
        return tests::pathOf(node.parseInputPath(path));
    }

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
    EXPECT_EQ(node.parseInputPath("color"), color);
    EXPECT_EQ(node.parseInputPath("mat1.color"), color);
    EXPECT_EQ(node.parseInputPath("Material.color"), color);
    EXPECT_EQ(node.parseInputPath("Thing.color"), color);
}

TEST_F(NodeInputPathParse, InputOfTheNodesName_IsFoundByTheNameAlone) {
    IInput* same = node.createInput("mat1", AttrType::Object);
    IInput* inSame = same->createInput("color", AttrType::Int);
    EXPECT_EQ(node.parseInputPath("mat1"), same);
    EXPECT_EQ(node.parseInputPath("MAT1"), same);
    EXPECT_EQ(node.parseInputPath("mat1.mat1"), same);
    EXPECT_EQ(node.parseInputPath("mat1.color"), color);
    EXPECT_EQ(node.parseInputPath("mat1.mat1.color"), inSame);
}

TEST_F(NodeInputPathParse, InputWhoseNameBeginsWithTheNodes_IsAnInputLikeOthers) {
    IInput* longer = node.createInput("mat1x", AttrType::Object);
    IInput* inLonger = longer->createInput("color", AttrType::Int);
    EXPECT_EQ(node.parseInputPath("mat1x"), longer);
    EXPECT_EQ(node.parseInputPath("mat1x.color"), inLonger);
    EXPECT_EQ(node.parseInputPath("mat1.mat1x.color"), inLonger);
}

TEST_F(NodeInputPathParse, ArrayOfTheNodesName_HasElements) {
    IInput* same = node.createArray("mat1", AttrType::Int);
    IInput* first = same->appendElement();
    EXPECT_EQ(node.parseInputPath("mat1[0]"), first);
    EXPECT_EQ(node.parseInputPath("mat1.mat1[0]"), first);
}

TEST_F(NodeInputPathParse, TypeInFront_IsReplacedOnce) {
    IInput* ofTypesName = node.createInput("Material", AttrType::Object);
    IInput* member = ofTypesName->createInput("color", AttrType::Int);
    EXPECT_EQ(node.parseInputPath("Material.Material.color"), member);
    EXPECT_EQ(node.parseInputPath("Shader.Material.color"), member);
    EXPECT_EQ(node.parseInputPath("mat1.Material.color"), member);
}

// The type in the first step stands for the node even if an input has that name.
TEST_F(NodeInputPathParse, InputOfTheTypesName_NeedsTheNodeInFront) {
    IInput* ofTypesName = node.createInput("Material", AttrType::Object);
    IInput* member = ofTypesName->createInput("m", AttrType::Int);
    EXPECT_EQ(node.parseInputPath("Material"), ofTypesName);
    EXPECT_EQ(node.parseInputPath("Material.m"), nullptr);
    EXPECT_EQ(node.parseInputPath("mat1.Material.m"), member);
    EXPECT_EQ(node.parseInputPath("material.m"), member);
}

TEST_F(NodeInputPathParse, InputOfABasesName_NeedsTheNodeInFront) {
    IInput* ofBasesName = node.createInput("shader", AttrType::Object);
    IInput* member = ofBasesName->createInput("m", AttrType::Int);
    EXPECT_EQ(node.parseInputPath("shader.m"), nullptr);
    EXPECT_EQ(node.parseInputPath("mat1.shader.m"), member);
}

TEST_F(NodeInputPathParse, NodeWithoutAType_TakesASeparatorInFront) {
    Node typeless(nullptr, "", "n");
    IInput* size = typeless.createInput("size", AttrType::Int);
    EXPECT_EQ(typeless.parseInputPath(".size"), size);
    EXPECT_EQ(typeless.parseInputPath("size"), size);
}

TEST_F(NodeInputPathParse, Paths_FollowTheNodesName) {
    tests::probe(node).setName("mat2");
    EXPECT_EQ(parsed("mat2.color"), "mat2.color");
    EXPECT_EQ(parsed("Material.color"), "mat2.color");
    EXPECT_EQ(parsed("mat1.color"), "none");
}

TEST_F(NodeInputPathParse, InputsOfOneName_OnlyTheFirstIsWalked) {
    IInput* second = node.createInput("color", AttrType::Object);
    second->createInput("r", AttrType::Real);
    EXPECT_EQ(node.parseInputPath("color"), color);
    EXPECT_EQ(node.parseInputPath("color.r"), nullptr);
}

TEST_F(NodeInputPathParse, NodeWithoutInputs_LeadsNowhere) {
    Node empty(nullptr, "thing", "n");
    EXPECT_EQ(empty.parseInputPath("a"), nullptr);
    EXPECT_EQ(empty.parseInputPath("a[+]"), nullptr);
    EXPECT_EQ(empty.inputCount(), 0u);
}

// ---- Elements made on the way --------------------------------------------------------------

TEST_F(NodeInputPathParse, IndexInside_MakesNothing) {
    EXPECT_EQ(node.parseInputPath("arr[1]"), array->input(u64(1)));
    EXPECT_EQ(array->inputCount(), 2u);
}

TEST_F(NodeInputPathParse, IndexAtTheEnd_MakesOne) {
    EXPECT_EQ(parsed("arr[2]"), "mat1.arr[2]");
    EXPECT_EQ(array->inputCount(), 3u);
}

TEST_F(NodeInputPathParse, IndexPastTheEnd_MakesAllUpToIt) {
    const IInput* element = node.parseInputPath("arr[5]");
    ASSERT_EQ(array->inputCount(), 6u);
    EXPECT_EQ(element, array->input(u64(5)));
    for (u64 i = 2; i < 6; ++i)
        EXPECT_EQ(array->input(i)->type(), AttrType::Object);
    EXPECT_EQ(node.parseInputPath("arr[5]"), element);
    EXPECT_EQ(array->inputCount(), 6u);
}

TEST_F(NodeInputPathParse, AppendStep_MakesOneEachTime) {
    EXPECT_EQ(parsed("arr[+]"), "mat1.arr[2]");
    EXPECT_EQ(parsed("Material.arr[+]"), "mat1.arr[3]");
    EXPECT_EQ(array->inputCount(), 4u);
}

TEST_F(NodeInputPathParse, EveryStep_MakesElements) {
    EXPECT_EQ(parsed("grid[0][2]"), "mat1.grid[0][2]");
    EXPECT_EQ(parsed("grid[1][+]"), "mat1.grid[1][0]");
    EXPECT_EQ(parsed("grid[+][1]"), "mat1.grid[2][1]");
    EXPECT_EQ(grid->inputCount(), 3u);
}

TEST_F(NodeInputPathParse, ElementsMadeOnAWayThatLeadsNowhere_Stay) {
    EXPECT_EQ(parsed("arr[3].x"), "none");
    EXPECT_EQ(array->inputCount(), 4u);
    EXPECT_EQ(parsed("arr[+].x"), "none");
    EXPECT_EQ(array->inputCount(), 5u);
    EXPECT_EQ(parsed("arr[5][0]"), "none");
    EXPECT_EQ(array->inputCount(), 6u);
}

TEST_F(NodeInputPathParse, GreatestIndexOfAPath_IsReached) {
    IInput* many = node.createArray("many", AttrType::Bool);
    EXPECT_EQ(parsed("many[1048575]"), "mat1.many[1048575]");
    EXPECT_EQ(many->inputCount(), 1'048'576u);
}

// A leaked reference to an input would keep its text alive.
TEST_F(NodeInputPathParse, NoReference_IsTakenForTheCaller) {
    const String text("kept");
    node.createInput("text", AttrType::String);
    node.createArray("texts", AttrType::String);
    object->createInput("text", AttrType::String);
    for (const char* path :
         {"text", "Material.text", "texts[0]", "texts[0]", "texts[+]", "obj.text"})
        EXPECT_TRUE(node.parseInputPath(path)->setString(text)) << path;
    EXPECT_EQ(text.get()->refCount(), 5);
    for (const char* name : {"text", "texts", "obj"})
        node.removeInput(name);
    EXPECT_EQ(text.get()->refCount(), 1);
}

// ---- Observers -----------------------------------------------------------------------------

// Empties an array at the end of the edit that changes it.
struct Emptier : BatchObserver {
    explicit Emptier(const kelvo_sdk::Input& of) : array(of) {}
    void sceneChanged(const SceneChanges& /*changes*/) override { array->clearInputs(); }
    const kelvo_sdk::Input& array;
};

TEST(NodeInputPathParseInAScene, ElementRemovedAtTheEndOfTheEdit_IsNotReturned) {
    const auto scene = kelvo_sdk::Scene::create();
    scene.setUndoEnabled(true);
    const kelvo_sdk::Node made = scene.createNode("thing", "n");
    const kelvo_sdk::Input array = made.createArray("arr", AttrType::Int);
    Emptier emptier(array);
    scene.subscribe(&emptier);
    EXPECT_EQ(static_cast<Node*>(made.get())->parseInputPath("arr[0]"), nullptr);
    EXPECT_EQ(array.inputCount(), 0u);
    scene.unsubscribe(&emptier);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
