#include "kelvo/sdk/impl/scene_text/piece_reader.h"

#include "kelvo/kelvo.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/scene_reader.h"
#include "tests/support/random_scene.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

namespace qv::kelvo_sdk::impl {
namespace {

// Pieces of a node, and of a few.
constexpr u64 smallPieces[] = {10, 40, 200};

// Returns everything that reading a text makes: diagnostics, gaps, text, hashes.
std::string outcomeOf(std::string_view text, ReadOptions options) {
    const auto scene = kelvo_sdk::Scene::create();
    Diagnostics found;
    u64 gaps = 0;
    options.gapCount = &gaps;
    std::string out = readScene(implOf(*scene.get()), text, options, &found) ? "read\n" : "no\n";
    for (const Diagnostic& diagnostic : found)
        out += std::string(diagnostic.text().view()) + "\n";
    out += std::to_string(gaps) + "\n" + scene.text().buf();
    for (const auto& node : scene.nodes())
        out += std::to_string(node.hash()) + "\n";
    return out;
}

// Compares reading in pieces with reading at once.
void expectSameInPieces(std::string_view text, ReadOptions options = {}) {
    for (const bool isPartial : {false, true}) {
        options.isPartial = isPartial;
        options.threads = 1;
        const std::string alone = outcomeOf(text, options);
        for (const u64 pieceSize : smallPieces) {
            options.pieceSize = pieceSize;
            options.threads = pieceSize == 40 ? 3 : 2;
            ASSERT_EQ(outcomeOf(text, options), alone) << "in pieces of " << pieceSize << "\n"
                                                       << text;
        }
    }
}

// Returns how far a text without header is read in pieces of a node each.
u64 reachOf(std::string_view text, ParseLimits limits = {.threads = 2, .pieceSize = 10}) {
    SceneTree tree;
    TextErrors errors(text, 1);
    const SceneParser names(text, limits, tree, errors);
    String leading;
    PieceJoiner joiner(tree, limits.nodes);
    return PieceReader(text, limits, joiner).read(0, leading);
}

constexpr std::string_view threeNodes = "node t \"a\" {\n}\n"
                                        "node t \"b\" {\n}\n"
                                        "node t \"c\" {\n}\n";

TEST(PieceReader, NodesWithoutErrors_AreReadToTheEnd) {
    EXPECT_EQ(reachOf(threeNodes), threeNodes.size());
}

TEST(PieceReader, ANodeWithAnError_IsLeftWithAllThatFollow) {
    std::string text(threeNodes);
    text.insert(text.rfind("}\nnode"), "Reel x\n");
    EXPECT_EQ(reachOf(text), text.find("node t \"b\""));
}

TEST(PieceReader, ANameThatIsTaken_IsLeftWithAllThatFollow) {
    std::string text(threeNodes);
    text.replace(text.find("\"c\""), 3, "\"A\"");
    EXPECT_EQ(reachOf(text), text.rfind("node"));
}

TEST(PieceReader, MoreNodesThanAllowed_AreLeft) {
    EXPECT_EQ(reachOf(threeNodes, {.nodes = 2, .threads = 2, .pieceSize = 10}),
              threeNodes.rfind("node"));
}

TEST(PieceReader, ALineThatOnlyLooksLikeANode_IsNoPiece) {
    const std::string_view text = "node t \"a\" {\nArray<Node> x = [\nnode , a\n]\n}\n"
                                  "node t \"b\" {\n}\n";
    EXPECT_EQ(reachOf(text), 0u);
    expectSameInPieces("node t \"node\" {\n}\n" + std::string(text));
}

TEST(PieceReader, ALargeNode_IsLeft) {
    const std::string large = "node t \"b\" {\nString s = \"" + std::string(400, 'x') + "\"\n}\n";
    std::string text(threeNodes);
    text.replace(text.find("node t \"b\""), 15, large);
    EXPECT_EQ(reachOf(text, {.threads = 2, .pieceSize = 20}), 0u);
    expectSameInPieces(text);
}

TEST(PieceReader, Comments_StayWithTheirNodes) {
    expectSameInPieces("# file\nkelvo scene 1 # head\n\n# a\n\n\nnode t \"a\" { # opening\n"
                       "    # inner\n} # behind a\n\n# b 1\n# b 2\n\nnode t \"b\" {\n}\n"
                       "node t \"c\" {\n}\n\n# d\nnode t \"d\" {\n}\n# end\n\n");
}

TEST(PieceReader, References_LeadToNodesOfOtherPieces) {
    expectSameInPieces(
        "node t \"a\" {\n    Node n = c\n    Real x <- b.y\n    Object o {\n        Real z\n"
        "        Array<Node> l = [b, c, null]\n    }\n}\n"
        "node t : u, v \"b\" {\n    output Real y # of b\n    output Real Y @again\n}\n"
        "node t : w \"c\" {\n    Real x = 1 <- b.Y @min 0 @label \"de\" \"X\"\n    output Int "
        "y\n}\n");
}

TEST(PieceReader, FaultsOfAllKinds_AreReportedAsWithoutPieces) {
    const char* const faults[] = {
        "node",        "node t",         "node t {",        "}",
        "\"",          "Real",           "Real x = [",      "Array<Real> x = [",
        "Object o {",  "Node n = zz",    "Real z <- a.q",   "# comment",
        "kelvo scene", "node t \"a\" {", "Real x @unknown", "\x01"};
    for (const char* const fault : faults)
        for (const char* const place : {"node t \"b\"", "}\nnode t \"c\"", "}\n"}) {
            std::string text = "kelvo scene 1\n\n" + std::string(threeNodes);
            text.insert(text.rfind(place), std::string(fault) + "\n");
            expectSameInPieces(text);
        }
}

TEST(PieceReader, MoreErrorsThanAreReported_AreTheSame) {
    std::string text;
    for (int i = 0; i < 30; ++i)
        text += "node t \"n" + std::to_string(i) + "\" {\n    Reel x = 1\n    Real y = z\n}\n";
    expectSameInPieces(text);
    expectSameInPieces(text, {.maxErrors = 3});
}

// Puts faults into a text at random: characters of the grammar, parts removed, parts repeated.
void damage(std::string& text, std::mt19937& random) {
    constexpr std::string_view marks = "{}[]()\"#\n@=,<>-. an0";
    const u64 at = random() % (text.size() + 1);
    const u64 length = random() % 12;
    switch (random() % 4) {
    case 0:
        text.insert(at, 1, marks[random() % marks.size()]);
        return;
    case 1:
        text.erase(at, length);
        return;
    case 2:
        text.insert(at, "\nnode ");
        return;
    default:
        text.insert(at, text.substr(random() % (text.size() + 1), 4 * length));
    }
}

TEST(PieceReader, TextsDamagedAtRandom_AreReadTheSame) {
    for (unsigned seed = 0; seed < 150; ++seed) {
        std::mt19937 random(seed);
        tests::RandomScene made(seed);
        for (int i = 0; i < 30; ++i)
            made.edit();
        std::string text = made.text();
        for (unsigned faults = seed % 4; faults != 0; --faults)
            damage(text, random);
        expectSameInPieces(text);
        if (testing::Test::HasFatalFailure()) return;
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
