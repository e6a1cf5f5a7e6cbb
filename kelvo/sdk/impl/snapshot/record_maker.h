#pragma once

#include "kelvo/base/vector.h"
#include "kelvo/sdk/impl/snapshot/node_record.h"
#include "kelvo/sdk/interfaces/forward.h"

#include <optional>
#include <unordered_map>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Input;
class Node;
class Scene;
class TypeRecords;

/// Where the values of records come from, other than from the inputs as they are set.
class RecordValues {
public:
    /// Returns a value of the kind of the input. Any thread may call it.
    [[nodiscard]] virtual Value valueOf(const Input& input) const = 0;

protected:
    ~RecordValues() = default;
};

/// Makes records of nodes. One maker is for one thread, and is faster the more nodes it records,
/// because it remembers shapes and keeps its lists.
class RecordMaker {
public:
    /// Borrows everything. `types` are the definitions of nodes; null for the definitions
    /// themselves. Without `values`, values are as set.
    RecordMaker(const Scene& scene, ShapeTable& shapes, TypeRecords* types = nullptr,
                const RecordValues* values = nullptr)
        : m_scene(scene), m_shapes(shapes), m_types(types), m_values(values) {}
    ~RecordMaker() { dropLists(); }
    RecordMaker(const RecordMaker&) = delete;
    RecordMaker& operator=(const RecordMaker&) = delete;

    /// Returns a new record; the caller owns it. `born` is the first snapshot that may have it.
    [[nodiscard]] NodeRecord* record(const Node& node, SnapshotVersion born);
    /// Returns a new record like an earlier one, with the present value of an input, which is much
    /// faster. Null when more of the node may have changed with that value. The caller owns it.
    [[nodiscard]] NodeRecord* withValue(const NodeRecord& before, const Input& input,
                                        SnapshotVersion born) const;

private:
    using Inputs = ds::Vector<interfaces::IInput*>;

    void addList(const Inputs& inputs, RecordList list);
    void addParts(u32 list);
    void noteConnection(const Input& input, u32 list, u32 index);
    void noteStash(const Input& input, u32 list, u32 index);
    void noteComments(const Node& node);
    void noteInputComments(u32 list);
    [[nodiscard]] RecordExtras& extras();
    [[nodiscard]] ShapeInput shapeOfOne(const Input& input, String name) const;
    [[nodiscard]] std::vector<NodeNumber> namedNodes(const AttrDetails* details) const;
    void storeValues(NodeRecord& record) const;
    void storeInput(const Input& input, std::byte* place) const;
    void storeValue(const Value& value, std::byte* place) const;
    [[nodiscard]] NodeNumber numberOf(const interfaces::INode* node) const noexcept;
    [[nodiscard]] const SnapshotShape* shapeOf(const Node& node);
    [[nodiscard]] const SnapshotShape* shapeOf(const Input& parent);
    void dropLists() noexcept;

    const Scene& m_scene;
    ShapeTable& m_shapes;
    TypeRecords* m_types;
    const RecordValues* m_values;
    // The last shape of each type, by the hash of the type's name. Nodes of one type may each have
    // a text of their own for it.
    std::unordered_map<u64, ShapeStock> m_known;
    // The last shape of an array.
    ShapeStock m_lastArray;
    std::vector<RecordList> m_lists;
    std::vector<const Inputs*> m_inputs;
    std::vector<RecordConnection> m_connections;
    // Empty until the node has such a part.
    std::optional<RecordExtras> m_extras;
    ExtrasStock m_stock;
};

} // namespace qv::kelvo_sdk::impl
