#include "kelvo/sdk/path_parser.h"

#include "kelvo/base/ascii.h"
#include "kelvo/base/string_block.h"

#include <charconv>
#include <string_view>

namespace qv::kelvo_sdk {

namespace {

// A step whose name is a view into the path, not a copy.
struct Step {
    std::string_view name;
    i64 index = -1;
};

// Removes an identifier from the front.
bool takeName(std::string_view& rest, Step& step) {
    u64 length = 0;
    while (length < rest.size() && ascii::continuesIdentifier(rest[length]))
        ++length;
    step.name = rest.substr(0, length);
    rest.remove_prefix(length);
    return length != 0 && !ascii::isDigit(step.name[0]);
}

// Reads the index of an element: digits without leading zeros, at most `maxIndex`.
bool readIndex(std::string_view digits, i64& index) {
    if (digits.empty() || (digits[0] == '0' && digits.size() > 1)) return false;
    u64 number = 0;
    const char* last = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), last, number);
    if (error != std::errc() || stop != last || number > u64{PathParser::maxIndex}) return false;
    index = static_cast<i64>(number);
    return true;
}

// Removes "[3]" or "[+]" from the front.
bool takeElement(std::string_view& rest, Step& step) {
    const u64 end = rest.find(']');
    if (end == std::string_view::npos) return false;
    const std::string_view inside = rest.substr(1, end - 1);
    rest.remove_prefix(end + 1);
    step.index = PathParser::appendIndex;
    return inside == "+" || readIndex(inside, step.index);
}

bool takeStep(std::string_view& rest, bool isFirst, Step& step) {
    if (isFirst) return takeName(rest, step);
    if (rest[0] == '[') return takeElement(rest, step);
    if (rest[0] != '.') return false;
    rest.remove_prefix(1);
    return takeName(rest, step);
}

// Calls `visit(const Step&)` for each step before the first malformed one; false if there is one.
template<typename Visit>
bool visitSteps(std::string_view path, const Visit& visit) {
    bool isFirst = true;
    do {
        Step step;
        if (!takeStep(path, isFirst, step)) return false;
        visit(step);
        isFirst = false;
    } while (!path.empty());
    return true;
}

} // namespace

ds::Vector<PathParser::Token> PathParser::parsePath(String path) {
    u64 steps = 0, names = 0, bytes = 0;
    const bool isWellFormed = visitSteps(path.view(), [&](const Step& step) {
        ++steps;
        names += !step.name.empty();
        bytes += step.name.size();
    });
    if (!isWellFormed) return {};
    StringBlock texts(names, bytes);
    ds::Vector<Token> tokens;
    tokens.reserve(steps);
    visitSteps(path.view(), [&](const Step& step) {
        tokens.push_back({texts.add(step.name), 0, step.index});
    });
    return tokens;
}

} // namespace qv::kelvo_sdk
