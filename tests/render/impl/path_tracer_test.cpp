#include "render/impl/path_tracer.h"

#include "render/impl/scene_reader.h"
#include "tests/render/render_scene_text.h"

namespace qv::render::impl {
namespace {

using render::tests::ball;
using render::tests::chalk;
using render::tests::flatCamera;
using render::tests::snapshotOf;
using render::tests::square;

/// A scene text that is ready to be traced through.
class Traced {
public:
    explicit Traced(const std::string& text)
        : m_scene(SceneReader("").read(snapshotOf(text + flatCamera))),
          m_camera(cameraOf(m_scene)) {
        EXPECT_EQ(render::tests::textsOf(m_scene.findings), render::tests::Texts());
        m_accel.build(m_scene.instances, 1);
        m_traced.emplace(m_scene, m_accel);
    }
    /// Returns the mean of the samples at a point of the picture, which is from -1 to 1.
    PixelSample at(float x, float y, u32 count = 1, const PathOptions& options = {}) const {
        PixelSample mean;
        for (u32 i = 0; i < count; ++i) {
            Random random(11, i);
            const Ray ray = m_camera.at(x + 1.0F, 1.0F - y);
            const PixelSample sample = tracePath(*m_traced, m_camera, ray, options, random);
            mean.color += sample.color / static_cast<float>(count);
            mean.alpha += sample.alpha / static_cast<float>(count);
            mean.depth = sample.depth;
            mean.normal = sample.normal;
            mean.albedo = sample.albedo;
            mean.node = sample.node;
        }
        return mean;
    }

private:
    static CameraRays cameraOf(const RenderScene& scene) {
        return CameraRays(scene.cameras.at(0).camera, 2, 2);
    }
    RenderScene m_scene;
    CameraRays m_camera;
    Accel m_accel;
    std::optional<TracedScene> m_traced;
};

std::string node(const std::string& type, const std::string& inputs) {
    return "node " + type + " \"" + type + "1\" {\n" + inputs + "}\n";
}
// Puts a node under a transform whose last rows are given.
std::string under(const std::string& rows, const std::string& type, const std::string& inputs) {
    return "node xform \"place\" {\n    Mat4 matrix = (" + rows +
           ")\n    Array<Node> children = [" + type + "1]\n}\n" + node(type, inputs);
}
// Looks down along -y, from a height.
std::string above(double height) {
    return "1 0 0 0  0 0 -1 0  0 1 0 0  0 " + std::to_string(height) + " 0 1";
}

constexpr float albedo = 0.8F;
constexpr Vec2 points[] = {{0, 0}, {0.3F, 0.2F}, {-0.5F, 0.5F}, {0.1F, 0.8F}};
Vec3 ballNormal(const Vec2& p) {
    return {p.x, p.y, std::sqrt(1.0F - p.x * p.x - p.y * p.y)};
}

TEST(PathTracer, BallUnderASun_HasTheCosineOfItsNormal) {
    const Traced scene(ball(chalk) + node("sunLight", "Real intensity = 3\nReal angle = 0\n"));
    for (const Vec2& p : points)
        EXPECT_NEAR(scene.at(p.x, p.y).color.x, albedo / pi * 3.0F * ballNormal(p).z, 0.003F);
}

TEST(PathTracer, StoppedPath_TracesNoRay) {
    const Traced scene(ball(chalk) + node("skyLight", ""));
    std::stop_source stop;
    stop.request_stop();
    PathOptions options;
    options.stop = stop.get_token();
    EXPECT_EQ(scene.at(0, 0, 1, options).alpha, 0.0F);
    EXPECT_EQ(scene.at(0, 0, 1).alpha, 1.0F);
}

TEST(PathTracer, BallUnderASunWithADisc_GetsTheSameLight) {
    const Traced scene(ball(chalk) + node("sunLight", "Real intensity = 3\nReal angle = 0.6\n"));
    EXPECT_NEAR(scene.at(0, 0, 4000).color.x, albedo / pi * 3.0F, 0.01F);
}

TEST(PathTracer, BallUnderAPoint_HasTheInverseSquare) {
    const Traced scene(ball(chalk) + under("1 0 0 0  0 1 0 0  0 0 1 0  0 0 4 1", "pointLight",
                                           "Real intensity = 20\n"));
    for (const Vec2& p : points) {
        const Vec3 n = ballNormal(p), offset = Vec3{0, 0, 4} - n;
        const float d = length(offset);
        const float expected = albedo / pi * 20.0F * std::max(0.0F, dot(n, offset)) / (d * d * d);
        EXPECT_NEAR(scene.at(p.x, p.y).color.x, expected, 0.01F * expected);
    }
}

TEST(PathTracer, PointWithARadius_GivesTheSameLight) {
    const Traced scene(ball(chalk) + under("1 0 0 0  0 1 0 0  0 0 1 0  0 0 4 1", "pointLight",
                                           "Real intensity = 20\nReal radius = 1\n"));
    const float expected = albedo / pi * 20.0F / 9.0F;
    EXPECT_NEAR(scene.at(0, 0, 4000).color.x, expected, 0.01F * expected);
}

TEST(PathTracer, BallUnderASky_HasItsAlbedo) {
    const Traced scene(ball(chalk) + node("skyLight", ""));
    for (const Vec2& p : points)
        EXPECT_NEAR(scene.at(p.x, p.y, 4000).color.x, albedo, 0.01F * albedo);
    EXPECT_EQ(scene.at(0.95F, 0.95F).color, gray(1));
    EXPECT_EQ(scene.at(0.95F, 0.95F).alpha, 1.0F);
}

TEST(PathTracer, BallUnderADisc_GetsItsSolidAngle) {
    const Traced scene(ball(chalk) + under("1 0 0 0  0 1 0 0  0 0 1 0  0 0 3 1", "areaLight",
                                           "String shape = \"ellipse\"\nVec2 size = (2 2)\n"
                                           "Real intensity = 5\n"));
    const float expected = albedo * 5.0F * 1.0F / (1.0F + 4.0F);
    EXPECT_NEAR(scene.at(0, 0, 10000).color.x, expected, 0.01F * expected);
}

TEST(PathTracer, Spot_ShinesInItsConeAlone) {
    const Traced scene(ball(chalk) + under("1 0 0 0  0 1 0 0  0 0 1 0  0 0 4 1", "spotLight",
                                           "Real intensity = 9\nReal innerAngle = 0.1\n"
                                           "Real outerAngle = 0.2\n"));
    EXPECT_NEAR(scene.at(0, 0).color.x, albedo / pi, 0.01F);
    EXPECT_GT(scene.at(0.2F, 0).color.x, 0.01F);
    EXPECT_LT(scene.at(0.2F, 0).color.x, 0.8F * albedo / pi);
    EXPECT_EQ(scene.at(0.5F, 0).color.x, 0.0F);
}

TEST(PathTracer, LookingForLights_DoesNotChangeTheMean) {
    const std::string lamp = R"(
node mesh "lamp" {
    Buffer<Pos3f> positions = [(-1 2 -1) (1 2 -1) (1 2 2) (-1 2 2)]
    Buffer<UInt32> indices = [0 1 2 0 2 3]
    Node material = glow
}
node material "glow" {
    Rgba emissive = (1 1 1 1)
    Rgba baseColor = (0 0 0 1)
}
)";
    const std::string picture = R"(
node texture "picture" {
    UInt width = 4
    UInt height = 2
    Buffer<Rgba8> pixels = [(255 0 0 255) (9 9 9 255) (9 99 9 255) (250 250 250 255)
                            (0 0 255 255) (9 9 9 255) (99 9 9 255) (99 99 99 255)]
}
)";
    const std::string shiny = "    Real metallic = 1\n    Real roughness = 0.4\n";
    const struct {
        const char* note;
        std::string text;
    } cases[] = {
        {"area", ball(chalk) + under(above(2.5), "areaLight", "Vec2 size = (3 2)\n")},
        {"shiny area", ball(shiny) + under(above(2.5), "areaLight", "Vec2 size = (3 2)\n")},
        {"disc", ball(shiny) + under(above(2.5), "areaLight",
                                     "Vec2 size = (3 2)\nString shape = \"ellipse\"\n")},
        {"ball",
         ball(shiny) + under(above(3), "pointLight", "Real radius = 1\nReal intensity = 99\n")},
        {"sun", ball(chalk) + node("sunLight", "Real angle = 1\n")},
        {"sky",
         ball(shiny) + picture + node("skyLight", "Node texture = picture\nReal rotation = 1\n")},
        {"emission", ball(chalk) + lamp},
        {"emission and area", ball(chalk) + lamp + under(above(2.5), "areaLight", "")},
    };
    for (const auto& [note, text] : cases) {
        const Traced scene(text);
        const Vec3 with = scene.at(0.3F, 0.4F, 30000).color;
        PathOptions options;
        options.samplesLights = false;
        const Vec3 without = scene.at(0.3F, 0.4F, 60000, options).color;
        EXPECT_GT(with.y, 0.01F) << note;
        EXPECT_NEAR(with.x, without.x, 0.03F * without.x) << note;
        EXPECT_NEAR(with.y, without.y, 0.03F * without.y) << note;
    }
}

