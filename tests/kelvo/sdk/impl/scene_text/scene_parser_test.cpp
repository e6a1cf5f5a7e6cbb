#include "kelvo/sdk/impl/scene_text/scene_parser.h"

#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/scene_reader.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::errorsOf;
using tests::nodeText;
using tests::rewritten;

struct ErrorCase {
    std::string_view text;
    const char* expected;
};

// ---- Lines of a node: the first stands in line 4, behind four blanks ---------------------------

class SceneParserLine : public testing::TestWithParam<ErrorCase> {};

TEST_P(SceneParserLine, Error) {
    EXPECT_EQ(errorsOf(nodeText(GetParam().text)), GetParam().expected) << GetParam().text;
}

const ErrorCase kKinds[] = {
    {"Reel x = 1", "4:5: in 'n': Unknown kind 'Reel': did you mean 'Real'?"},
    {"real x = 1", "4:5: in 'n': Unknown kind 'real': did you mean 'Real'?"},
    {"Thing x = 1", "4:5: in 'n': Unknown kind 'Thing'."},
    {"ouput Real x", "4:5: in 'n': Unknown kind 'ouput': did you mean 'output'?"},
    {"= 1", "4:5: in 'n': Found '=' where a kind, 'output' or '}' was expected."},
    {"Array<Reel> a = []", "4:11: in 'n': Unknown kind 'Reel': did you mean 'Real'?"},
    {"Array<> a = []", "4:11: in 'n': Found '>' where a kind was expected."},
    {"Array<Real a = []", "4:15: in 'n': Found ' ' where '>' was expected."},
    {"Array<Array<Real>> a = []", "4:16: in 'n': Found '<' where '>' was expected: each element of "
                                  "an array of Arrays names its own kind."},
    {"Buffer<Flaot> b = []", "4:12: in 'n': Unknown element type 'Flaot': did you mean 'Float'?"},
    {"Buffer<Real> b = []", "4:12: in 'n': Unknown element type 'Real'."},
    {"Buffer<> b = []", "4:12: in 'n': Found '>' where an element type was expected."},
    {"Real<Float> x = 1", "4:9: in 'n': Found '<' where a name (a letter or '_', then letters, "
                          "digits and '_') was expected."},
};
INSTANTIATE_TEST_SUITE_P(Kinds, SceneParserLine, testing::ValuesIn(kKinds));

const ErrorCase kNames[] = {
    {"Real = 1", "4:10: in 'n': Found '=' where a name (a letter or '_', then letters, digits and "
                 "'_') was expected."},
    {"Real 3x = 1", "4:10: in 'n': Found '3x' where a name (a letter or '_', then letters, digits "
                    "and '_') was expected."},
    {"Real my-name = 1", "4:12: in 'n': Found '-name' where the end of the line was expected."},
    {"Real \"x\" = 1", "4:10: in 'n': Found '\"' where a name (a letter or '_', then letters, "
                       "digits and '_') was expected."},
    {"Real x = 1\nReal X = 2", "5:10: in 'n': The node has an input 'X' of kind Real already."},
    {"Object o {\nReal a = 1\nInt A = 2\n}", "6:9: in 'n': The object has a member 'A' already."},
    {"Object o {\nReal a = 1\nReal a = 2 @again\n}",
     "6:10: in 'n': The object has a member 'a' already."},
    {"output Real x\noutput Real x",
     "5:17: in 'n': The node has an output 'x' of kind Real already."},
    {"output Node x", "4:12: in 'n': An output cannot be of kind Node."},
    {"output Array<Real> x", "4:12: in 'n': An output cannot be of kind Array."},
    {"output Object x", "4:12: in 'n': An output cannot be of kind Object."},
    {"output Real x = 1", "4:19: in 'n': Found '=' where the end of the line was expected."},
    {"Object o {\noutput Real x\n}", "5:5: in 'n': Only nodes have outputs."},
};
INSTANTIATE_TEST_SUITE_P(Names, SceneParserLine, testing::ValuesIn(kNames));

