#include "tools/import/vertex_joining.h"

#include <assimp/mesh.h>

#include <bit>
#include <cstring>
#include <limits>
#include <span>

namespace qv::model_import {

namespace {

constexpr u32 kNone = std::numeric_limits<u32>::max();

/// One kind of value that all vertices of a mesh have.
struct Stream {
    const unsigned char* data;
    u64 stride;
    /// The bytes to compare, at most the stride: a multiple of 4.
    u64 bytes;

    [[nodiscard]] const unsigned char* at(u32 vertex) const { return data + vertex * stride; }
};

class VertexBits {
public:
    explicit VertexBits(const aiMesh& mesh) {
        add(mesh.mVertices, sizeof(aiVector3D));
        add(mesh.mNormals, sizeof(aiVector3D));
        add(mesh.mTangents, sizeof(aiVector3D));
        add(mesh.mBitangents, sizeof(aiVector3D));
        for (u32 i = 0; i < AI_MAX_NUMBER_OF_TEXTURECOORDS; ++i)
            add(mesh.mTextureCoords[i],
                mesh.mNumUVComponents[i] == 3 ? sizeof(aiVector3D) : 2 * sizeof(float));
        for (const aiColor4D* colors : mesh.mColors)
            add(colors, sizeof(aiColor4D));
    }

    [[nodiscard]] u64 hash(u32 vertex) const {
        u64 hash = 0;
        for (const Stream& stream : m_streams) {
            for (u64 at = 0; at < stream.bytes; at += sizeof(u32)) {
                u32 word;
                std::memcpy(&word, stream.at(vertex) + at, sizeof word);
                hash = std::rotl((hash ^ word) * 0x9e3779b97f4a7c15u, 29);
            }
        }
        return hash ^ (hash >> 32);
    }

    [[nodiscard]] bool areEqual(u32 a, u32 b) const {
        for (const Stream& stream : m_streams) {
            if (std::memcmp(stream.at(a), stream.at(b), stream.bytes) != 0) return false;
        }
        return true;
    }

private:
    template<typename T>
    void add(const T* values, u64 bytes) {
        if (!values) return;
        m_streams.push_back({reinterpret_cast<const unsigned char*>(values), sizeof(T), bytes});
    }

    std::vector<Stream> m_streams;
};

u64 cornersOf(const aiMesh& mesh) {
    u64 corners = 0;
    for (const aiFace& face : std::span(mesh.mFaces, mesh.mNumFaces))
        corners += face.mNumIndices;
    return corners;
}

/// Finds the first vertex with the same bits: a hash table with open addressing, at most half full.
class FirstVertices {
public:
    explicit FirstVertices(const aiMesh& mesh)
        : m_bits(mesh), m_table(std::bit_ceil(u64{mesh.mNumVertices} * 2), kNone) {}

    [[nodiscard]] u32 firstLike(u32 vertex) {
        u64 place = m_bits.hash(vertex);
        for (;; ++place) {
            u32& entry = m_table[place & (m_table.size() - 1)];
            if (entry == kNone) entry = vertex;
            if (entry == vertex || m_bits.areEqual(entry, vertex)) return entry;
        }
    }

private:
    VertexBits m_bits;
    std::vector<u32> m_table;
};

} // namespace

VertexChoice joinVertices(const aiMesh& mesh) {
    const u64 corners = cornersOf(mesh);
    if (!mesh.mVertices || corners == 0 || corners > mesh.mNumVertices) return {};
    FirstVertices first(mesh);
    VertexChoice choice;
    choice.numbers.resize(mesh.mNumVertices);
    for (u32 vertex = 0; vertex < mesh.mNumVertices; ++vertex) {
        const u32 like = first.firstLike(vertex);
        const bool isNew = like == vertex;
        choice.numbers[vertex] =
            isNew ? static_cast<u32>(choice.kept.size()) : choice.numbers[like];
        if (isNew) choice.kept.push_back(vertex);
    }
    return choice;
}

} // namespace qv::model_import
