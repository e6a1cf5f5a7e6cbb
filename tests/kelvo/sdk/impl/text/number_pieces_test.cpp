#include "kelvo/sdk/impl/text/number_pieces.h"

#include "kelvo/base/workers.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

constexpr u64 many = 100'000;

// Returns a list of `count` elements behind a blank, up to its ']'.
std::string list(u64 count, const std::string& element) {
    std::string text = " ";
    for (u64 i = 0; i < count; ++i)
        text += element + " ";
    return text + "]";
}

bool cut(NumberPieces& pieces, const std::string& text, u64 components, u32 threads = 2) {
    return pieces.cut(text.data() + 1, text.data() + text.size(), components, Workers(threads));
}

TEST(NumberPieces, LongList_IsCutIntoPiecesThatFollowEachOther) {
    const std::string text = list(many, "-12.5");
    for (const u32 threads : {1u, 2u, 8u}) {
        NumberPieces list;
        ASSERT_TRUE(cut(list, text, 1, threads));
        EXPECT_GT(list.pieces().size(), 3u);
        const char* at = text.data() + 1;
        u64 elements = 0;
        for (const NumberPieces::Piece& piece : list.pieces()) {
            EXPECT_EQ(piece.begin, at);
            EXPECT_EQ(piece.firstElement, elements);
            elements += piece.words;
            at = piece.end;
        }
        EXPECT_EQ(at, list.close());
        EXPECT_EQ(elements, many);
    }
}

TEST(NumberPieces, Elements_AreCounted) {
    const struct {
        const char* element;
        u64 components;
        const char* note;
    } rows[] = {
        {"1", 1, "single digits"},
        {"1,", 1, "commas"},
        {"\n\t1\r\n", 1, "lines"},
        {"1e+5", 1, "a plus inside of a number"},
        {"-nan", 1, "a word with a sign"},
        {"true", 1, "a word"},
        {"(1 2 3)", 3, "tuples"},
        {"(1,2,3)", 3, "tuples with commas"},
        {"( 1 2 3 )", 3, "tuples with blanks"},
        {"(1 2\n3)", 3, "tuples on two lines"},
    };
    for (const auto& row : rows) {
        NumberPieces pieces;
        ASSERT_TRUE(cut(pieces, list(many, row.element), row.components)) << row.note;
        EXPECT_EQ(pieces.elementCount(), many) << row.note;
    }
}

TEST(NumberPieces, Tuples_StayWhole) {
    const std::string text = list(many, "(10 20 30)");
    NumberPieces pieces;
    ASSERT_TRUE(cut(pieces, text, 3));
    for (const NumberPieces::Piece& piece : pieces.pieces())
        EXPECT_EQ(piece.words % 3, 0u);
}

TEST(NumberPieces, FaultyLists_AreNotCut) {
    const std::string good = list(many, "1");
    const struct {
        std::string text;
        u64 components;
        const char* note;
    } rows[] = {
        {good.substr(0, good.size() - 1), 1, "no ']'"},
        {good.substr(0, good.size() - 1) + "[1]", 1, "a '[' inside"},
        {list(many + 1, "1"), 2, "an odd number of words for pairs"},
        {list(many, "(1 2"), 3, "tuples that do not end"},
    };
    for (const auto& row : rows) {
        NumberPieces pieces;
        EXPECT_FALSE(cut(pieces, row.text, row.components)) << row.note;
    }
}

TEST(NumberPieces, AForeignCharacter_EndsTheListWhereverItIs) {
    const std::string good = list(many, "1");
    for (u64 at = 1; at < good.size(); at += 4099) {
        std::string text = good;
        text[at] = ']';
        NumberPieces pieces;
        ASSERT_TRUE(cut(pieces, text, 1)) << at;
        EXPECT_EQ(pieces.close(), text.data() + at);
        EXPECT_EQ(pieces.elementCount(), at / 2) << at;
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
