#include "tests/tools/import/models.h"

#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

// Compares the imported engine with its file and with the result of assimp alone.
namespace qv::model_import::testing {
namespace {

std::string jsonOf(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    const std::string all = bytes.str();
    u32 length = 0;
    std::copy_n(all.data() + 12, sizeof length, reinterpret_cast<char*>(&length));
    return all.substr(20, length);
}

// Counts the elements of the array of objects with that key in a JSON text without escapes.
u64 countOf(const std::string& json, const std::string& key) {
    int depth = 0;
    bool inText = false;
    u64 count = 0;
    for (u64 at = json.find("\"" + key + "\":[{") + key.size() + 4; at < json.size(); ++at) {
        const char c = json[at];
        if (c == '"') inText = !inText;
        if (inText) continue;
        if (c == ']' && depth == 0) return count;
        if (c == '{' || c == '[') count += depth++ == 0 ? 1 : 0;
        if (c == '}' || c == ']') --depth;
    }
    return 0;
}

u64 occurrences(const std::string& text, const std::string& part) {
    u64 count = 0;
    for (u64 at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

class Engine : public ::testing::Test {
protected:
    static void SetUpTestSuite() { s_engine = new Imported(enginePath()); }
    static void TearDownTestSuite() { delete s_engine; }
    void SetUp() override { ASSERT_TRUE(s_engine->isDone) << s_engine->report.error; }

    static inline Imported* s_engine = nullptr;
};

TEST_F(Engine, Counts_AreThoseOfTheFile) {
    const std::string json = jsonOf(enginePath());
    EXPECT_EQ(countOf(json, "nodes"), 82u);
    EXPECT_EQ(countOf(json, "materials"), 34u);
    EXPECT_EQ(countOf(json, "meshes"), 29u);
    EXPECT_EQ(s_engine->ofType("xform").size(), 82u);
    EXPECT_EQ(s_engine->ofType("material").size(), 34u);
    EXPECT_EQ(s_engine->ofType("camera").size(), countOf(json, "cameras"));
}

TEST_F(Engine, MeshNodes_AreThePartsOfItsMeshes) {
    const std::string json = jsonOf(enginePath());
    EXPECT_EQ(s_engine->ofType("mesh").size(), occurrences(json, "\"attributes\""));
    EXPECT_EQ(s_engine->ofType("mesh").size(), 34u);
}

TEST_F(Engine, Geometry_IsWhatTheReaderGives) {
    Assimp::Importer importer;
    const aiScene* model = importer.ReadFile(enginePath(), 0);
    ASSERT_NE(model, nullptr);
    const std::vector<Node> meshes = s_engine->ofType("mesh");
    ASSERT_EQ(meshes.size(), model->mNumMeshes);
    u64 vertices = 0, faces = 0;
    for (u32 i = 0; i < model->mNumMeshes; ++i) {
        const aiMesh& mesh = *model->mMeshes[i];
        const auto positions = meshes[i]["positions"].buffer<math::Pos3f>();
        ASSERT_EQ(positions.size(), mesh.mNumVertices);
        for (u32 v = 0; v < mesh.mNumVertices; ++v) {
            const aiVector3D& p = mesh.mVertices[v];
            ASSERT_EQ(positions[v], (math::Pos3f{{p.x, p.y, p.z}}));
        }
        const auto indices = meshes[i]["indices"].buffer<u32>();
        ASSERT_EQ(indices.size(), u64{mesh.mNumFaces} * 3);
        for (u32 f = 0; f < mesh.mNumFaces; ++f)
            ASSERT_TRUE(std::equal(mesh.mFaces[f].mIndices, mesh.mFaces[f].mIndices + 3,
                                   indices.begin() + f * 3));
        vertices += mesh.mNumVertices;
        faces += mesh.mNumFaces;
    }
    EXPECT_EQ(s_engine->report.vertices, vertices);
    EXPECT_EQ(s_engine->report.faces, faces);
}

TEST_F(Engine, Meshes_AgreeInThemselves) {
    for (const Node& mesh : s_engine->ofType("mesh")) {
        EXPECT_TRUE(mesh->checkMesh()) << mesh.name();
        EXPECT_EQ(mesh["normals"].buffer<math::Vec3f>().size(),
                  mesh["positions"].buffer<math::Pos3f>().size());
        EXPECT_TRUE(mesh["material"].get<interfaces::INode*>()) << mesh.name();
    }
}

TEST_F(Engine, SharedMesh_IsLinkedFromEachPlace) {
    const Node spring = s_engine->named("mesh", "Spring_Link__0_Parts_1-0");
    ASSERT_TRUE(spring);
    u64 places = 0;
    for (const Node& xform : s_engine->ofType("xform"))
        places += spring->indexIn(xform.get()) >= 0 ? 1 : 0;
    EXPECT_EQ(places, 20u);
}

TEST_F(Engine, Translation_StandsInTheLastRow) {
    const Node node = s_engine->named("xform", "nodes[1]");
    ASSERT_TRUE(node);
    const auto matrix = node["matrix"].get<math::Mat4d>();
    EXPECT_FLOAT_EQ(static_cast<float>(matrix[3][0]), 136.860107421875f);
    EXPECT_FLOAT_EQ(static_cast<float>(matrix[3][1]), -64.45372009277344f);
    EXPECT_FLOAT_EQ(static_cast<float>(matrix[3][2]), -36.179630279541016f);
    EXPECT_EQ(matrix[0][3], 0.0);
    EXPECT_EQ(matrix[3][3], 1.0);
}

TEST_F(Engine, Hierarchy_HasEachNodeOnce) {
    u64 children = 0;
    for (const Node& xform : s_engine->ofType("xform")) {
        for (u64 i = 0; i < xform["children"].inputCount(); ++i)
            children += xform["children"].input(i).asNode(false, nullptr).type() == "xform" ? 1 : 0;
    }
    EXPECT_EQ(children, 80u) << "two of the 82 are at the top";
}

TEST_F(Engine, Material_HasItsProperties) {
    const Node material = s_engine->named("material", "Material_16");
    ASSERT_TRUE(material);
    EXPECT_EQ(material["baseColor"].type(), AttrType::Rgba);
    EXPECT_EQ(material["metallic"].get<double>(1.0), 0.0);
    EXPECT_EQ(material["roughness"].get<double>(), 1.0);
    EXPECT_EQ(material["alphaMode"].get<String>(), "OPAQUE");
    EXPECT_EQ(material["shading"].get<String>(), "pbr");
    EXPECT_EQ(material["twoSided"].type(), AttrType::Bool);
}

TEST_F(Engine, Text_ReadsBackAsTheSameScene) {
    const String text = s_engine->scene.text();
    const Scene again = Scene::create();
    ASSERT_TRUE(again.read(text, "engine"));
    EXPECT_EQ(again.text(), text);
    ASSERT_EQ(again.nodeCount(), s_engine->scene.nodeCount());
    for (u64 i = 0; i < again.nodeCount(); ++i)
        ASSERT_EQ(again.node(i)->hash({}), s_engine->scene.node(i)->hash({}))
            << again.node(i).name();
}

} // namespace
} // namespace qv::model_import::testing
