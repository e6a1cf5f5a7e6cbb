#include "tools/kelvo/commands.h"

#include "kelvo/base/data_type.h"
#include "kelvo/sdk/attr_type.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/hierarchy.h"
#include "tools/kelvo/node_parts.h"
#include "tools/kelvo/scene_hash.h"

#include <array>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::Snapshot;
using kelvo_sdk::SnapshotInput;
using kelvo_sdk::SnapshotNode;
using kelvo_sdk::interfaces::BufferView;

/// Counts of nodes and of what they have.
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
    // Most nodes have the type of the node before.
    String lastType;
    u64* lastCount = nullptr;

    void add(const Counts& other) {
        for (const auto& [type, count] : other.types)
            types[type] += count;
        for (u64 i = 0; i < kinds.size(); ++i)
            kinds[i] += other.kinds[i];
        for (u64 Counts::*const count : {&Counts::inputs, &Counts::outputs, &Counts::elements,
                                         &Counts::bytes, &Counts::connections, &Counts::links})
            this->*count += other.*count;
    }
    void addNode(const SnapshotNode& node) {
        if (!lastCount || !lastType.equals(node.type())) {
            lastType = node.type();
            lastCount = &types[std::string(lastType.view())];
        }
        ++*lastCount;
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
        const AttrType type = input.type();
        if (const auto kind = static_cast<u64>(type); kind < kinds.size()) ++kinds[kind];
        if (input.isConnected()) ++connections;
        if (input.linkedNumber() != kelvo_sdk::noNodeNumber) ++links;
        if (type == AttrType::Array || type == AttrType::Object) open.push_back(input);
        if (type == AttrType::Buffer) addBuffer(input.bufferView());
    }

    void addBuffer(const BufferView& view) {
        elements += view.count;
        bytes += view.count * dataTypeSize(view.type);
    }
};

// The figures of some nodes.
struct Part {
    Counts counts;
    Hierarchy::Part hierarchy;
    std::vector<u64> hashes;

    void add(const SnapshotNode& node) {
        counts.addNode(node);
        hierarchy.add(node);
        hashes.push_back(node.hash());
    }
};

/// The figures of a scene.
struct Stats {
    Counts counts;
    u64 levels = 0;
    u64 hash = 0;
};

// Passes over the nodes once, because a large scene takes longer to read than to count.
Stats statsOf(const Snapshot& scene) {
    std::vector<Part> parts =
        partsOf<Part>(scene, [](Part& part, const SnapshotNode& node) { part.add(node); });
    Stats stats;
    SceneHash hash;
    std::vector<Hierarchy::Part> hierarchy;
    for (Part& part : parts) {
        stats.counts.add(part.counts);
        hash.add(part.hashes);
        hierarchy.push_back(std::move(part.hierarchy));
    }
    stats.levels = Hierarchy(std::move(hierarchy)).levels();
    stats.hash = hash.value();
    return stats;
}

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

Status runStats(const String& file, Terminal& out) {
    Document document;
    const Snapshot scene = document.openModified(file);
    if (!scene) return Status::Fault;
    const Stats stats = statsOf(scene);
    if (!document.isSound()) return Status::Fault;
    printCounts(stats.counts, scene.nodeCount(), stats.levels, out);
    out.write("hash: ").write(Tone::Kind, hashText(stats.hash).view()).endLine();
    return Status::Ok;
}

} // namespace

void addStats(CommandLine& line) {
    auto [command, file] = line.add("stats", "Print counts, sizes and the scene's hash", &runStats);
    command.addFile(file);
}

} // namespace qv::kelvo_tool
