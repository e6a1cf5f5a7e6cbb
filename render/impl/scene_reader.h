#pragma once

#include "kelvo/sdk/snapshot_delta.h"
#include "render/impl/render_scene.h"
#include "render/impl/texture_store.h"

#include <unordered_map>

namespace qv::render::impl {

/// How much of a render scene an update has changed.
enum class SceneUpdate {
    /// Materials, lights and cameras at most.
    Looks,
    /// Instances have other places or meshes.
    Places,
    /// The scene has to be read as a whole; until then it is of no use.
    Impossible,
};

/// Makes render scenes of the snapshots of one scene. Meshes, materials and textures are kept until
/// a delta names their nodes, so that the next render scene shares them.
class SceneReader {
public:
    /// Relative paths of textures start from `folder`.
    explicit SceneReader(String folder) : m_textures(std::move(folder)) {}

    /// A stop throws `Stopped`; another call goes on with what was read.
    [[nodiscard]] RenderScene read(const kelvo_sdk::Snapshot& snapshot,
                                   const std::stop_token& stop = {});
    /// Drops everything that was made of nodes that differ.
    void forget(const kelvo_sdk::SnapshotDelta& delta);
    /// Makes the scene that was made last that of a later snapshot, after `forget` with the same
    /// delta. Visits only nodes that differ and those below them; the scene becomes the same as by
    /// `read`. Gives up when it would have other instances, lights, cameras or findings. After a
    /// stop, which throws `Stopped`, the scene has to be read as a whole.
    [[nodiscard]] SceneUpdate update(RenderScene& scene, const kelvo_sdk::Snapshot& to,
                                     const kelvo_sdk::SnapshotDelta& delta,
                                     const std::stop_token& stop = {});
    /// The places of nodes that the last reading or update visited.
    [[nodiscard]] u64 visitedPlaces() const noexcept { return m_visited; }

private:
    friend class ScenePatch;

    template<class T>
    struct Entry {
        std::shared_ptr<const T> made;
        std::vector<Finding> findings;
        /// The nodes that it was made of, besides its own.
        std::vector<kelvo_sdk::NodeNumber> uses;
    };
    template<class T>
    using Entries = std::unordered_map<kelvo_sdk::NodeNumber, Entry<T>>;

    /// The role of a node at a place of the scene; its number among its like is the index.
    enum class Part { None, Instance, Light, Camera };
    struct Place {
        kelvo_sdk::NodeNumber node = kelvo_sdk::noNodeNumber;
        u32 parent = 0;
        Part part = Part::None;
        u32 index = 0;
    };
    struct Materials {
        std::unordered_map<const Material*, kelvo_sdk::NodeNumber> nodes;
        /// Keeps the addresses from being used again.
        std::vector<std::shared_ptr<const Material>> made;
    };

    void setStop(const std::stop_token& stop);
    [[nodiscard]] std::shared_ptr<const Mesh> mesh(const kelvo_sdk::SnapshotNode& node,
                                                   FindingList& findings);
    [[nodiscard]] std::shared_ptr<const Material> material(const kelvo_sdk::SnapshotNode& node,
                                                           FindingList& findings);
    /// Adds what a node is in the scene.
    Part add(const kelvo_sdk::SnapshotNode& node, const Transform& toWorld, RenderScene& scene,
             FindingList& findings);
    Part addInstance(const kelvo_sdk::SnapshotNode& node, const Transform& toWorld,
                     RenderScene& scene, FindingList& findings);

    std::stop_token m_stop;
    TextureStore m_textures;
    Entries<Mesh> m_meshes;
    Entries<Material> m_materials;
    std::shared_ptr<const Material> m_noMaterial = std::make_shared<const Material>();
    // Materials of the scene that was made last, of nodes that differ now.
    Materials m_forgotten;
    // The places of the scene that was made last, in the order of the walk.
    std::vector<Place> m_places;
    u64 m_visited = 0;
};

/// Finds textures of a material for which a mesh has no coordinates.
void findMissingUvs(const kelvo_sdk::SnapshotNode& node, const Mesh& mesh, const Material& material,
                    FindingList& findings);

} // namespace qv::render::impl
