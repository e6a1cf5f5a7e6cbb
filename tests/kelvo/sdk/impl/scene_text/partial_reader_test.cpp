#include "kelvo/sdk/impl/scene_text/partial_reader.h"

#include "tests/support/scene_text.h"

#include "kelvo/sdk/impl/standard/standard_library.h"
#include "kelvo/sdk/impl/types/lib_info.h"

#include <gtest/gtest.h>

#include <random>

namespace qv::kelvo_sdk {
namespace {

using tests::textOf;

constexpr ReadOptions kPartial{.isPartial = true};

struct Partial {
    Scene scene = Scene::create();
    ReadReport report;
    std::string told;
};

// Reads the readable parts; each diagnostic becomes "line:column: message", with "in 'node'" if it
// names one.
Partial partOf(std::string_view text, ReadOptions options = kPartial) {
    Partial part;
    Diagnostics gaps;
    part.report = part.scene.read(String(text), "text", options, &gaps);
    for (const Diagnostic& gap : gaps) {
        if (!part.told.empty()) part.told += '\n';
        part.told += std::to_string(gap.line) + ":" + std::to_string(gap.column) + ": ";
        if (!gap.node.isEmpty()) part.told += std::string("in '") + gap.node.buf() + "': ";
        part.told += gap.message.view();
    }
    EXPECT_TRUE(part.scene.verify().empty());
    return part;
}

std::string rewrittenPart(std::string_view text) {
    return textOf(partOf(text).scene);
}

// ---- Gaps --------------------------------------------------------------------------------------

struct GapCase {
    const char* name;
    const char* text;
    const char* told;
    u64 nodes;
    // Null stands for the text unchanged.
    const char* written = nullptr;
    u64 gaps = 1;
};

void PrintTo(const GapCase& gap, std::ostream* out) {
    *out << gap.name;
}

class PartialReaderGaps : public testing::TestWithParam<GapCase> {};

TEST_P(PartialReaderGaps, AreReportedAndWrittenBack) {
    const GapCase& gap = GetParam();
    const Partial part = partOf(gap.text);
    EXPECT_EQ(part.told, gap.told);
    EXPECT_TRUE(part.report.isRead);
    EXPECT_EQ(part.report.gapCount, gap.gaps);
    EXPECT_EQ(part.scene.nodeCount(), gap.nodes);
    const std::string written = textOf(part.scene);
    EXPECT_EQ(written, gap.written ? gap.written : gap.text);
    EXPECT_EQ(rewrittenPart(written), written);
}

const GapCase kGaps[] = {
    {"a value of another kind",
     "kelvo scene 1\n\nnode t \"a\" {\n    Real x = abc\n    Real y = 2\n}\n",
     "4:14: in 'a': Found 'abc' where a number was expected.", 1},
    {"a line at the end",
     "kelvo scene 1\n\nnode t \"a\" {\n    Real y = 2\n    Real x = abc\n    # end\n}\n",
     "5:14: in 'a': Found 'abc' where a number was expected.", 1},
    {"comments around a line",
     "kelvo scene 1\n\nnode t \"a\" {\n    # before\n    Real x = abc # at\n    # behind\n"
     "    Real y = 2\n}\n",
     "5:14: in 'a': Found 'abc' where a number was expected.", 1},
    {"an indentation of its own",
     "kelvo scene 1\n\nnode t \"a\" {\n\t  Real   x = abc\n    Real y = 2\n}\n",
     "4:15: in 'a': Found 'abc' where a number was expected.", 1},
    {"several lines",
     "kelvo scene 1\n\nnode t \"a\" {\n    Array<Real> x = [1,\n        b,\n"
     "        3]\n    Real y = 2\n}\n",
     "5:9: in 'a': Found 'b' where a number was expected.", 1},
    {"brackets that are not closed",
     "kelvo scene 1\n\nnode t \"a\" {\n    Array<Real> x = [1, 2\n    Real y = 2\n}\n",
     "5:5: in 'a': Found 'Real' where ',' or ']' was expected.", 1},
    {"a member",
     "kelvo scene 1\n\nnode t \"a\" {\n    Object o {\n        Real x = abc\n        Real y = 2\n"
     "        Foo z\n    }\n    Real z = 3\n}\n",
     "5:18: in 'a': Found 'abc' where a number was expected.\n"
     "7:9: in 'a': Unknown kind 'Foo'.",
     1, nullptr, 2},
    {"a member of an element",
     "kelvo scene 1\n\nnode t \"a\" {\n    Array<Object> o = [{\n        Foo z\n"
     "        Real y = 2\n    }]\n}\n",
     "5:9: in 'a': Unknown kind 'Foo'.", 1},
    {"an output",
     "kelvo scene 1\n\nnode t \"a\" {\n    Real x = 1 <- b.o\n}\nnode t \"b\" {\n    output Rael "
     "o\n"
     "    output Real p\n}\n",
     "4:19: in 'a': The node 'b' has no output 'o'.\n"
     "7:12: in 'b': Unknown kind 'Rael': did you mean 'Real'?",
     2, nullptr, 2},
    {"a second input",
     "kelvo scene 1\n\nnode t \"a\" {\n    Real x = 1\n    Real x = 2\n    Int y = 3\n}\n",
     "5:10: in 'a': The node has an input 'x' of kind Real already.", 1},
    {"a link", "kelvo scene 1\n\nnode t \"a\" {\n    Node x = nobody\n    Real y = 2\n}\n",
     "4:14: in 'a': Unknown node 'nobody'.", 1},
    {"a link in quotes", "kelvo scene 1\n\nnode t \"a\" {\n    Node x = \"no body\"\n}\n",
     "4:14: in 'a': Unknown node 'no body'.", 1},
    {"an element",
     "kelvo scene 1\n\nnode t \"a\" {\n    Array<Node> children = [b, nobody, b]\n}\n"
     "node t \"b\" {\n}\n",
     "4:32: in 'a': Unknown node 'nobody'.", 2},
    {"a connection",
     "kelvo scene 1\n\nnode t \"a\" {\n    Real x = 0.5 <- nobody.out:2 @min 0\n}\n",
     "4:21: in 'a': Unknown node 'nobody'.", 1},
    {"a connection of an element",
     "kelvo scene 1\n\nnode t \"a\" {\n    Array<Real> x = [1, 2 <- nobody.out]\n}\n",
     "4:30: in 'a': Unknown node 'nobody'.", 1},
    {"a connection that does not convert",
     "kelvo scene 1\n\nnode t \"a\" {\n    Mat4 x = (1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1) <- "
     "b.o\n}\n"
     "node t \"b\" {\n    output Bool o\n}\n",
     "4:54: in 'a': The output 'b.o' of kind Bool does not convert to the input 'a.x' of kind "
     "Mat4.",
     2},
    {"a loop",
     "kelvo scene 1\n\nnode t \"a\" {\n    Real x = 1 <- b.o\n    output Real o\n}\n"
     "node t \"b\" {\n    Real x = 1 <- a.o\n    output Real o\n}\n",
     "8:19: in 'b': These connections form a loop: a.o -> b.x -> b.o -> a.x.", 2},
    {"a default that is no node",
     "kelvo scene 1\n\nnode t \"a\" {\n    Node x = null @default nobody\n    Real y = 1\n}\n",
     "4:28: in 'a': Unknown node 'nobody'.", 1},
    {"a head",
     "kelvo scene 1\n\nnode t \"a\" {\n}\nnode \"b\" {\n    Real x = 1\n    Foo y = 2\n}\n"
     "node t \"c\" {\n}\n",
     "5:6: Found '\"' where a node type was expected.", 2},
    {"a head at first", "kelvo scene 1\n\nnode t b {\n}\n\nnode t \"c\" {\n}\n",
     "3:8: Found 'b' where the node's name in quotes was expected.", 1},
    {"a name that is taken",
     "kelvo scene 1\n\nnode t \"a\" {\n}\nnode t \"A\" {\n    Real x = 1\n}\n# end\n",
     "5:8: in 'A': The name 'A' is taken by the node in line 3.", 1},
    {"something between nodes",
     "kelvo scene 1\n\n# first\nnode t \"a\" {\n}\n# before\nwhatever 12\n  more\nnode t \"c\" "
     "{\n}\n",
     "7:1: Found 'whatever' where 'node' was expected.", 2},
    {"something at the end", "kelvo scene 1\n\nnode t \"a\" {\n}\nwhatever\n",
     "5:1: Found 'whatever' where 'node' was expected.", 1},
    {"the end of a node", "kelvo scene 1\n\nnode t \"a\" {\n} more\nnode t \"b\" {\n}\n",
     "4:3: in 'a': Found 'more' where the end of the line was expected.", 1},
    {"a brace at the end", "kelvo scene 1\n\nnode t \"a\" {\n    Real x = 1\n",
     "5:1: in 'a': Found the end of the text where the '}' to the '{' in line 3 was expected.", 1,
     "kelvo scene 1\n\nnode t \"a\" {\n    Real x = 1\n}\n"},
    {"a text that is cut",
     "kelvo scene 1\n\nnode t \"a\" {\n    Object o {\n        Real x = 1\n"
     "        Real y",
     "6:15: in 'a': Found the end of the text where the '}' to the '{' in line 4 was expected.", 1,
     "kelvo scene 1\n\nnode t \"a\" {\n    Object o {\n        Real x = 1\n        Real y = 0\n"
     "    }\n}\n"},
    {"a value that is cut", "kelvo scene 1\n\nnode t \"a\" {\n    Real x = 1\n    String y = \"b",
     "5:18: in 'a': Malformed text: the text is not closed: '\"' is expected before the end of the "
     "line.\n"
     "5:18: in 'a': Found the end of the text where the '}' to the '{' in line 3 was expected.",
     1, "kelvo scene 1\n\nnode t \"a\" {\n    Real x = 1\n    String y = \"b\n}\n", 2},
    {"a brace in the midst",
     "kelvo scene 1\n\nnode t \"a\" {\n    Object o {\n        Real x = 1\nnode t \"b\" {\n}\n",
     "6:1: in 'a': Found 'node' where the '}' to the '{' in line 4 was expected.", 2,
     "kelvo scene 1\n\nnode t \"a\" {\n    Object o {\n        Real x = 1\n    }\n}\n"
     "node t \"b\" {\n}\n"},
    {"a brace in a line that cannot be read",
     "kelvo scene 1\n\nnode t \"a\" {\n    Objct o {\n        Real x = 1\n}\nnode t \"b\" {\n}\n",
     "4:5: in 'a': Unknown kind 'Objct': did you mean 'Object'?\n"
     "7:1: in 'a': Found 'node' where the '}' to the '{' in line 3 was expected.",
     2,
     "kelvo scene 1\n\nnode t \"a\" {\n    Objct o {\n        Real x = 1\n}\n}\nnode t \"b\" "
     "{\n}\n",
     2},
    {"a line that takes every brace",
     "kelvo scene 1\n\nnode t \"a\" {\n    Objct o {\n        Foo y {\n}\nnode t \"b\" {\n}\n",
     "7:1: in 'a': Found 'node' where the '}' to the '{' in line 3 was expected.", 1},
    {"a byte that is no text",
     "kelvo scene 1\n\nnode t \"a\" {\n    # \xff\n    Real x = 1\n    String y = \"\x01\"\n}\n",
     "4:7: The byte 0xff is no UTF-8; in quotes it is written \\xff.\n"
     "6:17: The control character 0x01 may not stand here; in quotes it is written \\x01.",
     1, nullptr, 2},
    {"a line of its node's", "kelvo scene 1\n\nnode t \"a\" { Real x = abc }\n",
     "3:23: in 'a': Found 'abc' where a number was expected.", 1,
     "kelvo scene 1\n\nnode t \"a\" {\n    Real x = abc\n}\n"},
    {"a number out of range",
     "kelvo scene 1\n\nnode t \"a\" {\n    Int x = 99999999999999999999\n}\n",
     "4:13: in 'a': Found '99999999999999999999' where an integer in range was expected.", 1},
    {"lines with other ends", "kelvo scene 1\r\n\r\nnode t \"a\" {\r\n    Real x = abc\r\n}\r\n",
     "4:14: in 'a': Found 'abc' where a number was expected.", 1,
     "kelvo scene 1\n\nnode t \"a\" {\n    Real x = abc\n}\n"},
    {"an annotation", "kelvo scene 1\n\nnode t \"a\" {\n    Real x = 1 @mni 0\n}\n",
     "4:16: in 'a': Unknown annotation '@mni': did you mean '@min'?", 1},
};

INSTANTIATE_TEST_SUITE_P(, PartialReaderGaps, testing::ValuesIn(kGaps));

// ---- Reading -----------------------------------------------------------------------------------

TEST(PartialReader, SoundText_IsWhole) {
    const Partial part = partOf("node t \"a\" {\n}\n");
    EXPECT_TRUE(part.report.isWhole());
    EXPECT_EQ(part.told, "");
}

TEST(PartialReader, WithoutTheOption_NothingIsRead) {
    const Partial part = partOf("node t \"a\" {\n    Foo x\n}\n", {});
    EXPECT_FALSE(part.report.isRead);
    EXPECT_EQ(part.report.gapCount, 0u);
    EXPECT_EQ(part.scene.nodeCount(), 0u);
    EXPECT_EQ(part.told, "2:5: in 'a': Unknown kind 'Foo'.");
}

TEST(PartialReader, TextsWithoutANode_AreRefused) {
    for (const char* text : {"whatever", "kelvo types 1\n\ntype a {\n}\n", "kelvo scene 2\n",
                             "node {\n}\n", "kelvo scene 1 more\nnode t \"a\" {\n}\n"}) {
        const Partial part = partOf(text);
        EXPECT_FALSE(part.report.isRead) << text;
        EXPECT_EQ(part.scene.nodeCount(), 0u) << text;
        EXPECT_NE(part.told, "") << text;
    }
}

TEST(PartialReader, ManyGaps_AreCountedAndReportedUpToTheirMost) {
    std::string text = "kelvo scene 1\n\nnode t \"a\" {\n";
    for (int i = 0; i < 1000; ++i)
        text +=
            "    Foo x" + std::to_string(i) + "\n    Node n" + std::to_string(i) + " = nobody\n";
    text += "}\n";
    const Partial part = partOf(text, {.isPartial = true, .maxDiagnostics = 7});
    EXPECT_EQ(part.report.gapCount, 2000u);
    EXPECT_EQ(std::count(part.told.begin(), part.told.end(), '\n'), 6);
    EXPECT_EQ(textOf(part.scene), text);
}

TEST(PartialReader, ValuesBesideGaps_AreThere) {
    const Partial part = partOf("node t \"a\" {\n    Real x = 0.5 <- nobody.out\n    Foo z\n"
                                "    Array<Node> list = [b, nobody]\n}\nnode t \"b\" {\n}\n");
    EXPECT_EQ(part.scene["a"]["x"].get<double>(), 0.5);
    EXPECT_FALSE(part.scene["a"]["x"].source());
    EXPECT_EQ(part.scene["a"]["list"].inputCount(), 2u);
    EXPECT_FALSE(part.scene["a"].get()->hasInput("z", AttrType::Null));
}

TEST(PartialReader, TypesOfLibraries_FillWhatIsLeftOut) {
    const Scene scene = Scene::create();
    scene.addLibrary(LibInfo(&impl::standardLibrary()));
    const std::string text = "kelvo scene 1\n\nnode pointLight \"l\" {\n    Real radius = abc\n"
                             "    Real intensity = 3\n}\n";
    EXPECT_EQ(scene.read(text.c_str(), "text", kPartial).gapCount, 1u);
    EXPECT_TRUE(scene["l"].get()->hasInput("radius", AttrType::Real));
    EXPECT_EQ(textOf(scene), text);
}

// ---- Edits -------------------------------------------------------------------------------------

const char* const kKept =
    "kelvo scene 1\n\nnode t \"a\" {\n    Foo first\n    Real x = 1\n    Foo second\n    Real y = "
    "2\n"
    "}\nwhatever\nnode t \"b\" {\n    Node n = nobody\n    Real r = 1 <- nobody.out\n}\nmore\n";

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const u64 at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

class PartialReaderEdits : public testing::Test {
protected:
    void SetUp() override {
        scene.setUndoEnabled(true);
        ASSERT_EQ(scene.read(kKept, "text", kPartial).gapCount, 6u);
        ASSERT_EQ(textOf(scene), kKept);
    }
    // Expects the text after an edit, undoes and redoes the edit, and expects both texts again.
    void expectText(const std::string& expected) {
        EXPECT_EQ(textOf(scene), expected);
        EXPECT_TRUE(scene.undo());
        EXPECT_EQ(textOf(scene), kKept);
        EXPECT_TRUE(scene.redo());
        EXPECT_EQ(textOf(scene), expected);
        EXPECT_EQ(rewrittenPart(expected), expected);
        EXPECT_TRUE(scene.verify().empty());
    }

