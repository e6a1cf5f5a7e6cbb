#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/string_io.h"

#include <string_view>

namespace qv::kelvo_tool {

/// Writes JSON, indented by two spaces a level. The calls have to follow the grammar: a key before
/// each value inside an object, none inside a list.
class JsonText {
public:
    JsonText& beginObject() { return open('{'); }
    JsonText& endObject() { return close('}'); }
    JsonText& beginList() { return open('['); }
    JsonText& endList() { return close(']'); }
    JsonText& key(std::string_view name);
    /// Bytes that are not UTF-8 become U+FFFD.
    JsonText& text(std::string_view value);
    JsonText& number(u64 value);
    JsonText& boolean(bool value);
    JsonText& null();

    // Write a key and its value.
    JsonText& member(std::string_view name, const char* value) { return key(name).text(value); }
    JsonText& member(std::string_view name, const String& value) {
        return key(name).text(value.view());
    }

    /// Returns the whole text, with a final line break.
    [[nodiscard]] String take();

private:
    JsonText& open(char bracket);
    JsonText& close(char bracket);
    void startValue();
    void startLine();

    StringIO m_out;
    u64 m_depth = 0;
    // True until something follows the last opening bracket.
    bool m_isFirst = true;
    bool m_isAfterKey = false;
};

} // namespace qv::kelvo_tool
