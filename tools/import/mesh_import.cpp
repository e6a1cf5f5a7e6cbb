#include "tools/import/import_context.h"

#include <algorithm>

namespace qv::model_import {

namespace {

static_assert(sizeof(aiVector3D) == sizeof(math::Vec3f));
static_assert(sizeof(aiColor4D) == sizeof(math::Rgbaf));

// "uvs", "uvs1", "uvs2", ...
String channelName(const char* name, u32 channel) {
    return channel == 0 ? String(name) : String::format("%s%u", name, channel);
}

void addUvs(const Node& node, const aiMesh& mesh, u32 channel) {
    const aiVector3D* from = mesh.mTextureCoords[channel];
    const String name = channelName("uvs", channel);
    if (mesh.mNumUVComponents[channel] == 3)
        return addBuffer(node, name, DataType::Vec3f, from, mesh.mNumVertices);
    std::vector<math::Vec2f> uvs(mesh.mNumVertices);
    for (u32 i = 0; i < mesh.mNumVertices; ++i)
        uvs[i] = {{from[i].x, from[i].y}};
    addBuffer(node, name, DataType::Vec2f, uvs.data(), uvs.size());
}

void addVertices(const Node& node, const aiMesh& mesh) {
    const u64 count = mesh.mVertices ? mesh.mNumVertices : 0;
    addBuffer(node, "positions", DataType::Pos3f, mesh.mVertices, count);
    addBuffer(node, "normals", DataType::Vec3f, mesh.mNormals, mesh.mNormals ? count : 0);
    addBuffer(node, "tangents", DataType::Vec3f, mesh.mTangents, mesh.mTangents ? count : 0);
    addBuffer(node, "bitangents", DataType::Vec3f, mesh.mBitangents, mesh.mBitangents ? count : 0);
    for (u32 i = 0; i < AI_MAX_NUMBER_OF_TEXTURECOORDS; ++i) {
        if (mesh.mTextureCoords[i] && count != 0) addUvs(node, mesh, i);
    }
    for (u32 i = 0; i < AI_MAX_NUMBER_OF_COLOR_SETS; ++i) {
        if (mesh.mColors[i])
            addBuffer(node, channelName("colors", i), DataType::Rgbaf, mesh.mColors[i], count);
    }
}

bool isUsable(const aiFace& face, u32 vertices) {
    if (face.mNumIndices == 0 || !face.mIndices) return false;
    return std::all_of(face.mIndices, face.mIndices + face.mNumIndices,
                       [vertices](u32 index) { return index < vertices; });
}

u64 addFaces(ImportContext& context, const Node& node, const aiMesh& mesh) {
    std::vector<u32> indices, counts;
    bool allTriangles = true;
    indices.reserve(u64{mesh.mNumFaces} * 3);
    counts.reserve(mesh.mNumFaces);
    for (u32 i = 0; i < mesh.mNumFaces; ++i) {
        const aiFace& face = mesh.mFaces[i];
        if (!isUsable(face, mesh.mNumVertices)) {
            context.report.leaveOut("faces without vertices", node.name());
            continue;
        }
        indices.insert(indices.end(), face.mIndices, face.mIndices + face.mNumIndices);
        counts.push_back(face.mNumIndices);
        allTriangles = allTriangles && face.mNumIndices == 3;
    }
    addBuffer(node, "indices", DataType::UInt32, indices.data(), indices.size());
    if (!allTriangles)
        addBuffer(node, "faceCounts", DataType::UInt32, counts.data(), counts.size());
    return counts.size();
}

Node importMesh(ImportContext& context, const aiMesh& mesh) {
    Node node = createNamed(context, "mesh", viewOf(mesh.mName));
    addVertices(node, mesh);
    context.report.faces += addFaces(context, node, mesh);
    context.report.vertices += mesh.mVertices ? mesh.mNumVertices : 0;
    return node;
}

} // namespace

void importMeshes(ImportContext& context) {
    const aiScene& model = context.model;
    context.meshes.resize(model.mNumMeshes);
    for (u32 i = 0; i < model.mNumMeshes; ++i) {
        if (model.mMeshes[i]) context.meshes[i] = importMesh(context, *model.mMeshes[i]);
    }
    for (const auto& [source, xform] : context.placed) {
        for (u32 i = 0; i < source->mNumMeshes; ++i) {
            const u32 mesh = source->mMeshes[i];
            if (mesh < context.meshes.size()) addChild(xform, context.meshes[mesh]);
        }
    }
}

} // namespace qv::model_import
