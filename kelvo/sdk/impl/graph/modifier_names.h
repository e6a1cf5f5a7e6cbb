#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

class Input;

/// A modifier's list of the inputs that it changes, and what it is to say.
struct ModifierNames {
    RefersTo<Input> input;
    String names;
};

/// Returns the lists that name an input, as they have to be when it is renamed. A list that names
/// others like it as well keeps the old name beside the new one. Empty for an input of no node.
[[nodiscard]] std::vector<ModifierNames> modifierNamesAfter(const Input& renamed,
                                                            const String& name);

} // namespace qv::kelvo_sdk::impl
