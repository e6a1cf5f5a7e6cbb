#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/input.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_probe.h"
#include "tests/support/recording_scene.h"

#include <gtest/gtest.h>

#include <array>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::LogCapture;
using tests::probe;
using tests::RecordingScene;

class NodeCreate : public testing::Test {
protected:
    ~NodeCreate() override { probe(m_node).setScene(nullptr); }

    AttrData array(AttrType elementType) {
        AttrData data(AttrType::Array);
        data.elementType = elementType;
        return data;
    }
    void clean() {
        m_journal.take();
        probe(m_node).dirty() = false;
    }

    Journal m_journal;
    RefersTo<RecordingScene> m_scene = RecordingScene::make(m_journal);
    Node m_node{m_scene.get(), "thing", "n"};
};

// ---- Names ---------------------------------------------------------------------------------

struct NameCase {
    const char* name;
    bool isLegal;
    const char* note;
};

constexpr std::array kNames{
    NameCase{"color", true, "letters"},
    NameCase{"_x", true, "underscore first"},
    NameCase{"x1_y2", true, "digits and underscores behind"},
    NameCase{"A", true, "one letter"},
    NameCase{"", false, "empty"},
    NameCase{"1x", false, "digit first"},
    NameCase{"a b", false, "blank"},
    NameCase{" a", false, "blank first"},
    NameCase{"a.b", false, "separator of paths"},
    NameCase{"a[0]", false, "brackets"},
    NameCase{"a-b", false, "minus"},
    NameCase{"gr\xc3\xb6sse", false, "letter beyond ASCII"},
    NameCase{"a\n", false, "line end"},
    NameCase{"'%s'", false, "what looks like a format"},
};

TEST_F(NodeCreate, Names_AreSimpleIdentifiers) {
    for (const NameCase& c : kNames) {
        const LogCapture log;
        Node node(nullptr, "thing", "n");
        EXPECT_EQ(node.createInput(c.name, AttrType::Int) != nullptr, c.isLegal) << c.note;
        EXPECT_EQ(node.createInput(c.name, AttrData(AttrType::Int)) != nullptr, c.isLegal);
        EXPECT_EQ(node.createArray(c.name, AttrType::Int) != nullptr, c.isLegal) << c.note;
        EXPECT_EQ(node.createBuffer(c.name, DataType::Float) != nullptr, c.isLegal) << c.note;
        EXPECT_EQ(node.createOutput(c.name, AttrType::Int) != nullptr, c.isLegal) << c.note;
        EXPECT_EQ(node.createOutput(c.name, DataType::Float) != nullptr, c.isLegal) << c.note;
        EXPECT_EQ(log.text().empty(), c.isLegal) << c.note;
    }
}

TEST_F(NodeCreate, IllegalInputName_IsOneErrorLineInItsFixedOrder) {
    const LogCapture log;
    EXPECT_EQ(m_node.createInput("a b", AttrType::Int), nullptr);
    EXPECT_EQ(log.text(), "error: Cannot create illegally-named a b 'Input' on node n.\n");
}

TEST_F(NodeCreate, IllegalArrayName_IsReportedAsAnInput) {
    const LogCapture log;
    EXPECT_EQ(m_node.createArray("9", AttrType::Int), nullptr);
    EXPECT_EQ(log.text(), "error: Cannot create illegally-named 9 'Input' on node n.\n");
}

TEST_F(NodeCreate, IllegalOutputName_IsReportedAsAnOutput) {
    const LogCapture log;
    EXPECT_EQ(m_node.createOutput("a b", AttrType::Int), nullptr);
    EXPECT_EQ(m_node.createOutput("", DataType::Float), nullptr);
    EXPECT_EQ(log.text(), "error: Cannot create illegally-named a b 'Output' on node n.\n"
                          "error: Cannot create illegally-named  'Output' on node n.\n");
}

TEST_F(NodeCreate, IllegalName_ChangesNothing) {
    const LogCapture log;
    m_node.createInput("a b", AttrType::Int);
    m_node.createInput("a b", AttrData(AttrType::Int));
    m_node.createArray("a b", AttrType::Int);
    m_node.createOutput("a b", AttrType::Int);
    m_node.createOutput("a b", DataType::Float);
    EXPECT_EQ(m_node.inputCount() + m_node.outputCount(), 0u);
    EXPECT_FALSE(probe(m_node).dirty());
    EXPECT_EQ(m_journal.take(), "");
}

