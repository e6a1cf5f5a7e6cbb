// Inputs with modified values are removed from their node, and restored by undo.
#include "tests/support/journal.h"
#include "tests/support/modified_scene.h"
#include "tests/support/recording_observer.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::ModifiedScene;
using tests::textOf;

class ModifiersUndo : public testing::Test {
protected:
    ModifiersUndo() { m_scene.scene.setUndoEnabled(true); }
    [[nodiscard]] std::string text() const { return textOf(m_scene.scene); }
    [[nodiscard]] u64 hash() const { return m_scene["n"].hash(); }

    ModifiedScene m_scene;
};

TEST_F(ModifiersUndo, InputTakenOff_ShowsWhatTheUserSet) {
    const auto input = m_scene["n"]["a"];
    m_scene["n"].removeInput("a");
    EXPECT_EQ(input.get<double>(), 1);
    EXPECT_EQ(static_cast<Input*>(input.get())->stashed(), nullptr);
    EXPECT_TRUE(m_scene.scene.undo() && m_scene.scene.redo());
    EXPECT_EQ(input.get<double>(), 1);
}

TEST_F(ModifiersUndo, InputTakenOff_ComesBackModified) {
    const std::string before = text();
    const u64 hashBefore = hash();
    m_scene["n"].removeInput("a");
    EXPECT_TRUE(m_scene.scene.undo());
    EXPECT_EQ(m_scene.valueOf("n"), 5);
    EXPECT_EQ(text(), before);
    EXPECT_EQ(hash(), hashBefore);
    EXPECT_TRUE(m_scene.scene.redo() && m_scene.scene.undo());
    EXPECT_EQ(m_scene.valueOf("n"), 5);
    EXPECT_EQ(text(), before);
}

TEST_F(ModifiersUndo, ValueOfTheUserTakenBack_IsModified) {
    m_scene["n"]["a"].set(2.0);
    ASSERT_EQ(m_scene.valueOf("n"), 8);
    EXPECT_TRUE(m_scene.scene.undo());
    EXPECT_EQ(m_scene.ownOf("n"), 1);
    EXPECT_EQ(m_scene.valueOf("n"), 5);
}

// The modifiers turn the new value, 1, into the old stored value, 5.
TEST_F(ModifiersUndo, InputSetAndTakenOffInOneStep_ComesBackWithItsOldValue) {
    m_scene["n"]["a"].set(5.0);
    {
        const kelvo_sdk::Scene::UndoScope scope(m_scene.scene, "do", "undo");
        m_scene["n"]["a"].set(1.0);
        m_scene["n"].removeInput("a");
    }
    EXPECT_TRUE(m_scene.scene.undo());
    EXPECT_EQ(m_scene.ownOf("n"), 5);
    EXPECT_EQ(m_scene.valueOf("n"), 17);
}

TEST_F(ModifiersUndo, ModifiedMembersTakenOffTogether_ComeBackWithTheirOldValues) {
    const auto own = m_scene["n"].createInput("own", AttrType::Object);
    own.createInput("a", AttrType::Real).set(5.0);
    const std::string before = text();
    {
        const kelvo_sdk::Scene::UndoScope scope(m_scene.scene, "do", "undo");
        own["a"].set(1.0);
        own->clearInputs();
    }
    EXPECT_TRUE(m_scene.scene.undo());
    EXPECT_EQ(text(), before);
    EXPECT_EQ(m_scene["n"]["own"]["a"].get<double>(), 17);
}

TEST_F(ModifiersUndo, SilentInputTakenOff_ComesBackModified) {
    m_scene.input("n", "a").setSilent(true);
    const std::string before = text();
    m_scene["n"].removeInput("a");
    EXPECT_TRUE(m_scene.scene.undo());
    EXPECT_EQ(text(), before);
    EXPECT_EQ(m_scene.valueOf("n"), 5);
}

TEST_F(ModifiersUndo, FirstOneOfAModifierUndone_HasTheNodesBehindModifiedAgain) {
    const auto scale = m_scene["scale"];
    const auto offset = m_scene.scene.createNode("offsetModifier", "more");
    offset["modifies"].set(String("factor"));
    offset["amount"].set(1.0);
    const auto list = scale.createArray("modifiers", AttrType::Node);
    ASSERT_EQ(m_scene.valueOf("n"), 5);
    {
        const kelvo_sdk::Scene::UndoScope scope(m_scene.scene, "do", "undo");
        list.append().set(offset);
    }
    EXPECT_EQ(m_scene.valueOf("n"), 6);
    EXPECT_TRUE(m_scene.scene.undo());
    EXPECT_EQ(m_scene.valueOf("n"), 5);
}

