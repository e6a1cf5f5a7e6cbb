#pragma once

#include "kelvo/sdk/snapshot_delta.h"
#include "render/impl/render_scene.h"
#include "render/impl/texture_store.h"

#include <unordered_map>

namespace qv::render::impl {

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

private:
    template<class T>
    struct Entry {
        std::shared_ptr<const T> made;
        std::vector<Finding> findings;
        /// The nodes that it was made of, besides its own.
        std::vector<kelvo_sdk::NodeNumber> uses;
    };
    template<class T>
    using Entries = std::unordered_map<kelvo_sdk::NodeNumber, Entry<T>>;

    [[nodiscard]] std::shared_ptr<const Mesh> mesh(const kelvo_sdk::SnapshotNode& node,
                                                   FindingList& findings);
    [[nodiscard]] std::shared_ptr<const Material> material(const kelvo_sdk::SnapshotNode& mesh,
                                                           FindingList& findings);
    void addInstance(const kelvo_sdk::SnapshotNode& node, const Transform& toWorld,
                     RenderScene& scene, FindingList& findings);

    std::stop_token m_stop;
    TextureStore m_textures;
    Entries<Mesh> m_meshes;
    Entries<Material> m_materials;
    std::shared_ptr<const Material> m_noMaterial = std::make_shared<const Material>();
};

} // namespace qv::render::impl
