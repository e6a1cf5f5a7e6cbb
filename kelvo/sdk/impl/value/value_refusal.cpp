#include "kelvo/sdk/impl/value/value_refusal.h"

#include "kelvo/sdk/impl/value/value_text.h"

#include "kelvo/base/spelling_suggestion.h"
#include "kelvo/base/string_io.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

// A message that lists more choices would not help.
constexpr u64 kMostChoices = 20;

// Names both bounds if there are two.
void writeRange(const AttrDetails& details, AttrType kind, StringIO& out) {
    if (details.minimum.type() == kind && details.maximum.type() == kind) {
        writeValue(details.minimum, out.append(" (the range is "));
        writeValue(details.maximum, out.append(" to "));
        out.append(')');
    }
    out.append('.');
}

void writeChoices(const AttrDetails& details, const Value& value, StringIO& out) {
    out.append("is not among the choices");
    const u64 count = details.choices.size();
    for (u64 i = 0; i < std::min(count, kMostChoices); ++i)
        writeValue(details.choices[i], out.append(i == 0 ? " " : ", "));
    if (count > kMostChoices) out.append(" and ").appendUInt(count - kMostChoices).append(" more");
    SpellingSuggestion near(value.type() == AttrType::String ? value.asString().view()
                                                             : std::string_view());
    for (const Value& choice : details.choices)
        if (choice.type() == AttrType::String) near.offer(choice.asString().view());
    out.append(near.question().view());
}

void writeReason(const AttrDetails& details, const Value& value, StringIO& out) {
    AttrDetails bounds;
    bounds.minimum = details.minimum;
    const bool isBelow = !bounds.accepts(value);
    bounds.maximum = details.maximum;
    if (bounds.accepts(value)) return writeChoices(details, value, out);
    out.append(isBelow ? "is below the minimum " : "is above the maximum ");
    writeValue(isBelow ? details.minimum : details.maximum, out);
    writeRange(details, value.type(), out);
}

} // namespace

String refusalOf(const AttrDetails& details, const Value& value) {
    StringIO message;
    writeValue(value, message.append("The value "));
    writeReason(details, value, message.append(' '));
    return message.take();
}

String refusalReason(const AttrDetails& details, const Value& value) {
    StringIO reason;
    writeReason(details, value, reason);
    return reason.take();
}

} // namespace qv::kelvo_sdk::impl
