#include "kelvo/sdk/scene_diff.h"

#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

using tests::sceneOf;

std::string node(const char* name, const char* body = "", const char* type = "light") {
    return std::string("node ") + type + " \"" + name + "\" {\n" + body + "}\n";
}

std::string shown(const std::optional<String>& text) {
    return text ? text->buf() : "-";
}

// Returns one line for each change: "change input lamp.radius value 0.5 > 0.7".
std::string changesBetween(const std::string& before, const std::string& after,
                           const DiffOptions& options = {}) {
    std::string lines;
    const auto diff = SceneDiff::between(sceneOf(before), sceneOf(after), options);
    // Snapshots of the scenes differ in the same way.
    const auto ofSnapshots =
        SceneDiff::between(sceneOf(before).snapshot(), sceneOf(after).snapshot(), options);
    EXPECT_EQ(ofSnapshots.changes(), diff.changes());
    for (const SceneChange& change : diff.changes()) {
        lines += std::string(lines.empty() ? "" : "\n") + sceneActionName(change.action) + " " +
                 sceneSubjectName(change.subject) + " " + change.path.buf();
        if (!change.field.isEmpty()) lines += std::string(" ") + change.field.buf();
        lines += " " + shown(change.before) + " > " + shown(change.after);
        if (change.behind) lines += std::string(" behind ") + change.behind->buf();
    }
    return lines;
}

TEST(SceneDiff, Between_TellsEachKindOfChange) {
    struct Case {
        std::string before;
        std::string after;
        const char* expected;
    };
    const Case cases[] = {
        {node("a", "Real r = 1\n"), "  " + node("a", "Real   r = 1.0\n"), ""},
        {node("a", "Real r = 1\n"), node("a", "Real r = 2\n"), "change input a.r value 1 > 2"},
        {node("a", "Real r = 1\n"), node("a", "Int r = 1\n"), "change input a.r kind Real > Int"},
        {node("a", "Real r = 1\n"), node("a", "Real r = 1 @min 0\n"),
         "change input a.r @min - > 0"},
        {node("a", "Real r = 1 @label \"de\" \"x\"\n"), node("a", "Real r = 1\n"),
         "change input a.r @label \"de\" \"x\" > -"},
        {node("a", "Real r = 1\n"), node("a"), "remove input a.r Real r = 1 > -"},
        {node("a", "Real r = 1\n"), node("a", "Real r = 1\nReal s = 2\n"),
         "add input a.s - > Real s = 2 behind r"},
        {node("a", "Real r = 1\n"), node("a", "Real r = 1\noutput Real o\n"),
         "add output a.o - > output Real o"},
        {node("a", "Real r = 1\nReal s = 1\n"), node("a", "Real s = 1\nReal r = 1\n"),
         "move input a.s r > -"},
        {node("a", "Object o {\nReal r = 1\n}\n"), node("a", "Object o {\nReal r = 2\n}\n"),
         "change input a.o.r value 1 > 2"},
        {node("a"), node("a", "", "mesh"), "change node a type light > mesh"},
        {node("a"), "node light : x \"a\" @internal {\n}\n",
         "change node a bases - > x\nchange node a flags - > @internal"},
        {node("a") + node("b", "Real r = 1\n"), node("a"),
         "remove node b node light \"b\" {\n    Real r = 1\n} > -"},
        {node("a"), node("a") + node("b"), "add node b - > node light \"b\" {\n} behind a"},
        {node("a", "Real r = 1\n") + node("b"), node("b") + node("a", "Real r = 1\n"),
         "move node b a > -"},
        {node("a", "Real r = 1 # x\n"), node("a", "Real r = 1 # y\n"),
         "change input a.r comment.trailing # x > # y"},
    };
    for (const auto& [before, after, expected] : cases)
        EXPECT_EQ(changesBetween(before, after), expected) << before << "->\n" << after;
}

TEST(SceneDiff, Between_TellsWhatHappensToElements) {
    struct Case {
        const char* before;
        const char* after;
        const char* expected;
    };
    const Case cases[] = {
        {"[1, 2, 3]", "[1, 5, 3]", "change element a.x[1] value 2 > 5"},
        {"[1, 2, 3]", "[1, 3]", "remove element a.x[1] 2 > -"},
        {"[1, 3]", "[1, 2, 3]", "add element a.x[1] - > 2"},
        {"[1, 2, 3]", "[3, 1, 2]", "move element a.x[2] 2 > 0"},
        {"[]", "[1, 1]", "add element a.x[0] - > 1\nadd element a.x[1] - > 1"},
    };
    for (const auto& [before, after, expected] : cases) {
        const auto array = [](const char* elements) {
            return node("a", (std::string("Array<Real> x = ") + elements + "\n").c_str());
        };
        EXPECT_EQ(changesBetween(array(before), array(after)), expected);
    }
}

TEST(SceneDiff, Between_ARenamedNode_KeepsWhatRefersToIt) {
    const char* attributes = "Real r = 1\nReal s = 2\noutput Real o\n";
    const std::string before =
        node("a", attributes) + node("b", "Node n = a\nArray<Node> l = [a]\nReal x = 1 <- a.o\n");
    const std::string after =
        node("lamp", attributes) + node("b", "Node n = lamp\nArray<Node> l = [lamp]\n"
                                             "Real x = 1 <- lamp.o\n");
    EXPECT_EQ(changesBetween(before, after), "rename node a a > lamp");
}

TEST(SceneDiff, Between_ANodeRenamedAndChangedALittle_IsTheSame) {
    const std::string before = node("a", "Real r = 1\nReal s = 2\nReal t = 3\n");
    const std::string after = node("lamp", "Real r = 1\nReal s = 2\nReal t = 4\n");
    EXPECT_EQ(changesBetween(before, after),
              "rename node a a > lamp\nchange input a.t value 3 > 4");
}

TEST(SceneDiff, Between_NodesWithLittleInCommon_AreOthers) {
    const std::string before = node("a", "Real r = 1\nReal s = 2\nReal t = 3\n");
    const std::string after = node("lamp", "Real r = 1\nReal s = 9\nReal t = 4\n");
    EXPECT_EQ(changesBetween(before, after).substr(0, 13), "remove node a");
}

TEST(SceneDiff, Between_WithoutComments_LeavesThemOut) {
    const std::string before = "# x\nkelvo scene 1 # y\n\n# z\n" + node("a", "Real r = 1 # x\n");
    EXPECT_EQ(changesBetween(before, node("a", "Real r = 1\n"), {.withComments = false}), "");
    EXPECT_NE(changesBetween(before, node("a", "Real r = 1\n")), "");
}

} // namespace
} // namespace qv::kelvo_sdk
