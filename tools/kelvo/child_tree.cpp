#include "tools/kelvo/child_tree.h"

#include <algorithm>

namespace qv::kelvo_tool {

using kelvo_sdk::SnapshotInput;
using kelvo_sdk::SnapshotNode;

ChildTree::ChildTree(const ds::Vector<SnapshotNode>& nodes) {
    m_entries.reserve(nodes.size());
    for (const SnapshotNode& node : nodes)
        addChildren(node);
    for (const SnapshotNode& node : nodes)
        if (!m_entries[node.number()].isListed) walk(node.number());
    for (const SnapshotNode& node : nodes)
        if (m_entries[node.number()].state == State::New) walk(node.number());
}

ChildTree::Entry& ChildTree::entryOf(Number node) {
    if (node >= m_entries.size()) m_entries.resize(node + 1);
    return m_entries[node];
}

void ChildTree::addChildren(const SnapshotNode& node) {
    static const String name("children");
    const u64 begin = m_children.size();
    const SnapshotInput list = node[name];
    const u64 count = list.type() == kelvo_sdk::AttrType::Array ? list.inputCount() : 0;
    for (u64 i = 0; i < count; ++i) {
        const SnapshotNode child = list.input(i).linked();
        if (!child) continue;
        m_children.push_back(child.number());
        entryOf(child.number()).isListed = true;
    }
    Entry& entry = entryOf(node.number());
    entry.begin = begin;
    entry.end = m_children.size();
}

// Works without recursion: a chain of nodes may be as long as the scene.
void ChildTree::walk(Number root) {
    std::vector<Number> way{root};
    m_entries[root].state = State::Open;
    while (!way.empty()) {
        Entry& entry = m_entries[way.back()];
        if (entry.begin == entry.end) {
            leave(way);
            continue;
        }
        const Number number = m_children[entry.begin++];
        Entry& child = m_entries[number];
        if (child.state == State::Done) entry.levels = std::max(entry.levels, child.levels);
        if (child.state != State::New) continue;
        child.state = State::Open;
        way.push_back(number);
    }
    m_levels = std::max(m_levels, m_entries[root].levels);
}

// Before this call the levels of an entry are those of its children alone.
void ChildTree::leave(std::vector<Number>& way) {
    Entry& entry = m_entries[way.back()];
    entry.state = State::Done;
    ++entry.levels;
    way.pop_back();
    if (way.empty()) return;
    u64& levels = m_entries[way.back()].levels;
    levels = std::max(levels, entry.levels);
}

} // namespace qv::kelvo_tool
