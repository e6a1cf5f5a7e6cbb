#pragma once

#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/snapshot/byte_reader.h"
#include "kelvo/sdk/impl/value/attr_data.h"

namespace qv::kelvo_sdk::impl {

// Values, descriptions and comments in stored snapshots. Each is read as it was written; readers
// fail for all else.

/// The value of the kind Node is written without its node, and read as no node.
void write(ByteWriter& out, const Value& value);
void write(ByteWriter& out, const AttrDetails& details);
void write(ByteWriter& out, const Comments& comments);

[[nodiscard]] Value readValue(ByteReader& in);
[[nodiscard]] RefersTo<AttrDetails> readDetails(ByteReader& in);
[[nodiscard]] Comments readComments(ByteReader& in);

/// Writes the elements of a buffer.
void writeElements(ByteWriter& out, const Buffer& buffer);
/// Makes a buffer of a copy of elements that were written.
[[nodiscard]] Buffer copyOfElements(DataType type, std::span<const std::byte> elements);

[[nodiscard]] String readText(ByteReader& in);
[[nodiscard]] AttrType readKind(ByteReader& in);
[[nodiscard]] DataType readElementType(ByteReader& in);
[[nodiscard]] bool readFlag(ByteReader& in);

} // namespace qv::kelvo_sdk::impl
