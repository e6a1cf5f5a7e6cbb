// ---- Hierarchy -------------------------------------------------------------------------
// Rules on the arrays "children", of nodes of any type.

#include "kelvo/sdk/impl/validate/scene_rules.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <unordered_set>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

// Returns the array "children" of a node, null when it has none.
const Input* childListOf(const Node& node) {
    const IInput* found = node.lookUpInput(knownNames().children);
    if (!found || found->type() != AttrType::Array) return nullptr;
    return found->elementType() == AttrType::Node ? implOf(found) : nullptr;
}

INode* childOf(const IInput* element) {
    return implOf(element)->value().asNode();
}

// Finds the links that lead back to an ancestor. Works without recursion: a chain may be as long as
// the scene.
class CycleSearch {
public:
    using Cycle = std::pair<Node*, Node*>;

    explicit CycleSearch(const Scene& scene) {
        std::unordered_set<const INode*> listed;
        scene.forEachNode([&](const Node* node) {
            const Input* list = childListOf(*node);
            for (u64 i = 0; list && i < list->members().size(); ++i)
                listed.insert(childOf(list->members()[i]));
        });
        scene.forEachNode([&](Node* node) {
            if (!listed.contains(node)) walk(node);
        });
        scene.forEachNode([&](Node* node) {
            if (!m_isOpen.contains(node)) walk(node);
        });
    }

    [[nodiscard]] const std::vector<Cycle>& cycles() const noexcept { return m_cycles; }

private:
    struct Step {
        Node* node;
        const Input* list;
        u64 next = 0;
    };

    void enter(Node* node) {
        m_isOpen[node] = true;
        m_way.push_back({node, childListOf(*node)});
    }

    void walk(Node* root) {
        enter(root);
        while (!m_way.empty()) {
            Step& step = m_way.back();
            if (!step.list || step.next == step.list->members().size()) {
                m_isOpen[step.node] = false;
                m_way.pop_back();
                continue;
            }
            auto* child = implOf(childOf(step.list->members()[step.next++]));
            if (!child) continue;
            const auto met = m_isOpen.find(child);
            if (met == m_isOpen.end())
                enter(child);
            else if (met->second)
                m_cycles.emplace_back(step.node, child);
        }
    }

    // Nodes visited so far; true while a node is on the current path.
    std::unordered_map<const Node*, bool> m_isOpen;
    std::vector<Step> m_way;
    std::vector<Cycle> m_cycles;
};

} // namespace

void SceneRules::checkChildren(Node& node) {
    const Input* list = childListOf(node);
    if (!list) return;
    std::unordered_set<const INode*> met;
    for (u64 i = 0; i < list->members().size(); ++i) {
        auto& element = implOf(*list->members()[i]);
        const INode* child = childOf(&element);
        if (child && met.insert(child).second) continue;
        if (!child && element.source()) continue;
        const String start =
            "node '" + node.name() + "': element " + indexText(i) + " of '" + list->name() + "' ";
        const String path = element.path();
        if (child)
            add(Rule::RepeatedChild, &node, path, start + "links to '" + child->name() + "' again.",
                removalOf(element));
        else
            add(Rule::EmptyChild, &node, path, start + "links to no node.", removalOf(element));
    }
}

void SceneRules::checkCycles() {
    const CycleSearch search(m_scene);
    for (const auto& [node, child] : search.cycles())
        add(Rule::ChildCycle, node, childListOf(*node)->path(),
            "node '" + node->name() + "' has '" + child->name() +
                "' as a child, which it is itself below.");
}

} // namespace qv::kelvo_sdk::impl
