#include "tools/kelvo/json_text.h"

#include "kelvo/base/utf8.h"

namespace qv::kelvo_tool {

namespace {

void appendControl(StringIO& out, unsigned char byte) {
    constexpr std::string_view digits = "0123456789abcdef";
    out.append("\\u00").append(digits[byte >> 4]).append(digits[byte & 15]);
}

void appendAscii(StringIO& out, char c) {
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
    case '\t':
        out.append("\\t");
        return;
    default:
        break;
    }
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7f)
        appendControl(out, byte);
    else
        out.append(c);
}

void appendQuoted(StringIO& out, std::string_view text) {
    out.append('"');
    while (!text.empty()) {
        const u64 length = utf8::sequenceLength(text);
        if (length == 0)
            out.append("\xef\xbf\xbd");
        else if (length == 1)
            appendAscii(out, text[0]);
        else
            out.append(text.substr(0, length));
        text.remove_prefix(length == 0 ? 1 : length);
    }
    out.append('"');
}

} // namespace

void JsonText::startLine() {
    m_out.append('\n').appendRepeated(' ', m_depth * 2);
}

void JsonText::startValue() {
    if (!m_isAfterKey && m_depth != 0) {
        if (!m_isFirst) m_out.append(',');
        startLine();
    }
    m_isFirst = m_isAfterKey = false;
}

JsonText& JsonText::open(char bracket) {
    startValue();
    m_out.append(bracket);
    ++m_depth;
    m_isFirst = true;
    return *this;
}

JsonText& JsonText::close(char bracket) {
    --m_depth;
    if (!m_isFirst) startLine();
    m_out.append(bracket);
    m_isFirst = false;
    return *this;
}

JsonText& JsonText::key(std::string_view name) {
    startValue();
    appendQuoted(m_out, name);
    m_out.append(": ");
    m_isAfterKey = true;
    return *this;
}

JsonText& JsonText::text(std::string_view value) {
    startValue();
    appendQuoted(m_out, value);
    return *this;
}

JsonText& JsonText::number(u64 value) {
    startValue();
    m_out.appendUInt(value);
    return *this;
}

JsonText& JsonText::boolean(bool value) {
    startValue();
    m_out.append(value ? "true" : "false");
    return *this;
}

JsonText& JsonText::null() {
    startValue();
    m_out.append("null");
    return *this;
}

String JsonText::take() {
    m_out.append('\n');
    return m_out.take();
}

} // namespace qv::kelvo_tool
