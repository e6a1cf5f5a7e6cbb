#pragma once

#include "kelvo/base/string.h"

#include <utility>

namespace qv::kelvo_sdk {

/// The outcome of an operation that may fail: true, or false with a message that says why.
///
/// One word, null when all went well: success takes no memory. A message is one whole sentence that
/// names the thing, its place, and what was expected.
class [[nodiscard]] Result {
public:
    /// All went well.
    Result() noexcept = default;
    [[nodiscard]] static Result failure(String message) {
        // An empty text has no buffer, and would read as success.
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
    /// Returns why it failed; empty when it did not.
    [[nodiscard]] String message() const noexcept {
        if (m_message) m_message->incRef();
        return {adoptRef, m_message};
    }

private:
    StringBuffer* m_message = nullptr;
};

static_assert(sizeof(Result) == sizeof(void*));

/// The value that an operation made or, when it failed, an empty one that says why. It is used like
/// the value itself: `const Node lamp = scene.createNode("light", "lamp")`.
template<class T>
class Made : public T {
public:
    Made(T value) noexcept : T(std::move(value)) {}
    Made(Result failure) noexcept : m_result(std::move(failure)) {}

    [[nodiscard]] const Result& result() const noexcept { return m_result; }
    /// Returns why there is no value; empty when there is one.
    [[nodiscard]] String message() const noexcept { return m_result.message(); }

private:
    Result m_result;
};

} // namespace qv::kelvo_sdk
