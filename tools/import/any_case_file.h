#pragma once

#include "kelvo/base/string.h"

namespace qv::model_import {

/// Finds a file by a path without regard to case, as models often come from systems that ignore it;
/// empty when there is none. Of several, returns the first by name.
[[nodiscard]] String anyCaseFile(const String& path);

} // namespace qv::model_import