TEST(PathTracer, ClearBallInAWhiteSky_CannotBeSeen) {
    for (const char* thickness : {"0", "1"}) {
        const Traced scene(ball("    Rgba baseColor = (1 1 1 1)\n    Real transmission = 1\n"
                                "    Real roughness = 0.1\n    Real thickness = " +
                                std::string(thickness) + "\n") +
                           node("skyLight", ""));
        PathOptions options;
        options.mostBounces = 64;
        EXPECT_NEAR(scene.at(0.3F, 0.4F, 4000, options).color.x, 1.0F, 0.02F) << thickness;
    }
}

TEST(PathTracer, BodyThatAbsorbs_HasItsColorAtItsDistance) {
    // Without refraction light goes straight through, over a distance of 2.
    const Traced scene(
        ball("    Rgba baseColor = (1 1 1 1)\n    Real transmission = 1\n"
             "    Real roughness = 0\n    Real thickness = 1\n    Real ior = 1.0001\n"
             "    Real attenuationDistance = 2\n"
             "    Rgba attenuationColor = (0.5 1 0.25 1)\n") +
        node("skyLight", ""));
    const Vec3 color = scene.at(0, 0, 100).color;
    EXPECT_NEAR(color.x, 0.5F, 0.01F);
    EXPECT_NEAR(color.y, 1.0F, 0.01F);
    EXPECT_NEAR(color.z, 0.25F, 0.01F);
}

