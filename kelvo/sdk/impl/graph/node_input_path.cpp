// ---- Input paths -----------------------------------------------------------------------
// Inputs are matched without regard to case and searched in arrays and objects; outputs are
// matched exactly, at the top level. Misses are not logged. Only array elements are created on
// the way.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/history/news_hold.h"

#include "kelvo/base/ascii.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

namespace qv::kelvo_sdk::impl {

namespace {

// Removes a leading "[index]" from a path.
bool takeIndex(std::string_view& path, u64& index) noexcept {
    const u64 end = path.find(']');
    if (path.empty() || path[0] != '[' || end == std::string_view::npos) return false;
    const std::string_view digits = path.substr(1, end - 1);
    if (digits.size() > 1 && digits[0] == '0') return false;
    const char* last = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), last, index);
    if (error != std::errc() || stop != last) return false;
    path.remove_prefix(end + 1);
    return true;
}

// Removes a leading ".name" from a path.
bool takeName(std::string_view& path, std::string_view& name) noexcept {
    if (path.empty() || path[0] != '.') return false;
    name = path.substr(1, path.find_first_of(".[", 1) - 1);
    path.remove_prefix(1 + name.size());
    return true;
}

IInput* memberNamed(IInput& object, std::string_view name) {
    for (u64 i = 0; i < object.inputCount(); ++i) {
        auto* member = implOf(object.input(i));
        if (member->ownName().equalsNoCase(name)) return member;
    }
    return nullptr;
}

// Returns the input to which the steps in `path` lead from `input`. The path text of an input
// begins with that of its parents, so only named inputs have to be searched.
IInput* searchInput(IInput* input, std::string_view path) {
    while (input && !path.empty()) {
        u64 index = 0;
        std::string_view name;
        if (input->hasElementType(AttrType::Null) && takeIndex(path, index))
            input = index < input->inputCount() ? input->input(index) : nullptr;
        else if (input->isObject() && takeName(path, name))
            input = memberNamed(*input, name);
        else
            return nullptr;
    }
    return input;
}

// Makes the elements of one path in one step, which begins with the first element; observers are
// notified when all elements exist.
struct Growing {
    explicit Growing(const Node* node) : step(node) {}
    NewsHold news;
    EditStep step;
};

IInput* elementAt(IInput& array, i64 wanted, std::optional<Growing>& growing) {
    const u64 index = wanted < 0 ? array.inputCount() : static_cast<u64>(wanted);
    if (array.inputCount() <= index && !growing) growing.emplace(implOf(array.node()));
    while (array.inputCount() <= index) {
        if (!array.appendElement()) return nullptr;
    }
    return array.input(index);
}

IInput* walkStep(IInput& from, const PathParser::Token& step, std::optional<Growing>& growing) {
    if (step.index == -1) return implOf(from).lookUpInput(step.text);
    return from.hasElementType(AttrType::Null) ? elementAt(from, step.index, growing) : nullptr;
}

} // namespace

IInput* Node::input(String path) {
    if (IInput* existing = findInputByName(path)) return existing;
    return createInput(std::move(path), AttrType::Null);
}

IInput* Node::input(String path) const {
    return findInputByName(path);
}

// Adds the node's name in front of a path that does not begin with it.
String Node::fullPath(String path) const {
    const u64 length = m_name.size();
    const bool isFull = path.size() > length && path.view()[length] == '.' &&
                        ascii::equalsNoCase(path.view().substr(0, length), m_name.view());
    return isFull ? path : m_name + "." + path;
}

IInput* Node::findInput(String path) const {
    const String full = fullPath(std::move(path));
    std::string_view rest = full.view().substr(m_name.size());
    std::string_view name;
    takeName(rest, name);
    for (IInput* input : m_inputs) {
        if (!implOf(input)->ownName().equalsNoCase(name)) continue;
        if (IInput* found = searchInput(input, rest)) return found;
    }
    return nullptr;
}

IOutput* Node::findOutput(String path) const {
    const String full = fullPath(std::move(path));
    for (IOutput* output : m_outputs) {
        if (full.equals(output->path())) return output;
    }
    return nullptr;
}

bool Node::isTypeOrBase(std::string_view name) const noexcept {
    const auto isName = [=](const String& base) { return base.equalsNoCase(name); };
    return m_type == name || std::ranges::any_of(m_bases, isName);
}

IInput* Node::parseInputPath(String path) {
    // A path may begin with the node's type, or one of its bases, in place of its name.
    const u64 dot = path.find('.');
    if (dot != noIndex && isTypeOrBase(path.view().substr(0, dot)))
        path = m_name + path.view().substr(dot);
    return parseInputPath(PathParser::parsePath(fullPath(std::move(path))));
}

// If the first step does not name this node, it names an input, and is looked up again inside it.
IInput* Node::parseInputPath(ds::Vector<PathParser::Token> tokens) {
    if (tokens.empty()) return nullptr;
    const bool namesThis = m_name.equalsNoCase(tokens[0].text);
    IInput* current = namesThis ? nullptr : lookUpInput(tokens[0].text);
    if (!namesThis && !current) return nullptr;
    std::optional<Growing> growing;
    for (u64 i = namesThis ? 1 : 0; i < tokens.size(); ++i) {
        current = current ? walkStep(*current, tokens[i], growing) : lookUpInput(tokens[i].text);
        if (!current) break;
    }
    if (!growing) return current;
    // Observers may remove the elements, or the whole node.
    const RefersTo<Node> self(this);
    const RefersTo<IInput> held(current);
    growing->news.release();
    growing.reset();
    return current && current->node() == this && !isLastReference() ? current : nullptr;
}

} // namespace qv::kelvo_sdk::impl
