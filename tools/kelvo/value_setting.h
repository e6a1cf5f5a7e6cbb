#pragma once

#include "kelvo/base/log.h"
#include "tools/kelvo/address.h"

namespace qv::kelvo_tool {

/// Keeps what the library says while it lives: the reason why it refuses something.
class Reason {
public:
    Reason() : m_before(setLogHandler(&keep, this)) {}
    ~Reason() { setLogHandler(m_before.handler, m_before.user); }
    Reason(const Reason&) = delete;
    Reason& operator=(const Reason&) = delete;

    /// Returns what was said last.
    [[nodiscard]] const String& text() const noexcept { return m_text; }

private:
    static void keep(LogLevel, const char* message, void* self) {
        static_cast<Reason*>(self)->m_text = message;
    }

    String m_text;
    LogSink m_before;
};

/// Returns the definition of an input that the text of the scene leaves to the type of its node;
/// null for others. `path` may go on below it.
[[nodiscard]] const kelvo_sdk::interfaces::IInput* leftOutInput(const kelvo_sdk::Scene& scene,
                                                                const String& path);

/// Returns the same for a path that ends there.
[[nodiscard]] const kelvo_sdk::interfaces::IInput* wholeLeftOutInput(const kelvo_sdk::Scene& scene,
                                                                     const String& path);

/// Follows a path to an input, for a change of it. One that is left to the type of its node is
/// added bare, as what else there is to say of it stays with the type, if the type accepts
/// `value`, when given. False with a sentence in `error`.
[[nodiscard]] bool reachInput(const kelvo_sdk::Scene& scene, const String& path,
                              const String* value, kelvo_sdk::Input& input, String& error);

/// Gives an input a value told by a text, a link by the name of its node (empty: none). False with
/// a sentence in `error`.
[[nodiscard]] bool assign(const kelvo_sdk::Scene& scene, const kelvo_sdk::Input& input,
                          const String& value, String& error);

} // namespace qv::kelvo_tool
