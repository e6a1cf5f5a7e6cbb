#include "render/impl/scene_reader.h"

#include "kelvo/sdk/scene.h"
#include "render/impl/stopped.h"
#include "tests/render/render_scene_text.h"

namespace qv::render::impl {
namespace {

using render::tests::snapshotOf;
using render::tests::square;
using render::tests::Texts;
using render::tests::textsOf;

TEST(SceneReader, SharedMesh_IsReadOnce) {
    const auto snapshot = snapshotOf(R"(
node xform "a" {
    Mat4 matrix = (1 0 0 0  0 1 0 0  0 0 1 0  5 0 0 1)
    Array<Node> children = [square]
}
node xform "b" {
    Array<Node> children = [square]
}
)" + square);
    const RenderScene scene = SceneReader("").read(snapshot);
    ASSERT_EQ(scene.instances.size(), 2U);
    EXPECT_EQ(scene.instances[0].mesh, scene.instances[1].mesh);
    EXPECT_EQ(scene.instances[0].toWorld.origin, (Vec3{5, 0, 0}));
    EXPECT_EQ(scene.instances[1].node, snapshot["square"].number());
    EXPECT_EQ(scene.bounds.min, (Vec3{-1, -1, 0}));
    EXPECT_EQ(scene.bounds.max, (Vec3{6, 1, 0}));
}

TEST(SceneReader, MissingTextureCoordinates_AreAFinding) {
    const auto findings = [](const std::string& use) {
        const auto snapshot = snapshotOf(R"(
node mesh "m" {
    Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (0 1 0)]
    Buffer<UInt32> indices = [0 1 2]
    Buffer<Vec2f> uvs = [(0 0) (1 0) (0 1)]
    Node material = paint
}
node material "paint" {
    Node baseColorTexture = dot
    Int baseColorTextureUvChannel = )" + use +
                                         R"(
}
node texture "dot" {
    UInt width = 1
    UInt height = 1
    Buffer<Rgba8> pixels = [(1 2 3 4)]
}
)");
        return textsOf(SceneReader("").read(snapshot).findings);
    };
    EXPECT_EQ(findings("0"), Texts());
    EXPECT_EQ(findings("1"), Texts{"m: The mesh has no texture coordinates with the number 1, "
                                   "which its material uses."});
}

TEST(SceneReader, Camera_IsPlacedByItsTransform) {
    const auto snapshot = snapshotOf(R"(
node xform "a" {
    Mat4 matrix = (1 0 0 0  0 1 0 0  0 0 1 0  5 0 0 1)
    Array<Node> children = [eye]
}
node camera "eye" {
    Pos3 position = (0 0 2)
    Vec3 direction = (1 0 0)
}
)");
    const RenderScene scene = SceneReader("").read(snapshot);
    ASSERT_EQ(scene.cameras.size(), 1U);
    EXPECT_EQ(scene.cameras[0].name, "eye");
    EXPECT_EQ(scene.cameras[0].camera.place.origin, (Vec3{5, 0, 2}));
    EXPECT_EQ(scene.cameras[0].camera.place.z, (Vec3{-1, 0, 0}));
    EXPECT_EQ(scene.cameras[0].camera.place.y, (Vec3{0, 1, 0}));
}

TEST(SceneReader, InvisibleMesh_IsNoInstance) {
    const std::string hidden = R"(
node mesh "hidden" {
    Bool visible = false
    Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (0 1 0)]
    Buffer<UInt32> indices = [0 1 2]
}
)";
    EXPECT_TRUE(SceneReader("").read(snapshotOf(hidden)).instances.empty());
}

TEST(SceneReader, FindingsOfSharedNodes_AreToldOnce) {
    const auto snapshot = snapshotOf(R"(
node xform "a" {
    Array<Node> children = [m, n]
}
node mesh "m" {
    Node material = a
}
node mesh "n" {
    Node material = a
    Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (0 1 0)]
    Buffer<UInt32> indices = [0 1 2]
}
)");
    const Texts expected{"m: The mesh has no triangles.",
                         "a: The node is linked as a material, which it is not."};
    SceneReader reader("");
    EXPECT_EQ(textsOf(reader.read(snapshot).findings), expected);
    EXPECT_EQ(textsOf(reader.read(snapshot).findings), expected);
}

TEST(SceneReader, StoppedReading_KeepsWhatWasRead) {
    const auto snapshot = snapshotOf(square);
    SceneReader reader("");
    const RenderScene before = reader.read(snapshot);
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW((void)reader.read(snapshot, stop.get_token()), Stopped);
    EXPECT_EQ(reader.read(snapshot).instances.at(0).mesh, before.instances[0].mesh);
}

class SceneReaderUpdateTest : public testing::Test {
protected:
    SceneReaderUpdateTest() {
        const std::string text = square + R"(
node mesh "other" {
    Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (0 1 0)]
    Buffer<UInt32> indices = [0 1 2]
    Node material = red
}
node material "red" {
    Rgba baseColor = (1 0 0 1)
    Node baseColorTexture = picture
}
node texture "picture" {
    UInt width = 1
    UInt height = 1
    Buffer<Rgba8> pixels = [(1 2 3 4)]
}
)";
        EXPECT_TRUE(m_scene.read(text.c_str(), "scene.kns"));
        m_snapshot = m_scene.snapshot();
        m_before = m_reader.read(m_snapshot);
    }
    RenderScene update() {
        const kelvo_sdk::Snapshot next = m_scene.snapshot();
        m_reader.forget(kelvo_sdk::delta(m_snapshot, next));
        m_snapshot = next;
        return m_reader.read(next);
    }
    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    SceneReader m_reader{""};
    kelvo_sdk::Snapshot m_snapshot;
    RenderScene m_before;
};

TEST_F(SceneReaderUpdateTest, ChangedColor_MakesOnlyTheMaterialAnew) {
    EXPECT_TRUE(m_scene["red"]["baseColor"].set(math::Rgbad{{0, 1, 0, 1}}));
    const RenderScene after = update();
    ASSERT_EQ(after.instances.size(), 2U);
    EXPECT_EQ(after.instances[1].mesh, m_before.instances[1].mesh);
    EXPECT_NE(after.instances[1].material, m_before.instances[1].material);
    EXPECT_EQ(after.instances[1].material->baseColor, (Vec3{0, 1, 0}));
    EXPECT_EQ(after.instances[1].material->baseColorTexture.texture,
              m_before.instances[1].material->baseColorTexture.texture);
}

TEST_F(SceneReaderUpdateTest, ChangedTexture_MakesItsMaterialsAnew) {
    EXPECT_TRUE(m_scene["picture"]["width"].set(2));
    const RenderScene after = update();
    EXPECT_FALSE(after.instances[1].material->baseColorTexture.texture);
    EXPECT_EQ(textsOf(after.findings),
              Texts{"picture: The number of pixels is not width times height."});
}

TEST_F(SceneReaderUpdateTest, ChangedMesh_LeavesTheOthersAlone) {
    EXPECT_TRUE(m_scene["other"]["indices"].set(qv::String("[0 2 1]")));
    const RenderScene after = update();
    EXPECT_EQ(after.instances[0].mesh, m_before.instances[0].mesh);
    EXPECT_NE(after.instances[1].mesh, m_before.instances[1].mesh);
    EXPECT_EQ(after.instances[1].material, m_before.instances[1].material);
}

TEST_F(SceneReaderUpdateTest, RemovedMesh_IsNoInstance) {
    EXPECT_TRUE(m_scene.removeNode(m_scene["other"]));
    EXPECT_EQ(update().instances.size(), 1U);
}

} // namespace
} // namespace qv::render::impl
