#include "kelvo/sdk/impl/snapshot/piece_recorder.h"

#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/snapshot/record_text.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/random_scene.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

constexpr const char* given = "given up";

// Returns the text of what is read in pieces of about a node each.
std::string readInPieces(std::string_view text,
                         ParseLimits limits = {.threads = 2, .pieceSize = 10}) {
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    const auto line = RefersTo<SnapshotLine>::adopt(new SnapshotLine);
    SceneTree rest;
    if (!PieceRecorder(*scene, *line).read(text, limits, rest)) return given;
    StringIO out;
    writeText(line->current, out, 1);
    return std::string(out.view());
}

constexpr std::string_view threeNodes =
    "kelvo scene 1\n\nnode t \"a\" {\n    Real x = 1 <- c.o\n}\n"
    "# of b\nnode t \"b\" {\n    Node n = a\n}\n"
    "node t \"c\" {\n    output Real o\n}\n";

TEST(PieceRecorder, NodesOfSeveralPieces_AreRecordedInOrder) {
    EXPECT_EQ(readInPieces(threeNodes), threeNodes);
    EXPECT_EQ(readInPieces(threeNodes, {.threads = 1, .pieceSize = 10}), threeNodes);
    EXPECT_EQ(readInPieces(threeNodes, {.threads = 2, .pieceSize = 100000}), threeNodes);
}

TEST(PieceRecorder, TheLastNodes_MayBeInNoPiece) {
    EXPECT_EQ(readInPieces(threeNodes, {.threads = 2, .pieceSize = 60}), threeNodes);
}

TEST(PieceRecorder, OutputsOfOneName_AreFoundByNumberAndCase) {
    const std::string text = "kelvo scene 1\n\nnode t \"a\" {\n    Real x = 0 <- b.o:2\n"
                             "    Real y = 0 <- b.O\n}\nnode t \"b\" {\n    output Int o\n"
                             "    output Real o\n    output Real O\n}\n";
    EXPECT_EQ(readInPieces(text), text);
}

TEST(PieceRecorder, FaultyTexts_AreGivenUp) {
    const std::string text(threeNodes);
    for (const char* bad :
         {"node t \"A\" {\n}\n", "node t \"d\" {\n    Node n = gone\n}\n", "nude\n",
          "node t \"d\" {\n    Real r = 0 <- c.gone\n}\n", "node t \"d\" {\n    Reel x\n}\n",
          "node t \"d\" {\n    Real r = 0 <- c.o:2\n}\n",
          "node t \"d\" {\n    Vec3 r = (0 0 0) <- c.o\n}\n",
          "node t \"d\" {\n    Real r = 0 <- d.o\n    output Real o\n}\n",
          "node t \"d\" {\n    Real r = 0 <- e.o\n    output Real o\n}\n"
          "node t \"e\" {\n    Real r = 0 <- d.o\n    output Real o\n}\n"}) {
        EXPECT_EQ(readInPieces(text + bad), given) << bad;
        EXPECT_EQ(readInPieces(text + bad + "node t \"z\" {\n}\n"), given) << bad;
    }
    EXPECT_EQ(readInPieces("\xff"), given);
}

TEST(PieceRecorder, MoreNodesThanAllowed_AreGivenUp) {
    EXPECT_EQ(readInPieces(threeNodes, {.nodes = 2, .threads = 2, .pieceSize = 10}), given);
    EXPECT_EQ(readInPieces(threeNodes, {.nodes = 3, .threads = 2, .pieceSize = 10}), threeNodes);
}

TEST(PieceRecorder, LinksInDescriptions_AreGivenUp) {
    const std::string text(threeNodes);
    EXPECT_EQ(readInPieces(text + "node t \"d\" {\n    Node n = null @stashed a\n}\n"), given);
    EXPECT_EQ(readInPieces(text + "node t \"d\" {\n    Node n = null @default a\n}\n"), given);
}

TEST(PieceRecorder, RandomScenes_AreReadAsBySceneOrGivenUp) {
    tests::RandomScene random(5);
    int recorded = 0;
    for (int i = 0; i < 500; ++i) {
        random.edit();
        const std::string text = random.text();
        const std::string found = readInPieces(text);
        const auto scene = kelvo_sdk::Scene::create();
        ASSERT_TRUE(scene.read(String(std::string_view(text)), "text"));
        if (found == given) continue;
        ++recorded;
        // The recorder leaves the comments of the whole text to its caller.
        const String whole = scene.text();
        ASSERT_EQ(found, whole.view().substr(whole.view().find("kelvo")));
    }
    EXPECT_GT(recorded, 100);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
