#include "kelvo/sdk/impl/snapshot/node_record.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>

namespace qv::kelvo_sdk::impl {
namespace {

// A record of one node with inputs of the given kinds.
class NodeRecordTest : public testing::Test {
protected:
    ~NodeRecordTest() override {
        if (m_record) m_record->end(m_record);
    }
    NodeRecord& make(std::initializer_list<AttrType> kinds,
                     std::vector<RecordConnection> connections = {}) {
        SnapshotShape shape;
        for (const AttrType kind : kinds)
            shape.inputs.push_back({.name = "i", .type = kind});
        const auto count = static_cast<u32>(kinds.size());
        const RecordList list{.shape = m_table.share(std::move(shape)), .count = count};
        m_record = NodeRecord::make(1, 7, "node", std::span(&list, 1), connections);
        return *m_record;
    }
    std::byte* place(u32 input) { return m_record->value(m_record->list(0), input); }

    ShapeTable m_table;
    NodeRecord* m_record = nullptr;
};

TEST_F(NodeRecordTest, Make_NewRecord_HasZeros) {
    NodeRecord& record = make({AttrType::Real, AttrType::String, AttrType::Buffer});
    EXPECT_EQ(record.number(), 7U);
    EXPECT_EQ(record.name(), String("node"));
    EXPECT_EQ(NodeRecord::load(AttrType::Real, place(0)).asReal(), 0.0);
    EXPECT_TRUE(NodeRecord::load(AttrType::String, place(1)).asString().isEmpty());
    EXPECT_EQ(NodeRecord::bufferAt(place(2)).count(), 0U);
}

TEST_F(NodeRecordTest, ListOfManyElements_HasPlacesBehind4GiB) {
    SnapshotShape shape;
    shape.isUniform = true;
    shape.inputs.push_back({.name = {}, .type = AttrType::Mat4});
    shape.complete();
    const RecordList list{.shape = &shape, .count = u32{1} << 26};
    EXPECT_EQ(shape.offsetOf(u32{1} << 25), u64{1} << 32);
    EXPECT_EQ(list.valueBytes(), u64{1} << 33);
}

TEST_F(NodeRecordTest, Store_EachKind_IsLoadedAgain) {
    const Value values[] = {true,
                            i64{-3},
                            ~u64{0},
                            0.1,
                            math::Vec2d{1, 2},
                            math::Pos3d{1, 2, 3},
                            math::Rgbad{1, 2, 3, 4},
                            math::Mat3d::makeIdentity(),
                            math::Mat4d::makeIdentity(),
                            "text",
                            Buffer(DataType::Char, "abc", 3)};
    make({AttrType::Bool, AttrType::Int, AttrType::UInt, AttrType::Real, AttrType::Vec2,
          AttrType::Pos3, AttrType::Rgba, AttrType::Mat3, AttrType::Mat4, AttrType::String,
          AttrType::Buffer});
    for (u32 i = 0; i < std::size(values); ++i)
        NodeRecord::store(values[i], place(i));
    for (u32 i = 0; i < std::size(values); ++i)
        EXPECT_TRUE(NodeRecord::load(values[i].type(), place(i)) == values[i]) << i;
}

TEST_F(NodeRecordTest, Clear_LeavesZeros) {
    make({AttrType::Vec2, AttrType::String});
    NodeRecord::store(math::Vec2d{1, 2}, place(0));
    NodeRecord::store(String("text"), place(1));
    NodeRecord::clear(AttrType::Vec2, place(0));
    NodeRecord::clear(AttrType::String, place(1));
    EXPECT_TRUE(NodeRecord::load(AttrType::Vec2, place(0)) == Value(math::Vec2d{}));
    EXPECT_TRUE(NodeRecord::load(AttrType::String, place(1)).asString().isEmpty());
}

TEST_F(NodeRecordTest, Texts_AreSharedAndReleased) {
    const String text("a text");
    make({AttrType::String});
    NodeRecord::store(text, place(0));
    EXPECT_EQ(text.get()->refCount(), 2);
    m_record->end(m_record);
    m_record = nullptr;
    EXPECT_EQ(text.get()->refCount(), 1);
}

TEST_F(NodeRecordTest, Buffers_AreSharedAndReleased) {
    struct Owner : ForeignElements {
        bool areSound() const noexcept override { return true; }
    };
    alignas(Buffer::alignment) static const char text[] = "abc";
    const auto owner = RefersTo<ForeignElements>::adopt(new Owner);
    make({AttrType::Buffer});
    NodeRecord::store(Buffer::inPlace(DataType::Char, text, 3, owner), place(0));
    EXPECT_EQ(owner->refCount(), 2);
    m_record->end(m_record);
    m_record = nullptr;
    EXPECT_EQ(owner->refCount(), 1);
}

TEST_F(NodeRecordTest, InASlab_ReleasesItsPartsAndLeavesTheMemory) {
    const String text("a text");
    auto extras = RefersTo<SharedExtras>::adopt(new SharedExtras({}));
    RecordSlab slab(2);
    make({AttrType::String});
    const RecordList list{.shape = m_record->list(0).shape, .count = 1};
    list.shape->incRef();
    NewRecord record(NodeRecord::make(1, 8, "other", std::span(&list, 1), {}, extras, &slab));
    NodeRecord::store(text, record->value(record->list(0), 0));
    EXPECT_EQ(text.get()->refCount(), 2);
    EXPECT_EQ(extras->refCount(), 2);
    record.reset();
    EXPECT_EQ(text.get()->refCount(), 1);
    EXPECT_EQ(extras->refCount(), 1);
}

TEST_F(NodeRecordTest, AreEqual_ComparesTextsByContentAndNumbersByBits) {
    make({AttrType::String, AttrType::String, AttrType::Real, AttrType::Real});
    EXPECT_TRUE(NodeRecord::areEqual(AttrType::String, place(0), place(1)));
    NodeRecord::store(String("a"), place(0));
    EXPECT_FALSE(NodeRecord::areEqual(AttrType::String, place(0), place(1)));
    NodeRecord::store(String(std::string_view("a")), place(1));
    EXPECT_TRUE(NodeRecord::areEqual(AttrType::String, place(0), place(1)));
    NodeRecord::store(0.0, place(2));
    NodeRecord::store(-0.0, place(3));
    EXPECT_FALSE(NodeRecord::areEqual(AttrType::Real, place(2), place(3)));
}

TEST_F(NodeRecordTest, AreEqual_ComparesBuffersByContent) {
    make({AttrType::Buffer, AttrType::Buffer});
    NodeRecord::store(Buffer(DataType::Char, "abc", 3), place(0));
    NodeRecord::store(Buffer(DataType::Char, "abc", 3), place(1));
    EXPECT_TRUE(NodeRecord::areEqual(AttrType::Buffer, place(0), place(1)));
    NodeRecord::clear(AttrType::Buffer, place(1));
    EXPECT_FALSE(NodeRecord::areEqual(AttrType::Buffer, place(0), place(1)));
}

TEST_F(NodeRecordTest, ConnectionOf_FindsListAndInput) {
    const NodeRecord& record =
        make({AttrType::Real}, {{0, 2, 5, 0}, {0, 9, 6, 1}, {1, 0, 7, 0}, {3, 2, 8, 0}});
    EXPECT_EQ(record.connectionOf(0, 9)->source, 6U);
    EXPECT_EQ(record.connectionOf(1, 0)->source, 7U);
    EXPECT_EQ(record.connectionOf(3, 2)->source, 8U);
    EXPECT_EQ(record.connectionOf(0, 0), nullptr);
    EXPECT_EQ(record.connectionOf(1, 2), nullptr);
    EXPECT_EQ(record.connectionOf(4, 0), nullptr);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
