// The matrices of nodes in a snapshot, by the ways up through their parents.

#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"
#include "kelvo/sdk/snapshot.h"

#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk {

namespace {

// The ways from a node up to the top, one after the other. Keeps its steps in a list instead of
// recursion, because hierarchies may be deep.
class WaysUp {
public:
    WaysUp(const impl::SnapshotPicture& picture, NodeNumber start) : m_picture(picture) {
        add(start);
        climb();
    }

    /// Goes on to the next way; returns false after the last.
    bool next() {
        while (!m_steps.empty()) {
            Step& last = m_steps.back();
            if (last.next < last.parents.size()) {
                if (addNextParent()) {
                    climb();
                    return true;
                }
                continue;
            }
            m_isOnWay.erase(last.node);
            m_steps.pop_back();
        }
        return false;
    }
    /// Multiplies from the top down, which gives the same bits as `NodePath::matrix`.
    [[nodiscard]] math::Mat4d product() const {
        math::Mat4d product = math::Mat4d::identity;
        for (u64 i = m_steps.size(); i-- > 0;)
            product = matrixOf(m_steps[i].node) * product;
        return product;
    }

private:
    struct Step {
        NodeNumber node;
        std::span<const NodeNumber> parents;
        u64 next = 0;
    };

    void add(NodeNumber node) {
        m_isOnWay.insert(node);
        m_steps.push_back({node, m_picture.parents().of(node)});
    }
    // Leaves out parents that are on the way already; false when there is no other.
    bool addNextParent() {
        Step& last = m_steps.back();
        while (last.next < last.parents.size()) {
            const NodeNumber parent = last.parents[last.next++];
            if (m_isOnWay.contains(parent)) continue;
            add(parent);
            return true;
        }
        return false;
    }
    void climb() {
        while (addNextParent()) {
        }
    }
    [[nodiscard]] math::Mat4d matrixOf(NodeNumber node) const noexcept {
        return SnapshotNode(&m_picture, m_picture.tables().record(node)).matrix();
    }

    const impl::SnapshotPicture& m_picture;
    std::vector<Step> m_steps;
    std::unordered_set<NodeNumber> m_isOnWay;
};

} // namespace

math::Mat4d SnapshotNode::matrix() const noexcept {
    math::Mat4d matrix = math::Mat4d::identity;
    const SnapshotInput input = (*this)["matrix"];
    if (input.type() == AttrType::Mat4) input.read(matrix);
    return matrix;
}

ds::Vector<SnapshotNode> SnapshotNode::parents() const {
    ds::Vector<SnapshotNode> found;
    if (!m_record) return found;
    for (const NodeNumber parent : m_picture->parents().of(number()))
        found.push_back({m_picture, m_picture->tables().record(parent)});
    return found;
}

math::Mat4d SnapshotNode::worldMatrix() const {
    return m_record ? WaysUp(*m_picture, number()).product() : math::Mat4d::identity;
}

ds::Vector<math::Mat4d> SnapshotNode::worldMatrices(u64 atMost) const {
    ds::Vector<math::Mat4d> found;
    if (!m_record || atMost == 0) return found;
    WaysUp way(*m_picture, number());
    do
        found.push_back(way.product());
    while (found.size() < atMost && way.next());
    return found;
}

} // namespace qv::kelvo_sdk
