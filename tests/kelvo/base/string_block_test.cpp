#include "kelvo/base/string_block.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace qv {
namespace {

TEST(StringBlock, Texts_AreCopiesWithTheirNul) {
    StringBlock block(2, 7);
    const String one = block.add("one");
    const String four = block.add("four");
    EXPECT_EQ(one, "one");
    EXPECT_EQ(four, "four");
    EXPECT_EQ(std::string(one.buf()), "one");
}

TEST(StringBlock, Texts_LieInOneAllocation) {
    StringBlock block(2, 8);
    const String first = block.add("abcd");
    const String second = block.add("efgh");
    const auto distance = second.buf() - first.buf();
    EXPECT_GT(distance, 0);
    EXPECT_LT(distance, 64);
}

TEST(StringBlock, TextsOfTheExpectedSize_LieAsCloseAsTheyCan) {
    for (u64 length = 1; length <= 16; ++length) {
        StringBlock block(2, 2 * length);
        const std::string text(length, 'x');
        const String first = block.add(text), second = block.add(text);
        const u64 step = (StringBuffer::headerSize + length + 1 + 7) / 8 * 8;
        EXPECT_EQ(static_cast<u64>(second.buf() - first.buf()), step) << length;
    }
}

TEST(StringBlock, Text_OutlivesTheBlockAndTheOthers) {
    String kept;
    {
        StringBlock block(3, 15);
        const String gone = block.add("first");
        kept = block.add("other");
        EXPECT_EQ(block.add("third"), "third");
    }
    EXPECT_EQ(kept, "other");
    EXPECT_EQ(kept + "!", "other!");
}

TEST(StringBlock, Text_HashesAndComparesAsAnyOther) {
    StringBlock block(1, 5);
    const String text = block.add("Lamp1");
    EXPECT_EQ(text.hash(), String("Lamp1").hash());
    EXPECT_EQ(text.foldedHash(), String("lamp1").foldedHash());
}

TEST(StringBlock, EmptyText_IsTheEmptyString) {
    StringBlock block(0, 0);
    EXPECT_TRUE(block.add("").isEmpty());
    EXPECT_EQ(block.add("").get(), nullptr);
}

TEST(StringBlock, TextWithoutRoom_GetsItsOwn) {
    StringBlock block(1, 3);
    const std::string large(1000, 'x');
    std::vector<String> texts;
    for (int i = 0; i < 10; ++i)
        texts.push_back(block.add("abc"));
    texts.push_back(block.add(large));
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(texts[static_cast<std::size_t>(i)], "abc");
    EXPECT_EQ(texts.back(), large.c_str());
}

TEST(StringBlock, TextBeyondTheRoom_DoesNotLieBehindTheLast) {
    const std::string text(40, 'x');
    StringBlock roomy(2, 80), tight(2, 41);
    const String first = roomy.add(text), second = roomy.add(text);
    const String last = tight.add(text), beyond = tight.add(text);
    EXPECT_NE(beyond.buf() - last.buf(), second.buf() - first.buf());
    EXPECT_EQ(beyond, text.c_str());
}

TEST(StringBlock, TextBeyondTheCount_DoesNotLieBehindTheLast) {
    StringBlock roomy(2, 200), full(1, 200);
    const String first = roomy.add("abc"), second = roomy.add("abc");
    const String last = full.add("abc"), beyond = full.add("abc");
    EXPECT_NE(beyond.buf() - last.buf(), second.buf() - first.buf());
    EXPECT_EQ(beyond, "abc");
}

TEST(StringBlock, MoreThanABlockHolds_GetsNoBlock) {
    StringBlock roomy(2, 200);
    const String first = roomy.add("abc"), second = roomy.add("abc");
    const u64 tooMuch = u64{1} << 32;
    for (const auto& [count, bytes] : {std::pair{tooMuch, u64{6}}, std::pair{u64{2}, tooMuch}}) {
        StringBlock none(count, bytes);
        const String one = none.add("abc"), other = none.add("abc");
        EXPECT_NE(other.buf() - one.buf(), second.buf() - first.buf());
        EXPECT_EQ(other, "abc");
    }
}

TEST(StringBlock, TextsOfEveryLength_AreAligned) {
    StringBlock block(100, 5050);
    std::vector<String> texts;
    for (std::size_t length = 1; length <= 100; ++length)
        texts.push_back(block.add(std::string(length, 'a')));
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(texts[i].size(), i + 1);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(texts[i].get()) % alignof(StringBuffer), 0u);
    }
}

} // namespace
} // namespace qv
