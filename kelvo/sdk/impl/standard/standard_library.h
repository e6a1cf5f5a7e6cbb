#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"

namespace qv::kelvo_sdk::impl {

class LibInfo;

/// Returns the library of node types that is part of the program: scene nodes, lights, materials,
/// modifiers and value nodes. Made at the first call, from any thread; never destroyed. It is
/// shared: add definitions of your own to a library of your own.
[[nodiscard]] LibInfo& standardLibrary();

/// Returns the text that its definitions are read from.
[[nodiscard]] String standardLibraryText();

/// Registers the callbacks of all its types with `library`, as `standardLibrary` does.
void addStandardCallbacks(LibInfo& library);

} // namespace qv::kelvo_sdk::impl
