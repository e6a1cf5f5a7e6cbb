#include "render/impl/mesh_reader.h"

#include "render/impl/stopped.h"
#include "tests/render/render_scene_text.h"

namespace qv::render::impl {
namespace {

using render::tests::snapshotOf;
using render::tests::Texts;
using render::tests::textsOf;

struct ReadMesh {
    std::shared_ptr<const Mesh> mesh;
    Texts findings;
};

ReadMesh read(const std::string& inputs) {
    const auto snapshot = snapshotOf("node mesh \"m\" {\n" + inputs + "}\n");
    FindingList findings;
    const auto mesh = readMesh(snapshot["m"], findings);
    return {mesh, textsOf(findings.list())};
}

const std::string corners =
    "Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (1 1 0) (0 1 0) (nan 0 0) (2 0 0) (1e30 0 0)]\n";

TEST(MeshReader, Stop_EndsTheReading) {
    const auto snapshot =
        snapshotOf("node mesh \"m\" {\n" + corners + "Buffer<UInt32> indices = [0 1 2]\n}\n");
    FindingList findings;
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW((void)readMesh(snapshot["m"], findings, stop.get_token()), Stopped);
}

TEST(MeshReader, Polygons_BecomeTriangles) {
    const auto [mesh, findings] = read(
        corners + "Buffer<UInt32> indices = [0 1 2 3 0 1 2]\nBuffer<UInt32> faceCounts = [4 3]\n");
    ASSERT_TRUE(mesh);
    EXPECT_EQ(mesh->triangles.size(), 3U);
    EXPECT_EQ(findings, Texts());
}

TEST(MeshReader, Bounds_AreThoseOfTheTriangles) {
    const auto [mesh, findings] = read(corners + "Buffer<UInt32> indices = [0 1 2]\n");
    ASSERT_TRUE(mesh);
    EXPECT_EQ(mesh->bounds.min, (Vec3{0, 0, 0}));
    EXPECT_EQ(mesh->bounds.max, (Vec3{1, 1, 0}));
}

TEST(MeshReader, FaceThatIsNoSurface_IsLeftOutWithAFinding) {
    const struct {
        const char* faces;
        const char* finding;
    } cases[] = {
        {"[0 1 2  0 1 9]", "m: 1 face with vertices that do not exist is left out."},
        {"[0 1 2  0 1 4]",
         "m: 1 face with corners that are not finite or too far away is left out."},
        {"[0 1 2  0 1 6]",
         "m: 1 face with corners that are not finite or too far away is left out."},
        {"[0 1 2  0 1 5]", "m: 1 face without area is left out."},
        {"[0 1 2  0 0 0 1 1 1]", "m: 2 faces without area are left out."},
        {"[0 1 2  3]", "m: 1 face with fewer than three corners is left out."},
        {"[0 1 2  0 3]\nBuffer<UInt32> faceCounts = [3 2]",
         "m: 1 face with fewer than three corners is left out."},
        {"[0 1 2  0 3]\nBuffer<UInt32> faceCounts = [3 4]",
         "m: The faces have more corners than there are indices."},
    };
    for (const auto& [faces, finding] : cases) {
        const auto [mesh, findings] = read(corners + "Buffer<UInt32> indices = " + faces + "\n");
        ASSERT_TRUE(mesh) << faces;
        EXPECT_EQ(mesh->triangles.size(), 1U) << faces;
        EXPECT_EQ(findings, Texts{finding}) << faces;
    }
}

TEST(MeshReader, NothingToSee_GivesNoMesh) {
    const auto [mesh, findings] = read("");
    EXPECT_FALSE(mesh);
    EXPECT_EQ(findings, Texts{"m: The mesh has no triangles."});
}

TEST(MeshReader, ElementsOfAnotherType_AreAFinding) {
    const auto [mesh, findings] = read("Buffer<Vec2f> positions = [(0 0)]\n");
    EXPECT_FALSE(mesh);
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0],
              "m: The elements of \"positions\" have another type than that of a mesh.");
}

TEST(MeshReader, ValuesAtVertices_AreReadOrLeftOut) {
    const std::string triangle = "Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (1 1 0)]\n"
                                 "Buffer<UInt32> indices = [0 1 2]\n";
    const auto good = read(triangle + "Buffer<Vec3f> normals = [(0 0 2) (0 0 0) (nan 0 0)]\n"
                                      "Buffer<Vec2f> uvs = [(0 0) (1 0) (1 1)]\n"
                                      "Buffer<Rgbaf> colors = [(1 0 0 1) (0 1 0 1) (0 0 1 0.5)]\n");
    ASSERT_TRUE(good.mesh);
    EXPECT_EQ(good.findings, Texts());
    EXPECT_EQ(good.mesh->normals, (std::vector<Vec3>{{0, 0, 1}, {}, {}}));
    EXPECT_EQ(good.mesh->uvs.at(0)[2], (Vec2{1, 1}));
    EXPECT_EQ(good.mesh->colors[2], (Vec4{{0, 0, 1}, 0.5F}));
    const auto bad = read(triangle + "Buffer<Vec2f> uvs = [(0 0)]\n");
    ASSERT_TRUE(bad.mesh);
    EXPECT_FALSE(bad.mesh->hasUvs(0));
    EXPECT_EQ(bad.findings,
              Texts{"m: The number of \"uvs\" is not that of the positions; they are not used."});
}

TEST(MeshReader, SetsOfTextureCoordinates_AreReadByNumber) {
    const auto read2 = read("Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (1 1 0)]\n"
                            "Buffer<UInt32> indices = [0 1 2]\n"
                            "Buffer<Vec2f> uvs2 = [(0 0) (1 0) (1 4)]\n");
    ASSERT_TRUE(read2.mesh);
    EXPECT_FALSE(read2.mesh->hasUvs(0));
    EXPECT_FALSE(read2.mesh->hasUvs(1));
    ASSERT_TRUE(read2.mesh->hasUvs(2));
    EXPECT_EQ(read2.mesh->uvs[2][2], (Vec2{1, 4}));
    EXPECT_FALSE(read2.mesh->hasUvs(3));
}

} // namespace
} // namespace qv::render::impl
