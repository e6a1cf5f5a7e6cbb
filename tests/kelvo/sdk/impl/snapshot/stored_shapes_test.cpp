#include "kelvo/sdk/impl/snapshot/stored_shapes.h"

#include "kelvo/sdk/impl/snapshot/stored_values.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

class StoredShapesTest : public testing::Test {
protected:
    StoredShapesTest() {
        m_shape.type = "lamp";
        m_shape.bases.push_back("light");
        m_shape.isInternal = true;
        m_shape.inputs.push_back({.name = "power", .type = AttrType::Real, .isReadOnly = true});
        m_shape.inputs.push_back({.name = "target", .type = AttrType::Node, .isSilent = true});
        m_shape.outputs.push_back({.name = "glow", .type = AttrType::Rgba});
    }
    // Writes the shape and reads it into `m_read`; returns whether all was read.
    bool transfer() {
        FirstUses<SnapshotShape> shapes;
        FirstUses<AttrDetails> details;
        FirstUses<NodeRecord> definitions;
        EXPECT_EQ(shapes.numberOf(&m_shape), 1u);
        ByteWriter ofShapes, out;
        write(ofShapes, shapes, {}, details, definitions);
        write(out, details);
        out.add(ofShapes.bytes());
        ByteReader in(out.bytes());
        const StoredDetails known = readAllDetails(in);
        m_read.read(in, 0, known, {nullptr}, m_table);
        return !in.isFailed() && in.isAtEnd();
    }

    SnapshotShape m_shape;
    ShapeTable m_table;
    StoredShapes m_read;
};

TEST_F(StoredShapesTest, AShape_IsReadAsItWasWritten) {
    ASSERT_TRUE(transfer());
    ASSERT_EQ(m_read.size(), 1u);
    EXPECT_TRUE(m_read[0].isLike(m_shape));
}

TEST_F(StoredShapesTest, ADescription_IsReadAsItWasWritten) {
    const auto details = RefersTo<AttrDetails>::adopt(new AttrDetails);
    details->minimum = Value(0.5);
    details->choices.push_back(Value("a"));
    details->unit = "W";
    details->labels.push_back({"en", "Power"});
    m_shape.inputs[0].details = details;
    ASSERT_TRUE(transfer());
    const AttrDetails& read = *m_read[0].inputs[0].details;
    EXPECT_EQ(read.minimum, Value(0.5));
    EXPECT_EQ(read.choices[0], Value("a"));
    EXPECT_EQ(read.unit, "W");
    EXPECT_EQ(read.labels[0].second, "Power");
}

TEST_F(StoredShapesTest, AShapeWithALink_IsNotPlain) {
    ASSERT_TRUE(transfer());
    EXPECT_FALSE(m_read.isPlain(0));
}

TEST_F(StoredShapesTest, AShapeOfNumbers_IsPlain) {
    m_shape.inputs.pop_back();
    ASSERT_TRUE(transfer());
    EXPECT_TRUE(m_read.isPlain(0));
}

TEST(FirstUses, Numbers_BeginWithOneAndStay) {
    const int a = 0, b = 0;
    FirstUses<int> uses;
    EXPECT_EQ(uses.numberOf(nullptr), 0u);
    EXPECT_EQ(uses.numberOf(&a), 1u);
    EXPECT_EQ(uses.numberOf(&b), 2u);
    EXPECT_EQ(uses.numberOf(&a), 1u);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
