#pragma once

#include "kelvo/sdk/lib_info.h"

#include <string>

namespace qv::kelvo_tool {

/// Returns a Python module with a typed class for each type of a library, for the package kelvo.
/// Bases that the library does not define are those of the module `kelvo.nodes`. `source` names the
/// library in the module's text.
[[nodiscard]] std::string pythonClasses(const kelvo_sdk::LibInfo& library, const String& source);

/// Returns the name of the module for a library: that of its file without folders and ending, as an
/// identifier; "nodes" for the standard library.
[[nodiscard]] std::string pythonModule(const String& library);

} // namespace qv::kelvo_tool
