#include "tools/kelvo/neighbourhood.h"

#include "kelvo/base/walk_all.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace qv::kelvo_tool {

using kelvo_sdk::NodeNumber;
using kelvo_sdk::Snapshot;
using kelvo_sdk::SnapshotInput;
using kelvo_sdk::SnapshotNode;
using kelvo_sdk::SnapshotOutput;

namespace {

// Calls `visit(link)` for each link and connection of an input and the inputs in it. Works without
// recursion: arrays and objects may be nested to any depth.
template<typename Visit>
void forEachLink(const SnapshotInput& first, const Visit& visit) {
    walkAll(first, [&](const SnapshotInput& input, const auto& add) {
        if (input.linked()) visit(NodeLink{input, {}});
        if (const SnapshotOutput source = input.source()) visit(NodeLink{input, source});
        for (u64 i = input.inputCount(); i-- > 0;)
            add(input.input(i));
    });
}

template<typename Visit>
void forEachLink(const SnapshotNode& node, const Visit& visit) {
    for (u64 i = 0; i < node.inputCount(); ++i)
        forEachLink(node.input(i), visit);
}

} // namespace

String NodeLink::text() const {
    const String path = reader().name() + "." + input.path();
    return source ? path + " <- " + source.path() : path;
}

std::vector<NodeLink> linksOf(const SnapshotNode& node) {
    std::vector<NodeLink> links;
    forEachLink(node, [&](const NodeLink& link) { links.push_back(link); });
    return links;
}

std::vector<NodeLink> linksOf(const SnapshotInput& input) {
    std::vector<NodeLink> links;
    forEachLink(input, [&](const NodeLink& link) { links.push_back(link); });
    return links;
}

Neighbourhood::Neighbourhood(const Snapshot& scene, Direction direction) : m_direction(direction) {
    if (direction == Direction::Downstream) listReaders(scene);
}

// Counts the inputs that read each node, and puts them into their places in a second walk.
void Neighbourhood::listReaders(const Snapshot& scene) {
    const ds::Vector<SnapshotNode> nodes = scene.nodes();
    m_first.resize(nodes.size() + 1);
    for (const SnapshotNode& node : nodes)
        forEachLink(node, [&](const NodeLink& link) {
            const u64 read = link.read().number();
            if (read + 2 > m_first.size()) m_first.resize(2 * (read + 2));
            ++m_first[read + 1];
        });
    for (u64 i = 1; i < m_first.size(); ++i)
        m_first[i] += m_first[i - 1];
    m_inputs.resize(m_first.back());
    std::vector<u64> next = m_first;
    for (const SnapshotNode& node : nodes)
        forEachLink(node, [&](const NodeLink& link) {
            m_inputs[next[link.read().number()]++] = link.input;
        });
}

// An input that is both linked and connected to the node is in the list twice, one behind the
// other.
std::vector<NodeLink> Neighbourhood::linksAt(const SnapshotNode& node) const {
    if (m_direction == Direction::Upstream) return linksOf(node);
    std::vector<NodeLink> links;
    const u64 number = node.number();
    if (number + 1 >= m_first.size()) return links;
    for (u64 i = m_first[number]; i < m_first[number + 1]; ++i) {
        const bool isSecond = i != m_first[number] && m_inputs[i] == m_inputs[i - 1];
        const bool isLink = !isSecond && m_inputs[i].linked() == node;
        links.push_back({m_inputs[i], isLink ? SnapshotOutput() : m_inputs[i].source()});
    }
    return links;
}

std::vector<Neighbour> Neighbourhood::of(const SnapshotNode& node) const {
    std::vector<Neighbour> neighbours;
    std::unordered_map<NodeNumber, std::size_t> places;
    for (const NodeLink& link : linksAt(node)) {
        const SnapshotNode other = otherEnd(link);
        const auto [place, isNew] = places.try_emplace(other.number(), neighbours.size());
        if (isNew)
            neighbours.push_back({other, link, 0});
        else
            ++neighbours[place->second].more;
    }
    return neighbours;
}

std::vector<SnapshotNode> Neighbourhood::allOf(const SnapshotNode& node) const {
    return walk({node}, node);
}

std::vector<SnapshotNode> Neighbourhood::allFrom(const std::vector<NodeLink>& first) const {
    std::vector<SnapshotNode> left;
    for (const NodeLink& link : first)
        left.push_back(otherEnd(link));
    std::ranges::reverse(left);
    return walk(std::move(left), {});
}

std::vector<SnapshotNode> Neighbourhood::walk(std::vector<SnapshotNode> left,
                                              const SnapshotNode& leftOut) const {
    std::vector<SnapshotNode> found;
    std::vector<bool> isSeen;
    while (!left.empty()) {
        const SnapshotNode next = left.back();
        left.pop_back();
        const u64 number = next.number();
        if (number >= isSeen.size()) isSeen.resize(2 * (number + 1));
        if (isSeen[number]) continue;
        isSeen[number] = true;
        if (next != leftOut) found.push_back(next);
        const std::vector<NodeLink> links = linksAt(next);
        for (std::size_t i = links.size(); i-- > 0;)
            left.push_back(otherEnd(links[i]));
    }
    return found;
}

} // namespace qv::kelvo_tool
