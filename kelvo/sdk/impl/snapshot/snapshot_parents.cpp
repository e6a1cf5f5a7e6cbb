#include "kelvo/sdk/impl/snapshot/snapshot_parents.h"

#include "kelvo/sdk/impl/graph/known_names.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

struct Bond {
    NodeNumber parent;
    NodeNumber child;
};

// Finds the lists of nodes that follow each other and have one shape.
class ListFinder {
public:
    [[nodiscard]] u32 operator()(const NodeRecord& record) noexcept {
        const SnapshotShape& shape = record.shape();
        if (&shape != m_shape) {
            m_shape = &shape;
            m_isWithout = listOfChildren(record) == 0;
        }
        return m_isWithout ? 0 : listOfChildren(record);
    }

private:
    const SnapshotShape* m_shape = nullptr;
    bool m_isWithout = true;
};

// Lists each parent once for a child. Marks tell the last parent of each child.
std::vector<Bond> bondsOf(const SnapshotTables& tables, u32& numbers) {
    std::vector<Bond> bonds;
    std::vector<NodeNumber> lastParent;
    ListFinder listIn;
    tables.forEachRecord([&](const NodeRecord& record) {
        const NodeNumber parent = record.number();
        const u32 list = listIn(record);
        if (list == 0) return;
        forEachChild(record, list, [&](NodeNumber child) {
            if (child == noNumber) return;
            if (child >= lastParent.size()) lastParent.resize(2 * u64{child} + 1, noNumber);
            if (std::exchange(lastParent[child], parent) != parent)
                bonds.push_back({parent, child});
        });
    });
    numbers = static_cast<u32>(lastParent.size());
    return bonds;
}

} // namespace

u32 listOfChildren(const NodeRecord& record) noexcept {
    const KnownNames& known = knownNames();
    const SnapshotShape& shape = record.shape();
    const u32 place = shape.find(known.children);
    if (place == SnapshotShape::notFound || !shape.isTypeOf(known.xform)) return 0;
    const ShapeInput& input = shape.input(place);
    if (input.type != AttrType::Array || input.elementType != AttrType::Node) return 0;
    return static_cast<u32>(NodeRecord::at<u64>(record.value(record.list(0), place)));
}

SnapshotParents::SnapshotParents(const SnapshotTables& tables) {
    u32 numbers = 0;
    const std::vector<Bond> bonds = bondsOf(tables, numbers);
    m_first.resize(u64{numbers} + 1);
    for (const Bond& bond : bonds)
        ++m_first[bond.child + 1];
    for (u32 i = 0; i < numbers; ++i)
        m_first[i + 1] += m_first[i];
    m_parents.resize(bonds.size());
    std::vector<u32> next = m_first;
    for (const Bond& bond : bonds)
        m_parents[next[bond.child]++] = bond.parent;
}

std::span<const NodeNumber> SnapshotParents::of(NodeNumber child) const noexcept {
    if (u64{child} + 1 >= m_first.size()) return {};
    return std::span(m_parents).subspan(m_first[child], m_first[child + 1] - m_first[child]);
}

} // namespace qv::kelvo_sdk::impl
