#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"

namespace qv::kelvo_sdk::impl {

class LibInfo;

/// Returns the library of built-in node types: scene nodes, lights, materials, modifiers and value
/// nodes. Made at the first call, from any thread; never destroyed. It is shared, so add your own
/// definitions to a library of your own.
[[nodiscard]] LibInfo& standardLibrary();

/// Returns the definition text of the standard library.
[[nodiscard]] String standardLibraryText();

/// Registers the callbacks of all standard types with `library`.
void addStandardCallbacks(LibInfo& library);

} // namespace qv::kelvo_sdk::impl
