#pragma once

#include "sdk/impl/input.h"
#include "sdk/impl/node.h"
#include "sdk/impl/output.h"
#include "sdk/impl/scene.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// Calls `visit(Node&)` for the node that an input by itself links to, then for the one that it is
/// connected to. Stops, and returns true, as soon as `visit` does.
template<typename Visit>
bool visitLinked(const Input& input, const Visit& visit) {
    if (input.type() == AttrType::Node) {
        if (INode* linked = input.value().asNode(); linked && visit(*static_cast<Node*>(linked)))
            return true;
    }
    const IOutput* source = input.source();
    INode* node = source ? source->node() : nullptr;
    return node && visit(*static_cast<Node*>(node));
}

/// The same for all that the inputs of a node link and connect to, at any depth of arrays and
/// objects, in no order that matters. A node may be met again.
template<typename Visit>
bool visitDependencies(const Node& node, const Visit& visit) {
    std::vector<const ds::Vector<IInput*>*> left{&node.inputs()};
    while (!left.empty()) {
        const ds::Vector<IInput*>& inputs = *left.back();
        left.pop_back();
        for (const IInput* next : inputs) {
            const auto& input = *static_cast<const Input*>(next);
            if (visitLinked(input, visit)) return true;
            if (!input.members().empty()) left.push_back(&input.members());
        }
    }
    return false;
}

/// Calls `visit(Node&)` for the node of each input that links or is connected to `node`. A node may
/// be met again.
template<typename Visit>
void visitReaders(const Node& node, const Visit& visit) {
    const auto visitOwner = [&](const Input& input) {
        if (INode* owner = input.node()) visit(*static_cast<Node*>(owner));
    };
    if (IScene* scene = node.scene())
        static_cast<Scene*>(scene)->links().forEach(&node, visitOwner);
    for (const IOutput* output : node.outputs())
        static_cast<const Output*>(output)->forEachTarget(visitOwner);
}

} // namespace qv::kelvo_sdk::impl
