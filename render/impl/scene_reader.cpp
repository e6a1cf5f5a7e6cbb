#include "render/impl/scene_reader.h"

#include "render/impl/camera_reader.h"
#include "render/impl/hierarchy.h"
#include "render/impl/light_reader.h"
#include "render/impl/material_reader.h"
#include "render/impl/mesh_reader.h"

#include <algorithm>
#include <unordered_set>

namespace qv::render::impl {

namespace {

using kelvo_sdk::NodeNumber;
using kelvo_sdk::Snapshot;
using kelvo_sdk::SnapshotNode;

void addCorners(const Box& box, const Transform& toWorld, Box& bounds) {
    for (u32 i = 0; i < 8; ++i)
        bounds.add(toWorld.point({(i & 1) != 0 ? box.max.x : box.min.x,
                                  (i & 2) != 0 ? box.max.y : box.min.y,
                                  (i & 4) != 0 ? box.max.z : box.min.z}));
}

std::vector<NodeNumber> dependenciesOf(const SnapshotNode& node) {
    std::vector<NodeNumber> numbers;
    for (const SnapshotNode& used : node.dependencies())
        numbers.push_back(used.number());
    return numbers;
}

} // namespace

void findMissingUvs(const SnapshotNode& node, const Mesh& mesh, const Material& material,
                    FindingList& findings) {
    for (const TextureUse* use : textureUses(material))
        if (use->texture && !mesh.hasUvs(use->uvSet))
            findings.add(node, String::format("The mesh has no texture coordinates with the "
                                              "number %u, which its material uses.",
                                              use->uvSet));
}

void SceneReader::setStop(const std::stop_token& stop) {
    m_stop = stop;
    m_textures.setStop(stop);
}

RenderScene SceneReader::read(const Snapshot& snapshot, const std::stop_token& stop) {
    setStop(stop);
    m_places.clear();
    m_forgotten = {};
    RenderScene scene;
    FindingList findings;
    const auto visit = [&](const SnapshotNode& node, const math::Mat4d& matrix, u32 parent) {
        const u64 instances = scene.instances.size(), lights = scene.lights.size();
        const Part part = add(node, Transform(matrix), scene, findings);
        const u64 index = part == Part::Instance ? instances
                          : part == Part::Light  ? lights
                                                 : scene.cameras.size() - 1;
        m_places.push_back({node.number(), parent, part, static_cast<u32>(index)});
    };
    visitPlaces(snapshot, findings, visit, stop);
    scene.addBounds();
    scene.findings = findings.list();
    m_visited = m_places.size();
    return scene;
}

SceneReader::Part SceneReader::add(const SnapshotNode& node, const Transform& toWorld,
                                   RenderScene& scene, FindingList& findings) {
    if (node.isTypeOf("mesh")) return addInstance(node, toWorld, scene, findings);
    if (node.isTypeOf("xform")) return Part::None;
    if (node.isTypeOf("camera")) {
        scene.cameras.push_back({node.name(), readCamera(node, toWorld, findings)});
        return Part::Camera;
    }
    if (node.isTypeOf("sceneSettings")) {
        scene.up = node["upAxis"].get<String>() == "z" ? Vec3{0, 0, 1} : Vec3{0, 1, 0};
        return Part::None;
    }
    const u64 before = scene.lights.size();
    readLights(node, toWorld, m_textures, findings, scene.lights);
    return scene.lights.size() > before ? Part::Light : Part::None;
}

void SceneReader::forget(const kelvo_sdk::SnapshotDelta& delta) {
    std::unordered_set<NodeNumber> numbers;
    for (const SnapshotNode& node : delta.removed())
        numbers.insert(node.number());
    for (const kelvo_sdk::NodeChange& node : delta.changed())
        numbers.insert(node.after.number());
    for (const NodeNumber number : numbers) {
        m_meshes.erase(number);
        m_textures.forget(number);
    }
    std::erase_if(m_materials, [&](const auto& entry) {
        const std::vector<NodeNumber>& uses = entry.second.uses;
        if (!numbers.contains(entry.first) &&
            std::none_of(uses.begin(), uses.end(),
                         [&](NodeNumber used) { return numbers.contains(used); }))
            return false;
        m_forgotten.nodes.emplace(entry.second.made.get(), entry.first);
        m_forgotten.made.push_back(entry.second.made);
        return true;
    });
}

std::shared_ptr<const Mesh> SceneReader::mesh(const SnapshotNode& node, FindingList& findings) {
    auto entry = m_meshes.find(node.number());
    if (entry == m_meshes.end()) {
        FindingList own;
        Entry<Mesh> made{readMesh(node, own, m_stop), own.list(), {}};
        entry = m_meshes.emplace(node.number(), std::move(made)).first;
    }
    findings.add(entry->second.findings);
    return entry->second.made;
}

std::shared_ptr<const Material> SceneReader::material(const SnapshotNode& node,
                                                      FindingList& findings) {
    if (!node) return m_noMaterial;
    auto entry = m_materials.find(node.number());
    if (entry == m_materials.end()) {
        FindingList own;
        const bool isMaterial = node.isTypeOf("material");
        const auto made = isMaterial ? readMaterial(node, m_textures, own) : m_noMaterial;
        if (!isMaterial) own.add(node, "The node is linked as a material, which it is not.");
        Entry<Material> whole{made, own.list(), dependenciesOf(node)};
        entry = m_materials.emplace(node.number(), std::move(whole)).first;
    }
    findings.add(entry->second.findings);
    return entry->second.made;
}

SceneReader::Part SceneReader::addInstance(const SnapshotNode& node, const Transform& toWorld,
                                           RenderScene& scene, FindingList& findings) {
    const auto refuse = [&](const char* reason) {
        findings.add(node, reason);
        return Part::None;
    };
    if (!node["visible"].get<bool>(true)) return Part::None;
    if (!isUsable(toWorld))
        return refuse("The matrices above the mesh leave nothing of it to be seen.");
    const std::shared_ptr<const Mesh> geometry = mesh(node, findings);
    if (!geometry) return Part::None;
    Box box;
    addCorners(geometry->bounds, toWorld, box);
    if (!isFinite(box.min) || !isFinite(box.max))
        return refuse("The mesh is too large or too far away.");
    const std::shared_ptr<const Material> look = material(node["material"].linked(), findings);
    findMissingUvs(node, *geometry, *look, findings);
    scene.instances.push_back({geometry, look, toWorld, node.number(), box});
    return Part::Instance;
}

} // namespace qv::render::impl
