#include "kelvo/sdk/validation.h"

#include "tests/support/findings.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

using tests::found;
using tests::sceneWithTypes;
using tests::told;

// ---- The table -------------------------------------------------------------------------------

TEST(Validation, Severities_HaveNames) {
    EXPECT_STREQ(severityName(Severity::Note), "note");
    EXPECT_STREQ(severityName(Severity::Warning), "warning");
    EXPECT_STREQ(severityName(Severity::Error), "error");
}

TEST(Validation, SoundScenes_HaveNoFindings) {
    EXPECT_EQ(found(Scene()), "");
    EXPECT_EQ(found(Scene::create()), "");
    EXPECT_EQ(found(tests::sceneOf("node xform \"a\" {\n Array<Node> children = [b]\n}\n"
                                   "node any \"b\" {\n Real x = 1 @min 0\n}\n")),
              "");
    EXPECT_EQ(found(sceneWithTypes("node paint \"p\" {\n}\n")), "");
}

// ---- Fixes -------------------------------------------------------------------------------------

std::string fixed(const Scene& scene, Severity least = Severity::Note) {
    const FixReport report = fixFindings(scene, least);
    EXPECT_TRUE(scene.verify().empty());
    EXPECT_EQ(told(report.left), found(scene));
    return told(report.fixed);
}

TEST(ValidationFix, Elements_AreRemoved) {
    const Scene scene = tests::sceneOf("node xform \"a\" {\n"
                                       "    Array<Node> children = [null, b, null, b, c]\n}\n"
                                       "node t \"b\" {\n    Array<Node> modifiers = [null]\n}\n"
                                       "node t \"c\" {\n}\n");
    EXPECT_EQ(fixFindings(scene).fixed.size(), 4u);
    EXPECT_EQ(found(scene), "");
    EXPECT_NE(tests::textOf(scene).find("children = [b, c]"), std::string::npos);
    EXPECT_NE(tests::textOf(scene).find("modifiers = []"), std::string::npos);
}

TEST(ValidationFix, Values_TakeTheNearestAllowed) {
    const Scene scene = tests::sceneOf(
        "node t \"a\" {\n    Int i = 12 @unchecked @max 9\n    Vec2 v = (-1 nan) @unchecked @min "
        "(0 "
        "2) @max (5 5)\n    String s = \"Gloss\" @unchecked @choices [\"gloss\"]\n}\n");
    fixed(scene);
    EXPECT_EQ(
        tests::textOf(scene),
        "kelvo scene 1\n\nnode t \"a\" {\n    Int i = 9 @max 9\n    Vec2 v = (0 2) @min (0 2) "
        "@max (5 5)\n    String s = \"gloss\" @choices [\"gloss\"]\n}\n");
}

TEST(ValidationFix, MissingAttributes_AreAsDefined) {
    const Scene scene = sceneWithTypes("node box \"a\" @own {\n Object shade {\n"
                                       " Array<Int> steps = []\n } @own\n}\n"
                                       "node box \"b\" @own {\n}\n");
    fixed(scene);
    EXPECT_EQ(found(scene), "unused-node: a: node 'a': nothing reads its outputs or links to it.\n"
                            "unused-node: b: node 'b': nothing reads its outputs or links to it.");
    const Node whole = sceneWithTypes("node box \"b\" {\n}\n")["b"];
    EXPECT_EQ(scene["b"]["shade"]->hash({}), whole["shade"]->hash({}));
    EXPECT_EQ(scene["b"]["size"].get<double>(), 1);
    EXPECT_TRUE(scene["a"].output("corners")->hasDataType(DataType::Pos3f));
    const tests::LogCapture log;
    EXPECT_FALSE(scene["b"]["size"].set(12.0)) << "the bounds are the definition's";
}

TEST(ValidationFix, Findings_BelowTheSeverityStay) {
    const Scene scene = tests::sceneOf("node xform \"a\" {\n Array<Node> children = [null]\n}\n");
    const std::string before = tests::textOf(scene);
    const FixReport report = fixFindings(scene, Severity::Error);
    EXPECT_TRUE(report.fixed.empty());
    EXPECT_EQ(told(report.left), found(scene));
    EXPECT_EQ(tests::textOf(scene), before);
}

TEST(ValidationFix, AllFixes_AreOneStep) {
    const Scene scene =
        sceneWithTypes("node xform \"a\" {\n Array<Node> children = [null, null]\n}\n");
    scene.setUndoEnabled(true);
    fixFindings(scene, Severity::Error);
    EXPECT_EQ(scene.undoCount(), 0u);
    EXPECT_EQ(fixFindings(scene).fixed.size(), 2u);
    ASSERT_EQ(scene.undoCount(), 1u);
    EXPECT_EQ(scene.undoStep(0).doText, "Fix 2 problems");
    EXPECT_EQ(scene.undoStep(0).undoText, "Undo fix of 2 problems");
}

TEST(ValidationFix, OfAllSorts_CanBeUndoneAndRedone) {
    const Scene scene =
        sceneWithTypes("node xform \"x\" {\n Array<Node> children = [null, a, a]\n}\n"
                       "node box \"a\" @own {\n Real size = 12 @unchecked @max 9\n}\n");
    scene.setUndoEnabled(true);
    const std::string before = tests::textOf(scene);
    const std::string findings = found(scene);
    EXPECT_GT(fixFindings(scene).fixed.size(), 5u);
    const std::string after = tests::textOf(scene);
    EXPECT_EQ(scene.undoCount(), 1u);
    EXPECT_TRUE(scene.undo());
    EXPECT_EQ(tests::textOf(scene), before);
    EXPECT_EQ(found(scene), findings);
    EXPECT_TRUE(scene.redo());
    EXPECT_EQ(tests::textOf(scene), after);
    EXPECT_TRUE(scene.verify().empty());
}

TEST(ValidationFix, AppliedTwice_DoesNothingMore) {
    const Scene scene = tests::sceneOf("node xform \"a\" {\n Array<Node> children = [null]\n}\n");
    const Findings findings = validate(scene);
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_TRUE(findings[0].fix->apply());
    EXPECT_FALSE(findings[0].fix->apply());
    EXPECT_EQ(scene["a"]["children"].inputCount(), 0u);
}

TEST(ValidationFix, Findings_OutliveTheirScene) {
    Findings findings;
    {
        const Scene scene = tests::sceneOf("node t \"a\" {\n    Int i = 12 @unchecked @max 9\n}\n");
        findings = validate(scene);
        scene.removeNode(scene["a"]);
    }
    ASSERT_EQ(findings.size(), 1u);
    findings[0].fix->apply();
    EXPECT_EQ(findings[0].node["i"].get<i64>(), 9);
}

// ---- Size --------------------------------------------------------------------------------------

TEST(Validation, LongChains_NeedNoStack) {
    const Scene scene = Scene::create();
    const int count = 20000;
    std::vector<Node> nodes;
    for (int i = 0; i < count; ++i) {
        nodes.push_back(scene.createNode("xform", "n"));
        nodes.back().createArray("children", AttrType::Node);
        if (i != 0) nodes.back().parentTo(nodes[nodes.size() - 2]);
    }
    nodes.front().parentTo(nodes.back());
    EXPECT_EQ(validate(scene).size(), 1u);
}

} // namespace
} // namespace qv::kelvo_sdk
