#include "kelvo/sdk/impl/graph/node_converter.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/journal.h"
#include "tests/support/library_text.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

constexpr const char* types = R"(kelvo types 1

type lamp {
    Real power = 1
    Array<Int> levels = []
    String text = ""
    Object box {
    }
    output Real out
}

type spot {
    Array<Real> power = []
    Int levels = 0
    Int text = 0
    output Real out
}

type comb {
    Array<Int> levels = [1, 2, 3]
    Node text = null
    Object box {
    }
}

type fixed {
    Array<Node> levels = []
    Int text = 7 @readonly
}
)";

// Records the nodes that a scene gains and loses, and the inputs that change.
struct Listener : SceneObserver {
    void nodeAdded(INode* node) override { note("+", node->type()); }
    void nodeRemoved(INode* node) override { note("-", node->type()); }
    void inputChanged(const IInput* input, const AttrData*) override {
        note("changed=", input->path());
    }
    void note(const char* what, const String& of) { journal.add(std::string(what) + of.buf()); }

    tests::Journal journal;
};

class NodeConversion : public testing::Test {
protected:
    NodeConversion() {
        m_scene.addLibrary(kelvo_sdk::LibInfo(tests::libraryOf(types).get()));
        m_lamp = m_scene.createNode("lamp", "a");
    }

