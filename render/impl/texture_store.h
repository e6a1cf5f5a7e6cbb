#pragma once

#include "render/impl/texture_reader.h"

#include <unordered_map>
#include <unordered_set>

namespace qv::render::impl {

/// The textures of a scene, each read when it is first asked for.
class TextureStore {
public:
    explicit TextureStore(String folder) : m_folder(std::move(folder)) {}

    /// Returns the texture of a node; null, with findings, when it cannot be read.
    [[nodiscard]] std::shared_ptr<const Texture> find(const kelvo_sdk::SnapshotNode& node,
                                                      FindingList& findings) {
        const auto [entry, isNew] = m_entries.try_emplace(node.number());
        if (isNew) {
            FindingList own;
            if (node.isTypeOf("texture"))
                entry->second.texture = readTexture(node, m_folder, own);
            else
                own.add(node, "The node is linked as a texture, which it is not.");
            entry->second.findings = own.list();
        }
        findings.add(entry->second.findings);
        return entry->second.texture;
    }
    void forget(kelvo_sdk::NodeNumber number) { m_entries.erase(number); }

private:
    struct Entry {
        std::shared_ptr<const Texture> texture;
        std::vector<Finding> findings;
    };

    String m_folder;
    std::unordered_map<kelvo_sdk::NodeNumber, Entry> m_entries;
};

} // namespace qv::render::impl
