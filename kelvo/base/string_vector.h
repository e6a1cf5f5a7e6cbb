#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string.h"
#include "kelvo/base/vector.h"

#include <initializer_list>

namespace qv {

/// The shared list behind `StringVector`s.
class QV_EXPORT StringList final : public RefCounted {
public:
    ds::Vector<String> items;
};

/// A list of texts, passed by value: copies share one counted list until one of them changes.
class QV_EXPORT StringVector : public RefersTo<StringList> {
public:
    StringVector() noexcept = default;
    StringVector(std::initializer_list<String> items);

    /// Appends; other StringVectors that shared the list are unchanged.
    void push_back(String item);
    void reserve(u64 count);
    void clear() noexcept { reset(); }

    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    [[nodiscard]] bool isEmpty() const noexcept { return size() == 0; }
    [[nodiscard]] u64 size() const noexcept { return get() ? get()->items.size() : 0; }

    /// Returns the element at `index`, unchecked, valid until the list changes.
    [[nodiscard]] const String& operator[](u64 index) const noexcept { return get()->items[index]; }

    [[nodiscard]] const String* begin() const noexcept {
        return get() ? get()->items.begin() : nullptr;
    }
    [[nodiscard]] const String* end() const noexcept {
        return get() ? get()->items.end() : nullptr;
    }

    /// Returns elements for changing: copies a shared list first. To avoid that, read through a
    /// const reference (`std::as_const`).
    [[nodiscard]] String* begin();
    [[nodiscard]] String* end();

    /// Joins the elements in order, with the separator between them.
    [[nodiscard]] String join(String separator) const;

    [[nodiscard]] bool contains(String text, bool ignoreCase) const noexcept;

    /// Returns the position of the first element equal to `text`; `noIndex` when absent.
    [[nodiscard]] u64 indexOf(const String& text, bool ignoreCase) const noexcept;

    /// Tells whether both have equal elements in the same order.
    [[nodiscard]] bool operator==(const StringVector& other) const noexcept;

private:
    StringList& own();
};

static_assert(sizeof(StringVector) == 2 * sizeof(void*));

} // namespace qv
