#pragma once

#include "kelvo/base/log.h"
#include "tools/kelvo/address.h"

namespace qv::kelvo_tool {

/// Captures the library's log messages during its lifetime: the reason of a refusal.
class Reason {
public:
    Reason() : m_before(setLogHandler(&keep, this)) {}
    ~Reason() { setLogHandler(m_before.handler, m_before.user); }
    Reason(const Reason&) = delete;
    Reason& operator=(const Reason&) = delete;

    /// Returns the last message.
    [[nodiscard]] const String& text() const noexcept { return m_text; }

private:
    static void keep(LogLevel, const char* message, void* self) {
        static_cast<Reason*>(self)->m_text = message;
    }

    String m_text;
    LogSink m_before;
};

/// Returns the type's definition of an input that the text leaves to its type; null for others.
/// `path` may continue below that input.
[[nodiscard]] const kelvo_sdk::interfaces::IInput* leftOutInput(const kelvo_sdk::Scene& scene,
                                                                const String& path);

/// Like `leftOutInput`, but only for a path that ends at that input.
[[nodiscard]] const kelvo_sdk::interfaces::IInput* wholeLeftOutInput(const kelvo_sdk::Scene& scene,
                                                                     const String& path);

/// Finds the input at a path in order to change it. If the text leaves the input to its type, adds
/// it without annotations, which stay with the type; but refuses if the type does not accept
/// `value`, when given. False with a sentence in `error`.
[[nodiscard]] bool reachInput(const kelvo_sdk::Scene& scene, const String& path,
                              const String* value, kelvo_sdk::Input& input, String& error);

/// Sets an input to a value given as text, or as a node's name for a link (empty for none). False
/// with a sentence in `error`.
[[nodiscard]] bool assign(const kelvo_sdk::Scene& scene, const kelvo_sdk::Input& input,
                          const String& value, String& error);

} // namespace qv::kelvo_tool
