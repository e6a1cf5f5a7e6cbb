#pragma once

#include "sdk/impl/input_extras.h"
#include "sdk/impl/node.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// Calls `visit(Input&)` for all inputs of a node, at any depth, without recursion. No input may
/// come or go meanwhile.
template<typename Visit>
void visitInputs(const Node& node, const Visit& visit) {
    std::vector<const ds::Vector<IInput*>*> left{&node.inputs()};
    while (!left.empty()) {
        const ds::Vector<IInput*>& inputs = *left.back();
        left.pop_back();
        for (IInput* next : inputs) {
            auto& input = static_cast<Input&>(*next);
            visit(input);
            if (!input.members().empty()) left.push_back(&input.members());
        }
    }
}

} // namespace qv::kelvo_sdk::impl
