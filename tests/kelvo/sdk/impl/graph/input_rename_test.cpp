#include "kelvo/kelvo.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/name_index.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "tests/support/counting_layout.h"
#include "tests/support/journal.h"
#include "tests/support/log_capture.h"
#include "tests/support/recording_observer.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

namespace qv::kelvo_sdk {
namespace {

using tests::Journal;
using tests::LogCapture;
using tests::RecordingObserver;
using tests::sceneOf;
using tests::textOf;

constexpr const char* sceneText = R"(kelvo scene 1

# The lamp
node light "lamp" {
    # How big
    Real size = 1 # in metres
    Rgba color = (1 0 0 1) <- wood.color
    Node stand = wood
    Object shade {
        # Of the shade
        Real size = 2
        Real angle = 3
    }
    Array<Real> stops = [1, 2]
}

node material "wood" {
    Real size = 4
    output Rgba color
}
)";

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    const auto place = text.find(what);
    EXPECT_NE(place, text.npos) << what;
    return text.replace(place, what.size(), by);
}

// Returns the broken laws, one per line.
std::string errorsIn(const Scene& scene) {
    std::string lines;
    for (const IntegrityError& error : scene.verify())
        lines += (error.place + " " + error.message + "\n").view();
    return lines;
}

class InputRename : public testing::Test {
protected:
    InputRename() { m_scene.setUndoEnabled(true); }
    ~InputRename() override { EXPECT_EQ(errorsIn(m_scene), ""); }

    Scene m_scene = sceneOf(sceneText);
    Node m_lamp = m_scene["lamp"];
};

// ---- Look-ups and text -----------------------------------------------------------------------

TEST_F(InputRename, IsFoundByItsNewNameAtItsPlace) {
    const Input size = m_lamp["size"];
    EXPECT_TRUE(size.rename("extent"));
    EXPECT_EQ(size.path(), "lamp.extent");
    EXPECT_EQ(m_lamp.input(0), size);
    EXPECT_EQ(m_lamp["EXTENT"], size);
    EXPECT_FALSE(m_lamp.hasInput("size"));
}

TEST_F(InputRename, Text_FollowsWithCommentsAndConnections) {
    const std::string before = textOf(m_scene);
    ASSERT_TRUE(m_lamp["size"].rename("extent"));
    ASSERT_TRUE(m_lamp["color"].rename("tint"));
    ASSERT_TRUE(m_lamp["stand"].rename("foot"));
    std::string expected = replaced(before, "Real size = 1 #", "Real extent = 1 #");
    expected = replaced(replaced(expected, "color = (", "tint = ("), "stand", "foot");
    EXPECT_EQ(textOf(m_scene), expected);
    EXPECT_EQ(textOf(sceneOf(expected)), expected);
}

TEST_F(InputRename, MembersOfObjects_AreRenamedToo) {
    const std::string before = textOf(m_scene);
    const Input size = m_lamp["shade"]["size"];
    ASSERT_TRUE(size.rename("width"));
    EXPECT_EQ(m_lamp["shade"]["width"], size);
    EXPECT_EQ(textOf(m_scene), replaced(before, "Real size = 2", "Real width = 2"));
    ASSERT_TRUE(m_lamp["shade"].rename("cover"));
    EXPECT_EQ(size.path(), "lamp.cover.width");
}

TEST_F(InputRename, ToTheSameName_IsNoChange) {
    EXPECT_TRUE(m_lamp["size"].rename("size"));
    EXPECT_EQ(m_scene.undoCount(), 0u);
}

TEST_F(InputRename, ToOtherCase_IsAChange) {
    EXPECT_TRUE(m_lamp["size"].rename("SIZE"));
    EXPECT_EQ(m_lamp.input(0).name(), "SIZE");
    EXPECT_EQ(m_scene.undoCount(), 1u);
}

TEST_F(InputRename, Hashes_AreThoseOfAnInputMadeWithTheName) {
    const u64 before = m_lamp.hash();
    m_lamp["size"].rename("extent");
    m_lamp["shade"]["angle"].rename("tilt");
    EXPECT_NE(m_lamp.hash(), before);
    std::string text = replaced(sceneText, "Real size = 1", "Real extent = 1");
    text = replaced(text, "angle", "tilt");
    EXPECT_EQ(m_lamp.hash(), sceneOf(text)["lamp"].hash());
}

