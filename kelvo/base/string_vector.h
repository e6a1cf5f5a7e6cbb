#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string.h"
#include "kelvo/base/vector.h"

#include <initializer_list>

namespace qv {

/// Shared list behind `StringVector`s.
class QV_EXPORT StringList final : public RefCounted {
public:
    ds::Vector<String> items;
};

/// List of texts, passed by value: copies share one counted list until one of them is changed.
class QV_EXPORT StringVector : public RefersTo<StringList> {
public:
    StringVector() noexcept = default;
    StringVector(std::initializer_list<String> items);

    /// Appends; other StringVectors that shared the list keep what they had.
    void push_back(String item);
    void reserve(u64 count);
    void clear() noexcept { reset(); }

    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    [[nodiscard]] bool isEmpty() const noexcept { return size() == 0; }
    [[nodiscard]] u64 size() const noexcept { return get() ? get()->items.size() : 0; }

    /// The element at `index`, unchecked, valid until the list changes.
    [[nodiscard]] const String& operator[](u64 index) const noexcept { return get()->items[index]; }

    [[nodiscard]] const String* begin() const noexcept {
        return get() ? get()->items.begin() : nullptr;
    }
    [[nodiscard]] const String* end() const noexcept {
        return get() ? get()->items.end() : nullptr;
    }

    /// Access for changing elements: a shared list is copied first. Read through a const
    /// reference (`std::as_const`) to avoid that.
    [[nodiscard]] String* begin();
    [[nodiscard]] String* end();

    /// The elements in order with the separator between them and none at the ends.
    [[nodiscard]] String join(String separator) const;

    [[nodiscard]] bool contains(String text, bool ignoreCase) const noexcept;

    /// Position of the first element equal to `text`; `noIndex` when absent.
    [[nodiscard]] u64 indexOf(const String& text, bool ignoreCase) const noexcept;

    /// Equal elements in the same order.
    [[nodiscard]] bool operator==(const StringVector& other) const noexcept;

private:
    StringList& own();
};

static_assert(sizeof(StringVector) == 2 * sizeof(void*));

} // namespace qv
