#include "tools/kelvo/hierarchy.h"

#include "tools/kelvo/node_parts.h"

#include <algorithm>

namespace qv::kelvo_tool {

using kelvo_sdk::SnapshotInput;
using kelvo_sdk::SnapshotNode;

namespace {

// Some of the nodes: their numbers, and for each the end of its children in the list.
struct Part {
    std::vector<Hierarchy::Number> numbers;
    std::vector<u64> ends;
    std::vector<Hierarchy::Number> children;

    void add(const SnapshotNode& node) {
        static const String name("children");
        const SnapshotInput list = node[name];
        const u64 count = list.type() == kelvo_sdk::AttrType::Array ? list.inputCount() : 0;
        for (u64 i = 0; i < count; ++i)
            if (const SnapshotNode child = list.input(i).linked())
                children.push_back(child.number());
        numbers.push_back(node.number());
        ends.push_back(children.size());
    }
    [[nodiscard]] std::span<const Hierarchy::Number> childrenOf(u64 index) const noexcept {
        const u64 begin = index == 0 ? 0 : ends[index - 1];
        return std::span(children).subspan(begin, ends[index] - begin);
    }
};

} // namespace

Hierarchy::Hierarchy(const ds::Vector<SnapshotNode>& nodes) {
    m_entries.reserve(nodes.size());
    const auto parts =
        partsOf<Part>(nodes, [](Part& part, const SnapshotNode& node) { part.add(node); });
    for (const Part& part : parts)
        for (u64 i = 0; i < part.numbers.size(); ++i)
            addChildren(part.numbers[i], part.childrenOf(i));
    for (const Part& part : parts)
        for (const Number number : part.numbers)
            if (m_entries[number].listed == 0) walk(number);
    for (const Part& part : parts)
        for (const Number number : part.numbers)
            if (m_entries[number].state == State::New) walk(number);
}

std::span<const Hierarchy::Number> Hierarchy::childrenOf(Number node) const noexcept {
    const Entry& entry = m_entries[node];
    return std::span(m_children).subspan(entry.begin, entry.end - entry.begin);
}

Hierarchy::Entry& Hierarchy::entryOf(Number node) {
    if (node >= m_entries.size()) m_entries.resize(node + 1);
    return m_entries[node];
}

void Hierarchy::addChildren(Number number, std::span<const Number> children) {
    const u64 begin = m_children.size();
    for (const Number child : children) {
        m_children.push_back(child);
        ++entryOf(child).listed;
    }
    Entry& entry = entryOf(number);
    entry.begin = static_cast<u32>(begin);
    entry.end = static_cast<u32>(m_children.size());
}

// Works without recursion: a chain of nodes may be as long as the scene.
void Hierarchy::walk(Number root) {
    m_roots.push_back(root);
    std::vector<Step> way;
    enter(root, way);
    while (!way.empty()) {
        Step& step = way.back();
        Entry& entry = m_entries[step.node];
        if (step.next == entry.end) {
            leave(way);
            continue;
        }
        const Number number = m_children[step.next++];
        const Entry& child = m_entries[number];
        if (child.state == State::New)
            enter(number, way);
        else if (child.state == State::Done)
            entry.levels = std::max(entry.levels, child.levels);
    }
    m_levels = std::max<u64>(m_levels, m_entries[root].levels);
}

void Hierarchy::enter(Number node, std::vector<Step>& way) {
    m_entries[node].state = State::Open;
    way.push_back({node, m_entries[node].begin});
}

// Before this call the levels of an entry are those of its children alone.
void Hierarchy::leave(std::vector<Step>& way) {
    Entry& entry = m_entries[way.back().node];
    entry.state = State::Done;
    ++entry.levels;
    way.pop_back();
    if (way.empty()) return;
    u32& levels = m_entries[way.back().node].levels;
    levels = std::max(levels, entry.levels);
}

} // namespace qv::kelvo_tool
