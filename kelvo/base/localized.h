#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/hash_map.h"
#include "kelvo/base/string.h"

namespace qv::os {

/// Returns the entry for language `lang`: that of the exact key, else of its base language ("de"
/// for "de-AT"), else the empty string. The second step treats '_' like '-' and ignores case. Empty
/// entries count as absent; "auto" means `language()`.
[[nodiscard]] QV_EXPORT String localizedItem(const ds::HashMap<String, String>& items, String lang);

/// Sets the language that "auto" means in the whole process; callable from any thread. Empty or
/// "auto" restores "en", the language of a new process.
QV_EXPORT void setLanguage(String lang);
[[nodiscard]] QV_EXPORT String language();

} // namespace qv::os
