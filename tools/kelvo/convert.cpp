#include "tools/kelvo/commands.h"

#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/node_conversion.h"

namespace qv::kelvo_tool {

namespace {

struct ConvertOptions {
    String file;
    String node;
    String type;
    /// Empty: the file itself.
    String outFile;
};

Status runConvert(const ConvertOptions& options, Terminal& out) {
    const auto scene = kelvo_sdk::Scene::create();
    Document document;
    if (!document.openToEdit(options.file) || !document.read(scene)) return Status::Fault;
    const kelvo_sdk::Node node = scene.findNode(options.node);
    if (!node.get()) {
        complain(displayed(options.file) + ": " + noSuchNode(scene, options.node));
        return Status::Usage;
    }
    if (node->type() == options.type) {
        complain(displayed(options.file) + ": '" + node.name() + "' is of type '" + options.type +
                 "' already.");
        return Status::Usage;
    }
    const Libraries* libraries = librariesInUse();
    if (!libraries || !libraries->findType(options.type)) return Status::Usage;
    kelvo_sdk::interfaces::ConversionLosses losses;
    String error;
    if (!convertNode(scene, node, options.type, losses, error)) {
        // Why a type cannot be is told by the library.
        if (!error.isEmpty()) complain(displayed(options.file) + ": " + error);
        return error.isEmpty() ? Status::Usage : Status::Fault;
    }
    if (!document.save(scene, options.outFile, out)) return Status::Fault;
    for (const kelvo_sdk::interfaces::ConversionLoss& loss : losses)
        warn(displayed(options.file) + ": '" + loss.path + "' " + loss.reason);
    return Status::Ok;
}

} // namespace

void addConvert(CommandLine& line) {
    auto [command, options] =
        line.add("convert", "Give a node another type, and tell what does not fit", &runConvert);
    command.addFile(options.file);
    command.add("NODE", options.node, "Name of the node").required();
    command.add("TYPE", options.type, "Node type").required();
    command.add("-o", options.outFile, "Where to write, FILE itself by default");
}

} // namespace qv::kelvo_tool