// ---- New inputs ----------------------------------------------------------------------------

TEST_F(NodeCreate, Input_IsOfItsKindAtTheTopLevel) {
    IInput* input = m_node.createInput("color", AttrType::Rgba);
    ASSERT_NE(input, nullptr);
    EXPECT_STREQ(input->name().buf(), "color");
    EXPECT_EQ(input->type(), AttrType::Rgba);
    EXPECT_EQ(input->elementType(), AttrType::Null);
    EXPECT_EQ(input->node(), &m_node);
    EXPECT_EQ(input->parent(), nullptr);
}

TEST_F(NodeCreate, Input_OfEveryKind) {
    for (u32 kind = 0; kind < attrTypeCount; ++kind) {
        const auto type = static_cast<AttrType>(kind);
        Node node(nullptr, "thing", "n");
        IInput* input = node.createInput("x", type);
        ASSERT_NE(input, nullptr) << attrTypeName(type);
        EXPECT_EQ(input->type(), type);
    }
}

TEST_F(NodeCreate, Array_HoldsElementsOfItsKind) {
    IInput* input = m_node.createArray("list", AttrType::Node);
    ASSERT_NE(input, nullptr);
    EXPECT_EQ(input->type(), AttrType::Array);
    EXPECT_EQ(input->elementType(), AttrType::Node);
    EXPECT_EQ(input->inputCount(), 0u);
}

TEST_F(NodeCreate, InputFromData_IsAsDescribed) {
    AttrData data = AttrData::withDefault(2.5);
    data.readOnly = true;
    IInput* input = m_node.createInput("size", data);
    ASSERT_NE(input, nullptr);
    double value = 0;
    EXPECT_TRUE(input->readReal(value, false, nullptr));
    EXPECT_EQ(value, 2.5);
    EXPECT_TRUE(input->isReadOnly());
    EXPECT_EQ(m_node.createInput("list", array(AttrType::Int))->elementType(), AttrType::Int);
}

TEST_F(NodeCreate, New_IsAppended) {
    IInput* a = m_node.createInput("a", AttrType::Int);
    IInput* b = m_node.createArray("b", AttrType::Int);
    IInput* c = m_node.createInput("c", AttrData(AttrType::Int));
    EXPECT_EQ(m_node.indexOf(a), 0);
    EXPECT_EQ(m_node.indexOf(b), 1);
    EXPECT_EQ(m_node.indexOf(c), 2);
}

TEST_F(NodeCreate, Lists_GrowFromTwoByDoubling) {
    constexpr std::array<u64, 9> expected{2, 2, 4, 4, 8, 8, 8, 8, 16};
    for (u64 i = 0; i < expected.size(); ++i) {
        m_node.createInput(String::format("i%d", static_cast<int>(i)), AttrType::Int);
        m_node.createOutput(String::format("o%d", static_cast<int>(i)), AttrType::Int);
        EXPECT_EQ(probe(m_node).inputs().capacity(), expected[i]) << i;
        EXPECT_EQ(probe(m_node).outputs().capacity(), expected[i]) << i;
    }
}

TEST_F(NodeCreate, New_IsDirtyAndListedBeforeTheSceneIsNotified) {
    bool dirty = false;
    u64 count = 0;
    m_scene->then = [&] {
        dirty = probe(m_node).dirty();
        count = m_node.inputCount() + m_node.outputCount();
    };
    m_node.createInput("in", AttrType::Int);
    EXPECT_TRUE(dirty);
    EXPECT_EQ(count, 1u);
    probe(m_node).dirty() = dirty = false;
    m_node.createOutput("out", AttrType::Int);
    EXPECT_TRUE(dirty);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(m_journal.take(), "+in +>out");
}

TEST_F(NodeCreate, AttributesThatTheSceneRemovesAtOnce_AreNull) {
    m_scene->then = [this] {
        m_node.clearInputs();
        m_node.clearOutputs();
    };
    EXPECT_EQ(m_node.createInput("a", AttrType::Real), nullptr);
    EXPECT_EQ(m_node.createOutput("o", AttrType::Real), nullptr);
    m_scene->then = nullptr;
}