const ErrorCase kValues[] = {
    {"Real x 1", "4:12: in 'n': Found '1' where the end of the line was expected."},
    {"Real x =", "4:13: in 'n': Found the end of the line where a number was expected."},
    {"Real x = abc", "4:14: in 'n': Found 'abc' where a number was expected."},
    {"Real x = 1 2", "4:16: in 'n': Found '2' where the end of the line was expected."},
    {"Int i = 1.5", "4:13: in 'n': Found '1.5' where an integer was expected."},
    {"Int i = 9223372036854775808",
     "4:13: in 'n': Found '9223372036854775808' where an integer in range was expected."},
    {"UInt u = -1", "4:14: in 'n': Found '-1' where an integer from 0 was expected."},
    {"Bool b = yes", "4:14: in 'n': Found 'yes' where true or false was expected."},
    {"Vec3 v = 1", "4:14: in 'n': Found '1' where '(' was expected."},
    {"Vec3 v = (1 2)", "4:18: in 'n': Found ')' where another number was expected."},
    {"Vec3 v = (1 2 3 4)", "4:21: in 'n': Found '4' where ')' was expected."},
    {"Null x = 1", "4:14: in 'n': Found '1' where 'null' was expected."},
    {"String s = abc", "4:16: in 'n': Found 'abc' where a text in quotes was expected."},
    {"String s = \"abc", "4:20: in 'n': Malformed text: the text is not closed: '\"' is expected "
                         "before the end of the line."},
    {"String s = \"a\\q\"",
     "4:18: in 'n': Malformed text: an escape is one of \\\" \\\\ \\n \\r \\t \\0 \\xNN."},
    {"Node n = 3", "4:14: in 'n': Found '3' where a node's name or 'null' was expected."},
    {"Object o = 1", "4:14: in 'n': Found '=' where '{' was expected."},
    {"Object o", "4:13: in 'n': Found the end of the line where '{' was expected."},
};
INSTANTIATE_TEST_SUITE_P(Values, SceneParserLine, testing::ValuesIn(kValues));

const ErrorCase kLists[] = {
    {"Buffer<Float> b = 1", "4:23: in 'n': Found '1' where '[' was expected."},
    {"Buffer<Float> b = [1 x]", "4:26: in 'n': Found 'x' where a number was expected."},
    {"Buffer<Byte> b = [256]", "4:23: in 'n': Found '256' where a number in range was expected."},
    {"Buffer<Pos3f> b = [1 2 3]", "4:24: in 'n': Found '1' where '(' was expected."},
    {"Array<Real> a = 1", "4:21: in 'n': Found '1' where '[' was expected."},
    {"Array<Real> a = [1 2]", "4:24: in 'n': Found '2' where ',' or ']' was expected."},
    {"Array<Real> a = [, 1]", "4:22: in 'n': Found ',' where a number was expected."},
    {"Array<Real> a = [1,, 1]", "4:24: in 'n': Found ',' where a number was expected."},
    {"Array<Array> a = [[1]]", "4:23: in 'n': Found '[' where the kind of the element, such as "
                               "'Array<Real>', was expected."},
    {"Array<Array> a = [Real 1]", "4:23: in 'n': Found kind Real in an array of kind Array."},
    {"Array<Buffer> a = [1]", "4:24: in 'n': Found '1' where '[' or 'Buffer<...>' was expected."},
    {"Array<Object> o = [1]", "4:24: in 'n': Found '1' where '{' or ']' was expected."},
    {"Array<Null> o = [1]", "4:22: in 'n': Found '1' where 'null' was expected."},
};
INSTANTIATE_TEST_SUITE_P(Lists, SceneParserLine, testing::ValuesIn(kLists));

