#pragma once

#include "kelvo/sdk/input.h"

namespace qv::kelvo_tool {

/// The outcome of an evaluation.
struct Evaluation {
    bool hasValue = false;
    /// The value, or, as the end of a sentence, why there is none.
    String text;
};

/// Evaluates an input, to one short line. Needs one that is connected.
[[nodiscard]] Evaluation evaluate(const kelvo_sdk::Input& input);
/// Evaluates an input with all that it holds, to its whole value as `valueText` has it.
[[nodiscard]] Evaluation evaluateWhole(const kelvo_sdk::Input& input);
/// Evaluates an output, to its whole value.
[[nodiscard]] Evaluation evaluate(const kelvo_sdk::Output& output);

/// Tells whether a connection, or what modifiers made of it, hides the value of an input, or of one
/// that it holds.
[[nodiscard]] bool isHidden(const kelvo_sdk::Input& input);
/// Returns the whole value as the user set it, which modifiers may hide.
[[nodiscard]] String storedValue(const kelvo_sdk::Input& input);

} // namespace qv::kelvo_tool
