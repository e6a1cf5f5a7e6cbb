#include "tests/support/journal.h"
#include "tests/support/log_capture.h"
#include "tests/support/modified_scene.h"
#include "tests/support/recording_observer.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::LogCapture;
using tests::ModifiedScene;
using tests::RecordingObserver;

class SceneModifiers : public testing::Test {
protected:
    ModifiedScene m_scene;
};

// ---- Applied ---------------------------------------------------------------------------------

TEST_F(SceneModifiers, OfANode_WriteInOrder) {
    EXPECT_EQ(m_scene.valueOf("n"), 5);
    EXPECT_EQ(m_scene.valueOf("n", "b"), 10);
}

TEST_F(SceneModifiers, UsersValue_IsKeptAside) {
    ASSERT_NE(m_scene.input("n", "a").stashed(), nullptr);
    EXPECT_EQ(m_scene.input("n", "a").stashed()->asReal(), 1);
    EXPECT_EQ(m_scene.input("n", "b").stashed(), nullptr);
    EXPECT_EQ(m_scene.ownOf("n"), 1);
}

TEST_F(SceneModifiers, WhatTheUserSetsLater_TakesItsPlaceAndIsModified) {
    EXPECT_TRUE(m_scene["n"]["a"].set(2.0));
    EXPECT_EQ(m_scene.valueOf("n"), 8);
    EXPECT_EQ(m_scene.ownOf("n"), 2);
}

TEST_F(SceneModifiers, UserSettingWhatModifiersMade_IsAChange) {
    EXPECT_TRUE(m_scene["n"]["a"].set(5.0));
    EXPECT_EQ(m_scene.ownOf("n"), 5);
    EXPECT_EQ(m_scene.valueOf("n"), 17);
}

TEST_F(SceneModifiers, AModifierThatChanges_IsAppliedAgain) {
    m_scene["scale"]["factor"].set(10.0);
    EXPECT_EQ(m_scene.valueOf("n"), 12);
    m_scene["offset"]["modifies"].set(String("b"));
    EXPECT_EQ(m_scene.valueOf("n"), 10);
    EXPECT_EQ(m_scene.valueOf("n", "b"), 12);
}

TEST_F(SceneModifiers, ChangedSourceOfAModifier_AppliesItAgain) {
    const auto number = m_scene.scene.createNode("realValue", "number");
    m_scene["scale"]["factor"].connect(number.output("result"));
    EXPECT_EQ(m_scene.valueOf("n"), 2);
    number["value"].set(4.0);
    EXPECT_EQ(m_scene.valueOf("n"), 6);
    m_scene["scale"]["factor"].disconnect();
    EXPECT_EQ(m_scene.valueOf("n"), 5);
}

TEST_F(SceneModifiers, OrderOfTheList_IsTheOrderOfWriting) {
    m_scene["n"]["modifiers"]->moveElement(0, 1);
    EXPECT_EQ(m_scene.valueOf("n"), 9);
}

TEST_F(SceneModifiers, AddedAndRemoved_CountAtOnce) {
    m_scene["n"]["modifiers"].append().set(m_scene["offset"]);
    EXPECT_EQ(m_scene.valueOf("n"), 7);
    m_scene["n"]["modifiers"]->removeInput(u64(0));
    EXPECT_EQ(m_scene.valueOf("n"), 5);
    m_scene["n"]["modifiers"]->clearInputs();
    EXPECT_EQ(m_scene.valueOf("n"), 1);
    EXPECT_EQ(m_scene.input("n", "a").stashed(), nullptr);
}

TEST_F(SceneModifiers, WithoutTheirList_GiveTheUsersValueBack) {
    m_scene["n"].removeInput("modifiers");
    EXPECT_EQ(m_scene.valueOf("n"), 1);
    EXPECT_FALSE(m_scene.get("n")->modifying());
}

TEST_F(SceneModifiers, ThatLeaveTheScene_WriteNoMore) {
    m_scene.scene.removeNode(m_scene["scale"]);
    EXPECT_EQ(m_scene.valueOf("n"), 3);
}

TEST_F(SceneModifiers, Disabled_LeaveTheUsersValue) {
    m_scene["scale"]["enabled"].set(false);
    EXPECT_EQ(m_scene.valueOf("n"), 3);
    m_scene["offset"]["enabled"].set(false);
    EXPECT_EQ(m_scene.valueOf("n"), 1);
}

