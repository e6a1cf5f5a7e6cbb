#include "tests/tools/import/models.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <numeric>

namespace qv::model_import::testing {
namespace {

// Returns the values of each corner of each face, shared or not.
template<typename T>
std::vector<T> cornersOf(const Node& mesh, const char* input) {
    std::vector<T> corners;
    if (!mesh->hasInput(input, AttrType::Buffer)) return corners;
    const auto values = mesh[input].buffer<T>();
    for (const u32 vertex : mesh["indices"].buffer<u32>())
        corners.push_back(values[vertex]);
    return corners;
}

TEST(ModelImport, OfATexture_SplitsItsPath) {
    const Imported model(kModels / "glTF2/BoxTextured-glTF/BoxTextured.gltf");
    ASSERT_TRUE(model.isDone) << model.report.error;
    const std::vector<Node> textures = model.ofType("texture");
    ASSERT_EQ(textures.size(), 1u) << "two uses share it";
    EXPECT_EQ(textures[0]["file"].get<String>(), "CesiumLogoFlat");
    EXPECT_EQ(textures[0]["ext"].get<String>(), ".png");
    EXPECT_TRUE(std::filesystem::exists(textures[0]->asPath().buf())) << textures[0]->asPath();
    const Node material = model.ofType("material")[0];
    EXPECT_EQ(material["baseColorTexture"].asNode(false, nullptr), textures[0].get());
    EXPECT_EQ(material["baseColorTextureWrapU"].get<String>(), "mirror");
    EXPECT_EQ(material["baseColorTextureWrapV"].get<String>(), "clamp");
}

TEST(ModelImport, OfATextureInsideTheModel_KeepsItsBytes) {
    const Imported model(kModels / "FBX/embedded_ascii/box.FBX");
    ASSERT_TRUE(model.isDone) << model.report.error;
    const std::vector<Node> textures = model.ofType("texture");
    ASSERT_EQ(textures.size(), 1u);
    EXPECT_EQ(textures[0]["file"].get<String>(), "uv_test");
    EXPECT_EQ(textures[0]["ext"].get<String>(), ".png");
    const auto data = textures[0]["data"].buffer<u8>();
    ASSERT_EQ(data.size(), 439176u);
    const u8 png[] = {0x89, 'P', 'N', 'G'};
    EXPECT_TRUE(std::equal(std::begin(png), std::end(png), data.begin()));
}

TEST(ModelImport, OfATextureThatIsNowhere_TellsItsPath) {
    ImportOptions options;
    options.sceneFolder = (kModels / "3D").c_str();
    const Imported model(kModels / "3D/box.uc", options);
    ASSERT_TRUE(model.isDone) << model.report.error;
    EXPECT_EQ(model.report.missingTextures.count, 1u);
    EXPECT_EQ(Report::text(model.report.missingTextures),
              "texture files not found: 1 (texture1.pcx)");
}

TEST(ModelImport, OfACameraAndLights_PlacesThemByName) {
    const Imported model(kModels / "AC/SphereWithLight.ac");
    ASSERT_TRUE(model.isDone) << model.report.error;
    const Node light = model.named("light", "light");
    const Node place = model.named("xform", "light");
    ASSERT_TRUE(light && place);
    EXPECT_EQ(light->indexIn(place.get()), 0);
    EXPECT_EQ(light["shape"].get<String>(), "point");
    EXPECT_EQ(light["color"].type(), AttrType::Rgba);
}

TEST(ModelImport, OfACamera_KeepsItsView) {
    const Imported model(kModels / "3DS/CameraRollAnim.3ds");
    ASSERT_TRUE(model.isDone) << model.report.error;
    const Node camera = model.named("camera", "Camera01");
    ASSERT_TRUE(camera);
    EXPECT_NEAR(camera["horizontalFov"].get<double>(), 0.930842, 1e-5);
    EXPECT_GE(camera->indexIn(model.named("xform", "Camera01").get()), 0);
}

TEST(ModelImport, OfAGltfCamera_StandsAtItsNodeAndSeesItsVerticalAngle) {
    const auto file = std::filesystem::temp_directory_path() / "kelvo_import_camera.gltf";
    std::ofstream(file) << R"({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}],
        "nodes": [{"name": "eye", "camera": 0, "translation": [1, 2, 3]}],
        "cameras": [{"type": "perspective",
                     "perspective": {"yfov": 0.7, "aspectRatio": 1.5, "znear": 0.1}}]})";
    const Imported model(file.string());
    std::filesystem::remove(file);
    ASSERT_TRUE(model.isDone) << model.report.error;
    const Node camera = model.named("camera", "eye");
    ASSERT_TRUE(camera);
    EXPECT_EQ(camera["position"].get<math::Pos3d>(), math::Pos3d{});
    EXPECT_NEAR(camera["horizontalFov"].get<double>(), 2 * std::atan(1.5 * std::tan(0.35)), 1e-6);
    EXPECT_NEAR(camera["aspect"].get<double>(), 1.5, 1e-6);
    const auto place = model.named("xform", "eye")["matrix"].get<math::Mat4d>();
    EXPECT_EQ(place[3][1], 2.0);
}

