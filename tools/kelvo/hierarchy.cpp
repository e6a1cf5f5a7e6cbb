#include "tools/kelvo/hierarchy.h"

#include "tools/kelvo/node_parts.h"

#include <algorithm>

namespace qv::kelvo_tool {

using kelvo_sdk::SnapshotInput;
using kelvo_sdk::SnapshotNode;

void Hierarchy::Part::add(const SnapshotNode& node) {
    static const String name("children");
    const SnapshotInput list = node[name];
    const u64 count = list.type() == kelvo_sdk::AttrType::Array ? list.inputCount() : 0;
    for (u64 i = 0; i < count; ++i)
        if (const Number child = list.input(i).linkedNumber(); child != kelvo_sdk::noNodeNumber) {
            m_children.push_back(child);
            m_end = std::max(m_end, child + 1);
        }
    m_numbers.push_back(node.number());
    m_ends.push_back(m_children.size());
    m_end = std::max(m_end, node.number() + 1);
}

Hierarchy::Hierarchy(const kelvo_sdk::Snapshot& scene)
    : Hierarchy(
          partsOf<Part>(scene, [](Part& part, const SnapshotNode& node) { part.add(node); })) {}

Hierarchy::Hierarchy(std::vector<Part> parts) {
    Number end = 0;
    for (const Part& part : parts)
        end = std::max(end, part.m_end);
    m_entries.resize(end);
    for (const Part& part : parts)
        for (u64 i = 0; i < part.m_numbers.size(); ++i)
            addChildren(part.m_numbers[i], part.childrenOf(i));
    for (const Part& part : parts)
        for (const Number number : part.m_numbers)
            if (m_entries[number].listed == 0) walk(number);
    for (const Part& part : parts)
        for (const Number number : part.m_numbers)
            if (m_entries[number].state == State::New) walk(number);
}

std::span<const Hierarchy::Number> Hierarchy::childrenOf(Number node) const noexcept {
    const Entry& entry = m_entries[node];
    return std::span(m_children).subspan(entry.begin, entry.end - entry.begin);
}

void Hierarchy::addChildren(Number number, std::span<const Number> children) {
    if (children.empty()) return;
    const u64 begin = m_children.size();
    for (const Number child : children) {
        m_children.push_back(child);
        ++m_entries[child].listed;
    }
    Entry& entry = m_entries[number];
    entry.begin = static_cast<u32>(begin);
    entry.end = static_cast<u32>(m_children.size());
}

// Works without recursion: a chain of nodes may be as long as the scene.
void Hierarchy::walk(Number root) {
    m_roots.push_back(root);
    enter(root);
    while (!m_way.empty()) {
        Step& step = m_way.back();
        Entry& entry = m_entries[step.node];
        if (step.next == entry.end) {
            leave();
            continue;
        }
        const Number number = m_children[step.next++];
        const Entry& child = m_entries[number];
        if (child.state == State::New)
            enter(number);
        else if (child.state == State::Done)
            entry.levels = std::max(entry.levels, child.levels);
    }
    m_levels = std::max<u64>(m_levels, m_entries[root].levels);
}

void Hierarchy::enter(Number node) {
    m_entries[node].state = State::Open;
    m_way.push_back({node, m_entries[node].begin});
}

// Before this call the levels of an entry are those of its children alone.
void Hierarchy::leave() {
    Entry& entry = m_entries[m_way.back().node];
    entry.state = State::Done;
    ++entry.levels;
    m_way.pop_back();
    if (m_way.empty()) return;
    u32& levels = m_entries[m_way.back().node].levels;
    levels = std::max(levels, entry.levels);
}

} // namespace qv::kelvo_tool
