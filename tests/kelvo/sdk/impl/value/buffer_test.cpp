#include "kelvo/sdk/impl/value/buffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <new>

namespace qv::kelvo_sdk::impl {
namespace {

const std::int32_t kNumbers[] = {1, 2, 3};

const std::int32_t* numbers(const Buffer& buffer) {
    return static_cast<const std::int32_t*>(buffer.data());
}

TEST(Buffer, Default_IsUntypedAndEmpty) {
    const Buffer buffer;
    EXPECT_EQ(buffer.type(), DataType::Null);
    EXPECT_EQ(buffer.count(), 0u);
    EXPECT_EQ(buffer.data(), nullptr);
    EXPECT_EQ(buffer.byteSize(), 0u);
}

TEST(Buffer, New_IsZeroedAndAligned) {
    const Buffer buffer(DataType::Pos3f, 5);
    EXPECT_EQ(buffer.byteSize(), 60u);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer.data()) % Buffer::alignment, 0u);
    for (int i = 0; i < 15; ++i)
        EXPECT_EQ(static_cast<const float*>(buffer.data())[i], 0.0f);
}

TEST(Buffer, Copies_ShareUntilOneIsWritten) {
    Buffer a(DataType::Int32, kNumbers, 3);
    const Buffer b = a;
    EXPECT_TRUE(a.sharesWith(b));
    static_cast<std::int32_t*>(a.edit())[0] = 9;
    EXPECT_FALSE(a.sharesWith(b));
    EXPECT_EQ(numbers(a)[0], 9);
    EXPECT_EQ(numbers(b)[0], 1);
}

TEST(Buffer, Edit_OfAnUnsharedBuffer_StaysInPlace) {
    Buffer a(DataType::Int32, kNumbers, 3);
    const void* before = a.data();
    EXPECT_EQ(a.edit(), before);
}

TEST(Buffer, Equality_IsOfTypeCountAndBytes) {
    const Buffer a(DataType::Int32, kNumbers, 3);
    EXPECT_EQ(a, Buffer(DataType::Int32, kNumbers, 3));
    EXPECT_FALSE(a == Buffer(DataType::Int32, kNumbers, 2));
    EXPECT_FALSE(a == Buffer(DataType::UInt32, kNumbers, 3));
    EXPECT_EQ(Buffer(), Buffer());
}

TEST(Buffer, Hash_FollowsTheContents) {
    Buffer a(DataType::Int32, kNumbers, 3);
    const u64 before = a.hash();
    EXPECT_EQ(before, Buffer(DataType::Int32, kNumbers, 3).hash());
    EXPECT_NE(before, Buffer(DataType::UInt32, kNumbers, 3).hash());
    static_cast<std::int32_t*>(a.edit())[2] = 4;
    EXPECT_NE(a.hash(), before);
    EXPECT_NE(Buffer().hash(), 0u);
    EXPECT_NE(Buffer(DataType::Int32, 0).hash(), Buffer(DataType::Float, 0).hash());
}

TEST(Buffer, Resize_KeepsWhatFitsAndZeroesTheRest) {
    Buffer a(DataType::Int32, kNumbers, 3);
    const Buffer shared = a;
    a.resize(5);
    EXPECT_EQ(numbers(a)[2], 3);
    EXPECT_EQ(numbers(a)[4], 0);
    EXPECT_EQ(shared.count(), 3u);
    a.resize(1);
    EXPECT_EQ(a.count(), 1u);
    EXPECT_EQ(numbers(a)[0], 1);
}

TEST(Buffer, TypesWithoutSize_HoldNothing) {
    EXPECT_EQ(Buffer(DataType::Null, 7).count(), 0u);
    EXPECT_EQ(Buffer(DataType(99), 7).count(), 0u);
}

TEST(Buffer, TooLarge_ThrowsBadAlloc) {
    EXPECT_THROW(Buffer(DataType::Mat4d, std::numeric_limits<u64>::max() / 2), std::bad_alloc);
}

TEST(Buffer, Move_LeavesNothing) {
    Buffer a(DataType::Int32, kNumbers, 3);
    const Buffer b = std::move(a);
    EXPECT_EQ(b.count(), 3u);
    EXPECT_EQ(a.count(), 0u); // NOLINT(bugprone-use-after-move): what a moved-from one holds
}

} // namespace
} // namespace qv::kelvo_sdk::impl
