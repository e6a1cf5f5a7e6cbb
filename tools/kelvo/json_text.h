#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/string_io.h"

#include <string_view>

namespace qv::kelvo_tool {

/// Writes JSON, indented by two spaces a level. What is written has to come in an order that makes
/// sense: a key in front of each value inside an object, none inside a list.
class JsonText {
public:
    JsonText& beginObject() { return open('{'); }
    JsonText& endObject() { return close('}'); }
    JsonText& beginList() { return open('['); }
    JsonText& endList() { return close(']'); }
    JsonText& key(std::string_view name);
    /// Bytes that are no UTF-8 become U+FFFD.
    JsonText& text(std::string_view value);
    JsonText& number(u64 value);
    JsonText& boolean(bool value);
    JsonText& null();

    // A key and its value.
    JsonText& member(std::string_view name, const char* value) { return key(name).text(value); }
    JsonText& member(std::string_view name, const String& value) {
        return key(name).text(value.view());
    }

    /// Returns all of it, with the end of the last line.
    [[nodiscard]] String take();

private:
    JsonText& open(char bracket);
    JsonText& close(char bracket);
    void startValue();
    void startLine();

    StringIO m_out;
    u64 m_depth = 0;
    // Nothing stands behind the last bracket yet.
    bool m_isFirst = true;
    bool m_isAfterKey = false;
};

} // namespace qv::kelvo_tool
