#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/types.h"

#include <string_view>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Bytes of a text from `first` to in front of `last`: whole lines, or what stands on one.
struct TextLines {
    u64 first = 0;
    u64 last = 0;
};

/// Returns a part of a text as lines: with the white space in front of it on its line, and without
/// such behind it on its last.
[[nodiscard]] String wholeLines(std::string_view text, u64 first, u64 last);

/// The parts of a text that a parser leaves out, and its findings meanwhile, so that the next
/// parser may leave out the faulty parts.
struct TextGaps {
    /// Parts that stay unread, in order, none inside of another.
    std::vector<TextLines> lines;
    /// Where names of nodes and outputs stand that lead nowhere, in order.
    std::vector<u64> references;

    /// A node, a line of one, a comment line, or what is none of these.
    struct Part {
        u64 first = 0;
        u64 last = 0;
        // Errors that were found in it, by number.
        u64 firstError = 0;
        u64 endOfErrors = 0;
        bool isFaulty = false;
    };
    /// All parts that were met, those inside of others before these.
    std::vector<Part> parts;
    /// A block that lacks its '}', which is taken to stand there.
    struct Unclosed {
        u64 offset = 0;
        String node;
        String message;
    };
    std::vector<Unclosed> unclosed;
};

} // namespace qv::kelvo_sdk::impl