TEST_F(InputRename, Node_IsDirty) {
    m_lamp.setDirty(false);
    m_scene["wood"].setDirty(false);
    ASSERT_FALSE(m_lamp.dirty());
    m_lamp["size"].rename("extent");
    EXPECT_TRUE(m_lamp.dirty());
}

TEST_F(InputRename, InLongLists_IsFoundByItsNewNameAlone) {
    for (int i = 0; i < 40; ++i)
        m_lamp.createInput(String::format("in%d", i), AttrType::Int);
    const Input moved = m_lamp["in7"];
    ASSERT_TRUE(moved.rename("other"));
    EXPECT_EQ(m_lamp["other"], moved);
    EXPECT_FALSE(m_lamp.hasInput("in7"));
    const Input made = m_lamp.createInput("in7", AttrType::Int);
    EXPECT_EQ(m_lamp["in7"], made);
    ASSERT_TRUE(m_lamp.input(0).rename("first"));
    EXPECT_EQ(m_lamp["first"], m_lamp.input(0));
}

TEST_F(InputRename, OfOneOfSixteen_IsFoundByItsNewNameAlone) {
    while (m_lamp.inputCount() < 16)
        m_lamp.createInput(String::format("in%d", int(m_lamp.inputCount())), AttrType::Int);
    const Input moved = m_lamp["in7"];
    for (const char* name : {"a", "b", "c", "d"}) {
        ASSERT_TRUE(moved.rename(name));
        EXPECT_EQ(m_lamp[name], moved);
        EXPECT_FALSE(m_lamp.hasInput("in7"));
        EXPECT_EQ(impl::implOf(m_lamp.input(0).get())->listIndex()->size(), 16u);
    }
}

TEST_F(InputRename, OfTwoOfAName_OneLeavesItToTheOther) {
    for (int i = 0; i < 40; ++i)
        m_lamp.createInput(String::format("in%d", i), AttrType::Int);
    const Input first = m_lamp["in7"];
    const Input second = m_lamp.createInput("in7", AttrType::Real);
    ASSERT_NE(first, second);
    ASSERT_TRUE(first.rename("other"));
    EXPECT_EQ(m_lamp["in7"], second);
    ASSERT_TRUE(m_scene.undo());
    EXPECT_EQ(m_lamp["in7"], first);
}

TEST_F(InputRename, OfANodeInNoScene_WorksToo) {
    const Node free = m_lamp.copyByItself("free");
    EXPECT_TRUE(free["size"].rename("extent"));
    EXPECT_EQ(free.input(0).path(), "free.extent");
    EXPECT_EQ(m_scene.undoCount(), 0u);
}

// ---- Refusals --------------------------------------------------------------------------------

TEST_F(InputRename, Refused_TellsWhyAndChangesNothing) {
    const std::string before = textOf(m_scene);
    const struct {
        Input input;
        const char* name;
        const char* expected;
    } cases[] = {
        {m_lamp["size"], "a b", "'lamp.size' to 'a b': that is no simple identifier."},
        {m_lamp["size"], "", "'lamp.size' to '': that is no simple identifier."},
        {m_lamp["size"], "Color",
         "'lamp.size' to 'Color': there is an input 'lamp.color' already."},
        {m_lamp["shade"]["size"], "ANGLE",
         "'lamp.shade.size' to 'ANGLE': there is an input 'lamp.shade.angle' already."},
        {m_lamp["stops"].input(0), "x",
         "'lamp.stops[0]' to 'x': an element is named by its place."},
        {Input::create(AttrType::Int), "x", "'value' to 'x': it belongs to no node."},
    };
    for (const auto& each : cases) {
        const LogCapture log;
        EXPECT_FALSE(each.input.rename(each.name));
        EXPECT_EQ(log.text(), std::string("error: Cannot rename input ") + each.expected + "\n");
    }
    EXPECT_EQ(textOf(m_scene), before);
    EXPECT_EQ(m_scene.undoCount(), 0u);
    EXPECT_FALSE(Input().rename("x"));
}

TEST_F(InputRename, OfMembersOfReadOnlyObjects_IsRefused) {
    impl::implOf(m_lamp["shade"].get())->setReadOnly(true);
    const LogCapture log;
    EXPECT_FALSE(m_lamp["shade"]["size"].rename("width"));
    EXPECT_EQ(log.text(),
              "error: Cannot rename input 'lamp.shade.size' to 'width': 'lamp.shade' is "
              "read-only.\n");
}

