#pragma once

#include "kelvo/base/string_io.h"

namespace qv::kelvo_sdk::impl {

class LibInfo;

/// Appends the types of a library as definition text, with the header line
/// (docs/definition-text.md has the grammar).
void writeDefinitions(const LibInfo& library, StringIO& out);

} // namespace qv::kelvo_sdk::impl
