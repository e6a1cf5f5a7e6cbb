#include "tools/kelvo/message.h"

#include <cstdio>
#include <string>

namespace qv::kelvo_tool {

namespace {

void writeLine(const char* start, const String& message) {
    std::string line = start;
    for (const char c : message) {
        const auto byte = static_cast<unsigned char>(c);
        line += byte < 0x20 || byte == 0x7f ? '?' : c;
    }
    line += '\n';
    // One call, so that lines of several programs on one terminal do not mix.
    (void)std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace

void complain(const String& message) {
    writeLine("kelvo: ", message);
}

void warn(const String& message) {
    writeLine("kelvo: warning: ", message);
}

void remark(const String& message) {
    writeLine("kelvo: note: ", message);
}

} // namespace qv::kelvo_tool
