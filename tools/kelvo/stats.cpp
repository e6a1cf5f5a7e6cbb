#include "tools/kelvo/commands.h"

#include "kelvo/base/data_type.h"
#include "kelvo/sdk/attr_type.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/hierarchy.h"
#include "tools/kelvo/scene_hash.h"

#include <array>
#include <map>
#include <string>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::interfaces::BufferView;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::IInputContainer;
using kelvo_sdk::interfaces::INode;

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

    explicit Counts(const kelvo_sdk::Scene& scene) {
        for (u64 i = 0; i < scene.nodeCount(); ++i)
            addNode(*scene->node(i));
    }

    void addNode(const INode& node) {
        ++types[std::string(node.type().view())];
        outputs += node.outputCount();
        addInputs(node);
    }

    // Adds all inputs of a container, at any depth.
    void addInputs(const IInputContainer& owner) {
        for (u64 i = 0; i < owner.inputCount(); ++i) {
            addInput(*owner.input(i));
            addInputs(*owner.input(i));
        }
    }

    void addInput(const IInput& input) {
        ++inputs;
        if (const auto kind = static_cast<u64>(input.type()); kind < kinds.size()) ++kinds[kind];
        if (input.source()) ++connections;
        INode* linked = nullptr;
        BufferView view;
        if (input.type() == AttrType::Node && input.readNode(linked, false, nullptr) && linked)
            ++links;
        if (input.type() == AttrType::Buffer && input.readBuffer(view, false, nullptr)) {
            elements += view.count;
            bytes += view.count * dataTypeSize(view.type);
        }
    }
};

void printCount(Terminal& out, std::string_view name, u64 count, std::string_view indent = "") {
    std::string label(indent);
    label.append(name).append(": ");
    out.write(label).write(Tone::Value, std::to_string(count)).endLine();
}

void printCounts(const Counts& counts, u64 nodes, const Hierarchy& hierarchy, Terminal& out) {
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
    printCount(out, "depth", hierarchy.levels());
}

Status runStats(const String& file, Terminal& out) {
    const auto scene = kelvo_sdk::Scene::create();
    if (!loadScene(file, scene)) return Status::Fault;
    const Counts counts(scene);
    printCounts(counts, scene.nodeCount(), Hierarchy(scene), out);
    out.write("hash: ").write(Tone::Kind, hashText(sceneHash(scene, {})).view()).endLine();
    return Status::Ok;
}

} // namespace

void addStats(CommandLine& line) {
    auto [command, file] = line.add("stats", "Print counts, sizes and the scene's hash", &runStats);
    command.addFile(file);
}

} // namespace qv::kelvo_tool
