#pragma once

#include "kelvo/base/hash_steps.h"
#include "kelvo/base/string.h"

#include <string_view>
#include <type_traits>

namespace qv {

class Name;

/// A name for a look-up: a borrowed text, and the hash that it shares with texts that differ from
/// it only in case. Functions take it as a parameter; to keep a name, use `Name` or `String`.
class NameView {
public:
    /// Takes NUL-terminated text; null gives the empty name. Optimised code has the hash of a
    /// literal of up to 64 bytes as a constant.
    [[gnu::always_inline]] constexpr NameView(const char* text) noexcept
        : NameView(text ? std::string_view(text) : std::string_view()) {}
    /// The hash is computed once, with the first look-up, and kept in the shared buffer.
    NameView(const String& text) noexcept : m_text(text.view()), m_foldedHash(text.foldedHash()) {}
    constexpr NameView(const Name& name) noexcept;
    [[gnu::always_inline]] constexpr explicit NameView(std::string_view text) noexcept
        : m_text(text), m_foldedHash(hashOf(text)) {}

    [[nodiscard]] constexpr std::string_view text() const noexcept { return m_text; }
    /// Returns the same hash as `String::foldedHash`.
    [[nodiscard]] constexpr u64 foldedHash() const noexcept { return m_foldedHash; }

private:
    // Compilers evaluate the steps only where they are inlined; any other text is hashed by one
    // shared function, because the steps are long.
    [[gnu::always_inline]] static constexpr u64 hashOf(std::string_view text) noexcept {
        const u64 size = text.size();
        if (std::is_constant_evaluated() || __builtin_constant_p(size))
            return detail::hashAll<detail::LowerCase>(text.data(), size, 0);
        return hashFolded(text);
    }

    std::string_view m_text;
    u64 m_foldedHash;
};

/// A name from the source code, hashed by the compiler. Only literals and other constant texts make
/// one, so it is valid for ever:
///
///     constexpr qv::Name radius("radius");
///     lamp[radius].set(0.5);
class Name {
public:
    consteval Name(const char* text) noexcept : m_view(text) {}

    /// Makes a String with a copy of the text, for functions that take one.
    operator String() const { return String(m_view.text()); }

    [[nodiscard]] constexpr std::string_view text() const noexcept { return m_view.text(); }

private:
    friend class NameView;
    NameView m_view;
};

constexpr NameView::NameView(const Name& name) noexcept : NameView(name.m_view) {}

} // namespace qv
