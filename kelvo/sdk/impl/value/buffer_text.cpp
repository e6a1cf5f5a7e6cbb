#include "kelvo/sdk/impl/value/buffer_text.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

// A piece is worth a thread. The pieces of a round are in memory at once.
constexpr u64 numbersInPiece = 1 << 14;
constexpr u64 piecesInRound = 64;

template<typename T>
void writeAnyReal(T value, StringIO& out) {
    using Bits = std::conditional_t<sizeof(T) == 4, u32, u64>;
    const Bits bits = std::bit_cast<Bits>(value);
    const Bits plain = std::bit_cast<Bits>(std::numeric_limits<T>::quiet_NaN());
    const Bits sign = Bits{1} << (sizeof(T) * 8 - 1);
    if (!std::isnan(value) || (bits & ~sign) == plain) {
        out.appendReal(value);
        return;
    }
    char digits[16];
    const char* end = std::to_chars(digits, digits + sizeof digits, bits, 16).ptr;
    out.append("nan(0x").append(std::string_view(digits, static_cast<u64>(end - digits)));
    out.append(')');
}

template<typename T>
T load(const char* at) noexcept {
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

// Writes the component at `from` and returns the address of the next one.
const char* writeComponent(DataType type, const char* from, StringIO& out) {
    switch (type) {
    case DataType::Bool:
        out.append(*from ? std::string_view("true") : std::string_view("false"));
        return from + 1;
    case DataType::Char:
        out.appendInt(load<signed char>(from));
        return from + 1;
    case DataType::Byte:
        out.appendUInt(load<unsigned char>(from));
        return from + 1;
    case DataType::Int16:
        out.appendInt(load<i16>(from));
        return from + 2;
    case DataType::Int32:
        out.appendInt(load<i32>(from));
        return from + 4;
    case DataType::Int64:
        out.appendInt(load<i64>(from));
        return from + 8;
    case DataType::UInt16:
        out.appendUInt(load<u16>(from));
        return from + 2;
    case DataType::UInt32:
        out.appendUInt(load<u32>(from));
        return from + 4;
    case DataType::UInt64:
        out.appendUInt(load<u64>(from));
        return from + 8;
    case DataType::Ptr:
        out.appendUInt(load<u64>(from));
        return from + 8;
    case DataType::Float:
        writeAnyReal(load<float>(from), out);
        return from + 4;
    default:
        writeAnyReal(load<double>(from), out);
        return from + 8;
    }
}

// Writes elements from `first` to `last`, each behind the first with a blank in front.
void writeElements(const Buffer& buffer, u64 first, u64 last, StringIO& out) {
    const DataType component = dataTypeComponent(buffer.type());
    const u64 components = dataTypeComponents(buffer.type());
    const auto* at = static_cast<const char*>(buffer.data()) + first * dataTypeSize(buffer.type());
    for (u64 i = first; i < last; ++i) {
        if (i != 0) out.append(' ');
        if (components == 1) {
            at = writeComponent(component, at, out);
            continue;
        }
        for (u64 k = 0; k < components; ++k) {
            out.append(k == 0 ? '(' : ' ');
            at = writeComponent(component, at, out);
        }
        out.append(')');
    }
}

// Appends texts in their order; the workers copy them.
void join(const std::vector<StringIO>& texts, u64 count, StringIO& out, const Workers& workers) {
    std::vector<u64> places(count);
    u64 size = 0;
    for (u64 i = 0; i < count; ++i) {
        places[i] = size;
        size += texts[i].size();
    }
    char* const to = out.prepare(size);
    workers.run(count,
                [&](u64 i) { std::memcpy(to + places[i], texts[i].buf(), texts[i].size()); });
    out.commit(size);
}

// Writes a buffer in rounds, so that its text is not in memory twice.
void writeInPieces(const Buffer& buffer, u64 pieceSize, StringIO& out, const Workers& workers) {
    const u64 pieces = (buffer.count() + pieceSize - 1) / pieceSize;
    std::vector<StringIO> texts(std::min(pieces, piecesInRound));
    for (u64 done = 0; done < pieces; done += texts.size()) {
        const u64 count = std::min<u64>(pieces - done, texts.size());
        workers.run(count, [&](u64 i) {
            const u64 first = (done + i) * pieceSize;
            texts[i].clear();
            writeElements(buffer, first, std::min(first + pieceSize, buffer.count()), texts[i]);
        });
        join(texts, count, out, workers);
    }
}

} // namespace

void writeReal(double value, StringIO& out) {
    writeAnyReal(value, out);
}

void writeReal(float value, StringIO& out) {
    writeAnyReal(value, out);
}

void writeBuffer(const Buffer& buffer, StringIO& out, const Workers& workers) {
    const u64 components = std::max<u64>(dataTypeComponents(buffer.type()), 1);
    const u64 pieceSize = numbersInPiece / components;
    out.append('[');
    if (buffer.count() <= pieceSize)
        writeElements(buffer, 0, buffer.count(), out);
    else
        writeInPieces(buffer, pieceSize, out, workers);
    out.append(']');
}

} // namespace qv::kelvo_sdk::impl
