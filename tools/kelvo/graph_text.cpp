#include "tools/kelvo/graph_text.h"

#include "kelvo/base/utf8.h"

namespace qv::kelvo_tool {

namespace {

std::string_view entityOf(char c) noexcept {
    switch (c) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\\':
        return "\\\\";
    default:
        return {};
    }
}

bool isControl(char c) noexcept {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

// Finds U+FFFE and U+FFFF, which are valid UTF-8 but not allowed in XML.
bool isNoCharacter(std::string_view character) noexcept {
    return character == "\xef\xbf\xbe" || character == "\xef\xbf\xbf";
}

void appendEscaped(std::string_view text, StringIO& out) {
    while (!text.empty()) {
        const u64 length = utf8::sequenceLength(text);
        const std::string_view character = text.substr(0, length == 0 ? 1 : length);
        const std::string_view entity = entityOf(character[0]);
        if (length == 0 || isControl(character[0]) || isNoCharacter(character))
            out.append("\xef\xbf\xbd");
        else
            out.append(entity.empty() ? character : entity);
        text.remove_prefix(character.size());
    }
}

} // namespace

void appendDotString(std::string_view text, StringIO& out) {
    out.append('"');
    for (;;) {
        const std::size_t end = text.find('\n');
        appendEscaped(text.substr(0, end), out);
        if (end == std::string_view::npos) break;
        out.append("\\n");
        text.remove_prefix(end + 1);
    }
    out.append('"');
}

void appendDotMarkup(std::string_view text, StringIO& out) {
    appendEscaped(text, out);
}

String shortened(const String& text, u64 mostCharacters) {
    u64 length = 0;
    for (u64 i = 0; i < mostCharacters && length < text.size(); ++i) {
        const u64 step = utf8::sequenceLength(text.view().substr(length));
        length += step == 0 ? 1 : step;
    }
    return length == text.size() ? text : text.substr(0, length) + "…";
}

} // namespace qv::kelvo_tool
