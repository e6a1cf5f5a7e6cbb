#include "tools/kelvo/address.h"

#include "kelvo/base/spelling_suggestion.h"
#include "kelvo/sdk/path_parser.h"

#include <string>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Input;
using kelvo_sdk::Node;
using kelvo_sdk::PathParser;
using kelvo_sdk::Scene;
using kelvo_sdk::Snapshot;
using kelvo_sdk::SnapshotInput;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::IInputContainer;

// `near` keeps views of these names until it answers.
String questionAbout(const String& name, const ds::Vector<String>& known) {
    SpellingSuggestion near(name.view());
    for (const String& candidate : known)
        near.offer(candidate.view());
    return near.question();
}

// Finds the input or member that the step names.
bool findMember(const IInputContainer& owner, const String& ownerName, const String& name,
                Input& input, String& error) {
    if (owner.hasInput(name, kelvo_sdk::AttrType::Null)) {
        input = Input(owner.input(name));
        return true;
    }
    ds::Vector<String> known;
    for (u64 i = 0; i < owner.inputCount(); ++i)
        known.push_back(owner.input(i)->name());
    error = "no input '" + name + "' in '" + ownerName + "'" + questionAbout(name, known);
    return false;
}

bool findElement(i64 index, Append append, Input& input, String& error) {
    if (input.type() != kelvo_sdk::AttrType::Array) {
        error = "'" + input.path() + "' has no elements: its kind is " + input->typeName() + ".";
        return false;
    }
    if (index == PathParser::appendIndex) {
        if (append == Append::Allowed)
            input = input.append();
        else
            error = "'" + input.path() + "[+]' is for `set` alone.";
        return append == Append::Allowed;
    }
    const u64 count = input.inputCount();
    if (static_cast<u64>(index) < count) {
        input = input.input(static_cast<u64>(index));
        return true;
    }
    error = "no element [" + String(std::string_view(std::to_string(index))) + "] in '" +
            input.path() + "', which has " + std::string_view(std::to_string(count)) + ".";
    return false;
}

bool followStep(const PathParser::Token& step, Append append, Address& address, String& error) {
    Input& input = address.input;
    if (step.index != -1) return findElement(step.index, append, input, error);
    if (!input.get()) {
        const Node& node = address.node;
        if (node.hasInput(step.text) || !node.hasOutput(step.text))
            return findMember(*node.get(), node.name(), step.text, input, error);
        error = "'" + node.name() + "." + step.text +
                "' is an output, whose value `kelvo eval` prints.";
        return false;
    }
    if (input->isObject()) {
        const Input object = input;
        return findMember(*object.get(), object.path(), step.text, input, error);
    }
    error = "'" + input.path() + "' has no members: its kind is " + input->typeName() + ".";
    return false;
}

} // namespace

String noSuchNode(const Scene& scene, const String& name) {
    ds::Vector<String> known;
    for (u64 i = 0; i < scene.nodeCount(); ++i)
        known.push_back(scene.node(i).name());
    return "no node '" + name + "'" + questionAbout(name, known);
}

String noSuchNode(const Snapshot& scene, const String& name) {
    ds::Vector<String> known;
    for (const kelvo_sdk::SnapshotNode& node : scene.nodes())
        known.push_back(node.name());
    return "no node '" + name + "'" + questionAbout(name, known);
}

bool findAddress(const Scene& scene, const String& path, Append append, Address& address,
                 String& error) {
    const auto steps = PathParser::parsePath(path);
    if (steps.empty()) {
        error = "'" + path +
                "' is no path: expected something like node.input, node.array[3] or "
                "node.object.member.";
        return false;
    }
    address.node = scene.findNode(steps[0].text);
    if (!address.node.get()) {
        error = noSuchNode(scene, steps[0].text);
        return false;
    }
    if (steps.size() > 1 && steps[1].index != -1) {
        error = "'" + address.node.name() + "' is a node, which has inputs and no elements.";
        return false;
    }
    for (u64 i = 1; i < steps.size(); ++i)
        if (!followStep(steps[i], append, address, error)) return false;
    return true;
}

Place placeAt(const Snapshot& scene, const String& path) {
    const auto steps = PathParser::parsePath(path);
    if (steps.empty()) return {};
    Place place{scene[steps[0].text], {}};
    for (u64 i = 1; i < steps.size(); ++i) {
        const bool isElement = steps[i].index != -1;
        if (i == 1)
            place.input = isElement ? SnapshotInput() : place.node[steps[i].text];
        else if (isElement != (place.input.type() == kelvo_sdk::AttrType::Array))
            return {};
        else
            place.input = isElement ? place.input.input(static_cast<u64>(steps[i].index))
                                    : place.input[steps[i].text];
        if (!place.input) return {};
    }
    return place;
}

} // namespace qv::kelvo_tool
