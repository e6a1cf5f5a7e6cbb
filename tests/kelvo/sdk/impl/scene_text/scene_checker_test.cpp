#include "kelvo/sdk/impl/scene_text/scene_checker.h"

#include "kelvo/sdk/impl/graph/scene.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::errorsOf;
using tests::nodeText;
using tests::sceneOf;
using tests::textOf;

struct CheckCase {
    std::string_view lines;
    const char* expected;
};

// The scene has a node "lamp" with the outputs "color" and "Color", besides "samples" and "flag".
class SceneCheckerLine : public testing::TestWithParam<CheckCase> {
protected:
    kelvo_sdk::Scene m_scene = sceneOf("node light \"lamp\" {\n"
                                       "    output Rgba color\n"
                                       "    output Real Color\n"
                                       "    output Buffer<Float> samples\n"
                                       "    output Bool flag\n"
                                       "}\n");
};

TEST_P(SceneCheckerLine, Error) {
    EXPECT_EQ(errorsOf(nodeText(GetParam().lines), m_scene), GetParam().expected)
        << GetParam().lines;
}

// The same case with the node in the text itself.
TEST_P(SceneCheckerLine, ErrorInOneText) {
    const std::string text = nodeText(GetParam().lines) + textOf(m_scene).substr(15);
    EXPECT_EQ(errorsOf(text), GetParam().expected) << GetParam().lines;
}

const CheckCase kLines[] = {
    {"Node x = lamp", ""},
    {"Node x = LAMP", ""},
    {"Node x = n", ""},
    {"Node x = lmap", "4:14: in 'n': Unknown node 'lmap': did you mean 'lamp'?"},
    {"Array<Node> x = [lamp, desk]", "4:28: in 'n': Unknown node 'desk'."},
    {"Node x = null @stashed desk", "4:28: in 'n': Unknown node 'desk'."},
    {"Node x = null @choices [lamp, desk]", "4:35: in 'n': Unknown node 'desk'."},
    {"Node x = null @default desk", "4:28: in 'n': Unknown node 'desk'."},
    {"Rgba x <- lamp.color", ""},
    {"Rgba x <- Lamp.color", ""},
    {"Real x <- lamp.Color", ""},
    {"Real x <- lamp.COLOR",
     "4:15: in 'n': The output 'lamp.COLOR' of kind Rgba does not convert to the input 'n.x' of "
     "kind Real."},
    {"Real x <- lamp.flag", ""},
    {"Real x <- lamp.flag:2", "4:15: in 'n': The node 'lamp' has no output 'flag:2'."},
    {"Real x <- lamp.flug",
     "4:15: in 'n': The node 'lamp' has no output 'flug': did you mean 'flag'?"},
    {"Real x <- lmp.flag", "4:15: in 'n': Unknown node 'lmp': did you mean 'lamp'?"},
    {"Vec4 x <- lamp.color", ""},
    {"String x <- lamp.samples", ""},
    {"Buffer x <- lamp.samples", ""},
    {"Buffer x = [] <- lamp.samples @type Float", ""},
    {"Buffer x = [] <- lamp.samples @type Double",
     "4:22: in 'n': The output 'lamp.samples' of kind Buffer<Float> does not convert to the input "
     "'n.x' of kind Buffer<Double>."},
    {"Node x <- lamp.flag",
     "4:15: in 'n': The output 'lamp.flag' of kind Bool does not convert to the input 'n.x' of "
     "kind Node."},
    {"Array<Real> x = [] <- lamp.flag",
     "4:27: in 'n': The output 'lamp.flag' of kind Bool does not convert to the input 'n.x' of "
     "kind Array."},
    {"Array<Real> x = [1, 2 <- lamp.color]",
     "4:30: in 'n': The output 'lamp.color' of kind Rgba does not convert to the input 'n.x[1]' of "
     "kind Real."},
    {"Array<Object> x = [{\n}, {\nInt a\nObject b {\nReal c <- lamp.color\n}\n}]\nReal d",
     "8:15: in 'n': The output 'lamp.color' of kind Rgba does not convert to the input "
     "'n.x[1].b.c' of kind Real."},
};
INSTANTIATE_TEST_SUITE_P(Table, SceneCheckerLine, testing::ValuesIn(kLines));

