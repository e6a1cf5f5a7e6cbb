#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/types.h"

#include <string_view>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// The bytes of a text from `first` up to `last`: whole lines, or a part of one.
struct TextLines {
    u64 first = 0;
    u64 last = 0;
};

/// Returns a part of a text as lines: with the white space in front of it on its line, without
/// white space at its end.
[[nodiscard]] String wholeLines(std::string_view text, u64 first, u64 last);

/// The parts of a text that a parser omits, and the faulty parts that it finds, so that the next
/// parse can omit these too.
struct TextGaps {
    /// Unread parts in order; none contains another.
    std::vector<TextLines> lines;
    /// Offsets of names of nodes and outputs that lead nowhere, in order.
    std::vector<u64> references;

    /// A node, a line of a node, a comment line, or text that is none of these.
    struct Part {
        u64 first = 0;
        u64 last = 0;
        // The range of numbers of its errors.
        u64 firstError = 0;
        u64 endOfErrors = 0;
        bool isFaulty = false;
    };
    /// All parts found, inner ones before those around them.
    std::vector<Part> parts;
    /// A block that lacks its '}', which is assumed to be at `offset`.
    struct Unclosed {
        u64 offset = 0;
        String node;
        String message;
    };
    std::vector<Unclosed> unclosed;
};

} // namespace qv::kelvo_sdk::impl
