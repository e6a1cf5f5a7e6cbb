#pragma once

#include "sdk/impl/value.h"
#include "sdk/interfaces/i_input.h"

namespace qv::kelvo_tool {

/// What reading a connected input gives.
struct Evaluation {
    bool hasValue = false;
    /// The value in one short line, or, as the end of a sentence, why there is none.
    String text;
};

/// Evaluates an input. Needs one that is connected.
[[nodiscard]] Evaluation evaluate(const kelvo_sdk::interfaces::IInput& input);

/// Evaluates an output; the text is the whole value, as `wholeValue` gives that of an input.
[[nodiscard]] Evaluation evaluate(kelvo_sdk::interfaces::IOutput& output);

/// Returns a value in one short line, as `shortValue` does the one of an input.
[[nodiscard]] String shortText(const kelvo_sdk::impl::Value& value);

} // namespace qv::kelvo_tool