TEST(SceneChecker, ANameOfTheText_HidesThatOfTheScene) {
    const kelvo_sdk::Scene scene = sceneOf("node t \"a\" {\n    output Real o\n}\n");
    EXPECT_EQ(errorsOf("node t \"a\" {\n}\nnode t \"b\" {\n    Real x <- a.o\n}\n", scene),
              "4:15: in 'b': The node 'a' has no output 'o'.");
}

TEST(SceneChecker, OutputsOfOneName_AreDistinguishedByNumber) {
    const char* const text = "kelvo scene 1\n\n"
                             "node t \"a\" {\n"
                             "    output Real o\n"
                             "    output Rgba o\n"
                             "    output String O\n"
                             "    output Int o\n"
                             "}\n"
                             "node t \"b\" {\n"
                             "    Real r = 0 <- a.o\n"
                             "    Rgba c = (0 0 0 1) <- a.o:2\n"
                             "    Int i = 0 <- a.o:3\n"
                             "    String s = \"\" <- a.O\n"
                             "}\n";
    EXPECT_EQ(tests::rewritten(text), text);
}

TEST(SceneChecker, ANodeConnectedToItself_IsALoop) {
    EXPECT_EQ(errorsOf(nodeText("Real x <- n.o\noutput Real o")),
              "4:15: in 'n': These connections form a loop: n.o -> n.x.");
}

TEST(SceneChecker, ALoopOfThreeNodes_IsReportedWhole) {
    EXPECT_EQ(errorsOf("node t \"a\" {\n    Real in <- c.out\n    output Real out\n}\n"
                       "node t \"b\" {\n    Array<Real> in = [1, 2 <- a.out]\n"
                       "    output Real out\n}\n"
                       "node t \"c\" {\n    Real in <- b.out\n    output Real out\n}\n"),
              "6:31: in 'b': These connections form a loop: a.out -> b.in[1] -> b.out -> c.in -> "
              "c.out -> a.in.");
}

TEST(SceneChecker, TwoLoops_AreBothReported) {
    EXPECT_EQ(errorsOf("node t \"a\" {\n    Real in <- a.out\n    output Real out\n}\n"
                       "node t \"b\" {\n    Real in <- b.out\n    output Real out\n}\n"),
              "2:16: in 'a': These connections form a loop: a.out -> a.in.\n"
              "6:16: in 'b': These connections form a loop: b.out -> b.in.");
}

TEST(SceneChecker, SeveralWaysWithoutALoop_AreRight) {
    EXPECT_EQ(
        errorsOf("node t \"d\" {\n    Real x <- b.o\n    Real y <- c.o\n    Real z <- a.o\n}\n"
                 "node t \"b\" {\n    Real x <- a.o\n    output Real o\n}\n"
                 "node t \"c\" {\n    Real x <- a.o\n    output Real o\n}\n"
                 "node t \"a\" {\n    output Real o\n}\n"),
        "");
}

TEST(SceneChecker, LinksInACycle_AreRight) {
    EXPECT_EQ(errorsOf("node t \"a\" {\n    Node x = b\n}\nnode t \"b\" {\n    Node x = a\n}\n"),
              "");
}

TEST(SceneChecker, AChainOfConnections_AsLongAsCanBe_IsFollowedWithoutRecursion) {
    std::string text;
    constexpr int length = 20'000;
    for (int i = 0; i < length; ++i) {
        text += "node t \"n" + std::to_string(i) + "\" {\n    Real x <- n" +
                std::to_string((i + 1) % length) + ".o\n    output Real o\n}\n";
    }
    const std::string errors = errorsOf(text);
    EXPECT_TRUE(errors.starts_with("79998:15: in 'n19999': These connections form a loop: n0.o -> "
                                   "n19999.x -> n19999.o -> n19998.x"))
        << errors.substr(0, 200);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
