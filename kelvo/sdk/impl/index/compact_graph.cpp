#include "kelvo/sdk/impl/index/compact_graph.h"

#include "kelvo/sdk/impl/index/node_table_follower.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

CompactGraph::~CompactGraph() {
    for (std::vector<LeadRow>& rows : m_rows)
        for (LeadRow& row : rows)
            freeRoom(row);
    delete m_spareRoom.load();
}

// When memory is out, some lists keep an unused entry more than the list of nodes.
NodeNumber CompactGraph::claim() {
    if (!m_free.empty() || findUnused()) {
        const NodeNumber number = m_free.back();
        m_free.pop_back();
        return number;
    }
    const u64 count = m_nodes.size() + 1;
    if (m_free.capacity() < count) m_free.reserve(2 * count);
    if (m_follower && m_used.capacity() < m_free.capacity()) m_used.reserve(m_free.capacity());
    for (std::vector<LeadRow>& rows : m_rows)
        if (rows.size() < count) rows.emplace_back();
    m_nodes.push_back(nullptr);
    return static_cast<NodeNumber>(count - 1);
}

void CompactGraph::release(NodeNumber number) noexcept {
    for (std::vector<LeadRow>& rows : m_rows)
        freeRoom(rows[number]);
    if (m_follower && m_used.size() < m_used.capacity())
        m_used.push_back({number, m_follower->nextUse()});
    else if (!m_follower)
        m_free.push_back(number);
}

// Frees the numbers whose uses have ended.
bool CompactGraph::findUnused() noexcept {
    if (m_used.empty()) return false;
    const u64 oldest = m_follower ? m_follower->oldestUse() : ~u64{0};
    const auto end = std::ranges::find_if(m_used, [=](Used used) { return used.nextUse > oldest; });
    for (auto used = m_used.begin(); used != end; ++used)
        m_free.push_back(used->number);
    m_used.erase(m_used.begin(), end);
    return !m_free.empty();
}

void CompactGraph::place(NodeNumber number, Node* node) noexcept {
    m_nodes[number] = node;
    for (const Kind kind : allKinds)
        drop(kind, number);
}

const LeadRow& CompactGraph::fill(Kind kind, NodeNumber number, const std::vector<Lead>& leads) {
    LeadRow& row = m_rows[static_cast<u64>(kind)][number];
    makeRoom(row, leads.size());
    std::ranges::copy(leads, const_cast<Lead*>(row.begin()));
    const u32 room = row.m_few.state & LeadRow::many;
    stateOf(row).store(static_cast<u32>(leads.size()) | room, std::memory_order_release);
    return row;
}

// Needs a row that is not filled in, because it frees the old leads.
void CompactGraph::makeRoom(LeadRow& row, u64 count) {
    if (count <= row.capacity()) return;
    const u64 capacity = std::max(count, u64{2} * row.capacity());
    auto* const leads = new Lead[capacity];
    freeRoom(row);
    row.m_many = {LeadRow::many | LeadRow::unknown, static_cast<u32>(capacity), leads};
}

void CompactGraph::freeRoom(LeadRow& row) noexcept {
    if (row.hasMany()) delete[] row.m_many.leads;
    row = LeadRow();
}

CompactGraph::Marks::Marks(const CompactGraph& graph)
    : m_graph(graph), m_room(graph.m_spareRoom.exchange(nullptr)) {
    if (!m_room) m_room = std::make_unique<MarkRoom>();
    m_room->found.clear();
    if (m_room->marks.size() < graph.m_nodes.size()) m_room->marks.resize(graph.m_nodes.size());
    if (++m_room->walk != 0) return;
    std::ranges::fill(m_room->marks, MarkRoom::Mark());
    m_room->walk = 1;
}

// Keeps no memory for small scenes, because allocating little memory again is as fast.
CompactGraph::Marks::~Marks() {
    constexpr u64 worthKeeping = 256;
    if (m_room->marks.size() < worthKeeping) return;
    const std::unique_ptr<MarkRoom> other(m_graph.m_spareRoom.exchange(m_room.release()));
}

} // namespace qv::kelvo_sdk::impl
