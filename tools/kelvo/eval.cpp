#include "tools/kelvo/commands.h"

#include "base/near_name.h"
#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/evaluation.h"
#include "tools/kelvo/files.h"

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Node;
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
    NearName near(name.view());
    for (const String& output : outputs)
        near.offer(output.view());
    if (!near.best().empty()) return start + near.question();
    return start + whatItHas(outputs);
}

kelvo_sdk::interfaces::IOutput* findOutput(const Scene& scene, const String& path, String& error) {
    const u64 dot = path.find('.');
    const String name = path.substr(0, dot);
    const Node node = scene.findNode(name);
    if (!node.get()) {
        error = noSuchNode(scene, name);
        return nullptr;
    }
    if (dot == String::npos) {
        error = "'" + node.name() + "' is a node" + whatItHas(outputsOf(node));
        return nullptr;
    }
    const String output = path.substr(dot + 1);
    if (node->hasOutput(output, kelvo_sdk::AttrType::Null)) return node->output(output);
    error = node->hasInput(output, kelvo_sdk::AttrType::Null)
                ? "'" + node.name() + "." + output + "' is an input of '" + node.name() + "'" +
                      whatItHas(outputsOf(node))
                : noSuchOutput(node, output);
    return nullptr;
}

Status runEval(const EvalOptions& options, Terminal& out) {
    const auto scene = Scene::create();
    if (!loadSceneWithTypes(options.file, scene)) return Status::Fault;
    String error;
    auto* output = findOutput(scene, options.path, error);
    if (!output) {
        complain(displayed(options.file) + ": " + error);
        return Status::Usage;
    }
    const Evaluation result = evaluate(*output);
    if (result.hasValue) {
        out.write(result.text.view()).endLine();
        return Status::Ok;
    }
    complain(displayed(options.file) + ": '" + output->path() + "' has no value: " + result.text +
             ".");
    return Status::Fault;
}

} // namespace

void addEval(CommandLine& line) {
    auto [command, options] = line.add("eval", "Evaluate an output and print its value", &runEval);
    command.addFile(options.file);
    command.add("NODE.OUTPUT", options.path, "The output").required();
}

} // namespace qv::kelvo_tool
