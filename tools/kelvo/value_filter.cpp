#include "tools/kelvo/value_filter.h"

#include "kelvo/sdk/input.h"
#include "tools/kelvo/value_summary.h"

#include <limits>

namespace qv::kelvo_tool {

using kelvo_sdk::AttrType;
using kelvo_sdk::Input;
using kelvo_sdk::interfaces::IInput;

static_assert(std::numeric_limits<long double>::digits >= 64);

bool ValueFilter::parse(const String& wanted, ValueFilter& out, String& error) {
    const std::string_view text = wanted.view();
    const bool orEqual = text.size() > 1 && text[1] == '=';
    const char first = text.empty() ? '\0' : text.front();
    out.m_operator = first == '<'   ? orEqual ? Operator::LessOrEqual : Operator::Less
                     : first == '>' ? orEqual ? Operator::GreaterOrEqual : Operator::Greater
                     : first == '=' ? Operator::Equal
                                    : Operator::None;
    if (out.m_operator == Operator::None) {
        out.m_text = Wildcard::ofText(text, Wildcard::Case::Counts);
        return true;
    }
    const String operand(text.substr(first != '=' && orEqual ? 2 : 1));
    const std::optional<Number> number = numberIn(operand);
    if (number) out.m_number = *number;
    if (!number)
        error = "'" + operand + "' in '" + wanted +
                "' is no number to compare with (a text that begins like this needs a '\\' in "
                "front).";
    return number.has_value();
}

std::optional<ValueFilter::Number> ValueFilter::numberIn(const String& text) {
    for (const AttrType kind : {AttrType::Int, AttrType::UInt, AttrType::Real})
        if (const Input number = Input::create(kind); number.setString(text))
            return numberOf(*number);
    return std::nullopt;
}

std::optional<ValueFilter::Number> ValueFilter::numberOf(const IInput& input) {
    i64 whole = 0;
    u64 natural = 0;
    double real = 0;
    switch (input.type()) {
    case AttrType::Int:
        if (input.readInt(whole, false, nullptr)) return static_cast<Number>(whole);
        break;
    case AttrType::UInt:
        if (input.readUInt(natural, false, nullptr)) return static_cast<Number>(natural);
        break;
    case AttrType::Real:
        if (input.readReal(real, false, nullptr)) return real;
        break;
    default:
        break;
    }
    return std::nullopt;
}

bool ValueFilter::compare(Number value) const noexcept {
    switch (m_operator) {
    case Operator::Less:
        return value < m_number;
    case Operator::LessOrEqual:
        return value <= m_number;
    case Operator::Greater:
        return value > m_number;
    case Operator::GreaterOrEqual:
        return value >= m_number;
    default:
        return value == m_number;
    }
}

bool ValueFilter::accepts(const IInput& input) const {
    if (m_operator != Operator::None) {
        const std::optional<Number> number = numberOf(input);
        return number && compare(*number);
    }
    if (input.isObject() || input.type() == AttrType::Null) return false;
    return m_text.matches(wholeValue(input).view());
}

} // namespace qv::kelvo_tool
