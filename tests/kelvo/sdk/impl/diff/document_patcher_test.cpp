#include "kelvo/sdk/scene_diff.h"

#include "kelvo/sdk/impl/standard/standard_library.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "tests/support/random_scene.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <random>

namespace qv::kelvo_sdk {
namespace {

using tests::sceneOf;
using tests::textOf;

std::string node(const char* name, const char* body = "") {
    return std::string("node light \"") + name + "\" {\n" + body + "}\n";
}

TEST(DocumentPatcher, ApplyTo_OfTwoRandomScenes_GivesTheSecondByteForByte) {
    for (unsigned seed = 0; seed < 1500; ++seed) {
        tests::RandomScene model(seed);
        const Scene before = sceneOf(model.text());
        for (unsigned i = 0; i <= seed % 12; ++i)
            model.edit();
        const std::string after = textOf(sceneOf(model.text()));
        const auto diff = SceneDiff::between(before, sceneOf(model.text()));
        const std::string was = textOf(before);
        const Result isDone = diff.applyTo(before);
        ASSERT_TRUE(isDone) << "seed " << seed << ": " << isDone.message().buf();
        ASSERT_EQ(textOf(before), after) << "seed " << seed << "\n" << was;
        EXPECT_EQ(diff.isEmpty(), was == after) << "seed " << seed;
    }
}

TEST(DocumentPatcher, ApplyTo_OfTwoUnrelatedScenes_GivesTheSecondByteForByte) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        const Scene before = sceneOf(tests::RandomScene(seed).text());
        const Scene after = sceneOf(tests::RandomScene(seed + 100000).text());
        const Result isDone = SceneDiff::between(before, after).applyTo(before);
        ASSERT_TRUE(isDone) << isDone.message().buf();
        ASSERT_EQ(textOf(before), textOf(after)) << "seed " << seed;
    }
}

// Attributes that the texts leave to their types must stay omitted.
TEST(DocumentPatcher, ApplyTo_OfRandomScenesThatKnowTheirTypes_GivesTheSecondByteForByte) {
    const auto typed = [](const tests::RandomScene& model) {
        const Scene scene = Scene::create();
        scene.addLibrary(LibInfo(&impl::standardLibrary()));
        EXPECT_EQ(tests::errorsOf(model.text(), scene), "");
        return scene;
    };
    for (unsigned seed = 0; seed < 60; ++seed) {
        tests::RandomScene model(seed);
        const Scene before = typed(model);
        for (unsigned i = 0; i <= seed % 12; ++i)
            model.edit();
        const Scene after = typed(model);
        const Result isDone = SceneDiff::between(before, after).applyTo(before);
        ASSERT_TRUE(isDone) << isDone.message().buf();
        ASSERT_EQ(textOf(before), textOf(after)) << "seed " << seed;
    }
}

TEST(DocumentPatcher, ApplyTo_AnotherOrderOfNodes_KeepsThem) {
    const auto scenes = [](const char* names) {
        std::string text = "# of all\nkelvo scene 1\n";
        for (; *names; ++names)
            text += node(std::string(1, *names).c_str(), "Int i = 1\n");
        return sceneOf(text);
    };
    const Scene scene = scenes("abcdef");
    const Node kept = scene.findNode("b");
    const Scene after = scenes("xfbyaedz");
    const Result isDone = SceneDiff::between(scene, after).applyTo(scene);
    ASSERT_TRUE(isDone) << isDone.message().buf();
    EXPECT_EQ(scene.findNode("b").get(), kept.get());
    EXPECT_EQ(textOf(scene), textOf(after));
}

TEST(DocumentPatcher, ApplyTo_IsOneStepThatUndoTakesBackAndRedoMakesAgain) {
    for (unsigned seed = 0; seed < 400; ++seed) {
        tests::RandomScene model(seed);
        const Scene scene = sceneOf(model.text());
        scene.setUndoEnabled(true);
        for (unsigned i = 0; i <= seed % 6; ++i)
            model.edit();
        const Scene after = sceneOf(model.text());
        const std::string was = textOf(scene);
        const Result isDone = SceneDiff::between(scene, after).applyTo(scene);
        ASSERT_TRUE(isDone) << isDone.message().buf();
        ASSERT_EQ(scene.undoCount(), was == textOf(after) ? 0u : 1u) << "seed " << seed;
        if (scene.undoCount() == 0) continue;
        ASSERT_TRUE(scene.undo());
        ASSERT_EQ(textOf(scene), was) << "seed " << seed;
        ASSERT_TRUE(scene.redo());
        ASSERT_EQ(textOf(scene), textOf(after)) << "seed " << seed;
    }
}

