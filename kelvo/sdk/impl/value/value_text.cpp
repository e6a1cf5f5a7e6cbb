#include "kelvo/sdk/impl/value/value_text.h"

#include "kelvo/base/utf8.h"
#include "kelvo/sdk/impl/value/buffer_text.h"
#include "kelvo/sdk/interfaces/i_node.h"
#include "kelvo/sdk/quoted_text.h"

#include "kelvo/base/ascii.h"

namespace qv::kelvo_sdk::impl {

namespace {

// Rows of a matrix are separated by two blanks.
u32 rowLength(AttrType kind) noexcept {
    return kind == AttrType::Mat3 ? 3 : kind == AttrType::Mat4 ? 4 : 16;
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

void writeUnquoted(const Value& value, StringIO& out, const Workers& workers) {
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
        writeBuffer(value.asBuffer(), out, workers);
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
    writeUnquoted(value, out, Workers(1));
    return out.take();
}

void writeValue(const Value& value, StringIO& out, const Workers& workers) {
    if (value.type() == AttrType::String)
        writeQuoted(value.asString().view(), out);
    else if (value.type() == AttrType::Node && !value.asNode())
        out.append("null");
    else
        writeUnquoted(value, out, workers);
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
