#include "kelvo/sdk/impl/search/wildcard.h"

#include "kelvo/base/ascii.h"

#include <algorithm>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

constexpr std::string_view separators = ".[]";
constexpr u64 characters = 256;
constexpr u64 bitsOfWord = 64;

u64 bitOf(u64 part) noexcept {
    return u64{1} << part % bitsOfWord;
}

bool endsStep(char c) noexcept {
    return separators.find(c) != std::string_view::npos;
}

bool isWild(char c) noexcept {
    return c == '*' || c == '?';
}

// Returns the fault in the step "[...]" that starts at `at`; null when there is none.
const char* elementFault(std::string_view pattern, std::size_t at) {
    const std::size_t end = pattern.find(']', at);
    if (end == std::string_view::npos) return "'[' without ']'";
    const std::string_view index = pattern.substr(at + 1, end - at - 1);
    if (at == 0 || pattern[at - 1] == '.') return "an element without the array it is in";
    if (index == "+") return "'[+]' is for `set` alone";
    const auto fits = [](char c) { return ascii::isDigit(c) || isWild(c); };
    if (index.empty() || !std::ranges::all_of(index, fits) || index.find("**") != index.npos)
        return "between '[' and ']' stands a number, '*' or '?'";
    const bool isLast = end + 1 == pattern.size();
    if (!isLast && !endsStep(pattern[end + 1]) && pattern[end + 1] != '*')
        return "a name right behind ']'";
    return nullptr;
}

// Returns the fault at a place outside of "[...]"; null when there is none.
const char* nameFault(std::string_view pattern, std::size_t at) {
    const char c = pattern[at];
    if (pattern.substr(at).starts_with("***")) return "more than two '*' in a row";
    if (c == '.' && (at == 0 || at + 1 == pattern.size() || pattern[at + 1] == '.'))
        return "an empty step";
    if (c == ']') return "']' without '['";
    const bool isKnown = ascii::isLetter(c) || ascii::isDigit(c) || c == '_' || c == '.';
    return isKnown || isWild(c) ? nullptr : "a character that no path has";
}

} // namespace

Wildcard::Fault Wildcard::pathFault(std::string_view pattern) {
    if (pattern.empty()) return {"nothing", 0};
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        const bool isElement = pattern[at] == '[';
        const char* found = isElement ? elementFault(pattern, at) : nameFault(pattern, at);
        if (found) return {found, at};
        if (isElement) at = pattern.find(']', at);
    }
    return {};
}

Wildcard Wildcard::ofPath(std::string_view pattern) {
    std::vector<Part> parts;
    std::string lastLetters;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const bool isDouble = pattern.substr(i).starts_with("**");
        const Kind wild = pattern[i] == '?' ? Kind::OneInStep
                          : isDouble        ? Kind::Run
                                            : Kind::RunInStep;
        if (isDouble) ++i;
        const bool isBetween = isDouble && i >= 2 && pattern[i - 2] == '.';
        parts.push_back({isWild(pattern[i]) ? wild : Kind::Letter, ascii::toLower(pattern[i]),
                         isBetween && i + 1 < pattern.size() && pattern[i + 1] == '.'});
        const bool isLetter = parts.back().kind == Kind::Letter && !endsStep(pattern[i]);
        if (isLetter)
            lastLetters += ascii::toLower(pattern[i]);
        else
            lastLetters.clear();
    }
    Wildcard made(parts, Case::Ignored);
    made.m_lastLetters = std::move(lastLetters);
    return made;
}

Wildcard Wildcard::ofText(std::string_view pattern, Case letters) {
    std::vector<Part> parts;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const bool isTaken = pattern[i] == '\\' && i + 1 < pattern.size();
        if (isTaken) ++i;
        const char letter = letters == Case::Ignored ? ascii::toLower(pattern[i]) : pattern[i];
        const Kind wild = letter == '?' ? Kind::One : Kind::Run;
        parts.push_back({isWild(letter) && !isTaken ? wild : Kind::Letter, letter});
    }
    return Wildcard(parts, letters);
}

