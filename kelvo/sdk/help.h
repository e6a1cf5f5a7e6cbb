#pragma once

#include "kelvo/sdk/node.h"

#include <functional>
#include <vector>

namespace qv::kelvo_sdk {

/// The help on one input, as plain texts in the language in use; unescaped.
struct HelpRow {
    /// Levels below the node: members and elements stand below the input that holds them.
    u32 depth = 0;
    /// As its parent finds it: "size", "[0]".
    String name;
    String label;
    String kind;
    String defaultText;
    /// "0 to 1", "at least 0"; empty without bounds.
    String range;
    /// All values that are allowed; empty when any value will do.
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

// Each of these takes a node type, as `LibInfo::type` gives it, or any other node, and changes
// nothing. Texts are in the language of `os::language()` where they have it.

/// Returns the label, or the type where there is none; empty for an empty handle.
[[nodiscard]] QV_EXPORT String helpTitle(const Node& type);

/// Returns the kind of an input or output, as its `typeName` gives it, without what that leaves
/// open: "Buffer" for a buffer of any elements.
[[nodiscard]] QV_EXPORT String helpKind(const String& typeName);

/// Returns the inputs by page and group of the node's layout, with those that it leaves out on a
/// last page; in their order on one page without a label when there is none. Long values are cut,
/// and of arrays of objects and arrays the first elements are told. None for an empty handle.
[[nodiscard]] QV_EXPORT std::vector<HelpPage> helpPages(const Node& type);

/// Returns scene text that shows how such a node is written: the values that differ from the
/// defaults, or, when none does or they are long, some first inputs. Empty for an empty handle.
[[nodiscard]] QV_EXPORT String helpExample(const Node& type);

/// Where a page of a site leads. Nothing here is HTML yet.
struct HelpLinks {
    /// The address and the text of the way back; no address: none.
    String index;
    String indexText;
    /// Returns the address of the page of a type; empty when it has none. Unset: none has.
    std::function<String(const String& type)> pageOf;
    /// The types that have the node's for a base.
    std::vector<String> derived;
};

/// Returns a whole page of HTML that leads to others of its site; empty for an empty handle. Label,
/// type and bases, icon, help, inputs, outputs and an example stand in it.
///
/// The page needs nothing outside itself and runs nothing. Every text from a scene or a definition
/// is escaped, and an icon shows only when it is plain, still SVG. A page by itself is
/// `INode::htmlHelp`.
[[nodiscard]] QV_EXPORT String helpSitePage(const Node& type, const HelpLinks& links = {});

} // namespace qv::kelvo_sdk
