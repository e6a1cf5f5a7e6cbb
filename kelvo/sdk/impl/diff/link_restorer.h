#pragma once

#include "kelvo/sdk/impl/diff/scene_match.h"

#include <string_view>
#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Names of nodes, and paths of outputs such as "wood.color:2".
using DocNames = std::unordered_set<std::string_view>;

/// Gives one side of a merge the links and connections back that it lost by removing nodes, as far
/// as the merge keeps these nodes.
class LinkRestorer {
public:
    /// Borrows all arguments: the names that the side removed, the names kept of them, and the
    /// owner of new texts.
    LinkRestorer(const DocNames& removed, const DocNames& kept, SceneDocument& owner)
        : m_removed(removed), m_kept(kept), m_owner(owner) {}

    /// Restores links and connections of an earlier version of the node.
    void restore(const DocNode& earlier, DocNode& node) { restore(earlier.inputs, node.inputs); }

private:
    using List = std::vector<DocAttr>;

    void restore(const List& earlier, List& list);
    void restore(const DocAttr& earlier, DocAttr& attr);
    void restoreNotes(const DocAttr& earlier, DocAttr& attr);
    void restoreElements(const DocAttr& earlier, DocAttr& array);
    [[nodiscard]] bool linksToKept(const DocAttr& attr) const;
    [[nodiscard]] bool readsKept(std::string_view source) const;

    const DocNames& m_removed;
    const DocNames& m_kept;
    SceneDocument& m_owner;
};

/// Returns an annotation's text with null in place of some nodes; `type` is the kind of the input.
[[nodiscard]] std::string clearedNote(const DocNote& note, AttrType type, const DocNames& names);

/// Adds the names of all nodes that an attribute and its parts link or connect to.
void collectTargets(const DocAttr& attr, DocNames& names);
/// Tells whether a document contains all nodes that it links or connects to.
[[nodiscard]] bool namesItsNodes(const SceneDocument& document);

} // namespace qv::kelvo_sdk::impl
