#pragma once

#include "kelvo/base/string.h"

namespace qv::kelvo_sdk::impl {

class Input;
class Output;

/// Tells whether connecting the input to the output would make a node depend on itself through
/// connections. Searches from both ends at once and stops when either side is exhausted, so that
/// building a chain from any of its ends takes constant time per connection.
[[nodiscard]] bool closesLoop(const Output& output, const Input& input);

/// Returns the whole loop that the connection would close: "a.out -> b.in -> b.out -> a.in". Needs
/// `closesLoop`.
[[nodiscard]] String loopText(const Output& output, const Input& input);

} // namespace qv::kelvo_sdk::impl
