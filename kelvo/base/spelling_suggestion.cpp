#include "kelvo/base/spelling_suggestion.h"

#include "kelvo/base/ascii.h"

#include <algorithm>
#include <array>

namespace qv {

namespace {

constexpr u64 longest = 64;
using Row = std::array<u64, longest + 1>;

bool sameLetter(char a, char b) noexcept {
    return ascii::toLower(a) == ascii::toLower(b);
}

// Returns the number of edits between two texts: letters added, removed, replaced, or two swapped.
// Returns more than `limit` as soon as the number must exceed it. Needs texts of at most `longest`.
u64 distance(std::string_view a, std::string_view b, u64 limit) noexcept {
    Row beforeLast{};
    Row last{};
    Row row{};
    for (u64 j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (u64 i = 1; i <= a.size(); ++i) {
        beforeLast = last;
        last = row;
        u64 least = row[0] = i;
        for (u64 j = 1; j <= b.size(); ++j) {
            const u64 replaced = last[j - 1] + (sameLetter(a[i - 1], b[j - 1]) ? 0 : 1);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
            const bool exchanged =
                i > 1 && j > 1 && sameLetter(a[i - 1], b[j - 2]) && sameLetter(a[i - 2], b[j - 1]);
            if (exchanged) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            least = std::min(least, row[j]);
        }
        if (least > limit) return least;
    }
    return row[b.size()];
}

} // namespace

// Accepts one edit in names of at least 3 letters, two in names of at least 8: more would be
// guessing.
SpellingSuggestion::SpellingSuggestion(std::string_view wanted) noexcept
    : m_wanted(wanted),
      m_limit(wanted.size() < 3   ? 1
              : wanted.size() < 8 ? 2
                                  : 3) {}

void SpellingSuggestion::offer(std::string_view known) noexcept {
    if (m_wanted.size() > longest || known.size() > longest) return;
    const u64 longer = std::max(known.size(), m_wanted.size());
    if (longer - std::min(known.size(), m_wanted.size()) >= m_limit) return;
    const u64 edits = distance(m_wanted, known, m_limit - 1);
    if (edits >= m_limit) return;
    m_limit = edits;
    m_best = known;
}

String SpellingSuggestion::question() const {
    if (m_best.empty()) return ".";
    return ": did you mean '" + String(m_best) + "'?";
}

} // namespace qv
