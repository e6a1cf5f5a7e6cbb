#include "kelvo/sdk/impl/scene_text/live_text.h"

#include "kelvo/base/log.h"

namespace qv::kelvo_sdk::impl {

using interfaces::INode;
using interfaces::IOutput;

std::vector<LiveText::Node> LiveText::allNodes() const {
    std::vector<Node> nodes;
    nodes.reserve(m_scene->nodeCount());
    m_scene->forEachNode([&](const INode* node) { nodes.push_back(implOf(node)); });
    return nodes;
}

String LiveText::nameOf(const Value& value) const {
    const INode* const target = value.type() == AttrType::Node ? value.asNode() : nullptr;
    if (!target) return {};
    if (target->scene() == m_scene) return target->name();
    logWarning("The link to node '%s' is written as none: the node is not of the scene.",
               target->name().buf());
    return {};
}

TextOutput LiveText::sourceOf(Input input) {
    const auto* const source = implOf(input->source());
    if (!source) return {};
    if (!source->node() || source->node()->scene() != m_scene) {
        logWarning("The connection of '%s' to '%s' is not written: that output is not of "
                   "the scene.",
                   input->path().buf(), source->path().buf());
        return {};
    }
    return {source->node()->name(), source->ownName(), ordinalOf(*source)};
}

// Counts the outputs of the same node and exact name, up to and including this one.
u32 LiveText::ordinalOf(const impl::Output& output) {
    const INode* node = output.node();
    if (node->outputCount() == 1) return 1;
    if (m_numbered.insert(node).second) {
        std::unordered_map<String, u32> met;
        for (u64 i = 0; i < node->outputCount(); ++i) {
            const IOutput* next = node->output(i);
            const u32 ordinal = ++met[implOf(next)->ownName()];
            if (ordinal > 1) m_ordinals[next] = ordinal;
        }
    }
    const auto found = m_ordinals.find(&output);
    return found != m_ordinals.end() ? found->second : 1;
}

// Marks all inputs around a changed one as changed, so that each is found only once.
bool LiveText::isUnchanged(Input input) {
    if (m_changed.contains(input)) return false;
    const Input found = firstChanged(*input);
    for (Input at = found; at; at = implOf(at->parent())) {
        m_changed.insert(at);
        if (at == input) break;
    }
    return !found;
}

// Finds a node that was replaced by its name.
UnreadNodes<LiveText::Node> LiveText::unreadNodes() const {
    UnreadNodes<Node> found;
    if (file().unread.empty()) return found;
    std::unordered_map<const INode*, Node> nodes;
    std::unordered_map<String, Node> byName;
    forEachNode([&](Node node) {
        nodes.emplace(node, node);
        byName.emplace(node->name(), node);
    });
    for (const UnreadLines& lines : file().unread) {
        const auto known = nodes.find(lines.node);
        const auto named = byName.find(lines.before);
        const Node other = named != byName.end() ? named->second : nullptr;
        found.add(known != nodes.end() ? known->second : other, lines);
    }
    return found;
}

} // namespace qv::kelvo_sdk::impl
