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

const std::string picture = R"(
node texture "picture" {
    UInt width = 1
    UInt height = 1
    Buffer<Rgba8> pixels = [(1 2 3 4)]
}
)";

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
)" + picture;
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

/// Updates a scene in place and compares it with one that is read as a whole.
class ScenePatchTest : public testing::Test {
protected:
    ScenePatchTest() {
        const std::string text = square + R"(
node xform "outer" {
    Array<Node> children = [inner, square]
    Mat4 matrix = (1 0 0 0  0 1 0 0  0 0 1 0  1 2 3 1)
}
node xform "inner" {
    Array<Node> children = [shape, lamp, eye, panel]
    Mat4 matrix = (2 0 0 0  0 2 0 0  0 0 2 0  0 0 0 1)
}
node xform "again" {
    Array<Node> children = [inner]
    Mat4 matrix = (1 0 0 0  0 1 0 0  0 0 1 0  0 7 0 1)
}
node mesh "shape" {
    Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (0 1 0)]
    Buffer<UInt32> indices = [0 1 2]
    Node material = red
}
node light "lamp" {
    Pos3 position = (0 1 0)
}
node areaLight "panel" {
}
node camera "eye" {
}
node skyLight "sky" {
    Node texture = picture
}
node material "red" {
    Rgba baseColor = (1 0 0 1)
}
)" + picture;
        EXPECT_TRUE(m_scene.read(text.c_str(), "scene.kns"));
        m_snapshot = m_scene.snapshot();
        m_made = m_reader.read(m_snapshot);
    }
    // Returns what the update was; the scene is read as a whole where it was impossible.
    SceneUpdate update() {
        const kelvo_sdk::Snapshot next = m_scene.snapshot();
        const kelvo_sdk::SnapshotDelta delta(m_snapshot, next);
        m_reader.forget(delta);
        m_snapshot = next;
        const SceneUpdate made = m_reader.update(m_made, next, delta);
        m_visited = m_reader.visitedPlaces();
        if (made == SceneUpdate::Impossible) m_made = m_reader.read(next);
        expectWhole();
        return made;
    }
    void expectWhole() const {
        const RenderScene whole = SceneReader("").read(m_snapshot);
        ASSERT_EQ(m_made.instances.size(), whole.instances.size());
        for (u64 i = 0; i < whole.instances.size(); ++i) {
            const Instance &a = m_made.instances[i], &b = whole.instances[i];
            EXPECT_EQ(a.toWorld, b.toWorld);
            EXPECT_EQ(a.node, b.node);
            EXPECT_EQ(a.mesh->positions, b.mesh->positions);
            EXPECT_EQ(a.material->baseColor, b.material->baseColor);
            EXPECT_EQ(a.bounds.min, b.bounds.min);
            EXPECT_EQ(a.bounds.max, b.bounds.max);
        }
        ASSERT_EQ(m_made.lights.size(), whole.lights.size());
        for (u64 i = 0; i < whole.lights.size(); ++i) {
            EXPECT_EQ(m_made.lights[i].place, whole.lights[i].place);
            EXPECT_EQ(m_made.lights[i].color.plain, whole.lights[i].color.plain);
            ASSERT_EQ(!m_made.lights[i].texture, !whole.lights[i].texture);
            if (!whole.lights[i].texture) continue;
            EXPECT_EQ(m_made.lights[i].texture->bytes, whole.lights[i].texture->bytes);
        }
        ASSERT_EQ(m_made.cameras.size(), whole.cameras.size());
        for (u64 i = 0; i < whole.cameras.size(); ++i)
            EXPECT_EQ(m_made.cameras[i].camera.place, whole.cameras[i].camera.place);
        EXPECT_EQ(m_made.bounds.min, whole.bounds.min);
        EXPECT_EQ(m_made.bounds.max, whole.bounds.max);
        EXPECT_EQ(textsOf(m_made.findings), textsOf(whole.findings));
    }
    void move(const char* name, double x) {
        EXPECT_TRUE(m_scene[name]["matrix"].set(math::Mat4d::translation({{x, 0, 0.1 * x}})));
    }
    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    SceneReader m_reader{""};
    kelvo_sdk::Snapshot m_snapshot;
    RenderScene m_made;
    u64 m_visited = 0;
};

