#pragma once

#include "kelvo/sdk/impl/scene_text/scene_tree.h"
#include "kelvo/sdk/impl/scene_text/tree_values.h"
#include "kelvo/sdk/impl/snapshot/node_record.h"
#include "kelvo/sdk/impl/snapshot/type_records.h"

#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Input;

/// A link or connection whose target is not known while the record is made. It names nodes and
/// outputs by number in the tree of its text.
struct PendingLink {
    NodeRecord* record = nullptr;
    u32 list = 0;
    u32 input = 0;
    u32 node = 0;
};
struct PendingConnection {
    PendingLink input;
    u32 output = 0;
    u32 ordinal = 1;
    /// The element type to which the input is bound.
    DataType boundType = DataType::Null;
};

/// Makes records of the nodes of a text, as `RecordMaker` makes them of the nodes that
/// `SceneBuilder` makes of the text. The numbers of nodes are their positions in the tree. One
/// maker is for one thread.
class TreeRecordMaker {
public:
    /// Borrows everything; moves values out of the tree. `scene` has the libraries.
    TreeRecordMaker(SceneTree& tree, const Scene& scene, ShapeTable& shapes, TypeRecords& types)
        : m_tree(tree), m_scene(scene), m_shapes(shapes), m_types(types) {}
    ~TreeRecordMaker();
    TreeRecordMaker(const TreeRecordMaker&) = delete;
    TreeRecordMaker& operator=(const TreeRecordMaker&) = delete;

    /// Makes the record of a node; call once for each.
    [[nodiscard]] NewRecord record(u32 node, SnapshotVersion born);

    /// The links and connections of all records so far whose targets the tree does not say.
    std::vector<PendingLink> pendingLinks;
    std::vector<PendingConnection> pendingConnections;

private:
    // An input of the record: one of the text, or a copy of one that the text omits.
    struct Item {
        const String* name;
        AttrData data;
        u32 tree = noTreeIndex;
        const Input* omitted = nullptr;
    };
    using Known = ds::Vector<interfaces::IInput*>;

    void takeReferences(u32 node);
    void addList(const TreeNode* node, const Item* owner, RecordList list);
    void addItems(u32 first, const Known& known, const TreeParent& parent);
    void addOmitted(const Input& input);
    [[nodiscard]] std::span<const Item> itemsOf(u32 list) const noexcept {
        return {m_items.data() + m_firstItems[list], m_lists[list].count};
    }
    [[nodiscard]] const SnapshotShape* shapeOf(const TreeNode& node, std::span<const Item> items);
    [[nodiscard]] const SnapshotShape* shapeOfParts(bool isArray, std::span<const Item> items);
    [[nodiscard]] SnapshotShape headOf(const TreeNode& node) const;
    [[nodiscard]] ShapeInput shapeOfOne(const Item& item, bool isElement) const;
    [[nodiscard]] std::vector<NodeNumber> namedNodes(const Item& item) const;
    [[nodiscard]] bool isLike(const Item& item, const ShapeInput& shape) const noexcept;
    [[nodiscard]] RecordExtras extrasOf(const TreeNode& node);
    void addExtras(u32 list, u32 input, RecordExtras& extras);
    [[nodiscard]] std::vector<RecordConnection> connections() const;
    void storeValues(NodeRecord& record) const;
    void storeLinks(NodeRecord& record);
    void noteConnections(NodeRecord& record);
    [[nodiscard]] PendingLink placeOf(u32 input, u32 node, NodeRecord& record) const noexcept;
    void dropLists() noexcept;

    SceneTree& m_tree;
    const Scene& m_scene;
    ShapeTable& m_shapes;
    TypeRecords& m_types;
    // The last shape of each type, by its number among the names; owns references. Null when memory
    // was out while it was made.
    std::unordered_map<u32, const SnapshotShape*> m_known;
    // Of the record that is being made. The items of a list follow each other.
    std::vector<Item> m_items;
    std::vector<RecordList> m_lists;
    std::vector<u32> m_firstItems;
    // Indexed by input of the tree, from the first of the node: list and position.
    std::vector<std::pair<u32, u32>> m_places;
    u32 m_firstInput = 0;
    std::span<const TreeLink> m_links;
    std::span<const TreeConnection> m_connections;
    ExtrasStock m_extras;
};

} // namespace qv::kelvo_sdk::impl
