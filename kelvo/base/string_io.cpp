#include "kelvo/base/string_io.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <new>

namespace qv {

namespace {

// Enough for any number: 24 characters for the longest double, 20 for the longest integer.
constexpr u64 numberRoom = 32;

template<class Number>
void appendNumber(StringIO& out, Number value) {
    char* to = out.prepare(numberRoom);
    out.commit(static_cast<u64>(std::to_chars(to, to + numberRoom, value).ptr - to));
}

// Formats values below 1e9 with at most three decimals, which people write, by integer arithmetic.
// Dividing by 1000 again proves that the text reads back to the same bits; no other text of up to
// 15 digits does, so it is the shortest. Large integers that end in 0 may be shorter with an
// exponent, so the general way formats them.
bool appendShortReal(StringIO& out, double value) {
    const double scaled = std::fabs(value) * 1000.0;
    if (!(scaled < 1e12)) return false;
    const auto thousandths = static_cast<u64>(scaled + 0.5); // NOLINT(bugprone-incorrect-roundings)
    if (static_cast<double>(thousandths) / 1000.0 != std::fabs(value)) return false;
    const u64 whole = thousandths / 1000;
    u64 rest = thousandths % 1000;
    if (rest == 0 && whole >= 100000 && whole % 10 == 0) return false;
    char* const start = out.prepare(numberRoom);
    char* to = start;
    if (std::signbit(value)) *to++ = '-';
    to = std::to_chars(to, start + numberRoom, whole).ptr;
    if (rest != 0) *to++ = '.';
    for (u64 unit = 100; rest != 0; rest %= unit, unit /= 10)
        *to++ = static_cast<char>('0' + rest / unit);
    out.commit(static_cast<u64>(to - start));
    return true;
}

// Powers of ten as factors of floats.
constexpr double powers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10};

// A number of decimals, and a value in their unit.
struct Decimals {
    u64 count;
    i64 value;
};

// Finds the fewest decimals with which a float from 0.001 to 1e6 reads back. Multiplying is exact,
// as floats have 24 bits and so has the odd part of the power. A text reads back if it is nearer to
// the float than `reach`, half the distance to the next one. False when there are too many
// decimals, or two texts that are equally near.
bool findDecimals(double value, double reach, Decimals& out) {
    enum class Fit { No, Yes, Tie };
    const auto fit = [&](u64 count) {
        const double scaled = value * powers[count];
        const auto rounded = static_cast<i64>(scaled + 0.5); // NOLINT(bugprone-incorrect-roundings)
        const double error = std::fabs(static_cast<double>(rounded) - scaled);
        if (error == 0.5 || error == reach * powers[count]) return Fit::Tie;
        if (error > reach * powers[count]) return Fit::No;
        out = {count, rounded};
        return Fit::Yes;
    };
    // Starts with the decimals of most models. A text that reads back does so with more decimals.
    u64 count = 5;
    Fit found = fit(count);
    if (found == Fit::Yes) {
        while (count != 0 && found == Fit::Yes)
            found = fit(--count);
        return found != Fit::Tie;
    }
    while (found == Fit::No && ++count < std::size(powers))
        found = fit(count);
    return found == Fit::Yes;
}

// Writes a number with leading zeros in front of `end`.
void writeDecimals(u64 value, u64 count, char* end) {
    for (; count > 1; count -= 2, value /= 100) {
        const u64 pair = value % 100;
        *--end = static_cast<char>('0' + pair % 10);
        *--end = static_cast<char>('0' + pair / 10);
    }
    if (count != 0) *--end = static_cast<char>('0' + value);
}

// Formats floats from 0.001 to 1e6; others may be shorter with an exponent. A power of two has a
// nearer neighbour below than above, but no text between the two distances is found for any of
// them.
bool appendShortReal(StringIO& out, float value) {
    const float size = std::fabs(value);
    if (!(size >= 0.001f && size < 1e6f)) return false;
    const u32 bits = std::bit_cast<u32>(size);
    constexpr u32 fraction = (u32{1} << 23) - 1;
    const double reach = static_cast<double>(std::bit_cast<float>(bits & ~fraction)) * 0x1p-24;
    Decimals found{};
    if (!findDecimals(size, reach, found)) return false;
    const auto unit = static_cast<i64>(powers[found.count]);
    // Whole numbers of these sizes are floats, so no text of another float rounds up to one.
    const i64 whole = static_cast<i64>(size);
    const i64 rest = found.value - whole * unit;
    if (found.count == 0 && whole >= 100000 && whole % 10 == 0) return false;
    char* const start = out.prepare(numberRoom);
    char* to = start;
    *to = '-';
    to += std::signbit(value);
    if (whole < 10)
        *to++ = static_cast<char>('0' + whole);
    else
        to = std::to_chars(to, start + numberRoom, whole).ptr;
    if (found.count != 0) {
        *to++ = '.';
        to += found.count;
        writeDecimals(static_cast<u64>(rest), found.count, to);
    }
    out.commit(static_cast<u64>(to - start));
    return true;
}

} // namespace

