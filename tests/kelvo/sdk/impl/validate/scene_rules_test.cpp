#include "kelvo/sdk/impl/validate/scene_rules.h"

#include "tests/support/findings.h"
#include "tests/support/library_text.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

using tests::found;
using tests::sceneWithTypes;

// ---- Findings of each rule, in scenes without libraries ----------------------------------------

struct Case {
    const char* text;
    const char* expected;
};

class SceneRulesOfText : public testing::TestWithParam<Case> {};

TEST_P(SceneRulesOfText, Finding_NamesThePlace) {
    EXPECT_EQ(found(tests::sceneOf(GetParam().text)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Children, SceneRulesOfText,
    testing::Values(
        Case{"node xform \"a\" {\n Array<Node> children = [null, b, b]\n}\nnode t \"b\" {\n}\n",
             "empty-child: a.children[0]: node 'a': element [0] of 'children' links to no node. "
             "(remove element [0])\n"
             "repeated-child: a.children[2]: node 'a': element [2] of 'children' links to 'b' "
             "again. (remove element [2])"},
        Case{"node xform \"a\" {\n Array<Node> children = [a]\n}\n",
             "child-cycle: a.children: node 'a' has 'a' as a child, which it is itself below."},
        Case{"node xform \"a\" {\n Array<Node> children = [b, c]\n}\n"
             "node xform \"b\" {\n Array<Node> children = [c]\n}\n"
             "node xform \"c\" {\n Array<Node> children = [b]\n}\n",
             "child-cycle: c.children: node 'c' has 'b' as a child, which it is itself below."},
        Case{"node t \"a\" {\n Array<Real> children = [1]\n}\n", ""}));

INSTANTIATE_TEST_SUITE_P(
    Values, SceneRulesOfText,
    testing::Values(
        Case{"node t \"a\" {\n Object o {\n Int i = 12 @unchecked @max 9\n }\n}\n",
             "out-of-range: a.o.i: input 'a.o.i': the value 12 is above the maximum 9. "
             "(set it to 9)"},
        Case{"node t \"a\" {\n Vec2 v = (-1 nan) @unchecked @min (0 2) @max (5 5)\n}\n",
             "out-of-range: a.v: input 'a.v': the value (-1 nan) is below the minimum (0 2) "
             "(the range is (0 2) to (5 5)). (set it to (0 2))"},
        Case{
            "node t \"a\" {\n UInt u = 1 @unchecked @min 3 @max 2\n}\n",
            "out-of-range: a.u: input 'a.u': the value 1 is below the minimum 3 (the range is 3 to "
            "2)."},
        Case{"node t \"a\" {\n Int i = 12 @readonly @unchecked @max 9\n}\n",
             "out-of-range: a.i: input 'a.i': the value 12 is above the maximum 9."},
        Case{"node t \"a\" {\n String s = \"Gloss\" @unchecked @choices [\"matt\", \"gloss\"]\n}\n",
             "out-of-range: a.s: input 'a.s': the value \"Gloss\" is not among the choices "
             "\"matt\", \"gloss\": did you mean 'gloss'? (set it to gloss)"},
        Case{"node t \"a\" {\n String s = \"xyz\" @unchecked @choices [\"matt\", \"gloss\"]\n}\n",
             "out-of-range: a.s: input 'a.s': the value \"xyz\" is not among the choices \"matt\", "
             "\"gloss\"."},
        Case{"node t \"a\" {\n Int i = 7 @choices [1, 4, 8]\n}\n",
             "out-of-range: a.i: input 'a.i': the value 7 is not among the choices 1, 4, 8. "
             "(set it to 8)"},
        Case{"node t \"a\" {\n Real r = nan @choices [1, 4]\n}\n",
             "out-of-range: a.r: input 'a.r': the value nan is not among the choices 1, 4."},
        Case{"node t \"a\" {\n Real r = inf @min 0 @max 9\n}\n",
             "out-of-range: a.r: input 'a.r': the value inf is above the maximum 9 (the range is 0 "
             "to 9). (set it to 9)"},
        Case{"node t \"a\" {\n Real r = 1 @min nan\n}\n",
             "out-of-range: a.r: input 'a.r': the value 1 is below the minimum nan."},
        Case{"node t \"a\" {\n Real r = -0 @min 0\n Real s = -1 @choices [] @min Int 0\n}\n", ""},
        Case{"node t \"a\" {\n Array<Int> l = [1, 9 @max 3]\n}\n",
             "out-of-range: a.l[1]: input 'a.l[1]': the value 9 is above the maximum 3. "
             "(set it to 3)"},
        Case{"node t \"a\" {\n Real x = 1\n Int X = 2\n}\n",
             "shadowed-input: a.X: input 'a.X' (Int) is never found by name: 'x' (Real) is before "
             "it."}));

INSTANTIATE_TEST_SUITE_P(
    Nodes, SceneRulesOfText,
    testing::Values(
        Case{"node mesh \"m\" {\n Buffer<Pos3f> positions = [(0 0 0) (1 0 0)]\n"
             " Buffer<Vec3f> normals = [(0 0 1)]\n Buffer<Vec2f> uvs = []\n}\n",
             "mesh-mismatch: m: node 'm': its mesh buffers do not agree (2 positions, 1 normals; "
             "normals and uvs need one for each position, indices stay below their number)."},
        Case{"node mesh \"m\" {\n Buffer<Pos3f> positions = []\n}\n",
             "empty-mesh: m.positions: node 'm': its mesh has no positions."},
        Case{"node cloud \"m\" {\n Buffer<Pos3f> positions = []\n}\n", ""},
        Case{"node t \"p\" {\n String dir = \"a\"\n String file = \"\"\n String ext = \"\"\n}\n",
             "empty-path: p.file: node 'p' stands for a file but names none."},
        Case{"node t \"p\" {\n String dir = \"\"\n String file = \"\"\n String ext = \"\"\n"
             " Buffer<Rgbaf> pixels = [(0 0 0 1)]\n}\n",
             ""},
        Case{"node t \"p\" {\n Array<Node> modifiers = [null, q]\n}\nnode t \"q\" {\n}\n",
             "empty-modifier: p.modifiers[0]: node 'p': element [0] of 'modifiers' links to no "
             "node. (remove element [0])"},
        Case{"node t \"p\" {\n output Real x\n}\nnode t \"q\" {\n output Real x\n}\n"
             "node t \"r\" {\n Real y = 0 <- q.x\n}\n",
             "unused-node: p: node 'p': nothing reads its outputs or links to it."},
        Case{"node t \"p\" {\n output Real x\n}\nnode t \"q\" {\n Node n = p\n}\n", ""}));

// ---- Files --------------------------------------------------------------------------------------

constexpr const char* kFiles = "node t \"wood\" {\n String dir = \"textures\"\n String file = "
                               "\"wood\"\n String ext = \".png\"\n}\n"
                               "node t \"made\" {\n String dir = \"\"\n String file = \"x\"\n"
                               " String ext = \"\" <- n.s\n}\nnode t \"n\" {\n output String s\n}\n"
                               "node t \"kept\" {\n String dir = \"\"\n String file = \"x\"\n"
                               " String ext = \"\"\n Buffer<Byte> data = [1]\n}\n";

TEST(SceneRulesOfFiles, MissingFile_IsReportedWhereFilesCanBeLookedFor) {
    const Scene scene = tests::sceneOf(kFiles);
    std::string asked;
    const ValidationOptions options{.fileExists = [&](const String& path) {
        asked += path.buf();
        return false;
    }};
    EXPECT_EQ(tests::told(validate(scene, options)),
              "missing-file: wood.file: node 'wood' stands for a file that is not there: "
              "\"textures/wood.png\".");
    EXPECT_EQ(asked, "textures/wood.png") << "what is connected or kept inside is not looked for";
    EXPECT_EQ(found(scene), "");
}

TEST(SceneRulesOfFiles, FileThatIsThere_IsNoFinding) {
    const ValidationOptions options{.fileExists = [](const String&) { return true; }};
    EXPECT_EQ(tests::told(validate(tests::sceneOf(kFiles), options)), "");
}

// ---- Comments -----------------------------------------------------------------------------------

TEST(SceneRulesOfComments, ConflictsOfAMerge_AreReported) {
    const Scene scene = tests::sceneOf("kelvo scene 1\n\n# plain\n# conflict: a type: mine t\n"
                                       "node t \"a\" {\n"
                                       "    Object o {\n        # conflict: a.o.r: base 1, mine 2\n"
                                       "        Real r = 2\n    }\n"
                                       "    # conflict: a.x kind\n    output Real x\n"
                                       "}\n# conflict: order\n");
    EXPECT_EQ(found(scene),
              "unused-node: a: node 'a': nothing reads its outputs or links to it.\n"
              "conflict-mark: a: node 'a': a merge left a conflict to settle: a type: mine t.\n"
              "conflict-mark: a.o.r: input 'a.o.r': a merge left a conflict to settle: a.o.r: base "
              "1, mine 2.\n"
              "conflict-mark: a.x: output 'a.x': a merge left a conflict to settle: a.x kind.\n"
              "conflict-mark: : the scene: a merge left a conflict to settle: order.");
}

TEST(SceneRulesOfComments, OtherComments_AreNoFinding) {
    EXPECT_EQ(found(tests::sceneOf("# no conflict: here\nnode t \"a\" { # conflicts\n}\n")), "");
}

// ---- Rules about libraries ---------------------------------------------------------------------

TEST(SceneRulesOfTypes, ScenesWithoutLibraries_MayHoldAnyType) {
    EXPECT_EQ(found(tests::sceneOf("node bx \"a\" {\n}\nnode object \"b\" {\n}\n")), "");
}

TEST(SceneRulesOfTypes, UnknownTypes_AreReported) {
    EXPECT_EQ(
        found(sceneWithTypes("node piant \"a\" {\n}\nnode zebra \"b\" {\n}\n")),
        "misspelled-type: a: node 'a': no library knows its type 'piant': did you mean "
        "'paint'?\n"
        "unknown-type: b: node 'b': no library knows its type 'zebra'; its inputs and outputs "
        "were not checked.");
}

TEST(SceneRulesOfTypes, UnknownAttributes_AreReported) {
    EXPECT_EQ(found(sceneWithTypes("node box \"a\" {\n Real sice = 1\n Object shade {\n"
                                   " Real more = 1\n }\n Object _meta {\n Real any = 1\n }\n"
                                   " Object own {\n Real inside = 1\n }\n output Real other\n}\n")),
              "unknown-attribute: a.sice: input 'a.sice': type 'box' does not define it: did you "
              "mean 'size'?\n"
              "unknown-attribute: a.own: input 'a.own': type 'box' does not define it; it was not "
              "checked.\n"
              "unknown-attribute: a.shade.more: input 'a.shade.more': type 'box' does not define "
              "it; it was not checked.\n"
              "unknown-attribute: a.other: output 'a.other': type 'box' does not define it; it was "
              "not checked.\n"
              "unused-node: a: node 'a': nothing reads its outputs or links to it.");
}

TEST(SceneRulesOfTypes, ScenesWithoutLibraries_LackTypesOnRequest) {
    const Findings findings =
        validate(tests::sceneOf("node bx \"a\" {\n}\n"), {.needsTypes = true});
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_STREQ(findings[0].rule->id, "unknown-type");
    EXPECT_TRUE(passes(findings));
    EXPECT_FALSE(passes(findings, true));
}

TEST(SceneRulesOfTypes, WarningsAndWhatIsUnchecked_PassUnlessStrict) {
    const auto expectPasses = [](const char* text, bool isGood, bool isStrictlyGood) {
        const Findings findings = validate(sceneWithTypes(text));
        EXPECT_EQ(passes(findings), isGood) << text;
        EXPECT_EQ(passes(findings, true), isStrictlyGood) << text;
    };
    expectPasses("node box \"a\" {\n}\n", true, true);
    expectPasses("node box \"a\" {\n Real mine = 1\n}\n", true, false);
    expectPasses("node box \"a\" {\n Array<Node> children = [null]\n}\n", true, false);
    expectPasses("node zebra \"a\" {\n}\n", true, false);
    expectPasses("node object \"a\" {\n}\n", false, false);
}

TEST(SceneRulesOfTypes, AbstractType_IsReported) {
    EXPECT_EQ(found(sceneWithTypes("node object \"a\" {\n}\n")),
              "abstract-type: a: node 'a' is of type 'object', which is only a base of others.");
}

TEST(SceneRulesOfTypes, OtherKinds_AreReported) {
    EXPECT_EQ(
        found(sceneWithTypes("node box \"a\" {\n Int size = 1\n Real shade = 1\n"
                             " output Int volume\n}\nnode t \"b\" {\n Node n = a\n}\n")),
        "other-kind: a.size: input 'a.size' is of kind Int: type 'box' defines Real.\n"
        "other-kind: a.shade: input 'a.shade' is of kind Real: type 'box' defines Object.\n"
        "other-kind: a.volume: output 'a.volume' is of kind Int: type 'box' defines Real.\n"
        "unknown-type: b: node 'b': no library knows its type 't'; its inputs and outputs were "
        "not checked.");
}

TEST(SceneRulesOfTypes, MissingAttributes_AreReported) {
    const Scene scene = sceneWithTypes("node box \"a\" @own {\n Object shade {\n"
                                       " Array<Int> steps = []\n } @own\n output Real volume\n}\n"
                                       "node paint \"b\" {\n Array<Node> modifiers = [a]\n}\n");
    EXPECT_EQ(found(scene),
              "missing-input: a.name: input 'a.name' is missing: type 'box' defines it. (add it)\n"
              "missing-input: a.size: input 'a.size' is missing: type 'box' defines it. (add it)\n"
              "missing-input: a.points: input 'a.points' is missing: type 'box' defines it. "
              "(add it)\n"
              "missing-input: a.shade.bias: input 'a.shade.bias' is missing: type 'box' defines "
              "it. (add it)\n"
              "missing-output: a.corners: output 'a.corners' is missing: type 'box' defines it. "
              "(add it)\n"
              "idle-modifier: b.modifiers[0]: node 'b': its modifier 'a' is of type 'box', which "
              "modifies nothing.");
}

TEST(SceneRulesOfTypes, ReadOnlyInputsWithAnotherValue_AreReportedAndSetBack) {
    const auto library = tests::libraryOf("type seal {\n  Int year = 7 @readonly @max 9\n"
                                          "  Object o {\n    Int inner = 1 @readonly\n  }\n}");
    const Scene scene = Scene::create();
    EXPECT_TRUE(scene.addLibrary(LibInfo(library.get())));
    EXPECT_EQ(
        tests::errorsOf("node seal \"a\" {\n Int year = 8\n Object o {\n Int inner = 2\n }\n}\n"
                        "node seal \"b\" {\n Int year = 7\n}\n"
                        "node seal \"c\" {\n Int year = 8 @own\n}\n",
                        scene),
        "");
    EXPECT_EQ(found(scene), "changed-read-only: a.year: input 'a.year' is read-only: type 'seal' "
                            "defines 7, not 8. (set it to 7)\n"
                            "changed-read-only: a.o.inner: input 'a.o.inner' is read-only: type "
                            "'seal' defines 1, not 2. (set it to 1)");
    EXPECT_EQ(fixFindings(scene).fixed.size(), 2u);
    EXPECT_EQ(found(scene), "");
    EXPECT_EQ(scene["a"]["year"].get<i64>(), 7);
    EXPECT_TRUE(scene["a"]["year"]->isReadOnly());
}

TEST(SceneRulesOfTypes, ReadOnlyListWithOtherElements_IsReported) {
    const auto library = tests::libraryOf("type seal {\n  Array<Int> years = [7, 8] @readonly\n}");
    const Scene scene = Scene::create();
    EXPECT_TRUE(scene.addLibrary(LibInfo(library.get())));
    EXPECT_EQ(tests::errorsOf("node seal \"a\" {\n Array<Int> years = [7, 9]\n}\n"
                              "node seal \"b\" {\n Array<Int> years = [7, 8]\n}\n",
                              scene),
              "");
    EXPECT_EQ(found(scene), "changed-read-only: a.years: input 'a.years' is read-only: it holds "
                            "other elements than type 'seal' defines.");
}

TEST(SceneRulesOfTypes, ModifiersOfTheStandardLibrary_AreNotIdle) {
    const Scene scene = Scene::create();
    scene.addLibrary(LibInfo::standard());
    const Node light = scene.createNode("pointLight", "lamp");
    light["modifiers"].append().set(scene.createNode("scaleModifier", "scale"));
    EXPECT_EQ(found(scene), "");
}

} // namespace
} // namespace qv::kelvo_sdk