TEST_F(SceneModifiers, EmptyElementsAndOtherNodes_ArePassedOver) {
    m_scene["n"]["modifiers"].append();
    m_scene["n"]["modifiers"].append().set(m_scene["n"]);
    EXPECT_EQ(m_scene.valueOf("n"), 5);
}

TEST_F(SceneModifiers, InputsAtAnyDepth_AreModified) {
    const auto own = m_scene["n"].createInput("own", AttrType::Object);
    own.createInput("a", AttrType::Real).set(4.0);
    EXPECT_EQ(m_scene["n"]["own"]["a"].get<double>(), 14);
}

TEST_F(SceneModifiers, OfAModifier_AreAppliedFirst) {
    const auto first = m_scene.scene.createNode("offsetModifier", "first");
    first["modifies"].set(String("factor"));
    first["amount"].set(1.0);
    m_scene["scale"].createArray("modifiers", AttrType::Node).append().set(first);
    EXPECT_EQ(m_scene.valueOf("n"), 6);
    first["amount"].set(7.0);
    EXPECT_EQ(m_scene.valueOf("n"), 12);
}

TEST_F(SceneModifiers, OfOneThingOnTwoWays_SeeEachOthersResults) {
    // "n" depends on the value of "m", and both depend on "shared".
    const auto shared = m_scene.scene.createNode("scaleModifier", "shared");
    shared["modifies"].set(String("a,value"));
    const auto m = m_scene.scene.createNode("realValue", "m");
    m["value"].set(1.0);
    m_scene["n"]["modifiers"].append().set(shared);
    m.createArray("modifiers", AttrType::Node).append().set(shared);
    m_scene["scale"]["factor"].connect(m.output("result"));
    shared["factor"].set(2.0);
    EXPECT_EQ(m_scene.valueOf("n"), (1 * 2 + 2) * 2);
}

TEST_F(SceneModifiers, InALoop_AreAppliedOnceForAChange) {
    const auto m = m_scene.scene.createNode("realValue", "m");
    m.createInput("other", AttrType::Node).set(m_scene["n"]);
    m_scene["scale"]["factor"].connect(m.output("result"));
    const auto back = m_scene.scene.createNode("offsetModifier", "back");
    back["modifies"].set(String("value"));
    back["amount"].set(1.0);
    back.createInput("other", AttrType::Node).set(m_scene["n"]);
    m.createArray("modifiers", AttrType::Node).append().set(back);
    const LogCapture log;
    m["value"].set(3.0);
    EXPECT_EQ(m_scene.valueOf("n"), 6);
    EXPECT_EQ(log.text(), "");
}

// ---- Failures --------------------------------------------------------------------------------

TEST_F(SceneModifiers, OneThatAnswersFalse_LeavesWhatItWrote) {
    m_scene.addCustom("n", [](INode* node) { return !node->input("a")->setReal(50); });
    m_scene["n"]["modifiers"].append().set(m_scene["offset"]);
    EXPECT_EQ(m_scene.valueOf("n"), 52);
}

TEST_F(SceneModifiers, OneThatThrows_IsLoggedAndTheNextAreCalled) {
    const LogCapture log;
    m_scene.addCustom("n", [](INode* node) -> bool {
        node->input("a")->setReal(50);
        throw std::runtime_error("worn out");
    });
    EXPECT_EQ(log.text(), "error: The modify callback of node 'custom' threw: worn out.\n");
    EXPECT_EQ(m_scene.valueOf("n"), 50);
    EXPECT_FALSE(m_scene.get("n")->modifying());
    m_scene["n"]["modifiers"].append().set(m_scene["offset"]);
    EXPECT_EQ(m_scene.valueOf("n"), 52);
}

TEST_F(SceneModifiers, WhatTheyWriteToInputsTheyDoNotName_IsPutAsideToo) {
    m_scene.addCustom("n", [](INode* node) { return node->input("b")->setReal(50); });
    EXPECT_EQ(m_scene.valueOf("n", "b"), 50);
    EXPECT_EQ(m_scene.ownOf("n", "b"), 10);
    m_scene["n"]["modifiers"]->clearInputs();
    EXPECT_EQ(m_scene.valueOf("n", "b"), 10);
}

