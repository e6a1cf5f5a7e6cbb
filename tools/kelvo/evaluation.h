#pragma once

#include "kelvo/sdk/impl/value/value.h"
#include "kelvo/sdk/interfaces/i_input.h"

namespace qv::kelvo_tool {

/// The outcome of an evaluation.
struct Evaluation {
    bool hasValue = false;
    /// The value, or, as the end of a sentence, why there is none.
    String text;
};

/// Evaluates an input, to one short line. Needs one that is connected.
[[nodiscard]] Evaluation evaluate(const kelvo_sdk::interfaces::IInput& input);
/// Evaluates an input with all that it holds, to its whole value as `wholeValue` has it.
[[nodiscard]] Evaluation evaluateWhole(const kelvo_sdk::interfaces::IInput& input);
/// Evaluates an output, to its whole value.
[[nodiscard]] Evaluation evaluate(kelvo_sdk::interfaces::IOutput& output);

/// Tells whether modifiers made another value of the one that the user set.
[[nodiscard]] bool isModified(const kelvo_sdk::interfaces::IInput& input);
/// Tells whether a connection, or what modifiers made of it, hides the value of an input, or of one
/// that it holds.
[[nodiscard]] bool isHidden(const kelvo_sdk::interfaces::IInput& input);
/// Returns the whole value as the user set it, which modifiers may hide.
[[nodiscard]] String storedValue(const kelvo_sdk::interfaces::IInput& input);

/// Returns a value in one short line, as `shortValue` does the one of an input.
[[nodiscard]] String shortText(const kelvo_sdk::impl::Value& value);

} // namespace qv::kelvo_tool
