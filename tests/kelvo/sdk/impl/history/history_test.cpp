// Steps of a scene's history: their extent, names and bounds.

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "tests/support/history_scene.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;
using UndoScope = kelvo_sdk::Scene::UndoScope;

class HistoryTest : public testing::Test, protected tests::HistoryScene {};

TEST_F(HistoryTest, Undo_BringsTheValueBackAndRedoTheNewOne) {
    m_radius->setReal(5);
    EXPECT_TRUE(m_scene.undo());
    EXPECT_EQ(radius(), 0);
    EXPECT_TRUE(m_scene.redo());
    EXPECT_EQ(radius(), 5);
}

TEST_F(HistoryTest, NothingToUndo_IsFalseAndSilent) {
    const LogCapture log;
    EXPECT_FALSE(m_scene.undo());
    EXPECT_FALSE(m_scene.redo());
    EXPECT_EQ(log.text(), "");
}

TEST_F(HistoryTest, EachChange_IsAStep) {
    m_radius->setReal(1);
    m_radius->setReal(2);
    EXPECT_EQ(m_scene.undoCount(), 2u);
    m_scene.undo();
    EXPECT_EQ(radius(), 1);
}

TEST_F(HistoryTest, Scope_IsOneStep) {
    {
        const UndoScope scope(m_scene, "Grow", "Shrink");
        for (int i = 1; i <= 1000; ++i)
            m_radius->setReal(i);
    }
    EXPECT_EQ(m_scene.undoCount(), 1u);
    EXPECT_EQ(doText(), "Grow");
    EXPECT_EQ(undoText(), "Shrink");
    m_scene.undo();
    EXPECT_EQ(radius(), 0);
}

TEST_F(HistoryTest, Drag_KeepsOneValue) {
    const auto bytesOf = [&](int changes) {
        const UndoScope scope(m_scene, "Drag", "Drag");
        for (int i = 1; i <= changes; ++i)
            m_radius->setReal(radius() + 1);
        return 0;
    };
    bytesOf(1);
    bytesOf(1000);
    EXPECT_EQ(m_scene.undoStep(0).bytes, m_scene.undoStep(1).bytes);
}

TEST_F(HistoryTest, ScopesInside_JoinTheOutermostAndItsText) {
    {
        const UndoScope outer(m_scene, "Outer", "");
        {
            const UndoScope inner(m_scene, "Inner", "Back");
            m_radius->setReal(1);
        }
        EXPECT_EQ(m_scene.undoCount(), 0u);
        m_radius->setReal(2);
    }
    EXPECT_EQ(m_scene.undoCount(), 1u);
    EXPECT_EQ(doText(), "Outer");
    EXPECT_EQ(undoText(), "Back");
}

TEST_F(HistoryTest, EmptyScope_LeavesNoTrace) {
    { const UndoScope scope(m_scene, "Nothing", "Nothing"); }
    {
        const UndoScope scope(m_scene, "And back", "And back");
        m_radius->setReal(1);
        m_radius->setReal(0);
    }
    EXPECT_EQ(m_scene.undoCount(), 0u);
}

TEST_F(HistoryTest, ValueThereAndBackInALongScope_LeavesNoTrace) {
    {
        const UndoScope scope(m_scene, "Wander", "Wander");
        m_radius->setReal(1);
        for (int i = 0; i < 8; ++i)
            m_node->createInput(String::format("i%d", i), AttrType::Int);
        m_radius->setReal(0);
    }
    EXPECT_EQ(m_scene.undoStep(0).touched.size(), 8u);
    m_scene.undo();
    EXPECT_EQ(radius(), 0);
}

TEST_F(HistoryTest, ManyValuesThereAndBack_LeaveNoTrace) {
    for (int i = 0; i < 8; ++i)
        m_node->createInput(String::format("i%d", i), AttrType::Int);
    const u64 steps = m_scene.undoCount();
    {
        const UndoScope scope(m_scene, "Wander", "Wander");
        for (const int value : {1, 2, 0})
            for (int i = 0; i < 8; ++i)
                m_node->input(String::format("i%d", i))->setInt(value);
    }
    EXPECT_EQ(m_scene.undoCount(), steps);
}

