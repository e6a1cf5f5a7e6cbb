#pragma once

#include "kelvo/base/vector.h"
#include "kelvo/sdk/impl/snapshot/node_record.h"
#include "kelvo/sdk/interfaces/forward.h"

#include <unordered_map>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Input;
class Node;
class Scene;

/// Makes records of nodes. One maker is for one thread, and is faster the more nodes it records,
/// because it remembers shapes and keeps its lists.
class RecordMaker {
public:
    /// Borrows both.
    RecordMaker(const Scene& scene, ShapeTable& shapes) : m_scene(scene), m_shapes(shapes) {}
    ~RecordMaker();
    RecordMaker(const RecordMaker&) = delete;
    RecordMaker& operator=(const RecordMaker&) = delete;

    /// Returns a new record; the caller owns it. `born` is the first snapshot that may have it.
    [[nodiscard]] NodeRecord* record(const Node& node, SnapshotVersion born);

private:
    using Inputs = ds::Vector<interfaces::IInput*>;

    void addList(const Inputs& inputs, RecordList list);
    void addParts(u32 list);
    void noteConnection(const Input& input, u32 list, u32 index);
    void storeValues(NodeRecord& record) const;
    void storeValue(const Input& input, std::byte* place) const;
    [[nodiscard]] NodeNumber numberOf(const interfaces::INode* node) const noexcept;
    [[nodiscard]] const SnapshotShape* shapeOf(const Node& node);
    [[nodiscard]] const SnapshotShape* shapeOf(const Input& parent);
    void dropLists() noexcept;

    const Scene& m_scene;
    ShapeTable& m_shapes;
    // The last shape of each type; owns references. The key is the text of the type. Null while a
    // shape is being made, and when memory was out then.
    std::unordered_map<const void*, const SnapshotShape*> m_known;
    // The last shape of an array.
    const SnapshotShape* m_lastArray = nullptr;
    std::vector<RecordList> m_lists;
    std::vector<const Inputs*> m_inputs;
    std::vector<RecordConnection> m_connections;
};

} // namespace qv::kelvo_sdk::impl
