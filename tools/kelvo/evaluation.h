#pragma once

#include "kelvo/sdk/input.h"

namespace qv::kelvo_tool {

/// The result of an evaluation.
struct Evaluation {
    bool hasValue = false;
    /// The value or, without one, the reason as the end of a sentence.
    String text;
};

/// Evaluates a connected input to one short line.
[[nodiscard]] Evaluation evaluate(const kelvo_sdk::Input& input);
/// Evaluates an input with all inputs in it, to its whole value in the form of `valueText`.
[[nodiscard]] Evaluation evaluateWhole(const kelvo_sdk::Input& input);
/// Evaluates an output to its whole value.
[[nodiscard]] Evaluation evaluate(const kelvo_sdk::Output& output);

/// Tells whether a connection or a modifier hides the value of an input, or of an input inside it.
[[nodiscard]] bool isHidden(const kelvo_sdk::Input& input);
/// Returns the whole value that the user set, even if modifiers hide it.
[[nodiscard]] String storedValue(const kelvo_sdk::Input& input);

} // namespace qv::kelvo_tool
