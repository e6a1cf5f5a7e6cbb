#include "render/picture_parts.h"

#include "render/renderer.h"
#include "tests/render/render_scene_text.h"

namespace qv::render {
namespace {

using tests::ball;
using tests::flatCamera;
using tests::snapshotOf;
using tests::square;

constexpr u32 width = 40, height = 20; // 3 x 2 tiles.

kelvo_sdk::Snapshot room() {
    return snapshotOf(ball("    Real roughness = 0.4\n") + square + flatCamera +
                      "node skyLight \"sky\" {\n    Real intensity = 0.2\n}\n");
}

RenderSettings settings(u32 threads = 1) {
    RenderSettings made;
    made.width = width;
    made.height = height;
    made.threads = threads;
    return made;
}

Picture whole(u32 samples) {
    Renderer renderer(room(), settings());
    RenderLimit limit;
    limit.samples = samples;
    EXPECT_TRUE(renderer.render(limit));
    return renderer.picture();
}

std::string bytesOf(Renderer& renderer, const PicturePart& part) {
    std::string bytes;
    const kelvo_sdk::Result isRendered = renderer.renderPart(part, bytes);
    EXPECT_TRUE(isRendered) << isRendered.message().buf();
    return bytes;
}

TEST(PictureParts, TilesOfAPicture) {
    EXPECT_EQ(PicturePart::tilesOf(width, height), 6U);
    EXPECT_EQ(PicturePart::tilesOf(16, 16), 1U);
    EXPECT_EQ(PicturePart::tilesOf(65535, 1), 4096U);
}

TEST(PictureParts, PartsOfTilesAndSamples_MakeThePictureOfOneRenderer) {
    Renderer one(room(), settings()), two(room(), settings(3));
    PictureParts parts(width, height);
    // The last block of samples is not complete.
    for (const PicturePart& part :
         {PicturePart{4, 2, 0, 64}, PicturePart{0, 4, 0, 32}, PicturePart{0, 1, 32, 32},
          PicturePart{1, 3, 32, 68}, PicturePart{4, 2, 64, 36}, PicturePart{0, 1, 64, 36}})
        EXPECT_TRUE(parts.add(bytesOf(part.firstTile % 2 == 0 ? one : two, part)));
    EXPECT_EQ(parts.picture(), whole(100));
}

TEST(PictureParts, RenderingAPart_KeepsThePictureOfTheRenderer) {
    Renderer renderer(room(), settings());
    RenderLimit limit;
    limit.samples = 2;
    EXPECT_TRUE(renderer.render(limit));
    bytesOf(renderer, {0, 6, 0, 4});
    EXPECT_EQ(renderer.picture(), whole(2));
}

TEST(PictureParts, MissingParts_AreBlackAndEmpty) {
    Renderer renderer(room(), settings());
    PictureParts parts(width, height);
    EXPECT_TRUE(parts.add(bytesOf(renderer, {1, 1, 0, 4})));
    const Picture picture = parts.picture();
    EXPECT_EQ(picture.samples[0], 0U);
    EXPECT_EQ(picture.color[0], 0.0F);
    EXPECT_EQ(picture.samples[16], 4U);
}

TEST(PictureParts, OnlyTheNextSamplesOfATile_AreAdded) {
    Renderer renderer(room(), settings());
    PictureParts parts(width, height);
    const std::string first = bytesOf(renderer, {0, 1, 0, 32}),
                      second = bytesOf(renderer, {0, 2, 32, 8});
    const kelvo_sdk::Result early = parts.add(second);
    EXPECT_STREQ(early.message().buf(), "A part that begins with sample 32 cannot be added to tile "
                                        "0, which has 0 samples.");
    EXPECT_TRUE(parts.add(first));
    EXPECT_FALSE(parts.add(first));
    // Its second tile has no samples yet.
    EXPECT_FALSE(parts.add(second));
    EXPECT_EQ(parts.picture().samples[0], 32U);
}

TEST(PictureParts, OtherBytes_AreRefused) {
    Renderer renderer(room(), settings());
    const std::string part = bytesOf(renderer, {0, 1, 0, 2});
    PictureParts parts(width, height);
    const Picture before = parts.picture();
    for (u64 size = 0; size < part.size(); size += 7)
        EXPECT_FALSE(parts.add(std::string_view(part).substr(0, size))) << size;
    EXPECT_FALSE(parts.add(part + "x"));
    for (u64 byte = 0; byte < 32; ++byte) {
        std::string damaged = part;
        damaged[byte] = static_cast<char>(damaged[byte] ^ 0x40);
        EXPECT_FALSE(parts.add(damaged)) << byte;
    }
    EXPECT_STREQ(parts.add("").message().buf(),
                 "The bytes are no part of a picture of 40 x 20 pixels.");
    EXPECT_FALSE(PictureParts(width, height + 1).add(part));
    EXPECT_EQ(parts.picture(), before);
    EXPECT_TRUE(parts.add(part));
}

TEST(PictureParts, PartsThatThePictureDoesNotHave_AreNotRendered) {
    Renderer renderer(room(), settings());
    std::string bytes = "before";
    for (const PicturePart& part :
         {PicturePart{6, 1, 0, 1}, PicturePart{0, 7, 0, 1}, PicturePart{0, 0, 0, 1},
          PicturePart{0, 1, 0, 0}, PicturePart{0, 1, 16, 1}, PicturePart{5, 0xffffffff, 0, 1},
          PicturePart{0, 1, 0xffffffe0, 32}})
        EXPECT_FALSE(renderer.renderPart(part, bytes)) << part.firstTile << ' ' << part.tileCount;
    Renderer without(room(), [] {
        RenderSettings none = settings();
        none.camera = "none";
        return none;
    }());
    EXPECT_FALSE(without.renderPart({0, 1, 0, 1}, bytes));
    std::stop_source stop;
    stop.request_stop();
    EXPECT_FALSE(renderer.renderPart({0, 1, 0, 1}, bytes, stop.get_token()));
    EXPECT_EQ(bytes, "before");
}

} // namespace
} // namespace qv::render