TEST_F(InputRename, OfARemovedInput_IsRefused) {
    const Input size = m_lamp["size"];
    m_lamp.removeInput("size");
    const LogCapture log;
    EXPECT_FALSE(size.rename("extent"));
    ASSERT_TRUE(m_scene.undo());
    EXPECT_EQ(m_lamp["size"], size);
}

TEST_F(InputRename, OfAnInputThatIsBeingRemoved_IsRefused) {
    struct Renames : SceneObserver {
        void inputRemoved(const interfaces::IInput* input) override {
            const Input removed(const_cast<interfaces::IInput*>(input));
            EXPECT_FALSE(removed.rename("extent"));
            for (const Input& member : removed.inputs())
                EXPECT_FALSE(member.rename("extent"));
        }
    } renames;
    const std::string before = textOf(m_scene);
    const LogCapture log;
    m_scene.subscribe(&renames);
    m_lamp.removeInput("size");
    m_lamp.removeInput("shade");
    m_scene.unsubscribe(&renames);
    EXPECT_NE(log.text().find("it belongs to no node."), std::string::npos);
    m_scene.undo();
    m_scene.undo();
    EXPECT_EQ(textOf(m_scene), before);
}

// ---- Undo ------------------------------------------------------------------------------------

TEST_F(InputRename, Undo_GivesTheOldNameBackAndRedoTheNewOne) {
    const std::string before = textOf(m_scene);
    ASSERT_TRUE(m_lamp["size"].rename("extent"));
    const std::string after = textOf(m_scene);
    EXPECT_EQ(m_scene.undoStep(0).doText, "Rename input 'lamp.size' to 'extent'");
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(m_scene.undo());
        EXPECT_EQ(textOf(m_scene), before);
        EXPECT_EQ(m_scene.redoStep(0).doText, "Rename input 'lamp.size' to 'extent'");
        ASSERT_TRUE(m_scene.redo());
        EXPECT_EQ(textOf(m_scene), after);
    }
}

TEST_F(InputRename, Undo_OfMembersTellsTheirPath) {
    ASSERT_TRUE(m_lamp["shade"]["size"].rename("width"));
    EXPECT_EQ(m_scene.undoStep(0).doText, "Rename input 'lamp.shade.size' to 'width'");
    EXPECT_EQ(m_scene.undoStep(0).touched[0], "lamp.shade.width");
}

TEST_F(InputRename, Cancelled_GivesTheOldNameBack) {
    const std::string before = textOf(m_scene);
    {
        const Scene::UndoScope edit(m_scene, "Edit", "Edit");
        ASSERT_TRUE(m_lamp["size"].rename("extent"));
        edit.cancel();
    }
    EXPECT_EQ(textOf(m_scene), before);
}

// ---- Notifications ---------------------------------------------------------------------------

class Renamings : public SceneObserver, public BatchObserver {
public:
    void inputRenamed(const interfaces::IInput* input, String before) override {
        told += (before + ">" + input->path() + " ").view();
        if (then) then();
    }
    void sceneChanged(const SceneChanges& changes) override {
        for (const auto& [input, before] : changes.renamedInputs)
            batch += (before + ">" + input->path() + " ").view();
        batch += "|";
    }
    std::string told, batch;
    std::function<void()> then;
};

TEST_F(InputRename, Observers_AreNotifiedOnce) {
    Renamings renamings;
    Journal journal;
    RecordingObserver observer("lamp", journal);
    m_scene.subscribe(static_cast<SceneObserver*>(&renamings));
    m_scene.subscribe(static_cast<BatchObserver*>(&renamings));
    m_lamp.subscribe(&observer);
    m_lamp["size"].rename("extent");
    EXPECT_EQ(renamings.told, "size>lamp.extent ");
    EXPECT_EQ(renamings.batch, "size>lamp.extent |");
    EXPECT_EQ(journal.take(), "lamp:changed=extent");
    m_scene.undo();
    EXPECT_EQ(renamings.told, "size>lamp.extent extent>lamp.size ");
    m_scene.unsubscribe(static_cast<SceneObserver*>(&renamings));
    m_scene.unsubscribe(static_cast<BatchObserver*>(&renamings));
    m_lamp.unsubscribe(&observer);
}

