#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/base/string_vector.h"

#include <string_view>

namespace qv {

class StringIO;

/// A file path as text, without access to the file system. '/' separates parts, and a drive letter
/// ("C:/") counts as a root like "/".
class QV_EXPORT Path {
public:
    Path() noexcept = default;

    /// With `clean`, replaces '\' by '/' and merges repeated separators; else keeps the text.
    explicit Path(String text, bool clean = false);

    [[nodiscard]] const String& text() const noexcept { return m_text; }
    [[nodiscard]] bool isEmpty() const noexcept { return m_text.isEmpty(); }
    [[nodiscard]] bool isAbsolute() const noexcept;

    /// Returns the directory part, without a final '/' unless it is the root; empty when there is
    /// none.
    [[nodiscard]] String dir() const;

    /// Returns the file name with or without its extension; empty when there is none.
    [[nodiscard]] String file(bool withExtension) const;

    /// Returns the extension with or without its dot; empty when there is none. A name that only
    /// begins with dots has no extension.
    [[nodiscard]] String ext(bool withDot) const;

    /// Joins the parts with one '/' between them. Skips empty parts; an absolute part starts anew.
    [[nodiscard]] static String join(StringVector parts);

    template<class A, class B>
    [[nodiscard]] static String join(const A& a, const B& b) {
        // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): either may be a literal.
        const String first(a), second(b);
        return joinTwo(first, second);
    }

    [[nodiscard]] bool operator==(const Path& other) const noexcept {
        return m_text.equals(other.m_text);
    }

private:
    [[nodiscard]] static String joinTwo(std::string_view first, std::string_view second);
    static void appendPart(StringIO& out, std::string_view part);
    [[nodiscard]] std::string_view fileView() const noexcept;

    String m_text;
};

} // namespace qv
