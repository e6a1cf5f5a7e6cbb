#include "kelvo/sdk/impl/value/value_text.h"

#include "kelvo/base/utf8.h"
#include "kelvo/sdk/impl/text/text_numbers.h"
#include "kelvo/sdk/interfaces/i_node.h"
#include "kelvo/sdk/quoted_text.h"

#include "kelvo/base/ascii.h"

#include <cmath>

namespace qv::kelvo_sdk::impl {

namespace {

// Rows of a matrix are separated by two blanks.
u32 rowLength(AttrType kind) noexcept {
    return kind == AttrType::Mat3 ? 3 : kind == AttrType::Mat4 ? 4 : 16;
}

template<typename T>
void writeReal(T value, StringIO& out) {
    using Bits = std::conditional_t<sizeof(T) == 4, u32, u64>;
    const Bits bits = std::bit_cast<Bits>(value);
    const Bits plain = std::bit_cast<Bits>(std::numeric_limits<T>::quiet_NaN());
    const Bits sign = Bits{1} << (sizeof(T) * 8 - 1);
    if (!std::isnan(value) || (bits & ~sign) == plain) {
        out.appendReal(value);
        return;
    }
    char digits[16];
    const char* end = std::to_chars(digits, digits + sizeof digits, bits, 16).ptr;
    out.append("nan(0x").append(std::string_view(digits, static_cast<u64>(end - digits)));
    out.append(')');
}

template<typename T>
T load(const char* at) noexcept {
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

// Writes the component at `from` and returns the address of the next one.
const char* writeComponent(DataType type, const char* from, StringIO& out) {
    switch (type) {
    case DataType::Bool:
        out.append(*from ? std::string_view("true") : std::string_view("false"));
        return from + 1;
    case DataType::Char:
        out.appendInt(load<signed char>(from));
        return from + 1;
    case DataType::Byte:
        out.appendUInt(load<unsigned char>(from));
        return from + 1;
    case DataType::Int16:
        out.appendInt(load<i16>(from));
        return from + 2;
    case DataType::Int32:
        out.appendInt(load<i32>(from));
        return from + 4;
    case DataType::Int64:
        out.appendInt(load<i64>(from));
        return from + 8;
    case DataType::UInt16:
        out.appendUInt(load<u16>(from));
        return from + 2;
    case DataType::UInt32:
        out.appendUInt(load<u32>(from));
        return from + 4;
    case DataType::UInt64:
        out.appendUInt(load<u64>(from));
        return from + 8;
    case DataType::Ptr:
        out.appendUInt(load<u64>(from));
        return from + 8;
    case DataType::Float:
        writeReal(load<float>(from), out);
        return from + 4;
    default:
        writeReal(load<double>(from), out);
        return from + 8;
    }
}

void writeBuffer(const Buffer& buffer, StringIO& out) {
    const DataType component = dataTypeComponent(buffer.type());
    const u64 components = dataTypeComponents(buffer.type());
    const auto* at = static_cast<const char*>(buffer.data());
    out.append('[');
    for (u64 i = 0; i < buffer.count(); ++i) {
        if (i != 0) out.append(' ');
        if (components == 1) {
            at = writeComponent(component, at, out);
            continue;
        }
        for (u64 k = 0; k < components; ++k) {
            out.append(k == 0 ? '(' : ' ');
            at = writeComponent(component, at, out);
        }
        out.append(')');
    }
    out.append(']');
}

void writeTuple(const Value& value, StringIO& out) {
    const u32 count = Value::components(value.type());
    const u32 row = rowLength(value.type());
    const double* reals = value.reals();
    for (u32 i = 0; i < count; ++i) {
        if (i == 0)
            out.append('(');
        else if (i % row == 0)
            out.append("  ");
        else
            out.append(' ');
        writeReal(reals[i], out);
    }
    out.append(')');
}

void writeUnquoted(const Value& value, StringIO& out) {
    switch (value.type()) {
    case AttrType::Bool:
        out.append(value.asBool() ? "true" : "false");
        break;
    case AttrType::Int:
        out.appendInt(value.asInt());
        break;
    case AttrType::UInt:
        out.appendUInt(value.asUInt());
        break;
    case AttrType::Real:
        writeReal(value.asReal(), out);
        break;
    case AttrType::String:
        out.append(value.asString().view());
        break;
    case AttrType::Node:
        if (value.asNode()) out.append(value.asNode()->name().view());
        break;
    case AttrType::Buffer:
        writeBuffer(value.asBuffer(), out);
        break;
    default:
        if (Value::components(value.type()) != 0) writeTuple(value, out);
        break;
    }
}

// Returns the length of the first character if it needs no escape in quotes, else 0.
u64 plainLength(std::string_view text) noexcept {
    const auto byte = static_cast<unsigned char>(text[0]);
    if (byte >= 0x80) return utf8::sequenceLength(text);
    return byte >= 0x20 && byte != '"' && byte != '\\' && byte != 0x7f ? 1 : 0;
}

void writeEscaped(char c, StringIO& out) {
    constexpr const char* hex = "0123456789abcdef";
    switch (c) {
    case '"':
        out.append("\\\"");
        return;
    case '\\':
        out.append("\\\\");
        return;
    case '\n':
        out.append("\\n");
        return;
    case '\r':
        out.append("\\r");
        return;
    case '\t':
        out.append("\\t");
        return;
    default:
        break;
    }
    const auto byte = static_cast<unsigned char>(c);
    out.append("\\x").append(hex[byte >> 4]).append(hex[byte & 15]);
}

} // namespace

bool valueFromText(const String& text, AttrType kind, DataType element, Value& out) {
    if (kind == AttrType::String) {
        out = text;
        return true;
    }
    const std::string_view whole = ascii::trim(text.view());
    ValueReader reader(whole.data(), whole.data() + whole.size());
    Value value;
    if (!reader.read(kind, element, value) || reader.at() != whole.data() + whole.size())
        return false;
    out = std::move(value);
    return true;
}

String valueToText(const Value& value) {
    if (value.type() == AttrType::String) return value.asString();
    StringIO out;
    writeUnquoted(value, out);
    return out.take();
}

void writeValue(const Value& value, StringIO& out) {
    if (value.type() == AttrType::String)
        writeQuoted(value.asString().view(), out);
    else if (value.type() == AttrType::Node && !value.asNode())
        out.append("null");
    else
        writeUnquoted(value, out);
}

void writeQuoted(std::string_view text, StringIO& out) {
    out.append('"');
    u64 start = 0;
    u64 at = 0;
    // Appends plain characters in runs as long as possible.
    while (at < text.size()) {
        const u64 plain = plainLength(text.substr(at));
        at += plain;
        if (plain != 0) continue;
        out.append(text.substr(start, at - start));
        writeEscaped(text[at], out);
        start = ++at;
    }
    out.append(text.substr(start)).append('"');
}

} // namespace qv::kelvo_sdk::impl

namespace qv::kelvo_sdk {

String quotedText(std::string_view text) {
    StringIO out;
    impl::writeQuoted(text, out);
    return out.take();
}

} // namespace qv::kelvo_sdk