TEST_F(HistoryTest, OutputThereAndBack_LeavesNoTrace) {
    auto* output = static_cast<Output*>(m_node->createOutput("out", AttrType::Real));
    output->setValue(Value(3.0));
    const u64 steps = m_scene.undoCount();
    {
        const UndoScope scope(m_scene, "Wander", "Wander");
        output->setValue(Value(1.0));
        output->setValue(Value(3.0));
    }
    EXPECT_EQ(m_scene.undoCount(), steps);
}

TEST_F(HistoryTest, ElementsOfOnePath_AreOneStep) {
    m_node->createArray("legs", AttrType::Real);
    const u64 steps = m_scene.undoCount();
    m_node->parseInputPath("legs[3]");
    EXPECT_EQ(m_scene.undoCount(), steps + 1);
    m_node->parseInputPath("legs[2]");
    EXPECT_EQ(m_scene.undoCount(), steps + 1);
    m_node->createArray("grid", AttrType::Array);
    m_node->parseInputPath("grid[0][0]");
    EXPECT_EQ(m_scene.undoCount(), steps + 3);
}

TEST_F(HistoryTest, ValueThatIsThereAlready_LeavesNoTrace) {
    m_radius->setReal(0);
    EXPECT_EQ(m_scene.undoCount(), 0u);
}

TEST_F(HistoryTest, NewStep_ForgetsWhatWasUndone) {
    m_radius->setReal(1);
    m_scene.undo();
    m_radius->setReal(2);
    EXPECT_EQ(m_scene.redoCount(), 0u);
    EXPECT_FALSE(m_scene.redo());
}

TEST_F(HistoryTest, Copies_KeepTheScopeOpen) {
    UndoScope copy = [&] {
        UndoScope scope(m_scene, "a", "b");
        m_radius->setReal(1);
        return UndoScope(scope);
    }();
    EXPECT_EQ(m_scene.undoCount(), 0u);
    m_radius->setReal(2);
    copy = UndoScope(kelvo_sdk::Scene(), "", "");
    EXPECT_EQ(m_scene.undoCount(), 1u);
}

// ---- Texts -----------------------------------------------------------------------------------

TEST_F(HistoryTest, StepWithoutText_GetsATrueOne) {
    m_radius->setReal(1);
    EXPECT_EQ(doText(), "Set lamp.radius");
    EXPECT_EQ(undoText(), "Undo: Set lamp.radius");
    auto* out = m_node->createOutput("out", AttrType::Real);
    EXPECT_EQ(doText(), "Add lamp.out");
    m_radius->connect(node("sun")->createOutput("o", AttrType::Real));
    EXPECT_EQ(doText(), "Connect lamp.radius");
    m_radius->disconnect();
    EXPECT_EQ(doText(), "Disconnect lamp.radius");
    static_cast<void>(out);
    m_node->removeOutput("out");
    EXPECT_EQ(doText(), "Remove lamp.out");
    m_scene.renameNode(kelvo_sdk::Node(m_node), "light");
    EXPECT_EQ(doText(), "Rename node 'lamp' to 'light'");
    m_scene["light"].convertTo("lantern");
    EXPECT_EQ(doText(), "Convert node 'light' from 'thing' to 'lantern'");
    node("moon");
    EXPECT_EQ(doText(), "Add node 'moon'");
}

TEST_F(HistoryTest, MoveOfAnElement_IsNamedForItsArray) {
    auto* list = m_node->createArray("list", AttrType::Real);
    list->appendElement();
    list->appendElement();
    list->moveElement(0, 1);
    EXPECT_EQ(doText(), "Move an element of lamp.list");
}

TEST_F(HistoryTest, StepOfManyThings_SaysHowMany) {
    {
        const UndoScope scope(m_scene, "", "");
        m_radius->setReal(1);
        m_node->createInput("b", AttrType::Int)->setInt(1);
    }
    EXPECT_EQ(doText(), "Set lamp.radius and 1 more");
    EXPECT_EQ(m_scene.undoStep(0).touched.join(", "), "lamp.radius, lamp.b");
}

TEST_F(HistoryTest, RemovedInput_IsNamedWithItsNode) {
    m_node->removeInput("radius");
    EXPECT_EQ(doText(), "Remove lamp.radius");
}

