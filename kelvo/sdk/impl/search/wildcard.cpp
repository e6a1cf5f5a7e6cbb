#include "kelvo/sdk/impl/search/wildcard.h"

#include "kelvo/base/ascii.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

constexpr std::string_view separators = ".[]";

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
    Wildcard made;
    made.m_ignoresCase = true;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const bool isDouble = pattern.substr(i).starts_with("**");
        const Kind wild = pattern[i] == '?' ? Kind::OneInStep
                          : isDouble        ? Kind::Run
                                            : Kind::RunInStep;
        if (isDouble) ++i;
        const bool isBetween = isDouble && i >= 2 && pattern[i - 2] == '.';
        made.m_parts.push_back({isWild(pattern[i]) ? wild : Kind::Letter,
                                ascii::toLower(pattern[i]),
                                isBetween && i + 1 < pattern.size() && pattern[i + 1] == '.'});
        const bool isLetter = made.m_parts.back().kind == Kind::Letter && !endsStep(pattern[i]);
        if (isLetter)
            made.m_end += ascii::toLower(pattern[i]);
        else
            made.m_end.clear();
    }
    return made;
}

Wildcard Wildcard::ofText(std::string_view pattern, Case letters) {
    Wildcard made;
    made.m_ignoresCase = letters == Case::Ignored;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const bool isTaken = pattern[i] == '\\' && i + 1 < pattern.size();
        if (isTaken) ++i;
        const char letter = made.m_ignoresCase ? ascii::toLower(pattern[i]) : pattern[i];
        const Kind wild = letter == '?' ? Kind::One : Kind::Run;
        made.m_parts.push_back({isWild(letter) && !isTaken ? wild : Kind::Letter, letter});
    }
    return made;
}

bool Wildcard::matches(std::string_view text) const {
    Places places = start();
    return advance(places, text) && accepts(places);
}

Wildcard::Places Wildcard::start() const {
    Places places;
    places.m_now.resize(m_parts.size() + 1);
    places.m_next.resize(m_parts.size() + 1);
    places.m_now[0] = 1;
    goOnWithoutCharacter(places.m_now);
    return places;
}

bool Wildcard::refusesEnd(std::string_view name) const noexcept {
    if (m_end.size() > name.size()) return true;
    const std::string_view end = name.substr(name.size() - m_end.size());
    return !std::ranges::equal(end, m_end, [](char a, char b) { return ascii::toLower(a) == b; });
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

// Adds the places that are reached when a run matches no characters. One pass suffices, because
// parts only lead forward.
void Wildcard::goOnWithoutCharacter(std::vector<u8>& places) const {
    for (std::size_t at = 0; at < m_parts.size(); ++at) {
        if (!places[at]) continue;
        if (m_parts[at].isRun()) places[at + 1] = 1;
        if (m_parts[at].isOptional) places[at + 2] = 1;
    }
}

bool Wildcard::advance(Places& places, std::string_view piece) const {
    std::vector<u8>& next = places.m_next;
    for (const char letter : piece) {
        const char c = m_ignoresCase ? ascii::toLower(letter) : letter;
        std::ranges::fill(next, u8{0});
        bool isAlive = false;
        for (std::size_t at = 0; at < m_parts.size(); ++at) {
            if (!places.m_now[at] || !m_parts[at].takes(c)) continue;
            next[m_parts[at].isRun() ? at : at + 1] = 1;
            isAlive = true;
        }
        if (!isAlive) return false;
        goOnWithoutCharacter(next);
        places.m_now.swap(next);
    }
    return true;
}

} // namespace qv::kelvo_sdk::impl