TEST_F(SceneModifiers, OneThatLeavesInItsOwnCall_IsGoneAfterwards) {
    m_scene.addCustom("n", [this](INode* node) {
        node->input("a")->setReal(50);
        return m_scene.scene.removeNode(m_scene["custom"]);
    });
    EXPECT_FALSE(m_scene["custom"]);
    EXPECT_EQ(m_scene.valueOf("n"), 5);
    EXPECT_EQ(m_scene.ownOf("n"), 1);
}

TEST_F(SceneModifiers, OneThatRemovesTheNode_LeavesTheUsersValues) {
    const auto node = m_scene["n"];
    m_scene.addCustom("n", [this, node](INode*) {
        node["a"].set(50.0);
        return m_scene.scene.removeNode(node);
    });
    EXPECT_FALSE(m_scene["n"]);
    EXPECT_EQ(node["a"].get<double>(), 1);
    EXPECT_FALSE(static_cast<Node*>(node.get())->modifying());
}

TEST_F(SceneModifiers, OneThatChangesItsOwnList_ComesToAnEnd) {
    const LogCapture log;
    m_scene.addCustom("n", [this](INode*) {
        m_scene["n"]["modifiers"].append();
        return true;
    });
    EXPECT_EQ(log.text(), "error: The modifiers of node 'n' come to no end: each time something "
                          "changes that they depend on.\n");
    EXPECT_LT(m_scene["n"]["modifiers"].inputCount(), 100u);
}

// ---- Notifications ---------------------------------------------------------------------------

TEST_F(SceneModifiers, Observers_AreNotifiedOfTheUsersValueAndOnceOfTheResult) {
    struct Watcher : SceneObserver {
        void inputChanged(const IInput* input, const AttrData* previous) override {
            const auto* node = static_cast<const Node*>(input->node());
            heard += std::string(node->modifying() ? "modified " : "set ") + input->path().buf() +
                     " " + std::to_string(int(previous->value.asReal())) + ">" +
                     std::to_string(int(static_cast<const Input*>(input)->value().asReal())) + ";";
        }
        std::string heard;
    } watcher;
    m_scene.scene.subscribe(&watcher);
    m_scene["n"]["a"].set(2.0);
    EXPECT_EQ(watcher.heard, "set n.a 1>2;modified n.a 2>8;");
    watcher.heard.clear();
    m_scene["scale"]["factor"].set(4.0);
    EXPECT_EQ(watcher.heard, "set scale.factor 3>4;modified n.a 8>10;");
    m_scene.scene.unsubscribe(&watcher);
}

TEST_F(SceneModifiers, UnchangedValue_IsNotNotified) {
    Journal journal;
    RecordingObserver observer("o", journal);
    m_scene["n"].subscribe(&observer);
    m_scene["n"]->setDirty(false);
    m_scene["scale"].createInput("note", AttrType::Real).set(1.0);
    static_cast<Scene*>(m_scene.scene.get())->applyModifiers(m_scene["n"].get());
    EXPECT_EQ(journal.take(), "");
    EXPECT_FALSE(m_scene.get("n")->isDirty());
    m_scene["scale"]["factor"].set(4.0);
    EXPECT_EQ(journal.take(), "o:changed=a");
    EXPECT_TRUE(m_scene.get("n")->isDirty());
    m_scene["n"].unsubscribe(&observer);
}

TEST_F(SceneModifiers, WhatAnObserverSetsMeanwhile_IsTheUsers) {
    struct Watcher : SceneObserver {
        void inputChanged(const IInput* input, const AttrData*) override {
            auto* node = static_cast<Node*>(input->node());
            if (!node->modifying() || done) return;
            done = true;
            node->input("b")->setReal(7);
            node->input("a")->setReal(4);
        }
        bool done = false;
    } watcher;
    m_scene.scene.subscribe(&watcher);
    m_scene["scale"]["factor"].set(10.0);
    m_scene.scene.unsubscribe(&watcher);
    EXPECT_EQ(m_scene.ownOf("n"), 4);
    EXPECT_EQ(m_scene.valueOf("n"), 42);
    EXPECT_EQ(m_scene.ownOf("n", "b"), 7);
}

