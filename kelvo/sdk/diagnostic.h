#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/base/vector.h"

namespace qv::kelvo_sdk {

/// An error or a warning about a text, with its place.
struct QV_EXPORT Diagnostic {
    String source;
    /// Line and column count from 1, columns in bytes; both are 0 for the source as a whole.
    u64 line = 0;
    u64 column = 0;
    /// The name of the node concerned; empty outside of nodes.
    String node;
    /// A whole sentence that says what was found and expected, with a suggested name where one is
    /// likely.
    String message;
    /// The node type concerned, in definition text.
    String type = {};

    /// Returns "source:line:column: node 'name': message", with "type 'name'" for definition text
    /// and without numbers for the source as a whole.
    [[nodiscard]] String text() const;
};

using Diagnostics = ds::Vector<Diagnostic>;

} // namespace qv::kelvo_sdk
