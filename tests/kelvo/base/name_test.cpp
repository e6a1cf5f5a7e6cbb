#include "kelvo/base/name.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <type_traits>

using namespace qv;

namespace {

// Texts that differ only in ASCII case, with letters of several bytes, of 0 to 199 bytes each.
template<bool IsUpper>
constexpr std::array<char, 199> makeText() {
    constexpr std::string_view cycle = "aZ_9\xc3\xa9@[`{mN\xe2\x82\xac";
    std::array<char, 199> text{};
    for (u64 i = 0; i < text.size(); ++i) {
        const char c = cycle[i % cycle.size()];
        text[i] = IsUpper ? ascii::toUpper(c) : ascii::toLower(c);
    }
    return text;
}

constexpr std::array<char, 199> lowerText = makeText<false>();
constexpr std::array<char, 199> upperText = makeText<true>();

constexpr std::string_view firstBytes(const std::array<char, 199>& text, u64 size) {
    return {text.data(), size};
}

// The hashes that the compiler finds for the beginnings of a text.
constexpr std::array<u64, 200> compiledHashes = [] {
    std::array<u64, 200> hashes{};
    for (u64 size = 0; size < hashes.size(); ++size)
        hashes[size] = NameView(firstBytes(upperText, size)).foldedHash();
    return hashes;
}();

// The hashes that the compiler finds for single bytes.
constexpr std::array<u64, 256> compiledByteHashes = [] {
    std::array<u64, 256> hashes{};
    for (u64 i = 0; i < hashes.size(); ++i) {
        const char byte = static_cast<char>(i);
        hashes[i] = NameView(std::string_view(&byte, 1)).foldedHash();
    }
    return hashes;
}();

constexpr Name radius("Radius");

static_assert(NameView("radius").foldedHash() == NameView("RADIUS").foldedHash());
static_assert(NameView("radius").foldedHash() != NameView("radiu").foldedHash());
static_assert(NameView(static_cast<const char*>(nullptr)).foldedHash() == hashOfNothing);
static_assert(radius.text() == "Radius");
static_assert(std::is_trivially_copyable_v<Name> && std::is_trivially_destructible_v<Name>);

u64 runTimeHash(std::string text) {
    return String(text.c_str(), text.size()).foldedHash();
}

} // namespace

TEST(Name, HashOfTheCompiler_IsThatOfAStringForEveryByte) {
    for (u64 i = 1; i < 256; ++i)
        EXPECT_EQ(compiledByteHashes[i], runTimeHash({static_cast<char>(i)})) << i;
}

TEST(Name, HashOfTheCompiler_IsThatOfAStringForEveryLength) {
    for (u64 size = 0; size < 200; ++size)
        EXPECT_EQ(compiledHashes[size], runTimeHash(std::string(lowerText.data(), size))) << size;
}

TEST(Name, LettersBeyondAscii_KeepTheirCase) {
    constexpr NameView upper("\xc3\x89");
    constexpr NameView lower("\xc3\xa9");
    EXPECT_EQ(upper.foldedHash(), runTimeHash("\xc3\x89"));
    EXPECT_NE(upper.foldedHash(), lower.foldedHash());
}

TEST(Name, TextAtRunTime_HashesLikeAString) {
    const std::string text = "Attribute" + std::to_string(7);
    EXPECT_EQ(NameView(text.c_str()).foldedHash(), runTimeHash("attribute7"));
    EXPECT_EQ(NameView(std::string_view(text)).foldedHash(), runTimeHash("attribute7"));
    EXPECT_EQ(NameView(String(text.c_str())).foldedHash(), runTimeHash("attribute7"));
}

TEST(Name, Array_IsReadUpToItsNul) {
    const char text[16] = "radius";
    EXPECT_EQ(NameView(text).text(), "radius");
    EXPECT_EQ(NameView("ra\0dius").text(), "ra");
}

TEST(Name, Null_IsTheEmptyName) {
    const char* volatile none = nullptr;
    EXPECT_EQ(NameView(none).text(), "");
    EXPECT_EQ(NameView(none).foldedHash(), hashOfNothing);
    EXPECT_EQ(NameView(String()).foldedHash(), hashOfNothing);
}

TEST(Name, AsString_HasTheTextAsWritten) {
    const String text = radius;
    EXPECT_EQ(text, "Radius");
    const NameView view = radius;
    EXPECT_EQ(view.text().data(), radius.text().data());
}

TEST(Name, KeptAndAssigned_IsTheNewName) {
    Name name = "width";
    name = "depth";
    EXPECT_EQ(name.text(), "depth");
    EXPECT_EQ(NameView(name).foldedHash(), runTimeHash("depth"));
}

// Asks only about names without a loop in their hash: compilers unroll that after they answer.
#if defined(__OPTIMIZE__) && !defined(__clang__)
namespace {

[[gnu::always_inline]] inline bool isConstant(u64 value) {
    return __builtin_constant_p(value);
}

} // namespace

TEST(Name, LiteralInOptimisedCode_HasItsHashAsAConstant) {
    const char* volatile text = "radius";
    EXPECT_TRUE(isConstant(NameView("x").foldedHash()));
    EXPECT_TRUE(isConstant(NameView("radius").foldedHash()));
    EXPECT_TRUE(isConstant(NameView("attributeNumber1").foldedHash()));
    EXPECT_FALSE(isConstant(NameView(text).foldedHash()));
}
#endif