TEST_F(ModifiersUndo, OneOfSeveralTakenBack_IsToldByTheResultAlone) {
    struct Told : SceneObserver {
        void inputChanged(const IInput* input, const AttrData*) override {
            if (input->name().equals("a"))
                values.push_back(static_cast<const Input*>(input)->value().asReal());
        }
        std::vector<double> values;
    } told;
    {
        const kelvo_sdk::Scene::UndoScope scope(m_scene.scene, "do", "undo");
        m_scene["n"]["modifiers"].append().set(m_scene["scale"]);
    }
    ASSERT_EQ(m_scene.valueOf("n"), 15);
    m_scene.scene.subscribe(&told);
    EXPECT_TRUE(m_scene.scene.undo());
    m_scene.scene.unsubscribe(&told);
    EXPECT_EQ(told.values, std::vector<double>{5});
}

// A node without modifiers whose inputs keep values aside.
class ModifiersOfKeptValues : public testing::Test {
protected:
    ModifiersOfKeptValues() { m_scene.scene.setUndoEnabled(true); }
    [[nodiscard]] std::string text() const { return textOf(m_scene.scene); }
    void addFirst() const { m_scene["n"]["modifiers"].append().set(m_scene["scale"]); }

    ModifiedScene m_scene{R"(kelvo scene 1

node scaleModifier "scale" {
    String modifies = "b"
    Real factor = 3
}

node lamp "n" {
    Array<Node> modifiers = []
    Real a = 40 @stashed 2 @readonly
    Real b = 5 @stashed 6
    Object o {
        Node kept = null @stashed scale
    }
}
)"};
    const std::string m_before = text();
};

TEST_F(ModifiersOfKeptValues, TheFirst_WritesToTheKeptValueAndUndoneLeavesBoth) {
    {
        const kelvo_sdk::Scene::UndoScope scope(m_scene.scene, "do", "undo");
        addFirst();
    }
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(m_scene.valueOf("n"), 2);
        EXPECT_EQ(m_scene.ownOf("n", "b"), 6);
        EXPECT_EQ(m_scene.valueOf("n", "b"), 18);
        EXPECT_TRUE(m_scene.scene.undo());
        EXPECT_EQ(text(), m_before);
        EXPECT_EQ(m_scene.valueOf("n"), 40);
        EXPECT_TRUE(m_scene.scene.redo());
    }
}

TEST_F(ModifiersOfKeptValues, TheFirstInACancelledEdit_LeavesBoth) {
    for (const bool isRecording : {true, false}) {
        m_scene.scene.setUndoEnabled(isRecording);
        const kelvo_sdk::Scene::UndoScope scope(m_scene.scene, "do", "undo");
        addFirst();
        scope.cancel();
    }
    EXPECT_EQ(text(), m_before);
}

TEST_F(ModifiersOfKeptValues, TheFirst_IsOneStepWithAllValues) {
    addFirst();
    EXPECT_TRUE(m_scene.scene.undo() && m_scene.scene.undo());
    EXPECT_EQ(text(), m_before);
    EXPECT_FALSE(m_scene.scene.undo());
}

TEST_F(ModifiersOfKeptValues, Observers_AreToldOfEachValueThatIsShown) {
    std::vector<std::pair<std::string, double>> told;
    struct Told : SceneObserver {
        explicit Told(const std::function<void(const IInput*)>& what) : tell(what) {}
        void inputChanged(const IInput* input, const AttrData*) override { tell(input); }
        std::function<void(const IInput*)> tell;
    } observer([&](const IInput* input) {
        if (input->type() == AttrType::Real)
            told.emplace_back(input->name().view(),
                              static_cast<const Input*>(input)->value().asReal());
    });
    m_scene.scene.subscribe(&observer);
    addFirst();
    m_scene.scene.unsubscribe(&observer);
    EXPECT_EQ(told, (std::vector<std::pair<std::string, double>>{{"a", 2}, {"b", 6}, {"b", 18}}));
}

// The list has its name and another one in turns.
class ModifiersOfARenamedList : public ModifiersOfKeptValues {
protected:
    ModifiersOfARenamedList() {
        (void)m_list.rename("others");
        m_list.append().set(m_scene["scale"]);
    }

    const kelvo_sdk::Input m_list = m_scene["n"]["modifiers"];
};

TEST_F(ModifiersOfARenamedList, KeptValues_AreBackWhenTheRenamingIsUndone) {
    const std::string before = text();
    ASSERT_TRUE(m_list.rename("modifiers"));
    const std::string after = text();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(text(), after);
        EXPECT_EQ(m_scene.valueOf("n"), 2);
        EXPECT_EQ(m_scene.ownOf("n", "b"), 6);
        EXPECT_EQ(m_scene.valueOf("n", "b"), 18);
        ASSERT_TRUE(m_scene.scene.undo());
        EXPECT_EQ(text(), before);
        EXPECT_EQ(m_scene.valueOf("n", "b"), 5);
        ASSERT_TRUE(m_scene.scene.redo());
    }
}

