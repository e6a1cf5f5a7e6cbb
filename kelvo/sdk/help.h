#pragma once

#include "kelvo/sdk/node.h"

#include <functional>
#include <vector>

namespace qv::kelvo_sdk {

/// The help on one input, as plain texts in the current language, not escaped.
struct HelpRow {
    /// The level below the node: 0 for its inputs, one more for each parent of a member or element.
    u32 depth = 0;
    /// The name of an input or member, "size", or the index of an element, "[0]".
    String name;
    String label;
    String kind;
    String defaultText;
    /// "0 to 1", "at least 0"; empty without bounds.
    String range;
    /// All allowed values; empty when any value is allowed.
    std::vector<String> choices;
    String unit;
    String help;
    bool isReadOnly = false;
};

/// Inputs under one heading of a layout, or under no heading.
struct HelpGroup {
    String label;
    std::vector<HelpRow> rows;
};

struct HelpPage {
    String label;
    std::vector<HelpGroup> groups;
};

// Each function takes a node type from `LibInfo::type`, or any other node, and does not change it.
// Texts are in the language of `os::language()` where the definition has it.

/// Returns the label, or the type when there is no label; empty for an empty handle.
[[nodiscard]] QV_EXPORT String helpTitle(const Node& type);

/// Returns the kind of an input or output from its `typeName`, without an element type that is not
/// fixed: "Buffer" for a buffer of any elements.
[[nodiscard]] QV_EXPORT String helpKind(const String& typeName);

/// Returns the inputs by page and group of the node's layout, inputs that the layout omits on a
/// last page; without a layout, all inputs in order on one page without a label. Cuts long values,
/// and shows only the first elements of arrays of objects or arrays. Empty for an empty handle.
[[nodiscard]] QV_EXPORT std::vector<HelpPage> helpPages(const Node& type);

/// Returns scene text that shows how to write such a node: the values that differ from the
/// defaults, or the first inputs when no value differs or these are long. Empty for an empty
/// handle.
[[nodiscard]] QV_EXPORT String helpExample(const Node& type);

/// The links of a page to others of its site, as plain texts, not HTML.
struct HelpLinks {
    /// The address and the text of the link to the index; without an address there is no link.
    String index;
    String indexText;
    /// Returns the address of the page of a type; empty when the type has none. Unset when no type
    /// has a page.
    std::function<String(const String& type)> pageOf;
    /// The types that have the node's type as a base.
    std::vector<String> derived;
};

/// Returns a whole HTML page with links to others of its site: label, type and bases, icon, help,
/// inputs, outputs and an example. Empty for an empty handle.
///
/// The page loads nothing and runs no script. All texts from a scene or a definition are escaped,
/// and an icon is shown only if it is plain SVG without animation. `INode::htmlHelp` makes a single
/// page without a site.
[[nodiscard]] QV_EXPORT String helpSitePage(const Node& type, const HelpLinks& links = {});

} // namespace qv::kelvo_sdk
