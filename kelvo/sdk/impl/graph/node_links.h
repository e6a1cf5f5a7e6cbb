#pragma once

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_walk.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"

namespace qv::kelvo_sdk::impl {

/// Returns the node that the input itself links to, or null.
[[nodiscard]] inline INode* linkedNode(const Input& input) noexcept {
    return input.type() == AttrType::Node ? input.value().asNode() : nullptr;
}

/// Returns the node of the output that an input is connected to, or null.
[[nodiscard]] inline INode* sourceNode(const Input& input) noexcept {
    const Output* source = input.sourceOutput();
    return source ? source->node() : nullptr;
}

/// Call before an input of `reader`, which may be null, stops linking to `target`. If the reader is
/// outside of the scene, the target may no longer exist and has no record of that reader.
inline void linkEnds(const Node* reader, INode* target) noexcept {
    if (reader && sceneAround(*reader)) implOf(target)->readersChanged();
}

/// Returns the reason why an input of one node may not refer to another node; null when it may, or
/// when one of them is null. Nodes that were never in a scene may be referred to, because they may
/// join one.
[[nodiscard]] const char* barBetween(const INode* from, const INode* to) noexcept;

/// Calls `visit(const Node&)` for each node that the inputs of a node link or connect to, at any
/// depth of arrays and objects, in order. May visit a node repeatedly. Stops and returns true as
/// soon as `visit` returns true.
template<typename Visit>
bool visitDependencies(const Node& node, const Visit& visit) {
    InputWalk inputs(node.inputs());
    while (const Input* input = inputs.next())
        for (const INode* found : {linkedNode(*input), sourceNode(*input)})
            if (found && visit(*implOf(found))) return true;
    return false;
}

/// Calls `visit(Input&)` for all inputs of a node, at any depth, in order, parents first.
template<typename Visit>
void visitInputs(const Node& node, const Visit& visit) {
    InputWalk inputs(node.inputs());
    while (Input* input = inputs.next())
        visit(*input);
}

/// Calls `visit(Input&)` for the inputs on a list of the parent `of` (null for a node's list) and
/// all their parts, parents first; takes no memory.
template<typename Visit>
void visitInPlace(const ds::Vector<IInput*>& list, const Input* of, const Visit& visit) {
    const Input* parent = of;
    for (u64 index = 0;;) {
        const ds::Vector<IInput*>& level = parent == of ? list : parent->members();
        if (index < level.size()) {
            auto& input = implOf(*level[index]);
            visit(input);
            ++index;
            if (input.members().empty()) continue;
            parent = &input;
            index = 0;
        } else if (parent != of) {
            index = parent->placeInList() + 1;
            parent = implOf(parent->parent());
        } else {
            return;
        }
    }
}

/// Calls `visit(Input&)` for all inputs of a node, parents first; takes no memory.
template<typename Visit>
void visitInputsInPlace(const Node& node, const Visit& visit) {
    visitInPlace(node.inputs(), nullptr, visit);
}

/// Calls `visit(Node&, bool isConnection)` for the node of each input that links to `node`, then of
/// each that is connected to it. May visit a node repeatedly.
template<typename Visit>
void visitReadersByKind(const Node& node, const Visit& visit) {
    const auto visitOwner = [&](const Input& input, bool isConnection) {
        if (INode* owner = input.node()) visit(*implOf(owner), isConnection);
    };
    if (IScene* scene = node.scene())
        implOf(scene)->links().forEach(&node,
                                       [&](const Input& input) { visitOwner(input, false); });
    for (const IOutput* output : node.outputs())
        implOf(output)->forEachTarget([&](const Input& input) { visitOwner(input, true); });
}

/// Calls `visit(Node&)` for the node of each input that links or is connected to `node`. May visit
/// a node repeatedly.
template<typename Visit>
void visitReaders(const Node& node, const Visit& visit) {
    visitReadersByKind(node, [&](Node& reader, bool) { visit(reader); });
}

} // namespace qv::kelvo_sdk::impl
