#include "render/impl/hierarchy.h"

#include "render/impl/stopped.h"
#include "render/impl/transform.h"

namespace qv::render::impl {

namespace {

using kelvo_sdk::NodeNumber;
using kelvo_sdk::Snapshot;
using kelvo_sdk::SnapshotNode;

/// A set of node numbers, which are small.
class Numbers {
public:
    [[nodiscard]] bool contains(NodeNumber number) const noexcept {
        return number < m_marks.size() && m_marks[number] != 0;
    }
    /// Tells whether the number is new.
    bool insert(NodeNumber number) {
        if (number >= m_marks.size()) m_marks.resize(std::max(u64{number} + 1, m_marks.size() * 2));
        return std::exchange(m_marks[number], 1) == 0;
    }
    void erase(NodeNumber number) noexcept { m_marks[number] = 0; }

private:
    std::vector<char> m_marks;
};

// Marks everything below a node, at any depth.
void markBelow(const SnapshotNode& top, Numbers& marks, const std::stop_token& stop) {
    std::vector<SnapshotNode> open{top};
    while (!open.empty()) {
        endIfStopped(stop);
        const SnapshotNode node = open.back();
        open.pop_back();
        for (const SnapshotNode& child : node.children())
            if (marks.insert(child.number())) open.push_back(child);
    }
}

// Returns the nodes at the top. Of nodes that are all below each other, the first is at the top.
std::vector<SnapshotNode> topNodes(const Snapshot& snapshot, const std::stop_token& stop) {
    const ds::Vector<SnapshotNode> nodes = snapshot.nodes();
    Numbers children;
    for (const SnapshotNode& node : nodes) {
        endIfStopped(stop);
        for (const SnapshotNode& child : node.children())
            if (!(child == node)) children.insert(child.number());
    }
    std::vector<SnapshotNode> tops;
    Numbers reached;
    const auto addTop = [&](const SnapshotNode& node) {
        tops.push_back(node);
        reached.insert(node.number());
        markBelow(node, reached, stop);
    };
    for (const SnapshotNode& node : nodes)
        if (!children.contains(node.number())) addTop(node);
    for (const SnapshotNode& node : nodes)
        if (!reached.contains(node.number())) addTop(node);
    return tops;
}

/// Walks down all ways without recursion, as a hierarchy may be deep.
class PlaceWalk {
public:
    PlaceWalk(FindingList& findings, const PlaceVisitor& visit, const std::stop_token& stop,
              u64 atMost)
        : m_findings(findings), m_visit(visit), m_stop(stop), m_left(atMost) {}

    void walk(const SnapshotNode& top) {
        enter(top, math::Mat4d::identity, noPlace);
        while (!m_way.empty()) {
            Step& step = m_way.back();
            if (step.next == step.children.size()) {
                m_onWay.erase(step.node.number());
                m_way.pop_back();
                continue;
            }
            const SnapshotNode child = step.children[step.next++];
            const math::Mat4d toWorld = step.toWorld; // The step moves when the way grows.
            enter(child, toWorld, step.place);
        }
    }

private:
    struct Step {
        SnapshotNode node;
        u32 place = 0;
        math::Mat4d toWorld;
        ds::Vector<SnapshotNode> children;
        u64 next = 0;
    };

    void enter(const SnapshotNode& node, const math::Mat4d& above, u32 parent) {
        endIfStopped(m_stop);
        if (m_onWay.contains(node.number()))
            return m_findings.add(node, "The node is below itself, which cannot be shown.");
        if (m_left == 0)
            return m_findings.add(node, "There are too many places in the scene to show all.");
        --m_left;
        const u32 place = m_visited++;
        m_visit(node, above, parent);
        if (!node.isTypeOf("xform") || !node["visible"].get<bool>(true)) return;
        const math::Mat4d own = node.matrix();
        if (!isUsable(Transform(own)))
            return m_findings.add(node, "The matrix is not finite or cannot be inverted.");
        m_onWay.insert(node.number());
        m_way.push_back({node, place, own * above, node.children()});
    }

    FindingList& m_findings;
    const PlaceVisitor& m_visit;
    const std::stop_token& m_stop;
    std::vector<Step> m_way;
    Numbers m_onWay;
    u64 m_left;
    u32 m_visited = 0;
};

} // namespace

void visitPlaces(const Snapshot& snapshot, FindingList& findings, const PlaceVisitor& visit,
                 const std::stop_token& stop, u64 atMost) {
    PlaceWalk walk(findings, visit, stop, atMost);
    for (const SnapshotNode& top : topNodes(snapshot, stop))
        walk.walk(top);
}

} // namespace qv::render::impl