const ErrorCase kNotes[] = {
    {"Real x = 1 @minn 3", "4:16: in 'n': Unknown annotation '@minn': did you mean '@min'?"},
    {"Real x = 1 @ 3", "4:16: in 'n': Unknown annotation '@'."},
    {"Real x = 1 @min x", "4:21: in 'n': Found 'x' where a number was expected."},
    {"Real x = 1 @choices 1", "4:25: in 'n': Found '1' where '[' was expected."},
    {"Real x = 1 @choices [1 2]", "4:28: in 'n': Found '2' where ',' or ']' was expected."},
    {"Real x = 1 @unit 3", "4:22: in 'n': Found '3' where a text in quotes was expected."},
    {"Real x = 1 @unit \"a\" @unit \"b\"", "4:26: in 'n': The annotation '@unit' stands twice."},
    {"Real x = 1 @label \"de\"",
     "4:27: in 'n': Found the end of the line where a text in quotes was expected."},
    {"Real x = 1 @type Float",
     "4:22: in 'n': Only buffers and arrays are bound to an element type."},
    {"Buffer x = [] @type Reel", "4:25: in 'n': Unknown element type 'Reel'."},
    {"Array<Real> x = [] @default [1]",
     "4:33: in 'n': A value of kind Array cannot stand in an annotation."},
    {"Real x = 1 <- y", "4:20: in 'n': Found the end of the line where '.' and the name of an "
                        "output was expected."},
    {"Real x = 1 <- 3.o", "4:19: in 'n': Found '3.o' where the source as 'node.output' was "
                          "expected."},
    {"Real x = 1 <- y.", "4:21: in 'n': Found the end of the line where the name of an output was "
                         "expected."},
    {"Real x = 1 <- y.o:0", "4:24: in 'n': Found the end of the line where a number from 1 was "
                            "expected."},
};
INSTANTIATE_TEST_SUITE_P(Notes, SceneParserLine, testing::ValuesIn(kNotes));

// ---- Whole texts -------------------------------------------------------------------------------

class SceneParserText : public testing::TestWithParam<ErrorCase> {};

TEST_P(SceneParserText, Error) {
    EXPECT_EQ(errorsOf(GetParam().text), GetParam().expected) << GetParam().text;
}

const ErrorCase kHeads[] = {
    {"kelvo scene 2\n",
     "1:13: Found '2' where the version was expected; this is a reader of version 1."},
    {"kelvo scene\n", "1:12: Found the end of the line where the version was expected; this is a "
                      "reader of version 1."},
    {"kelvo scene 1.5\n",
     "1:13: Found '1.5' where the version was expected; this is a reader of version 1."},
    {"kelvo definition 1\n", "1:1: This is no scene text: its first line is not 'kelvo scene 1'."},
    {"# words\nkelvo\n", "2:1: This is no scene text: its first line is not 'kelvo scene 1'."},
    {"kelvo scene 1 node\n", "1:15: Found 'node' where the end of the line was expected."},
    {"kelvo scene 2\nnode a \"a\" {\n    Reel x\n}\n",
     "1:13: Found '2' where the version was expected; this is a reader of version 1."},
};
INSTANTIATE_TEST_SUITE_P(Heads, SceneParserText, testing::ValuesIn(kHeads));

const ErrorCase kNodes[] = {
    {"node mesh desk {\n}\n", "1:11: Found 'desk' where the node's name in quotes was expected."},
    {"node \"desk\" {\n}\n", "1:6: Found '\"' where a node type was expected."},
    {"node mesh : \"desk\" {\n}\n", "1:13: Found '\"' where a node type was expected."},
    {"node mesh \"my desk\" {\n}\n", "1:11: The name 'my desk' is no identifier: a letter or '_', "
                                     "then letters, digits and '_'."},
    {"node mesh \"\" {\n}\n", "1:11: The name '' is no identifier: a letter or '_', then letters, "
                              "digits and '_'."},
    {"node mesh \"desk\"\n", "1:17: in 'desk': Found the end of the line where '{' was expected."},
    {"node mesh \"desk\" @hidden {\n}\n", "1:18: in 'desk': Found '@' where '{' was expected."},
    {"nod mesh \"desk\" {\n    Real x = 1\n}\n", "1:1: Found 'nod' where 'node' was expected."},
    {"}\n", "1:1: Found '}' where 'node' was expected."},
    {"node a \"a\" {\n}}\n", "2:2: Found '}' where 'node' was expected."},
    {"node a \"a\" {\n} node b \"b\" {\n}\n",
     "2:3: in 'a': Found 'node' where the end of the line was expected."},
    {"node a \"x\" {\n}\n\nnode b \"X\" {\n}\n",
     "4:8: in 'X': The name 'X' is taken by the node in line 1."},
};
INSTANTIATE_TEST_SUITE_P(Nodes, SceneParserText, testing::ValuesIn(kNodes));