TEST_F(NodeCreate, NodeHoldsTheOneReference) {
    String text("a text of its own");
    m_node.createInput("s", AttrType::String)->setString(text);
    EXPECT_EQ(text.get()->refCount(), 2);
    m_node.removeInput(u64(0));
    EXPECT_EQ(text.get()->refCount(), 1);
}

// ---- Inputs that exist ---------------------------------------------------------------------

TEST_F(NodeCreate, SameNameAndKind_GivesTheOneThereIs) {
    IInput* color = m_node.createInput("color", AttrType::Rgba);
    clean();
    const LogCapture log;
    EXPECT_EQ(m_node.createInput("color", AttrType::Rgba), color);
    EXPECT_EQ(m_node.createInput("Color", AttrType::Rgba), color);
    EXPECT_EQ(m_node.createInput("COLOR", AttrData(AttrType::Rgba)), color);
    EXPECT_EQ(m_node.inputCount(), 1u);
    EXPECT_FALSE(probe(m_node).dirty());
    EXPECT_EQ(m_journal.take(), "");
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeCreate, SameNameOtherKind_AppendsASecond) {
    const LogCapture log;
    IInput* first = m_node.createInput("x", AttrType::Int);
    IInput* second = m_node.createInput("x", AttrType::Real);
    EXPECT_NE(first, second);
    EXPECT_EQ(m_node.inputCount(), 2u);
    EXPECT_EQ(m_node.findInputByName("x"), first);
    EXPECT_EQ(log.text(), "");
}

// Only the first input of a name is compared, so requesting the second kind again makes a third.
TEST_F(NodeCreate, SecondOfAName_IsNeverReused) {
    m_node.createInput("x", AttrType::Int);
    IInput* second = m_node.createInput("x", AttrType::Real);
    EXPECT_NE(m_node.createInput("x", AttrType::Real), second);
    EXPECT_EQ(m_node.inputCount(), 3u);
}

TEST_F(NodeCreate, KindNull_GivesWhatThereIsWithAWarning) {
    IInput* x = m_node.createInput("x", AttrType::Int);
    clean();
    const LogCapture log;
    EXPECT_EQ(m_node.createInput("x", AttrType::Null), x);
    EXPECT_EQ(log.text(), "warning: Cannot re-create Int input n.x as Null.\n");
    EXPECT_FALSE(probe(m_node).dirty());
    EXPECT_EQ(m_journal.take(), "");
}

TEST_F(NodeCreate, KindNullTwice_IsSilent) {
    const LogCapture log;
    IInput* x = m_node.createInput("x", AttrType::Null);
    EXPECT_EQ(m_node.createInput("x", AttrType::Null), x);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeCreate, ArrayOfTheSameElements_GivesTheOneThereIs) {
    IInput* a = m_node.createArray("a", AttrType::Int);
    clean();
    const LogCapture log;
    EXPECT_EQ(m_node.createArray("A", AttrType::Int), a);
    EXPECT_EQ(m_node.createArray("a", AttrType::Null), a);
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(m_journal.take(), "");
}

TEST_F(NodeCreate, ArrayOfOtherElements_GivesTheOneThereIsWithAWarning) {
    IInput* a = m_node.createArray("a", AttrType::Int);
    const LogCapture log;
    EXPECT_EQ(m_node.createArray("a", AttrType::Real), a);
    EXPECT_EQ(log.text(), "warning: Cannot re-create Array<Int> input n.a as Real[].\n");
    EXPECT_EQ(a->elementType(), AttrType::Int);
}

