#include "tools/kelvo/value_setting.h"

#include "kelvo/sdk/path_parser.h"
#include "tools/kelvo/handles.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/versions.h"

#include <utility>
#include <vector>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::Input;
using kelvo_sdk::Node;
using kelvo_sdk::Result;
using kelvo_sdk::Scene;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;

// The reason is told as the error, and not in the log too.
bool setText(const Input& input, const String& value, String& error) {
    const Reason silenced;
    const Result isSet = input.setString(value);
    if (isSet) return true;
    error = isSet.message();
    // A slip in the text that was given goes on behind the name of the file.
    const bool isSlip =
        error.startsWith("Cannot set '", false) || error.startsWith("Cannot link '", false);
    if (isSlip) error = "c" + error.substr(1);
    return false;
}

// Returns the type's definition of an input without annotations; null when there is none, or when
// the scene knows its types and checks by itself.
const IInput* definitionOf(const Scene& scene, const Input& input) {
    if (input.isDescribed() || knowsTypes(scene)) return nullptr;
    const Libraries* libraries = librariesInUse();
    if (!libraries) return nullptr;
    std::vector<const IInput*> chain;
    for (const IInput* at = input.get(); at; at = at->parent())
        chain.push_back(at);
    const IInput* known = libraries->lookUpInput(input.node()->type(), chain.back()->name());
    for (u64 i = chain.size(); i-- > 0 && known;) {
        if (known->type() != chain[i]->type()) return nullptr;
        if (i == 0) return known;
        const String name = chain[i - 1]->name();
        known = known->isObject() && known->hasInput(name, AttrType::Null) ? known->input(name)
                                                                           : nullptr;
    }
    return nullptr;
}

// Checks a value against the type, which a scene without types does not: sets it in a copy of the
// prototype.
bool isAccepted(const INode& node, const IInput& definition, const String& value, String& error) {
    const Node copy = handleOn(*definition.node()).copyByItself(node.name());
    const String path = definition.path();
    const Input like = copy.inputAt(path.substr(path.find('.') + 1));
    if (like.type() != AttrType::Node) return setText(like, value, error);
    if (!like->isReadOnly()) return true;
    error = "Cannot set input '" + like.path() + "': it is read-only.";
    return false;
}

bool typeAccepts(const Scene& scene, const Input& input, const String& value, String& error) {
    const IInput* definition = definitionOf(scene, input);
    return !definition || isAccepted(*input->node(), *definition, value, error);
}

} // namespace

bool assign(const Scene& scene, const Input& input, const String& value, String& error) {
    return typeAccepts(scene, input, value, error) && setText(input, value, error);
}

const IInput* leftOutInput(const Scene& scene, const String& path) {
    const auto steps = kelvo_sdk::PathParser::parsePath(path);
    if (steps.size() < 2 || steps[1].index != -1) return nullptr;
    const Node node = scene.findNode(steps[0].text);
    const Libraries* libraries = node.get() ? librariesInUse() : nullptr;
    if (!libraries || node->hasInput(steps[1].text, AttrType::Null)) return nullptr;
    return libraries->lookUpInput(node->type(), steps[1].text);
}

const IInput* wholeLeftOutInput(const Scene& scene, const String& path) {
    const bool isWhole = path.find('[') == String::npos && path.find('.') == path.view().rfind('.');
    return isWhole ? leftOutInput(scene, path) : nullptr;
}

bool reachInput(const Scene& scene, const String& path, const String* value, Input& input,
                String& error) {
    if (const IInput* like = leftOutInput(scene, path)) {
        const Node node = scene.findNode(path.substr(0, path.find('.')));
        const Input definition = handleOn(*like);
        if (definition.inputCount() != 0) {
            error = "'" + node.name() + "." + like->name() +
                    "' is left to the type of its node, with what it holds: write it into the "
                    "scene first.";
            return false;
        }
        const bool isPlain = definition.type() != AttrType::Array;
        if (value && isPlain && !isAccepted(*node.get(), *like, *value, error)) return false;
        // Adds the input bare, at its default; the type keeps the rest of its description.
        (void)node.createInput(like->name(), definition);
    }
    Address address;
    if (!findAddress(scene, path, Append::Allowed, address, error)) return false;
    input = address.input;
    if (!input.get()) error = "'" + path + "' is a node: expected one of its inputs.";
    return input.get() != nullptr;
}

} // namespace qv::kelvo_tool
