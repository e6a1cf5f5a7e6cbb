#pragma once

#include "kelvo/base/math.h"
#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string.h"
#include "kelvo/base/vector.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk {

/// A chain of nodes, each linked or connected from the one before it. Counted; the nodes are
/// borrowed and must outlive the use of their path.
class QV_EXPORT NodePath : public RefCounted {
public:
    /// Needs at least one node.
    explicit NodePath(ds::Vector<interfaces::INode*> nodes) : m_nodes(std::move(nodes)) {}

    [[nodiscard]] u64 nodeCount() const noexcept { return m_nodes.size(); }
    /// Returns null out of range; the first is where the search began, the last what it found.
    [[nodiscard]] interfaces::INode* node(u64 index) const noexcept {
        return index < m_nodes.size() ? m_nodes[index] : nullptr;
    }
    [[nodiscard]] interfaces::INode* first() const noexcept { return m_nodes.front(); }
    [[nodiscard]] interfaces::INode* last() const noexcept { return m_nodes.back(); }
    /// Returns the number of links: one less than there are nodes.
    [[nodiscard]] u64 length() const noexcept { return m_nodes.size() - 1; }
    /// Returns the names of the nodes: "room/lamp/bulb".
    [[nodiscard]] String text() const;
    /// Returns the product of the inputs "matrix" along the path, which takes points of the last
    /// node's own space to the space that the first stands in: points are rows, so that the last
    /// matrix comes first. Nodes without such a Mat4 leave points where they are.
    [[nodiscard]] math::Mat4d matrix() const;

private:
    ds::Vector<interfaces::INode*> m_nodes;
};

/// The chains of nodes from one node to others, found one by one as they are asked for: depth
/// first, in input order. No chain meets a node twice. Copies share their place; every operation is
/// safe on an empty handle, which has no path.
///
///     for (NodePaths paths = room.pathsTo(lamp); paths.current(); paths.next())
///
/// The graph must stay as it is meanwhile. One thread at a time.
class QV_EXPORT NodePaths : public RefersTo<RefCounted> {
public:
    using RefersTo::RefersTo;

    /// Returns the path that is reached, at first the first; empty behind the last. Stays valid.
    [[nodiscard]] RefersTo<NodePath> current() const;
    /// Goes on to the next path; false when there is none.
    bool next() const;
    /// Returns how many there are in all; at least so many where `isCountExact` says no, which is
    /// where cycles leave too many ways to try.
    [[nodiscard]] u64 count() const;
    [[nodiscard]] bool isCountExact() const;
};

} // namespace qv::kelvo_sdk
