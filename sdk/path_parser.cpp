#include "sdk/path_parser.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace qv::kelvo_sdk {

namespace {

using Token = PathParser::Token;

// Takes an identifier off the front.
bool takeName(std::string_view& rest, Token& token) {
    const u64 length = std::min(rest.find_first_of(".["), rest.size());
    token.text = String(rest.substr(0, length));
    rest.remove_prefix(length);
    return token.text.isSimpleCID();
}

// Reads the number of an element, in the one way that paths write it.
bool readIndex(std::string_view digits, i64& index) {
    if (digits.empty() || (digits[0] == '0' && digits.size() > 1)) return false;
    const char* last = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), last, index);
    return error == std::errc() && stop == last && index >= 0 && index <= PathParser::maxIndex;
}

// Takes "[3]" or "[+]" off the front.
bool takeElement(std::string_view& rest, Token& token) {
    const u64 end = rest.find(']');
    if (end == std::string_view::npos) return false;
    const std::string_view inside = rest.substr(1, end - 1);
    rest.remove_prefix(end + 1);
    token.index = PathParser::appendIndex;
    return inside == "+" || readIndex(inside, token.index);
}

bool takeStep(std::string_view& rest, bool isFirst, Token& token) {
    if (isFirst) return takeName(rest, token);
    if (rest[0] == '[') return takeElement(rest, token);
    if (rest[0] != '.') return false;
    rest.remove_prefix(1);
    return takeName(rest, token);
}

} // namespace

ds::Vector<PathParser::Token> PathParser::parsePath(String path) {
    ds::Vector<Token> tokens;
    std::string_view rest = path.view();
    do {
        Token token;
        if (!takeStep(rest, tokens.empty(), token)) return {};
        tokens.push_back(std::move(token));
    } while (!rest.empty());
    return tokens;
}

} // namespace qv::kelvo_sdk