// Damages changes as an author could: cut, repeated, out of order, with texts of other changes.
class Damage {
public:
    explicit Damage(unsigned seed) : m_random(seed) {}

    SceneDiff of(const SceneDiff& diff) {
        std::vector<SceneChange> changes = diff.changes();
        for (int i = 0; i < 3; ++i)
            spoil(changes);
        SceneDiff made;
        for (SceneChange& change : changes)
            made.add(std::move(change));
        return made;
    }

private:
    std::size_t below(std::size_t end) { return m_random() % end; }

    void spoil(std::vector<SceneChange>& changes) {
        SceneChange& one = changes[below(changes.size())];
        SceneChange& other = changes[below(changes.size())];
        switch (below(8)) {
        case 0:
            return std::swap(one, other);
        case 1:
            one.path = spoiled(one.path);
            return;
        case 2:
            one.field = below(2) == 0 ? spoiled(one.field) : other.field;
            return;
        case 3:
            one.action = static_cast<SceneChange::Action>(below(5));
            return;
        case 4:
            one.subject = static_cast<SceneChange::Subject>(below(5));
            return;
        case 5:
            one.behind = other.after;
            return;
        case 6:
            return changes.push_back(SceneChange(one));
        default:
            one.after = one.after && below(2) == 0 ? spoiled(*one.after) : other.before;
            return;
        }
    }

    String spoiled(const String& text) {
        constexpr std::string_view signs = "[].:\"\\{}#@\n 9(,<";
        std::string made(text.view());
        const std::size_t place = below(made.size() + 1);
        if (below(3) == 0)
            made.resize(place);
        else
            made.insert(place, 1, signs[below(signs.size())]);
        return String(std::string_view(made));
    }

    std::mt19937 m_random;
};

TEST(DocumentPatcher, ApplyTo_OfDamagedChanges_MakesAWholeSceneOrNone) {
    u64 applied = 0;
    for (unsigned seed = 0; seed < 1500; ++seed) {
        tests::RandomScene model(seed % 100);
        const std::string before = model.text();
        for (unsigned i = 0; i <= seed % 12; ++i)
            model.edit();
        const auto diff = SceneDiff::between(sceneOf(before), sceneOf(model.text()));
        if (diff.isEmpty()) continue;
        const Scene scene = sceneOf(before);
        const std::string was = textOf(scene);
        const Result isDone = Damage(seed).of(diff).applyTo(scene);
        applied += isDone;
        EXPECT_EQ(isDone, isDone.message().isEmpty()) << "seed " << seed;
        if (isDone)
            EXPECT_EQ(textOf(sceneOf(textOf(scene))), textOf(scene)) << "seed " << seed;
        else
            EXPECT_EQ(textOf(scene), was) << "seed " << seed;
    }
    EXPECT_GT(applied, 50u);
}

TEST(DocumentPatcher, ApplyTo_OfNoScene_TellsIt) {
    EXPECT_EQ(SceneDiff().applyTo(Scene()).message(), "There is no scene: the handle is empty.");
    EXPECT_TRUE(SceneDiff::between(Scene(), Scene()).isEmpty());
    EXPECT_EQ(SceneDiff::between(Scene(), sceneOf(node("a"))).changes().size(), 1u);
}

TEST(DocumentPatcher, ApplyTo_ASceneThatIsNotAsItWas_NamesThePlaceAndChangesNothing) {
    struct Case {
        const char* scene;
        const char* expected;
    };
    const std::string before = node("a", "Real r = 1\nArray<Real> x = [1]\n") + node("b");
    const std::string after =
        node("a", "Real r = 2\nArray<Real> x = [1, 7]\nReal s = 1\n") + node("c", "Int i = 1\n");
    const auto diff = SceneDiff::between(sceneOf(before), sceneOf(after));
    const Case cases[] = {
        {"Real r = 3\nArray<Real> x = [1]\n",
         "cannot change a.r: value is '3' and not '1' as it was."},
        {"Array<Real> x = [1]\n", "cannot change a.r: there is no 'r'."},
        {"Real r = 1\n", "cannot add a.x[1]: there is no 'x'."},
        {"Real r = 1\nArray<Real> x = []\n", "cannot add a.x[1]: that place is not there."},
        {"Real r = 1\nArray<Real> x = [1]\nReal s = 2\n", "cannot add a.s: it is there already."},
    };
    for (const auto& [body, expected] : cases) {
        const Scene scene = sceneOf(node("a", body) + node("b"));
        const std::string was = textOf(scene);
        EXPECT_STREQ(diff.applyTo(scene).message().buf(), expected) << body;
        EXPECT_EQ(textOf(scene), was);
    }
}

