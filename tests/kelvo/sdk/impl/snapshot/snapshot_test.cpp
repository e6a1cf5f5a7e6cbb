#include "kelvo/sdk/snapshot.h"

#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk {
namespace {

std::string namesOf(const ds::Vector<SnapshotNode>& nodes) {
    std::string names;
    for (const SnapshotNode& node : nodes)
        names += std::string(node.name().view()) + " ";
    return names;
}

class SnapshotTest : public testing::Test {
protected:
    Node make(const char* name, const char* type = "thing") {
        return m_scene.createNode(type, name);
    }
    Scene m_scene = Scene::create();
};

// ---- Nodes -------------------------------------------------------------------------------------

TEST_F(SnapshotTest, FindNode_InAnyCase_FindsTheNode) {
    make("Lamp");
    const Snapshot snapshot = m_scene.snapshot();
    EXPECT_EQ(snapshot["lAMP"].name(), String("Lamp"));
    EXPECT_TRUE(snapshot["lamp1"].isEmpty());
}

TEST_F(SnapshotTest, FindNode_AfterRenaming_FindsTheNewNameAlone) {
    const Node node = make("a");
    const Snapshot before = m_scene.snapshot();
    node.rename("b");
    const Snapshot after = m_scene.snapshot();
    EXPECT_TRUE(before["a"] && !before["b"]);
    EXPECT_TRUE(after["b"] && !after["a"]);
}

TEST_F(SnapshotTest, Nodes_AfterMoves_AreInTheOrderOfTheScene) {
    for (const char* name : {"a", "b", "c", "d"})
        make(name);
    static_cast<void>(m_scene.snapshot());
    m_scene.moveNode(m_scene["d"], 1);
    m_scene.removeNode(m_scene["a"]);
    EXPECT_EQ(namesOf(m_scene.snapshot().nodes()), "d b c ");
    EXPECT_EQ(m_scene.snapshot().node(1).name(), String("b"));
    EXPECT_TRUE(m_scene.snapshot().node(3).isEmpty());
}

TEST_F(SnapshotTest, DisplayName_IsThatOfTheNode) {
    const Node lamp = make("lamp"), file = make("file", "path");
    lamp.createInput("name", AttrType::String).set("  the lamp ");
    for (const char* part : {"dir", "file", "ext"})
        file.createInput(part, AttrType::String);
    make("plain");
    const Node empty = make("empty", "path");
    for (const char* part : {"dir", "file", "ext"})
        empty.createInput(part, AttrType::String);
    file["dir"].set("wood");
    file["file"].set("oak");
    file["ext"].set("png");
    empty["ext"].set("png");
    const Snapshot snapshot = m_scene.snapshot();
    for (u64 i = 0; i < m_scene.nodeCount(); ++i)
        EXPECT_EQ(snapshot.node(i).displayName(), m_scene.node(i).get()->displayName());
    EXPECT_EQ(snapshot["file"].displayName(), "oak.png");
}

TEST_F(SnapshotTest, DefinedNodes_AreThoseOfTypesInLibraries) {
    m_scene.addLibrary(LibInfo::standard());
    make("a", "xform");
    make("b", "unheardOf");
    EXPECT_TRUE(m_scene.snapshot()["a"].isDefined());
    EXPECT_FALSE(m_scene.snapshot()["b"].isDefined());
}

TEST_F(SnapshotTest, Default_IsThatOfTheInput) {
    const Node node = make("a"), other = make("b");
    const Input real = node.createInput("real", AttrType::Real);
    const Input link = node.createInput("link", AttrType::Node);
    const Input list = node.createArray("list", AttrType::Real);
    const Input object = node.createInput("object", AttrType::Object);
    const Input member = object.createInput("member", AttrType::Int);
    const Input connected = node.createInput("connected", AttrType::Real);
    const auto expectSame = [&] {
        const Snapshot snapshot = m_scene.snapshot();
        for (u64 i = 0; i < node.inputCount(); ++i)
            EXPECT_EQ(snapshot["a"].input(i).isDefault(), node.input(i).isDefault()) << i;
    };
    expectSame();
    EXPECT_TRUE(m_scene.snapshot()["a"]["object"].isDefault());
    real.set(1.0);
    link.set(other);
    list.append();
    member.set(2);
    EXPECT_TRUE(connected.connect(other.createOutput("out", AttrType::Real)));
    expectSame();
    EXPECT_FALSE(m_scene.snapshot()["a"]["object"].isDefault());
}

TEST_F(SnapshotTest, Parts_KnowTheirParentAndOwnName) {
    const Node node = make("a");
    node.createArray("list", AttrType::Object).append().createInput("x", AttrType::Int);
    const Snapshot snapshot = m_scene.snapshot();
    const SnapshotInput x = snapshot["a"].inputAt("list[0].x");
    EXPECT_EQ(x.ownName(), "x");
    EXPECT_TRUE(x.parent().ownName().isEmpty());
    EXPECT_EQ(x.parent().parent(), snapshot["a"]["list"]);
    EXPECT_TRUE(x.parent().parent().parent().isEmpty());
}

TEST_F(SnapshotTest, Outputs_HavePathAndKind) {
    const Node node = make("a");
    node.createOutput("color", AttrType::Rgba);
    node.createOutput("points", DataType::Pos3f);
    const Snapshot snapshot = m_scene.snapshot();
    EXPECT_EQ(snapshot["a"].output(0).path(), "a.color");
    EXPECT_EQ(snapshot["a"].output(0).typeName(), "Rgba");
    EXPECT_EQ(snapshot["a"].output(1).typeName(), "Buffer<Pos3f>");
    EXPECT_TRUE(SnapshotOutput().path().isEmpty() && SnapshotOutput().typeName().isEmpty());
}

TEST_F(SnapshotTest, Children_AreThoseOfTheHierarchy) {
    const Node room = make("room", "xform"), desk = make("desk", "xform");
    room.createArray("children", AttrType::Node);
    desk.parentTo(room);
    make("lamp").parentTo(room);
    const Snapshot snapshot = m_scene.snapshot();
    EXPECT_EQ(namesOf(snapshot["room"].children()), "desk lamp ");
    EXPECT_TRUE(snapshot["lamp"].children().empty());
}

TEST_F(SnapshotTest, Dependencies_AreLinksAndConnectionsOfAllDepths) {
    const Node a = make("a"), b = make("b"), c = make("c");
    a.createInput("link", AttrType::Node).set(c);
    const Input members = a.createInput("object", AttrType::Object);
    members.createInput("x", AttrType::Real).connect(b.createOutput("o", AttrType::Real));
    members.createInput("again", AttrType::Node).set(c);
    const Snapshot snapshot = m_scene.snapshot();
    EXPECT_EQ(namesOf(snapshot["a"].dependencies()), "c b ");
}

TEST_F(SnapshotTest, IsUnchangedFrom_TellsWhetherAnythingOfTheNodeChanged) {
    make("a").createInput("x", AttrType::Real);
    make("b").createInput("x", AttrType::Real);
    const Snapshot before = m_scene.snapshot();
    m_scene["b"]["x"].set(1.0);
    m_scene["a"]["x"].set(1.0);
    m_scene["a"]["x"].set(0.0);
    const Snapshot after = m_scene.snapshot();
    EXPECT_TRUE(after["a"].isUnchangedFrom(before["a"]));
    EXPECT_FALSE(after["b"].isUnchangedFrom(before["b"]));
}

TEST_F(SnapshotTest, EmptyNode_AnswersEmpty) {
    const SnapshotNode none;
    EXPECT_EQ(none.number(), noNodeNumber);
    EXPECT_TRUE(none.name().isEmpty() && none.type().isEmpty() && none.bases().empty());
    EXPECT_EQ(none.inputCount() + none.outputCount(), 0U);
    EXPECT_TRUE(none["x"].isEmpty() && none.inputAt("x").isEmpty());
    EXPECT_TRUE(none.children().empty() && none.dependencies().empty());
    EXPECT_FALSE(none.isTypeOf("thing"));
}

// ---- Inputs ------------------------------------------------------------------------------------

TEST_F(SnapshotTest, Read_OfEachKind_ReturnsTheValueThatWasSet) {
    const Node node = make("a");
    math::Mat3d three;
    three[1][2] = 5;
    math::Mat4d four;
    four[3][0] = -1;
    node.createInput("bool", AttrType::Bool).set(true);
    node.createInput("int", AttrType::Int).set(-7);
    node.createInput("uint", AttrType::UInt).set(~u64{0});
    node.createInput("real", AttrType::Real).set(0.1);
    node.createInput("vec2", AttrType::Vec2).set(math::Vec2d{1, 2});
    node.createInput("vec3", AttrType::Vec3).set(math::Vec3d{1, 2, 3});
    node.createInput("vec4", AttrType::Vec4).set(math::Vec4d{1, 2, 3, 4});
    node.createInput("pos2", AttrType::Pos2).set(math::Pos2d{5, 6});
    node.createInput("pos3", AttrType::Pos3).set(math::Pos3d{5, 6, 7});
    node.createInput("quat", AttrType::Quat).set(math::Quatd{0, 0, 1, 0});
    node.createInput("rgba", AttrType::Rgba).set(math::Rgbad{1, 0, 0, 0.5});
    node.createInput("mat3", AttrType::Mat3).set(three);
    node.createInput("mat4", AttrType::Mat4).set(four);
    node.createInput("string", AttrType::String).set("text");
    const Snapshot snapshot = m_scene.snapshot();
    const SnapshotNode read = snapshot["a"];
    EXPECT_EQ(read["bool"].get<bool>(), true);
    EXPECT_EQ(read["int"].get<i64>(), -7);
    EXPECT_EQ(read["uint"].get<u64>(), ~u64{0});
    EXPECT_EQ(read["real"].get<double>(), 0.1);
    EXPECT_EQ(read["vec2"].get<math::Vec2d>(), (math::Vec2d{1, 2}));
    EXPECT_EQ(read["vec3"].get<math::Vec3d>(), (math::Vec3d{1, 2, 3}));
    EXPECT_EQ(read["vec4"].get<math::Vec4d>(), (math::Vec4d{1, 2, 3, 4}));
    EXPECT_EQ(read["pos2"].get<math::Pos2d>(), (math::Pos2d{5, 6}));
    EXPECT_EQ(read["pos3"].get<math::Pos3d>(), (math::Pos3d{5, 6, 7}));
    EXPECT_EQ(read["quat"].get<math::Quatd>(), (math::Quatd{0, 0, 1, 0}));
    EXPECT_EQ(read["rgba"].get<math::Rgbad>(), (math::Rgbad{1, 0, 0, 0.5}));
    EXPECT_EQ(read["mat3"].get<math::Mat3d>(), three);
    EXPECT_EQ(read["mat4"].get<math::Mat4d>(), four);
    EXPECT_EQ(read["string"].get<String>(), String("text"));
    EXPECT_EQ(read["string"].text(), "text");
}

TEST_F(SnapshotTest, Read_AsAnotherType_ConvertsOrFails) {
    const Node node = make("a");
    node.createInput("int", AttrType::Int).set(300);
    node.createInput("text", AttrType::String).set("x");
    const Snapshot snapshot = m_scene.snapshot();
    EXPECT_EQ(snapshot["a"]["int"].get<float>(), 300.0F);
    EXPECT_EQ(snapshot["a"]["int"].get<String>(), String("300"));
    EXPECT_EQ(snapshot["a"]["int"].get<std::uint8_t>(9), 9);
    double out = 4;
    EXPECT_FALSE(snapshot["a"]["text"].read(out));
    EXPECT_FALSE(SnapshotInput().read(out));
    EXPECT_EQ(out, 4);
}

TEST_F(SnapshotTest, Read_OfALinkAsText_IsTheNameAsInTheScene) {
    const Node a = make("a");
    a.createInput("link", AttrType::Node).set(make("b"));
    a.createInput("none", AttrType::Node);
    const Snapshot snapshot = m_scene.snapshot();
    for (const char* name : {"link", "none"}) {
        String live("?"), read("?");
        EXPECT_EQ(bool(a[name].read(live)), snapshot["a"][name].read(read));
        EXPECT_EQ(read, live);
    }
    EXPECT_EQ(snapshot["a"]["link"].get<String>(), String("b"));
}

TEST_F(SnapshotTest, ArraysAndObjects_HaveTheirPartsAndPaths) {
    const Node node = make("a");
    const Input list = node.createArray("list", AttrType::Object);
    list.append();
    const Input second = list.append();
    second.createInput("Deep", AttrType::Int).set(4);
    const Snapshot snapshot = m_scene.snapshot();
    const SnapshotInput deep = snapshot["a"].inputAt("list[1].deep");
    EXPECT_EQ(deep.get<int>(), 4);
    EXPECT_EQ(deep.path(), String("list[1].Deep"));
    EXPECT_EQ(snapshot["a"]["list"].elementType(), AttrType::Object);
    EXPECT_EQ(snapshot["a"]["list"].inputCount(), 2U);
    EXPECT_EQ(snapshot["a"]["list"].input(1).name(), String("1"));
    EXPECT_TRUE(snapshot["a"].inputAt("list[2]").isEmpty());
    EXPECT_TRUE(snapshot["a"].inputAt("list.deep").isEmpty());
    EXPECT_TRUE(snapshot["a"].inputAt("list[").isEmpty());
}

TEST_F(SnapshotTest, Name_OfManyInputs_FindsTheFirstOfEqualNames) {
    const Node node = make("a");
    for (int i = 0; i < 40; ++i)
        node.createInput(String::format("i%d", i), AttrType::Int).set(i);
    node.createInput("I7", AttrType::Real).set(1.0);
    const Snapshot snapshot = m_scene.snapshot();
    for (int i = 0; i < 40; ++i)
        ASSERT_EQ(snapshot["a"][String::format("I%d", i)].get<int>(), i);
    EXPECT_TRUE(snapshot["a"]["i40"].isEmpty());
}

} // namespace
} // namespace qv::kelvo_sdk
