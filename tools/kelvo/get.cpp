#include "tools/kelvo/commands.h"

#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/value_summary.h"

namespace qv::kelvo_tool {

namespace {

struct GetOptions {
    String file;
    String path;
};

Status runGet(const GetOptions& options, Terminal& out) {
    Document document;
    if (!document.open(options.file)) return Status::Fault;
    auto scene = kelvo_sdk::Scene::create();
    if (!document.read(scene)) return Status::Fault;
    Address address;
    String error;
    bool isFound = findAddress(scene, options.path, Append::Refused, address, error);
    if (!isFound) {
        // What the text leaves out has a value all the same.
        scene = kelvo_sdk::Scene::create();
        if (!document.readWithTypes(scene)) return Status::Fault;
        address = {};
        isFound = findAddress(scene, options.path, Append::Refused, address, error);
    }
    if (!isFound) {
        complain(displayed(options.file) + ": " + error);
        return Status::Usage;
    }
    if (address.input.get())
        out.write(wholeValue(*address.input.get()).view()).endLine();
    else
        out.write(address.node->serialize(false, false).view());
    return Status::Ok;
}

} // namespace

void addGet(CommandLine& line) {
    auto [command, options] =
        line.add("get", "Print the value at a path, or a node as text", &runGet);
    command.addFile(options.file);
    command.add("PATH", options.path, "As node, node.input or node.array[3].member").required();
}

} // namespace qv::kelvo_tool
