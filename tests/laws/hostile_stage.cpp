#include "tests/laws/hostile_stage.h"

namespace qv::tests {

// Look-ups through the interface log missing inputs; these do not.

Input inputOf(const Stage& stage, const char* node, const char* path) {
    const Node found = stage.scene ? stage.scene[node] : Node();
    if (!found) return {};
    const String full = found.name() + "." + path;
    return Input(found->findInput(full));
}

Output outputOf(const Stage& stage, const char* node, const char* name) {
    const Node found = stage.scene ? stage.scene[node] : Node();
    if (!found || !found->hasOutput(String(name), AttrType::Null)) return {};
    return found.output(name);
}

void evaluateAll(const Stage& stage) {
    for (u64 i = 0; i < stage.scene.nodeCount(); ++i) {
        const Node node = stage.scene.node(i);
        for (u64 k = 0; k < node.inputCount(); ++k)
            static_cast<void>(node.input(k).asString());
        for (u64 k = 0; k < node.outputCount(); ++k)
            static_cast<void>(node.output(k).asString());
    }
}

} // namespace qv::tests
