#include "render/impl/material_reader.h"

#include "tests/render/render_scene_text.h"

namespace qv::render::impl {
namespace {

using render::tests::snapshotOf;
using render::tests::Texts;
using render::tests::textsOf;

class MaterialReaderTest : public testing::Test {
protected:
    Material read(const std::string& inputs) {
        const auto snapshot = snapshotOf("node material \"m\" {\n" + inputs + "}\n" + picture);
        FindingList findings;
        const Material made = *readMaterial(snapshot["m"], m_textures, findings);
        m_findings = textsOf(findings.list());
        return made;
    }
    const std::string picture = R"(
node texture "picture" {
    UInt width = 1
    UInt height = 1
    String wrapU = "mirror"
    Buffer<Rgba8> pixels = [(1 2 3 4)]
}
)";
    TextureStore m_textures{""};
    Texts m_findings;
};

TEST_F(MaterialReaderTest, AbsentInputs_AreAsInTheDefinition) {
    const Material made = read("");
    EXPECT_EQ(made.baseColor, gray(0.8F));
    EXPECT_EQ(made.roughness, 0.5F);
    EXPECT_EQ(made.ior, 1.5F);
    EXPECT_EQ(made.opacity, 1.0F);
    EXPECT_EQ(made.absorption, Vec3());
    EXPECT_FALSE(made.twoSided);
    EXPECT_EQ(m_findings, Texts());
}

TEST_F(MaterialReaderTest, NumbersOutOfRange_AreFindings) {
    const Material made = read("Real roughness = 7\nReal metallic = nan\n"
                               "Rgba baseColor = (-1 0.5 nan 1)\n");
    EXPECT_EQ(made.roughness, 1.0F);
    EXPECT_EQ(made.metallic, 0.0F);
    EXPECT_EQ(made.baseColor, (Vec3{0, 0.5F, 0}));
    EXPECT_EQ(m_findings.size(), 3U);
}

TEST_F(MaterialReaderTest, Textures_AreFoundWithTheirWrapModes) {
    const Material made = read("Node baseColorTexture = picture\nNode roughnessTexture = picture\n"
                               "String roughnessTextureWrapU = \"clamp\"\n");
    ASSERT_TRUE(made.baseColorTexture.texture);
    EXPECT_EQ(made.baseColorTexture.texture, made.roughnessTexture.texture);
    EXPECT_EQ(made.baseColorTexture.wrapU, Wrap::Mirror);
    EXPECT_EQ(made.baseColorTexture.wrapV, Wrap::Repeat);
    EXPECT_EQ(made.roughnessTexture.wrapU, Wrap::Clamp);
}

TEST_F(MaterialReaderTest, LinkToAnotherNode_IsAFindingOfThatNode) {
    EXPECT_FALSE(read("Node normalTexture = m\n").normalTexture.texture);
    EXPECT_EQ(m_findings, Texts{"m: The node is linked as a texture, which it is not."});
}

TEST_F(MaterialReaderTest, DiffuseOfModels_StandsForAnAbsentBaseColor) {
    EXPECT_EQ(read("Rgba diffuse = (1 0 0 1)\n").baseColor, (Vec3{1, 0, 0}));
    EXPECT_EQ(read("Rgba diffuse = (1 0 0 1)\nRgba baseColor = (0 1 0 1)\n").baseColor,
              (Vec3{0, 1, 0}));
    EXPECT_TRUE(read("Node diffuseTexture = picture\n").baseColorTexture.texture);
}

TEST_F(MaterialReaderTest, Absorption_LeavesTheColorAtTheDistance) {
    const Material made =
        read("Real attenuationDistance = 2\nRgba attenuationColor = (0.5 1 0.25 1)\n");
    EXPECT_NEAR(std::exp(-2.0F * made.absorption.x), 0.5F, 1e-6F);
    EXPECT_EQ(made.absorption.y, 0.0F);
}

TEST_F(MaterialReaderTest, TextureCoordinates_AreChosenAndTransformed) {
    const TextureUse use = read("Node baseColorTexture = picture\n"
                                "Int baseColorTextureUvChannel = 1\n"
                                "Vec2 baseColorTextureUvOffset = (0.5 1)\n"
                                "Vec2 baseColorTextureUvScale = (2 -3)\n"
                                "Real baseColorTextureUvRotation = 1.5\n")
                               .baseColorTexture;
    EXPECT_EQ(use.uvSet, 1U);
    EXPECT_EQ(use.transform, (UvTransform{{0.5F, 1}, {2, -3}, std::sin(1.5F), std::cos(1.5F)}));
    EXPECT_EQ(m_findings, Texts());
}

TEST_F(MaterialReaderTest, TextureCoordinatesOutOfRange_AreFindings) {
    const TextureUse use = read("Node baseColorTexture = picture\n"
                                "Int baseColorTextureUvChannel = 8\n"
                                "Vec2 baseColorTextureUvOffset = (nan 1)\n"
                                "Real baseColorTextureUvRotation = inf\n")
                               .baseColorTexture;
    EXPECT_EQ(use.uvSet, 7U);
    EXPECT_EQ(use.transform.offset, Vec2());
    EXPECT_EQ(m_findings.size(), 3U);
}

} // namespace
} // namespace qv::render::impl
