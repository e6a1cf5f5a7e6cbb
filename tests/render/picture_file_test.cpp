#include "render/picture_file.h"

#include "render/impl/texture.h"
#include "tests/render/picture_folder.h"

#include <OpenImageIO/imageio.h>

namespace qv::render {
namespace {

using tests::PictureFolder;

// Two pixels: half covered light, and nothing.
Picture twoPixels() {
    Picture picture;
    picture.width = 2;
    picture.height = 1;
    picture.color = {0.25F, 0.1F, 4.0F, 0.5F, 0, 0, 0, 0};
    picture.albedo = {0.1F, 0.2F, 0.3F, 0, 0, 0};
    picture.normal = {0, 0, 1, 0, 0, 0};
    picture.depth = {7.5F, std::numeric_limits<float>::infinity()};
    picture.node = {12, kelvo_sdk::noNodeNumber};
    picture.samples = {1, 1};
    return picture;
}

TEST(PictureFile, Exr_HasLinearLightLayersAndTheHash) {
    const PictureFolder folder;
    const String path = folder.path() + "/a.exr";
    const PictureFile file{path, {Layer::Albedo, Layer::Normal, Layer::Depth, Layer::Node}, "beef"};
    ASSERT_TRUE(writePicture(twoPixels(), file));
    const auto image = OIIO::ImageInput::create(path.buf());
    OIIO::ImageSpec form;
    ASSERT_TRUE(image && image->open(path.buf(), form));
    EXPECT_EQ(form.get_string_attribute("kelvo:scene"), "beef");
    ASSERT_EQ(form.nchannels, 12);
    std::vector<float> values(24);
    ASSERT_TRUE(image->read_image(0, 0, 0, 12, OIIO::TypeDesc::FLOAT, values.data()));
    const auto value = [&](const char* channel, u64 pixel) {
        const int index = form.channelindex(channel);
        EXPECT_GE(index, 0) << channel;
        return values[pixel * 12 + static_cast<u64>(std::max(index, 0))];
    };
    EXPECT_EQ(value("B", 0), 4.0F);
    EXPECT_EQ(value("A", 0), 0.5F);
    EXPECT_EQ(value("albedo.G", 0), 0.2F);
    EXPECT_EQ(value("normal.Z", 0), 1.0F);
    EXPECT_EQ(value("depth.Z", 0), 7.5F);
    EXPECT_TRUE(std::isinf(value("depth.Z", 1)));
    EXPECT_EQ(value("node.N", 0), 12.0F);
    EXPECT_EQ(value("node.N", 1), -1.0F);
}

TEST(PictureFile, Png_IsEncodedAndDividedByTheCoverage) {
    const PictureFolder folder;
    const String path = folder.path() + "/a.png";
    ASSERT_TRUE(writePicture(twoPixels(), {path, {}, "beef"}));
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    const auto image = OIIO::ImageInput::open(path.buf(), &config);
    ASSERT_TRUE(image);
    u8 bytes[8]{};
    ASSERT_TRUE(image->read_image(0, 0, 0, 4, OIIO::TypeDesc::UINT8, bytes));
    EXPECT_EQ(bytes[0], 188); // half of the light
    EXPECT_EQ(bytes[2], 255);
    EXPECT_EQ(bytes[3], 128);
    EXPECT_EQ(bytes[7], 0);
}

TEST(PictureFile, FileThatCannotBeWritten_IsAFailure) {
    const struct {
        PictureFile file;
        const char* message;
    } cases[] = {
        {{"a.jpg", {}, ""},
         "The picture a.jpg has to be of a kind that can be written: .exr or .png."},
        {{"a.png", {Layer::Depth}, ""},
         "The picture a.png has no place for other layers; a file .exr has."},
        {{"/none/a.png", {}, ""}, "The picture /none/a.png cannot be written: "},
        {{"/none/a.exr", {}, ""}, "The picture /none/a.exr cannot be written: "},
        {{"/dev/full/a.png", {}, ""}, "The picture /dev/full/a.png cannot be written: "},
    };
    for (const auto& [file, message] : cases) {
        const auto result = writePicture(twoPixels(), file);
        EXPECT_FALSE(result) << file.path.buf();
        EXPECT_EQ(result.message().view().substr(0, std::string_view(message).size()), message);
    }
}

TEST(PictureFile, FullDisk_IsAFailureThatKeepsTheOldPicture) {
    const PictureFolder folder;
    Picture large = twoPixels();
    large.width = large.height = 64;
    large.color.resize(u64{64} * 64 * 4, 0.3F);
    for (const char* extension : {".png", ".exr"})
        for (const Picture& picture : {twoPixels(), large}) {
            folder.writeText(std::string("a") + extension, "old");
            const String path = folder.path() + "/a" + extension;
            const String part = folder.path() + "/a.part" + extension;
            std::filesystem::create_symlink("/dev/full", part.buf());
            const auto result = writePicture(picture, {path, {}, ""});
            EXPECT_FALSE(result) << extension;
            EXPECT_NE(result.message().view().find(path.view()), std::string_view::npos);
            EXPECT_EQ(folder.bytesOf(std::string("a") + extension), "old");
            EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(part.buf())));
        }
}

TEST(PictureFile, FileThatCannotBeReplaced_Stays) {
    const PictureFolder folder;
    const String path = folder.path() + "/a.png";
    std::filesystem::create_directories(std::filesystem::path(path.buf()) / "inside");
    EXPECT_FALSE(writePicture(twoPixels(), {path, {}, ""}));
    EXPECT_TRUE(std::filesystem::is_directory(path.buf()));
    EXPECT_FALSE(std::filesystem::exists((folder.path() + "/a.part.png").buf()));
}

} // namespace
} // namespace qv::render
