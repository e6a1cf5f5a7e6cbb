#include "kelvo/sdk/impl/snapshot/dependency_table.h"

#include <algorithm>
#include <utility>

namespace qv::kelvo_sdk::impl {

void DependencyTable::set(NodeNumber node, const NodeRecord* record) {
    removeAll(node);
    if (!record) return;
    forEachLink(*record, [&](NodeNumber to) {
        if (to != noNumber) add(node, to);
    });
    for (const RecordConnection& connection : record->connections())
        add(node, connection.source);
}

void DependencyTable::clear() noexcept {
    m_bonds.clear();
    m_ends.clear();
    m_firstFree = none;
}

void DependencyTable::makeRoom(NodeNumber node) {
    if (node >= m_ends.size()) m_ends.resize(std::max<u64>(2 * m_ends.size(), u64{node} + 1));
}

void DependencyTable::add(NodeNumber from, NodeNumber to) {
    makeRoom(std::max(from, to));
    if (m_firstFree == none) {
        m_firstFree = static_cast<u32>(m_bonds.size());
        m_bonds.emplace_back();
    }
    const u32 place = m_firstFree;
    Bond& bond = m_bonds[place];
    m_firstFree = bond.nextOfNode;
    bond = {from, to, m_ends[from].firstOfNode, m_ends[to].firstReader, none};
    m_ends[from].firstOfNode = m_ends[to].firstReader = place;
    if (bond.nextReader != none) m_bonds[bond.nextReader].lastReader = place;
}

void DependencyTable::removeAll(NodeNumber from) noexcept {
    if (from >= m_ends.size()) return;
    for (u32 place = std::exchange(m_ends[from].firstOfNode, none); place != none;) {
        Bond& bond = m_bonds[place];
        const u32 next = bond.nextOfNode;
        u32& before = bond.lastReader == none ? m_ends[bond.to].firstReader
                                              : m_bonds[bond.lastReader].nextReader;
        before = bond.nextReader;
        if (bond.nextReader != none) m_bonds[bond.nextReader].lastReader = bond.lastReader;
        bond = {.nextOfNode = m_firstFree};
        m_firstFree = place;
        place = next;
    }
}

} // namespace qv::kelvo_sdk::impl