TEST_F(InputRename, Batches_TellTheSum) {
    Renamings renamings;
    m_scene.subscribe(static_cast<BatchObserver*>(&renamings));
    {
        const Scene::UndoScope edit(m_scene, "Edit", "Edit");
        m_lamp["size"].rename("a");
        m_lamp["a"].rename("b");
        m_lamp["color"].rename("c");
        m_lamp["c"].rename("color");
    }
    EXPECT_EQ(renamings.batch, "size>lamp.b |");
    m_scene.unsubscribe(static_cast<BatchObserver*>(&renamings));
}

TEST_F(InputRename, ObserversThatDoNotKnowOfIt_AreNotifiedOfARemovalAndAnAddition) {
    struct Plain : SceneObserver {
        void inputAdded(const interfaces::IInput* input) override { told += "+", add(input); }
        void inputRemoved(const interfaces::IInput* input) override { told += "-", add(input); }
        void add(const interfaces::IInput* input) { told += input->path().view(); }
        std::string told;
    } plain;
    m_scene.subscribe(&plain);
    m_lamp["size"].rename("extent");
    m_scene.unsubscribe(&plain);
    EXPECT_EQ(plain.told, "-lamp.extent+lamp.extent");
}

TEST_F(InputRename, Silent_IsWithoutNotification) {
    const Scene scene = sceneOf(replaced(sceneText, "Real size = 4", "Real size = 4 @silent"));
    Renamings renamings;
    scene.subscribe(static_cast<SceneObserver*>(&renamings));
    EXPECT_TRUE(scene["wood"]["size"].rename("extent"));
    EXPECT_EQ(renamings.told, "");
    scene.unsubscribe(static_cast<SceneObserver*>(&renamings));
}

TEST_F(InputRename, ObserverThatRemovesTheNode_EndsNothingElse) {
    Renamings renamings;
    renamings.then = [&] { m_scene.removeNode(m_lamp); };
    m_scene.subscribe(static_cast<SceneObserver*>(&renamings));
    EXPECT_TRUE(m_lamp["size"].rename("extent"));
    m_scene.unsubscribe(static_cast<SceneObserver*>(&renamings));
    EXPECT_FALSE(m_scene["lamp"]);
    ASSERT_TRUE(m_scene.undo());
    EXPECT_EQ(textOf(m_scene), textOf(sceneOf(sceneText)));
}

// ---- References by name ----------------------------------------------------------------------

TEST(InputRenameLayout, Pages_ShowItByItsNewName) {
    const LibInfo library = LibInfo::create();
    ASSERT_TRUE(
        library.readDefinitions("type lamp {\n    Real power = 1\n    Real size = 2\n    page "
                                "\"P\" {\n        size, power\n    }\n}\n",
                                "types.knd"));
    const Scene scene = Scene::create();
    scene.addLibrary(library);
    scene.setUndoEnabled(true);
    const Node lamp = scene.createNode("lamp", "lamp");
    const Node other = scene.createNode("lamp", "other");
    const auto shown = [](const Node& node) {
        std::string names;
        const ds::Vector<LayoutPage> pages = node.layoutPages();
        for (const Input& input : pages[0].groups[0].inputs)
            names += (input.name() + " ").view();
        return names;
    };
    ASSERT_TRUE(lamp["size"].rename("extent"));
    EXPECT_EQ(shown(lamp), "extent power ");
    EXPECT_EQ(shown(other), "size power ");
    ASSERT_TRUE(scene.undo());
    EXPECT_EQ(shown(lamp), "size power ");
    ASSERT_TRUE(scene.redo());
    EXPECT_EQ(shown(lamp), "extent power ");
}

// Returns a scene that knows a type with an input "size" on its page.
Scene makeSceneWithPage() {
    const LibInfo library = LibInfo::create();
    EXPECT_TRUE(library.readDefinitions(
        "type lamp {\n    Real size = 2\n    page \"P\" {\n        size\n    }\n}\n", "types.knd"));
    const Scene scene = Scene::create();
    scene.addLibrary(library);
    scene.setUndoEnabled(true);
    return scene;
}

