#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/base/types.h"

#include <cstring>
#include <string_view>

namespace qv {

/// A growable sink for long texts. Writes numbers as the shortest text that reads back to the same
/// bits, in any locale. One thread at a time may use it.
class QV_EXPORT StringIO {
public:
    StringIO() noexcept = default;
    StringIO(StringIO&& other) noexcept;
    StringIO& operator=(StringIO&& other) noexcept;
    StringIO(const StringIO&) = delete;
    StringIO& operator=(const StringIO&) = delete;
    ~StringIO();

    /// Returns the NUL-terminated text written so far, never null, valid until the sink changes.
    [[nodiscard]] const char* buf() const noexcept { return m_text ? m_text : ""; }
    [[nodiscard]] std::string_view view() const noexcept { return {buf(), m_size}; }
    [[nodiscard]] u64 size() const noexcept { return m_size; }
    [[nodiscard]] bool isEmpty() const noexcept { return m_size == 0; }

    StringIO& append(std::string_view text) {
        char* to = prepare(text.size());
        if (!text.empty()) std::memcpy(to, text.data(), text.size());
        commit(text.size());
        return *this;
    }
    /// Null appends an empty text.
    StringIO& append(const char* text) {
        return append(text ? std::string_view(text) : std::string_view());
    }
    StringIO& append(char c) {
        *prepare(1) = c;
        commit(1);
        return *this;
    }
    /// Appends `c` `count` times.
    StringIO& appendRepeated(char c, u64 count);

    StringIO& appendInt(i64 value);
    StringIO& appendUInt(u64 value);

    /// Writes infinities as "inf" and "-inf", values that are not a number as "nan" or "-nan".
    StringIO& appendReal(double value);
    /// Writes the shortest text that reads back to the same `float`.
    StringIO& appendReal(float value);

    /// Makes room for `count` more bytes and returns their address, never null. Call `commit` with
    /// the number of bytes written there.
    [[nodiscard]] char* prepare(u64 count) {
        if (m_capacity - m_size < count || !m_text) grow(count);
        return m_text + m_size;
    }
    /// Adds `count` bytes, at most the number prepared, to the text.
    void commit(u64 count) noexcept {
        m_size += count;
        m_text[m_size] = '\0';
    }

    /// Makes room for a text of `size` bytes in all.
    void reserve(u64 size);

    /// Removes the text and keeps the storage.
    void clear() noexcept;

    /// Shortens the text to `size` bytes; a larger size changes nothing.
    void truncate(u64 size) noexcept;

    /// Moves the text out into a String without copying it; the sink is empty afterwards.
    [[nodiscard]] String take();

private:
    void grow(u64 count);
    void release() noexcept;

    // The storage has room for a StringBuffer's header in front of the text, so that take() need
    // not move the text.
    char* m_text = nullptr;
    u64 m_size = 0;
    u64 m_capacity = 0;
};

} // namespace qv
