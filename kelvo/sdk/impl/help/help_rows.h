#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/forward.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// The help on one input, as plain texts in the language in use; unescaped.
struct HelpRow {
    /// Levels below the node: members and elements stand below what holds them.
    u32 depth = 0;
    /// As the parent finds it: "size", "[0]".
    String name;
    String label;
    String kind;
    String defaultText;
    /// "0 to 1", "at least 0"; empty without bounds.
    String range;
    /// All that is allowed; empty when any value will do.
    std::vector<String> choices;
    String unit;
    String help;
    bool isReadOnly = false;
};

/// Inputs under one heading of a layout, or under none.
struct HelpGroup {
    String label;
    std::vector<HelpRow> rows;
};

struct HelpPage {
    String label;
    std::vector<HelpGroup> groups;
};

/// Returns the inputs by page and group of the node's layout, with those that it leaves out on a
/// last page; in their order on one page without a label when there is none. Long values are cut,
/// and of arrays of objects and arrays the first elements are told.
[[nodiscard]] QV_EXPORT std::vector<HelpPage> helpPages(const interfaces::INode& node);

/// Returns the label, or the type where there is none.
[[nodiscard]] QV_EXPORT String helpTitle(const interfaces::INode& node);

/// Returns the kind without what it leaves open: "Buffer" for a buffer of any elements.
[[nodiscard]] QV_EXPORT String helpKind(const String& typeName);

} // namespace qv::kelvo_sdk::impl
