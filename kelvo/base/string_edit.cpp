// Operations of String that rewrite its text or cut it into pieces.

#include "kelvo/base/ascii.h"
#include "kelvo/base/string.h"
#include "kelvo/base/string_io.h"
#include "kelvo/base/string_vector.h"

#include <algorithm>

namespace qv {

namespace {

// Returns the text with each byte passed through `change(byte, index)`; the same String if none
// changes.
template<class Change>
String mapped(const String& text, Change change) {
    const std::string_view from = text.view();
    u64 at = 0;
    while (at < from.size() && change(from[at], at) == from[at])
        ++at;
    if (at == from.size()) return text;
    StringBuffer* buffer = StringBuffer::create(from.size());
    std::memcpy(buffer->text(), from.data(), at);
    for (; at < from.size(); ++at)
        buffer->text()[at] = change(from[at], at);
    return {adoptRef, buffer};
}

} // namespace

String String::toLower() const {
    return mapped(*this, [](char c, u64) { return ascii::toLower(c); });
}

String String::toUpper() const {
    return mapped(*this, [](char c, u64) { return ascii::toUpper(c); });
}

String String::titleCased(bool keepRest) const {
    const std::string_view text = view();
    return mapped(*this, [text, keepRest](char c, u64 at) {
        const bool first = at == 0 || text[at - 1] == '_' || ascii::isSpace(text[at - 1]);
        if (first) return ascii::toUpper(c);
        return keepRest ? c : ascii::toLower(c);
    });
}

String String::replace(String from, String to, bool all, bool ignoreCase) const {
    if (from.isEmpty()) return *this;
    const auto next = [&](u64 start) {
        return ignoreCase ? ascii::findNoCase(view(), from, start) : find(from, start);
    };
    u64 at = next(0);
    if (at == npos) return *this;
    StringIO out;
    out.reserve(size() + to.size());
    u64 done = 0;
    for (; at != npos; at = all ? next(done) : npos) {
        out.append(view().substr(done, at - done)).append(to);
        done = at + from.size();
    }
    return out.append(view().substr(done)).take();
}

StringVector String::split(char sep, bool keepEmpty, bool trim) const {
    StringVector pieces;
    for (u64 start = 0; start <= size();) {
        const u64 end = std::min(find(sep, start), size());
        std::string_view piece = view().substr(start, end - start);
        if (trim) piece = ascii::trim(piece);
        if (keepEmpty || !piece.empty()) pieces.push_back(slice(piece));
        start = end + 1;
    }
    return pieces;
}

} // namespace qv
