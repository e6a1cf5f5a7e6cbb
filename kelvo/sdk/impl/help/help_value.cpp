#include "kelvo/sdk/impl/help/help_value.h"

#include "kelvo/base/string_io.h"
#include "kelvo/base/utf8.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/value/value_text.h"

namespace qv::kelvo_sdk::impl {

namespace {

constexpr u64 mostBytes = 160;
constexpr u64 mostBufferElements = 8;
constexpr u64 mostArrayElements = 16;

// Cuts at the start of a character, so that no UTF-8 sequence is split.
void appendShort(const String& text, StringIO& out) {
    if (text.size() <= mostBytes) return writeQuoted(text.view(), out);
    u64 end = mostBytes;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0u) == 0x80u)
        --end;
    writeQuoted(text.view().substr(0, end), out);
    out.append("…");
}

void appendBuffer(const Value& value, StringIO& out) {
    const u64 count = value.asBuffer().count();
    if (count <= mostBufferElements) return writeValue(value, out);
    out.append('[').appendUInt(count).append(" elements]");
}

bool isIdentity(const Value& value) {
    const bool isMatrix = value.type() == AttrType::Mat3 || value.type() == AttrType::Mat4;
    return isMatrix && value == Value::zero(value.type());
}

void appendValue(const Value& value, StringIO& out) {
    if (value.isNull()) return;
    if (value.type() == AttrType::String) return appendShort(value.asString(), out);
    if (value.type() == AttrType::Buffer) return appendBuffer(value, out);
    if (isIdentity(value))
        out.append("identity");
    else
        writeValue(value, out);
}

Value defaultOf(const IInput& input) {
    const AttrDetails* details = implOf(input).details();
    if (details && !details->defaultValue.isNull()) return details->defaultValue;
    return Value::zero(input.type());
}

// Returns nothing for elements that hold inputs: they have rows of their own.
String arrayDefault(const IInput& array) {
    if (array.elementType() == AttrType::Object || array.elementType() == AttrType::Array)
        return {};
    const u64 count = array.inputCount();
    StringIO out;
    out.append('[');
    for (u64 i = 0; i < count && i < mostArrayElements; ++i) {
        if (i != 0) out.append(", ");
        appendValue(defaultOf(*array.input(i)), out);
    }
    if (count > mostArrayElements) out.append(", … ").appendUInt(count).append(" elements");
    out.append(']');
    return out.take();
}

} // namespace

String helpValue(const Value& value) {
    StringIO out;
    appendValue(value, out);
    return out.take();
}

String helpDefault(const IInput& input) {
    return input.type() == AttrType::Array ? arrayDefault(input) : helpValue(defaultOf(input));
}

String helpRange(const AttrDetails& details) {
    const String low = helpValue(details.minimum);
    const String high = helpValue(details.maximum);
    if (low.isEmpty() && high.isEmpty()) return {};
    if (high.isEmpty()) return "at least " + low;
    if (low.isEmpty()) return "at most " + high;
    return low + " to " + high;
}

} // namespace qv::kelvo_sdk::impl
