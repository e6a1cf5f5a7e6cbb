#pragma once

#include "kelvo/sdk/impl/search/wildcard.h"
#include "kelvo/sdk/input.h"
#include "kelvo/sdk/search.h"
#include "kelvo/sdk/snapshot.h"

#include <compare>
#include <optional>

namespace qv::kelvo_sdk::impl {

/// Any integer of 64 bits or any double, compared exactly.
class ExactNumber {
public:
    explicit ExactNumber(i64 value) noexcept
        : m_isNegative(value < 0),
          m_magnitude(value < 0 ? u64{0} - static_cast<u64>(value) : static_cast<u64>(value)) {}
    explicit ExactNumber(u64 value) noexcept : m_magnitude(value) {}
    explicit ExactNumber(double value) noexcept;

    /// Not-a-number is not ordered.
    [[nodiscard]] std::partial_ordering operator<=>(const ExactNumber& other) const noexcept;
    bool operator==(const ExactNumber& other) const noexcept { return (*this <=> other) == 0; }

private:
    // Holds values beyond 64 bits and not-a-number; 0 for all other values.
    double m_far = 0;
    bool m_isNegative = false;
    u64 m_magnitude = 0;
    // The signed part behind the decimal point.
    double m_fraction = 0;
};

/// The condition on the value stored in an input: a number compared with one, as ">= 0.5", or a
/// text with wildcards.
class ValueCondition {
public:
    /// Parses a condition; returns a fault when the text behind "<", "<=", ">", ">=" or "=" is not
    /// a number.
    [[nodiscard]] static QueryFault parse(const String& wanted, ValueCondition& out);

    /// False for objects, which have no value; their members are searched instead.
    [[nodiscard]] bool accepts(const Input& input) const { return acceptsAny(input); }
    [[nodiscard]] bool accepts(const SnapshotInput& input) const { return acceptsAny(input); }

private:
    enum class Operator { None, Less, LessOrEqual, Greater, GreaterOrEqual, Equal };

    [[nodiscard]] static Operator operatorOf(std::string_view text) noexcept;
    template<typename Handle>
    [[nodiscard]] bool acceptsAny(const Handle& input) const;
    [[nodiscard]] bool compare(const ExactNumber& value) const noexcept;

    Operator m_operator = Operator::None;
    ExactNumber m_number{i64{0}};
    Wildcard m_text;
};

} // namespace qv::kelvo_sdk::impl
