#include "kelvo/base/string_vector.h"

#include <algorithm>

namespace qv {

StringVector::StringVector(std::initializer_list<String> items) {
    if (items.size() == 0) return;
    StringList& list = own();
    list.items = ds::Vector<String>(items);
}

// Returns the list for changing: makes it if there is none, copies it if others share it.
StringList& StringVector::own() {
    if (get() && get()->refCount() == 1) return *get();
    auto fresh = RefersTo<StringList>::adopt(new StringList);
    if (get()) fresh->items = get()->items;
    static_cast<RefersTo<StringList>&>(*this) = std::move(fresh);
    return *get();
}

void StringVector::push_back(String item) {
    own().items.push_back(std::move(item));
}

void StringVector::reserve(u64 count) {
    own().items.reserve(count);
}

String* StringVector::begin() {
    return get() ? own().items.begin() : nullptr;
}

String* StringVector::end() {
    return get() ? own().items.end() : nullptr;
}

String StringVector::join(String separator) const {
    if (empty()) return {};
    u64 length = separator.size() * (size() - 1);
    for (const String& item : *this)
        length += item.size();
    if (length == 0) return {};
    String result(adoptRef, StringBuffer::create(length));
    char* to = result.get()->text();
    for (const String* item = begin(); item != end(); ++item) {
        if (item != begin()) to = std::copy(separator.begin(), separator.end(), to);
        to = std::copy(item->begin(), item->end(), to);
    }
    return result;
}

bool StringVector::contains(String text, bool ignoreCase) const noexcept {
    return indexOf(text, ignoreCase) != noIndex;
}

u64 StringVector::indexOf(const String& text, bool ignoreCase) const noexcept {
    for (u64 i = 0; i < size(); ++i) {
        const String& item = (*this)[i];
        if (ignoreCase ? item.equalsNoCase(text) : item.equals(text)) return i;
    }
    return noIndex;
}

bool StringVector::operator==(const StringVector& other) const noexcept {
    if (get() == other.get()) return true;
    return size() == other.size() &&
           std::equal(begin(), end(), other.begin(),
                      [](const String& a, const String& b) { return a.equals(b); });
}

} // namespace qv
