// Decides which removed nodes a merge keeps because the other side changed them or refers to them.

#include "kelvo/sdk/impl/diff/scene_merger.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

constexpr std::string_view kChanged = "changed";
constexpr std::string_view kRefersTo = "refers to";

DocNames targetsOf(const DocNode* node) {
    DocNames names;
    if (node)
        for (const DocAttr& input : node->inputs)
            collectTargets(input, names);
    return names;
}

} // namespace

// A node that stays keeps all references to it: before the comparison, the side that removed the
// node gets the links and connections back that it lost by the removal.
void SceneMerger::settleRemovals(const Sides& sides) {
    const DocNames removed = removedNames(sides.removingNodes);
    if (removed.empty()) return;
    claimChanged(sides, removed);
    if (m_options.preferred == sides.side) claimTargets(sides, removed);
    if (m_options.preferred && m_options.preferred != sides.side) return;
    DocNames kept;
    std::ranges::copy_if(removed, std::inserter(kept, kept.end()),
                         [&](std::string_view name) { return m_claims.contains(name); });
    if (kept.empty()) return;
    LinkRestorer restorer(removed, kept, m_made);
    for (DocNode& node : sides.removing.nodes)
        if (const DocNode* base = m_baseNodes.find(node.name)) restorer.restore(*base, node);
}

// Returns the nodes and outputs of the base that a side lacks.
DocNames SceneMerger::removedNames(const NodePlaces& nodes) {
    DocNames names;
    for (const DocNode& base : m_base.nodes) {
        const DocNode* node = nodes.find(base.name);
        if (!node) {
            names.insert(base.name);
            continue;
        }
        const AttrKeys had(base.outputs);
        const AttrKeys has(node->outputs);
        for (u64 i = 0; i < base.outputs.size(); ++i)
            if (has.find(had[i]) == noIndex)
                names.insert(m_made.keep(String(base.name) + "." + keyText(had[i]).c_str()));
    }
    return names;
}

// Links that a side lost only by removing nodes do not count as changes.
void SceneMerger::claimChanged(const Sides& sides, const DocNames& removed) {
    const DocNames own = removedNames(sides.havingNodes);
    LinkRestorer restorer(own, own, m_made);
    for (const DocNode& base : m_base.nodes) {
        const DocNode* having = sides.havingNodes.find(base.name);
        if (!having) continue;
        if (removed.contains(base.name)) {
            DocNode whole = *having;
            restorer.restore(base, whole);
            if (!isSame(whole, base)) m_claims.emplace(base.name, kChanged);
            continue;
        }
        const AttrKeys had(base.outputs);
        const AttrKeys has(having->outputs);
        for (u64 i = 0; i < base.outputs.size(); ++i) {
            const auto name = removed.find(std::string(base.name) + '.' + keyText(had[i]));
            const u64 place = has.find(had[i]);
            if (name == removed.end() || place == noIndex) continue;
            if (!isSame(having->outputs[place], base.outputs[i])) m_claims.emplace(*name, kChanged);
        }
    }
}

// Keeps nodes that the preferred side newly refers to, and those that claimed nodes need.
void SceneMerger::claimTargets(const Sides& sides, const DocNames& removed) {
    std::vector<const DocNode*> left;
    for (const DocNode& node : sides.having.nodes)
        if (!removed.contains(node.name) || m_claims.contains(node.name)) left.push_back(&node);
    while (!left.empty()) {
        const DocNode& node = *left.back();
        left.pop_back();
        const bool isClaimed = removed.contains(node.name);
        const DocNames had = targetsOf(isClaimed ? nullptr : m_baseNodes.find(node.name));
        for (const std::string_view name : targetsOf(&node)) {
            const DocNode* target = sides.havingNodes.find(name);
            if (!target || !removed.contains(name) || had.contains(name)) continue;
            if (m_claims.emplace(target->name, kRefersTo).second) left.push_back(target);
        }
    }
}

// Return the word for a side's change of an object that the other side removed; empty for no
// change.
std::string_view SceneMerger::claimOn(const DocAttr& attr, const DocAttr& base) const {
    return isSame(attr, base) ? std::string_view() : kChanged;
}

std::string_view SceneMerger::claimOn(const DocNode& node, const DocNode&) const {
    const auto claim = m_claims.find(node.name);
    return claim != m_claims.end() ? claim->second : std::string_view();
}

} // namespace qv::kelvo_sdk::impl
