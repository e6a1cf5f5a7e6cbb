#include "kelvo/sdk/impl/value/buffer_text.h"

#include "kelvo/sdk/impl/value/value_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>

// Long buffers are read and written in pieces, with the outcome of a single piece.
namespace qv::kelvo_sdk::impl {
namespace {

constexpr u32 threadCounts[] = {1, 2, 3, 8, 0, 10'000};
// Long enough for several pieces, and for a last piece that is not full.
constexpr u64 many = 100'003;

// Makes elements of random bits; those of a Bool are 0 or 1.
Buffer randomBuffer(DataType type, u64 count) {
    std::mt19937 random(7);
    Buffer buffer(type, count);
    auto* bytes = static_cast<unsigned char*>(buffer.edit());
    for (u64 i = 0; i < buffer.byteSize(); ++i)
        bytes[i] = static_cast<unsigned char>(random() & (type == DataType::Bool ? 1 : 0xff));
    return buffer;
}

// Returns the text of a buffer, joined from texts of short ones.
std::string joinedText(const Buffer& buffer) {
    constexpr u64 few = 1000;
    const auto* bytes = static_cast<const char*>(buffer.data());
    std::string text;
    for (u64 i = 0; i < buffer.count(); i += few) {
        const u64 count = std::min(few, buffer.count() - i);
        const Buffer part(buffer.type(), bytes + i * dataTypeSize(buffer.type()), count);
        const String one = valueToText(part);
        text += (i == 0 ? "" : " ") + std::string(one.view().substr(1, one.size() - 2));
    }
    return "[" + text + "]";
}

struct Outcome {
    bool isRead;
    u64 at;
    std::string expected;
    Value value;
};

Outcome readOn(u32 threads, const std::string& text, DataType type) {
    const Workers workers(threads);
    ValueReader reader(text.data(), text.data() + text.size(), workers);
    Value value;
    const bool isRead = reader.read(AttrType::Buffer, type, value);
    return {isRead, static_cast<u64>(reader.at() - text.data()), reader.expected(), value};
}

// Returns `[1 2 3 4 5 6 7 8 9 0 1 ...` with a number in every second place, and a ']'.
std::string digits(u64 count) {
    std::string text(2 * count, ' ');
    text[0] = '[';
    for (u64 i = 0; i < count; ++i)
        text[2 * i + 1] = static_cast<char>('0' + i % 10);
    return text + "]";
}

class LongBuffer : public testing::TestWithParam<u32> {};

// Returns about as many numbers for each type.
Buffer longBuffer(u32 row) {
    const auto type = static_cast<DataType>(row);
    return randomBuffer(type, many / dataTypeComponents(type) + 1);
}

TEST_P(LongBuffer, Text_IsThatOfItsPartsForAnyNumberOfThreads) {
    const Buffer buffer = longBuffer(GetParam());
    const std::string expected = joinedText(buffer);
    for (const u32 threads : threadCounts) {
        StringIO out;
        writeBuffer(buffer, out, Workers(threads));
        EXPECT_TRUE(out.view() == expected) << threads;
    }
}

TEST_P(LongBuffer, Text_ReadsBackForAnyNumberOfThreads) {
    const auto type = static_cast<DataType>(GetParam());
    const Buffer buffer = longBuffer(GetParam());
    const std::string text = joinedText(buffer);
    for (const u32 threads : threadCounts) {
        const Outcome outcome = readOn(threads, text, type);
        ASSERT_TRUE(outcome.isRead) << threads;
        EXPECT_EQ(outcome.at, text.size());
        EXPECT_TRUE(outcome.value.asBuffer() == buffer) << threads;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Types, LongBuffer,
    testing::Values(static_cast<u32>(DataType::Bool), static_cast<u32>(DataType::Char),
                    static_cast<u32>(DataType::Int64), static_cast<u32>(DataType::UInt16),
                    static_cast<u32>(DataType::Float), static_cast<u32>(DataType::Double),
                    static_cast<u32>(DataType::Pos3f), static_cast<u32>(DataType::Mat4d)),
    [](const auto& row) { return dataTypeName(static_cast<DataType>(row.param)); });

TEST(BufferText, AFault_IsFoundAtItsPlaceForAnyNumberOfThreads) {
    const std::string good = digits(many);
    for (const u64 index : {u64{0}, u64{4095}, u64{4096}, u64{60'000}, u64{77'777}, many - 1})
        for (const u32 threads : threadCounts) {
            std::string text = good;
            text[2 * index + 1] = 'x';
            const Outcome outcome = readOn(threads, text, DataType::Float);
            EXPECT_FALSE(outcome.isRead);
            EXPECT_EQ(outcome.at, 2 * index + 1);
            EXPECT_EQ(outcome.expected, "a number");
            EXPECT_TRUE(outcome.value.isNull());
        }
}

TEST(BufferText, OfSeveralFaults_TheFirstIsFound) {
    std::string text = digits(many);
    for (u64 index = 50'001; index < many; index += 1000)
        text[2 * index + 1] = '(';
    for (const u32 threads : threadCounts)
        EXPECT_EQ(readOn(threads, text, DataType::Int32).at, 2 * 50'001 + 1u) << threads;
}

TEST(BufferText, FaultyLongLists_AreRefusedAsShortOnes) {
    const std::string good = digits(many);
    const u64 end = good.size() - 1;
    std::string joined = good;
    joined[2 * 70'000] = '.';
    const struct {
        std::string text;
        DataType type;
        u64 at;
        const char* expected;
    } rows[] = {
        {good.substr(0, end), DataType::Float, end, "']'"},
        {good.substr(0, end) + " {", DataType::Float, end + 1, "a number"},
        {good, DataType::Vec2f, 1, "'('"},
        {joined, DataType::Int32, 2 * 70'000 - 1, "a number"},
        {good.substr(0, end) + " 256]", DataType::Byte, end + 1, "a number"},
    };
    for (const auto& row : rows)
        for (const u32 threads : threadCounts) {
            const Outcome outcome = readOn(threads, row.text, row.type);
            EXPECT_FALSE(outcome.isRead) << row.at;
            EXPECT_EQ(outcome.at, row.at) << threads;
            EXPECT_EQ(outcome.expected, row.expected) << threads;
        }
}

TEST(BufferText, UnusualForms_AreReadInLongLists) {
    for (const std::string number : {"nan(0x7fc12345)", "1e+5", "-inf", "0.00000000000000000001"})
        for (const u32 threads : threadCounts) {
            std::string text = digits(many);
            text.replace(2 * 90'000 + 1, 1, number);
            const Outcome outcome = readOn(threads, text, DataType::Float);
            ASSERT_TRUE(outcome.isRead) << number;
            const Outcome lone = readOn(1, "[" + number + "]", DataType::Float);
            const auto* read = static_cast<const char*>(outcome.value.asBuffer().data());
            EXPECT_EQ(outcome.value.asBuffer().count(), many);
            EXPECT_EQ(std::memcmp(read + 90'000 * sizeof(float), lone.value.asBuffer().data(),
                                  sizeof(float)),
                      0)
                << number;
        }
}

TEST(BufferText, TextBehindALongList_IsLeft) {
    for (const u32 threads : threadCounts) {
        const Outcome outcome = readOn(threads, digits(many) + " [1 2]", DataType::Float);
        EXPECT_TRUE(outcome.isRead);
        EXPECT_EQ(outcome.at, digits(many).size());
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