const std::string floor = R"(
node mesh "floor" {
    Buffer<Pos3f> positions = [(-9 -9 -1) (9 -9 -1) (9 9 -1) (-9 9 -1)]
    Buffer<UInt32> indices = [0 1 2 0 2 3]
    Node material = f
}
node material "f" {
    Real ior = 1
    Real roughness = 1
}
)";
std::string sheet(const std::string& material) {
    return square.substr(0, square.size() - 2) +
           "    Node material = s\n}\nnode material \"s\" {\n" + material + "}\n" + floor +
           node("sunLight", "Real angle = 0\n");
}

TEST(PathTracer, HalfOpaqueSheet_LetsHalfOfTheLightThrough) {
    const Traced scene(sheet("    Rgba baseColor = (0 0 0 1)\n    Real ior = 1\n"
                             "    Real opacity = 0.5\n    String alphaMode = \"BLEND\"\n"));
    // Half of the samples see the floor, which gets half of the sun.
    EXPECT_NEAR(scene.at(0.2F, 0.1F, 20000).color.x, albedo / pi / 4.0F, 0.003F);
}

TEST(PathTracer, CutOutSheet_IsNotThere) {
    const Traced scene(sheet("    Real opacity = 0.4\n    String alphaMode = \"MASK\"\n"));
    EXPECT_NEAR(scene.at(0.2F, 0.1F).color.x, albedo / pi, 1e-4F);
}

