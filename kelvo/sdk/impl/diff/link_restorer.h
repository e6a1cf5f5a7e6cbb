#pragma once

#include "kelvo/sdk/impl/diff/scene_match.h"

#include <string_view>
#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Names of nodes, and paths of outputs as in "wood.color:2".
using DocNames = std::unordered_set<std::string_view>;

/// Gives a side of a merge back the links and connections that it lost by removing nodes, for those
/// of them that stay.
class LinkRestorer {
public:
    /// Borrows all: what the side removed, what of that stays, and the owner of new texts.
    LinkRestorer(const DocNames& removed, const DocNames& kept, SceneDocument& owner)
        : m_removed(removed), m_kept(kept), m_owner(owner) {}

    /// Restores what an earlier version of the node had.
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

/// Returns a note's text with null in place of some nodes; `type` is the kind of the input.
[[nodiscard]] std::string clearedNote(const DocNote& note, AttrType type, const DocNames& names);

/// Adds the names of all nodes that an attribute, or what it holds, links or connects to.
void collectTargets(const DocAttr& attr, DocNames& names);
/// Tells whether all nodes that a document links or connects to are in it.
[[nodiscard]] bool namesItsNodes(const SceneDocument& document);

} // namespace qv::kelvo_sdk::impl
