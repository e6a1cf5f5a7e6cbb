#include "sdk/impl/attr_data.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

// Tells whether a value is on the right side of a bound, component by component; NaN never is.
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
