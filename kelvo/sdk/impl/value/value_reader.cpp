// Parses values of all kinds from text.

#include "kelvo/sdk/impl/value/value_text.h"

#include "kelvo/sdk/impl/text/number_pieces.h"
#include "kelvo/sdk/impl/text/text_numbers.h"

#include <algorithm>
#include <atomic>

namespace qv::kelvo_sdk::impl {

namespace {

// A buffer with as many elements is read further in pieces.
constexpr u64 mostInOnePiece = 4096;

} // namespace

bool ValueReader::fail(const char* expected) noexcept {
    m_expected = expected;
    return false;
}

void ValueReader::skipSpace() noexcept {
    while (m_at != m_end && separatesNumbers(*m_at))
        ++m_at;
}

bool ValueReader::read(AttrType kind, DataType element, Value& out) {
    switch (kind) {
    case AttrType::Bool: {
        bool value = false;
        if (!boolean(value)) return false;
        out = value;
        return true;
    }
    case AttrType::Int: {
        i64 value = 0;
        if (!number(value)) return fail("an integer");
        out = value;
        return true;
    }
    case AttrType::UInt: {
        u64 value = 0;
        if (!number(value)) return fail("an integer from 0");
        out = value;
        return true;
    }
    case AttrType::Real: {
        double value = 0;
        if (!number(value)) return false;
        out = value;
        return true;
    }
    case AttrType::Buffer:
        return buffer(element, out);
    default:
        return Value::components(kind) != 0 ? tuple(kind, out) : fail("a value");
    }
}

template<typename T>
bool ValueReader::number(T& out) {
    const char* stop = readNumber(m_at, m_end, out);
    if (!stop) return fail("a number");
    m_at = stop;
    return true;
}

bool ValueReader::boolean(bool& out) {
    const std::string_view rest(m_at, static_cast<std::size_t>(m_end - m_at));
    const bool value = rest.starts_with("true");
    if (!value && !rest.starts_with("false")) return fail("true or false");
    const char* stop = m_at + (value ? 4 : 5);
    if (!endsNumber(stop, m_end)) return fail("true or false");
    m_at = stop;
    out = value;
    return true;
}

bool ValueReader::tuple(AttrType kind, Value& out) {
    double reals[16];
    const u32 count = Value::components(kind);
    if (!element(DataType::Double, reals, count)) return false;
    out = Value::fromReals(kind, reals);
    return true;
}

// Reads a single component, or several in parentheses.
template<typename T>
bool ValueReader::element(DataType type, T* out, u64 components) {
    if (components == 1) return component(type, *out);
    if (m_at == m_end || *m_at != '(') return fail("'('");
    ++m_at;
    for (u64 i = 0; i < components; ++i) {
        skipSpace();
        if (m_at != m_end && *m_at == ')') return fail("another number");
        if (!component(type, out[i])) return false;
    }
    skipSpace();
    if (m_at == m_end || *m_at != ')') return fail("')'");
    ++m_at;
    return true;
}

template<typename T>
bool ValueReader::component(DataType type, T& out) {
    if constexpr (sizeof(T) == 1) {
        if (type == DataType::Bool) {
            bool value = false;
            if (!boolean(value)) return false;
            out = value ? 1 : 0;
            return true;
        }
    }
    return number(out);
}

bool ValueReader::buffer(DataType element, Value& out) {
    const DataType component = dataTypeComponent(element);
    switch (component) {
    case DataType::Bool:
    case DataType::Byte:
        return elements<unsigned char>(element, component, out);
    case DataType::Char:
        return elements<signed char>(element, component, out);
    case DataType::Int16:
        return elements<i16>(element, component, out);
    case DataType::Int32:
        return elements<i32>(element, component, out);
    case DataType::Int64:
        return elements<i64>(element, component, out);
    case DataType::UInt16:
        return elements<u16>(element, component, out);
    case DataType::UInt32:
        return elements<u32>(element, component, out);
    case DataType::UInt64:
    case DataType::Ptr:
        return elements<u64>(element, component, out);
    case DataType::Float:
        return elements<float>(element, component, out);
    case DataType::Double:
        return elements<double>(element, component, out);
    default:
        return elements<char>(element, component, out);
    }
}

// Allocates for elements that were read or counted, never for a count that the text claims.
template<typename T>
bool ValueReader::elements(DataType element, DataType component, Value& out) {
    if (m_at == m_end || *m_at != '[') return fail("'['");
    ++m_at;
    const u64 components = dataTypeComponents(element);
    Buffer buffer(element, 0);
    T* to = nullptr;
    u64 count = 0;
    for (;;) {
        skipSpace();
        if (m_at == m_end) return fail("']'");
        if (*m_at == ']') break;
        if (components == 0) return fail("']', since the buffer has no element type");
        if (count == mostInOnePiece && restInPieces<T>(buffer, count, component, out)) return true;
        if (count == buffer.count()) {
            buffer.resize(std::max<u64>(count * 2, 16));
            to = static_cast<T*>(buffer.edit()) + count * components;
        }
        if (!this->element(component, to, components)) return false;
        to += components;
        ++count;
    }
    ++m_at;
    buffer.resize(count);
    out = Value(std::move(buffer));
    return true;
}

// Reads the elements behind the first ones, which `begun` has. False, without moving, when
// something is wrong with them: reading them one by one then finds the first fault.
template<typename T>
bool ValueReader::restInPieces(const Buffer& begun, u64 count, DataType component, Value& out) {
    const Workers alone(1);
    const Workers& workers = m_workers ? *m_workers : alone;
    const u64 components = dataTypeComponents(begun.type());
    NumberPieces list;
    if (!list.cut(m_at, m_end, components, workers)) return false;
    Buffer whole = Buffer::unfilled(begun.type(), count + list.elementCount());
    T* const first = static_cast<T*>(whole.edit());
    std::copy_n(static_cast<const T*>(begun.data()), count * components, first);
    std::atomic<bool> isRead = true;
    workers.run(list.pieces().size(), [&](u64 i) {
        const NumberPieces::Piece& piece = list.pieces()[i];
        T* const to = first + (count + piece.firstElement) * components;
        ValueReader reader(piece.begin, piece.end);
        if (!isRead || !reader.allElements(component, to, to + piece.words, components))
            isRead = false;
    });
    if (!isRead) return false;
    m_at = list.close() + 1;
    out = Value(std::move(whole));
    return true;
}

// Reads a whole piece, whose elements must fill the place given.
template<typename T>
bool ValueReader::allElements(DataType component, T* to, T* end, u64 components) {
    for (skipSpace(); m_at != m_end; skipSpace(), to += components)
        if (to == end || !element(component, to, components)) return false;
    return to == end;
}

} // namespace qv::kelvo_sdk::impl
