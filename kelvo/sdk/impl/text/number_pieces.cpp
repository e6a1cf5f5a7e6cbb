#include "kelvo/sdk/impl/text/number_pieces.h"

#include "kelvo/base/workers.h"

#include <algorithm>
#include <cstring>

namespace qv::kelvo_sdk::impl {

namespace {

// Large enough that counting takes longer than starting a thread.
constexpr u64 pieceSize = 1 << 17;
// A fixed number of characters that is counted at once; the number of words in it fits a byte.
constexpr u64 blockSize = 64;

// Tells whether a character is in no list of numbers. Others that are in none need not stop the
// counting, because reading the words finds them.
constexpr bool isForeign(char c) noexcept {
    return c == '[' || c == ']';
}

// Tells whether a character is in a word, and not between words.
constexpr bool isInWord(char c) noexcept {
    return c >= '-' || c == '+';
}

// Moves a cut behind the element that it is in.
const char* behindElement(const char* at, const char* end, bool inTuples) noexcept {
    if (inTuples) {
        while (at != end && *at != ')' && !isForeign(*at))
            ++at;
        return at != end && *at == ')' ? at + 1 : at;
    }
    while (at != end && isInWord(*at))
        ++at;
    return at;
}

// Eight characters of a text as the bytes of a word, which have a bit left for results.
constexpr u64 eachByte(u64 byte) noexcept {
    return 0x0101010101010101 * byte;
}
u64 load(const char* at) noexcept {
    u64 bytes;
    std::memcpy(&bytes, at, sizeof bytes);
    return bytes & eachByte(0x7f);
}
// Set the highest bit of the bytes that are in words, and of those that are '[' or ']', perhaps of
// a few others that are in no number.
u64 inWords(u64 bytes) noexcept {
    const u64 isFromMinus = bytes + eachByte(0x80 - '-');
    const u64 isNoPlus = (bytes ^ eachByte('+')) + eachByte(0x7f);
    return isFromMinus | ~isNoPlus;
}
u64 foreign(u64 bytes) noexcept {
    const u64 isNone = ((bytes & eachByte(0x79)) ^ eachByte('[' & ']')) + eachByte(0x7f);
    return ~isNone;
}

// Counts the words that begin in a block; false, without counting, when it may have a foreign
// character.
bool countBlock(const char* at, u64& words) noexcept {
    u64 begun = 0;
    u64 met = 0;
    for (u64 i = 0; i < blockSize; i += 8) {
        const u64 bytes = load(at + i);
        begun += ((inWords(bytes) & ~inWords(load(at + i - 1))) & eachByte(0x80)) >> 7;
        met |= foreign(bytes);
    }
    if ((met & eachByte(0x80)) != 0) return false;
    words += begun * eachByte(1) >> 56;
    return true;
}

// Counts words up to the end of the piece, or up to a foreign character, where the piece then ends.
// The character in front of the piece is in no word.
void countWords(NumberPieces::Piece& piece) noexcept {
    const char* at = piece.begin;
    while (at != piece.end && !isForeign(*at)) {
        if (static_cast<u64>(piece.end - at) >= blockSize && countBlock(at, piece.words)) {
            at += blockSize;
            continue;
        }
        const char* const end = at + std::min(blockSize, static_cast<u64>(piece.end - at));
        for (; at != end && !isForeign(*at); ++at)
            piece.words += isInWord(*at) && !isInWord(at[-1]);
    }
    piece.end = at;
}

} // namespace

bool NumberPieces::cut(const char* at, const char* end, u64 components, const Workers& workers) {
    m_pieces.clear();
    return findClose(at, end, components > 1, workers) && countElements(components);
}

// Looks ahead as far again as it has come, so that a list that ends early costs little.
bool NumberPieces::findClose(const char* at, const char* end, bool inTuples,
                             const Workers& workers) {
    u64 ahead = pieceSize;
    while (at != end) {
        const u64 first = m_pieces.size();
        const char* const stop = at + std::min(ahead, static_cast<u64>(end - at));
        while (at < stop) {
            const char* cut = at + std::min(pieceSize, static_cast<u64>(end - at));
            cut = behindElement(cut, end, inTuples);
            m_pieces.push_back({.begin = at, .end = cut});
            at = cut;
        }
        workers.run(m_pieces.size() - first, [&](u64 i) { countWords(m_pieces[first + i]); });
        for (u64 i = first; i < m_pieces.size(); ++i) {
            const char* const reached = m_pieces[i].end;
            if (reached == end) return false;
            if (!isForeign(*reached)) continue;
            m_pieces.resize(i + 1);
            return *reached == ']';
        }
        ahead *= 2;
    }
    return false;
}

bool NumberPieces::countElements(u64 components) {
    u64 words = 0;
    for (Piece& piece : m_pieces) {
        if (words % components != 0) return false;
        piece.firstElement = words / components;
        words += piece.words;
    }
    m_elements = words / components;
    return words % components == 0;
}

} // namespace qv::kelvo_sdk::impl