TEST_F(HistoryTest, RemovedObject_IsNamedAlone) {
    m_node->createInput("shade", AttrType::Object)->createInput("size", AttrType::Real);
    m_node->removeInput("shade");
    EXPECT_EQ(doText(), "Remove lamp.shade");
    EXPECT_EQ(m_scene.undoStep(0).touched.join(", "), "lamp.shade");
}

TEST_F(HistoryTest, ChangeOfAnInputThatWasRemoved_IsNamedWithItsNode) {
    m_radius->setReal(1);
    m_node->removeInput("radius");
    EXPECT_EQ(doText(1), "Set lamp.radius");
}

TEST_F(HistoryTest, StepOutOfRange_IsEmpty) {
    EXPECT_EQ(m_scene.undoStep(0).doText, "");
    EXPECT_EQ(m_scene.redoStep(7).bytes, 0u);
}

// ---- Bounds ----------------------------------------------------------------------------------

TEST_F(HistoryTest, StepsBeyondTheBound_GoOldestFirst) {
    m_scene.setUndoLimits({1 << 20, 2});
    for (int i = 1; i <= 3; ++i)
        m_radius->setReal(i);
    EXPECT_EQ(m_scene.undoCount(), 2u);
    while (m_scene.undo()) {
    }
    EXPECT_EQ(radius(), 1);
}

TEST_F(HistoryTest, BytesBeyondTheBound_GoOldestFirst) {
    auto* text = m_node->createInput("text", AttrType::String);
    m_scene.setUndoLimits({4000, 100});
    for (int i = 0; i < 10; ++i)
        text->setString(String(std::string(1000, static_cast<char>('a' + i)).c_str()));
    EXPECT_LE(m_scene.undoBytes(), 4000u);
    EXPECT_GE(m_scene.undoCount(), 2u);
    EXPECT_LT(m_scene.undoCount(), 5u);
}

TEST_F(HistoryTest, BoundOfZero_KeepsNothing) {
    m_radius->setReal(1);
    m_scene.setUndoLimits({0, 100});
    EXPECT_EQ(m_scene.undoCount(), 0u);
    m_radius->setReal(2);
    EXPECT_FALSE(m_scene.undo());
    m_scene.setUndoLimits({1 << 20, 0});
    m_radius->setReal(3);
    EXPECT_FALSE(m_scene.undo());
    EXPECT_EQ(radius(), 3);
    EXPECT_EQ(m_scene.undoBytes(), 0u);
}

TEST_F(HistoryTest, RemovedNode_CountsAsBytesWhileItIsOut) {
    auto* text = m_node->createInput("text", AttrType::String);
    text->setString(String(std::string(5000, 'x').c_str()));
    m_scene.removeNode(kelvo_sdk::Node(m_node));
    EXPECT_GT(m_scene.undoStep(0).bytes, 5000u);
    m_scene.undo();
    EXPECT_LT(m_scene.redoStep(0).bytes, 1000u);
}

TEST_F(HistoryTest, CreatedNode_CountsOnceTheCreationIsUndone) {
    node("x");
    const u64 bytes = m_scene.undoStep(0).bytes;
    m_scene.undo();
    EXPECT_EQ(m_scene.redoStep(0).bytes, bytes + sizeof(Node));
}

TEST_F(HistoryTest, ConnectionsOfAConvertedNode_CountToo) {
    auto* output = node("sun")->createOutput("o", AttrType::Real);
    m_radius->connect(output);
    m_radius->disconnect();
    m_scene["lamp"].convertTo("lantern");
    const u64 bytes = m_scene.undoStep(0).bytes;
    m_scene.undo();
    m_radius->connect(output);
    m_scene["lamp"].convertTo("lantern");
    EXPECT_GT(m_scene.undoStep(0).bytes, bytes);
}

TEST_F(HistoryTest, RemovedNode_CountsItsOutputs) {
    const auto bytes = [this](std::size_t length) {
        auto* output = static_cast<Output*>(node("x")->createOutput("out", AttrType::String));
        output->setValue(Value(String(std::string(length, 'x').c_str())));
        m_scene.removeNode(m_scene["x"]);
        return m_scene.undoStep(0).bytes;
    };
    EXPECT_EQ(bytes(101), bytes(1) + 100);
}

