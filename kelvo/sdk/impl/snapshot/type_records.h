#pragma once

#include "kelvo/sdk/impl/snapshot/node_record.h"

#include <mutex>
#include <unordered_map>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Node;
class Scene;

/// The definitions of node types as records, for shapes to refer to: text of a node omits what its
/// definition restores. They live as long as this table. Any thread may use it.
class TypeRecords {
public:
    TypeRecords() = default;
    ~TypeRecords();
    TypeRecords(const TypeRecords&) = delete;
    TypeRecords& operator=(const TypeRecords&) = delete;

    /// Returns the record of a type as the libraries of the scene define it, null when none does.
    [[nodiscard]] const NodeRecord* find(const String& type, const Scene& scene,
                                         ShapeTable& shapes);
    /// Keeps a definition that was made elsewhere.
    const NodeRecord* adopt(NewRecord definition);
    /// Call when the libraries have changed: makes records anew from now on.
    void forget() noexcept;

private:
    std::mutex m_mutex;
    std::unordered_map<const Node*, const NodeRecord*> m_known;
    std::vector<NodeRecord*> m_all;
};

} // namespace qv::kelvo_sdk::impl
