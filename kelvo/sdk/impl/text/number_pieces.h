#pragma once

#include "kelvo/base/types.h"

#include <vector>

namespace qv {
class Workers;
}

namespace qv::kelvo_sdk::impl {

/// The pieces of a long list of numbers, cut between its elements, so that several threads may read
/// them. Elements are single numbers, or tuples in parentheses.
class NumberPieces {
public:
    struct Piece {
        const char* begin = nullptr;
        const char* end = nullptr;
        /// The words in the piece: its numbers, if it has no faults.
        u64 words = 0;
        /// The elements in front of the piece.
        u64 firstElement = 0;
    };

    /// Cuts the list that starts at `at` and ends at a ']'; `components` is the number of numbers
    /// in an element; a separator or tuple stands in front of `at`. False when there is no such
    /// list, or its words do not make whole elements: the list then has a fault, or a number of an
    /// unusual form. Takes time in proportion to the list.
    [[nodiscard]] bool cut(const char* at, const char* end, u64 components, const Workers& workers);

    [[nodiscard]] const std::vector<Piece>& pieces() const noexcept { return m_pieces; }
    [[nodiscard]] u64 elementCount() const noexcept { return m_elements; }
    /// Returns the place of the ']'.
    [[nodiscard]] const char* close() const noexcept { return m_pieces.back().end; }

private:
    bool findClose(const char* at, const char* end, bool inTuples, const Workers& workers);
    bool countElements(u64 components);

    std::vector<Piece> m_pieces;
    u64 m_elements = 0;
};

} // namespace qv::kelvo_sdk::impl
