#include "sdk/impl/value_refusal.h"

#include "sdk/impl/value_text.h"

#include "base/string_io.h"

namespace qv::kelvo_sdk::impl {

namespace {

void writeReason(const AttrDetails& details, const Value& value, StringIO& out) {
    AttrDetails bounds;
    bounds.minimum = details.minimum;
    if (!bounds.accepts(value))
        return writeValue(details.minimum, out.append(" is below the minimum "));
    bounds.maximum = details.maximum;
    if (!bounds.accepts(value))
        return writeValue(details.maximum, out.append(" is above the maximum "));
    out.append(" is not among the choices");
}

} // namespace

String refusalOf(const AttrDetails& details, const Value& value) {
    StringIO message;
    writeValue(value, message.append("The value "));
    writeReason(details, value, message);
    return message.append('.').take();
}

} // namespace qv::kelvo_sdk::impl
