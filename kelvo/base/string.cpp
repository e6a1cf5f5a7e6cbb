#include "kelvo/base/string.h"

#include "kelvo/base/ascii.h"
#include "kelvo/base/string_vector.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <ostream>

namespace qv {

StringBuffer* StringBuffer::create(u64 length) {
    void* block = length < noIndex - headerSize ? std::malloc(headerSize + length + 1) : nullptr;
    if (!block) throw std::bad_alloc();
    return fromBlock(block, length);
}

StringBuffer* StringBuffer::fromBlock(void* block, u64 length) noexcept {
    auto* buffer = ::new (block) StringBuffer(length);
    buffer->text()[length] = '\0';
    return buffer;
}

StringBuffer* StringBuffer::inBlock(char* block, u32 offset, u64 length) noexcept {
    StringBuffer* buffer = fromBlock(block + offset, length);
    buffer->m_blockOffset = offset;
    return buffer;
}

u64 StringBuffer::computeHash() const noexcept {
    const u64 hash = hashBytes(text(), m_length);
    m_hash.store(hash, std::memory_order_relaxed);
    return hash;
}

u64 StringBuffer::computeFoldedHash() const noexcept {
    const u64 hash = hashFolded(view());
    m_foldedHash.store(hash, std::memory_order_relaxed);
    return hash;
}

StringBuffer* String::copyOf(std::string_view text) {
    if (text.empty()) return nullptr;
    StringBuffer* buffer = StringBuffer::create(text.size());
    std::memcpy(buffer->text(), text.data(), text.size());
    return buffer;
}

String String::concat(std::string_view a, std::string_view b) {
    if (a.empty() && b.empty()) return {};
    StringBuffer* buffer = StringBuffer::create(a.size() + b.size());
    if (!a.empty()) std::memcpy(buffer->text(), a.data(), a.size());
    if (!b.empty()) std::memcpy(buffer->text() + a.size(), b.data(), b.size());
    return {adoptRef, buffer};
}

// Returns a part of this text as a String; the whole text shares the buffer.
String String::slice(std::string_view part) const {
    return part.size() == size() ? *this : String(part);
}

String String::format(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    String result = vformat(fmt, args);
    va_end(args);
    return result;
}

String String::vformat(const char* fmt, va_list args) {
    if (!fmt) return {};
    char small[256];
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(small, sizeof small, fmt, args);
    String result;
    if (length > 0 && static_cast<u64>(length) < sizeof small) {
        result = String(std::string_view(small, static_cast<u64>(length)));
    } else if (length > 0) {
        const auto size = static_cast<u64>(length);
        result = String(adoptRef, StringBuffer::create(size));
        std::vsnprintf(result.get()->text(), size + 1, fmt, again);
    }
    va_end(again);
    return result;
}

String String::trim(bool leading, bool trailing) const {
    return slice(ascii::trim(view(), leading, trailing));
}

u64 String::find(std::string_view part, u64 from) const noexcept {
    return view().find(part, from);
}

u64 String::find(char c, u64 from) const noexcept {
    return view().find(c, from);
}

u64 String::findLast(char c) const noexcept {
    return view().rfind(c);
}

String String::toFirst(char c, bool inclusive) const {
    const u64 at = find(c);
    if (at == npos) return *this;
    return slice(view().substr(0, inclusive ? at + 1 : at));
}

String String::substr(u64 pos, u64 count) const {
    return slice(view().substr(std::min(pos, size()), count));
}

bool String::startsWith(String prefix, bool ignoreCase) const {
    const std::string_view head = view().substr(0, prefix.size());
    return ignoreCase ? ascii::equalsNoCase(head, prefix) : head == prefix.view();
}

bool String::endsWith(String suffix, bool ignoreCase) const {
    if (suffix.size() > size()) return false;
    const std::string_view tail = view().substr(size() - suffix.size());
    return ignoreCase ? ascii::equalsNoCase(tail, suffix) : tail == suffix.view();
}

bool String::contains(String part, bool ignoreCase) const {
    return (ignoreCase ? ascii::findNoCase(view(), part) : find(part)) != npos;
}

int String::compare(std::string_view other) const noexcept {
    return view().compare(other);
}

int String::compareNoCase(String other) const noexcept {
    return get() == other.get() ? 0 : ascii::compareNoCase(view(), other);
}

bool String::equalsNoCase(std::string_view other) const noexcept {
    return ascii::equalsNoCase(view(), other);
}

bool String::isSimpleCID() const noexcept {
    return ascii::isIdentifier(view());
}

String String::operator+(String other) const {
    if (other.isEmpty()) return *this;
    return isEmpty() ? other : concat(view(), other);
}

String String::operator+(const char* other) const {
    return *this + viewOf(other);
}

String String::operator+(std::string_view other) const {
    return other.empty() ? *this : concat(view(), other);
}

String String::operator+(char other) const {
    return concat(view(), std::string_view(&other, 1));
}

String& String::operator+=(std::string_view other) {
    if (!other.empty()) *this = concat(view(), other);
    return *this;
}

std::ostream& operator<<(std::ostream& out, const String& text) {
    return out << text.view();
}

} // namespace qv
