#include "tools/kelvo/neighbourhood.h"

#include "kelvo/base/walk_all.h"
#include "kelvo/sdk/interfaces/i_output.h"

#include <unordered_set>

namespace qv::kelvo_tool {

using kelvo_sdk::AttrType;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;
using kelvo_sdk::interfaces::IOutput;

String NodeLink::text() const {
    return source ? input->path() + " <- " + source->path() : input->path();
}

// Works without recursion: arrays and objects may be nested to any depth.
std::vector<NodeLink> linksOf(INode& node) {
    std::vector<NodeLink> links;
    const auto visit = [&](const IInput* input, const auto& add) {
        INode* linked = nullptr;
        if (input->type() == AttrType::Node && input->readNode(linked, false, nullptr) && linked)
            links.push_back({&node, linked, input, nullptr});
        if (const IOutput* source = input->source(); source && source->node())
            links.push_back({&node, source->node(), input, source});
        for (u64 i = input->inputCount(); i-- > 0;)
            add(input->input(i));
    };
    for (u64 i = 0; i < node.inputCount(); ++i)
        walkAll<const IInput*>(node.input(i), visit);
    return links;
}

Neighbourhood::Neighbourhood(const kelvo_sdk::Scene& scene, Direction direction)
    : m_direction(direction) {
    if (direction == Direction::Upstream) return;
    for (u64 i = 0; i < scene.nodeCount(); ++i)
        for (const NodeLink& link : linksOf(*scene->node(i)))
            m_readers[link.read].push_back(link);
}

std::vector<Neighbour> Neighbourhood::of(INode& node) const {
    std::vector<NodeLink> links;
    if (m_direction == Direction::Upstream)
        links = linksOf(node);
    else if (const auto found = m_readers.find(&node); found != m_readers.end())
        links = found->second;
    std::vector<Neighbour> neighbours;
    std::unordered_map<const INode*, std::size_t> places;
    for (const NodeLink& link : links) {
        INode* other = m_direction == Direction::Upstream ? link.read : link.reader;
        const auto [place, isNew] = places.try_emplace(other, neighbours.size());
        if (isNew)
            neighbours.push_back({other, link, 0});
        else
            ++neighbours[place->second].more;
    }
    return neighbours;
}

std::vector<INode*> Neighbourhood::allOf(INode& node) const {
    std::vector<INode*> found;
    if (m_direction == Direction::Upstream) {
        for (const kelvo_sdk::Node& next : kelvo_sdk::Node(&node).dependencies())
            found.push_back(next.get());
        return found;
    }
    std::unordered_set<const INode*> seen;
    walkAll(&node, [&](INode* next, const auto& add) {
        if (!seen.insert(next).second) return;
        if (next != &node) found.push_back(next);
        const std::vector<Neighbour> neighbours = of(*next);
        for (std::size_t i = neighbours.size(); i-- > 0;)
            add(neighbours[i].node);
    });
    return found;
}

} // namespace qv::kelvo_tool