StringIO::StringIO(StringIO&& other) noexcept
    : m_text(std::exchange(other.m_text, nullptr)),
      m_size(std::exchange(other.m_size, 0)),
      m_capacity(std::exchange(other.m_capacity, 0)) {}

StringIO& StringIO::operator=(StringIO&& other) noexcept {
    StringIO taken(std::move(other));
    std::swap(m_text, taken.m_text);
    std::swap(m_size, taken.m_size);
    std::swap(m_capacity, taken.m_capacity);
    return *this;
}

StringIO::~StringIO() {
    release();
}

void StringIO::release() noexcept {
    if (m_text) std::free(m_text - StringBuffer::headerSize);
}

void StringIO::grow(u64 count) {
    constexpr u64 smallest = 256 - StringBuffer::headerSize - 1;
    if (count > noIndex - m_size) throw std::bad_alloc();
    reserve(std::max({m_size + count, 2 * m_capacity, smallest}));
}

void StringIO::reserve(u64 size) {
    if (size <= m_capacity && m_text) return;
    if (size >= noIndex - StringBuffer::headerSize) throw std::bad_alloc();
    void* old = m_text ? m_text - StringBuffer::headerSize : nullptr;
    void* block = std::realloc(old, StringBuffer::headerSize + size + 1);
    if (!block) throw std::bad_alloc();
    m_text = static_cast<char*>(block) + StringBuffer::headerSize;
    m_text[m_size] = '\0';
    m_capacity = size;
}

void StringIO::clear() noexcept {
    truncate(0);
}

void StringIO::truncate(u64 size) noexcept {
    if (size >= m_size) return;
    m_size = size;
    m_text[size] = '\0';
}

String StringIO::take() {
    if (m_size == 0) return {};
    void* block = m_text - StringBuffer::headerSize;
    // Returns excess memory; if that fails, the block stays as it is.
    if (m_capacity - m_size > m_size / 8)
        if (void* fitted = std::realloc(block, StringBuffer::headerSize + m_size + 1))
            block = fitted;
    String result(adoptRef, StringBuffer::fromBlock(block, m_size));
    m_text = nullptr;
    m_size = m_capacity = 0;
    return result;
}

StringIO& StringIO::appendRepeated(char c, u64 count) {
    std::memset(prepare(count), c, count);
    commit(count);
    return *this;
}

StringIO& StringIO::appendInt(i64 value) {
    if (value >= 0 && value < 10) return append(static_cast<char>('0' + value));
    appendNumber(*this, value);
    return *this;
}

StringIO& StringIO::appendUInt(u64 value) {
    if (value < 10) return append(static_cast<char>('0' + value));
    appendNumber(*this, value);
    return *this;
}

StringIO& StringIO::appendReal(double value) {
    if (!appendShortReal(*this, value)) appendNumber(*this, value);
    return *this;
}

StringIO& StringIO::appendReal(float value) {
    if (!appendShortReal(*this, value)) appendNumber(*this, value);
    return *this;
}

} // namespace qv
