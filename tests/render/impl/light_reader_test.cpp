#include "render/impl/light_reader.h"

#include "tests/render/render_scene_text.h"

namespace qv::render::impl {
namespace {

using render::tests::snapshotOf;
using render::tests::Texts;
using render::tests::textsOf;

class LightReaderTest : public testing::Test {
protected:
    std::vector<Light> read(const std::string& type, const std::string& inputs) {
        const auto snapshot = snapshotOf("node " + type + " \"l\" {\n" + inputs + "}\n");
        FindingList findings;
        std::vector<Light> lights;
        readLights(snapshot["l"], m_toWorld, m_textures, findings, lights);
        m_findings = textsOf(findings.list());
        return lights;
    }
    static void expectNear(const Vec3& a, const Vec3& b) {
        EXPECT_NEAR(length(a - b), 0.0F, 1e-6F) << a.x << " " << a.y << " " << a.z;
    }
    TextureStore m_textures{""};
    Transform m_toWorld;
    Texts m_findings;
};

TEST_F(LightReaderTest, Types_GiveShapes) {
    const struct {
        const char* type;
        const char* inputs;
        LightShape shape;
    } cases[] = {
        {"pointLight", "", LightShape::Sphere},
        {"spotLight", "", LightShape::Spot},
        {"sunLight", "", LightShape::Sun},
        {"areaLight", "", LightShape::Rectangle},
        {"areaLight", "String shape = \"ellipse\"\n", LightShape::Ellipse},
        {"skyLight", "", LightShape::Sky},
        {"light", "", LightShape::Sphere},
        {"light", "String shape = \"spot\"\n", LightShape::Spot},
        {"light", "String shape = \"directional\"\n", LightShape::Sun},
        {"light", "String shape = \"area\"\n", LightShape::Rectangle},
        {"light", "String shape = \"ambient\"\n", LightShape::Sky},
    };
    for (const auto& [type, inputs, shape] : cases) {
        const auto lights = read(type, inputs);
        ASSERT_EQ(lights.size(), 1U) << type << inputs;
        EXPECT_EQ(lights[0].shape, shape) << type << inputs;
        EXPECT_EQ(m_findings, Texts()) << type << inputs;
    }
    EXPECT_TRUE(read("mesh", "").empty());
}

TEST_F(LightReaderTest, SpecularColor_IsTheColorWithoutOne) {
    const auto plain = read("light", "Rgba color = (1 0.5 0 1)\nReal intensity = 4\n");
    ASSERT_EQ(plain.size(), 1U);
    EXPECT_EQ(plain[0].color.mirrored, (Vec3{4, 2, 0}));
    const auto other = read("light", "Rgba color = (0 0 0 1)\nRgba specularColor = (0 1 0 1)\n");
    ASSERT_EQ(other.size(), 1U);
    EXPECT_EQ(other[0].color, LightColor({}, {0, 1, 0}));
}

TEST_F(LightReaderTest, Color_IsMultipliedByTheIntensity) {
    const auto lights = read("pointLight", "Rgba color = (1 0.5 0 1)\nReal intensity = 4\n");
    ASSERT_EQ(lights.size(), 1U);
    EXPECT_EQ(lights[0].color, (Vec3{4, 2, 0}));
    EXPECT_TRUE(read("pointLight", "Real intensity = 0\n").empty());
}

TEST_F(LightReaderTest, Place_FollowsTheTransform) {
    m_toWorld.origin = {1, 2, 3};
    m_toWorld.x = {0, 2, 0}; // x to y, y to -x
    m_toWorld.y = {-2, 0, 0};
    m_toWorld.z = {0, 0, 2};
    const auto areas = read("areaLight", "Vec2 size = (3 1)\n");
    ASSERT_EQ(areas.size(), 1U);
    expectNear(areas[0].place.origin, {1, 2, 3});
    expectNear(areas[0].place.x, {0, 3, 0});
    expectNear(areas[0].place.y, {-1, 0, 0});
    expectNear(areas[0].place.z, {0, 0, 1});
    const auto balls = read("pointLight", "Real radius = 0.5\n");
    ASSERT_EQ(balls.size(), 1U);
    EXPECT_FLOAT_EQ(balls[0].radius, 1.0F);
}

TEST_F(LightReaderTest, MirroredArea_StillShinesAlongItsNegativeZ) {
    m_toWorld.x = {-1, 0, 0};
    const auto areas = read("areaLight", "");
    ASSERT_EQ(areas.size(), 1U);
    expectNear(areas[0].place.z, {0, 0, 1});
}

TEST_F(LightReaderTest, LightOfAModel_HasItsOwnPlaceAndDirection) {
    const auto lights = read("light", "String shape = \"spot\"\nPos3 position = (0 5 0)\n"
                                      "Vec3 direction = (0 -3 0)\nReal innerAngle = 0\n"
                                      "Real outerAngle = 1\n");
    ASSERT_EQ(lights.size(), 1U);
    expectNear(lights[0].place.origin, {0, 5, 0});
    expectNear(lights[0].place.z, {0, 1, 0});
    EXPECT_FLOAT_EQ(lights[0].cosOuter, std::cos(0.5F));
}

TEST_F(LightReaderTest, LightThatCannotShine_IsAFinding) {
    EXPECT_TRUE(read("areaLight", "Vec2 size = (0 1)\n").empty());
    EXPECT_EQ(m_findings, Texts{"l: The light has no area."});
    EXPECT_EQ(read("light", "String shape = \"odd\"\n").size(), 1U);
    EXPECT_EQ(m_findings, Texts{"l: The shape of the light is not known; it shines as a point."});
    EXPECT_EQ(read("light", "String shape = \"spot\"\nVec3 direction = (0 0 0)\n").size(), 1U);
    EXPECT_EQ(m_findings, Texts{"l: The value of \"direction\" is out of range."});
}

TEST_F(LightReaderTest, LightOfAModel_NeedsOnlyWhatItsShapeUses) {
    const char* const zero = "Vec3 direction = (0 0 0)\nVec3 up = (0 0 0)\n";
    for (const char* shape : {"point", "ambient"}) {
        const std::string start = std::string("String shape = \"") + shape + "\"\n";
        EXPECT_EQ(read("light", start + zero).size(), 1U) << shape;
        EXPECT_TRUE(m_findings.empty()) << shape;
    }
    EXPECT_EQ(read("light", "String shape = \"spot\"\nVec3 up = (0 0 0)\n").size(), 1U);
    EXPECT_TRUE(m_findings.empty());
}

} // namespace
} // namespace qv::render::impl