    // Converts a node of the scene to a type; returns the values that did not fit, one per line.
    std::string convert(const char* type) {
        ConversionLosses losses;
        m_scene["a"].convertTo(type, &losses);
        std::string lines;
        for (const ConversionLoss& loss : losses)
            lines += std::string(loss.path.buf()) + " " + loss.reason.buf() + "\n";
        return lines;
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    kelvo_sdk::Node m_lamp;
};

// ---- Values --------------------------------------------------------------------------------

TEST_F(NodeConversion, ValuesOfUpToFortyCharacters_AreToldInFull) {
    const std::string alphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (const std::size_t length : {39u, 40u, 41u}) {
        const std::string text = alphabet.substr(0, length);
        m_scene["a"]["text"].set(text.c_str());
        const std::string shown = length > 40 ? text.substr(0, 40) + "..." : text;
        EXPECT_EQ(convert("spot"), "a.text is Int: '" + shown + "' does not convert\n");
        convert("lamp");
    }
}

TEST_F(NodeConversion, NumbersAndArrays_AreNotTakenForEachOther) {
    m_lamp["power"].set(3.0);
    m_lamp["levels"].append().set(4);
    EXPECT_EQ(convert("spot"), "a.power was Real and is Array<Real>\n"
                               "a.levels was Array<Int> and is Int\n");
    EXPECT_EQ(m_scene["a"]["power"].inputCount(), 0u);
    EXPECT_EQ(m_scene["a"]["levels"].get<int>(), 0);
}

TEST_F(NodeConversion, ElementsOfTheTypeBeyondThoseOfTheNode_Go) {
    m_lamp["levels"].append().set(7);
    EXPECT_EQ(convert("comb"), "");
    ASSERT_EQ(m_scene["a"]["levels"].inputCount(), 1u);
    EXPECT_EQ(m_scene["a"]["levels"].input(0).get<int>(), 7);
}

TEST_F(NodeConversion, ArraysInArrays_KeepWhatTheyHold) {
    IInput* grid = m_lamp->createArray("grid", AttrType::Array);
    grid->createArray("0", AttrType::Int)->appendElement()->setInt(5);
    EXPECT_EQ(convert("spot"), "");
    const kelvo_sdk::Input row = m_scene["a"]["grid"].input(0);
    EXPECT_EQ(row.typeName(), "Array<Int>");
    EXPECT_EQ(row.input(0).get<int>(), 5);
}

TEST_F(NodeConversion, ArrayOfOneElement_IsLostWhereItsKindDoesNotConvert) {
    m_lamp["levels"].append().set(4);
    EXPECT_EQ(convert("fixed"), "a.levels was Array<Int> and is Array<Node>\n");
}

TEST_F(NodeConversion, ReadOnlyInputs_KeepTheValueOfTheTypeAndTakeNoOther) {
    m_lamp["text"].set("8");
    EXPECT_EQ(convert("fixed"), "a.text is read-only\n");
    EXPECT_EQ(m_scene["a"]["text"].get<int>(), 7);
    m_scene.createNode("lamp", "b")["text"].set("7");
    ConversionLosses losses;
    m_scene["b"].convertTo("fixed", &losses);
    EXPECT_TRUE(losses.empty());
}

TEST_F(NodeConversion, ReadOnlyMembersBeyondTheType_AreCopiedWhole) {
    auto* list = static_cast<Input*>(m_lamp["box"]->createArray("own", AttrType::Int));
    list->appendElement()->setInt(5);
    list->setReadOnly(true);
    EXPECT_EQ(convert("comb"), "");
    const kelvo_sdk::Input copy = m_scene["a"]["box"]["own"];
    ASSERT_EQ(copy.inputCount(), 1u);
    EXPECT_EQ(copy.input(0).get<int>(), 5);
}

TEST_F(NodeConversion, InputsThatTheTextLeftOut_AreLeftOutStill) {
    ASSERT_EQ(tests::errorsOf("kelvo scene 1\nnode lamp \"o\" {\n}\n", m_scene), "");
    EXPECT_TRUE(m_scene["o"]["text"].isOmitted());
    EXPECT_TRUE(m_scene["o"].convertTo("spot"));
    EXPECT_TRUE(m_scene["o"]["text"].isOmitted());
}

TEST_F(NodeConversion, InputWithoutAKind_HasNoValueToLose) {
    m_scene.removeNode(m_lamp);
    INode* comet = m_scene.createNode("comet", "a").get();
    static_cast<Input*>(comet->createInput("text", AttrType::Null))->stash();
    EXPECT_EQ(convert("spot"), "");
}

TEST_F(NodeConversion, TextThatNamesTheNodeItself_IsNoChangeOfItsOwn) {
    m_lamp["text"].set("a");
    Listener listener;
    m_scene.subscribe(&listener);
    convert("comb");
    m_scene.unsubscribe(&listener);
    EXPECT_EQ(listener.journal.take(), "-lamp +comb");
    EXPECT_EQ(m_scene["a"]["text"].asNode(false, nullptr), m_scene["a"]);
}

// ---- Outputs -------------------------------------------------------------------------------

TEST_F(NodeConversion, OutputsThatAreCopied_KeepTheirValues) {
    static_cast<Output*>(m_lamp->createOutput("more", AttrType::Real))->setValue(Value(2.5));
    m_lamp->createOutput("none", AttrType::Real);
    EXPECT_EQ(convert("spot"), "");
    const kelvo_sdk::Node spot = m_scene["a"];
    EXPECT_EQ(static_cast<Output*>(spot->output("more"))->value(), Value(2.5));
    EXPECT_TRUE(static_cast<Output*>(spot->output("none"))->value().isNull());
}

TEST_F(NodeConversion, CommentsOfOutputs_GoAlong) {
    const std::string text = "node comet \"c\" {\n    output Real tail # long\n}\n";
    ASSERT_EQ(tests::errorsOf("kelvo scene 1\n" + text, m_scene), "");
    m_scene["c"].convertTo("cloud");
    EXPECT_NE(tests::textOf(m_scene).find("output Real tail # long"), std::string::npos);
}

TEST_F(NodeConversion, UnreadLinesInFrontOfTheNode_StayThereUnderItsNewName) {
    EXPECT_TRUE(
        m_scene.read("kelvo scene 1\n\n?\nnode comet \"c\" {\n}\n", "text", {.isPartial = true})
            .isRead);
    EXPECT_TRUE(m_scene["c"].convertTo("cloud"));
    EXPECT_TRUE(m_scene.renameNode(m_scene["c"], "d"));
    EXPECT_NE(tests::textOf(m_scene).find("?\nnode cloud \"d\""), std::string::npos)
        << tests::textOf(m_scene);
}

// ---- Undo ----------------------------------------------------------------------------------

TEST_F(NodeConversion, Undo_TellsOfTheConversionBack) {
    m_scene.setUndoEnabled(true);
    convert("comb");
    Listener listener;
    m_scene.subscribe(&listener);
    m_scene.undo();
    EXPECT_EQ(listener.journal.take(), "-comb +lamp");
    m_scene.redo();
    EXPECT_EQ(listener.journal.take(), "-lamp +comb");
    m_scene.unsubscribe(&listener);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
