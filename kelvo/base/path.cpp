#include "kelvo/base/path.h"

#include "kelvo/base/ascii.h"
#include "kelvo/base/string_io.h"

#include <algorithm>

namespace qv {

namespace {

// Returns the length of a leading "/" or "C:/"; 0 for a relative path.
u64 rootLength(std::string_view path) noexcept {
    if (!path.empty() && path[0] == '/') return 1;
    const bool drive =
        path.size() >= 3 && ascii::isLetter(path[0]) && path[1] == ':' && path[2] == '/';
    return drive ? 3 : 0;
}

std::string_view withoutTrailingSeparators(std::string_view path) noexcept {
    const u64 root = rootLength(path);
    while (path.size() > root && path.back() == '/')
        path.remove_suffix(1);
    return path;
}

// Returns the position of the extension's dot; the name's length when it has none.
u64 extensionStart(std::string_view name) noexcept {
    const u64 dot = name.rfind('.');
    const bool onlyDotsBefore = name.find_first_not_of('.') >= dot;
    return dot == std::string_view::npos || onlyDotsBefore ? name.size() : dot;
}

String cleaned(const String& text) {
    StringIO out;
    out.reserve(text.size());
    for (const char c : text) {
        const char next = c == '\\' ? '/' : c;
        const bool doubled = next == '/' && !out.isEmpty() && out.view().back() == '/';
        if (!doubled) out.append(next);
    }
    return out.view() == text.view() ? text : out.take();
}

} // namespace

Path::Path(String text, bool clean) : m_text(clean ? cleaned(text) : std::move(text)) {}

bool Path::isAbsolute() const noexcept {
    return rootLength(m_text) != 0;
}

std::string_view Path::fileView() const noexcept {
    const std::string_view path = m_text.view();
    const u64 slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

String Path::dir() const {
    const std::string_view path = m_text.view();
    return String(withoutTrailingSeparators(path.substr(0, path.size() - fileView().size())));
}

String Path::file(bool withExtension) const {
    const std::string_view name = fileView();
    return String(withExtension ? name : name.substr(0, extensionStart(name)));
}

String Path::ext(bool withDot) const {
    std::string_view ext = fileView();
    ext.remove_prefix(extensionStart(ext));
    if (!withDot && !ext.empty()) ext.remove_prefix(1);
    return String(ext);
}

String Path::join(StringVector parts) {
    StringIO out;
    for (const String& part : std::as_const(parts))
        appendPart(out, part);
    return out.take();
}

String Path::joinTwo(std::string_view first, std::string_view second) {
    StringIO out;
    appendPart(out, first);
    appendPart(out, second);
    return out.take();
}

void Path::appendPart(StringIO& out, std::string_view part) {
    if (part.empty()) return;
    if (rootLength(part) != 0) out.clear();
    if (!out.isEmpty()) {
        out.truncate(withoutTrailingSeparators(out.view()).size());
        if (out.view().back() != '/') out.append('/');
    }
    out.append(part);
}

} // namespace qv
