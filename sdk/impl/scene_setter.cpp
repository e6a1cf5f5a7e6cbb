#include "sdk/impl/scene_setter.h"

#include "sdk/impl/input.h"
#include "sdk/impl/link_names.h"
#include "sdk/impl/output.h"
#include "sdk/impl/scene.h"
#include "sdk/impl/scene_match.h"
#include "sdk/impl/text_lexer.h"
#include "sdk/impl/value_text.h"
#include "sdk/interfaces/i_node.h"

#include <algorithm>
#include <charconv>

namespace qv::kelvo_sdk::impl {

namespace {

bool isSettable(const SceneChange& change) {
    const bool isInput = change.subject == SceneChange::Subject::Input ||
                         change.subject == SceneChange::Subject::Element;
    return isInput && change.action == SceneChange::Action::Change &&
           (change.field == "value" || change.field == "source");
}

// Finds the input or output of exactly a name, or a later one.
template<typename Attribute, typename Owner, typename Count, typename At>
Attribute* findKey(const Owner& owner, const AttrKey& key, const Count& count, const At& at) {
    u32 met = 0;
    for (u64 i = 0; i < (owner.*count)(); ++i) {
        auto* attribute = static_cast<Attribute*>(at(i));
        if (attribute->ownName() == key.name && ++met == key.ordinal) return attribute;
    }
    return nullptr;
}

Input* findMember(const interfaces::IInputContainer& owner, std::string_view step) {
    return findKey<Input>(owner, keyOf(step), &interfaces::IInputContainer::inputCount,
                          [&](u64 i) { return owner.input(i); });
}

Output* findOutput(Scene& scene, std::string_view path) {
    const u64 dot = path.find('.');
    const INode* node = scene.findNode(String(path.substr(0, dot)));
    if (!node) return nullptr;
    return findKey<Output>(*node, keyOf(path.substr(dot + 1)), &INode::outputCount,
                           [&](u64 i) { return node->output(i); });
}

Input* findInput(Scene& scene, std::string_view path) {
    const std::string_view name = path.substr(0, path.find_first_of(".["));
    const INode* node = scene.findNode(String(name));
    Input* input = nullptr;
    for (path.remove_prefix(name.size()); node && !path.empty();) {
        const bool isElement = path[0] == '[';
        const std::string_view step =
            path.substr(1, path.find_first_of(isElement ? "]" : ".[", 1) - 1);
        path.remove_prefix(std::min(path.size(), step.size() + (isElement ? 2 : 1)));
        u64 index = 0;
        if (!isElement) {
            input = input ? findMember(*input, step) : findMember(*node, step);
        } else {
            std::from_chars(step.data(), step.data() + step.size(), index);
            const bool isThere = input && index < input->inputCount();
            input = isThere ? static_cast<Input*>(input->input(index)) : nullptr;
        }
        if (!input) return nullptr;
    }
    return input;
}

bool setText(Input& input, std::string_view text) {
    TextLexer lexer(text);
    String plain;
    const char* problem = nullptr;
    return lexer.peek() == '"' && lexer.quoted(plain, problem) && input.setString(plain);
}

bool setValue(Scene& scene, Input& input, std::string_view text) {
    if (input.type() == AttrType::String) return setText(input, text);
    if (input.type() == AttrType::Node) {
        const std::string_view name = linkedName(text);
        INode* target = name.empty() ? nullptr : scene.findNode(String(name));
        return (target || name.empty()) && input.setNode(target);
    }
    Value value;
    return valueFromText(String(text), input.type(), input.dataType(), value) &&
           input.setValue(value);
}

bool setSource(Scene& scene, Input& input, const std::optional<String>& path) {
    if (!path) return input.disconnect();
    Output* output = findOutput(scene, path->view());
    return output && input.connect(output);
}

} // namespace

bool setInPlace(Scene& scene, const std::vector<SceneChange>& changes) {
    if (!std::ranges::all_of(changes, isSettable)) return false;
    return std::ranges::all_of(changes, [&](const SceneChange& change) {
        Input* input = findInput(scene, change.path.view());
        if (!input) return false;
        if (change.field == "source") return setSource(scene, *input, change.after);
        return change.after && setValue(scene, *input, change.after->view());
    });
}

} // namespace qv::kelvo_sdk::impl
