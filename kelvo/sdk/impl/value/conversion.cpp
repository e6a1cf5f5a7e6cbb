#include "kelvo/sdk/impl/value/conversion.h"

#include "kelvo/sdk/impl/value/value_text.h"
#include "kelvo/sdk/interfaces/i_node.h"

#include <cmath>
#include <optional>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

constexpr bool isNumber(AttrType type) noexcept {
    return type == AttrType::Bool || type == AttrType::Int || type == AttrType::UInt ||
           type == AttrType::Real;
}

constexpr bool isPlain(AttrType type) noexcept {
    return type > AttrType::Null && type <= AttrType::Buffer;
}

// Tells whether a and b are x and y, in either order.
constexpr bool isPair(AttrType a, AttrType b, AttrType x, AttrType y) noexcept {
    return (a == x && b == y) || (a == y && b == x);
}

constexpr bool sameShape(AttrType a, AttrType b) noexcept {
    return isPair(a, b, AttrType::Vec2, AttrType::Pos2) ||
           isPair(a, b, AttrType::Vec3, AttrType::Pos3) ||
           isPair(a, b, AttrType::Vec4, AttrType::Rgba);
}

// 2^63 and 2^64, the first doubles above the ranges of the integers.
constexpr double kPastInt = 9223372036854775808.0;
constexpr double kPastUInt = 18446744073709551616.0;

std::optional<i64> toInt(const Value& from) noexcept {
    switch (from.type()) {
    case AttrType::Bool:
        return from.asBool() ? 1 : 0;
    case AttrType::Int:
        return from.asInt();
    case AttrType::UInt:
        if (!std::in_range<i64>(from.asUInt())) return {};
        return static_cast<i64>(from.asUInt());
    default: {
        const double real = from.asReal();
        if (!(real >= -kPastInt && real < kPastInt) || std::trunc(real) != real) return {};
        return static_cast<i64>(real);
    }
    }
}

std::optional<u64> toUInt(const Value& from) noexcept {
    switch (from.type()) {
    case AttrType::Bool:
        return from.asBool() ? 1u : 0u;
    case AttrType::UInt:
        return from.asUInt();
    case AttrType::Int:
        if (from.asInt() < 0) return {};
        return static_cast<u64>(from.asInt());
    default: {
        const double real = from.asReal();
        if (!(real >= 0.0 && real < kPastUInt) || std::trunc(real) != real) return {};
        return static_cast<u64>(real);
    }
    }
}

std::optional<double> toReal(const Value& from) noexcept {
    if (from.type() == AttrType::Bool) return from.asBool() ? 1.0 : 0.0;
    const bool isSigned = from.type() == AttrType::Int;
    const double real =
        isSigned ? static_cast<double>(from.asInt()) : static_cast<double>(from.asUInt());
    // A value that does not convert back to the same integer did not fit.
    if (isSigned && (real >= kPastInt || static_cast<i64>(real) != from.asInt())) return {};
    if (!isSigned && (real >= kPastUInt || static_cast<u64>(real) != from.asUInt())) return {};
    return real;
}

bool convertNumber(const Value& from, AttrType to, Value& out) {
    if (to == AttrType::Real) {
        const auto real = toReal(from);
        if (real) out = *real;
        return real.has_value();
    }
    if (to == AttrType::Int) {
        const auto whole = toInt(from);
        if (whole) out = *whole;
        return whole.has_value();
    }
    const auto whole = toUInt(from);
    if (!whole || (to == AttrType::Bool && *whole > 1)) return false;
    out = to == AttrType::Bool ? Value(*whole == 1) : Value(*whole);
    return true;
}

bool convertTuple(const Value& from, AttrType to, Value& out) {
    double reals[4] = {0, 0, 0, 1};
    const u32 count = Value::components(from.type());
    for (u32 i = 0; i < count; ++i)
        reals[i] = from.reals()[i];
    out = Value::fromReals(to, reals);
    return true;
}

} // namespace

bool kindsConvert(AttrType from, AttrType to) noexcept {
    if (!isPlain(from) || !isPlain(to)) return false;
    if (from == to) return true;
    if (to == AttrType::Node) return false;
    if (from == AttrType::String || to == AttrType::String) return true;
    return (isNumber(from) && isNumber(to)) || sameShape(from, to) ||
           isPair(from, to, AttrType::Rgba, AttrType::Vec3);
}

bool convertValue(const Value& from, AttrType to, Value& out) {
    const AttrType kind = from.type();
    if (!kindsConvert(kind, to)) return false;
    if (kind == to) {
        out = from;
        return true;
    }
    if (to == AttrType::String) {
        out = valueToText(from);
        return true;
    }
    if (kind == AttrType::String) return valueFromText(from.asString(), to, DataType::Null, out);
    return isNumber(kind) ? convertNumber(from, to, out) : convertTuple(from, to, out);
}

} // namespace qv::kelvo_sdk::impl
