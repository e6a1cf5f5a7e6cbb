#include "tools/kelvo/message.h"

#include "tools/kelvo/fitted_line.h"
#include "tools/kelvo/progress_line.h"

#include <cstdio>
#include <string>

#include <unistd.h>

namespace qv::kelvo_tool {

namespace {

void writeLine(Tone tone, const char* start, const String& message) {
    std::string text(" ");
    for (const char c : message) {
        const auto byte = static_cast<unsigned char>(c);
        text += byte < 0x20 || byte == 0x7f ? '?' : c;
    }
    StringIO line;
    appendFitted(line, {{tone, start}, {Tone::Plain, std::move(text)}}, lookOf(STDERR_FILENO));
    // Writes in one call, so that lines of several programs on one terminal do not mix.
    ProgressLine::writeErrors(line.append('\n').view());
}

} // namespace

void complain(const String& message) {
    writeLine(Tone::Error, "kelvo:", message);
}

void warn(const String& message) {
    writeLine(Tone::Warning, "kelvo: warning:", message);
}

void remark(const String& message) {
    writeLine(Tone::Kind, "kelvo: note:", message);
}

void complainOfMemory() noexcept {
    (void)std::fputs("kelvo: the memory ran out; `ulimit -v` tells whether it is limited.\n",
                     stderr);
}

} // namespace qv::kelvo_tool
