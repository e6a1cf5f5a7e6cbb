#include "kelvo/sdk/icon.h"

#include "kelvo/base/ascii.h"
#include "kelvo/base/utf8.h"
#include "kelvo/sdk/impl/help/svg_attribute.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace qv::kelvo_sdk {

namespace {

using impl::judgeSvgAttribute;
using impl::SvgVerdict;
using std::string_view;

constexpr u64 mostBytes = u64{1} << 16;
constexpr u64 mostLevels = 64;
constexpr string_view svgNames = "http://www.w3.org/2000/svg";
constexpr string_view blanks = " \t\r\n";

// Leaves out masks, clip paths, patterns and uses: they multiply the elements they refer to.
constexpr std::array<string_view, 16> elements{
    "svg",     "g",     "path", "rect", "circle", "ellipse", "line",           "polyline",
    "polygon", "title", "desc", "defs", "stop",   "text",    "linearGradient", "radialGradient"};

bool isNameByte(char c) noexcept {
    return ascii::continuesIdentifier(c) || string_view("-.:").find(c) != string_view::npos;
}

bool isNameStart(char c) noexcept {
    return ascii::isLetter(c) || c == '_';
}

// Accepts a local name, or a prefix and a local name with ':' between them.
bool isName(string_view name) {
    const std::size_t colon = name.find(':');
    if (colon == string_view::npos) return !name.empty() && isNameStart(name[0]);
    const string_view local = name.substr(colon + 1);
    return colon != 0 && isNameStart(name[0]) && !local.empty() && isNameStart(local[0]) &&
           local.find(':') == string_view::npos;
}

string_view prefixOf(string_view name) {
    const std::size_t colon = name.find(':');
    return colon == string_view::npos ? string_view() : name.substr(0, colon);
}

bool isSame(string_view a, string_view b) {
    return std::ranges::equal(
        a, b, [](char x, char y) { return ascii::toLower(x) == ascii::toLower(y); });
}

// Finds two noncharacters of Unicode that XML forbids; `utf8` checks the rest of the text.
bool hasNoCharacters(string_view text) {
    return text.find("\xef\xbf\xbe") != string_view::npos ||
           text.find("\xef\xbf\xbf") != string_view::npos;
}

/// Scans an icon once from the front; every step returns false for content that is refused.
///
/// Accepts only syntax that XML and HTML read alike, so that a page can embed the result
/// directly.
class Scanner {
public:
    explicit Scanner(string_view text) noexcept : m_rest(text) {}

    [[nodiscard]] bool scan() {
        if (!skipProlog() || !m_rest.starts_with("<svg")) return false;
        m_unwritten = m_rest;
        do {
            if (!takePiece()) return false;
        } while (!m_open.empty());
        write(m_rest);
        return skipComments() && m_rest.empty();
    }

    /// The root element, and whether it declares the namespace of SVG.
    [[nodiscard]] string_view root() const noexcept { return m_out; }
    [[nodiscard]] bool isNamed() const noexcept { return m_isNamed; }

private:
    struct Attribute {
        string_view name;
        string_view value;
    };
    // A namespace prefix; valid in one element and all elements inside it.
    struct Binding {
        string_view prefix;
        string_view names;
        std::size_t level;
    };

    bool take(string_view start) noexcept {
        if (!m_rest.starts_with(start)) return false;
        m_rest.remove_prefix(start.size());
        return true;
    }
    // Takes all text up to a mark, and drops the mark.
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
    bool takeQuoted(string_view& value) noexcept {
        const string_view quote = m_rest.substr(0, 1);
        return (quote == "\"" || quote == "'") && take(quote) && takeTo(quote, value);
    }
    // Writes the pending text in front of `rest`, which becomes the pending text.
    void write(string_view rest) {
        m_out.append(m_unwritten.substr(0, m_unwritten.size() - rest.size()));
        m_unwritten = rest;
    }

    bool skipComments() noexcept {
        for (skipBlanks(); take("<!--"); skipBlanks())
            if (!endComment()) return false;
        return true;
    }
    // In HTML a comment that starts with ">" or "->" would end there.
    bool endComment() noexcept {
        string_view comment;
        if (m_rest.starts_with('>') || m_rest.starts_with("->")) return false;
        return takeTo("--", comment) && take(">");
    }

