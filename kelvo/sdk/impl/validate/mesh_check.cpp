#include "kelvo/sdk/impl/validate/mesh_check.h"

#include "kelvo/sdk/attr_type.h"
#include "kelvo/sdk/interfaces/i_node.h"

#include <cstring>
#include <utility>

namespace qv::kelvo_sdk::impl {

using interfaces::BufferView;
using interfaces::INode;

namespace {

// Returns an empty view when the node has no such buffer.
BufferView bufferOf(const INode& node, const char* name) {
    BufferView view;
    if (node.hasInput(String(name), AttrType::Buffer))
        node.input(String(name))->readBuffer(view, false, nullptr);
    return view;
}

template<typename Index>
bool allBelow(const BufferView& indices, u64 count, u64 limit) {
    const char* at = static_cast<const char*>(indices.data);
    for (u64 i = 0; i < count; ++i, at += sizeof(Index)) {
        Index index;
        std::memcpy(&index, at, sizeof(Index));
        if (std::cmp_less(index, 0) || std::cmp_greater_equal(index, limit)) return false;
    }
    return true;
}

// Tells whether all indices, single or in tuples, are whole numbers from 0 to below `limit`.
bool indicesBelow(const BufferView& indices, u64 limit) {
    const u64 count = indices.count * dataTypeComponents(indices.type);
    switch (dataTypeComponent(indices.type)) {
    case DataType::Byte:
        return allBelow<u8>(indices, count, limit);
    case DataType::Int16:
        return allBelow<i16>(indices, count, limit);
    case DataType::Int32:
        return allBelow<i32>(indices, count, limit);
    case DataType::Int64:
        return allBelow<i64>(indices, count, limit);
    case DataType::UInt16:
        return allBelow<u16>(indices, count, limit);
    case DataType::UInt32:
        return allBelow<u32>(indices, count, limit);
    case DataType::UInt64:
        return allBelow<u64>(indices, count, limit);
    default:
        return false;
    }
}

} // namespace

bool agree(const MeshBuffers& mesh) noexcept {
    const u64 positions = mesh.positions.count;
    for (const u64 count : {mesh.normals.count, mesh.uvs.count})
        if (count != 0 && count != positions) return false;
    return mesh.indices.count == 0 || indicesBelow(mesh.indices, positions);
}

bool meshBuffersAgree(const INode& node) {
    return agree({bufferOf(node, "positions"), bufferOf(node, "normals"), bufferOf(node, "uvs"),
                  bufferOf(node, "indices")});
}

} // namespace qv::kelvo_sdk::impl