// Both calls request an array of any kind of elements, because they name none.
TEST_F(NodeCreate, KindArray_GivesAnyArraySilently) {
    IInput* a = m_node.createArray("a", AttrType::Int);
    const LogCapture log;
    EXPECT_EQ(m_node.createInput("a", AttrType::Array), a);
    EXPECT_EQ(m_node.createInput("a", array(AttrType::Real)), a);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeCreate, ArrayOverAnotherKind_AppendsASecond) {
    const LogCapture log;
    IInput* x = m_node.createInput("a", AttrType::Int);
    EXPECT_NE(m_node.createArray("a", AttrType::Int), x);
    EXPECT_EQ(m_node.inputCount(), 2u);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeCreate, BufferWithElements_IsGivenWithAWarning) {
    AttrData data(AttrType::Buffer);
    data.dataType = DataType::Pos3f;
    IInput* b = m_node.createInput("b", data);
    const LogCapture log;
    EXPECT_EQ(m_node.createInput("b", AttrType::Buffer), b);
    EXPECT_EQ(m_node.createInput("b", data), b);
    const char* line = "warning: Cannot re-create Buffer<Pos3f> input n.b as Null[].\n";
    EXPECT_EQ(log.text(), std::string(line) + line);
}

TEST_F(NodeCreate, BufferWithoutElementType_IsGivenSilently) {
    IInput* b = m_node.createInput("b", AttrType::Buffer);
    const LogCapture log;
    EXPECT_EQ(m_node.createInput("b", AttrType::Buffer), b);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeCreate, CheckExistingInput_DecidesAsTheCreatorsDo) {
    const LogCapture log;
    EXPECT_EQ(m_node.checkExistingInput("x", AttrType::Int, AttrType::Null, DataType::Null),
              nullptr);
    AttrData data(AttrType::Buffer);
    data.dataType = DataType::Float;
    IInput* b = m_node.createInput("b", data);
    EXPECT_EQ(m_node.checkExistingInput("B", AttrType::Buffer, AttrType::Null, DataType::Float), b);
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(m_node.checkExistingInput("b", AttrType::Buffer, AttrType::Null, DataType::Double),
              b);
    EXPECT_EQ(log.text(), "warning: Cannot re-create Buffer<Float> input n.b as Double[].\n");
    EXPECT_EQ(m_node.checkExistingInput("b", AttrType::Int, AttrType::Null, DataType::Null),
              nullptr);
}

TEST_F(NodeCreate, CheckExistingInput_BeyondTheEnumeration_IsUnknown) {
    IInput* b = m_node.createInput("b", AttrType::Buffer);
    const LogCapture log;
    EXPECT_EQ(
        m_node.checkExistingInput("b", AttrType::Buffer, AttrType::Null, static_cast<DataType>(60)),
        b);
    EXPECT_EQ(log.text(), "warning: Cannot re-create Buffer<Null> input n.b as <unknown>[].\n");
}

// ---- Outputs -------------------------------------------------------------------------------

TEST_F(NodeCreate, Output_IsOfItsKind) {
    IOutput* output = m_node.createOutput("out", AttrType::Real);
    ASSERT_NE(output, nullptr);
    EXPECT_STREQ(output->name().buf(), "out");
    EXPECT_EQ(output->type(), AttrType::Real);
    EXPECT_EQ(output->node(), &m_node);
    EXPECT_EQ(m_node.indexOf(output), 0);
}

TEST_F(NodeCreate, OutputOfDataType_IsABuffer) {
    for (u32 type = 0; type < dataTypeCount; ++type) {
        Node node(nullptr, "thing", "n");
        IOutput* output = node.createOutput("b", static_cast<DataType>(type));
        ASSERT_NE(output, nullptr) << type;
        EXPECT_EQ(output->type(), AttrType::Buffer) << type;
        EXPECT_TRUE(output->hasDataType(static_cast<DataType>(type))) << type;
    }
}

TEST_F(NodeCreate, OutputKinds_AllButFour) {
    for (u32 kind = 0; kind < attrTypeCount; ++kind) {
        const auto type = static_cast<AttrType>(kind);
        const bool isRefused = kind >= 15;
        const LogCapture log;
        Node node(nullptr, "thing", "n");
        EXPECT_EQ(node.createOutput("out", type) == nullptr, isRefused) << attrTypeName(type);
        EXPECT_EQ(log.text().empty(), !isRefused) << attrTypeName(type);
        EXPECT_EQ(probe(node).dirty(), !isRefused) << attrTypeName(type);
    }
}