TEST(PathTracer, BackOfASheet_IsSeenButEmitsOnlyIfTwoSided) {
    const std::string turned =
        "node xform \"t\" {\n    Mat4 matrix = (-1 0 0 0  0 1 0 0  0 0 -1 0  0 0 0 1)\n"
        "    Array<Node> children = [square]\n}\n";
    const std::string glow = "    Rgba baseColor = (0 0 0 1)\n    Real ior = 1\n"
                             "    Rgba emissive = (0.5 0.5 0.5 1)\n";
    const Traced one(turned + sheet(glow)),
        both(turned + sheet(glow + "    Bool twoSided = true\n"));
    EXPECT_FLOAT_EQ(one.at(0.2F, 0.1F).depth, 5.0F);
    EXPECT_EQ(one.at(0.2F, 0.1F).color.x, 0.0F);
    EXPECT_FLOAT_EQ(both.at(0.2F, 0.1F).color.x, 0.5F);
}

TEST(PathTracer, LightWithoutShadows_ShinesThroughEverything) {
    const std::string sun = "Real angle = 0\nBool castShadows = false\n";
    const std::string roof = R"(
node mesh "roof" {
    Buffer<Pos3f> positions = [(-9 -9 7) (9 -9 7) (9 9 7) (-9 9 7)]
    Buffer<UInt32> indices = [0 1 2 0 2 3]
}
)";
    EXPECT_NEAR(Traced(floor + roof + node("sunLight", sun)).at(0, 0).color.x, albedo / pi, 1e-4F);
    EXPECT_EQ(Traced(floor + roof + node("sunLight", "Real angle = 0\n")).at(0, 0).color.x, 0.0F);
}

TEST(PathTracer, FirstSurface_IsDescribed) {
    const Traced scene(floor);
    const PixelSample sample = scene.at(0.2F, 0.1F);
    EXPECT_FLOAT_EQ(sample.depth, 6.0F);
    EXPECT_EQ(sample.normal, (Vec3{0, 0, 1}));
    EXPECT_EQ(sample.albedo, gray(0.8F));
    EXPECT_EQ(sample.node, 0U);
    EXPECT_EQ(sample.alpha, 1.0F);
    EXPECT_EQ(Traced("").at(0, 0).alpha, 0.0F);
    EXPECT_TRUE(std::isinf(Traced("").at(0, 0).depth));
}

TEST(PathTracer, MirroredInstance_KeepsItsFront) {
    const Traced scene(
        "node xform \"t\" {\n    Mat4 matrix = (-1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1)\n"
        "    Array<Node> children = [square]\n}\n" +
        sheet(""));
    EXPECT_FLOAT_EQ(scene.at(0.2F, 0.1F).depth, 5.0F);
}

TEST(PathTracer, NormalTexture_BendsTheNormal) {
    const std::string bent = R"(
    Node normalTexture = bump
}
node texture "bump" {
    UInt width = 1
    UInt height = 1
    Buffer<Rgba8> pixels = [(255 128 128 255)]
)";
    const std::string uvs =
        "    Buffer<Vec2f> uvs = [(0 0) (1 0) (1 1) (0 1)]\n    Node material = s\n}\n"
        "node material \"s\" {\n" +
        bent + "}\n";
    const Traced scene(square.substr(0, square.size() - 2) + uvs);
    const Vec3 normal = scene.at(0.2F, 0.1F).normal;
    EXPECT_NEAR(normal.x, 1.0F, 0.01F);
    EXPECT_NEAR(normal.y, 0.0F, 0.01F);
    EXPECT_GT(normal.z, 0.0F);
}

// The square with texture coordinates from 0 to 1 twice, the second set mirrored, and a picture
// that is red on the left and green on the right.
std::string pictured(const std::string& inputs) {
    return square.substr(0, square.size() - 2) + R"(
    Buffer<Vec2f> uvs = [(0 0) (1 0) (1 1) (0 1)]
    Buffer<Vec2f> uvs1 = [(1 0) (0 0) (0 1) (1 1)]
    Node material = s
}
node material "s" {
    Node baseColorTexture = halves
)" + inputs +
           R"(
}
node texture "halves" {
    UInt width = 2
    UInt height = 1
    String filter = "nearest"
    Buffer<Rgba8> pixels = [(255 0 0 255) (0 255 0 255)]
}
)";
}