const ErrorCase kOpen[] = {
    {"node a \"a\" {\n    Real x = 1\n",
     "3:1: in 'a': Found the end of the text where the '}' to the '{' in line 1 was expected."},
    {"node a \"a\" {\n    Real x = 1\nnode b \"b\" {\n}\n",
     "3:1: in 'a': Found 'node' where the '}' to the '{' in line 1 was expected."},
    {"node a \"a\" {\n    Object o {\n    Object p {\n",
     "4:1: in 'a': Found the end of the text where the '}' to the '{' in line 3 was expected."},
    {"node a \"a\" {\n    Array<Object> o = [{\n}\n",
     "4:1: in 'a': Found the end of the text where ',' or ']' was expected."},
};
INSTANTIATE_TEST_SUITE_P(Open, SceneParserText, testing::ValuesIn(kOpen));

// ---- Continuing after an error -----------------------------------------------------------------

TEST(SceneParser, AfterAnError_TheNextLinesAreRead) {
    EXPECT_EQ(errorsOf(nodeText("Reel a = 1\nReal b = 1\nInt c = x")),
              "4:5: in 'n': Unknown kind 'Reel': did you mean 'Real'?\n"
              "6:13: in 'n': Found 'x' where an integer was expected.");
}

TEST(SceneParser, AfterAnErrorInAListOfSeveralLines_TheLineBehindItIsRead) {
    EXPECT_EQ(errorsOf(nodeText("Array<Real> a = [1,\nx, # ]\n\"]\", 3]\nReel b = 1")),
              "5:5: in 'n': Found 'x' where a number was expected.\n"
              "7:5: in 'n': Unknown kind 'Reel': did you mean 'Real'?");
}

TEST(SceneParser, AfterAListThatIsNotClosed_TheNextLineIsRead) {
    EXPECT_EQ(errorsOf(nodeText("Array<Real> a = [1, 2\nReel b = 1")),
              "5:5: in 'n': Found 'Reel' where ',' or ']' was expected.");
    EXPECT_EQ(errorsOf(nodeText("Array<Real> a = [1, 2\nReal b = 1\nReel c = 1")),
              "5:5: in 'n': Found 'Real' where ',' or ']' was expected.\n"
              "6:5: in 'n': Unknown kind 'Reel': did you mean 'Real'?");
}

TEST(SceneParser, AfterAnErrorInAnObject_TheObjectGoesOn) {
    EXPECT_EQ(errorsOf(nodeText("Object o {\nReel a = 1\nReal b = x\n}\nReel c = 1")),
              "5:5: in 'n': Unknown kind 'Reel': did you mean 'Real'?\n"
              "6:14: in 'n': Found 'x' where a number was expected.\n"
              "8:5: in 'n': Unknown kind 'Reel': did you mean 'Real'?");
}

TEST(SceneParser, AfterAnErrorInANodesHead_ItsBodyIsRead) {
    EXPECT_EQ(
        errorsOf("node mesh desk {\n    Reel a = 1\n}\nnode mesh \"b\" {\n    Int a = x\n}\n"),
        "1:11: Found 'desk' where the node's name in quotes was expected.\n"
        "2:5: Unknown kind 'Reel': did you mean 'Real'?\n"
        "5:13: in 'b': Found 'x' where an integer was expected.");
}

TEST(SceneParser, AfterWhatIsNoNode_TheNextNodeIsRead) {
    EXPECT_EQ(
        errorsOf("nod mesh \"a\" {\n    Reel a = 1\n}\nnode mesh \"b\" {\n    Int a = x\n}\n"),
        "1:1: Found 'nod' where 'node' was expected.\n"
        "5:13: in 'b': Found 'x' where an integer was expected.");
}

