// ---- Hierarchy -------------------------------------------------------------------------
// Rules on the arrays "children", of nodes of any type.

#include "kelvo/sdk/impl/validate/scene_rules.h"

#include "kelvo/sdk/impl/graph/known_names.h"

#include <unordered_set>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

// Returns the array "children" of a node, an empty one when it has none.
template<typename Source>
typename Source::Input childListOf(typename Source::Node node) {
    return nodeList(Source::find(node, knownNames().children));
}

// Finds the links that lead back to an ancestor. Works without recursion: a chain may be as long as
// the scene. A node without children is on no cycle and is not entered.
template<typename Source>
class CycleSearch {
public:
    using Node = typename Source::Node;
    using Cycle = std::pair<Node, Node>;

    explicit CycleSearch(const Source& source) : m_source(source) {
        std::unordered_set<Node> listed;
        source.forEachNode([&](Node node) {
            const Inputs list = childrenOf(node);
            for (u64 i = 0; i < list.size(); ++i)
                listed.insert(source.linkedBy(list[i]));
        });
        source.forEachNode([&](Node node) {
            if (!listed.contains(node)) enter(node);
            walk();
        });
        source.forEachNode([&](Node node) {
            if (!m_isOpen.contains(node)) enter(node);
            walk();
        });
    }

    [[nodiscard]] const std::vector<Cycle>& cycles() const noexcept { return m_cycles; }

private:
    using Inputs = typename Source::Inputs;
    struct Step {
        Node node;
        Inputs list;
        u64 next = 0;
    };

    [[nodiscard]] static Inputs childrenOf(Node node) {
        const auto list = childListOf<Source>(node);
        return list ? Source::partsOf(list) : Inputs();
    }

    void enter(Node node) {
        const Inputs list = childrenOf(node);
        if (list.size() == 0) return;
        m_isOpen[node] = true;
        m_way.push_back({node, list});
    }

    void walk() {
        while (!m_way.empty()) {
            Step& step = m_way.back();
            if (step.next == step.list.size()) {
                m_isOpen[step.node] = false;
                m_way.pop_back();
                continue;
            }
            const Node child = m_source.linkedBy(step.list[step.next++]);
            if (!child) continue;
            const auto met = m_isOpen.find(child);
            if (met == m_isOpen.end())
                enter(child);
            else if (met->second)
                m_cycles.emplace_back(step.node, child);
        }
    }

    const Source& m_source;
    // Nodes visited so far; true while a node is on the current path.
    std::unordered_map<Node, bool> m_isOpen;
    std::vector<Step> m_way;
    std::vector<Cycle> m_cycles;
};

} // namespace

template<typename Source>
void SceneRules<Source>::checkChildren(Node node) {
    const Input list = childListOf<Source>(node);
    if (!list) return;
    std::unordered_set<Node> met;
    const Inputs elements = m_source.partsOf(list);
    for (u64 i = 0; i < elements.size(); ++i) {
        const Input element = elements[i];
        const Node child = m_source.linkedBy(element);
        if (child && met.insert(child).second) continue;
        if (!child && m_source.hasSource(element)) continue;
        const String start = "node '" + m_source.nameOf(node) + "': element " + indexText(i) +
                             " of '" + list->ownName() + "' ";
        const String end = child ? "links to '" + m_source.nameOf(child) + "' again."
                                 : String("links to no node.");
        add(child ? Rule::RepeatedChild : Rule::EmptyChild, node, m_source.pathOf(element),
            start + end, m_source.removal("remove element " + indexText(i), element));
    }
}

template<typename Source>
void SceneRules<Source>::checkCycles() {
    const CycleSearch<Source> search(m_source);
    for (const auto& [node, child] : search.cycles())
        add(Rule::ChildCycle, node, m_source.pathOf(childListOf<Source>(node)),
            "node '" + m_source.nameOf(node) + "' has '" + m_source.nameOf(child) +
                "' as a child, which it is itself below.");
}

template void SceneRules<LiveSource>::checkChildren(LiveSource::Node);
template void SceneRules<LiveSource>::checkCycles();
template void SceneRules<SnapshotSource>::checkChildren(SnapshotSource::Node);
template void SceneRules<SnapshotSource>::checkCycles();

} // namespace qv::kelvo_sdk::impl