    bool skipProlog() {
        std::ignore = take("\xef\xbb\xbf");
        if (take("<?xml") && !skipDeclaration()) return false;
        return skipComments() && skipType() && skipComments();
    }
    // Takes "version", "encoding" and "standalone", which XML wants in this order.
    bool skipDeclaration() {
        string_view value;
        if (!takeFact("version", value) || !value.starts_with("1.")) return false;
        if (takeFact("encoding", value) && !isSame(value, "utf-8") && !isSame(value, "us-ascii"))
            return false;
        if (takeFact("standalone", value) && value != "yes" && value != "no") return false;
        skipBlanks();
        return take("?>");
    }
    bool takeFact(string_view name, string_view& value) {
        const string_view before = m_rest;
        const auto takeEquals = [this] {
            skipBlanks();
            const bool isThere = take("=");
            skipBlanks();
            return isThere;
        };
        if (skipBlanks() && take(name) && takeEquals() && takeQuoted(value)) return true;
        m_rest = before;
        return false;
    }
    // A document type may name an external definition, which is never loaded, but may declare
    // nothing.
    bool skipType() {
        if (!take("<!DOCTYPE")) return true;
        if (!skipBlanks() || takeName() != "svg") return false;
        string_view skipped;
        const auto takeLiteral = [&] { return skipBlanks() && takeQuoted(skipped); };
        skipBlanks();
        if (take("PUBLIC") && !(takeLiteral() && takeLiteral())) return false;
        if (take("SYSTEM") && !takeLiteral()) return false;
        skipBlanks();
        return take(">");
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
        close();
        return take(">");
    }
    void close() {
        while (!m_bindings.empty() && m_bindings.back().level == m_open.size())
            m_bindings.pop_back();
        m_open.pop_back();
    }

    // HTML reads elements inside of titles and descriptions as its own.
    bool takeStart() {
        const string_view name = takeName();
        if (std::ranges::find(elements, name) == elements.end()) return false;
        if (!m_open.empty() && (m_open.back() == "title" || m_open.back() == "desc")) return false;
        m_attributes.clear();
        m_open.push_back(name);
        for (string_view before = m_rest; skipBlanks() && !m_rest.empty(); before = m_rest) {
            if (!isNameByte(m_rest.front())) break;
            if (!takeAttribute(before)) return false;
        }
        if (!areBound()) return false;
        if (take("/>")) {
            close();
            return true;
        }
        return m_open.size() < mostLevels && take(">");
    }

    // `before` is the text from the white space in front of the attribute on.
    bool takeAttribute(string_view before) {
        Attribute attribute{.name = takeName(), .value = {}};
        skipBlanks();
        if (!isName(attribute.name) || !take("=")) return false;
        skipBlanks();
        if (!takeQuoted(attribute.value)) return false;
        if (attribute.value.find_first_of("<&") != string_view::npos) return false;
        // HTML compares names without case.
        for (const Attribute& other : m_attributes)
            if (isSame(other.name, attribute.name)) return false;
        m_attributes.push_back(attribute);
        return accept(attribute, before);
    }

    bool accept(const Attribute& attribute, string_view before) {
        if (isSame(attribute.name, "xmlns")) {
            if (m_open.size() == 1) m_isNamed = true;
            return attribute.name == "xmlns" && attribute.value == svgNames;
        }
        if (isSame(prefixOf(attribute.name), "xmlns")) return bind(attribute);
        const SvgVerdict verdict = judgeSvgAttribute(attribute.name, attribute.value);
        if (verdict != SvgVerdict::LeftOut) return verdict == SvgVerdict::Kept;
        write(before);
        m_unwritten = m_rest;
        return true;
    }

    bool bind(const Attribute& attribute) {
        const string_view prefix = attribute.name.substr(std::string_view("xmlns:").size());
        if (!attribute.name.starts_with("xmlns:") || attribute.value.empty()) return false;
        if (isSame(prefix, "xmlns") || isSame(prefix, "xml")) return false;
        m_bindings.push_back({prefix, attribute.value, m_open.size()});
        return true;
    }

    // Tells whether all prefixes are bound, and no attribute appears twice under two prefixes.
    bool areBound() const {
        for (const Attribute& attribute : m_attributes) {
            const string_view prefix = prefixOf(attribute.name);
            if (prefix.empty() || prefix == "xmlns") continue;
            const string_view names = namesOf(prefix);
            if (names.empty()) return false;
            const string_view local = attribute.name.substr(prefix.size());
            const auto isTwin = [&](const Attribute& other) {
                const string_view second = prefixOf(other.name);
                return !second.empty() && namesOf(second) == names &&
                       other.name.substr(second.size()) == local;
            };
            if (std::ranges::count_if(m_attributes, isTwin) != 1) return false;
        }
        return true;
    }
    string_view namesOf(string_view prefix) const {
        if (prefix == "xml") return "http://www.w3.org/XML/1998/namespace";
        for (auto binding = m_bindings.rbegin(); binding != m_bindings.rend(); ++binding)
            if (binding->prefix == prefix) return binding->names;
        return {};
    }

    string_view m_rest;
    // The text after the part that was written or dropped.
    string_view m_unwritten;
    std::string m_out;
    std::vector<string_view> m_open;
    std::vector<Attribute> m_attributes;
    std::vector<Binding> m_bindings;
    bool m_isNamed = false;
};

} // namespace

String safeSvg(const String& icon) {
    const string_view text = icon.view();
    if (text.size() > mostBytes || utf8::firstFault(text) != text.size()) return {};
    if (hasNoCharacters(text)) return {};
    Scanner scanner(text);
    if (!scanner.scan()) return {};
    if (scanner.isNamed()) return String(scanner.root());
    constexpr string_view start = "<svg";
    return String(start) + " xmlns=\"" + svgNames + "\"" + scanner.root().substr(start.size());
}

} // namespace qv::kelvo_sdk
