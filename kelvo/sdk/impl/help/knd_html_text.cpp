// Escapes text for HTML, and writes paragraphs, elements and icons.

#include "kelvo/sdk/html.h"

#include "kelvo/base/utf8.h"
#include "kelvo/sdk/icon.h"

namespace qv::kelvo_sdk::html {

namespace {

constexpr std::string_view blanks = " \t\r\n";

void appendClean(StringIO& out, std::string_view text) {
    for (const char c : text) {
        switch (c) {
        case '&':
            out.append("&amp;");
            break;
        case '<':
            out.append("&lt;");
            break;
        case '>':
            out.append("&gt;");
            break;
        case '"':
            out.append("&quot;");
            break;
        case '\'':
            out.append("&#39;");
            break;
        default:
            out.append(c);
        }
    }
}

void appendParagraph(StringIO& out, std::string_view text) {
    out.append("<p>");
    for (;;) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        appendText(out, line);
        if (end == std::string_view::npos) break;
        out.append("<br>\n");
        text.remove_prefix(end + 1);
    }
    out.append("</p>\n");
}

// Returns the end of the first paragraph: the line break in front of a blank line.
std::size_t paragraphEnd(std::string_view text) {
    for (std::size_t end = text.find('\n'); end != std::string_view::npos;
         end = text.find('\n', end + 1)) {
        const std::size_t next = text.find_first_not_of(" \t\r", end + 1);
        if (next == std::string_view::npos || text[next] == '\n') return end;
    }
    return text.size();
}

// Encodes as in the path of a URL, which also keeps the text from ending the HTML attribute.
void appendPercent(StringIO& out, std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    constexpr std::string_view plain = "-_.~:/=,;()*";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const char letter = static_cast<char>(byte | 0x20u);
        const bool isPlain = (letter >= 'a' && letter <= 'z') || (c >= '0' && c <= '9') ||
                             plain.find(c) != std::string_view::npos;
        if (isPlain && byte < 0x80)
            out.append(c);
        else
            out.append('%').append(digits[byte >> 4u]).append(digits[byte & 15u]);
    }
}

} // namespace

void appendText(StringIO& out, std::string_view text) {
    for (;;) {
        const u64 fault = utf8::firstFault(text);
        appendClean(out, text.substr(0, fault));
        if (fault >= text.size()) return;
        out.append("\xEF\xBF\xBD");
        text.remove_prefix(fault + 1);
    }
}

void appendElement(StringIO& out, std::string_view tag, std::string_view text) {
    out.append('<').append(tag).append('>');
    appendText(out, text);
    out.append("</").append(tag).append('>');
}

void appendParagraphs(StringIO& out, std::string_view text) {
    for (;;) {
        const std::size_t start = text.find_first_not_of(blanks);
        if (start == std::string_view::npos) return;
        text.remove_prefix(start);
        const std::size_t end = paragraphEnd(text);
        const std::string_view paragraph = text.substr(0, end);
        appendParagraph(out, paragraph.substr(0, paragraph.find_last_not_of(blanks) + 1));
        text.remove_prefix(end);
    }
}

void appendIcon(StringIO& out, const String& svg, u64 side) {
    const String safe = safeSvg(svg);
    if (safe.isEmpty()) return;
    out.append("<img class=\"icon\" alt=\"\" width=\"").appendUInt(side);
    out.append("\" height=\"").appendUInt(side).append("\" src=\"data:image/svg+xml,");
    appendPercent(out, safe.view());
    out.append("\">\n");
}

} // namespace qv::kelvo_sdk::html
