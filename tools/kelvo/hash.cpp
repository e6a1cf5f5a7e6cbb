#include "tools/kelvo/commands.h"

#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/scene_hash.h"

namespace qv::kelvo_tool {

namespace {

struct HashOptions {
    String file;
    /// Without a name: all nodes and the scene.
    std::optional<String> node;
    StringVector skippedTypes;
    bool ignoreNames = false;
};

// Leaves out skipped nodes, so that the lists of two files can be compared.
void printHashes(const kelvo_sdk::Scene& scene, const StringVector& skip, Terminal& out) {
    for (u64 i = 0; i < scene.nodeCount() && !out.isClosed(); ++i) {
        const auto* node = scene->node(i);
        if (node->isTypeOf(skip)) continue;
        out.write(Tone::Kind, hashText(node->hash(skip)).view()).write("  ");
        out.write(Tone::Name, node->name().view()).endLine();
    }
    out.write("hash: ").write(Tone::Kind, hashText(sceneHash(scene, skip)).view()).endLine();
}

Status runHash(const HashOptions& options, Terminal& out) {
    const auto scene = kelvo_sdk::Scene::create();
    if (!loadScene(options.file, scene)) return Status::Fault;
    StringVector skip;
    if (!addDerivedTypes(options.skippedTypes, skip)) return Status::Fault;
    if (options.ignoreNames) skip.push_back("__node_name__");
    if (!options.node) {
        printHashes(scene, skip, out);
        return Status::Ok;
    }
    const kelvo_sdk::Node node = scene.findNode(*options.node);
    if (!node.get()) {
        complain(displayed(options.file) + ": " + noSuchNode(scene, *options.node));
        return Status::Usage;
    }
    out.write(Tone::Kind, hashText(node->hash(skip)).view()).endLine();
    return Status::Ok;
}

} // namespace

void addHash(CommandLine& line) {
    auto [command, options] = line.add("hash", "Print hashes, to compare scenes by", &runHash);
    command.addFile(options.file);
    command.add("NODE", options.node, "Node; by default every node and the scene");
    command.add("--skip", options.skippedTypes, "Types, or bases, of nodes that count as nothing");
    command.add("--ignore-names", options.ignoreNames, "Let types stand for nodes' names");
}

} // namespace qv::kelvo_tool