TEST(InputRenameLayout, SecondOfAName_LeavesTheFirstOnItsPage) {
    const Scene scene = makeSceneWithPage();
    const Node lamp = scene.createNode("lamp", "lamp");
    ASSERT_TRUE(lamp.createInput("size", AttrType::String).rename("other"));
    const ds::Vector<LayoutPage> pages = lamp.layoutPages();
    ASSERT_EQ(pages[0].groups[0].inputs.size(), 1u);
    EXPECT_EQ(pages[0].groups[0].inputs[0], lamp["size"]);
}

TEST(InputRenameLayout, LayoutThatTheNodeGotMeanwhile_Stays) {
    tests::CountingLayout own;
    const Scene scene = makeSceneWithPage();
    const Node lamp = scene.createNode("lamp", "lamp");
    ASSERT_TRUE(lamp["size"].rename("extent"));
    lamp->setLayout(&own);
    ASSERT_TRUE(scene.undo());
    EXPECT_EQ(impl::implOf(lamp.get())->layout(), &own);
}

TEST(InputRenameText, WhatATypeDefines_ReadsBack) {
    const Scene scene = Scene::create();
    scene.addLibrary(LibInfo::standard());
    const Node lamp = scene.createNode("pointLight", "lamp");
    const u64 count = lamp.inputCount();
    ASSERT_TRUE(lamp["intensity"].rename("power"));
    const Scene copy = Scene::create();
    copy.addLibrary(LibInfo::standard());
    ASSERT_TRUE(copy.read(scene.text(), "copy"));
    EXPECT_EQ(copy["lamp"].inputCount(), count);
    EXPECT_TRUE(copy["lamp"].hasInput("power"));
    EXPECT_FALSE(copy["lamp"].hasInput("intensity"));
    EXPECT_EQ(textOf(copy), textOf(scene));
}

TEST(InputRenameText, UnreadLines_StayInFrontOfIt) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const char* const text = "kelvo scene 1\n\nnode t \"n\" {\n    Real a = 1\n    what is this\n"
                             "    Real b = 2\n    Object o {\n        nor this\n        Int c = 3\n"
                             "        Int d = 4\n    }\n}\n";
    ASSERT_TRUE(scene.read(text, "text", ReadOptions{.isPartial = true}).isRead);
    const std::string before = textOf(scene);
    ASSERT_TRUE(scene["n"]["b"].rename("renamed"));
    ASSERT_TRUE(scene["n"]["o"]["c"].rename("inside"));
    std::string expected = replaced(before, "Real b", "Real renamed");
    EXPECT_EQ(textOf(scene), replaced(expected, "Int c", "Int inside"));
    scene.undo();
    scene.undo();
    EXPECT_EQ(textOf(scene), before);
}

TEST(InputRenameText, UnreadLinesThatWaitForTheNewName_WaitForItStillWhenItIsUndone) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const char* const text = "kelvo scene 1\n\nnode t \"n\" {\n    one\n    Real a = 1\n    two\n"
                             "    Real b = 2\n    Real c = 3\n}\n";
    ASSERT_TRUE(scene.read(text, "text", ReadOptions{.isPartial = true}).isRead);
    scene["n"].removeInput("b");
    const std::string before = textOf(scene);
    ASSERT_TRUE(scene["n"]["a"].rename("b"));
    const std::string after = textOf(scene);
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(scene.undo());
        EXPECT_EQ(textOf(scene), before);
        ASSERT_TRUE(scene.redo());
        EXPECT_EQ(textOf(scene), after);
    }
    ASSERT_TRUE(scene.undo() && scene.undo());
    EXPECT_EQ(textOf(scene), text);
}

TEST(InputRenameEvaluation, KeptResults_AreThoseOfTheNewName) {
    const Scene scene = Scene::create();
    scene.addLibrary(LibInfo::standard());
    scene.setUndoEnabled(true);
    scene.setEvalCache(u64{1} << 20);
    const Node sum = scene.createNode("add", "sum");
    sum["a"].set(1.0);
    sum["b"].set(2.0);
    ASSERT_EQ(sum.output("result").get<double>(-1), 3);
    ASSERT_TRUE(sum["a"].rename("x"));
    {
        const LogCapture log;
        EXPECT_EQ(sum.output("result").get<double>(-1), -1);
        EXPECT_EQ(log.text(), "error: Input 'a' not found in 'add' node 'sum'.\n");
    }
    ASSERT_TRUE(scene.undo());
    EXPECT_EQ(sum.output("result").get<double>(-1), 3);
}

} // namespace
} // namespace qv::kelvo_sdk
