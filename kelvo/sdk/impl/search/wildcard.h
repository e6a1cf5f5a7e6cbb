#pragma once

#include "kelvo/base/types.h"

#include <string>
#include <string_view>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// A pattern for texts. Matching takes time proportional to text times pattern at worst.
///
/// In a path pattern such as "lamp*.**.stops[?]", '*' matches any run of characters within a step,
/// '?' one character within a step, and '**' any run across steps; "a.**.b" also matches "a.b".
/// Steps end at '.', '[' and ']'; case does not count. In a text pattern '*' and '?' match any
/// characters, and '\' takes the next character literally.
class Wildcard {
public:
    /// The progress of a text in the pattern. Copies into one that was used before allocate
    /// nothing.
    class Places {
    private:
        friend class Wildcard;
        // A bit for each place: whether the next character may match there.
        std::vector<u64> m_bits;
        // The places among them that the last character has reached from other ones.
        std::vector<u64> m_entered;
    };
    enum class Case { Counts, Ignored };

    /// Matches the empty text alone.
    Wildcard() : Wildcard({}, Case::Counts) {}

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

    // Matches a text in pieces: each call returns the places for the next piece.
    [[nodiscard]] Places start() const;
    /// Continues with a piece; false when no continuation can match any more.
    [[nodiscard]] bool advance(Places& places, std::string_view piece) const;
    /// Tells whether the text so far matches.
    [[nodiscard]] bool accepts(const Places& places) const {
        return (places.m_bits.back() & m_end) != 0;
    }
    /// Tells that no text can match whose last step is this name. Takes less time than `advance`.
    [[nodiscard]] bool refusesEnd(std::string_view name) const noexcept;

private:
    enum class Kind : u8 { Letter, OneInStep, RunInStep, One, Run };
    struct Part {
        Kind kind;
        char letter;
        // True if the run and the '.' after it may be absent.
        bool isOptional = false;

        [[nodiscard]] bool isRun() const noexcept {
            return kind == Kind::RunInStep || kind == Kind::Run;
        }
        [[nodiscard]] bool takes(char c) const noexcept;
    };

    Wildcard(const std::vector<Part>& parts, Case letters);
    void goOnWithoutCharacter(Places& places) const;

    // Sets of parts, as words with a bit for each.
    u64 m_words;
    // For each character those that take it.
    std::vector<u64> m_takes;
    std::vector<u64> m_runs;
    std::vector<u64> m_optional;
    // The place behind the last part, in the last word.
    u64 m_end;
    // The letters behind the last sign that is none, or that ends a step.
    std::string m_lastLetters;
};

} // namespace qv::kelvo_sdk::impl
