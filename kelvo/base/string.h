#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/hash.h"
#include "kelvo/base/ref_counted.h"
#include "kelvo/base/types.h"

#include <atomic>
#include <compare>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <iosfwd>
#include <string_view>

namespace qv {

class StringVector;

/// The shared text of `String`s: this header and the NUL-terminated text in one allocation.
class QV_EXPORT StringBuffer final {
public:
    StringBuffer(const StringBuffer&) = delete;
    StringBuffer& operator=(const StringBuffer&) = delete;

    /// Makes a buffer of `length` bytes with count 1; the caller must fill `text()` before sharing
    /// it.
    [[nodiscard]] static StringBuffer* create(u64 length);

    /// Turns a block from `std::malloc` into a buffer with count 1, and takes the block over. Needs
    /// `headerSize` free bytes in front of the text and a byte for the final NUL behind it.
    [[nodiscard]] static StringBuffer* fromBlock(void* block, u64 length) noexcept;

    /// Makes a buffer with count 1 inside a block that contains others too; see `StringBlock`.
    [[nodiscard]] static StringBuffer* inBlock(char* block, u32 offset, u64 length) noexcept;

    void incRef() noexcept { m_refs.fetch_add(1, std::memory_order_relaxed); }

    // If the owner reads a count of 1, no other thread can change it, which saves the last
    // decrement.
    void decRef() noexcept {
        if (m_refs.load(std::memory_order_acquire) == 1 ||
            m_refs.fetch_sub(1, std::memory_order_acq_rel) == 1)
            destroy(this);
    }

    [[nodiscard]] i32 refCount() const noexcept { return m_refs.load(std::memory_order_relaxed); }
    [[nodiscard]] u64 length() const noexcept { return m_length; }
    [[nodiscard]] const char* text() const noexcept {
        return reinterpret_cast<const char*>(this) + sizeof(StringBuffer);
    }
    [[nodiscard]] char* text() noexcept {
        return reinterpret_cast<char*>(this) + sizeof(StringBuffer);
    }
    [[nodiscard]] std::string_view view() const noexcept { return {text(), m_length}; }

    /// Returns the hash of the text, computed once; never 0.
    [[nodiscard]] u64 hash() const noexcept {
        const u64 known = m_hash.load(std::memory_order_relaxed);
        return known != 0 ? known : computeHash();
    }
    /// Returns the hash of the text in ASCII lower case, computed once; never 0.
    [[nodiscard]] u64 foldedHash() const noexcept {
        const u64 known = m_foldedHash.load(std::memory_order_relaxed);
        return known != 0 ? known : computeFoldedHash();
    }

    static const u64 headerSize;

private:
    explicit StringBuffer(u64 length) noexcept : m_length(length) {}
    ~StringBuffer() = default;
    static void destroy(StringBuffer* buffer) noexcept;
    [[nodiscard]] u64 computeHash() const noexcept;
    [[nodiscard]] u64 computeFoldedHash() const noexcept;

    std::atomic<i32> m_refs{1};
    // The offset in a shared block; 0 in an allocation of its own.
    u32 m_blockOffset = 0;
    u64 m_length;
    // 0 means "not computed yet"; racing threads store the same value.
    mutable std::atomic<u64> m_hash{0};
    mutable std::atomic<u64> m_foldedHash{0};
};

inline constexpr u64 StringBuffer::headerSize = sizeof(StringBuffer);

/// An immutable text, UTF-8 by convention, passed by value: copies share one counted buffer.
///
/// Operations that change text return a new String; if nothing changes, it shares the buffer. Case,
/// white space and identifiers follow ASCII rules in any locale; other bytes pass through. A String
/// object may be used by one thread at a time, its shared text by any.
class QV_EXPORT String : public RefersTo<StringBuffer> {
public:
    static constexpr u64 npos = noIndex;

    String() noexcept = default;

    /// Copies `length` bytes of `text`, or all of its NUL-terminated text when `length` is 0.
    /// Null gives the empty string. For a slice that may be empty pass a `std::string_view`.
    String(const char* text, unsigned long length = 0)
        : String(text ? std::string_view(text, length != 0 ? length : std::strlen(text))
                      : std::string_view()) {}
    explicit String(std::string_view text) : RefersTo(adoptRef, copyOf(text)) {}
    explicit String(char c) : String(std::string_view(&c, 1)) {}

    /// Takes over a reference to a buffer; null gives the empty string.
    String(AdoptRef, StringBuffer* buffer) noexcept : RefersTo(adoptRef, buffer) {}

    /// Formats like `printf`, with a result of any length. `%f` and the like follow the C locale.
    [[nodiscard, gnu::format(printf, 1, 2)]] static String format(const char* fmt, ...);
    [[nodiscard, gnu::format(printf, 1, 0)]] static String vformat(const char* fmt, va_list args);

    /// Returns the NUL-terminated text, never null, valid while this String or a copy of it lives.
    [[nodiscard]] const char* buf() const noexcept { return get() ? get()->text() : ""; }
    [[nodiscard]] std::string_view view() const noexcept {
        return get() ? get()->view() : std::string_view("", 0);
    }
    operator std::string_view() const noexcept { return view(); }

    /// Returns the length in bytes, without the final NUL.
    [[nodiscard]] u64 size() const noexcept { return get() ? get()->length() : 0; }
    [[nodiscard]] u64 length() const noexcept { return size(); }