TEST_F(NodeCreate, OutputOfARefusedKind_IsOneErrorLineInItsFixedOrder) {
    const LogCapture log;
    for (const AttrType type :
         {AttrType::Node, AttrType::Buffer, AttrType::Array, AttrType::Object})
        EXPECT_EQ(m_node.createOutput("out", type), nullptr);
    EXPECT_EQ(log.text(),
              "error: Cannot create output out 'Node' (type not supported for output).\n"
              "error: Cannot create output out 'Buffer' (type not supported for output).\n"
              "error: Cannot create output out 'Array' (type not supported for output).\n"
              "error: Cannot create output out 'Object' (type not supported for output).\n");
    EXPECT_EQ(m_node.outputCount(), 0u);
    EXPECT_EQ(m_journal.take(), "");
}

TEST_F(NodeCreate, OutputOfKindNullOrBeyondTheEnumeration_IsMade) {
    EXPECT_EQ(m_node.createOutput("null", AttrType::Null)->type(), AttrType::Null);
    const auto beyond = static_cast<AttrType>(19);
    EXPECT_EQ(m_node.createOutput("beyond", beyond)->type(), beyond);
    const auto below = static_cast<AttrType>(-1);
    EXPECT_EQ(m_node.createOutput("below", below)->type(), below);
}

TEST_F(NodeCreate, OutputOfSameNameAndKind_GivesTheOneThereIs) {
    IOutput* out = m_node.createOutput("out", AttrType::Real);
    IOutput* buffer = m_node.createOutput("b", DataType::Float);
    clean();
    const LogCapture log;
    EXPECT_EQ(m_node.createOutput("OUT", AttrType::Real), out);
    EXPECT_EQ(m_node.createOutput("B", DataType::Float), buffer);
    EXPECT_EQ(m_node.outputCount(), 2u);
    EXPECT_FALSE(probe(m_node).dirty());
    EXPECT_EQ(m_journal.take(), "");
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeCreate, OutputOfSameNameOtherKind_AppendsASecond) {
    const LogCapture log;
    IOutput* first = m_node.createOutput("out", AttrType::Real);
    EXPECT_NE(m_node.createOutput("out", AttrType::Int), first);
    EXPECT_NE(m_node.createOutput("out", DataType::Float), first);
    EXPECT_EQ(m_node.outputCount(), 3u);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeCreate, OutputOfOtherElements_GivesTheOneThereIsWithAWarning) {
    IOutput* b = m_node.createOutput("b", DataType::Float);
    const LogCapture log;
    EXPECT_EQ(m_node.createOutput("b", DataType::Double), b);
    EXPECT_EQ(log.text(), "warning: Cannot re-create Buffer<Float> output n.b as Double[].\n");
}

TEST_F(NodeCreate, OutputOfKindNull_GivesWhatThereIsWithAWarning) {
    IOutput* out = m_node.createOutput("out", AttrType::Real);
    const LogCapture log;
    EXPECT_EQ(m_node.createOutput("out", AttrType::Null), out);
    EXPECT_EQ(log.text(), "warning: Cannot re-create Real output n.out as Null.\n");
}

// An existing output is compared before the kind is refused.
TEST_F(NodeCreate, OutputOfKindBuffer_OverABuffer_GivesItWithAWarning) {
    IOutput* b = m_node.createOutput("b", DataType::Float);
    const LogCapture log;
    EXPECT_EQ(m_node.createOutput("b", AttrType::Buffer), b);
    EXPECT_EQ(log.text(), "warning: Cannot re-create Buffer<Float> output n.b as Null[].\n");
}

TEST_F(NodeCreate, InputsAndOutputs_MayShareAName) {
    const LogCapture log;
    EXPECT_NE(m_node.createInput("x", AttrType::Int), nullptr);
    EXPECT_NE(m_node.createOutput("x", AttrType::Int), nullptr);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeCreate, CheckExistingOutput_DecidesAsTheCreatorsDo) {
    IOutput* b = m_node.createOutput("b", DataType::Float);
    const LogCapture log;
    EXPECT_EQ(m_node.checkExistingOutput("b", AttrType::Buffer, DataType::Float), b);
    EXPECT_EQ(m_node.checkExistingOutput("b", AttrType::Int, DataType::Null), nullptr);
    EXPECT_EQ(m_node.checkExistingOutput("c", AttrType::Null, DataType::Null), nullptr);
    EXPECT_EQ(log.text(), "");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
