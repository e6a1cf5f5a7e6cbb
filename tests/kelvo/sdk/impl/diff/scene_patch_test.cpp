#include "kelvo/sdk/scene_diff.h"

#include "tests/support/log_capture.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

using tests::nodeText;
using tests::sceneOf;
using tests::textOf;
using Action = SceneChange::Action;
using Subject = SceneChange::Subject;

SceneDiff diffOf(std::initializer_list<SceneChange> changes) {
    SceneDiff diff;
    for (const SceneChange& change : changes)
        diff.add(change);
    return diff;
}

class ChangeCounter : SceneObserver {
public:
    explicit ChangeCounter(const Scene& scene) : m_scene(scene) { m_scene.subscribe(this); }
    ~ChangeCounter() override { m_scene.unsubscribe(static_cast<SceneObserver*>(this)); }
    ChangeCounter(const ChangeCounter&) = delete;
    ChangeCounter& operator=(const ChangeCounter&) = delete;
    int count = 0;

private:
    void inputChanged(const interfaces::IInput*, const impl::AttrData*) override { ++count; }

    Scene m_scene;
};

// Returns a scene with a step to redo.
Scene undone(std::string_view text) {
    const Scene scene = sceneOf(text);
    scene.setUndoEnabled(true);
    scene["n"]["r"].set(7.0);
    EXPECT_TRUE(scene.undo());
    return scene;
}

TEST(ScenePatch, ApplyTo_WithATextThatIsNoValue_TellsNobody) {
    const Scene scene = undone(nodeText("Real r = 1\nReal s = 1"));
    const ChangeCounter changes(scene);
    const String error = diffOf({{Action::Change, Subject::Input, "n.r", "value", "1", "2"},
                                 {Action::Change, Subject::Input, "n.s", "value", "1", "one"}})
                             .applyTo(scene)
                             .message();
    EXPECT_NE(error.view().find("one"), std::string_view::npos) << error.buf();
    EXPECT_EQ(changes.count, 0);
}

TEST(ScenePatch, ApplyTo_WithALinkToNothing_TellsNobody) {
    const Scene scene = undone(nodeText("Real r = 1\nNode l = null"));
    const ChangeCounter changes(scene);
    const String error = diffOf({{Action::Change, Subject::Input, "n.r", "value", "1", "2"},
                                 {Action::Change, Subject::Input, "n.l", "value", "null", "gone"}})
                             .applyTo(scene)
                             .message();
    EXPECT_NE(error.view().find("gone"), std::string_view::npos) << error.buf();
    EXPECT_EQ(changes.count, 0);
    EXPECT_EQ(scene.redoCount(), 1u);
}

TEST(ScenePatch, ApplyTo_ThatClosesALoop_LeavesSceneAndHistoryAsTheyWere) {
    const Scene scene = undone(nodeText("Real r = 1\nReal s = 1\noutput Real o"));
    const std::string was = textOf(scene);
    const tests::LogCapture log;
    const String error = diffOf({{Action::Change, Subject::Input, "n.r", "value", "1", "2"},
                                 {Action::Change, Subject::Input, "n.s", "source", {}, "n.o"}})
                             .applyTo(scene)
                             .message();
    EXPECT_NE(error.view().find("loop"), std::string_view::npos) << error.buf();
    EXPECT_TRUE(log.text().empty());
    EXPECT_EQ(textOf(scene), was);
    EXPECT_EQ(scene.undoCount(), 0u);
    EXPECT_EQ(scene.redoCount(), 1u);
}

TEST(ScenePatch, ApplyTo_OfTextsThatScenesWriteOtherwise_KeepsTheNodes) {
    const Scene scene = sceneOf(nodeText("Real r = 1\nNode l = null"));
    const Node kept = scene["n"];
    const Result isDone = diffOf({{Action::Change, Subject::Input, "n.r", "value", "1", "2.50"},
                                  {Action::Change, Subject::Input, "n.l", "value", "null", "N"}})
                              .applyTo(scene);
    EXPECT_TRUE(isDone) << isDone.message().buf();
    EXPECT_EQ(textOf(scene), nodeText("Real r = 2.5\nNode l = n"));
    EXPECT_EQ(scene["n"].get(), kept.get());
}

TEST(ScenePatch, ApplyTo_OfFileComments_MakesThemAsTheyRead) {
    struct Case {
        const char* comment;
        const char* expected;
        bool isKept;
    };
    for (const auto& [comment, expected, isKept] :
         {Case{"# a\n", "# a\n", true}, Case{"# a \n\n\n# b\n", "# a\n\n# b\n", false}}) {
        const Scene scene = sceneOf(nodeText("Real r = 1"));
        const Node kept = scene["n"];
        const Result isDone =
            diffOf({{Action::Change, Subject::Scene, "", "comment.leading", {}, comment}})
                .applyTo(scene);
        EXPECT_TRUE(isDone) << isDone.message().buf();
        EXPECT_EQ(textOf(scene), expected + nodeText("Real r = 1"));
        EXPECT_EQ(scene["n"].get() == kept.get(), isKept) << comment;
    }
}

// Texts cannot be nested as deep as these scenes.
TEST(ScenePatch, ApplyTo_OfValuesInDeepScenes_ChangesThem) {
    const auto nested = [](const char* value) {
        const Scene scene = sceneOf(nodeText(std::string("String s = ") + value));
        interfaces::IInput* input = scene["n"].createArray("outer", AttrType::Array).get();
        for (int level = 1; level < 201; ++level)
            input = input->createArray("0", AttrType::Array);
        return scene;
    };
    const Scene scene = nested("\"a\"");
    const auto diff = SceneDiff::between(scene, nested("\"b\""));
    EXPECT_EQ(diff.changes().size(), 1u) << diff.message().buf();
    const Result isDone = diff.applyTo(scene);
    EXPECT_TRUE(isDone) << isDone.message().buf();
    EXPECT_EQ(textOf(scene), textOf(nested("\"b\"")));
}

TEST(ScenePatch, Scenes_WithUnreadLines_AreNotCompared) {
    const Scene scene = Scene::create();
    Diagnostics gaps;
    EXPECT_TRUE(
        scene.read(nodeText("Real r = x").c_str(), "text", {.isPartial = true}, &gaps).isRead);
    const char* expected = "a scene has lines that could not be read.";
    EXPECT_EQ(SceneDiff::between(scene, scene).message(), expected);
    EXPECT_EQ(SceneDiff().applyTo(scene).message(), expected);
    std::vector<MergeConflict> conflicts;
    EXPECT_EQ(mergeScenes(scene, scene, scene, {}, Scene::create(), conflicts).message(), expected);
}

} // namespace
} // namespace qv::kelvo_sdk
