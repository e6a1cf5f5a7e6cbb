#include "kelvo/sdk/impl/scene_text/text_gaps.h"

#include "kelvo/sdk/impl/text/text_lexer.h"

namespace qv::kelvo_sdk::impl {

String wholeLines(std::string_view text, u64 first, u64 last) {
    u64 start = first;
    while (start != 0 && TextLexer::isBlank(text[start - 1]))
        --start;
    // A part from the middle of a line gets an indentation of its own.
    const bool startsLine = start == 0 || text[start - 1] == '\n';
    const std::string_view part =
        text.substr(startsLine ? start : first, last - (startsLine ? start : first));
    const String kept(part.substr(0, part.find_last_not_of(" \t\r\n") + 1));
    return (startsLine ? String() : String("    ")) + kept + "\n";
}

} // namespace qv::kelvo_sdk::impl