TEST_F(HistoryTest, ConvertedNode_CountsAsBytesEachTimeTheSame) {
    m_node->createInput("text", AttrType::String)
        ->setString(String(std::string(5000, 'x').c_str()));
    m_radius->connect(node("sun")->createOutput("o", AttrType::Real));
    m_scene["lamp"].convertTo("lantern");
    const u64 bytes = m_scene.undoStep(0).bytes;
    EXPECT_GT(bytes, sizeof(Node) + 5000);
    for (int round = 0; round < 3; ++round) {
        m_scene.undo();
        m_scene.redo();
    }
    EXPECT_EQ(m_scene.undoStep(0).bytes, bytes);
}

TEST_F(HistoryTest, RemovedInput_CountsAsBytesWhileItIsOut) {
    auto* text = m_node->createInput("text", AttrType::String);
    text->setString(String(std::string(5000, 'x').c_str()));
    m_node->removeInput("text");
    EXPECT_GT(m_scene.undoStep(0).bytes, 5000u);
    m_scene.undo();
    EXPECT_LT(m_scene.redoStep(0).bytes, 1000u);
}

TEST_F(HistoryTest, RemovedOutput_CountsWithItsName) {
    const std::string longName(100, 'o');
    m_node->createOutput("o", AttrType::Real);
    m_node->createOutput(longName.c_str(), AttrType::Real);
    m_node->removeOutput("o");
    m_node->removeOutput(longName.c_str());
    EXPECT_GT(m_scene.undoStep(1).bytes, sizeof(Output));
    EXPECT_EQ(m_scene.undoStep(0).bytes, m_scene.undoStep(1).bytes + 99);
    EXPECT_EQ(m_scene.undoStep(3).bytes + sizeof(Output) + 1, m_scene.undoStep(1).bytes);
}

TEST_F(HistoryTest, ValueOfAnOutput_CountsAsBytesWhileItIsUndone) {
    auto* output = static_cast<Output*>(m_node->createOutput("out", AttrType::String));
    output->setValue(Value(String(std::string(5000, 'x').c_str())));
    EXPECT_LT(m_scene.undoStep(0).bytes, 1000u);
    m_scene.undo();
    EXPECT_GT(m_scene.redoStep(0).bytes, 5000u);
    EXPECT_LT(m_scene.redoStep(0).bytes, 6000u);
}

// Reads a text and undoes the read.
u64 bytesOfUndone(const std::string& text) {
    const auto scene = kelvo_sdk::Scene::create();
    scene.setUndoEnabled(true);
    EXPECT_TRUE(scene.read(text.c_str(), "a.kns", {.isPartial = true}).isRead);
    scene.undo();
    return scene.redoStep(0).bytes;
}

// The text has an unreadable line behind its node, which is kept.
u64 bytesOfUndoneText(const std::string& comment, const std::string& line) {
    return bytesOfUndone("kelvo scene 1\n\nnode t \"a\" {\n}\n# " + comment + "\n" + line + "\n");
}

TEST(History, CommentsOfTheText_CountWhereverTheyStand) {
    const std::string node = "\n\nnode t \"a\" {\n}\n";
    const std::string brief = "# c", lengthy = "# " + std::string(101, 'c');
    const auto bytes = [&](const std::string& first, const std::string& head,
                           const std::string& end) {
        return bytesOfUndone(first + "\nkelvo scene 1 " + head + node + "\n" + end + "\n");
    };
    const u64 least = bytes(brief, brief, brief);
    EXPECT_EQ(bytes(lengthy, brief, brief), least + 100);
    EXPECT_EQ(bytes(brief, lengthy, brief), least + 100);
    EXPECT_EQ(bytes(brief, brief, lengthy), least + 100);
}

TEST(History, UnreadLines_CountWithTheirComments) {
    const u64 bytes = bytesOfUndoneText("c", "?");
    EXPECT_EQ(bytesOfUndoneText(std::string(101, 'c'), "?"), bytes + 100);
    EXPECT_EQ(bytesOfUndoneText("c", std::string(101, '?')), bytes + 100);
}

TEST_F(HistoryTest, ValueKeptAside_CountsAsBytesWhileItIsOut) {
    auto* text = static_cast<Input*>(m_node->createInput("text", AttrType::String));
    text->setString(String(std::string(5000, 'x').c_str()));
    text->stash();
    const u64 without = m_scene.undoStep(0).bytes;
    EXPECT_LT(without, 1000u);
    m_scene.undo();
    EXPECT_EQ(m_scene.redoStep(0).bytes, without + text->value().payloadBytes());
}

