#pragma once

#include "base/ref_counted.h"
#include "base/string_vector.h"
#include "base/vector.h"
#include "sdk/impl/path_search.h"
#include "sdk/interfaces/forward.h"

#include <optional>

namespace qv::kelvo_sdk::impl {

/// A chain of nodes, each linked from the one before it. The nodes are borrowed.
class QV_EXPORT NodePath : public RefCounted {
public:
    explicit NodePath(ds::Vector<interfaces::INode*> nodes) : m_nodes(std::move(nodes)) {}

    [[nodiscard]] u64 nodeCount() const noexcept { return m_nodes.size(); }
    /// Returns null out of range; the first is where the search began, the last what it found.
    [[nodiscard]] interfaces::INode* node(u64 index) const noexcept {
        return index < m_nodes.size() ? m_nodes[index] : nullptr;
    }
    [[nodiscard]] interfaces::INode* last() const noexcept { return m_nodes.back(); }
    /// Returns the number of links: one less than there are nodes.
    [[nodiscard]] u64 length() const noexcept { return m_nodes.size() - 1; }
    /// Returns the names of the nodes: "room/lamp/bulb".
    [[nodiscard]] String text() const;

private:
    ds::Vector<interfaces::INode*> m_nodes;
};

/// Yields the paths from a node to others, one by one as they are asked for, depth first in input
/// order; no path meets a node twice. Created with one reference, owned by the caller. The graph
/// must stay as it is meanwhile. One thread at a time.
///
/// `flag` false: along "children" only; true: along every link and connection. `firstOnly` ends the
/// search at the first path.
class QV_EXPORT PathIterator : public RefCounted {
public:
    /// To the nodes of any of the types; no types: to every node that is reached.
    PathIterator(interfaces::INode* from, StringVector types, bool flag, bool firstOnly);
    PathIterator(interfaces::INode* from, interfaces::INode* to, bool flag, bool firstOnly);

    /// Returns the number of paths, at most `maxCount`: there may be exponentially many.
    virtual u64 count();
    /// Returns the path that the iterator stands at, at first the first; null behind the last.
    /// Valid until `next`, unless the caller takes a reference.
    virtual NodePath* current();
    /// Goes on to the next path; false when there is none.
    bool next();

    static constexpr u64 maxCount = 100'000;

private:
    void start();
    void advance();

    PathSearch m_start;
    PathSearch m_search;
    bool m_firstOnly;
    std::optional<u64> m_count;
    RefersTo<NodePath> m_current;
};

} // namespace qv::kelvo_sdk::impl
