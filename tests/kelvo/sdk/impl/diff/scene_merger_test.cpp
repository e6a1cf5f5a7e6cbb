#include "kelvo/sdk/scene_diff.h"

#include "tests/support/merged_texts.h"
#include "tests/support/random_scene.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

using tests::merge;
using tests::Merged;
using tests::sceneOf;
using tests::textOf;

std::string node(const std::string& name, const std::string& body = "") {
    return "node light \"" + name + "\" {\n" + body + "}\n";
}

std::string textFrom(const std::string& text) {
    return textOf(sceneOf(text));
}

TEST(SceneMerger, Merge_OfChangesThatGoTogether_HasThemAll) {
    struct Case {
        std::string base;
        std::string mine;
        std::string theirs;
        std::string expected;
    };
    const Case cases[] = {
        {node("a", "Real r = 1\nReal s = 1\n"), node("a", "Real r = 2\nReal s = 1\n"),
         node("a", "Real r = 1\nReal s = 3\n"), node("a", "Real r = 2\nReal s = 3\n")},
        {node("a", "Real r = 1\n"), node("a", "Real r = 2\n"), node("a", "Real r = 2\n"),
         node("a", "Real r = 2\n")},
        {node("a", "Real r = 1\n"), node("a", "Real r = 2\n"), node("a", "Real r = 1 @min 0\n"),
         node("a", "Real r = 2 @min 0\n")},
        {node("a"), node("a") + node("m"), node("a") + node("t"),
         node("a") + node("m") + node("t")},
        {node("a") + node("b", "Int i = 1\n"), node("a"),
         node("a", "Int i = 1\n") + node("b", "Int i = 1\n"), node("a", "Int i = 1\n")},
        {node("a", "Real r = 1\n"), node("a", "Real r = 1\nReal m = 1\n"),
         node("a", "Real r = 1\nReal t = 1\n"), node("a", "Real r = 1\nReal m = 1\nReal t = 1\n")},
        {node("a", "Real r = 1\nReal s = 1\n"), node("a", "Real s = 1\nReal r = 1\n"),
         node("a", "Real r = 1\nReal s = 5\n"), node("a", "Real s = 5\nReal r = 1\n")},
        {node("a", "Array<Real> x = [1, 2, 3]\n"), node("a", "Array<Real> x = [0, 1, 2, 3]\n"),
         node("a", "Array<Real> x = [1, 2, 4]\n"), node("a", "Array<Real> x = [0, 1, 2, 4]\n")},
        {node("a", "Object o {\nReal r = 1\nReal s = 1\n}\n"),
         node("a", "Object o {\nReal r = 2\nReal s = 1\n}\n"),
         node("a", "Object o {\nReal r = 1\nReal s = 2\n}\n"),
         node("a", "Object o {\nReal r = 2\nReal s = 2\n}\n")},
        {node("a", "Real r = 1\n"), node("a", "# m\nReal r = 1\n"), node("a", "Real r = 2 # t\n"),
         node("a", "# m\nReal r = 2 # t\n")},
    };
    for (const auto& [base, mine, theirs, expected] : cases) {
        const Merged merged = merge(base, mine, theirs);
        EXPECT_TRUE(merged.isMade) << merged.error.buf();
        EXPECT_EQ(merged.conflicts, "");
        EXPECT_EQ(merged.text, textFrom(expected));
    }
}

TEST(SceneMerger, Merge_OfChildren_AddsAndRemovesByName) {
    const std::string nodes = node("a") + node("b") + node("c") + node("d");
    const auto room = [&](const char* children) {
        return nodes + node("room", std::string("Array<Node> children = [") + children + "]\n");
    };
    const Merged merged = merge(room("a, b"), room("a, b, c"), room("b, d"));
    EXPECT_EQ(merged.conflicts, "");
    EXPECT_EQ(merged.text, textFrom(room("b, c, d")));
}

