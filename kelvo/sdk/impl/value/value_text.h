#pragma once

#include "kelvo/base/string_io.h"
#include "kelvo/base/workers.h"
#include "kelvo/sdk/impl/value/value.h"

namespace qv::kelvo_sdk::impl {

/// Reads a whole text as a value of that kind. Ignores white space around the value, except for
/// String, which takes the text unchanged. `element` is the element type of a Buffer. False, with
/// `out` unchanged, for any other text. Text does not convert to a node here: that takes a scene.
bool valueFromText(const String& text, AttrType kind, DataType element, Value& out);

/// Returns the value as text: a String as it is, a node's name, numbers in the shortest form that
/// reads back to the same bits, tuples "(1 2 3)", buffers "[(0 0 0) (1 0 0)]".
[[nodiscard]] String valueToText(const Value& value);

/// Appends the value as scene text has it: as `valueToText`, but a String in quotes, and "null" for
/// no node. The workers write large buffers.
void writeValue(const Value& value, StringIO& out, const Workers& workers = Workers(1));

/// Appends a text in quotes, with escapes for quotes, backslashes, control characters and bytes
/// that are not UTF-8. Reads back byte for byte.
void writeQuoted(std::string_view text, StringIO& out);

/// Reads a value from the middle of a text: numbers, tuples and buffers, but neither texts nor
/// nodes.
class ValueReader {
public:
    ValueReader(const char* at, const char* end) noexcept : m_at(at), m_end(end) {}
    /// Borrows the workers, which read large buffers; the value and errors are the same.
    ValueReader(const char* at, const char* end, const Workers& workers) noexcept
        : m_at(at), m_end(end), m_workers(&workers) {}

    /// Reads a value of that kind. False when there is none: `at` is then the place of the fault,
    /// and `expected` names the missing part.
    bool read(AttrType kind, DataType element, Value& out);

    /// Returns where the value ends, or the place of the fault.
    [[nodiscard]] const char* at() const noexcept { return m_at; }
    [[nodiscard]] const char* expected() const noexcept { return m_expected; }

private:
    bool fail(const char* expected) noexcept;
    void skipSpace() noexcept;
    template<typename T>
    bool number(T& out);
    bool boolean(bool& out);
    template<typename T>
    bool component(DataType type, T& out);
    bool tuple(AttrType kind, Value& out);
    bool buffer(DataType element, Value& out);
    template<typename T>
    bool elements(DataType element, DataType component, Value& out);
    template<typename T>
    bool element(DataType component, T* out, u64 components);
    template<typename T>
    bool restInPieces(const Buffer& begun, u64 count, DataType component, Value& out);
    template<typename T>
    bool allElements(DataType component, T* to, T* end, u64 components);

    const char* m_at;
    const char* m_end;
    // Null where the calling thread does all.
    const Workers* m_workers = nullptr;
    const char* m_expected = "";
};

} // namespace qv::kelvo_sdk::impl
