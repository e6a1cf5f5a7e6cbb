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
        auto entry = m_entries.find(node.number());
        if (entry == m_entries.end()) entry = m_entries.emplace(node.number(), read(node)).first;
        findings.add(entry->second.findings);
        return entry->second.texture;
    }
    /// A stop throws `Stopped` out of `find`, which may be called again.
    void setStop(const std::stop_token& stop) { m_stop = stop; }
    void forget(kelvo_sdk::NodeNumber number) { m_entries.erase(number); }

private:
    struct Entry {
        std::shared_ptr<const Texture> texture;
        std::vector<Finding> findings;
    };

    [[nodiscard]] Entry read(const kelvo_sdk::SnapshotNode& node) const {
        FindingList own;
        Entry made;
        if (node.isTypeOf("texture"))
            made.texture = readTexture(node, m_folder, own, m_stop);
        else
            own.add(node, "The node is linked as a texture, which it is not.");
        made.findings = own.list();
        return made;
    }

    String m_folder;
    std::stop_token m_stop;
    std::unordered_map<kelvo_sdk::NodeNumber, Entry> m_entries;
};

} // namespace qv::render::impl