TEST(SceneParser, AfterAnErrorThatHidesANode_NothingIsSaidOfLinksToIt) {
    EXPECT_EQ(errorsOf("node mesh desk {\n}\nnode t \"b\" {\n    Node n = desk\n}\n"),
              "1:11: Found 'desk' where the node's name in quotes was expected.");
    EXPECT_EQ(errorsOf("node t \"a\" {\n    output Reel o\n}\n"
                       "node t \"b\" {\n    Real x <- a.o\n}\n"),
              "2:12: in 'a': Unknown kind 'Reel': did you mean 'Real'?");
}

TEST(SceneParser, ManyErrors_TwentyAreReported) {
    std::string lines;
    for (int i = 0; i < 100; ++i)
        lines += "Reel a = 1\n";
    Diagnostics errors;
    EXPECT_FALSE(kelvo_sdk::Scene::create().read(String(nodeText(lines)), "text", &errors));
    EXPECT_EQ(errors.size(), 20u);
    EXPECT_EQ(errors[19].line, 23u);
}

// ---- Forms that are accepted but never written -------------------------------------------------

struct LenientCase {
    const char* text;
    const char* expected;
    const char* note;
};

class SceneParserLenient : public testing::TestWithParam<LenientCase> {};

TEST_P(SceneParserLenient, IsWrittenInTheUsualForm) {
    EXPECT_EQ(rewritten(GetParam().text), nodeText(GetParam().expected)) << GetParam().note;
}

const LenientCase kLenient[] = {
    {"node t \"n\" {}", "", "a body in one line, no end of line"},
    {"node t \"n\" { Real x = 1 }", "Real x = 1", "an attribute in the node's line"},
    {"node t \"n\" {\r\n\tReal x = 1\r\n}\r\n", "Real x = 1", "other ends of lines, tabs"},
    {"\xef\xbb\xbfnode t \"n\" {\n}\n", "", "the mark of an editor"},
    {"kelvo scene 1\nnode t \"n\" {\n}", "", "no blank line behind the header"},
    {"\n\nnode t \"n\" {\n}\n\n\n", "", "blank lines around"},
    {"node t \"n\" {\nReal x\nVec2 v\nMat3 m\nNode l\nArray<Int> a\nBuffer<Float> b\n}",
     "Real x = 0\nVec2 v = (0 0)\nMat3 m = (1 0 0  0 1 0  0 0 1)\nNode l = null\n"
     "Array<Int> a = []\nBuffer<Float> b = []",
     "no values: zero"},
    {"node t \"n\" {\nReal x @default 7\n}", "Real x = 7 @default 7", "no value: the default"},
    {"node t \"n\" {\nArray<Real> a = [\n1,\n\n2,\n]\n}", "Array<Real> a = [1, 2]",
     "a list in several lines, a comma at its end"},
    {"node t \"n\" {\nArray a = [null]\n}", "Array<Null> a = [null]", "no element kind"},
    {"node t \"n\" {\nNull x = null\n}", "Null x", "the value of nothing"},
    {"node t \"n\" {\nBuffer<Null> b = []\n}", "Buffer b = []", "no element type"},
    {"node t \"n\" {\nReal x=1@silent@min 0\n}", "Real x = 1 @silent @min 0", "no blanks"},
    {"node t \"n\" {\nReal x = 1 @unit \"m\" @silent\n}", "Real x = 1 @silent @unit \"m\"",
     "another order of annotations"},
    {"node t \"n\" {\nReal x = 1.50\nReal y = 1e1\nInt z = -0\n}",
     "Real x = 1.5\nReal y = 10\nInt z = 0", "other forms of numbers"},
    {"node t \"n\" {\nNode l = \"n\"\n}", "Node l = n", "a name in quotes"},
    {"node t \"n\" {\nNode l = N\n}", "Node l = n", "the other case"},
};
INSTANTIATE_TEST_SUITE_P(Table, SceneParserLenient, testing::ValuesIn(kLenient));

} // namespace
} // namespace qv::kelvo_sdk::impl
