#include "kelvo/sdk/impl/scene_text/scene_checker.h"

#include "kelvo/base/spelling_suggestion.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/value/conversion.h"
#include "kelvo/sdk/interfaces/i_node.h"
#include "kelvo/sdk/interfaces/i_output.h"

#include "kelvo/base/string_io.h"

#include <algorithm>
#include <numeric>

namespace qv::kelvo_sdk::impl {

namespace {

// Bounds the search for similar names, which may take no longer than reading.
constexpr u64 kMostCandidates = 100'000;

String typeText(AttrType type, DataType dataType) {
    String kind(attrTypeName(type));
    if (type != AttrType::Buffer || dataType == DataType::Null) return kind;
    return kind + "<" + dataTypeName(dataType) + ">";
}

} // namespace

bool kindsFit(AttrType from, DataType fromElements, AttrType to, DataType bound) noexcept {
    if (from != AttrType::Buffer || to != AttrType::Buffer) return kindsConvert(from, to);
    return bound == DataType::Null || bound == fromElements;
}

SceneChecker::SceneChecker(SceneTree& tree, Scene& scene, TextErrors& errors, bool namesAreMissing)
    : m_tree(tree), m_scene(scene), m_errors(errors), m_namesAreMissing(namesAreMissing) {}

void SceneChecker::check() {
    for (TreeLink& link : m_tree.links) {
        if (m_errors.full()) return;
        findLink(link);
    }
    if (m_tree.connections.empty()) return;
    sortOutputs();
    for (TreeConnection& connection : m_tree.connections) {
        if (m_errors.full()) return;
        findSource(connection);
    }
    checkLoops();
}

void SceneChecker::findLink(TreeLink& link) {
    link.target = m_tree.findNode(link.name);
    if (link.target != noTreeIndex) return;
    link.known = m_scene.findNode(m_tree.names.text(link.name));
    if (!link.known) failUnknown(link.offset, link.node, unknownNode(link.name));
}

void SceneChecker::findSource(TreeConnection& connection) {
    connection.target = m_tree.findNode(connection.sourceNode);
    if (connection.target == noTreeIndex) return findKnownSource(connection);
    connection.output = outputOf(connection.target, connection.sourceOutput, connection.ordinal);
    if (connection.output == noTreeIndex) {
        connection.target = noTreeIndex;
        return failUnknown(connection.offset, connection.node, unknownOutput(connection, nullptr));
    }
    const TreeOutput& output = m_tree.outputs[connection.output];
    checkKinds(connection, output.type, output.dataType);
}

void SceneChecker::findKnownSource(TreeConnection& connection) {
    INode* node = m_scene.findNode(m_tree.names.text(connection.sourceNode));
    if (!node)
        return failUnknown(connection.offset, connection.node, unknownNode(connection.sourceNode));
    const String& name = m_tree.names.text(connection.sourceOutput);
    IOutput* similar = nullptr;
    u32 met = 0;
    for (u64 i = 0; i < node->outputCount() && !connection.known; ++i) {
        IOutput* output = node->output(i);
        const String known = output->name();
        if (!known.equalsNoCase(name)) continue;
        if (!similar) similar = output;
        if (known.equals(name) && ++met == connection.ordinal) connection.known = output;
    }
    if (!connection.known && connection.ordinal == 1) connection.known = similar;
    if (!connection.known)
        return failUnknown(connection.offset, connection.node, unknownOutput(connection, node));
    checkKinds(connection, connection.known->type(), connection.known->dataType());
}

void SceneChecker::checkKinds(const TreeConnection& connection, AttrType type, DataType dataType) {
    const TreeInput& input = m_tree.inputs[connection.input];
    if (kindsFit(type, dataType, input.type, input.boundType)) return;
    if (!m_errors.wantsMessage()) return fail(connection.offset, connection.node, String());
    fail(connection.offset, connection.node,
         "The output '" + sourcePath(connection) + "' of kind " + typeText(type, dataType) +
             " does not convert to the input '" + inputPath(connection) + "' of kind " +
             typeText(input.type, input.boundType) + ".");
}

// Sorts the outputs of each node stably: equal names keep their order.
void SceneChecker::sortOutputs() {
    const NamePool& names = m_tree.names;
    m_byName.resize(m_tree.outputs.size());
    std::iota(m_byName.begin(), m_byName.end(), 0u);
    m_byFolded = m_byName;
    for (const TreeNode& node : m_tree.nodes) {
        if (node.outputCount < 2) continue;
        const auto sort = [&](std::vector<u32>& order, const auto& key) {
            const auto first = order.begin() + static_cast<std::ptrdiff_t>(node.firstOutput);
            std::stable_sort(first, first + static_cast<std::ptrdiff_t>(node.outputCount),
                             [&](u32 a, u32 b) { return key(a) < key(b); });
        };
        sort(m_byName, [&](u32 i) { return m_tree.outputs[i].name; });
        sort(m_byFolded, [&](u32 i) { return names.folded(m_tree.outputs[i].name); });
    }
}

u32 SceneChecker::outputOf(u32 node, u32 name, u32 ordinal) const {
    const TreeNode& owner = m_tree.nodes[node];
    const auto find = [&](const std::vector<u32>& order, u32 wanted, u32 skipped,
                          const auto& key) -> u32 {
        const auto first = order.begin() + static_cast<std::ptrdiff_t>(owner.firstOutput);
        const auto last = first + static_cast<std::ptrdiff_t>(owner.outputCount);
        auto place =
            std::lower_bound(first, last, wanted, [&](u32 i, u32 key2) { return key(i) < key2; });
        if (last - place <= static_cast<std::ptrdiff_t>(skipped)) return noTreeIndex;
        place += static_cast<std::ptrdiff_t>(skipped);
        return key(*place) == wanted ? *place : noTreeIndex;
    };
    const u32 exact =
        find(m_byName, name, ordinal - 1, [&](u32 i) { return m_tree.outputs[i].name; });
    if (exact != noTreeIndex || ordinal != 1) return exact;
    return find(m_byFolded, m_tree.names.folded(name), 0,
                [&](u32 i) { return m_tree.names.folded(m_tree.outputs[i].name); });
}

String SceneChecker::unknownNode(u32 name) const {
    if (!m_errors.wantsMessage()) return {};
    const String& wanted = m_tree.names.text(name);
    SpellingSuggestion near(wanted.view());
    for (u32 i = 0; i < std::min<u64>(m_tree.nodes.size(), kMostCandidates); ++i)
        if (m_tree.nodes[i].name != noTreeIndex) near.offer(m_tree.nodeName(i).view());
    // The texts of names belong to the nodes and outlive these handles.
    for (u64 i = 0; i < std::min(m_scene.nodeCount(), kMostCandidates); ++i)
        near.offer(m_scene.node(i)->name().view());
    return "Unknown node '" + wanted + "'" + near.question();
}

// Takes a node of the scene as `known`; looks a node of the text up by name when that is null.
String SceneChecker::unknownOutput(const TreeConnection& connection, const INode* known) const {
    if (!m_errors.wantsMessage()) return {};
    String wanted = m_tree.names.text(connection.sourceOutput);
    if (connection.ordinal > 1) wanted = String::format("%s:%u", wanted.buf(), connection.ordinal);
    SpellingSuggestion near(connection.ordinal > 1 ? std::string_view() : wanted.view());
    const u32 node = m_tree.findNode(connection.sourceNode);
    if (node != noTreeIndex) {
        const TreeNode& owner = m_tree.nodes[node];
        for (u64 i = 0; i < std::min<u64>(owner.outputCount, kMostCandidates); ++i)
            near.offer(m_tree.names.text(m_tree.outputs[owner.firstOutput + i].name).view());
    }
    // The texts of names belong to the outputs and outlive these handles.
    for (u64 i = 0; known && i < std::min(known->outputCount(), kMostCandidates); ++i)
        near.offer(known->output(i)->name().view());
    return "The node '" + m_tree.names.text(connection.sourceNode) + "' has no output '" + wanted +
           "'" + near.question();
}

// Descends from sibling to sibling: the parts of an input have numbers between its own and that of
// its next sibling.
String SceneChecker::inputPath(const TreeConnection& connection) const {
    StringIO path;
    // The node has no name when an error kept it from being read.
    if (m_tree.nodes[connection.node].name != noTreeIndex)
        path.append(m_tree.nodeName(connection.node).view());
    u32 at = m_tree.nodes[connection.node].firstInput;
    AttrType parent = AttrType::Object;
    while (at != noTreeIndex && at <= connection.input) {
        u64 position = 0;
        for (u32 next = m_tree.inputs[at].nextSibling; next <= connection.input; ++position) {
            at = next;
            next = m_tree.inputs[at].nextSibling;
        }
        if (parent == AttrType::Array)
            path.append('[').appendUInt(position).append(']');
        else
            path.append(path.isEmpty() ? "" : ".")
                .append(m_tree.names.text(m_tree.inputs[at].name).view());
        parent = m_tree.inputs[at].type;
        if (at == connection.input) break;
        at = m_tree.inputs[at].firstMember;
    }
    return path.take();
}

String SceneChecker::sourcePath(const TreeConnection& connection) const {
    return m_tree.names.text(connection.sourceNode) + "." +
           m_tree.names.text(connection.sourceOutput);
}

// Ignores the name if an earlier error may be the reason why it is unknown.
void SceneChecker::failUnknown(u64 offset, u32 node, String message) {
    if (!m_namesAreMissing) fail(offset, node, std::move(message));
}

void SceneChecker::fail(u64 offset, u32 node, String message) {
    const u32 name = m_tree.nodes[node].name;
    m_errors.add(offset, name != noTreeIndex ? m_tree.names.text(name) : String(),
                 std::move(message));
}

} // namespace qv::kelvo_sdk::impl
