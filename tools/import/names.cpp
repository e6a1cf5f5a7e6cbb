#include "tools/import/names.h"

#include "kelvo/base/ascii.h"
#include "kelvo/base/string_io.h"

namespace qv::model_import {

namespace {

String numbered(const String& name, u64 number) {
    return name + String::format("_%llu", static_cast<unsigned long long>(number));
}

} // namespace

String identifierFrom(std::string_view text) {
    StringIO out;
    bool gap = false;
    for (const char c : text) {
        if (!ascii::isLetter(c) && !ascii::isDigit(c) && c != '_') {
            gap = true;
            continue;
        }
        if (out.isEmpty() ? ascii::isDigit(c) : gap) out.append('_');
        out.append(c);
        gap = false;
    }
    return out.take();
}

String Names::next(std::string_view original, const String& type) {
    const String name = identifierFrom(original);
    if (name.isEmpty()) return unused(type);
    // A number alone makes a poor name, so the type comes first.
    const bool isNumber = name[0] == '_' && ascii::isDigit(name[1]);
    return unused(isNumber ? type + name : name);
}

String Names::unused(const String& name) {
    u64& number = m_lastNumber[name.toLower()];
    String candidate = name;
    if (number == 0)
        number = 1;
    else
        candidate = numbered(name, ++number);
    while (m_scene.findNode(candidate))
        candidate = numbered(name, ++number);
    return candidate;
}

} // namespace qv::model_import
