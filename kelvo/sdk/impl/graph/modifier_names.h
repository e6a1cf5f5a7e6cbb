#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

class Input;

/// A modifier's list of the inputs that it changes, and the new text of the list.
struct ModifierNames {
    RefersTo<Input> input;
    String names;
};

/// Returns the lists that name an input, with their texts after the renaming. A list that also
/// applies to other inputs of that name keeps the old name beside the new one. Empty for an input
/// without node.
[[nodiscard]] std::vector<ModifierNames> modifierNamesAfter(const Input& renamed,
                                                            const String& name);

} // namespace qv::kelvo_sdk::impl
