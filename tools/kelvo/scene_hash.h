#pragma once

#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"

#include <vector>

namespace qv::kelvo_tool {

/// Returns the hash of all nodes in their order. Nodes of the types in `skip` contribute nothing;
/// the others contribute their INode::hash.
[[nodiscard]] u64 sceneHash(const kelvo_sdk::Scene& scene, const StringVector& skip);

/// Returns the same for the nodes of a snapshot, of which none is skipped.
[[nodiscard]] u64 sceneHash(const kelvo_sdk::Snapshot& scene);
/// Makes that hash of the hashes of the nodes, which come in their order.
class SceneHash {
public:
    void add(const std::vector<u64>& hashes) noexcept;
    [[nodiscard]] u64 value() const noexcept { return m_value; }

private:
    u64 m_value = 0;
};

/// Tell whether the hash of live nodes may differ from that of the snapshot, because modifiers
/// change their values.
[[nodiscard]] bool hasModifiers(const kelvo_sdk::SnapshotNode& node);
[[nodiscard]] bool hasModifiers(const kelvo_sdk::Snapshot& scene);

/// Returns the hash as 16 hexadecimal digits.
[[nodiscard]] String hashText(u64 hash);

} // namespace qv::kelvo_tool
