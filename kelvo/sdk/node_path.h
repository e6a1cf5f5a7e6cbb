#pragma once

#include "kelvo/base/math.h"
#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string.h"
#include "kelvo/base/vector.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk {

/// A chain of nodes, each linked to by the node before it or connected to it. The path is reference
/// counted; its nodes are borrowed, so they must outlive its use.
class QV_EXPORT NodePath : public RefCounted {
public:
    /// Needs at least one node.
    explicit NodePath(ds::Vector<interfaces::INode*> nodes) : m_nodes(std::move(nodes)) {}

    [[nodiscard]] u64 nodeCount() const noexcept { return m_nodes.size(); }
    /// Returns a node, null out of range. The search began at the first and found the last.
    [[nodiscard]] interfaces::INode* node(u64 index) const noexcept {
        return index < m_nodes.size() ? m_nodes[index] : nullptr;
    }
    [[nodiscard]] interfaces::INode* first() const noexcept { return m_nodes.front(); }
    [[nodiscard]] interfaces::INode* last() const noexcept { return m_nodes.back(); }
    /// Returns the number of links, which is one less than the number of nodes.
    [[nodiscard]] u64 length() const noexcept { return m_nodes.size() - 1; }
    /// Returns the names of the nodes: "room/lamp/bulb".
    [[nodiscard]] String text() const;
    /// Returns the product of the inputs "matrix" along the path. It transforms points from the
    /// space of the last node to the space around the first node. Points are rows, so the matrix of
    /// the last node is the first factor. Nodes without a Mat4 "matrix" count as the identity.
    [[nodiscard]] math::Mat4d matrix() const;

private:
    ds::Vector<interfaces::INode*> m_nodes;
};

/// The chains of nodes from one node to others. `next` finds them one by one, depth first in the
/// order of the inputs. No chain contains a node twice. Copies of the handle share its position;
/// every operation is safe on an empty handle, which has no paths.
///
///     for (NodePaths paths = room.pathsTo(lamp); paths.current(); paths.next())
///
/// The graph must not change in the meantime. For one thread at a time.
class QV_EXPORT NodePaths : public RefersTo<RefCounted> {
public:
    using RefersTo::RefersTo;

    /// Returns the current path, initially the first; empty after the last. It stays valid after
    /// `next`.
    [[nodiscard]] RefersTo<NodePath> current() const;
    /// Advances to the next path; false when there is none.
    bool next() const;
    /// Returns the number of all paths, or a lower bound if `isCountExact` is false, because cycles
    /// make too many paths to try.
    [[nodiscard]] u64 count() const;
    [[nodiscard]] bool isCountExact() const;
};

} // namespace qv::kelvo_sdk
