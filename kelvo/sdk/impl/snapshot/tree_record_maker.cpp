#include "kelvo/sdk/impl/snapshot/tree_record_maker.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/scene_text/text_source.h"

#include <algorithm>
#include <tuple>

namespace qv::kelvo_sdk::impl {

namespace {

const String noName;

bool isContainer(AttrType type) noexcept {
    return type == AttrType::Array || type == AttrType::Object;
}

bool isNode(const Value& value) noexcept {
    return value.type() == AttrType::Node;
}

// The position of a link among the values of a description; see `describedValue`.
u64 placeInDescription(const TreeLink& link) noexcept {
    switch (link.slot) {
    case TreeSlot::Default:
        return 0;
    case TreeSlot::Minimum:
        return 1;
    case TreeSlot::Maximum:
        return 2;
    default:
        return 3 + u64{link.choice};
    }
}

} // namespace

TreeRecordMaker::~TreeRecordMaker() {
    dropLists();
    for (const auto& [type, shape] : m_known)
        if (shape) shape->decRef();
}

void TreeRecordMaker::dropLists() noexcept {
    for (const RecordList& list : m_lists)
        if (list.shape) list.shape->decRef();
    m_lists.clear();
}

NewRecord TreeRecordMaker::record(u32 node, SnapshotVersion born) {
    const TreeNode& from = m_tree.nodes[node];
    dropLists();
    m_items.clear();
    m_firstItems.clear();
    m_places.clear();
    m_firstInput = from.firstInput;
    takeReferences(node);
    addList(&from, nullptr, {});
    for (u32 list = 0; list < m_lists.size(); ++list)
        for (u32 i = 0; i < m_lists[list].count; ++i)
            if (isContainer(itemsOf(list)[i].data.type)) {
                const Item owner = itemsOf(list)[i];
                addList(nullptr, &owner, {.ownerList = list, .ownerInput = i});
            }
    auto extras = m_extras.share(extrasOf(from));
    NewRecord made(NodeRecord::make(born, node, m_tree.names.text(from.name), m_lists,
                                    connections(), std::move(extras)));
    m_lists.clear();
    storeValues(*made);
    storeLinks(*made);
    noteConnections(*made);
    return made;
}

// References are in order of their nodes.
void TreeRecordMaker::takeReferences(u32 node) {
    const auto find = [node](const auto& all) {
        const auto nodeOf = [](const auto& reference) { return reference.node; };
        const auto first = std::ranges::lower_bound(all, node, {}, nodeOf);
        const auto last = std::ranges::upper_bound(first, all.end(), node, {}, nodeOf);
        return std::span(first, last);
    };
    m_links = find(m_tree.links);
    m_connections = find(m_tree.connections);
}

// ---- Lists -----------------------------------------------------------------------------

// Adds the inputs of a node, or else the parts of an array or object.
void TreeRecordMaker::addList(const TreeNode* node, const Item* owner, RecordList list) {
    m_firstItems.push_back(static_cast<u32>(m_items.size()));
    if (node) {
        const bool isFilled = node->definition && !node->isOwn;
        addItems(node->firstInput, isFilled ? node->definition->inputs() : noInputs, {});
    } else if (owner->omitted) {
        for (const interfaces::IInput* part : owner->omitted->members())
            addOmitted(implOf(*part));
    } else {
        const TreeInput& from = m_tree.inputs[owner->tree];
        const bool isFilled =
            from.definition && !from.isOwn && from.definition->type() == AttrType::Object;
        addItems(from.firstMember, isFilled ? from.definition->members() : noInputs,
                 {.isArray = owner->data.type == AttrType::Array,
                  .isSilent = owner->data.silent,
                  .declaredType = owner->data.dataType});
    }
    list.count = static_cast<u32>(m_items.size()) - m_firstItems.back();
    if (!m_lists.empty()) list.firstValue = m_lists.back().firstValue + m_lists.back().valueBytes();
    m_lists.push_back(list);
    const auto items = itemsOf(static_cast<u32>(m_lists.size()) - 1);
    m_lists.back().shape =
        node ? shapeOf(*node, items) : shapeOfParts(owner->data.type == AttrType::Array, items);
}

// Adds the inputs of a list of the text, and the omitted ones of its definition at their places
// among them.
void TreeRecordMaker::addItems(u32 first, const Known& known, const TreeParent& parent) {
    std::vector<bool> isInText(known.size());
    for (u32 i = known.empty() ? noTreeIndex : first; i != noTreeIndex;
         i = m_tree.inputs[i].nextSibling)
        if (const u32 place = m_tree.inputs[i].definitionIndex; place != noTreeIndex)
            isInText[place] = true;
    u64 next = 0;
    const auto addUpTo = [&](u64 end) {
        for (; next < end; ++next)
            if (!isInText[next]) addOmitted(implOf(*known[next]));
    };
    const auto list = static_cast<u32>(m_lists.size());
    for (u32 i = first; i != noTreeIndex; i = m_tree.inputs[i].nextSibling) {
        TreeInput& from = m_tree.inputs[i];
        if (!known.empty() && from.definitionIndex != noTreeIndex) addUpTo(from.definitionIndex);
        if (m_places.size() <= i - m_firstInput) m_places.resize(i - m_firstInput + 1);
        m_places[i - m_firstInput] = {list, static_cast<u32>(m_items.size()) - m_firstItems.back()};
        const String& name = parent.isArray ? noName : m_tree.names.text(from.name);
        m_items.push_back({.name = &name, .data = takeData(m_tree, from, parent), .tree = i});
        from.unchecked = uncheckedMark(m_items.back().data, m_tree.extrasOf(from.extras));
    }
    addUpTo(known.size());
}

void TreeRecordMaker::addOmitted(const Input& input) {
    m_items.push_back({.name = &input.ownName(), .data = input.description(), .omitted = &input});
}

// ---- Shapes ----------------------------------------------------------------------------

bool TreeRecordMaker::isLike(const Item& item, const ShapeInput& shape) const noexcept {
    const AttrData& data = item.data;
    return data.type == shape.type && data.elementType == shape.elementType &&
           data.dataType == shape.dataType && data.silent == shape.isSilent &&
           data.readOnly == shape.isReadOnly && data.details.get() == shape.details.get() &&
           (item.omitted != nullptr) == shape.isOmitted && shape.namedNodes.empty();
}

ShapeInput TreeRecordMaker::shapeOfOne(const Item& item, bool isElement) const {
    return {.name = isElement ? String() : *item.name,
            .type = item.data.type,
            .elementType = item.data.elementType,
            .dataType = item.data.dataType,
            .isSilent = item.data.silent,
            .isReadOnly = item.data.readOnly,
            .isOmitted = item.omitted != nullptr,
            .details = item.data.details,
            .namedNodes = namedNodes(item)};
}

std::vector<NodeNumber> TreeRecordMaker::namedNodes(const Item& item) const {
    const AttrDetails* const details = item.data.details.get();
    if (!details) return {};
    const u64 count = 3 + details->choices.size();
    bool isAny = false;
    for (u64 i = 0; i < count; ++i)
        isAny = isAny || isNode(*describedValue(*details, i));
    if (!isAny) return {};
    std::vector<NodeNumber> numbers(count, noNumber);
    for (const TreeLink& link : m_links)
        if (link.input == item.tree && link.slot != TreeSlot::Value && link.slot != TreeSlot::Stash)
            numbers[placeInDescription(link)] = link.target;
    return numbers;
}

SnapshotShape TreeRecordMaker::headOf(const TreeNode& node) const {
    const Node* const definition = node.definition;
    SnapshotShape shape;
    shape.type = definition ? definition->type() : m_tree.names.text(node.type);
    if (node.baseCount == 0 && !node.isOwn && definition) shape.bases = definition->bases();
    for (u32 i = 0; i < node.baseCount; ++i)
        shape.bases.push_back(m_tree.names.text(m_tree.bases[node.firstBase + i]));
    shape.isAbstract = node.isAbstract;
    shape.isInternal = node.isInternal || (definition && !node.isOwn && definition->isInternal());
    for (u32 i = 0; i < node.outputCount; ++i) {
        const TreeOutput& output = m_tree.outputs[node.firstOutput + i];
        shape.outputs.push_back({m_tree.names.text(output.name), output.type,
                                 output.type == AttrType::Buffer ? output.dataType : DataType::Null,
                                 output.isOmitted});
    }
    return shape;
}

// The last shape of the type is usually the right one.
const SnapshotShape* TreeRecordMaker::shapeOf(const TreeNode& node, std::span<const Item> items) {
    const SnapshotShape*& known = m_known[node.type];
    SnapshotShape shape = headOf(node);
    const bool isKnown =
        known && known->isSameType(shape) && known->inputs.size() == items.size() &&
        std::ranges::equal(items, known->inputs, [this](const Item& item, const ShapeInput& input) {
            return isLike(item, input) && item.name->equals(input.name);
        });
    if (!isKnown) {
        shape.definition = m_types.find(shape.type, m_scene, m_shapes);
        shape.inputs.reserve(items.size());
        for (const Item& item : items)
            shape.inputs.push_back(shapeOfOne(item, false));
        const SnapshotShape* const shared = m_shapes.share(std::move(shape));
        if (known) known->decRef();
        known = shared;
    }
    known->incRef();
    return known;
}

// Elements that are alike share one line of the shape.
const SnapshotShape* TreeRecordMaker::shapeOfParts(bool isArray, std::span<const Item> items) {
    SnapshotShape shape;
    if (isArray && !items.empty()) {
        const ShapeInput first = shapeOfOne(items[0], true);
        shape.isUniform =
            std::ranges::all_of(items, [&](const Item& item) { return isLike(item, first); });
        if (shape.isUniform) shape.inputs.push_back(first);
    }
    for (u64 i = 0; !shape.isUniform && i < items.size(); ++i)
        shape.inputs.push_back(shapeOfOne(items[i], isArray));
    return m_shapes.share(std::move(shape));
}

// ---- Values ----------------------------------------------------------------------------

void TreeRecordMaker::storeValues(NodeRecord& record) const {
    u64 next = 1;
    for (u32 list = 0; list < record.lists().size(); ++list) {
        const RecordList& known = record.list(list);
        for (u32 i = 0; i < known.count; ++i) {
            const AttrData& data = m_items[m_firstItems[list] + i].data;
            std::byte* const place = record.value(known, i);
            if (isContainer(data.type)) {
                std::memcpy(place, &next, sizeof next);
                ++next;
            } else if (data.type == AttrType::Node) {
                constexpr u64 none = noNumber;
                std::memcpy(place, &none, sizeof none);
            } else if (data.value.type() == data.type) {
                NodeRecord::store(data.value, place);
            } else if (const Value start = data.startValue(); !start.isNull()) {
                NodeRecord::store(start, place);
            } else {
                NodeRecord::store(Value::zero(data.type), place);
            }
        }
    }
}

PendingLink TreeRecordMaker::placeOf(u32 input, u32 node, NodeRecord& record) const noexcept {
    const auto [list, index] = m_places[input - m_firstInput];
    return {&record, list, index, node};
}

// A default is also the value of an input without one.
void TreeRecordMaker::storeLinks(NodeRecord& record) {
    for (const TreeLink& link : m_links) {
        const PendingLink found = placeOf(link.input, link.name, record);
        const RecordList& list = record.list(found.list);
        const TreeInput& input = m_tree.inputs[link.input];
        const bool startsHere =
            link.slot == TreeSlot::Default && input.type == AttrType::Node && input.value.isNull();
        if (link.slot != TreeSlot::Value && !startsHere) continue;
        const u64 number = link.target;
        std::memcpy(record.value(list, found.input), &number, sizeof number);
        if (link.target == noTreeIndex) pendingLinks.push_back(found);
    }
}

// Connections are in order of lists and inputs, which is not that of the text.
std::vector<RecordConnection> TreeRecordMaker::connections() const {
    std::vector<RecordConnection> made;
    made.reserve(m_connections.size());
    for (const TreeConnection& from : m_connections) {
        const auto [list, input] = m_places[from.input - m_firstInput];
        const bool isKnown = from.target != noTreeIndex;
        made.push_back({list, input, from.target,
                        isKnown ? from.output - m_tree.nodes[from.target].firstOutput : 0});
    }
    std::ranges::sort(made, {}, [](const RecordConnection& connection) {
        return std::tuple(connection.list, connection.input);
    });
    return made;
}

void TreeRecordMaker::noteConnections(NodeRecord& record) {
    for (const TreeConnection& from : m_connections) {
        if (from.target != noTreeIndex) continue;
        pendingConnections.push_back({placeOf(from.input, from.sourceNode, record),
                                      from.sourceOutput, from.ordinal,
                                      m_tree.inputs[from.input].boundType});
    }
}

// ---- Extras ----------------------------------------------------------------------------

RecordExtras TreeRecordMaker::extrasOf(const TreeNode& node) {
    RecordExtras extras;
    extras.comments = cleaned(textComments(m_tree, node, Comments::Unchecked::Open));
    for (u32 list = 0; list < m_lists.size(); ++list)
        for (u32 i = 0; i < m_lists[list].count; ++i)
            addExtras(list, i, extras);
    for (u32 i = 0; i < node.outputCount; ++i) {
        const auto* const from = m_tree.extrasOf(m_tree.outputs[node.firstOutput + i].extras);
        if (from && !from->comments.isEmpty())
            extras.outputs.push_back({i, cleaned(from->comments)});
    }
    return extras;
}

void TreeRecordMaker::addExtras(u32 list, u32 input, RecordExtras& extras) {
    const Item& item = itemsOf(list)[input];
    if (item.omitted) {
        if (const Value* kept = item.omitted->stashed())
            extras.stashes.push_back({.list = list, .input = input, .value = *kept});
        return;
    }
    const TreeInput& from = m_tree.inputs[item.tree];
    const TreeExtras* const known = m_tree.extrasOf(from.extras);
    if (!known && !from.isOwn && from.unchecked == Comments::Unchecked::Open) return;
    Comments comments = textComments(m_tree, from, from.unchecked);
    if (!comments.isEmpty()) extras.inputs.push_back({list, input, cleaned(comments)});
    if (!known || !known->stashed) return;
    NodeNumber link = noNumber;
    for (const TreeLink& other : m_links)
        if (other.input == item.tree && other.slot == TreeSlot::Stash) link = other.target;
    extras.stashes.push_back({list, input, known->stash, link});
}

} // namespace qv::kelvo_sdk::impl
