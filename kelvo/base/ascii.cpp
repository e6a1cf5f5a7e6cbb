#include "kelvo/base/ascii.h"

#include "kelvo/base/word.h"

#include <algorithm>

namespace qv::ascii {

bool isIdentifier(std::string_view text) noexcept {
    if (text.empty() || isDigit(text.front())) return false;
    return std::all_of(text.begin(), text.end(), continuesIdentifier);
}

bool equalsNoCase(std::string_view a, std::string_view b) noexcept {
    if (a.size() != b.size()) return false;
    const char* p = a.data();
    const char* q = b.data();
    u64 left = a.size();
    for (; left >= 8; p += 8, q += 8, left -= 8)
        if (toLower(word::load64(p)) != toLower(word::load64(q))) return false;
    return std::equal(p, p + left, q, [](char x, char y) { return toLower(x) == toLower(y); });
}

int compareNoCase(std::string_view a, std::string_view b) noexcept {
    const u64 common = std::min(a.size(), b.size());
    u64 i = 0;
    while (i + 8 <= common && toLower(word::load64(&a[i])) == toLower(word::load64(&b[i])))
        i += 8;
    for (; i < common; ++i) {
        const auto x = static_cast<unsigned char>(toLower(a[i]));
        const auto y = static_cast<unsigned char>(toLower(b[i]));
        if (x != y) return x < y ? -1 : 1;
    }
    if (a.size() == b.size()) return 0;
    return a.size() < b.size() ? -1 : 1;
}

u64 findNoCase(std::string_view text, std::string_view part, u64 from) noexcept {
    if (part.size() > text.size()) return noIndex;
    for (u64 i = from; i <= text.size() - part.size(); ++i)
        if (equalsNoCase(text.substr(i, part.size()), part)) return i;
    return noIndex;
}

} // namespace qv::ascii
