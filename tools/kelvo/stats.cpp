#include "tools/kelvo/commands.h"

#include "kelvo/base/data_type.h"
#include "kelvo/sdk/attr_type.h"
#include "tools/kelvo/child_tree.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/scene_hash.h"

#include <array>
#include <map>
#include <string>
#include <vector>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::Snapshot;
using kelvo_sdk::SnapshotInput;
using kelvo_sdk::SnapshotNode;
using kelvo_sdk::interfaces::BufferView;

/// The figures of a scene.
struct Counts {
    std::map<std::string, u64> types;
    std::array<u64, kelvo_sdk::attrTypeCount> kinds{};
    u64 inputs = 0;
    u64 outputs = 0;
    u64 elements = 0;
    u64 bytes = 0;
    u64 connections = 0;
    u64 links = 0;
    // Arrays and objects whose inputs are not counted yet: they may be nested to any depth.
    std::vector<SnapshotInput> open;

    explicit Counts(const ds::Vector<SnapshotNode>& nodes) {
        for (const SnapshotNode& node : nodes)
            addNode(node);
    }

    void addNode(const SnapshotNode& node) {
        ++types[std::string(node.type().view())];
        outputs += node.outputCount();
        addInputs(node);
        while (!open.empty()) {
            const SnapshotInput owner = open.back();
            open.pop_back();
            addInputs(owner);
        }
    }

    template<typename Owner>
    void addInputs(const Owner& owner) {
        const u64 count = owner.inputCount();
        for (u64 i = 0; i < count; ++i)
            addInput(owner.input(i));
    }

    void addInput(const SnapshotInput& input) {
        ++inputs;
        if (const auto kind = static_cast<u64>(input.type()); kind < kinds.size()) ++kinds[kind];
        if (input.source()) ++connections;
        if (input.type() == AttrType::Node && input.linked()) ++links;
        if (input.inputCount() != 0) open.push_back(input);
        if (input.type() != AttrType::Buffer) return;
        const BufferView view = input.bufferView();
        elements += view.count;
        bytes += view.count * dataTypeSize(view.type);
    }
};

void printCount(Terminal& out, std::string_view name, u64 count, std::string_view indent = "") {
    std::string label(indent);
    label.append(name).append(": ");
    out.write(label).write(Tone::Value, std::to_string(count)).endLine();
}

void printCounts(const Counts& counts, u64 nodes, u64 levels, Terminal& out) {
    printCount(out, "nodes", nodes);
    for (const auto& [type, count] : counts.types)
        printCount(out, type, count, "    ");
    printCount(out, "inputs", counts.inputs);
    for (u64 i = 0; i < counts.kinds.size(); ++i)
        if (counts.kinds[i] != 0)
            printCount(out, attrTypeName(static_cast<AttrType>(i)), counts.kinds[i], "    ");
    printCount(out, "outputs", counts.outputs);
    printCount(out, "buffers", counts.kinds[static_cast<u64>(AttrType::Buffer)]);
    printCount(out, "elements", counts.elements, "    ");
    printCount(out, "bytes", counts.bytes, "    ");
    printCount(out, "connections", counts.connections);
    printCount(out, "links", counts.links);
    printCount(out, "depth", levels);
}

bool hashLive(Document& document, u64& hash) {
    const auto scene = kelvo_sdk::Scene::create();
    if (!document.makeText() || !document.read(scene)) return false;
    hash = sceneHash(scene, {});
    return true;
}

Status runStats(const String& file, Terminal& out) {
    Document document;
    const Snapshot scene = document.look(file);
    if (!scene) return Status::Fault;
    const ds::Vector<SnapshotNode> nodes = scene.nodes();
    const Counts counts(nodes);
    const u64 levels = ChildTree(nodes).levels();
    u64 hash = sceneHash(nodes);
    if (!document.isSound()) return Status::Fault;
    if (hasModifiers(nodes) && !hashLive(document, hash)) return Status::Fault;
    printCounts(counts, nodes.size(), levels, out);
    out.write("hash: ").write(Tone::Kind, hashText(hash).view()).endLine();
    return Status::Ok;
}

} // namespace

void addStats(CommandLine& line) {
    auto [command, file] = line.add("stats", "Print counts, sizes and the scene's hash", &runStats);
    command.addFile(file);
}

} // namespace qv::kelvo_tool
