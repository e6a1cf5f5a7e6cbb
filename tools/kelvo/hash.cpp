#include "tools/kelvo/commands.h"

#include "kelvo/base/hash.h"
#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/scene_hash.h"

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Snapshot;
using kelvo_sdk::SnapshotNode;

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

void printHashes(const ds::Vector<SnapshotNode>& nodes, Terminal& out) {
    u64 hash = 0;
    for (u64 i = 0; i < nodes.size() && !out.isClosed(); ++i) {
        const u64 own = nodes[i].hash();
        hash = hashMix(hash, own);
        out.write(Tone::Kind, hashText(own).view()).write("  ");
        out.write(Tone::Name, nodes[i].name().view()).endLine();
    }
    out.write("hash: ").write(Tone::Kind, hashText(hash).view()).endLine();
}

// Hashes live nodes: types to skip and modifiers change what counts.
Status hashLive(Document& document, const HashOptions& options, const StringVector& skip,
                Terminal& out) {
    const auto scene = kelvo_sdk::Scene::create();
    if (!document.makeText() || !document.read(scene)) return Status::Fault;
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

Status hashOne(Document& document, const HashOptions& options, const Snapshot& scene,
               Terminal& out) {
    const SnapshotNode node = scene[*options.node];
    const String unknown = node ? String() : noSuchNode(scene, *options.node);
    const u64 hash = node.hash();
    if (!document.isSound()) return Status::Fault;
    if (!node) {
        complain(displayed(options.file) + ": " + unknown);
        return Status::Usage;
    }
    if (hasModifiers(node)) return hashLive(document, options, {}, out);
    out.write(Tone::Kind, hashText(hash).view()).endLine();
    return Status::Ok;
}

Status hashAll(Document& document, const HashOptions& options, const Snapshot& scene,
               Terminal& out) {
    const ds::Vector<SnapshotNode> nodes = scene.nodes();
    if (!document.isSound()) return Status::Fault;
    if (hasModifiers(scene)) return hashLive(document, options, {}, out);
    printHashes(nodes, out);
    return document.isSound() ? Status::Ok : Status::Fault;
}

Status runHash(const HashOptions& options, Terminal& out) {
    Document document;
    const Snapshot scene = document.look(options.file);
    if (!scene) return Status::Fault;
    StringVector skip;
    if (!addDerivedTypes(options.skippedTypes, skip)) return Status::Fault;
    if (options.ignoreNames) skip.push_back("__node_name__");
    if (!skip.empty()) return hashLive(document, options, skip, out);
    return options.node ? hashOne(document, options, scene, out)
                        : hashAll(document, options, scene, out);
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
