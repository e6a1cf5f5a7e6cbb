#include "tools/import/import_context.h"

namespace qv::model_import {

Node createNamed(ImportContext& context, const char* type, std::string_view original) {
    Node node = context.scene.createNode(type, context.names.next(original, type));
    if (!original.empty() && node.name().view() != original)
        addInput(node, "name", AttrType::String, String(original));
    return node;
}

void addChild(const Node& parent, const Node& child) {
    // Both nodes are of one scene, and nobody else knows them yet.
    if (parent) (void)parent.createArray("children", AttrType::Node).append().set(child);
}

void placeByName(ImportContext& context, const Node& node, const aiString& name) {
    const auto found = context.xforms.find(String(viewOf(name)));
    if (found != context.xforms.end()) return addChild(found->second, node);
    if (!context.placed.empty()) addChild(context.placed.front().xform, node);
}

void addBuffer(const Node& node, const String& name, DataType type, const void* data, u64 count) {
    if (count == 0) return;
    addInput(node, name, AttrType::Buffer, kelvo_sdk::interfaces::BufferView{type, data, count});
}

} // namespace qv::model_import
