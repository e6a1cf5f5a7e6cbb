// ---- Nodes -----------------------------------------------------------------------------
// Lists of modifiers, meshes, files, and whether a node is of any use.

#include "kelvo/sdk/impl/validate/scene_rules.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/validate/mesh_check.h"
#include "kelvo/sdk/impl/value/value_text.h"

#include <algorithm>
#include <string>

namespace qv::kelvo_sdk::impl {

namespace {

struct MeshNames {
    const String mesh{"mesh"};
    const String positions{"positions"};
    const String others[3] = {String("normals"), String("uvs"), String("indices")};
};

const MeshNames& meshNames() {
    static const MeshNames* const names = new MeshNames;
    return *names;
}

const Input* bufferOf(const Node& node, const String& name) {
    const IInput* found = node.lookUpInput(name);
    if (!found || found->type() != AttrType::Buffer) return nullptr;
    return implOf(found);
}

u64 countOf(const Input* buffer) {
    return buffer ? buffer->value().asBuffer().count() : 0;
}

String counted(u64 count, const String& what) {
    return String(std::string_view(std::to_string(count))) + " " + what;
}

bool holdsPixels(const IInput* input) {
    return input->type() == AttrType::Buffer && countOf(implOf(input)) != 0;
}

} // namespace

void SceneRules::checkModifiers(Node& node) {
    const IInput* found = node.lookUpInput(knownNames().modifiers);
    if (!found || found->type() != AttrType::Array) return;
    if (found->elementType() != AttrType::Node) return;
    const auto& list = implOf(*found);
    for (u64 i = 0; i < list.members().size(); ++i) {
        auto& element = implOf(*list.members()[i]);
        if (element.source()) continue;
        const INode* modifier = linkedNode(element);
        const String start = "node '" + node.name() + "': ";
        if (!modifier)
            add(Rule::EmptyModifier, &node, element.path(),
                start + "element " + indexText(i) + " of '" + list.name() + "' links to no node.",
                removalOf(element));
        else if (!modifier->hasNodeModify() && !m_scene.libraries().empty())
            add(Rule::IdleModifier, &node, element.path(),
                start + "its modifier '" + modifier->name() + "' is of type '" + modifier->type() +
                    "', which modifies nothing.");
    }
}

void SceneRules::checkMesh(Node& node) {
    const MeshNames& names = meshNames();
    const Input* positions = bufferOf(node, names.positions);
    if (!meshBuffersAgree(node)) {
        String counts = positions ? counted(countOf(positions), names.positions) : String();
        for (const String& name : names.others) {
            const u64 count = countOf(bufferOf(node, name));
            if (count != 0) counts = counts + (counts.isEmpty() ? "" : ", ") + counted(count, name);
        }
        add(Rule::MeshMismatch, &node, node.name(),
            "node '" + node.name() + "': its mesh buffers do not agree (" + counts +
                "; normals and uvs need one for each position, indices stay below their number).");
    }
    if (positions && countOf(positions) == 0 && !positions->source() && node.hasType(names.mesh))
        add(Rule::EmptyMesh, &node, positions->path(),
            "node '" + node.name() + "': its mesh has no positions.");
}

// A texture may hold its pixels itself; then it needs no file.
void SceneRules::checkPath(Node& node) {
    if (!node.isPath()) return;
    const auto& file = implOf(*node.lookUpInput(knownNames().file));
    if (file.source() || std::ranges::any_of(node.inputs(), holdsPixels)) return;
    if (!file.value().asString().isEmpty()) return checkFile(node, file);
    add(Rule::EmptyPath, &node, file.path(),
        "node '" + node.name() + "' stands for a file but names none.");
}

// A path that is connected to other nodes is only known by evaluation, which a check avoids.
void SceneRules::checkFile(Node& node, const Input& file) {
    const KnownNames& known = knownNames();
    const auto isConnected = [&](const String& name) { return node.lookUpInput(name)->source(); };
    if (!m_options.fileExists || isConnected(known.dir) || isConnected(known.ext)) return;
    const String path = node.asPath();
    if (m_options.fileExists(path)) return;
    StringIO shown;
    writeQuoted(path.view(), shown);
    add(Rule::MissingFile, &node, file.path(),
        "node '" + node.name() + "' stands for a file that is not there: " + shown.take() + ".");
}

void SceneRules::checkUse(Node& node) {
    const auto isRead = [](const IOutput* output) { return output->targetCount() != 0; };
    if (node.outputs().empty() || std::ranges::any_of(node.outputs(), isRead)) return;
    if (m_scene.links().first(&node)) return;
    add(Rule::UnusedNode, &node, node.name(),
        "node '" + node.name() + "': nothing reads its outputs or links to it.");
}

// Saving loses such a reference: no text can hold it.
void SceneRules::checkReferences(Node& node) {
    const auto isLost = [&](const INode* target) { return target && target->scene() != &m_scene; };
    visitInputs(node, [&](Input& input) {
        if (isLost(linkedNode(input))) addLostLink(node, input);
        if (isLost(sourceNode(input))) addLostSource(node, input);
    });
}

void SceneRules::addLostLink(Node& node, Input& input) {
    const String path = input.path();
    add(Rule::LostReference, &node, path,
        "'" + path + "' links to node '" + linkedNode(input)->name() + "', which is in no scene.",
        makeFix("clear the link '" + path + "'",
                [held = RefersTo<Input>(&input)] { return held->setNode(nullptr); }));
}

void SceneRules::addLostSource(Node& node, Input& input) {
    const String path = input.path();
    add(Rule::LostReference, &node, path,
        "'" + path + "' is connected to '" + input.source()->path() +
            "', whose node is in no scene.",
        makeFix("disconnect '" + path + "'",
                [held = RefersTo<Input>(&input)] { return held->disconnect(); }));
}

} // namespace qv::kelvo_sdk::impl
