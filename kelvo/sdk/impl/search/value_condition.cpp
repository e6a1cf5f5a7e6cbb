#include "kelvo/sdk/impl/search/value_condition.h"

#include "kelvo/sdk/value_text.h"

#include <cmath>

namespace qv::kelvo_sdk::impl {

namespace {

constexpr double kTwoTo64 = 18446744073709551616.0;

} // namespace

ExactNumber::ExactNumber(double value) noexcept {
    if (!(std::fabs(value) < kTwoTo64)) {
        m_far = value;
        return;
    }
    const double whole = std::trunc(value);
    m_isNegative = whole < 0;
    m_magnitude = static_cast<u64>(std::fabs(whole));
    m_fraction = value - whole;
}

std::partial_ordering ExactNumber::operator<=>(const ExactNumber& other) const noexcept {
    if (m_far != 0 || other.m_far != 0) return m_far <=> other.m_far;
    if (m_isNegative != other.m_isNegative)
        return m_isNegative ? std::partial_ordering::less : std::partial_ordering::greater;
    if (m_magnitude == other.m_magnitude) return m_fraction <=> other.m_fraction;
    return m_isNegative ? other.m_magnitude <=> m_magnitude : m_magnitude <=> other.m_magnitude;
}

namespace {

std::optional<ExactNumber> numberOf(const Input& input) {
    const interfaces::IInput& stored = *input;
    i64 whole = 0;
    u64 natural = 0;
    double real = 0;
    switch (input.type()) {
    case AttrType::Int:
        if (stored.readInt(whole, false, nullptr)) return ExactNumber(whole);
        break;
    case AttrType::UInt:
        if (stored.readUInt(natural, false, nullptr)) return ExactNumber(natural);
        break;
    case AttrType::Real:
        if (stored.readReal(real, false, nullptr)) return ExactNumber(real);
        break;
    default:
        break;
    }
    return std::nullopt;
}

std::optional<ExactNumber> numberOf(const SnapshotInput& input) {
    if (input.type() == AttrType::Int) return ExactNumber(input.get<i64>());
    if (input.type() == AttrType::UInt) return ExactNumber(input.get<u64>());
    if (input.type() == AttrType::Real) return ExactNumber(input.get<double>());
    return std::nullopt;
}

std::optional<ExactNumber> numberIn(const String& text) {
    for (const AttrType kind : {AttrType::Int, AttrType::UInt, AttrType::Real})
        if (const Input number = Input::create(kind); number->setString(text))
            return numberOf(number);
    return std::nullopt;
}

} // namespace

ValueCondition::Operator ValueCondition::operatorOf(std::string_view text) noexcept {
    if (text.starts_with("<=")) return Operator::LessOrEqual;
    if (text.starts_with(">=")) return Operator::GreaterOrEqual;
    if (text.starts_with('<')) return Operator::Less;
    if (text.starts_with('>')) return Operator::Greater;
    return text.starts_with('=') ? Operator::Equal : Operator::None;
}

QueryFault ValueCondition::parse(const String& wanted, ValueCondition& out) {
    const std::string_view text = wanted.view();
    out.m_operator = operatorOf(text);
    if (out.m_operator == Operator::None) {
        out.m_text = Wildcard::ofText(text, Wildcard::Case::Counts);
        return {};
    }
    const bool isLong =
        out.m_operator == Operator::LessOrEqual || out.m_operator == Operator::GreaterOrEqual;
    const u64 at = isLong ? 2 : 1;
    const String operand(text.substr(at));
    const std::optional<ExactNumber> number = numberIn(operand);
    if (number) {
        out.m_number = *number;
        return {};
    }
    return {"'" + operand + "' in '" + wanted +
                "' is no number to compare with (a text that begins like this needs a '\\' in "
                "front).",
            at};
}

bool ValueCondition::compare(const ExactNumber& value) const noexcept {
    const std::partial_ordering order = value <=> m_number;
    switch (m_operator) {
    case Operator::Less:
        return order < 0;
    case Operator::LessOrEqual:
        return order <= 0;
    case Operator::Greater:
        return order > 0;
    case Operator::GreaterOrEqual:
        return order >= 0;
    default:
        return order == 0;
    }
}

template<typename Handle>
bool ValueCondition::acceptsAny(const Handle& input) const {
    if (m_operator != Operator::None) {
        const std::optional<ExactNumber> number = numberOf(input);
        return number && compare(*number);
    }
    if (input.type() == AttrType::Object || input.type() == AttrType::Null) return false;
    return m_text.matches(valueText(input).view());
}

template bool ValueCondition::acceptsAny(const Input&) const;
template bool ValueCondition::acceptsAny(const SnapshotInput&) const;

} // namespace qv::kelvo_sdk::impl