TEST(ModelImport, OfPolygons_SaysHowLongEachIs) {
    const Imported model(kModels / "AC/SphereWithLight.ac");
    ASSERT_TRUE(model.isDone) << model.report.error;
    const Node mesh = model.ofType("mesh")[0];
    const auto counts = mesh["faceCounts"].buffer<u32>();
    EXPECT_EQ(counts.size(), 8832u);
    EXPECT_EQ(std::accumulate(counts.begin(), counts.end(), u64{0}),
              mesh["indices"].buffer<u32>().size());
}

TEST(ModelImport, OfEqualCorners_MakesOneVertex) {
    const Imported model(kModels / "OBJ/box.obj");
    ASSERT_TRUE(model.isDone) << model.report.error;
    const Node mesh = model.ofType("mesh")[0];
    EXPECT_EQ(mesh["positions"].buffer<math::Pos3f>().size(), 8u);
    EXPECT_EQ(mesh["indices"].buffer<u32>().size(), 24u);
    EXPECT_EQ(model.report.vertices, 8u);
}

TEST(ModelImport, WithJoinedVertices_HasTheSameCorners) {
    ImportOptions separate;
    separate.joinVertices = false;
    for (const char* file : {"OBJ/spider.obj", "FBX/spider.fbx", "Collada/duck.dae"}) {
        const Imported joined(kModels / file), corners(kModels / file, separate);
        ASSERT_TRUE(joined.isDone && corners.isDone) << file;
        EXPECT_LT(joined.report.vertices, corners.report.vertices) << file;
        EXPECT_EQ(joined.report.faces, corners.report.faces) << file;
        const std::vector<Node> a = joined.ofType("mesh"), b = corners.ofType("mesh");
        for (u64 i = 0; i < a.size(); ++i) {
            EXPECT_EQ(cornersOf<math::Pos3f>(a[i], "positions"),
                      cornersOf<math::Pos3f>(b[i], "positions"));
            EXPECT_EQ(cornersOf<math::Vec3f>(a[i], "normals"),
                      cornersOf<math::Vec3f>(b[i], "normals"));
            EXPECT_EQ(cornersOf<math::Vec2f>(a[i], "uvs"), cornersOf<math::Vec2f>(b[i], "uvs"));
        }
    }
}

TEST(ModelImport, OfTrianglesAlone_HasNoFaceCounts) {
    const Imported model(kModels / "STL/Spider_binary.stl");
    ASSERT_TRUE(model.isDone) << model.report.error;
    EXPECT_FALSE(model.ofType("mesh")[0]->hasInput(String("faceCounts"), AttrType::Null));
}