// ---- Cancelling --------------------------------------------------------------------------------

TEST_F(HistoryTest, Cancel_TakesBackWhatWasDoneInTheScope) {
    {
        const UndoScope scope(m_scene, "a", "b");
        m_radius->setReal(1);
        node("other");
        scope.cancel();
        EXPECT_EQ(radius(), 0);
        EXPECT_FALSE(m_scene.findNode("other"));
    }
    EXPECT_EQ(m_scene.undoCount(), 0u);
}

TEST_F(HistoryTest, CancelInside_LeavesWhatWasDoneBefore) {
    {
        const UndoScope outer(m_scene, "a", "b");
        m_radius->setReal(1);
        const UndoScope inner(m_scene, "c", "d");
        m_radius->setReal(2);
        inner.cancel();
        EXPECT_EQ(radius(), 1);
    }
    EXPECT_EQ(m_scene.undoCount(), 1u);
}

TEST_F(HistoryTest, CancelOutside_TakesBackTheScopeInsideToo) {
    UndoScope outer(m_scene, "a", "b");
    m_radius->setReal(1);
    UndoScope inner(m_scene, "c", "d");
    m_radius->setReal(2);
    outer.cancel();
    EXPECT_EQ(radius(), 0);
    m_radius->setReal(3);
    inner.cancel();
    EXPECT_EQ(radius(), 0);
    EXPECT_EQ(m_scene.undoCount(), 0u);
}

TEST_F(HistoryTest, Exception_TakesBackWhatWasDoneInTheScope) {
    const auto edit = [&] {
        const UndoScope scope(m_scene, "a", "b");
        m_radius->setReal(1);
        throw std::runtime_error("no");
    };
    EXPECT_THROW(edit(), std::runtime_error);
    EXPECT_EQ(radius(), 0);
    EXPECT_EQ(m_scene.undoCount(), 0u);
}

TEST_F(HistoryTest, ExceptionCaughtInside_TakesNothingBack) {
    {
        const UndoScope scope(m_scene, "a", "b");
        m_radius->setReal(1);
        EXPECT_THROW(throw std::runtime_error("no"), std::runtime_error);
    }
    EXPECT_EQ(radius(), 1);
}

TEST_F(HistoryTest, UndoOff_ScopesAreTakenBackAllTheSame) {
    m_scene.setUndoEnabled(false);
    {
        const UndoScope scope(m_scene, "a", "b");
        m_radius->setReal(1);
        scope.cancel();
    }
    EXPECT_EQ(radius(), 0);
    {
        const UndoScope scope(m_scene, "a", "b");
        m_radius->setReal(1);
    }
    EXPECT_EQ(m_scene.undoCount(), 0u);
    EXPECT_FALSE(m_scene.undo());
}

TEST_F(HistoryTest, ScopeThatOutlivesTheHandles_KeepsTheScene) {
    const UndoScope scope(m_scene, "a", "b");
    m_radius->setReal(1);
    m_scene = kelvo_sdk::Scene();
    EXPECT_EQ(radius(), 1);
    scope.cancel();
}

// ---- Refusals ----------------------------------------------------------------------------------

TEST_F(HistoryTest, UndoWhileAnEditIsOpen_IsRefused) {
    m_radius->setReal(1);
    const UndoScope scope(m_scene, "a", "b");
    const LogCapture log;
    EXPECT_FALSE(m_scene.undo());
    EXPECT_FALSE(m_scene.redo());
    EXPECT_FALSE(m_scene.setUndoEnabled(false));
    EXPECT_EQ(log.text(), "error: Cannot undo while an edit is open.\n"
                          "error: Cannot redo while an edit is open.\n"
                          "error: Cannot switch undo on or off while an edit is open.\n");
    EXPECT_EQ(radius(), 1);
}

TEST_F(HistoryTest, EndWithoutBegin_IsNothing) {
    m_scene->recordEdit("a", "b");
    m_scene->cancelEdit(1);
    m_radius->setReal(1);
    EXPECT_EQ(m_scene.undoCount(), 1u);
    EXPECT_EQ(doText(), "Set lamp.radius");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
