#include "kelvo/base/ascii.h"

#include "kelvo/base/word.h"

#include <algorithm>

namespace qv::ascii {

bool isIdentifier(std::string_view text) noexcept {
    if (text.empty() || isDigit(text.front())) return false;
    return std::all_of(text.begin(), text.end(), continuesIdentifier);
}

namespace {

// Not inlined, because most texts that are compared are equal in case too.
[[gnu::noinline]] bool sameInLowerCase(u64 a, u64 b) noexcept {
    return toLower(a) == toLower(b);
}

// Compares texts of at least one word; the last word may overlap the one before.
template<class Word>
bool sameWords(const char* a, const char* b, u64 size) noexcept {
    const auto same = [=](u64 at) {
        const Word x = word::load<Word>(a + at);
        const Word y = word::load<Word>(b + at);
        return x == y || sameInLowerCase(x, y);
    };
    const u64 last = size - sizeof(Word);
    for (u64 at = 0; at < last; at += sizeof(Word))
        if (!same(at)) return false;
    return same(last);
}

} // namespace

bool equalsNoCase(std::string_view a, std::string_view b) noexcept {
    if (a.size() != b.size()) return false;
    if (a.data() == b.data()) return true;
    if (a.size() >= 8) return sameWords<u64>(a.data(), b.data(), a.size());
    if (a.size() >= 4) return sameWords<u32>(a.data(), b.data(), a.size());
    return std::equal(a.begin(), a.end(), b.begin(),
                      [](char x, char y) { return toLower(x) == toLower(y); });
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