    /// Returns the byte at `index`, unchecked; the final NUL at `size()`.
    [[nodiscard]] char operator[](u64 index) const noexcept { return buf()[index]; }
    [[nodiscard]] const char* begin() const noexcept { return buf(); }
    [[nodiscard]] const char* end() const noexcept { return buf() + size(); }

    /// Removes white space at the chosen ends.
    [[nodiscard]] String trim(bool leading = true, bool trailing = true) const;

    /// Turns the first letter of each word into upper case; words start after white space or '_'.
    /// The other letters stay when `keepRest`, else they become lower case.
    [[nodiscard]] String titleCased(bool keepRest = true) const;
    [[nodiscard]] String toLower() const;
    [[nodiscard]] String toUpper() const;

    /// Replaces all occurrences of `from`, or only the first. An empty `from` never occurs.
    [[nodiscard]] String replace(String from, String to, bool all, bool ignoreCase) const;

    /// Returns the pieces between separators: one more than there are separators, without the empty
    /// ones unless `keepEmpty`. With `trim`, first removes white space around each piece. The empty
    /// text has one empty piece.
    [[nodiscard]] StringVector split(char sep, bool keepEmpty, bool trim) const;

    /// Returns the text before the first `c`, with `c` when `inclusive`; the whole text when
    /// absent.
    [[nodiscard]] String toFirst(char c, bool inclusive) const;

    /// Returns `count` bytes from `pos` on, or as many as there are.
    [[nodiscard]] String substr(u64 pos, u64 count = npos) const;

    [[nodiscard]] bool startsWith(String prefix, bool ignoreCase) const;
    [[nodiscard]] bool endsWith(String suffix, bool ignoreCase) const;
    [[nodiscard]] bool contains(String part, bool ignoreCase) const;

    /// Returns the position of the first `part` at or after `from`; `npos` when absent.
    [[nodiscard]] u64 find(std::string_view part, u64 from = 0) const noexcept;
    [[nodiscard]] u64 find(char c, u64 from = 0) const noexcept;
    [[nodiscard]] u64 findLast(char c) const noexcept;

    /// Compares by bytes: negative, 0 or positive.
    [[nodiscard]] int compare(std::string_view other) const noexcept;
    [[nodiscard]] int compareNoCase(String other) const noexcept;

    /// Compares without copying a handle.
    [[nodiscard]] bool equals(const String& other) const noexcept {
        return get() == other.get() || view() == other.view();
    }
    [[nodiscard]] bool equalsNoCase(const String& other) const noexcept {
        return get() == other.get() || equalsNoCase(other.view());
    }
    [[nodiscard]] bool equalsNoCase(std::string_view other) const noexcept;
    [[nodiscard]] bool equalsNoCase(const char* other) const noexcept {
        return equalsNoCase(viewOf(other));
    }

    /// Tells whether the text is a letter or '_', followed by letters, digits and '_'.
    [[nodiscard]] bool isSimpleCID() const noexcept;

    /// Returns the hash of the text: the same on every platform, run and build; never 0; kept in
    /// the buffer.
    [[nodiscard]] u64 hash() const noexcept { return get() ? get()->hash() : hashOfNothing; }

    /// Returns the hash of the text in ASCII lower case, which texts that differ only in case
    /// share.
    [[nodiscard]] u64 foldedHash() const noexcept {
        return get() ? get()->foldedHash() : hashOfNothing;
    }

    [[nodiscard]] bool operator==(String other) const noexcept { return equals(other); }
    [[nodiscard]] bool operator==(const char* other) const noexcept {
        return view() == viewOf(other);
    }
    [[nodiscard]] bool operator==(std::string_view other) const noexcept { return view() == other; }
    [[nodiscard]] std::strong_ordering operator<=>(const String& other) const noexcept {
        return view() <=> other.view();
    }
    [[nodiscard]] std::strong_ordering operator<=>(const char* other) const noexcept {
        return view() <=> viewOf(other);
    }
    [[nodiscard]] std::strong_ordering operator<=>(std::string_view other) const noexcept {
        return view() <=> other;
    }

    [[nodiscard]] String operator+(String other) const;
    [[nodiscard]] String operator+(const char* other) const;
    [[nodiscard]] String operator+(std::string_view other) const;
    [[nodiscard]] String operator+(char other) const;
    [[nodiscard]] friend String operator+(const char* a, const String& b) {
        return concat(viewOf(a), b.view());
    }
    [[nodiscard]] friend String operator+(std::string_view a, const String& b) {
        return concat(a, b.view());
    }
    [[nodiscard]] friend String operator+(char a, const String& b) {
        return concat(std::string_view(&a, 1), b.view());
    }
    String& operator+=(std::string_view other);

private:
    [[nodiscard]] static std::string_view viewOf(const char* text) noexcept {
        return text ? std::string_view(text) : std::string_view();
    }
    [[nodiscard]] static StringBuffer* copyOf(std::string_view text);
    [[nodiscard]] static String concat(std::string_view a, std::string_view b);
    [[nodiscard]] String slice(std::string_view part) const;
};

static_assert(sizeof(String) == 2 * sizeof(void*));

QV_EXPORT std::ostream& operator<<(std::ostream& out, const String& text);

} // namespace qv

// Tables compare their keys without copying them.
template<>
struct std::equal_to<qv::String> {
    [[nodiscard]] bool operator()(const qv::String& a, const qv::String& b) const noexcept {
        return a.equals(b);
    }
};

template<>
struct std::hash<qv::String> {
    [[nodiscard]] std::size_t operator()(const qv::String& text) const noexcept {
        return static_cast<std::size_t>(text.hash());
    }
};
