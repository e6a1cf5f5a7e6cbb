#pragma once

#include "kelvo/sdk/scene.h"

#include <unordered_map>
#include <utility>
#include <vector>

namespace qv::kelvo_tool {

/// The hierarchy in the "children" inputs of a scene's nodes. Borrows the nodes.
class Hierarchy {
public:
    using INode = kelvo_sdk::interfaces::INode;

    explicit Hierarchy(const kelvo_sdk::Scene& scene);

    /// Returns the nodes that are nobody's child and, for nodes only reachable through a cycle, the
    /// first of that cycle. Every node can be reached from these.
    [[nodiscard]] const std::vector<INode*>& roots() const noexcept { return m_roots; }
    /// Returns the number of places that list the node as a child.
    [[nodiscard]] u64 timesListed(const INode* node) const { return m_entries.at(node).listed; }
    /// Returns the number of nodes on the longest path from a root down; 0 without nodes.
    [[nodiscard]] u64 levels() const noexcept { return m_levels; }
    /// Returns the pairs of node and child that close a cycle.
    [[nodiscard]] const std::vector<std::pair<INode*, INode*>>& cycles() const noexcept {
        return m_cycles;
    }

    /// Returns the children of a node in order, without the empty elements.
    [[nodiscard]] static std::vector<INode*> childrenOf(const INode& node);
    /// Returns the array "children" of a node, null when it has none.
    [[nodiscard]] static kelvo_sdk::interfaces::IInput* childListOf(const INode& node);

private:
    enum class State : u8 { New, Open, Done };
    struct Entry {
        u64 listed = 0;
        u64 levels = 0;
        State state = State::New;
    };
    struct Step {
        INode* node;
        std::vector<INode*> children;
        std::size_t next = 0;
    };

    void walk(INode* root);
    void enter(INode* node, std::vector<Step>& way);
    void leave(std::vector<Step>& way);

    std::unordered_map<const INode*, Entry> m_entries;
    std::vector<INode*> m_roots;
    std::vector<std::pair<INode*, INode*>> m_cycles;
    u64 m_levels = 0;
};

} // namespace qv::kelvo_tool
