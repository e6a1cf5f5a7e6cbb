#pragma once

#include "kelvo/base/string.h"

namespace qv::model_import {

/// Returns the file that a path means where case does not count, as on the systems that many models
/// come from; empty when there is none. Of several, the first in the order of their names.
[[nodiscard]] String anyCaseFile(const String& path);

} // namespace qv::model_import