// Records for each change whether the node reports that modifiers made it; sets "b" during the
// first.
struct ModifyingNotes : SceneObserver {
    void inputChanged(const IInput* input, const AttrData*) override {
        auto* node = static_cast<Node*>(input->node());
        note(*node, input->path().buf());
        if (!node->modifying() || isDone) return;
        isDone = true;
        node->input("b")->setReal(7);
        note(*node, "after it");
    }
    void note(const Node& node, const char* what) {
        heard += std::string(what) + (node.modifying() ? " modified; " : " set; ");
    }
    std::string heard;
    bool isDone = false;
};

TEST_F(SceneModifiers, WhatAnObserverSetsMeanwhile_IsReportedAsSet) {
    ModifyingNotes notes;
    m_scene.scene.subscribe(&notes);
    m_scene["scale"]["factor"].set(10.0);
    m_scene.scene.unsubscribe(&notes);
    EXPECT_EQ(notes.heard, "scale.factor set; n.a modified; n.b set; after it modified; ");
}

TEST_F(SceneModifiers, NodeThatIsMarkedWithoutModifiers_IsReportedAsMarked) {
    ModifyingNotes notes;
    notes.isDone = true;
    m_scene.get("scale")->beginModification();
    m_scene.scene.subscribe(&notes);
    m_scene["scale"]["factor"].set(10.0);
    m_scene.scene.unsubscribe(&notes);
    EXPECT_EQ(notes.heard.substr(0, notes.heard.find(';')), "scale.factor modified");
    m_scene.get("scale")->endModification();
}

TEST_F(SceneModifiers, AnObserverThatThrows_LeavesTheSceneWorking) {
    struct Thrower : SceneObserver {
        void inputChanged(const IInput* input, const AttrData*) override {
            if (static_cast<Node*>(input->node())->modifying()) throw std::runtime_error("no");
        }
    } thrower;
    m_scene.scene.subscribe(&thrower);
    EXPECT_THROW(m_scene["n"]["a"].set(2.0), std::runtime_error);
    m_scene.scene.unsubscribe(&thrower);
    EXPECT_FALSE(m_scene.get("n")->modifying());
    m_scene["n"]["a"].set(3.0);
    EXPECT_EQ(m_scene.valueOf("n"), 11);
}

TEST_F(SceneModifiers, KeptResults_AreForgotten) {
    m_scene.scene.setEvalCache(1 << 20, true);
    const auto sum = m_scene.scene.createNode("add", "sum");
    const auto number = m_scene.scene.createNode("realValue", "number");
    number.createArray("modifiers", AttrType::Node).append().set(m_scene["offset"]);
    m_scene["offset"]["modifies"].set(String("value"));
    sum["a"].connect(number.output("result"));
    const auto reader = m_scene.scene.createNode("t", "reader");
    const auto in = reader.createInput("in", AttrType::Real);
    in.connect(sum.output("result"));
    EXPECT_EQ(in.get<double>(), 2);
    m_scene["offset"]["amount"].set(5.0);
    const LogCapture log;
    EXPECT_EQ(in.get<double>(), 5);
    EXPECT_EQ(log.text(), "");
}

// ---- Leaving ---------------------------------------------------------------------------------

TEST_F(SceneModifiers, ANodeThatLeavesTheScene_HasTheUsersValues) {
    const auto node = m_scene["n"];
    m_scene.scene.removeNode(node);
    EXPECT_EQ(node["a"].get<double>(), 1);
    m_scene["scale"]["factor"].set(10.0);
    EXPECT_EQ(node["a"].get<double>(), 1);
}

TEST_F(SceneModifiers, ANodeThatOutlivesTheScene_HasTheUsersValues) {
    const auto node = m_scene["n"];
    m_scene.scene = kelvo_sdk::Scene();
    EXPECT_EQ(node["a"].get<double>(), 1);
}

TEST_F(SceneModifiers, ANodeThatComesBack_IsModifiedAgain) {
    const auto node = m_scene["n"];
    m_scene.scene.removeNode(node);
    static_cast<Scene*>(m_scene.scene.get())->addNode(static_cast<Node*>(node.get()));
    EXPECT_EQ(node["a"].get<double>(), 5);
}

