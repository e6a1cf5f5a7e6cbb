#include "tools/import/import_context.h"
#include "tools/import/vertex_joining.h"

#include <algorithm>
#include <iterator>

namespace qv::model_import {

namespace {

static_assert(sizeof(aiVector3D) == sizeof(math::Vec3f));
static_assert(sizeof(aiColor4D) == sizeof(math::Rgbaf));

// Returns "uvs", "uvs1", "uvs2", ...
String channelName(const char* name, u32 channel) {
    return channel == 0 ? String(name) : String::format("%s%u", name, channel);
}

/// Adds the data of a mesh's vertices.
class VertexImport {
public:
    VertexImport(const Node& node, const aiMesh& mesh, const VertexChoice& choice)
        : m_node(node), m_mesh(mesh), m_choice(choice) {}

    void add() const {
        add("positions", DataType::Pos3f, m_mesh.mVertices);
        add("normals", DataType::Vec3f, m_mesh.mNormals);
        add("tangents", DataType::Vec3f, m_mesh.mTangents);
        add("bitangents", DataType::Vec3f, m_mesh.mBitangents);
        for (u32 i = 0; i < AI_MAX_NUMBER_OF_TEXTURECOORDS; ++i)
            addUvs(i);
        for (u32 i = 0; i < AI_MAX_NUMBER_OF_COLOR_SETS; ++i)
            add(channelName("colors", i), DataType::Rgbaf, m_mesh.mColors[i]);
    }

private:
    template<typename T>
    void add(const String& name, DataType type, const T* from) const {
        if (!from) return;
        if (m_choice.kept.empty()) return addBuffer(m_node, name, type, from, m_mesh.mNumVertices);
        std::vector<T> values(m_choice.kept.size());
        std::transform(m_choice.kept.begin(), m_choice.kept.end(), values.begin(),
                       [from](u32 vertex) { return from[vertex]; });
        addBuffer(m_node, name, type, values.data(), values.size());
    }

    void addUvs(u32 channel) const {
        const aiVector3D* from = m_mesh.mTextureCoords[channel];
        if (!from) return;
        const String name = channelName("uvs", channel);
        if (m_mesh.mNumUVComponents[channel] == 3) return add(name, DataType::Vec3f, from);
        std::vector<math::Vec2f> uvs(m_mesh.mNumVertices);
        std::transform(from, from + uvs.size(), uvs.begin(), [](const aiVector3D& uv) {
            return math::Vec2f{{uv.x, uv.y}};
        });
        add(name, DataType::Vec2f, uvs.data());
    }

    const Node& m_node;
    const aiMesh& m_mesh;
    const VertexChoice& m_choice;
};

bool isUsable(const aiFace& face, u32 vertices) {
    if (face.mNumIndices == 0 || !face.mIndices) return false;
    return std::all_of(face.mIndices, face.mIndices + face.mNumIndices,
                       [vertices](u32 index) { return index < vertices; });
}

u64 addFaces(ImportContext& context, const Node& node, const aiMesh& mesh,
             const VertexChoice& choice) {
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
        std::transform(face.mIndices, face.mIndices + face.mNumIndices, std::back_inserter(indices),
                       [&choice](u32 vertex) { return choice.numberOf(vertex); });
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
    const VertexChoice choice = context.options.joinVertices ? joinVertices(mesh) : VertexChoice();
    if (mesh.mVertices) VertexImport(node, mesh, choice).add();
    context.report.faces += addFaces(context, node, mesh, choice);
    const u64 count = choice.kept.empty() ? mesh.mNumVertices : choice.kept.size();
    context.report.vertices += mesh.mVertices ? count : 0;
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
