#include "kelvo/sdk/impl/snapshot/record_text.h"

#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"
#include "tests/support/library_text.h"
#include "tests/support/log_capture.h"
#include "tests/support/random_scene.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk {
namespace {

struct TextCase {
    const char* note;
    const char* text;
};
void PrintTo(const TextCase& text, std::ostream* out) {
    *out << text.note;
}

// The second snapshot shares what an edit of another node leaves as it is.
class RecordTextCase : public testing::TestWithParam<TextCase> {};

TEST_P(RecordTextCase, Text_OfASnapshot_IsThatOfTheScene) {
    tests::LogCapture log;
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    ASSERT_TRUE(scene.read(GetParam().text, "text", {.isPartial = true}, nullptr).isRead);
    const Snapshot first = scene.snapshot();
    const String text = scene.text();
    EXPECT_EQ(first.text(), text);
    const Node other = scene.createNode("t", "other");
    EXPECT_EQ(scene.snapshot().text(), scene.text());
    scene.removeNode(scene.node(0));
    EXPECT_EQ(scene.snapshot().text(), scene.text());
    while (scene.undo()) {
    }
    scene.redo();
    EXPECT_EQ(scene.snapshot().text(), text);
    EXPECT_EQ(first.text(), text);
}

const TextCase kTexts[] = {
    {"a node", "node t \"a\" {\n}\n"},
    {"a head", "node t : u, v \"a\" @abstract @internal {\n}\n"},
    {"plain kinds", "node t \"a\" {\n    Bool a = true\n    Int b = -3\n    UInt c = 7\n"
                    "    Real d = nan(0x7ff8000000000001)\n    String e = \"x\\n\"\n    Null f\n"
                    "    Quat g = (0 0 0 1)\n    Mat3 h = (1 0 0  0 1 0  0 0 1)\n}\n"},
    {"buffers", "node t \"a\" {\n    Buffer<Pos3f> a = [(1 2 3)] @type Pos3f\n    Buffer b = []\n"
                "    Array<Buffer> c = [Buffer<Float> [1], []] @type Float\n}\n"},
    {"links",
     "node t \"a\" {\n    Node n = b\n    Array<Node> c = [a, null, b]\n    Node d = null\n"
     "}\nnode t \"b\" {\n}\nnode t \"null\" {\n    Node n = \"null\"\n}\n"},
    {"connections",
     "node t \"a\" {\n    output Real o\n    output Real o @again\n}\n"
     "node t \"b\" {\n    Real x = 1 <- a.o:2\n    Array<Real> y = [1 <- a.o, 2]\n}\n"},
    {"objects", "node t \"a\" {\n    Object o @silent {  # open\n        Real x = 1 @announced\n"
                "        Object p {\n            # inner\n        }  # close\n    }\n}\n"},
    {"nested arrays",
     "node t \"a\" {\n    Array<Array> a = [Array<Int> [1, 2], Array<Real> []]\n}\n"},
    {"stashed", "node t \"a\" {\n    Real x = 1 @stashed 2\n    Node n = null @stashed a\n"
                "    Buffer b = [] @stashed Buffer<Float> [1]\n}\n"},
    {"described", "node t \"a\" {\n    Real x = 5 @unchecked @default 1 @min 0 @max 2 @unit \"m\"\n"
                  "    Node n = a @default a @choices [a, b]\n    Int i = 1 @choices [1, 2]\n"
                  "    Real l = 0 @readonly @label \"de\" \"L\" @help \"en\" \"H\"\n}\n"
                  "node t \"b\" {\n}\n"},
    {"repeated", "node t \"a\" {\n    Real x = 1\n    Real X = 2 @again\n    Int x = 3\n}\n"},
    {"comments",
     "# top\nkelvo scene 1  # head\n\n# one\nnode t \"a\" {  # open\n\n    # lead\n"
     "    Real x = 1  # trail\n    output Int o  # out\n    # inner\n}  # close\n\n# end\n"},
    {"gaps", "node t \"a\" {\n    Reel x = 1\n    Node n = gone\n    Real y = 1 <- gone.o\n"
             "    Object o {\n        Int z = x\n    }\n    what\n}\nnude t \"b\" {\n}\n"
             "node t \"c\" {\n}\nnude\n"},
    {"own", "node t \"a\" @own {\n    Real x = 1 @own\n}\n"},
};
INSTANTIATE_TEST_SUITE_P(Table, RecordTextCase, testing::ValuesIn(kTexts));

TEST(RecordText, OfNothing_IsTheHeader) {
    EXPECT_TRUE(Snapshot().text().isEmpty());
    EXPECT_TRUE(SnapshotNode().text().isEmpty());
    EXPECT_EQ(Scene::create().snapshot().text(), Scene::create().text());
}

TEST(RecordText, OfANode_IsThatOfTheNode) {
    const Scene scene = Scene::create();
    ASSERT_TRUE(
        scene.read("node t \"a\" {\n    Node n = b  # link\n}\nnode t \"b\" {\n}\n", "text"));
    EXPECT_EQ(scene.snapshot()["a"].text(), scene["a"].text());
}

TEST(RecordText, OfManyThreads_IsTheSame) {
    const Scene scene = Scene::create();
    std::string text = "node t \"a\" {\n    Buffer<Float> x = [1";
    for (int i = 0; i < 100000; ++i)
        text += " 0.25";
    ASSERT_TRUE(scene.read(String(std::string_view(text + "]\n}\n")), "text"));
    EXPECT_EQ(scene.snapshot().text({.threads = 3}), scene.text({.threads = 1}));
}

TEST(RecordText, WithALibrary_OmitsWhatTheSceneOmits) {
    const Scene scene = Scene::create();
    const char* const types = "type light {\n    Real angle = 1\n}\ntype lamp : light {\n    Real "
                              "power = 5 @max 10\n    Object o {\n"
                              "        Int x = 1\n    }\n    output Real watts\n}\n";
    const char* const text =
        "node lamp \"a\" {\n}\nnode lamp \"b\" {\n    Object o {\n        Int x = 2\n"
        "    }\n}\nnode lamp \"c\" @own {\n    Real power = 50\n}\n";
    ASSERT_TRUE(scene.read(text, "text"));
    EXPECT_EQ(scene.snapshot().text(), scene.text());
    ASSERT_TRUE(scene.addLibrary(LibInfo(tests::libraryOf(types).get())));
    EXPECT_EQ(scene.snapshot().text(), scene.text());
    ASSERT_TRUE(scene.read(text, "text"));
    EXPECT_EQ(scene.snapshot().text(), scene.text());
    scene["a_1"]["power"].set(6.0);
    EXPECT_EQ(scene.snapshot().text(), scene.text());
}

TEST(RecordText, OfRandomScenes_IsThatOfTheScene) {
    tests::RandomScene random(7);
    for (int i = 0; i < 400; ++i) {
        random.edit();
        const Scene scene = Scene::create();
        const std::string text = random.text();
        ASSERT_TRUE(scene.read(String(std::string_view(text)), "text")) << text;
        ASSERT_EQ(scene.snapshot().text(), scene.text());
    }
}

} // namespace
} // namespace qv::kelvo_sdk
