#include "tests/laws/hostile_library.h"

#include "kelvo/sdk/eval_ctx.h"

#include <gtest/gtest.h>

#include <utility>

namespace qv::tests {

namespace {

using kelvo_sdk::EvalCtx;
using kelvo_sdk::LibInfo;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;
using kelvo_sdk::interfaces::NodeCallbacks;

constexpr const char* kTypes[] = {"thing", "lamp",          "image", "other",
                                  "third", "scaleModifier", "xform"};

HostileLibrary::Listener s_listener;

void tell(INode* node, IInput* input) {
    if (s_listener) s_listener(node, input);
}

// Catches exceptions, because one that leaves a free callback ends the process, as documented.
bool endNode(INode* node, void** data) {
    *data = nullptr;
    try {
        tell(node, nullptr);
    } catch (const std::exception&) {
        return false;
    }
    return true;
}

constexpr NodeCallbacks kCallbacks = {
    .init = [](INode* node, void** data) { return *data = node, tell(node, nullptr), true; },
    .prep = [](INode* node, void*) { return tell(node, nullptr), true; },
    .eval =
        [](EvalCtx* ctx, void* out) {
            *static_cast<double*>(out) = 1;
            return tell(ctx->node(), nullptr), true;
        },
    .modify = [](INode*, INode* other) { return tell(other, nullptr), true; },
    .free = &endNode,
    .changed = [](IInput* input) { tell(input->node(), input); },
};

} // namespace

HostileLibrary::HostileLibrary(Listener listener) {
    s_listener = std::move(listener);
}

HostileLibrary::~HostileLibrary() {
    s_listener = nullptr;
}

LibInfo HostileLibrary::types() {
    static const LibInfo library = [] {
        const LibInfo made = LibInfo::create();
        EXPECT_TRUE(made.readDefinitions("type thing {\n}\ntype lamp {\n}\ntype image {\n}\n"
                                         "type other {\n}\ntype third {\n}\n"
                                         "type scaleModifier {\n    String modifies = \"\"\n"
                                         "    Real factor = 1\n}\n"
                                         "type xform {\n    Array<Node> children = []\n}\n",
                                         "types"));
        for (const char* type : kTypes)
            made.setCallbacks(type, kCallbacks);
        return made;
    }();
    return library;
}

} // namespace qv::tests