TEST(DocumentPatcher, ApplyTo_WhatNodesCanTake_KeepsTheNodes) {
    const std::string other = node("b", "Int i = 1\noutput Real o\n");
    const std::string before = "Real r = 1\nReal u = 1\nArray<Node> l = [a, b, null]\n"
                               "Array<Real> x = [1, 2, 3, 4]\nString s = \"\"\n";
    const char* const cases[] = {
        "Real r = 2\nReal u = 1\nArray<Node> l = [a, b, null]\nArray<Real> x = [1, 2, 3, 4]\n"
        "String s = \"a \\\"b\\\"\"\n",
        "Real r = 1 <- b.o\nReal u = 1\nArray<Node> l = [b, null, a]\n"
        "Array<Real> x = [1, 2, 3, 4]\nString s = \"\"\n",
        "Real u = 1\nArray<Node> l = [b, b, a]\nArray<Real> x = [4, 3, 9, 2, 1]\nString s = \"\"\n",
        "Real r = 1\nReal u = 1\nArray<Node> l = []\nArray<Real> x = [2, 4, 1, 7, 8]\n",
    };
    for (const char* body : cases) {
        const Scene scene = sceneOf(node("a", before.c_str()) + other);
        const Node kept = scene.findNode("a");
        const Scene after = sceneOf(node("a", body) + other);
        const Result isDone = SceneDiff::between(scene, after).applyTo(scene);
        ASSERT_TRUE(isDone) << isDone.message().buf();
        EXPECT_EQ(scene.findNode("a").get(), kept.get()) << body;
        EXPECT_EQ(textOf(scene), textOf(after));
    }
}

TEST(DocumentPatcher, ApplyTo_NodesThatGoComeAndAreRenamed_KeepsTheOthers) {
    const Scene scene = sceneOf(node("a", "Node n = c\n") + node("b", "Int i = 1\n") +
                                node("c", "Int i = 2\nInt j = 3\n"));
    const Node kept = scene.findNode("c");
    const Scene after =
        sceneOf(node("a", "Node n = lamp\n") + node("lamp", "Int i = 2\nInt j = 3\n") +
                node("d", "Node n = a\n") + node("e", "Node n = d\n"));
    const Result isDone = SceneDiff::between(scene, after).applyTo(scene);
    ASSERT_TRUE(isDone) << isDone.message().buf();
    EXPECT_EQ(scene.findNode("lamp").get(), kept.get());
    EXPECT_EQ(textOf(scene), textOf(after));
}

TEST(DocumentPatcher, ApplyTo_ADiffThatBreaksTheScene_ChangesNothing) {
    const auto refuses = [](SceneChange change, const char* expected) {
        const Scene scene = sceneOf(node("a", "Real r = 1\nNode n = null\noutput Real o\n"));
        const std::string was = textOf(scene);
        SceneDiff diff;
        diff.add(std::move(change));
        const String error = diff.applyTo(scene).message();
        EXPECT_NE(error.view().find(expected), std::string_view::npos) << error.buf();
        EXPECT_EQ(textOf(scene), was);
    };
    using enum SceneChange::Action;
    using enum SceneChange::Subject;
    refuses({Change, Input, "a.n", "value", "null", "gone"}, "gone");
    refuses({Change, Input, "a.r", "value", "1", "2\n    Real s = 1"}, "no such text");
    refuses({Change, Input, "a.r", "source", {}, "a.o"}, "a.o");
    refuses({Change, Input, "a.r", "comment.trailing", {}, "x"}, "no comment");
    refuses({Change, Input, "a.r", "colour", {}, "x"}, "no field 'colour'");
    refuses({Change, Input, "a.r", "kind", "Real", "Object"}, "cannot take the place");
    refuses({Change, Node, "a", "type", "light", "x \"y\" {}"}, "cannot stand there");
    refuses({Change, Element, "a.r", "value", "1", "2"}, "no element");
    refuses({Remove, Node, "a", {}, "node light \"a\" {\n}"}, "as it was");
    refuses({Rename, Node, "a", {}, "a", "1"}, "no identifier");
    refuses({Add, Node, "a", {}, {}, "node light \"a\" {\n}"}, "already");
    refuses({Add, Input, "a.s", {}, {}, "Real t = 1"}, "of this name");
    refuses({Add, Input, "a.s", {}, {}, "Real s = 1", "q"}, "no 'q' to stand behind");
    refuses({Change, Input, "a.r[", "value", "1", "2"}, "no path");
    refuses({Change, Input, "", "value", "1", "2"}, "no node ''");
}

} // namespace
} // namespace qv::kelvo_sdk
