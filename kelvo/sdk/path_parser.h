#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/base/vector.h"

namespace qv::kelvo_sdk {

/// Splits input paths such as "node.array[3].member" into steps.
class QV_EXPORT PathParser {
public:
    /// One step: a member by name, or an array element by number.
    struct Token {
        String text;
        u64 aux = 0;
        /// -1 for a member step; other negative values ask for a new element ("[+]").
        i64 index = -1;
    };

    /// The index of the step "[+]".
    static constexpr i64 appendIndex = -2;

    /// The greatest index of an element. Paths with a greater one count as malformed, because
    /// `inputAt` would make an array grow to that size.
    static constexpr i64 maxIndex = (i64(1) << 20) - 1;

    /// Returns one token per step, in order; none at all for a malformed path. Steps are simple
    /// identifiers, separated by '.'; "[3]" and "[+]" follow the name of the array.
    [[nodiscard]] static ds::Vector<Token> parsePath(String path);
};

} // namespace qv::kelvo_sdk
