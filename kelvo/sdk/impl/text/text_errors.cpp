#include "kelvo/sdk/impl/text/text_errors.h"

#include "kelvo/base/utf8.h"
#include "kelvo/sdk/impl/text/text_lexer.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

constexpr const char* kConflict = "A mark of a merge: settle the conflict and take the line out.";

String conflictUpTo(u64 line) {
    return String::format("A merge left a conflict here, up to line %llu: settle it and take out "
                          "the lines with '<<<<<<<', '=======' and '>>>>>>>'.",
                          static_cast<unsigned long long>(line));
}

// Keeps a message on one line, as names in it may hold line breaks.
String onOneLine(const String& text) {
    return text.replace("\n", " ", true, false).replace("\r", " ", true, false);
}

} // namespace

void TextErrors::add(u64 offset, const String& part, const String& message) {
    // The same fault may be found twice.
    if (full() || !m_places.insert(offset).second) return;
    m_errors.push_back({offset, onOneLine(part), onOneLine(message)});
}

void TextErrors::addFaultyBytes() {
    for (u64 at = utf8::firstFault(m_text); at < m_text.size() && !full();
         at = utf8::firstFault(m_text, std::min(m_text.find('\n', at), m_text.size()))) {
        const auto byte = static_cast<unsigned char>(m_text[at]);
        const char* const what = byte < 0x80 ? "The control character" : "The byte";
        const char* const why = byte < 0x80 ? "may not stand here" : "is no UTF-8";
        add(at, String(),
            String::format("%s 0x%02x %s; in quotes it is written \\x%02x.", what, byte, why,
                           byte));
    }
}

// Reports merge markers, '<<<<<<<' to '>>>>>>>', around two versions; no valid text has lines that
// start so.
void TextErrors::addConflicts() {
    std::vector<Error> found;
    u64 opened = std::string_view::npos;
    u64 line = 1;
    for (u64 at = 0; at < m_text.size() && found.size() < m_limit; ++line) {
        const u64 end = std::min(m_text.find('\n', at), m_text.size());
        const std::string_view start = m_text.substr(at, std::min<u64>(end - at, 7));
        const bool opens = start == "<<<<<<<";
        const bool closes = start == ">>>>>>>";
        if (opens || closes) {
            if (opens || opened == std::string_view::npos)
                found.push_back({at, String(), kConflict});
            if (closes && opened != std::string_view::npos)
                found.back().message = conflictUpTo(line);
            opened = opens ? at : std::string_view::npos;
        }
        at = end + 1;
    }
    if (!found.empty()) m_errors = std::move(found);
}

void TextErrors::report(const String& source, Diagnostics& out) {
    if (!m_errors.empty()) addConflicts();
    reportErrors(source, out);
}

void TextErrors::reportErrors(const String& source, Diagnostics& out) {
    std::stable_sort(m_errors.begin(), m_errors.end(),
                     [](const Error& a, const Error& b) { return a.offset < b.offset; });
    LineCounter lines(m_text);
    for (const Error& error : m_errors) {
        const auto [line, column] = lines.placeOf(error.offset);
        Diagnostic diagnostic;
        diagnostic.source = source;
        diagnostic.line = line;
        diagnostic.column = column;
        (m_subject == Subject::Types ? diagnostic.type : diagnostic.node) = error.part;
        diagnostic.message = error.message;
        out.push_back(std::move(diagnostic));
    }
}

} // namespace qv::kelvo_sdk::impl