TEST(PathTracer, TextureCoordinates_AreTheChosenOnesTransformed) {
    const Vec3 red{albedo, 0, 0}, green{0, albedo, 0};
    const struct {
        const char* inputs;
        Vec3 left, right, top;
    } cases[] = {
        {"", red, green, red},
        {"Int baseColorTextureUvChannel = 1\n", green, red, green},
        {"Vec2 baseColorTextureUvOffset = (0.5 0)\n", green, red, green},
        {"Vec2 baseColorTextureUvScale = (0.5 1)\n", red, red, red},
        {"Real baseColorTextureUvRotation = 1.5707963\n", red, red, green},
    };
    for (const auto& [inputs, left, right, top] : cases) {
        const Traced scene(pictured(inputs));
        EXPECT_EQ(scene.at(-0.7F, -0.1F).albedo, left) << inputs;
        EXPECT_EQ(scene.at(0.7F, -0.1F).albedo, right) << inputs;
        EXPECT_EQ(scene.at(-0.2F, 0.7F).albedo, top) << inputs;
    }
}

TEST(PathTracer, NormalTexture_FollowsScaleRotationAndBitangents) {
    const std::string bump = R"(
    Node normalTexture = bump
}
node texture "bump" {
    UInt width = 1
    UInt height = 1
    Buffer<Rgba8> pixels = [(255 128 128 255)]
}
)";
    const std::string tilted = R"(
    Node normalTexture = bump
}
node texture "bump" {
    UInt width = 1
    UInt height = 1
    Buffer<Rgba8> pixels = [(128 218 218 255)]
}
)";
    const std::string sheetOf = square.substr(0, square.size() - 2) +
                                "    Buffer<Vec2f> uvs = [(0 0) (1 0) (1 1) (0 1)]\n"
                                "    Node material = s\n";
    const std::string material = "}\nnode material \"s\" {\n";
    const auto normalOf = [&](const std::string& mesh, const std::string& inputs) {
        return Traced(sheetOf + mesh + material + inputs).at(0.2F, 0.1F).normal;
    };
    EXPECT_GT(normalOf("", "Real normalTextureUvRotation = 1.5707963\n" + bump).y, 0.99F);
    EXPECT_LT(normalOf("", "Vec2 normalTextureUvScale = (-1 1)\n" + bump).x, -0.99F);
    EXPECT_NEAR(normalOf("", "Real normalTextureScale = 0\n" + tilted).z, 1.0F, 1e-3F);
    EXPECT_GT(normalOf("", tilted).y, 0.6F);
    EXPECT_LT(
        normalOf("    Buffer<Vec3f> bitangents = [(0 -1 0) (0 -1 0) (0 -1 0) (0 -1 0)]\n", tilted)
            .y,
        -0.6F);
}

TEST(PathTracer, SpecularColor_IsThatOfTheLightInMirrors) {
    const auto seen = [](const std::string& material, const std::string& lamp) {
        return Traced(ball(material) + node("light", lamp)).at(0, 0, 4000).color;
    };
    const std::string colors = "Rgba color = (1 0 0 1)\nRgba specularColor = (0 0 1 1)\n";
    const std::string metal = "Real metallic = 1\nReal roughness = 0.4\n";
    for (const std::string shape :
         {"Pos3 position = (0 0 4)\n",
          "String shape = \"area\"\nPos3 position = (0 0 4)\nVec2 size = (2 2)\n",
          "String shape = \"ambient\"\n"}) {
        const std::string lamp = "String shape = \"point\"\n";
        const std::string whole = (shape.find("shape") == std::string::npos ? lamp : "") + shape;
        const Vec3 mirror = seen(metal, whole + colors);
        EXPECT_EQ(mirror.x, 0.0F) << shape;
        EXPECT_GT(mirror.z, 0.0F) << shape;
        const Vec3 dull = seen(chalk, whole + colors);
        EXPECT_GT(dull.x, 0.0F) << shape;
        EXPECT_LT(dull.z, 0.01F * dull.x) << shape;
    }
}

} // namespace
} // namespace qv::render::impl
