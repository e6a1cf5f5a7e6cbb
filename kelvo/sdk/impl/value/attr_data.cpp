#include "kelvo/sdk/impl/value/attr_data.h"

#include "kelvo/sdk/impl/value/conversion.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

// Tells whether `low` is at most `high` in every component; NaN never is.
bool isWithin(const Value& low, const Value& high) {
    switch (low.type()) {
    case AttrType::Int:
        return low.asInt() <= high.asInt();
    case AttrType::UInt:
        return low.asUInt() <= high.asUInt();
    default:
        break;
    }
    for (u32 i = 0; i < Value::components(low.type()); ++i) {
        if (!(low.reals()[i] <= high.reals()[i])) return false;
    }
    return true;
}

} // namespace

namespace {

bool isNode(const Value& value, const interfaces::INode& node) noexcept {
    return value.type() == AttrType::Node && value.asNode() == &node;
}

} // namespace

bool AttrDetails::names(const interfaces::INode& node) const noexcept {
    const auto is = [&](const Value& value) { return isNode(value, node); };
    return is(defaultValue) || is(minimum) || is(maximum) || std::ranges::any_of(choices, is);
}

RefersTo<AttrDetails> AttrDetails::without(const interfaces::INode& node) const {
    auto copy = RefersTo<AttrDetails>::adopt(new AttrDetails(*this));
    for (Value* value : {&copy->defaultValue, &copy->minimum, &copy->maximum})
        if (isNode(*value, node)) *value = Value();
    copy->choices = {};
    for (const Value& choice : choices)
        if (!isNode(choice, node)) copy->choices.push_back(choice);
    return copy;
}

Value AttrData::startValue() const {
    Value start;
    if (convertValue(value, type, start)) return start;
    if (details) convertValue(details->defaultValue, type, start);
    return start;
}

bool AttrDetails::accepts(const Value& value) const {
    if (minimum.type() == value.type() && !isWithin(minimum, value)) return false;
    if (maximum.type() == value.type() && !isWithin(value, maximum)) return false;
    return choices.empty() || std::ranges::find(choices, value) != choices.end();
}

AttrData AttrData::withDefault(Value initial) {
    AttrData data(initial.type());
    data.value = initial;
    data.describe().defaultValue = std::move(initial);
    return data;
}

AttrDetails& AttrData::describe() {
    if (!details) details = RefersTo<AttrDetails>::adopt(new AttrDetails);
    return *details;
}

} // namespace qv::kelvo_sdk::impl
