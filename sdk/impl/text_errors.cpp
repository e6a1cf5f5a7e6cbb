#include "sdk/impl/text_errors.h"

#include "sdk/impl/text_lexer.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

void TextErrors::add(u64 offset, String node, String message) {
    // One thing that is wrong may strike twice.
    for (const Error& error : m_errors)
        if (error.offset == offset) return;
    if (full()) return;
    m_errors.push_back({offset, std::move(node), std::move(message)});
}

void TextErrors::report(const String& source, Diagnostics& out) {
    std::stable_sort(m_errors.begin(), m_errors.end(),
                     [](const Error& a, const Error& b) { return a.offset < b.offset; });
    LineCounter lines(m_text);
    for (const Error& error : m_errors) {
        const auto [line, column] = lines.placeOf(error.offset);
        out.push_back({source, line, column, error.node, error.message});
    }
}

} // namespace qv::kelvo_sdk::impl