TEST_F(ScenePatchTest, MovedNode_IsVisitedWithWhatIsBelow) {
    move("inner", 5);
    EXPECT_EQ(update(), SceneUpdate::Places);
    EXPECT_EQ(m_visited, 10U); // Four nodes below, at two places.
    move("again", 2);
    EXPECT_EQ(update(), SceneUpdate::Places);
    EXPECT_EQ(m_visited, 6U);
    move("outer", 3);
    move("inner", 3);
    EXPECT_EQ(update(), SceneUpdate::Places);
}

TEST_F(ScenePatchTest, ChangedColor_LeavesPlacesAlone) {
    EXPECT_TRUE(m_scene["red"]["baseColor"].set(math::Rgbad{{0, 1, 0, 1}}));
    EXPECT_EQ(update(), SceneUpdate::Looks);
    EXPECT_EQ(m_visited, 1U); // The material itself, which shows nothing.
    EXPECT_EQ(m_made.instances[0].material->baseColor, (Vec3{0, 1, 0}));
}

TEST_F(ScenePatchTest, ChangedLightAndCamera_LeavePlacesAlone) {
    EXPECT_TRUE(m_scene["lamp"]["position"].set(math::Pos3d{{3, 2, 1}}));
    EXPECT_EQ(update(), SceneUpdate::Looks);
    EXPECT_TRUE(m_scene["eye"]
                    .createInput("position", kelvo_sdk::AttrType::Pos3)
                    .set(math::Pos3d{{3, 2, 1}}));
    EXPECT_EQ(update(), SceneUpdate::Looks);
}

TEST_F(ScenePatchTest, ChangedMesh_StaysWhereItIs) {
    EXPECT_TRUE(m_scene["shape"]["positions"].setBuffer(
        std::vector<math::Pos3f>{{{0, 0, 0}}, {{1, 0, 0}}, {{0, 9, 0}}}));
    EXPECT_EQ(update(), SceneUpdate::Places);
    EXPECT_EQ(m_visited, 2U);
}

TEST_F(ScenePatchTest, OtherParts_AreReadAsAWhole) {
    const auto expectImpossible = [&](const char* note) {
        EXPECT_EQ(update(), SceneUpdate::Impossible) << note;
    };
    EXPECT_TRUE(m_scene["inner"]["matrix"].set(math::Mat4d()));
    expectImpossible("a matrix that cannot be inverted");
    move("inner", 1);
    expectImpossible("one that can be again");
    EXPECT_TRUE(m_scene["shape"]["indices"].set(qv::String("[0 1]")));
    expectImpossible("a mesh without triangles");
    EXPECT_TRUE(m_scene["shape"]["indices"].set(qv::String("[0 1 2]")));
    expectImpossible("one with triangles again");
    EXPECT_TRUE(m_scene["lamp"].createInput("intensity", kelvo_sdk::AttrType::Real).set(0.0));
    expectImpossible("a light that does not shine");
    EXPECT_TRUE(m_scene["picture"]["pixels"].set(qv::String("[(9 9 9 9)]")));
    expectImpossible("the picture of a sky");
    EXPECT_TRUE(m_scene["red"]
                    .createInput("baseColorTexture", kelvo_sdk::AttrType::Node)
                    .set(m_scene["picture"]));
    expectImpossible("missing texture coordinates");
    EXPECT_TRUE(m_scene["red"].removeInput("baseColorTexture"));
    expectImpossible("a finding that goes away");
    EXPECT_TRUE(m_scene["outer"]["children"].append().set(m_scene["lamp"]));
    expectImpossible("another child");
    EXPECT_TRUE(m_scene["eye"].rename("nose"));
    expectImpossible("another name");
    EXPECT_TRUE(m_scene.removeNode(m_scene["lamp"]));
    expectImpossible("a node less");
}

TEST_F(ScenePatchTest, StoppedUpdate_IsReadAsAWhole) {
    move("inner", 5);
    const kelvo_sdk::Snapshot next = m_scene.snapshot();
    const kelvo_sdk::SnapshotDelta delta(m_snapshot, next);
    m_reader.forget(delta);
    m_snapshot = next;
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW((void)m_reader.update(m_made, next, delta, stop.get_token()), Stopped);
    m_made = m_reader.read(next);
    expectWhole();
}

} // namespace
} // namespace qv::render::impl
