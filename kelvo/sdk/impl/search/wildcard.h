#pragma once

#include "kelvo/base/types.h"

#include <string_view>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// A pattern that texts are compared with, in time proportional to text times pattern at worst.
///
/// A path pattern such as "lamp*.**.stops[?]" knows '*', any run of characters within a step; '?',
/// one character within a step; and '**', any run across steps, where "a.**.b" stands for "a.b"
/// too. Steps end at '.', '[' and ']'; case does not count. In a text pattern '*' and '?' stand for
/// anything, and '\' takes the next character as it is.
class Wildcard {
public:
    /// How far a text got through the pattern: the places that the next character may be at.
    using Places = std::vector<bool>;
    enum class Case { Counts, Ignored };

    /// The reason why no path could ever match a pattern, as the end of a sentence; null when one
    /// could.
    struct Fault {
        const char* reason = nullptr;
        /// Its place in the pattern, in bytes.
        u64 at = 0;
    };
    [[nodiscard]] static Fault pathFault(std::string_view pattern);
    /// Reads a path pattern without a fault.
    [[nodiscard]] static Wildcard ofPath(std::string_view pattern);
    [[nodiscard]] static Wildcard ofText(std::string_view pattern, Case letters);

    /// Tells whether the whole text matches.
    [[nodiscard]] bool matches(std::string_view text) const;

    // A text may come in pieces: each answers the places for the next.
    [[nodiscard]] Places start() const;
    /// Goes on with a piece; false when nothing that begins like this matches any more.
    [[nodiscard]] bool advance(Places& places, std::string_view piece) const;
    /// Tells whether what came so far matches.
    [[nodiscard]] bool accepts(const Places& places) const { return places.back(); }

private:
    enum class Kind : u8 { Letter, OneInStep, RunInStep, One, Run };
    struct Part {
        Kind kind;
        char letter;
        // The run and the '.' behind it may be left out.
        bool isOptional = false;

        [[nodiscard]] bool isRun() const noexcept {
            return kind == Kind::RunInStep || kind == Kind::Run;
        }
        [[nodiscard]] bool takes(char c) const noexcept;
    };

    void goOnWithoutCharacter(Places& places) const;

    std::vector<Part> m_parts;
    bool m_ignoresCase = false;
};

} // namespace qv::kelvo_sdk::impl
