#pragma once

#include "kelvo/base/string.h"

#include <utility>

namespace qv::kelvo_sdk {

/// The outcome of an operation that may fail: true, or false with a message that says why.
///
/// Its size is one pointer, null on success, so that success takes no memory. A message is one
/// whole sentence that names the object, its place, and what was expected.
class [[nodiscard]] Result {
public:
    /// Makes a success.
    Result() noexcept = default;
    [[nodiscard]] static Result failure(String message) {
        // An empty text has no buffer and would count as success.
        if (message.isEmpty()) message = "It cannot be done.";
        Result failed;
        failed.m_message = message.detach();
        return failed;
    }

    Result(const Result& other) noexcept : m_message(other.m_message) {
        if (m_message) m_message->incRef();
    }
    Result(Result&& other) noexcept : m_message(std::exchange(other.m_message, nullptr)) {}
    Result& operator=(Result other) noexcept {
        std::swap(m_message, other.m_message);
        return *this;
    }
    ~Result() {
        if (m_message) m_message->decRef();
    }

    operator bool() const noexcept { return !m_message; }
    /// Returns the reason of the failure; empty on success.
    [[nodiscard]] String message() const noexcept {
        if (m_message) m_message->incRef();
        return {adoptRef, m_message};
    }

private:
    StringBuffer* m_message = nullptr;
};

static_assert(sizeof(Result) == sizeof(void*));

/// The handle on something new, empty with a reason when the operation failed. It is used like
/// the handle itself: `const Node lamp = scene.createNode("light", "lamp")`.
template<class T>
class Made : public T {
public:
    Made(T value) noexcept : T(std::move(value)) {}
    Made(Result failure) noexcept : m_result(std::move(failure)) {}

    [[nodiscard]] const Result& result() const noexcept { return m_result; }
    /// Returns the reason of the failure; empty on success.
    [[nodiscard]] String message() const noexcept { return m_result.message(); }

private:
    Result m_result;
};

} // namespace qv::kelvo_sdk