TEST_F(SceneModifiers, ALinkPutAside_FollowsItsNode) {
    m_scene["n"].createInput("paint", AttrType::Node).set(m_scene["scale"]);
    m_scene.addCustom(
        "n", [this](INode* node) { return node->input("paint")->setNode(m_scene.get("offset")); },
        "paint");
    ASSERT_EQ(m_scene["n"]["paint"].asNode(false, nullptr), m_scene["offset"]);
    m_scene["scale"].convertTo("scaleModifier");
    EXPECT_EQ(m_scene.input("n", "paint").ownValue().asNode(), m_scene.get("scale"));
    m_scene.scene.removeNode(m_scene["scale"]);
    EXPECT_EQ(m_scene.input("n", "paint").ownValue().asNode(), nullptr);
    EXPECT_EQ(m_scene["n"]["paint"].asNode(false, nullptr), m_scene["offset"]);
}

// ---- Copies ----------------------------------------------------------------------------------

TEST_F(SceneModifiers, OfACopy_ModifyWhatTheUserSet) {
    const auto copy = m_scene["n"].clone();
    EXPECT_EQ(copy["a"].get<double>(), 5);
    copy["a"].set(2.0);
    EXPECT_EQ(copy["a"].get<double>(), 8);
    EXPECT_EQ(m_scene.valueOf("n"), 5);
}

TEST_F(SceneModifiers, OfADeepCopy_AreItsOwn) {
    const auto copy = m_scene["n"].clone(true);
    m_scene["scale1"]["factor"].set(10.0);
    EXPECT_EQ(copy["a"].get<double>(), 12);
    EXPECT_EQ(m_scene.valueOf("n"), 5);
}

TEST_F(SceneModifiers, OfAConvertedNode_ModifyWhatTheUserSet) {
    const auto old = m_scene["n"];
    const auto replacement = old.convertTo("desk");
    EXPECT_EQ(replacement["a"].get<double>(), 5);
    EXPECT_EQ(m_scene.ownOf("n"), 1);
    EXPECT_EQ(old["a"].get<double>(), 1);
}

TEST_F(SceneModifiers, OfAConvertedNode_LeaveTheUsersValueOutsideOfItsBounds) {
    const ModifiedScene scene(R"(kelvo scene 1

node scaleModifier "scale" {
    String modifies = "a"
    Real factor = 0.5
}

node lamp "n" {
    Array<Node> modifiers = [scale]
    Real a = 16 @max 10 @unchecked
}
)");
    EXPECT_EQ(scene.valueOf("n"), 8);
    scene["n"].convertTo("desk");
    EXPECT_EQ(scene.ownOf("n"), 16);
}

TEST_F(SceneModifiers, Converted_WriteAsTheirNewType) {
    ConversionLosses losses;
    m_scene["scale"].convertTo("offsetModifier", &losses)["amount"].set(20.0);
    EXPECT_EQ(m_scene.valueOf("n"), 23);
}

// ---- Text ------------------------------------------------------------------------------------

TEST_F(SceneModifiers, Text_HasWhatTheUserSet) {
    EXPECT_EQ(tests::textOf(m_scene.scene), ModifiedScene::text);
}

TEST_F(SceneModifiers, TextReadBack_IsModifiedAgain) {
    const ModifiedScene again(tests::textOf(m_scene.scene));
    EXPECT_EQ(again.valueOf("n"), 5);
    EXPECT_EQ(again.ownOf("n"), 1);
}

TEST_F(SceneModifiers, OfTextWithAValuePutAside_StartFromThat) {
    const ModifiedScene scene(R"(kelvo scene 1

node scaleModifier "scale" {
    String modifies = "a"
    Real factor = 3
}

node lamp "n" {
    Array<Node> modifiers = [scale]
    Real a = 40 @stashed 2
}
)");
    EXPECT_EQ(scene.valueOf("n"), 6);
    EXPECT_EQ(scene.ownOf("n"), 2);
}

TEST_F(SceneModifiers, TextWithoutModifiers_KeepsWhatIsPutAside) {
    const std::string text = "kelvo scene 1\n\nnode lamp \"n\" {\n    Real a = 4 @stashed 2\n}\n";
    EXPECT_EQ(tests::rewritten(text), text);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