TEST(SceneMerger, Merge_OfARenamedNode_RenamesWhatTheOtherSideAdds) {
    const std::string body = "Real r = 1\nReal s = 1\nReal t = 1\n";
    const Merged merged =
        merge(node("a", body) + node("b"), node("lamp", body) + node("b"),
              node("a", "Real r = 2\nReal s = 1\nReal t = 1\n") + node("b", "Node n = a\n"));
    EXPECT_EQ(merged.conflicts, "");
    EXPECT_EQ(merged.text, textFrom(node("lamp", "Real r = 2\nReal s = 1\nReal t = 1\n") +
                                    node("b", "Node n = lamp\n")));
}

TEST(SceneMerger, Merge_OfChangesThatExcludeEachOther_ListsThem) {
    struct Case {
        std::string base;
        std::string mine;
        std::string theirs;
        const char* expected;
    };
    const Case cases[] = {
        {node("a", "Real r = 1\n"), node("a", "Real r = 2\n"), node("a", "Real r = 3\n"),
         "a.r value: 1, 2, 3"},
        {node("a", "Real r = 1\n"), node("a"), node("a", "Real r = 3\n"),
         "a.r : Real r = 1, -, Real r = 3; theirs changed it and mine removed it"},
        {node("a"), node("a", "Real r = 1\n"), node("a", "Real r = 2\n"), "a.r value: -, 1, 2"},
        {node("a"), node("a", "Real r = 1\n"), node("a", "Int r = 1\n"),
         "a.r kind: -, Real 1, Int 1"},
        {node("a", "Real r = 1\n"), node("a", "Int r = 2\n"), node("a", "Real r = 3\n"),
         "a.r kind: Real 1, Int 2, Real 3"},
        {node("a", "Array<Real> x = [1]\n"), node("a", "Array<Real> x = [1, 2]\n"),
         node("a", "Array<Real> x = [1, 3]\n"), "a.x[1] : -, 2, 3"},
        {node("a", "Real r = 1\nReal s = 1\nReal t = 1\n"),
         node("a", "Real s = 1\nReal r = 1\nReal t = 1\n"),
         node("a", "Real r = 1\nReal t = 1\nReal s = 1\n"), "a order: r, s, t, s, r, t, r, t, s"},
        {node("a", "Real r = 1 @min 0\n"), node("a", "Real r = 1 @min 0.5\n"),
         node("a", "Real r = 1 @min 1\n"), "a.r @min: 0, 0.5, 1"},
        {node("a", "Int i = 1\n"), node("m", "Int i = 1\n"), node("t", "Int i = 1\n"),
         "m name: a, m, t"},
        {node("a") + node("b"), node("b"), node("a") + node("b", "Node n = a\n"),
         "b.n value: -, -, a; it refers to 'a', which mine removed"},
    };
    for (const auto& [base, mine, theirs, expected] : cases) {
        const Merged merged = merge(base, mine, theirs);
        EXPECT_TRUE(merged.isMade) << merged.error.buf();
        EXPECT_EQ(merged.conflicts, expected);
    }
}

TEST(SceneMerger, Merge_WithAConflict_MarksThePlaceAndTakesMine) {
    const Merged merged = merge(node("a", "Real r = 1 # x\n"), node("a", "Real r = 2 # x\n"),
                                node("a", "Real r = 3 # x\n"));
    EXPECT_EQ(merged.text, textFrom(node("a", "# conflict: a.r: base 1, mine 2, theirs 3\n"
                                              "Real r = 2 # x\n")));
}

TEST(SceneMerger, Merge_WithTwoNewNames_MarksTheNode) {
    const std::string first = node("z", "Int z = 1\n");
    const Merged merged = merge(first + node("a", "Int i = 1\n"), first + node("m", "Int i = 1\n"),
                                first + node("t", "Int i = 1\n"));
    EXPECT_EQ(merged.text, textFrom(first + "# conflict: m name: base a, mine m, theirs t\n" +
                                    node("m", "Int i = 1\n")));
}