TEST(ModelImport, OfNamesBeyondIdentifiers_KeepsThemBeside) {
    const Imported model(kModels / "AC/SphereWithLight_UTF8BOM.ac");
    ASSERT_TRUE(model.isDone) << model.report.error;
    const Node xform = model.named("xform", "\xe4\xb8\xad\xe5\x9b\xbd\xe8\x8f\x9c");
    ASSERT_TRUE(xform);
    EXPECT_TRUE(xform.name().isSimpleCID());
    EXPECT_EQ(xform.displayName(), "\xe4\xb8\xad\xe5\x9b\xbd\xe8\x8f\x9c");
}

TEST(ModelImport, OfBonesAndAnimations_ListsThem) {
    const Imported model(kModels / "BVH/01_01.bvh");
    ASSERT_TRUE(model.isDone) << model.report.error;
    EXPECT_EQ(model.leftOut("bones"), 34u);
    EXPECT_EQ(model.leftOut("animations"), 1u);
}

TEST(ModelImport, OfWhatTheModelSaysAboutItself_KeepsIt) {
    const Imported model(kModels / "FBX/embedded_ascii/box.FBX");
    ASSERT_TRUE(model.isDone) << model.report.error;
    const Node root = model.scene.node(0);
    EXPECT_EQ(root["asset"]["UpAxis"].get<i64>(), 2);
    EXPECT_EQ(root["asset"]["UnitScaleFactor"].type(), AttrType::Real);
}

TEST(ModelImport, Twice_FindsFreeNames) {
    const Imported model(kModels / "OBJ/box.obj");
    const u64 nodes = model.scene.nodeCount();
    Report report;
    ASSERT_TRUE(importModel(model.scene, (kModels / "OBJ/box.obj").c_str(), report));
    EXPECT_EQ(model.scene.nodeCount(), 2 * nodes);
    EXPECT_EQ(report.nodes, nodes);
}

TEST(ModelImport, ThatFails_SaysWhyInOneLine) {
    const struct {
        const char* file;
        const char* expected;
    } rows[] = {
        {"invalid/empty.off", "File is empty"},
        {"invalid/OutOfMemory.off", "it takes more memory than a model of its size may"},
        {"invalid/readme.txt", "No suitable reader found for the file format."},
        {"no/such.obj", "Unable to open file."},
        {"glTF2/MissingBin/BoxTextured.gltf",
         "GLTF: could not open referenced file \"BoxTextured0.bin\""},
    };
    for (const auto& row : rows) {
        const Imported model(kModels / row.file);
        EXPECT_FALSE(model.isDone) << row.file;
        EXPECT_EQ(model.report.error, row.expected) << row.file;
    }
}

TEST(ModelImport, ThatFails_LeavesTheSceneAsItWas) {
    for (const auto& file : filesBelow(kModels / "invalid")) {
        const Scene scene = Scene::create();
        scene.createNode("light", "lamp");
        const String before = scene.text();
        Report report;
        const auto start = std::chrono::steady_clock::now();
        const bool isDone = importModel(scene, file.c_str(), report);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20)) << file;
        EXPECT_EQ(isDone, file.filename() == "malformed2.obj") << file;
        if (isDone) continue;
        EXPECT_EQ(scene.text(), before) << file;
        EXPECT_FALSE(report.error.isEmpty()) << file;
        EXPECT_FALSE(report.error.contains("\n", false)) << file;
    }
}

TEST(ModelImport, OfEveryModel_ReadsBackFromItsText) {
    u64 models = 0;
    for (const auto& file : filesBelow(kModels)) {
        const Imported model(file);
        if (!model.isDone) continue;
        ++models;
        const String text = model.scene.text();
        const Scene again = Scene::create();
        Diagnostics errors;
        EXPECT_TRUE(again.read(text, file.c_str(), &errors)) << errors[0].text();
        EXPECT_TRUE(again.text() == text) << file;
    }
    EXPECT_GT(models, 300u);
}

} // namespace
} // namespace qv::model_import::testing
