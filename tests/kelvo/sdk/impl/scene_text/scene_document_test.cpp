#include "kelvo/sdk/impl/scene_text/scene_document.h"

#include "tests/support/scene_document.h"
#include "tests/support/small_stack.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

constexpr const char* kText = R"(# A room.
kelvo scene 1 # first

# where all stands
node xform : object, thing "room" @abstract @internal { # big
    Array<Node> children = [lamp, null]
    # two of them
    Buffer<Pos3f> positions = [(0 0 0) (1 0 nan)] @type Pos3f
    String label = "say \"hi\" ] } # @min"
    output Real size
    # nothing follows
}
node light "lamp" {
    Real radius = 0.5 <- room.size @min 0 @max 2 @unit "m" @label "de" "Höhe" # metres
    Object shade { # of it
        Array<Object> stops = [{
            Real at = 1
        }, {
        }]
        Array<Array> grid = [Array<Real> [1, 2], Array<Node> [lamp]]
    }
    Null empty
    Node target = lamp @default lamp @choices [lamp, String "x"]
    output Real area
    output Real area @again
}
# the end
)";

TEST(SceneDocument, Text_IsWhatWasRead) {
    const SceneDocument document = tests::documentOf(kText);
    EXPECT_STREQ(document.text().buf(), kText);
    EXPECT_EQ(document.nodes[0].bases, "object, thing");
    EXPECT_EQ(document.nodes[0].flags, "@abstract @internal");
    EXPECT_EQ(document.nodes[1].inputs[0].source, "room.size");
    EXPECT_EQ(document.nodes[1].inputs[0].notes.size(), 4u);
    EXPECT_EQ(document.nodes[1].outputs.size(), 2u);
}

TEST(SceneDocument, ParseNode_OfOtherTexts_Fails) {
    for (const char* text : {"", "node", "node a \"a\" {", "node a \"a\" {\n    Reel x = 1\n}\n",
                             "node a \"a\" {\n    String x = \"1\n}\n",
                             "node a \"a\" {\n    Array<Real> x = [1\n}\n"}) {
        SceneDocument document;
        EXPECT_FALSE(document.parseNode(text)) << text;
    }
}

TEST(SceneDocument, ParseNode_OfDeepNests_FailsWithoutUsingUpTheStack) {
    std::string text = "node a \"a\" {\n    Array<Array> x = ";
    for (int i = 0; i < 300000; ++i)
        text += "[Array<Array> ";
    SceneDocument document;
    EXPECT_FALSE(document.parseNode(String(std::string_view(text))));
}

// Pieces of text that nest: what opens and closes one, and the levels of one.
struct Nest {
    const char* opening;
    const char* innermost;
    const char* closing;
    u64 levels;
};

String nested(const Nest& nest, u64 levels) {
    std::string text = "node a \"a\" {\n";
    for (u64 level = 0; level < levels; level += nest.levels)
        text += nest.opening;
    text += nest.innermost;
    for (u64 level = 0; level < levels; level += nest.levels)
        text += nest.closing;
    return String(std::string_view(text + "\n}\n"));
}

u64 levelsOf(const std::vector<DocAttr>* list) {
    u64 levels = 0;
    for (; !list->empty(); ++levels)
        list = &list->front().members;
    return levels;
}

TEST(SceneDocument, ParseNode_AsDeepAsDocumentsAre_TakesNoStack) {
    for (const Nest& nest :
         {Nest{"Object o {\n", "", "}\n", 1}, Nest{"Array<Object> o = [{\n", "", "}]\n", 2},
          Nest{"Object o {\n", "Array<Real> x = [1]", "}\n", 1}}) {
        const u64 depth = SceneDocument::maxDepth - (*nest.innermost ? 2 : 0);
        SceneDocument document;
        std::optional<DocNode> admitted;
        tests::runOnSmallStack(
            [&] {
                admitted = document.parseNode(nested(nest, depth));
                EXPECT_FALSE(document.parseNode(nested(nest, 100'000))) << nest.opening;
            },
            96 * 1024);
        ASSERT_TRUE(admitted) << nest.opening;
        EXPECT_EQ(levelsOf(&admitted->inputs), SceneDocument::maxDepth) << nest.opening;
    }
}

TEST(SceneDocument, ParseInput_TakesTheLayoutsThatScenesTake) {
    SceneDocument document;
    const auto list = document.parseInput("Array<Node> x = [lamp, # the first\n    desk\n]");
    ASSERT_TRUE(list);
    EXPECT_STREQ(SceneDocument::textOf(*list, false).buf(),
                 "# the first\nArray<Node> x = [lamp, desk]");
    const auto object = document.parseInput("Object shade { Real at = 1 }");
    ASSERT_TRUE(object);
    EXPECT_STREQ(SceneDocument::textOf(*object, false).buf(), "Object shade {\n    Real at = 1\n}");
}

TEST(SceneDocument, Pieces_OfOtherTexts_AreRefused) {
    SceneDocument document;
    for (const char* text :
         {"", "Real x", "Real x = ", "Reel x = 1", "Real x = 1\nReal y = 2", "Array<Reel> x = []",
          "Buffer<Flout> x = []", "Real x = 1 @min", "Real x = 1 @mini 0", "Real x = 1 <- a",
          "Real x = 1 <- a.b:0", "Object x {", "Object x { output Real y }", "output Real x"})
        EXPECT_FALSE(document.parseInput(text)) << text;
    for (const char* text : {"1, 2", "1]", "", "1 # one"})
        EXPECT_FALSE(document.parseElement(text, AttrType::Real)) << text;
    for (const char* text : {"Real x", "output Real x = 1", "output Node x", "output Real"})
        EXPECT_FALSE(document.parseOutput(text)) << text;
    for (const char* text : {"t \"a\" {\n}", "node t \"a\" @readonly {\n}", "node t \"a b\" {\n}",
                             "node t \"a\" {\n}\nnode t \"b\" {\n}"})
        EXPECT_FALSE(document.parseNode(text)) << text;
}

TEST(SceneDocument, IsValue_TakesOneValueAlone) {
    struct Case {
        const char* text;
        AttrType type;
        bool expected;
    };
    for (const auto& [text, type, expected] : {Case{"1", AttrType::Real, true},
                                               {"1 2", AttrType::Real, false},
                                               {"1\n", AttrType::Real, false},
                                               {"(1 2)", AttrType::Vec2, true},
                                               {"\"a\" @min", AttrType::String, false},
                                               {"[(1 2) (3 4)]", AttrType::Buffer, true},
                                               {"nan(0x7ff8000000000001)", AttrType::Real, true},
                                               {"", AttrType::Real, false}})
        EXPECT_EQ(SceneDocument::isValue(text, type), expected) << text;
}

} // namespace
} // namespace qv::kelvo_sdk::impl
