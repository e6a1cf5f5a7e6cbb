#include "render/impl/texture_reader.h"

#include "render/impl/stopped.h"
#include "tests/render/picture_folder.h"
#include "tests/render/render_scene_text.h"

namespace qv::render::impl {
namespace {

using render::tests::PictureFolder;
using render::tests::snapshotOf;
using render::tests::Texts;
using render::tests::textsOf;

class TextureReaderTest : public testing::Test {
protected:
    std::shared_ptr<const Texture> read(const std::string& inputs) {
        const auto snapshot = snapshotOf("node texture \"t\" {\n" + inputs + "}\n");
        FindingList findings;
        auto texture = readTexture(snapshot["t"], m_folder.path(), findings);
        m_findings = textsOf(findings.list());
        return texture;
    }
    PictureFolder m_folder;
    Texts m_findings;
};

TEST_F(TextureReaderTest, Pixels_CountBeforeTheFile) {
    const auto texture = read("UInt width = 2\nUInt height = 1\nString file = \"none\"\n"
                              "Buffer<Rgba8> pixels = [(255 0 0 255) (0 255 0 0)]\n");
    ASSERT_TRUE(texture);
    EXPECT_EQ(texture->pixel(1, 0), (Vec4{{0, 1, 0}, 0}));
    EXPECT_EQ(m_findings, Texts());
}

TEST_F(TextureReaderTest, Stop_EndsTheReading) {
    m_folder.write("a.png", OIIO::TypeDesc::UINT8, {0.5F, 0.25F, 1.0F, 0.5F});
    const auto snapshot = snapshotOf(R"(
node texture "file" {
    String file = "a.png"
}
node texture "pixels" {
    UInt width = 1
    UInt height = 1
    Buffer<Rgba8> pixels = [(1 2 3 4)]
}
)");
    FindingList findings;
    std::stop_source stop;
    stop.request_stop();
    for (const char* name : {"file", "pixels"})
        EXPECT_THROW((void)readTexture(snapshot[name], m_folder.path(), findings, stop.get_token()),
                     Stopped)
            << name;
}

TEST_F(TextureReaderTest, TallPicture_IsReadInSeveralSteps) {
    constexpr int width = 8, height = 40000;
    std::vector<u8> pixels;
    for (int i = 0; i < width * height; ++i)
        for (const int value : {i / width % 256, i / width / 256, i % width})
            pixels.push_back(static_cast<u8>(value));
    const std::string path = std::string(m_folder.path().view()) + "/tall.png";
    const auto image = OIIO::ImageOutput::create(path);
    ASSERT_TRUE(image && image->open(path, {width, height, 3, OIIO::TypeDesc::UINT8}) &&
                image->write_image(OIIO::TypeDesc::UINT8, pixels.data()) && image->close());
    const auto texture = read("String file = \"tall.png\"\n");
    ASSERT_TRUE(texture);
    ASSERT_EQ(texture->bytes.size(), u64{width} * height * 4);
    for (u64 i = 0; i < u64{width} * height; ++i) {
        const u8* pixel = texture->bytes.data() + i * 4;
        ASSERT_EQ(pixel[0] + pixel[1] * 256U, i / width);
        ASSERT_EQ(pixel[2], i % width);
        ASSERT_EQ(pixel[3], 255);
    }
}

TEST_F(TextureReaderTest, PixelsOfAnotherNumber_AreAFinding) {
    EXPECT_FALSE(read("UInt width = 2\nUInt height = 2\nBuffer<Rgba8> pixels = [(1 2 3 4)]\n"));
    EXPECT_EQ(m_findings, Texts{"t: The number of pixels is not width times height."});
}

TEST_F(TextureReaderTest, SizeThatOverflows_IsAFinding) {
    EXPECT_FALSE(read("UInt width = 4294967296\nUInt height = 4294967296\n"
                      "Buffer<Rgba8> pixels = [(1 2 3 4)]\n"));
    EXPECT_EQ(m_findings,
              Texts{"t: The picture of 4294967296 x 4294967296 pixels is empty or too large."});
}

TEST_F(TextureReaderTest, Files_OfAllDepthsGiveTheSameColors) {
    m_folder.write("eight.png", OIIO::TypeDesc::UINT8, {0.5F, 0.25F, 1.0F, 0.5F});
    m_folder.write("sixteen.png", OIIO::TypeDesc::UINT16, {0.5F, 0.25F, 1.0F, 0.5F});
    for (const char* name : {"eight", "sixteen"}) {
        const auto texture =
            read(std::string("String file = \"") + name + "\"\nString ext = \".png\"\n");
        ASSERT_TRUE(texture) << name;
        EXPECT_NEAR(texture->pixel(0, 0).color.x, linearFromSrgb(0.5F), 0.004F) << name;
        EXPECT_NEAR(texture->pixel(0, 0).alpha, 0.5F, 0.004F) << name;
    }
    m_folder.write("float.exr", OIIO::TypeDesc::FLOAT, {0.5F, 7.0F, NAN, 1.0F});
    const auto texture = read("String file = \"float\"\nString ext = \".exr\"\n");
    ASSERT_TRUE(texture);
    EXPECT_EQ(texture->pixel(0, 0), (Vec4{{0.5F, 7.0F, 0.0F}, 1.0F}));
}

TEST_F(TextureReaderTest, GrayPicture_HasEqualChannels) {
    m_folder.write("gray.png", OIIO::TypeDesc::UINT8, {0.2F});
    const auto texture =
        read("String file = \"gray\"\nString ext = \".png\"\nString colorSpace = \"linear\"\n");
    ASSERT_TRUE(texture);
    EXPECT_EQ(texture->pixel(0, 0), (Vec4{gray(51.0F / 255.0F), 1.0F}));
}

TEST_F(TextureReaderTest, BytesInsideTheNode_AreAPictureFile) {
    m_folder.write("in.png", OIIO::TypeDesc::UINT8, {1.0F, 0.0F, 0.0F, 1.0F});
    std::string numbers;
    for (const char byte : m_folder.bytesOf("in.png"))
        numbers += std::to_string(static_cast<unsigned char>(byte)) + " ";
    const auto texture = read("String ext = \".png\"\nBuffer<Byte> data = [" + numbers + "]\n");
    ASSERT_TRUE(texture) << (m_findings.empty() ? "" : m_findings[0]);
    EXPECT_EQ(texture->pixel(0, 0).color, (Vec3{1, 0, 0}));
}

TEST_F(TextureReaderTest, PictureThatCannotBeRead_IsAFinding) {
    m_folder.writeText("text.png", "no picture");
    const struct {
        const char* inputs;
        const char* finding;
    } cases[] = {
        {"", "t: The texture has neither pixels nor a file."},
        {"String file = \"absent\"\nString ext = \".png\"\n", "absent.png cannot be read: "},
        {"String file = \"text\"\nString ext = \".png\"\n", "text.png cannot be read: "},
        {"String ext = \".png\"\nBuffer<Byte> data = [1 2 3]\n",
         "t: The picture inside the node cannot be read: "},
    };
    for (const auto& [inputs, finding] : cases) {
        EXPECT_FALSE(read(inputs)) << inputs;
        ASSERT_EQ(m_findings.size(), 1U) << inputs;
        EXPECT_NE(m_findings[0].find(finding), std::string::npos) << m_findings[0];
    }
}

TEST_F(TextureReaderTest, DamagedPicture_IsAFinding) {
    m_folder.write("cut.png", OIIO::TypeDesc::UINT8, {1.0F, 0.0F, 0.0F, 1.0F}, 64);
    std::string bytes = m_folder.bytesOf("cut.png");
    m_folder.writeText("cut.png", bytes.substr(0, bytes.size() / 2));
    EXPECT_FALSE(read("String file = \"cut\"\nString ext = \".png\"\n"));
    ASSERT_EQ(m_findings.size(), 1U);
    EXPECT_NE(m_findings[0].find("cut.png is damaged"), std::string::npos) << m_findings[0];
}

TEST_F(TextureReaderTest, PictureThatIsTooLarge_IsAFindingBeforeItTakesMemory) {
    m_folder.writeText("huge.ppm", "P6\n100000 100000\n255\nabc");
    EXPECT_FALSE(read("String file = \"huge\"\nString ext = \".ppm\"\n"));
    ASSERT_EQ(m_findings.size(), 1U);
    EXPECT_EQ(m_findings[0], "t: The picture of 100000 x 100000 pixels is empty or too large.");
}

} // namespace
} // namespace qv::render::impl
