#include "kelvo/sdk/impl/graph/node_fetch.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

// An input takes a little more than two lines. Always inlined, because compilers leave out calls of
// functions that seem to have no effect.
[[gnu::always_inline]] inline void fetchInput(const interfaces::IInput* input) noexcept {
    for (u64 line = 0; line < 3; ++line)
        fetchLine(input, line);
}

} // namespace

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
    for (const interfaces::IInput* input : node.inputs())
        fetchInput(input);
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

void NodeFetch::fetchMembers(const Node& node) noexcept {
    for (const interfaces::IInput* input : node.inputs())
        fetchLine(implOf(*input).members().data(), 0);
}

// The processor finds out by itself that the members of a long list mostly follow each other.
void NodeFetch::fetchFirstMembers(const Node& node) noexcept {
    for (const interfaces::IInput* input : node.inputs()) {
        const auto& members = implOf(*input).members();
        for (u64 i = 0; i < std::min<u64>(members.size(), 8); ++i)
            fetchInput(members[i]);
    }
}

} // namespace qv::kelvo_sdk::impl