TEST(SceneMerger, Merge_OfNoScene_IsThatOfAnEmptyOne) {
    std::vector<MergeConflict> conflicts;
    const Scene merged = Scene::create();
    const Scene mine = sceneOf(node("a"));
    EXPECT_TRUE(mergeScenes(Scene(), mine, Scene(), {}, merged, conflicts));
    EXPECT_EQ(textOf(merged), textOf(mine));
    EXPECT_FALSE(mergeScenes(mine, mine, mine, {}, Scene(), conflicts));
}

TEST(SceneMerger, Merge_WithAPreferredSide_TakesThatAndMarksNothing) {
    const std::string base = node("a", "Real r = 1\nReal s = 1\n");
    const std::string mine = node("a", "Real r = 2\n");
    const std::string theirs = node("a", "Real r = 3\nReal s = 4\n");
    EXPECT_EQ(merge(base, mine, theirs, {MergeSide::Theirs}).text, textFrom(theirs));
    EXPECT_EQ(merge(base, mine, theirs, {MergeSide::Mine}).text, textFrom(mine));
}

TEST(SceneMerger, Merge_OfTwoKinds_TakesTheBoundsOfTheOneThatCounts) {
    const std::string mine = node("a", "Bool i = true @label \"en\" \"I\"\n");
    const std::string theirs = node("a", "Real i = 4 @min 0 @max 9 @unit \"m\"\n");
    EXPECT_EQ(merge(node("a"), mine, theirs, {MergeSide::Mine}).text,
              textFrom(node("a", "Bool i = true @unit \"m\" @label \"en\" \"I\"\n")));
    EXPECT_EQ(merge(node("a"), mine, theirs, {MergeSide::Theirs}).text,
              textFrom(node("a", "Real i = 4 @min 0 @max 9 @unit \"m\" @label \"en\" \"I\"\n")));
}

TEST(SceneMerger, Merge_ThatClosesALoop_TellsWhyThereIsNone) {
    const auto text = [](const char* a, const char* b) {
        return node("a", std::string("Real r = 0") + a + "\noutput Real o\n") +
               node("b", std::string("Real r = 0") + b + "\noutput Real o\n");
    };
    const Merged merged = merge(text("", ""), text(" <- b.o", ""), text("", " <- a.o"));
    EXPECT_FALSE(merged.isMade);
    EXPECT_NE(merged.error.view().find("loop"), std::string_view::npos) << merged.error.buf();
}

TEST(SceneMerger, Merge_WithOneSideUnchanged_IsTheOther) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        tests::RandomScene model(seed);
        const std::string base = textFrom(model.text());
        for (unsigned i = 0; i <= seed % 9; ++i)
            model.edit();
        const std::string changed = textFrom(model.text());
        for (const Merged& merged : {merge(base, changed, base), merge(base, base, changed),
                                     merge(base, changed, changed)}) {
            ASSERT_TRUE(merged.isMade) << "seed " << seed << ": " << merged.error.buf();
            EXPECT_EQ(merged.conflicts, "") << "seed " << seed;
            ASSERT_EQ(merged.text, changed) << "seed " << seed << "\n" << base;
        }
    }
}

TEST(SceneMerger, Merge_OfRandomEdits_GivesASceneOrTellsWhyNot) {
    u64 made = 0;
    u64 clean = 0;
    for (unsigned seed = 0; seed < 300; ++seed) {
        tests::RandomScene mine(seed);
        tests::RandomScene theirs(mine);
        const std::string base = mine.text();
        theirs.seed(seed + 7);
        mine.edit();
        theirs.edit();
        const Merged merged = merge(base, mine.text(), theirs.text());
        made += merged.isMade;
        clean += merged.isMade && merged.conflicts.empty();
        ASSERT_EQ(merged.isMade, merged.error.isEmpty()) << "seed " << seed;
    }
    EXPECT_GT(made, 250u);
    EXPECT_GT(clean, 200u);
}

} // namespace
} // namespace qv::kelvo_sdk
