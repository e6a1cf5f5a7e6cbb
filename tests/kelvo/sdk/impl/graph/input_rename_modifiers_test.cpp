// Modifiers name inputs by text, which follows when an input is renamed.

#include "kelvo/kelvo.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/modifier_names.h"
#include "tests/support/journal.h"
#include "tests/support/log_capture.h"
#include "tests/support/modified_scene.h"
#include "tests/support/recording_observer.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace qv::kelvo_sdk {
namespace {

using tests::Journal;
using tests::LogCapture;
using tests::ModifiedScene;
using tests::RecordingObserver;
using tests::sceneOf;
using tests::textOf;

class InputRenameModified : public testing::Test {
protected:
    InputRenameModified() { m_scene.scene.setUndoEnabled(true); }
    std::string listOf(const char* modifier) {
        return m_scene[modifier]["modifies"].get<String>().buf();
    }
    ModifiedScene m_scene;
};

TEST_F(InputRenameModified, Modifiers_NameItByItsNewName) {
    const std::string before = textOf(m_scene.scene);
    ASSERT_TRUE(m_scene["n"]["a"].rename("c"));
    EXPECT_EQ(listOf("scale"), "c");
    EXPECT_EQ(listOf("offset"), "c");
    EXPECT_EQ(m_scene.valueOf("n", "c"), 5);
    EXPECT_EQ(m_scene.ownOf("n", "c"), 1);
    EXPECT_EQ(m_scene.scene.undoCount(), 1u);
    ASSERT_TRUE(m_scene.scene.undo());
    EXPECT_EQ(textOf(m_scene.scene), before);
    EXPECT_EQ(m_scene.valueOf("n"), 5);
    EXPECT_EQ(m_scene.ownOf("n"), 1);
}

TEST_F(InputRenameModified, Value_IsNotReportedAsAnother) {
    Journal journal;
    RecordingObserver observer("n", journal);
    m_scene["n"].subscribe(&observer);
    m_scene["n"]["a"].rename("c");
    m_scene["n"].unsubscribe(&observer);
    EXPECT_EQ(journal.take(), "n:changed=c");
}

TEST_F(InputRenameModified, ListsOfSeveralNames_KeepTheOthers) {
    for (const auto& [list, expected] : {std::pair("b,a,x", "b,c,x"), std::pair("a,c", "c"),
                                         std::pair("A,a", "c"), std::pair(" a,a", " a,c")}) {
        m_scene["scale"]["modifies"].set(String(list));
        ASSERT_TRUE(m_scene["n"]["a"].rename("c"));
        EXPECT_EQ(listOf("scale"), expected);
        ASSERT_TRUE(m_scene.scene.undo());
        EXPECT_EQ(listOf("scale"), list);
    }
}

TEST_F(InputRenameModified, ListThatNamesOthersToo_KeepsTheOldName) {
    const Node other = m_scene.scene.createNode("lamp", "other");
    other.createInput("a", AttrType::Real).set(7.0);
    other.createArray("modifiers", AttrType::Node).append().set(m_scene["scale"]);
    ASSERT_TRUE(m_scene["n"]["a"].rename("c"));
    EXPECT_EQ(listOf("scale"), "a,c");
    EXPECT_EQ(listOf("offset"), "c");
    EXPECT_EQ(m_scene.valueOf("other"), 21);
    EXPECT_EQ(m_scene.valueOf("n", "c"), 5);
}

TEST_F(InputRenameModified, ToANameThatAModifierWaitsFor_IsModified) {
    m_scene["offset"]["modifies"].set("later");
    ASSERT_EQ(m_scene.valueOf("n", "b"), 10);
    ASSERT_TRUE(m_scene["n"]["b"].rename("later"));
    EXPECT_EQ(m_scene.valueOf("n", "later"), 12);
}

TEST_F(InputRenameModified, SilentInputToANameThatAModifierWaitsFor_IsModified) {
    m_scene["offset"]["modifies"].set("later");
    m_scene.input("n", "b").setSilent(true);
    ASSERT_TRUE(m_scene["n"]["b"].rename("later"));
    EXPECT_EQ(m_scene.valueOf("n", "later"), 12);
}

TEST_F(InputRenameModified, TheListOfModifiers_CountsByItsName) {
    const Input list = m_scene["n"]["modifiers"];
    ASSERT_TRUE(list.rename("others"));
    EXPECT_EQ(m_scene.valueOf("n"), 1);
    ASSERT_TRUE(list.rename("modifiers"));
    EXPECT_EQ(m_scene.valueOf("n"), 5);
    ASSERT_TRUE(m_scene.scene.undo());
    EXPECT_EQ(m_scene.valueOf("n"), 1);
}

TEST(InputRenameModifiers, OfUnknownTypes_NameItByItsNewName) {
    const Scene scene = sceneOf(ModifiedScene::text);
    ASSERT_TRUE(scene["n"]["a"].rename("c"));
    EXPECT_EQ(scene["scale"]["modifies"].asString(), "c");
    EXPECT_EQ(scene["offset"]["modifies"].asString(), "c");
}

TEST_F(InputRenameModified, ListThatIsReadOnly_RefusesIt) {
    const std::string before = textOf(m_scene.scene);
    m_scene.input("offset", "modifies").setReadOnly(true);
    const LogCapture log;
    EXPECT_FALSE(m_scene["n"]["a"].rename("c"));
    EXPECT_EQ(log.text(), "error: Cannot rename input 'n.a' to 'c': 'offset.modifies' names it and "
                          "is read-only.\n");
    m_scene.input("offset", "modifies").setReadOnly(false);
    EXPECT_EQ(textOf(m_scene.scene), before);
}

TEST_F(InputRenameModified, ListThatDoesNotTakeTheNewName_RefusesIt) {
    const auto choices = RefersTo<impl::AttrDetails>::adopt(new impl::AttrDetails);
    for (const char* choice : {"a", "b"})
        choices->choices.push_back(impl::Value(String(choice)));
    m_scene.input("offset", "modifies").setDetails(choices);
    const LogCapture log;
    EXPECT_FALSE(m_scene["n"]["a"].rename("c"));
    EXPECT_EQ(log.text(), "error: Cannot rename input 'n.a' to 'c': 'offset.modifies' names it and "
                          "does not take the new name.\n");
    EXPECT_TRUE(m_scene["n"].hasInput("a"));
}

} // namespace
} // namespace qv::kelvo_sdk
