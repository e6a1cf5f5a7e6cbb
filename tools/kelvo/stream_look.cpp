#include "tools/kelvo/stream_look.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <string_view>

#include <sys/ioctl.h>
#include <unistd.h>

namespace qv::kelvo_tool {

namespace {

constexpr u64 usualWidth = 80;
// A narrower line would have no room for a name behind its indent.
constexpr u64 leastWidth = 20;

std::string_view variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : std::string_view();
}

bool isDumb() {
    return variable("TERM") == "dumb";
}

u64 askedWidth() {
    const std::string_view text = variable("COLUMNS");
    u64 width = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), width);
    return error == std::errc() && end == text.data() + text.size() ? width : 0;
}

u64 widthOf(int descriptor) {
    if (const u64 asked = askedWidth()) return asked;
    winsize size{};
    const bool isKnown = ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
    return isKnown ? size.ws_col : usualWidth;
}

} // namespace

StreamLook lookOf(int descriptor) {
    if (::isatty(descriptor) == 0) return {};
    return {std::max(widthOf(descriptor), leastWidth), variable("NO_COLOR").empty() && !isDumb()};
}

bool errorsOnTerminal() {
    return ::isatty(STDERR_FILENO) != 0 && !isDumb();
}

} // namespace qv::kelvo_tool
