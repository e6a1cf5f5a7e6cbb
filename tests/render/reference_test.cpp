#include "render/picture_file.h"
#include "render/renderer.h"
#include "tests/render/picture_difference.h"
#include "tests/render/picture_folder.h"
#include "tests/render/reference_scenes.h"
#include "tests/render/render_scene_text.h"

#include <OpenImageIO/imageio.h>

#include <cstdlib>
#include <filesystem>

namespace qv::render {
namespace {

using tests::BytePicture;
using tests::ReferenceScene;

// On one machine the same picture comes; another compiler, or another way to pick samples, gives
// another noise. Its mean is about 1, which can just be seen, in the noisiest scene, and 0.3 in
// most.
constexpr double mostInTheMean = 1.5;
// Part of a picture may have more noise, as caustics have; a wrong shadow or letter has more
// than 10.
constexpr double mostInAPart = 5.0;

BytePicture read(const std::string& path) {
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    const auto image = OIIO::ImageInput::open(path, &config);
    BytePicture picture;
    if (!image) {
        ADD_FAILURE() << path << ": " << OIIO::geterror();
        return picture;
    }
    const OIIO::ImageSpec form = image->spec_dimensions(0);
    picture.width = form.width;
    picture.height = form.height;
    picture.pixels.resize(static_cast<u64>(picture.width) * static_cast<u64>(picture.height) * 4);
    EXPECT_EQ(form.nchannels, 4);
    EXPECT_TRUE(image->read_image(0, 0, 0, 4, OIIO::TypeDesc::UINT8, picture.pixels.data()));
    return picture;
}

// Renders a scene into a file, as the command does.
void write(const ReferenceScene& scene, const std::string& path, u32 samples = 64) {
    RenderSettings settings;
    settings.width = 96;
    settings.height = 64;
    Renderer renderer(tests::snapshotOf(scene.text), settings);
    RenderLimit limit;
    limit.samples = samples;
    EXPECT_TRUE(renderer.render(limit));
    EXPECT_EQ(tests::textsOf(renderer.findings()), tests::Texts());
    EXPECT_TRUE(writePicture(renderer.picture(), {path.c_str(), {}, ""}));
}

std::string referenceOf(const ReferenceScene& scene) {
    return std::string(KELVO_REFERENCES) + "/" + scene.name + ".png";
}

class ReferenceTest : public testing::TestWithParam<ReferenceScene> {
protected:
    [[nodiscard]] BytePicture made(u32 samples = 64) const {
        const String path = m_folder.path() + "/made.png";
        write(GetParam(), path.buf(), samples);
        return read(path.buf());
    }
    tests::PictureFolder m_folder;
};

// With KELVO_WRITE_REFERENCES=1 the pictures are written anew; look at them before they are kept.
TEST_P(ReferenceTest, Picture_LooksAsItDid) {
    if (std::getenv("KELVO_WRITE_REFERENCES")) return write(GetParam(), referenceOf(GetParam()));
    const BytePicture picture = made(), reference = read(referenceOf(GetParam()));
    ASSERT_EQ(picture.pixels.size(), reference.pixels.size());
    EXPECT_LT(meanDifference(picture, reference), mostInTheMean);
    EXPECT_LT(largestDifference(picture, reference), mostInAPart);
}

INSTANTIATE_TEST_SUITE_P(All, ReferenceTest, testing::ValuesIn(tests::referenceScenes()),
                         [](const auto& scene) { return std::string(scene.param.name); });

BytePicture mirrored(const BytePicture& from) {
    BytePicture made = from;
    for (int i = 0; i < from.width * from.height; ++i) {
        const int x = i % from.width, other = i - x + from.width - 1 - x;
        for (int c = 0; c < 4; ++c)
            made.pixels[static_cast<u64>(i * 4 + c)] = from.pixels[static_cast<u64>(other * 4 + c)];
    }
    return made;
}

TEST_P(ReferenceTest, MirroredPicture_IsFoundToBeWrong) {
    const BytePicture reference = read(referenceOf(GetParam()));
    EXPECT_GT(largestDifference(mirrored(reference), reference), mostInAPart);
}

TEST_P(ReferenceTest, NoisierPicture_LooksTheSame) {
    const BytePicture picture = made(48), reference = read(referenceOf(GetParam()));
    EXPECT_LT(meanDifference(picture, reference), mostInTheMean);
    EXPECT_LT(largestDifference(picture, reference), mostInAPart);
}

} // namespace
} // namespace qv::render
