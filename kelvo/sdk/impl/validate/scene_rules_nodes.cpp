// ---- Nodes -----------------------------------------------------------------------------
// Lists of modifiers, meshes, files, and whether a node is of any use.

#include "kelvo/sdk/impl/validate/scene_rules.h"

#include "kelvo/base/path.h"
#include "kelvo/sdk/impl/graph/file_ending.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/validate/mesh_check.h"
#include "kelvo/sdk/impl/value/value_text.h"

#include <string>

namespace qv::kelvo_sdk::impl {

namespace {

struct MeshNames {
    const String mesh{"mesh"};
    const String positions{"positions"};
    const String normals{"normals"};
    const String uvs{"uvs"};
    const String indices{"indices"};
};

const MeshNames& meshNames() {
    static const MeshNames* const names = new MeshNames;
    return *names;
}

String counted(u64 count, const String& what) {
    return String(std::string_view(std::to_string(count))) + " " + what;
}

template<typename Source>
bool holdsPixels(const Source& source, typename Source::Node node) {
    const auto inputs = source.inputsOf(node);
    for (u64 i = 0; i < inputs.size(); ++i)
        if (source.bufferOf(inputs[i]).count != 0) return true;
    return false;
}

} // namespace

template<typename Source>
void SceneRules<Source>::checkModifiers(Node node) {
    const Input list = nodeList(m_source.find(node, knownNames().modifiers));
    if (!list) return;
    const Inputs elements = m_source.partsOf(list);
    for (u64 i = 0; i < elements.size(); ++i) {
        const Input element = elements[i];
        if (m_source.hasSource(element)) continue;
        const Node modifier = m_source.linkedBy(element);
        const String start = "node '" + m_source.nameOf(node) + "': ";
        if (!modifier)
            add(Rule::EmptyModifier, node, m_source.pathOf(element),
                start + "element " + indexText(i) + " of '" + list->ownName() +
                    "' links to no node.",
                m_source.removal("remove element " + indexText(i), element));
        else if (!m_source.types().libraries().empty() && !m_source.modifies(modifier))
            add(Rule::IdleModifier, node, m_source.pathOf(element),
                start + "its modifier '" + m_source.nameOf(modifier) + "' is of type '" +
                    modifier->type() + "', which modifies nothing.");
    }
}

template<typename Source>
interfaces::BufferView SceneRules<Source>::bufferOf(Node node, const String& name) const {
    const Input found = m_source.find(node, name);
    return found ? m_source.bufferOf(found) : interfaces::BufferView();
}

template<typename Source>
void SceneRules<Source>::checkMesh(Node node) {
    const MeshNames& names = meshNames();
    const MeshBuffers mesh{bufferOf(node, names.positions), bufferOf(node, names.normals),
                           bufferOf(node, names.uvs), bufferOf(node, names.indices)};
    const Input positions = m_source.find(node, names.positions);
    const bool hasPositions = positions && positions->type() == AttrType::Buffer;
    if (!agree(mesh)) {
        String counts = hasPositions ? counted(mesh.positions.count, names.positions) : String();
        const auto addCount = [&](u64 count, const String& name) {
            if (count != 0) counts = counts + (counts.isEmpty() ? "" : ", ") + counted(count, name);
        };
        addCount(mesh.normals.count, names.normals);
        addCount(mesh.uvs.count, names.uvs);
        addCount(mesh.indices.count, names.indices);
        add(Rule::MeshMismatch, node, m_source.nameOf(node),
            "node '" + m_source.nameOf(node) + "': its mesh buffers do not agree (" + counts +
                "; normals and uvs need one for each position, indices stay below their number).");
    }
    const bool isEmpty =
        hasPositions && mesh.positions.count == 0 && !m_source.hasSource(positions);
    if (isEmpty && m_source.hasType(node, names.mesh))
        add(Rule::EmptyMesh, node, m_source.pathOf(positions),
            "node '" + m_source.nameOf(node) + "': its mesh has no positions.");
}

// A texture may hold its pixels itself; then it needs no file.
template<typename Source>
void SceneRules<Source>::checkPath(Node node) {
    const KnownNames& known = knownNames();
    for (const String* name : {&known.dir, &known.file, &known.ext}) {
        const Input part = m_source.find(node, *name);
        if (!part || part->type() != AttrType::String) return;
    }
    const Input file = m_source.find(node, known.file);
    if (m_source.hasSource(file) || holdsPixels(m_source, node)) return;
    if (!m_source.textOf(file).isEmpty()) return checkFile(node, file);
    add(Rule::EmptyPath, node, m_source.pathOf(file),
        "node '" + m_source.nameOf(node) + "' stands for a file but names none.");
}

// A path that is connected to other nodes is only known by evaluation, which a check avoids.
template<typename Source>
void SceneRules<Source>::checkFile(Node node, Input file) {
    const Input dir = m_source.find(node, knownNames().dir);
    const Input ext = m_source.find(node, knownNames().ext);
    if (!m_options.fileExists || m_source.hasSource(dir) || m_source.hasSource(ext)) return;
    const String name = m_source.textOf(file) + withDot(m_source.textOf(ext));
    const String path = Path::join<String, String>(m_source.textOf(dir), name);
    if (m_options.fileExists(path)) return;
    StringIO shown;
    writeQuoted(path.view(), shown);
    add(Rule::MissingFile, node, m_source.pathOf(file),
        "node '" + m_source.nameOf(node) +
            "' stands for a file that is not there: " + shown.take() + ".");
}

template<typename Source>
void SceneRules<Source>::checkUse(Node node) {
    if (m_source.outputsOf(node).size() == 0 || m_source.isUsed(node)) return;
    add(Rule::UnusedNode, node, m_source.nameOf(node),
        "node '" + m_source.nameOf(node) + "': nothing reads its outputs or links to it.");
}

template<typename Source>
void SceneRules<Source>::checkReferences(Node node) {
    m_source.forEachLost(node, [&](Input input, bool isConnection, const String& target, Fix fix) {
        const String path = m_source.pathOf(input);
        const String message =
            isConnection ? "' is connected to '" + target + "', whose node is in no scene."
                         : "' links to node '" + target + "', which is in no scene.";
        add(Rule::LostReference, node, path, "'" + path + message, std::move(fix));
    });
}

template void SceneRules<LiveSource>::checkModifiers(LiveSource::Node);
template void SceneRules<LiveSource>::checkMesh(LiveSource::Node);
template void SceneRules<LiveSource>::checkPath(LiveSource::Node);
template void SceneRules<LiveSource>::checkUse(LiveSource::Node);
template void SceneRules<LiveSource>::checkReferences(LiveSource::Node);
template void SceneRules<SnapshotSource>::checkModifiers(SnapshotSource::Node);
template void SceneRules<SnapshotSource>::checkMesh(SnapshotSource::Node);
template void SceneRules<SnapshotSource>::checkPath(SnapshotSource::Node);
template void SceneRules<SnapshotSource>::checkUse(SnapshotSource::Node);
template void SceneRules<SnapshotSource>::checkReferences(SnapshotSource::Node);

} // namespace qv::kelvo_sdk::impl
