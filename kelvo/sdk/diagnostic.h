#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/base/vector.h"

namespace qv::kelvo_sdk {

/// One thing found wrong in a text, and where.
struct QV_EXPORT Diagnostic {
    String source;
    /// Both count from 1, and are 0 where the source as a whole is meant; a column is a byte.
    u64 line = 0;
    u64 column = 0;
    /// The node concerned, empty outside of one.
    String node;
    /// A whole sentence: what was found and expected, and the nearest known name where one is
    /// likely.
    String message;
    /// The node type concerned, in a text of node types.
    String type = {};

    /// Returns "source:line:column: node 'name': message"; "type 'name'" in a text of node types,
    /// and no numbers for the source as a whole.
    [[nodiscard]] String text() const;
};

using Diagnostics = ds::Vector<Diagnostic>;

} // namespace qv::kelvo_sdk
