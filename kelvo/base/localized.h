#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/hash_map.h"
#include "kelvo/base/string.h"

namespace qv::os {

/// The entry for language `lang`: that of the exact key, else of its base language ("de" for
/// "de-AT"), else the empty string. In the second step '_' and '-' are alike and case is ignored.
/// Empty entries count as absent; "auto" stands for `language()`.
[[nodiscard]] QV_EXPORT String localizedItem(const ds::HashMap<String, String>& items, String lang);

/// Sets the language that "auto" stands for, for the whole process, from any thread.
/// Empty or "auto" restores "en", with which a process starts.
QV_EXPORT void setLanguage(String lang);
[[nodiscard]] QV_EXPORT String language();

} // namespace qv::os
