#include "kelvo/sdk/impl/help/svg_attribute.h"

#include "kelvo/base/ascii.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>

namespace qv::kelvo_sdk::impl {

namespace {

using std::string_view;

// Attributes that give geometry and names.
constexpr std::array<string_view, 45> shapes{"id",
                                             "class",
                                             "style",
                                             "lang",
                                             "role",
                                             "version",
                                             "baseProfile",
                                             "viewBox",
                                             "width",
                                             "height",
                                             "x",
                                             "y",
                                             "x1",
                                             "y1",
                                             "x2",
                                             "y2",
                                             "cx",
                                             "cy",
                                             "r",
                                             "rx",
                                             "ry",
                                             "fx",
                                             "fy",
                                             "fr",
                                             "d",
                                             "points",
                                             "pathLength",
                                             "transform",
                                             "offset",
                                             "dx",
                                             "dy",
                                             "rotate",
                                             "textLength",
                                             "zoomAndPan",
                                             "focusable",
                                             "data-name",
                                             "aria-label",
                                             "aria-hidden",
                                             "lengthAdjust",
                                             "gradientUnits",
                                             "href",
                                             "spreadMethod",
                                             "aria-labelledby",
                                             "preserveAspectRatio",
                                             "gradientTransform"};

// Presentation attributes; a style may set them, too.
constexpr std::array<string_view, 50> looks{"alignment-baseline",
                                            "baseline-shift",
                                            "clip-rule",
                                            "color",
                                            "color-interpolation",
                                            "color-rendering",
                                            "direction",
                                            "display",
                                            "dominant-baseline",
                                            "enable-background",
                                            "fill",
                                            "fill-opacity",
                                            "fill-rule",
                                            "font",
                                            "font-family",
                                            "font-size",
                                            "font-size-adjust",
                                            "font-stretch",
                                            "font-style",
                                            "font-variant",
                                            "font-weight",
                                            "image-rendering",
                                            "isolation",
                                            "letter-spacing",
                                            "line-height",
                                            "mix-blend-mode",
                                            "opacity",
                                            "overflow",
                                            "paint-order",
                                            "shape-rendering",
                                            "stop-color",
                                            "stop-opacity",
                                            "stroke",
                                            "stroke-dasharray",
                                            "stroke-dashoffset",
                                            "stroke-linecap",
                                            "stroke-linejoin",
                                            "stroke-miterlimit",
                                            "stroke-opacity",
                                            "stroke-width",
                                            "text-align",
                                            "text-anchor",
                                            "text-decoration",
                                            "text-rendering",
                                            "text-indent",
                                            "unicode-bidi",
                                            "vector-effect",
                                            "visibility",
                                            "word-spacing",
                                            "writing-mode"};

constexpr std::array<string_view, 15> functions{
    "url",    "rgb",   "rgba",  "hsl",        "hsla",       "matrix", "translate", "scale",
    "rotate", "skewx", "skewy", "translatex", "translatey", "scalex", "scaley"};

// Attributes by which browsers load or run something, with any prefix.
constexpr std::array<string_view, 16> dangers{
    "src",    "srcset", "srcdoc", "base",   "mask",   "clip-path", "filter",        "cursor",
    "action", "ping",   "data",   "poster", "target", "values",    "attributename", "background"};

bool isAmong(const auto& names, string_view name) {
    return std::ranges::find(names, name) != std::ranges::end(names);
}

std::string lowered(string_view text) {
    std::string result(text);
    for (char& c : result)
        c = ascii::toLower(c);
    return result;
}

bool holdsAny(string_view text, std::initializer_list<string_view> parts) {
    return std::any_of(parts.begin(), parts.end(),
                       [text](string_view part) { return text.find(part) != string_view::npos; });
}

// Accepts "url(" only with a target in the same icon. Refuses escapes and comments, which could
// hide an address.
bool hasInnerUrlsOnly(string_view value) {
    if (holdsAny(value, {"\\", "/*", "@", "image(", "image-set("})) return false;
    for (std::size_t i = value.find("url"); i != string_view::npos; i = value.find("url", i + 1)) {
        const std::size_t target = value.find_first_not_of(" \t\r\n('\"", i + 3);
        if (target == string_view::npos || value[target] != '#') return false;
    }
    return true;
}

// Drops white space first: browsers ignore white space inside an address.
bool namesAddress(string_view value) {
    std::string dense(value);
    std::erase_if(dense, [](char c) { return static_cast<unsigned char>(c) <= ' '; });
    return holdsAny(dense, {"//", "javascript:", "vbscript:", "data:", "file:", "blob:"}) ||
           !hasInnerUrlsOnly(value);
}

// A word in front of '(' calls a function.
bool callsKnownFunctions(string_view value) {
    for (std::size_t i = value.find('('); i != string_view::npos; i = value.find('(', i + 1)) {
        std::size_t start = i;
        while (start > 0 &&
               (ascii::continuesIdentifier(value[start - 1]) || value[start - 1] == '-'))
            --start;
        if (start != i && !isAmong(functions, value.substr(start, i - start))) return false;
    }
    return true;
}

// Accepts declarations of known properties only; others could move the drawing over the page around
// it.
bool isPlainStyle(string_view style) {
    if (holdsAny(style, {"{", "}"})) return false;
    while (!style.empty()) {
        const std::size_t end = std::min(style.find(';'), style.size());
        const string_view declaration = ascii::trim(style.substr(0, end));
        style.remove_prefix(std::min(end + 1, style.size()));
        if (declaration.empty()) continue;
        const std::size_t colon = declaration.find(':');
        if (colon == string_view::npos) return false;
        const string_view property = ascii::trim(declaration.substr(0, colon));
        if (!isAmong(looks, property) && !property.starts_with("-inkscape-")) return false;
    }
    return true;
}

} // namespace

// Judges the local name, as a prefix can be bound to any namespace. HTML compares attribute names
// without case.
SvgVerdict judgeSvgAttribute(string_view name, string_view value) {
    const std::string lower = lowered(name);
    const std::string plain = lowered(value);
    const std::size_t colon = lower.find(':');
    const bool hasPrefix = colon != std::string::npos;
    const string_view local = string_view(lower).substr(hasPrefix ? colon + 1 : 0);
    if (local == "href" && !plain.starts_with('#')) return SvgVerdict::Refused;
    if (local.starts_with("on") || isAmong(dangers, local)) return SvgVerdict::Refused;
    if (namesAddress(plain)) return SvgVerdict::Refused;
    if (hasPrefix) return SvgVerdict::Kept;
    if (!callsKnownFunctions(plain)) return SvgVerdict::Refused;
    if (local == "style" && !isPlainStyle(plain)) return SvgVerdict::Refused;
    const bool isKnown = isAmong(shapes, name) || isAmong(looks, name);
    return isKnown ? SvgVerdict::Kept : SvgVerdict::LeftOut;
}

} // namespace qv::kelvo_sdk::impl
