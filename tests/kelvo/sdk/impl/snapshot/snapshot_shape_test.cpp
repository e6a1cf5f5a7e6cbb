#include "kelvo/sdk/impl/snapshot/snapshot_shape.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace qv::kelvo_sdk::impl {
namespace {

SnapshotShape shapeWith(const String& type, u32 inputs) {
    SnapshotShape shape;
    shape.type = type;
    for (u32 i = 0; i < inputs; ++i)
        shape.inputs.push_back({.name = String::format("i%u", i), .type = AttrType::Vec3});
    return shape;
}

class ShapeTableTest : public testing::Test {
protected:
    const SnapshotShape* share(SnapshotShape shape) {
        const SnapshotShape* shared = m_table.share(std::move(shape));
        shared->decRef();
        return shared;
    }
    ShapeTable m_table;
};

TEST_F(ShapeTableTest, Share_ShapesThatAreAlike_AreOne) {
    EXPECT_EQ(share(shapeWith("a", 3)), share(shapeWith("a", 3)));
}

TEST_F(ShapeTableTest, Share_ShapesThatDiffer_AreTwo) {
    const SnapshotShape* known = share(shapeWith("a", 3));
    EXPECT_NE(share(shapeWith("A", 3)), known);
    EXPECT_NE(share(shapeWith("a", 2)), known);
    const auto differs = [&](auto change) {
        SnapshotShape shape = shapeWith("a", 3);
        change(shape);
        return share(std::move(shape)) != known;
    };
    EXPECT_TRUE(differs([](SnapshotShape& shape) { shape.isAbstract = true; }));
    EXPECT_TRUE(differs([](SnapshotShape& shape) { shape.isInternal = true; }));
    EXPECT_TRUE(differs([](SnapshotShape& shape) { shape.bases.push_back("b"); }));
    EXPECT_TRUE(differs([](SnapshotShape& shape) { shape.outputs.push_back({.name = "o"}); }));
    EXPECT_TRUE(differs([](SnapshotShape& shape) { shape.inputs[1].isSilent = true; }));
    EXPECT_TRUE(differs([](SnapshotShape& shape) { shape.inputs[1].isReadOnly = true; }));
    EXPECT_TRUE(differs([](SnapshotShape& shape) { shape.inputs[1].dataType = DataType::Char; }));
    EXPECT_TRUE(differs([](SnapshotShape& shape) { shape.inputs[1].name = "I1"; }));
}

TEST_F(ShapeTableTest, Share_ManyThatAreNotKept_DropsThem) {
    const SnapshotShape* kept = m_table.share(shapeWith("kept", 1));
    for (u32 i = 0; i < 1000; ++i)
        share(shapeWith(String::format("t%u", i), 1));
    EXPECT_EQ(share(shapeWith("kept", 1)), kept);
    EXPECT_LT(m_table.size(), 200U);
    kept->decRef();
}

TEST_F(ShapeTableTest, Links_OfAnyInput_AreKnown) {
    SnapshotShape linking = shapeWith("a", 2);
    linking.inputs.push_back({.name = "to", .type = AttrType::Node});
    linking.inputs.push_back({.name = "b", .type = AttrType::Bool});
    EXPECT_TRUE(share(std::move(linking))->hasLinks);
    EXPECT_FALSE(share(shapeWith("a", 2))->hasLinks);
}

TEST_F(ShapeTableTest, Stock_GivenToMany_ReturnsEveryReference) {
    const SnapshotShape* const shape = m_table.share(shapeWith("a", 2));
    constexpr u32 records = 1000;
    {
        ShapeStock stock;
        stock.reset(shape);
        for (u32 i = 0; i < records; ++i)
            ASSERT_EQ(stock.take(), shape);
        stock.reset(nullptr);
        EXPECT_EQ(stock.get(), nullptr);
    }
    for (u32 i = 0; i < records; ++i) {
        EXPECT_FALSE(shape->isUnused());
        shape->decRef();
    }
    EXPECT_TRUE(shape->isUnused());
}

TEST_F(ShapeTableTest, Values_LieBehindEachOther) {
    SnapshotShape shape = shapeWith("a", 2);
    shape.inputs.push_back({.name = "m", .type = AttrType::Mat4});
    shape.inputs.push_back({.name = "b", .type = AttrType::Bool});
    const SnapshotShape* laidOut = share(std::move(shape));
    EXPECT_EQ(laidOut->offsetOf(1), 24U);
    EXPECT_EQ(laidOut->offsetOf(2), 48U);
    EXPECT_EQ(laidOut->offsetOf(3), 176U);
    EXPECT_EQ(laidOut->valueBytes, 184U);
}

TEST_F(ShapeTableTest, Find_AmongFewOrMany_IgnoresCaseAndTakesTheFirst) {
    for (const u32 count : {2U, 40U}) {
        SnapshotShape shape = shapeWith("a", count);
        shape.inputs.push_back({.name = "I1", .type = AttrType::Int});
        const SnapshotShape* known = share(std::move(shape));
        EXPECT_EQ(known->find("I1"), 1U);
        EXPECT_EQ(known->find("i0"), 0U);
        EXPECT_EQ(known->find("i99"), SnapshotShape::notFound);
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
