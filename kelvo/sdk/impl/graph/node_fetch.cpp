#include "kelvo/sdk/impl/graph/node_fetch.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"

namespace qv::kelvo_sdk::impl {

// The type, the name and the list of inputs are in the first lines of the cache.
void NodeFetch::fetchNode(const Node& node) noexcept {
    for (u64 line = 0; line < 4; ++line)
        fetchLine(&node, line);
}

void NodeFetch::fetchList(const Node& node) noexcept {
    fetchLine(node.inputs().data(), 0);
    fetchLine(node.inputs().data(), 1);
    if (node.ownName().get()) fetchLine(node.ownName().get(), 0);
}

void NodeFetch::fetchInputs(const Node& node) noexcept {
    for (const interfaces::IInput* input : node.inputs()) {
        fetchLine(input, 0);
        fetchLine(input, 1);
    }
}

void NodeFetch::fetchParts(const Node& node) noexcept {
    for (const interfaces::IInput* next : node.inputs()) {
        const auto& input = implOf(*next);
        if (input.ownExtras()) fetchLine(input.ownExtras(), 0);
        const AttrType type = input.value().type();
        if (type != AttrType::Mat3 && type != AttrType::Mat4) continue;
        fetchLine(input.value().reals(), 0);
        fetchLine(input.value().reals(), 1);
    }
}

} // namespace qv::kelvo_sdk::impl
