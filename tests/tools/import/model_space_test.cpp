#include "tools/import/model_space.h"

#include "tests/tools/import/models.h"

#include <gtest/gtest.h>

namespace qv::model_import::testing {
namespace {

Space settingsOf(const Imported& model) {
    const std::vector<Node> nodes = model.ofType("sceneSettings");
    if (nodes.empty()) return {};
    EXPECT_EQ(nodes.size(), 1u);
    Space space;
    if (nodes[0]->hasInput("upAxis", AttrType::String))
        space.upAxis = nodes[0]["upAxis"].get<String>();
    if (nodes[0]->hasInput("metersPerUnit", AttrType::Real))
        space.metersPerUnit = nodes[0]["metersPerUnit"].get<double>();
    return space;
}

math::Pos3d placed(const Imported& model, const math::Pos3d& point) {
    return point * model.scene.node(0)["matrix"].get<math::Mat4d>();
}

TEST(ModelSpace, OfEachFormat_IsWhatIsKnownOfIt) {
    const struct {
        const char* file;
        const char* upAxis;
        double metersPerUnit;
        const char* note;
    } rows[] = {
        {"glTF2/BoxTextured-glTF/BoxTextured.gltf", "y", 1.0, "laid down"},
        {"glTF2/BoxTextured-glTF-Binary/BoxTextured.glb", "y", 1.0, "laid down"},
        {"glTF/BoxTextured-glTF/BoxTextured.gltf", "y", 1.0, "the older version"},
        {"FBX/box.fbx", "y", 1.0, "a unit of 100 cm"},
        {"FBX/spider.fbx", "y", 0.01, "a unit of 1 cm"},
        {"FBX/embedded_ascii/box.FBX", "z", 1.0, "states z"},
        {"Collada/duck.dae", "y", 1.0, "brought to metres by the reader"},
        {"X3D/ComputerKeyboard.x3d", "y", 1.0, "laid down"},
        {"BLEND/Suzanne_248.blend", "z", 0.0, "units may be anything"},
        {"3DS/RotatingCube.3DS", "y", 0.0, "turned by the reader"},
        {"OBJ/box.obj", "", 0.0, "says nothing"},
        {"STL/Spider_binary.stl", "", 0.0, "says nothing"},
        {"PLY/cube.ply", "", 0.0, "says nothing"},
    };
    for (const auto& row : rows) {
        const Imported model(kModels / row.file);
        ASSERT_TRUE(model.isDone) << row.file;
        const Space space = settingsOf(model);
        EXPECT_EQ(space.upAxis, row.upAxis) << row.file << ": " << row.note;
        EXPECT_EQ(space.metersPerUnit, row.metersPerUnit) << row.file << ": " << row.note;
    }
}

TEST(ModelSpace, ThatIsNotKnown_GetsNoSettings) {
    EXPECT_TRUE(Imported(kModels / "OBJ/box.obj").ofType("sceneSettings").empty());
}

TEST(ModelSpace, ThatIsGiven_CountsMoreThanTheFile) {
    ImportOptions options;
    options.model = {"x", 0.0254};
    for (const char* file : {"OBJ/box.obj", "FBX/box.fbx"}) {
        const Imported model(kModels / file, options);
        ASSERT_TRUE(model.isDone) << file;
        EXPECT_EQ(settingsOf(model).upAxis, "x") << file;
        EXPECT_EQ(settingsOf(model).metersPerUnit, 0.0254) << file;
        EXPECT_EQ(model.scene.node(0)["matrix"].get<math::Mat4d>(), math::Mat4d::identity) << file;
    }
}

TEST(ModelSpace, WithAnotherAxisWanted_IsTurnedAtTheTop) {
    const struct {
        const char *from, *to;
        math::Pos3d expected;
    } rows[] = {
        {"x", "x", {{1, 2, 3}}},  {"x", "y", {{-2, 1, 3}}}, {"x", "z", {{-3, 2, 1}}},
        {"y", "x", {{2, -1, 3}}}, {"y", "y", {{1, 2, 3}}},  {"y", "z", {{1, -3, 2}}},
        {"z", "x", {{3, 2, -1}}}, {"z", "y", {{1, 3, -2}}}, {"z", "z", {{1, 2, 3}}},
    };
    for (const auto& row : rows) {
        ImportOptions options;
        options.model.upAxis = row.from;
        options.scene.upAxis = row.to;
        const Imported model(kModels / "OBJ/box.obj", options);
        ASSERT_TRUE(model.isDone);
        EXPECT_EQ(placed(model, {{1, 2, 3}}), row.expected) << row.from << " to " << row.to;
        EXPECT_EQ(settingsOf(model).upAxis, row.to);
    }
}

TEST(ModelSpace, WithAnotherUnitWanted_IsScaledAtTheTop) {
    ImportOptions options;
    options.scene.metersPerUnit = 0.01;
    const Imported model(kModels / "FBX/box.fbx", options);
    ASSERT_TRUE(model.isDone);
    EXPECT_EQ(placed(model, {{1, 2, 3}}), (math::Pos3d{{100, 200, 300}}));
    EXPECT_EQ(settingsOf(model).metersPerUnit, 0.01);
    EXPECT_EQ(settingsOf(model).upAxis, "y");
}

TEST(ModelSpace, OfSeveralTopNodes_IsChangedInEach) {
    ImportOptions options;
    options.scene.upAxis = "z";
    const Imported plain(enginePath()), turned(enginePath(), options);
    ASSERT_TRUE(plain.isDone && turned.isDone);
    u64 changed = 0;
    for (u64 i = 0; i < plain.ofType("xform").size(); ++i)
        changed += plain.ofType("xform")[i]["matrix"].get<math::Mat4d>() ==
                           turned.ofType("xform")[i]["matrix"].get<math::Mat4d>()
                       ? 0
                       : 1;
    EXPECT_EQ(changed, 2u);
}

TEST(ModelSpace, ThatIsNotKnown_CannotBeChanged) {
    const struct {
        Space wanted;
        const char* expected;
    } rows[] = {
        {{"z", 0.0}, "its up axis is not stated: --model-up gives it"},
        {{"", 1.0}, "its unit is not stated: --model-unit gives it"},
    };
    for (const auto& row : rows) {
        ImportOptions options;
        options.scene = row.wanted;
        const Imported model(kModels / "OBJ/box.obj", options);
        EXPECT_FALSE(model.isDone);
        EXPECT_EQ(model.report.error, row.expected);
        EXPECT_EQ(model.scene.nodeCount(), 0u);
    }
}

} // namespace
} // namespace qv::model_import::testing