Wildcard::Wildcard(const std::vector<Part>& parts, Case letters)
    : m_words(parts.size() / bitsOfWord + 1),
      m_takes(characters * m_words),
      m_runs(m_words),
      m_optional(m_words),
      m_end(bitOf(parts.size())) {
    for (std::size_t at = 0; at < parts.size(); ++at) {
        const u64 word = at / bitsOfWord;
        if (parts[at].isRun()) m_runs[word] |= bitOf(at);
        if (parts[at].isOptional) m_optional[word] |= bitOf(at);
        for (u64 letter = 0; letter < characters; ++letter) {
            const auto c = static_cast<char>(letter);
            if (parts[at].takes(letters == Case::Ignored ? ascii::toLower(c) : c))
                m_takes[letter * m_words + word] |= bitOf(at);
        }
    }
}

bool Wildcard::matches(std::string_view text) const {
    Places places = start();
    return advance(places, text) && accepts(places);
}

Wildcard::Places Wildcard::start() const {
    Places places;
    places.m_bits.resize(m_words);
    places.m_entered.resize(m_words);
    places.m_entered[0] = 1;
    goOnWithoutCharacter(places);
    return places;
}

bool Wildcard::refusesEnd(std::string_view name) const noexcept {
    if (m_lastLetters.size() > name.size()) return true;
    const std::string_view end = name.substr(name.size() - m_lastLetters.size());
    return !std::ranges::equal(end, m_lastLetters,
                               [](char a, char b) { return ascii::toLower(a) == b; });
}

bool Wildcard::Part::takes(char c) const noexcept {
    switch (kind) {
    case Kind::Letter:
        return letter == c;
    case Kind::OneInStep:
    case Kind::RunInStep:
        return !endsStep(c);
    default:
        return true;
    }
}

// Adds the places that are reached when a run matches no characters, or is absent with the '.'
// after it, which it can be only before it has matched any. They lead only forward, so one pass
// over the words suffices.
void Wildcard::goOnWithoutCharacter(Places& places) const {
    u64 skippedBefore = 0, emptyBefore = 0;
    for (u64 word = 0; word < m_words; ++word) {
        u64 entered = places.m_entered[word] | skippedBefore, known = 0;
        while (entered != known) {
            known = entered;
            entered |= (entered & m_optional[word]) << 2;
        }
        skippedBefore = (entered & m_optional[word]) >> (bitsOfWord - 2);
        u64 reached = places.m_bits[word] | entered | emptyBefore;
        for (known = 0; reached != known;) {
            known = reached;
            reached |= (reached & m_runs[word]) << 1;
        }
        emptyBefore = (reached & m_runs[word]) >> (bitsOfWord - 1);
        places.m_bits[word] = reached;
    }
}

// A run stays where it is, other parts lead to the next place. Works from the last word down, so
// that the word before is still as it was.
bool Wildcard::advance(Places& places, std::string_view piece) const {
    std::vector<u64>& bits = places.m_bits;
    for (const char letter : piece) {
        const u64* const takes = &m_takes[static_cast<unsigned char>(letter) * m_words];
        u64 all = 0;
        for (u64 word = m_words; word-- > 0;) {
            const u64 taken = bits[word] & takes[word];
            const u64 before = word > 0 ? bits[word - 1] & takes[word - 1] & ~m_runs[word - 1] : 0;
            places.m_entered[word] = (taken & ~m_runs[word]) << 1 | before >> (bitsOfWord - 1);
            bits[word] = taken & m_runs[word];
            all |= bits[word] | places.m_entered[word];
        }
        if (all == 0) return false;
        goOnWithoutCharacter(places);
    }
    return true;
}

} // namespace qv::kelvo_sdk::impl
