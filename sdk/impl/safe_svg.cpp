#include "sdk/impl/safe_svg.h"

#include "base/string_io.h"
#include "base/utf8.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

using std::string_view;

constexpr u64 mostBytes = u64{1} << 16;
constexpr u64 mostLevels = 64;
constexpr string_view svgNames = "http://www.w3.org/2000/svg";
constexpr string_view blanks = " \t\r\n";

// Masks, clip paths, patterns and uses are not among them: these multiply what they refer to.
constexpr std::array<string_view, 16> elements{
    "svg",     "g",     "path", "rect", "circle", "ellipse", "line",           "polyline",
    "polygon", "title", "desc", "defs", "stop",   "text",    "linearGradient", "radialGradient"};

std::string lowered(string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return result;
}

bool isNameByte(char c) noexcept {
    const char letter = static_cast<char>(c | 0x20);
    return (letter >= 'a' && letter <= 'z') || (c >= '0' && c <= '9') ||
           string_view("_-.:").find(c) != string_view::npos;
}

bool holdsAny(string_view text, std::initializer_list<string_view> parts) {
    return std::any_of(parts.begin(), parts.end(),
                       [text](string_view part) { return text.find(part) != string_view::npos; });
}

// Every "url(" leads to something inside. Escapes and comments could hide one.
bool hasInnerUrlsOnly(string_view value) {
    if (holdsAny(value, {"\\", "/*", "@", "image(", "image-set("})) return false;
    for (std::size_t i = value.find("url"); i != string_view::npos; i = value.find("url", i + 1)) {
        const std::size_t target = value.find_first_not_of(" \t\r\n('\"", i + 3);
        if (target == string_view::npos || value[target] != '#') return false;
    }
    return true;
}

// A prefix can be bound to any names, so that what comes behind it counts.
bool isHarmless(string_view name, string_view value) {
    const std::string lower = lowered(name);
    const std::string plain = lowered(value);
    if (lower == "xmlns") return value == svgNames;
    if (lower.starts_with("xmlns:")) return true;
    const string_view local = string_view(lower).substr(lower.find(':') + 1);
    if (local == "href") return plain.starts_with('#');
    for (const string_view refused : {"src", "base", "mask", "clip-path", "filter", "cursor"})
        if (local == refused) return false;
    if (local.starts_with("on")) return false;
    if (local == "style" && holdsAny(plain, {"mask", "clip", "filter", "cursor"})) return false;
    return hasInnerUrlsOnly(plain);
}

/// Goes through an icon once, from the front; every step answers false for what is refused.
class Scanner {
public:
    explicit Scanner(string_view text) noexcept : m_rest(text) {}

    [[nodiscard]] bool scan() {
        if (!skipProlog() || !m_rest.starts_with("<svg")) return false;
        m_root = m_rest;
        do {
            if (!takePiece()) return false;
        } while (!m_open.empty());
        m_root.remove_suffix(m_rest.size());
        return skipComments() && m_rest.empty();
    }

    /// The root element, and whether it says that its names are SVG's.
    [[nodiscard]] string_view root() const noexcept { return m_root; }
    [[nodiscard]] bool isNamed() const noexcept { return m_isNamed; }

private:
    bool take(string_view start) noexcept {
        if (!m_rest.starts_with(start)) return false;
        m_rest.remove_prefix(start.size());
        return true;
    }
    // Cuts off all up to a mark, and the mark.
    bool takeTo(string_view mark, string_view& piece) noexcept {
        const std::size_t end = m_rest.find(mark);
        if (end == string_view::npos) return false;
        piece = m_rest.substr(0, end);
        m_rest.remove_prefix(end + mark.size());
        return true;
    }
    bool skipBlanks() noexcept {
        const std::size_t count = std::min(m_rest.find_first_not_of(blanks), m_rest.size());
        m_rest.remove_prefix(count);
        return count != 0;
    }
    string_view takeName() noexcept {
        std::size_t length = 0;
        while (length < m_rest.size() && isNameByte(m_rest[length]))
            ++length;
        const string_view name = m_rest.substr(0, length);
        m_rest.remove_prefix(length);
        return name;
    }

    bool skipComments() noexcept {
        for (skipBlanks(); take("<!--"); skipBlanks())
            if (!endComment()) return false;
        return true;
    }
    bool endComment() noexcept {
        string_view comment;
        return takeTo("--", comment) && take(">");
    }

    bool skipProlog() noexcept {
        string_view skipped;
        if (take("<?xml ") && !takeTo("?>", skipped)) return false;
        if (!skipComments()) return false;
        if (take("<!DOCTYPE") && (!takeTo(">", skipped) || skipped.find('[') != string_view::npos))
            return false;
        return skipComments();
    }

    bool takePiece() {
        if (take("<!--")) return endComment();
        if (take("</")) return takeEnd();
        if (take("<")) return takeStart();
        const string_view text = m_rest.substr(0, m_rest.find('<'));
        m_rest.remove_prefix(text.size());
        return !text.empty() && text.find('&') == string_view::npos &&
               text.find("]]>") == string_view::npos;
    }

    bool takeEnd() {
        if (takeName() != m_open.back()) return false;
        skipBlanks();
        m_open.pop_back();
        return take(">");
    }

    bool takeStart() {
        const string_view name = takeName();
        if (std::find(elements.begin(), elements.end(), name) == elements.end()) return false;
        m_attributes.clear();
        m_open.push_back(name);
        while (skipBlanks() && !m_rest.empty() && isNameByte(m_rest.front()))
            if (!takeAttribute()) return false;
        if (take("/>")) {
            m_open.pop_back();
            return true;
        }
        return m_open.size() < mostLevels && take(">");
    }

    bool takeAttribute() {
        const string_view name = takeName();
        skipBlanks();
        if (!take("=")) return false;
        skipBlanks();
        const string_view quote = m_rest.substr(0, 1);
        string_view value;
        if ((quote != "\"" && quote != "'") || !take(quote) || !takeTo(quote, value)) return false;
        if (std::find(m_attributes.begin(), m_attributes.end(), name) != m_attributes.end())
            return false;
        m_attributes.push_back(name);
        if (name == "xmlns" && m_open.size() == 1) m_isNamed = true;
        return value.find_first_of("<&") == string_view::npos && isHarmless(name, value);
    }

    string_view m_rest;
    string_view m_root;
    std::vector<string_view> m_open;
    std::vector<string_view> m_attributes;
    bool m_isNamed = false;
};

} // namespace

String safeSvg(const String& icon) {
    const string_view text = icon.view();
    if (text.size() > mostBytes || utf8::firstFault(text) != text.size()) return {};
    Scanner scanner(text);
    if (!scanner.scan()) return {};
    if (scanner.isNamed()) return String(scanner.root());
    constexpr string_view start = "<svg";
    return String(start) + " xmlns=\"" + svgNames + "\"" + scanner.root().substr(start.size());
}

} // namespace qv::kelvo_sdk::impl
