#include "tools/import/import_context.h"

#include "kelvo/base/walk_all.h"

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

// Makes an xform of a node and passes its children to `add`, the first one last.
template<typename Add>
void importNode(ImportContext& context, const Pending& next, const Add& add) {
    const Node xform = createXform(context, *next.source);
    if (next.parent)
        addChild(next.parent, xform);
    else
        context.tops.push_back(xform);
    for (u32 i = next.source->mNumChildren; i > 0; --i)
        if (const aiNode* child = next.source->mChildren[i - 1]) add({child, xform});
}

} // namespace

// Works without recursion: a deep hierarchy could overflow the stack.
void importHierarchy(ImportContext& context) {
    const aiNode* root = context.model.mRootNode;
    if (!root) return;
    const auto importFrom = [&](const aiNode* top) {
        walkAll(Pending{top, Node()},
                [&](const Pending& next, const auto& add) { importNode(context, next, add); });
    };
    if (!isAddedByReader(context.model, *root))
        importFrom(root);
    else
        for (u32 i = 0; i < root->mNumChildren; ++i)
            if (root->mChildren[i]) importFrom(root->mChildren[i]);
    if (!context.placed.empty())
        importMetadata(context, context.placed.front().xform, "asset", context.model.mMetaData);
}

} // namespace qv::model_import
