#include "tools/kelvo/commands.h"

#include "kelvo/base/spelling_suggestion.h"
#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/evaluation.h"
#include "tools/kelvo/files.h"

#include <string_view>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Input;
using kelvo_sdk::Node;
using kelvo_sdk::Output;
using kelvo_sdk::Scene;

struct EvalOptions {
    String file;
    String path;
};

// "a, b and c"
String listOf(const StringVector& names) {
    String text;
    for (u64 i = 0; i < names.size(); ++i)
        text = text + (i == 0 ? "" : i + 1 == names.size() ? " and " : ", ") + names[i];
    return text;
}

StringVector outputsOf(const Node& node) {
    StringVector names;
    for (u64 i = 0; i < node->outputCount(); ++i)
        names.push_back(node->output(i)->name());
    return names;
}

// The end of a sentence that names the node last.
String whatItHas(const StringVector& outputs) {
    if (outputs.empty()) return ", which has no outputs.";
    const char* start =
        outputs.size() == 1 ? ", which has the output " : ", which has the outputs ";
    return start + listOf(outputs) + ".";
}

String noSuchOutput(const Node& node, const String& name) {
    const String start = "no output '" + name + "' in '" + node.name() + "'";
    const StringVector outputs = outputsOf(node);
    StringVector names = outputs;
    for (u64 i = 0; i < node->inputCount(); ++i)
        names.push_back(node->input(i)->name());
    SpellingSuggestion near(name.view());
    for (const String& known : names)
        near.offer(known.view());
    if (!near.best().empty()) return start + near.question();
    return start + whatItHas(outputs);
}

/// The target of a path: one of the two.
struct Target {
    Output output;
    Input input;
};

// An output that has the name of an input too is meant before it.
bool findTarget(const Scene& scene, const String& path, Target& target, String& error) {
    const u64 dot = path.find('.');
    const Node node = scene.findNode(path.substr(0, dot));
    if (!node.get()) {
        error = noSuchNode(scene, path.substr(0, dot));
        return false;
    }
    if (dot == String::npos) {
        error = "'" + node.name() + "' is a node" + whatItHas(outputsOf(node));
        return false;
    }
    const String rest = path.substr(dot + 1);
    if (node.hasOutput(rest)) {
        target.output = node.output(rest);
        return true;
    }
    Address address;
    const bool isInput = findAddress(scene, path, Append::Refused, address, error);
    target.input = address.input;
    const bool isStep = rest.view().find_first_of(".[") == std::string_view::npos;
    if (!isInput && isStep) error = noSuchOutput(node, rest);
    return isInput;
}

Status runEval(const EvalOptions& options, Terminal& out) {
    const auto scene = Scene::create();
    if (!loadSceneWithTypes(options.file, scene)) return Status::Fault;
    String error;
    Target target;
    if (!findTarget(scene, options.path, target, error)) {
        complain(displayed(options.file) + ": " + error);
        return Status::Usage;
    }
    const Evaluation result = target.output ? evaluate(target.output) : evaluateWhole(target.input);
    if (result.hasValue) {
        out.writeData(result.text.view()).endLine();
        return Status::Ok;
    }
    const String what = target.output ? target.output.path() : target.input.path();
    complain(displayed(options.file) + ": '" + what + "' has no value: " + result.text + ".");
    return Status::Fault;
}

} // namespace

void addEval(CommandLine& line) {
    auto [command, options] =
        line.add("eval", "Evaluate an output or input and print its value", &runEval);
    command.addNote(
        "An input has the value that its connection gives, or that modifiers made of it; "
        "so have\nthe elements and members in it.");
    command.addFile(options.file);
    command.add("PATH", options.path, "As node.output, node.input or node.array[3].member")
        .required();
}

} // namespace qv::kelvo_tool