    Scene scene = Scene::create();
};

TEST_F(PartialReaderEdits, Reading_CanBeUndone) {
    EXPECT_TRUE(scene.undo());
    EXPECT_EQ(textOf(scene), "kelvo scene 1\n");
    EXPECT_TRUE(scene.redo());
    EXPECT_EQ(textOf(scene), kKept);
}

TEST_F(PartialReaderEdits, RenamedNode_KeepsItsLines) {
    scene.renameNode(scene["b"], "c");
    expectText(replaced(kKept, "\"b\"", "\"c\""));
}

TEST_F(PartialReaderEdits, RemovedNode_TakesItsLinesAlong) {
    scene.removeNode(scene["a"]);
    const std::string text = kKept;
    expectText(replaced(text, text.substr(15, text.find("whatever") - 15), ""));
}

TEST_F(PartialReaderEdits, LinesInFrontOfARemovedNode_Stay) {
    scene.removeNode(scene["b"]);
    const std::string text = kKept;
    const u64 start = text.find("node t \"b\"");
    expectText(replaced(text, text.substr(start, text.find("more") - start), ""));
}

TEST_F(PartialReaderEdits, LinesInFrontOfARenamedAndRemovedNode_ComeBackWithIt) {
    scene.renameNode(scene["b"], "c");
    const std::string renamed = textOf(scene);
    scene.removeNode(scene["c"]);
    EXPECT_TRUE(scene.undo());
    EXPECT_EQ(textOf(scene), renamed);
    EXPECT_TRUE(scene.undo());
    EXPECT_EQ(textOf(scene), kKept);
}

TEST_F(PartialReaderEdits, LinesInFrontOfARenamedAndConvertedNode_ComeBackWithIt) {
    scene.renameNode(scene["b"], "c");
    scene["c"].convertTo("u");
    EXPECT_TRUE(scene.undo());
    EXPECT_TRUE(scene.undo());
    EXPECT_EQ(textOf(scene), kKept);
}

// The lines know the removed node by name, which another node has for a while.
TEST_F(PartialReaderEdits, LinesInFrontOfARemovedNode_LeaveANodeOfItsNameAgain) {
    scene.removeNode(scene["b"]);
    const Node other = scene.createNode("t", "b");
    scene.renameNode(other, "c");
    const std::string renamed = textOf(scene);
    EXPECT_TRUE(scene.undo());
    EXPECT_TRUE(scene.undo());
    EXPECT_TRUE(scene.redo());
    EXPECT_TRUE(scene.redo());
    EXPECT_EQ(textOf(scene), renamed);
}

TEST_F(PartialReaderEdits, RemovedInput_LeavesTheLinesAroundIt) {
    scene["a"].get()->removeInput("y");
    expectText(replaced(kKept, "    Real y = 2\n", ""));
}

TEST_F(PartialReaderEdits, MovedNode_TakesItsLinesAlong) {
    scene.moveNode(scene["b"], 0);
    EXPECT_EQ(textOf(scene).find("whatever\nnode t \"b\""), 15u);
    EXPECT_TRUE(scene.undo());
    EXPECT_EQ(textOf(scene), kKept);
}

TEST_F(PartialReaderEdits, SetLink_TakesThePlaceOfTheLostOne) {
    scene["b"]["n"].set(scene["a"]);
    expectText(replaced(kKept, "Node n = nobody", "Node n = a"));
}

TEST_F(PartialReaderEdits, ConvertedNode_KeepsTheLines) {
    scene["b"].get()->convertTo("u");
    EXPECT_NE(textOf(scene).find("whatever\nnode u \"b\""), std::string::npos) << textOf(scene);
}

TEST_F(PartialReaderEdits, SecondText_IsAddedBehind) {
    EXPECT_EQ(scene.read("node t \"a\" {\n    Foo z\n}\nlast\n", "text", kPartial).gapCount, 2u);
    expectText(std::string(replaced(kKept, "more\n", "")) +
               "node t \"a1\" {\n    Foo z\n}\nmore\nlast\n");
}

// ---- At random ---------------------------------------------------------------------------------

std::string damaged(std::string text, std::mt19937& random) {
    const std::string bits = "{}[]()\"#@<-=,\n \t:.a1\xff\x01";
    for (u64 edits = random() % 4 + 1; edits != 0 && !text.empty(); --edits) {
        const u64 at = random() % text.size();
        switch (random() % 4) {
        case 0:
            text.erase(at, random() % 12);
            break;
        case 1:
            text.insert(at, 1, bits[random() % bits.size()]);
            break;
        case 2:
            text[at] = bits[random() % bits.size()];
            break;
        default:
            text.insert(random() % text.size(), text.substr(at, random() % 40));
        }
    }
    return text;
}

TEST(PartialReader, DamagedTexts_GiveTheSameBytesFromTheSecondWritingOn) {
    const std::string sound =
        "# top\nkelvo scene 1\n\n# room\nnode xform \"room\" {\n    Array<Node> children = [lamp, "
        "b]\n"
        "    Object o { # open\n        Real x = 1 <- b.out\n        Array<Object> l = [{\n"
        "            Int i = 1\n        }, {\n        }]\n        # inner\n    }\n    output Int "
        "n\n}\n"
        "node light \"lamp\" {\n    String s = \"say \\\"hi\\\"\" @choices [\"a\", \"b\"] # end\n"
        "    Buffer<Pos2f> p = [(1 2) (3 4)] @type Pos2f\n    Node t = room @default b\n}\n"
        "node t \"b\" @own {\n    Real y = 2 @min 0 @max 4\n    output Real out\n}\n# last\n";
    std::mt19937 random(5);
    u64 read = 0;
    for (int i = 0; i < 3000; ++i) {
        const std::string text = damaged(sound, random);
        const Partial part = partOf(text);
        if (!part.report.isRead) continue;
        ++read;
        const std::string first = textOf(part.scene);
        const Partial again = partOf(first);
        ASSERT_TRUE(again.report.isRead) << text << "\n--- written:\n" << first;
        ASSERT_EQ(textOf(again.scene), first) << text;
        ASSERT_LE(again.report.gapCount, part.report.gapCount) << text;
    }
    EXPECT_GT(read, 2000u);
}

} // namespace
} // namespace qv::kelvo_sdk
