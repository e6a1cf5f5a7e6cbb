#include "tools/kelvo/hierarchy.h"

#include <algorithm>

namespace qv::kelvo_tool {

using kelvo_sdk::AttrType;
using kelvo_sdk::interfaces::IInput;

Hierarchy::Hierarchy(const kelvo_sdk::Scene& scene) {
    std::vector<INode*> nodes;
    for (u64 i = 0; i < scene.nodeCount(); ++i)
        nodes.push_back(scene->node(i));
    for (INode* node : nodes) {
        m_entries[node];
        for (const INode* child : childrenOf(*node))
            ++m_entries[child].listed;
    }
    for (INode* node : nodes)
        if (m_entries[node].listed == 0) walk(node);
    for (INode* node : nodes)
        if (m_entries[node].state == State::New) walk(node);
}

IInput* Hierarchy::childListOf(const INode& node) {
    static const String name("children");
    return node.hasInput(name, AttrType::Array) ? node.input(name) : nullptr;
}

std::vector<Hierarchy::INode*> Hierarchy::childrenOf(const INode& node) {
    std::vector<INode*> children;
    const IInput* list = childListOf(node);
    for (u64 i = 0; list && i < list->inputCount(); ++i) {
        INode* child = nullptr;
        if (list->input(i)->readNode(child, false, nullptr) && child) children.push_back(child);
    }
    return children;
}

// Works without recursion: a chain of nodes may be as long as the scene.
void Hierarchy::walk(INode* root) {
    m_roots.push_back(root);
    std::vector<Step> way;
    enter(root, way);
    while (!way.empty()) {
        Step& step = way.back();
        if (step.next == step.children.size()) {
            leave(way);
            continue;
        }
        INode* child = step.children[step.next++];
        Entry& entry = m_entries[child];
        if (entry.state == State::New) {
            enter(child, way);
        } else if (entry.state == State::Open) {
            m_cycles.emplace_back(step.node, child);
        } else {
            u64& levels = m_entries[step.node].levels;
            levels = std::max(levels, entry.levels);
        }
    }
    m_levels = std::max(m_levels, m_entries[root].levels);
}

void Hierarchy::enter(INode* node, std::vector<Step>& way) {
    m_entries[node].state = State::Open;
    way.push_back({node, childrenOf(*node)});
}

// Before this call the levels of an entry are those of its children alone.
void Hierarchy::leave(std::vector<Step>& way) {
    Entry& entry = m_entries[way.back().node];
    entry.state = State::Done;
    ++entry.levels;
    way.pop_back();
    if (way.empty()) return;
    u64& levels = m_entries[way.back().node].levels;
    levels = std::max(levels, entry.levels);
}

} // namespace qv::kelvo_tool
