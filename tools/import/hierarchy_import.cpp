#include "tools/import/import_context.h"

namespace qv::model_import {

namespace {

// Transposes: points are columns in the model and rows in the scene.
math::Mat4d rowMatrix(const aiMatrix4x4& matrix) {
    math::Mat4d result;
    for (u32 row = 0; row < 4; ++row)
        for (u32 column = 0; column < 4; ++column)
            result[row][column] = static_cast<double>(matrix[column][row]);
    return result;
}

// For a glTF scene with several top nodes the reader adds a node "ROOT" above them.
bool isAddedByReader(const aiScene& model, const aiNode& root) {
    aiString format;
    return model.mMetaData && model.mMetaData->Get("SourceAsset_Format", format) &&
           viewOf(format).starts_with("glTF") && viewOf(root.mName) == "ROOT" &&
           root.mNumMeshes == 0 && root.mNumChildren > 1 && !root.mMetaData &&
           root.mTransformation == aiMatrix4x4();
}

Node createXform(ImportContext& context, const aiNode& source) {
    Node xform = createNamed(context, "xform", viewOf(source.mName));
    addInput(xform, "matrix", AttrType::Mat4, rowMatrix(source.mTransformation));
    xform.createArray("children", AttrType::Node);
    importMetadata(context, xform, "metadata", source.mMetaData);
    context.xforms.try_emplace(String(viewOf(source.mName)), xform);
    context.placed.push_back({&source, xform});
    return xform;
}

struct Pending {
    const aiNode* source;
    Node parent;
};

void pushChildren(const aiNode& source, const Node& xform, std::vector<Pending>& pending) {
    for (u32 i = source.mNumChildren; i > 0; --i) {
        if (source.mChildren[i - 1]) pending.push_back({source.mChildren[i - 1], xform});
    }
}

} // namespace

// Works without recursion: a deep hierarchy could overflow the stack.
void importHierarchy(ImportContext& context) {
    const aiNode* root = context.model.mRootNode;
    if (!root) return;
    std::vector<Pending> pending;
    if (isAddedByReader(context.model, *root))
        pushChildren(*root, Node(), pending);
    else
        pending.push_back({root, Node()});
    while (!pending.empty()) {
        const Pending next = std::move(pending.back());
        pending.pop_back();
        const Node xform = createXform(context, *next.source);
        if (next.parent)
            addChild(next.parent, xform);
        else
            context.tops.push_back(xform);
        pushChildren(*next.source, xform, pending);
    }
    if (!context.placed.empty())
        importMetadata(context, context.placed.front().xform, "asset", context.model.mMetaData);
}

} // namespace qv::model_import
