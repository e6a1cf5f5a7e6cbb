#pragma once

#include "kelvo/sdk/interfaces/i_input.h"
#include "tools/kelvo/wildcard.h"

#include <optional>

namespace qv::kelvo_tool {

/// A condition on the stored value of an input: a comparison with a number, such as ">= 0.5", or a
/// text with wildcards.
class ValueFilter {
public:
    /// False, with a sentence in `error`, when no number follows "<", "<=", ">", ">=" or "=".
    [[nodiscard]] static bool parse(const String& wanted, ValueFilter& out, String& error);

    /// Objects have no value and never match.
    [[nodiscard]] bool accepts(const kelvo_sdk::interfaces::IInput& input) const;

private:
    // Holds all integers and all doubles exactly.
    using Number = long double;
    enum class Operator { None, Less, LessOrEqual, Greater, GreaterOrEqual, Equal };

    [[nodiscard]] static std::optional<Number> numberIn(const String& text);
    [[nodiscard]] static std::optional<Number> numberOf(const kelvo_sdk::interfaces::IInput& input);
    [[nodiscard]] bool compare(Number value) const noexcept;

    Operator m_operator = Operator::None;
    Number m_number = 0;
    Wildcard m_text;
};

} // namespace qv::kelvo_tool
