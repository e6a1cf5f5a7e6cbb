#include "tools/kelvo/commands.h"

#include "tools/kelvo/libraries.h"

namespace qv::kelvo_tool {

namespace {

struct NewOptions {
    String type;
    String name;
    bool isBrief = false;
};

Status runNew(const NewOptions& options, Terminal& out) {
    const Libraries* libraries = librariesInUse();
    if (!libraries) return Status::Fault;
    if (!libraries->findType(options.type)) return Status::Usage;
    const auto scene = kelvo_sdk::Scene::create();
    libraries->addTo(scene);
    // The library tells of faults in the type or the name.
    const kelvo_sdk::Node node = scene.createNode(options.type, options.name);
    if (!node.get()) return Status::Usage;
    if (options.isBrief)
        out.writeData(("node " + node->type() + " \"" + node.name() + "\" {\n}\n").view());
    else
        out.writeData(node.text().view());
    return Status::Ok;
}

} // namespace

void addNew(CommandLine& line) {
    auto [command, options] = line.add("new", "Print a new node as scene text", &runNew);
    command.add("TYPE", options.type, "Node type").required();
    command.add("NAME", options.name, "Name of the node").required();
    command.add("--brief", options.isBrief, "Without inputs and outputs, all left to the type");
}

} // namespace qv::kelvo_tool