TEST_F(ModifiersOfARenamedList, KeptValues_AreBackWhenTheRenamingIsCancelled) {
    const std::string before = text();
    for (const bool isRecording : {true, false}) {
        m_scene.scene.setUndoEnabled(isRecording);
        const kelvo_sdk::Scene::UndoScope scope(m_scene.scene, "do", "undo");
        ASSERT_TRUE(m_list.rename("modifiers"));
        scope.cancel();
    }
    EXPECT_EQ(text(), before);
}

// Calls a function of the test once, during the notification of a modified value.
struct AmidWriting : SceneObserver {
    explicit AmidWriting(std::function<void(Node&)> what) : then(std::move(what)) {}
    void inputChanged(const IInput* input, const AttrData*) override {
        auto* node = static_cast<Node*>(input->node());
        if (!node->modifying()) return;
        if (const auto now = std::exchange(then, nullptr)) now(*node);
    }
    std::function<void(Node&)> then;
};

TEST_F(ModifiersUndo, InputsClearedWhileModifiersTell_ComeBackAsTheUserSetThem) {
    const std::string before = text();
    AmidWriting observer([](Node& node) { node.clearInputs(); });
    m_scene.scene.subscribe(&observer);
    m_scene["n"]["a"].set(4.0);
    m_scene.scene.unsubscribe(&observer);
    EXPECT_EQ(m_scene["n"].inputCount(), 0u);
    while (m_scene.scene.undo()) {
    }
    EXPECT_EQ(text(), before);
    EXPECT_EQ(m_scene.valueOf("n"), 5);
}

// ---- Observers of the node that throw ----------------------------------------------------------

class Thrower {
public:
    explicit Thrower(const kelvo_sdk::Node& node) : m_node(node) {
        m_observer.then = [this] {
            m_observer.then = nullptr;
            throw std::runtime_error("no");
        };
        m_node.subscribe(&m_observer);
    }
    ~Thrower() { m_node.unsubscribe(&m_observer); }
    Thrower(const Thrower&) = delete;
    Thrower& operator=(const Thrower&) = delete;

private:
    kelvo_sdk::Node m_node;
    tests::Journal m_journal;
    tests::RecordingObserver m_observer{"o", m_journal};
};

TEST_F(ModifiersUndo, ValueWhoseObserverThrows_IsModifiedAllTheSame) {
    const Thrower thrower(m_scene["n"]);
    EXPECT_THROW(m_scene["n"]["a"].set(2.0), std::runtime_error);
    EXPECT_EQ(m_scene.valueOf("n"), 8);
    EXPECT_EQ(m_scene.ownOf("n"), 2);
}

TEST_F(ModifiersUndo, ModifierWhoseObserverThrows_CountsAllTheSame) {
    const auto number = m_scene.scene.createNode("realValue", "number");
    number["value"].set(4.0);
    const Thrower thrower(m_scene["scale"]);
    EXPECT_THROW(m_scene["scale"]["factor"].connect(number.output("result")), std::runtime_error);
    EXPECT_EQ(m_scene.valueOf("n"), 6);
}

TEST_F(ModifiersOfKeptValues, TheFirstWhoseObserverThrows_CountsAllTheSame) {
    const Thrower thrower(m_scene["n"]);
    EXPECT_THROW(addFirst(), std::runtime_error);
    EXPECT_EQ(m_scene.valueOf("n"), 2);
    EXPECT_TRUE(m_scene.scene.undo());
    EXPECT_EQ(text(), m_before);
}

TEST_F(ModifiersOfARenamedList, RenamingWhoseObserverThrows_CountsAllTheSame) {
    const std::string before = text();
    const Thrower thrower(m_scene["n"]);
    EXPECT_THROW((void)m_list.rename("modifiers"), std::runtime_error);
    EXPECT_EQ(m_scene.valueOf("n", "b"), 18);
    EXPECT_TRUE(m_scene.scene.undo());
    EXPECT_EQ(text(), before);
}

TEST_F(ModifiersUndo, RedoOfAChangeWhoseObserverThrew_LeadsToTheSameHash) {
    const Thrower thrower(m_scene["n"]);
    EXPECT_THROW(m_scene["n"]["a"].set(2.0), std::runtime_error);
    const u64 after = hash();
    EXPECT_TRUE(m_scene.scene.undo() && m_scene.scene.redo());
    EXPECT_EQ(hash(), after);
}

TEST_F(ModifiersUndo, ChangeWhoseObserverThrows_LeavesTheSceneDirty) {
    auto& scene = static_cast<Scene&>(*m_scene.scene.get());
    scene.setDirty(false);
    const Thrower thrower(m_scene["scale"]);
    EXPECT_THROW(m_scene["scale"]["factor"].set(2.0), std::runtime_error);
    EXPECT_TRUE(scene.isDirty());
}

} // namespace
} // namespace qv::kelvo_sdk::impl
