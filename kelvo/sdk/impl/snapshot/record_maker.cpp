#include "kelvo/sdk/impl/snapshot/record_maker.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/snapshot/type_records.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

AttrType knownKind(AttrType type) noexcept {
    return static_cast<u32>(type) < attrTypeCount ? type : AttrType::Null;
}

bool isContainer(const Input& input) noexcept {
    return input.type() == AttrType::Array || input.type() == AttrType::Object;
}

bool isLike(const Input& input, const ShapeInput& shape) noexcept {
    return knownKind(input.type()) == shape.type && input.details() == shape.details.get() &&
           knownKind(input.elementType()) == shape.elementType &&
           input.declaredType() == shape.dataType && input.isSilent() == shape.isSilent &&
           input.hasReadOnlyMark() == shape.isReadOnly && input.isOmitted() == shape.isOmitted;
}

bool areLike(const ds::Vector<interfaces::IInput*>& inputs, const SnapshotShape& shape) noexcept {
    if (inputs.size() != shape.inputs.size()) return false;
    for (u64 i = 0; i < inputs.size(); ++i) {
        const auto& input = implOf(*inputs[i]);
        const ShapeInput& known = shape.inputs[i];
        if (!input.ownName().equals(known.name) || !isLike(input, known)) return false;
    }
    return true;
}

bool areLike(const ds::Vector<interfaces::IOutput*>& outputs, const SnapshotShape& shape) noexcept {
    if (outputs.size() != shape.outputs.size()) return false;
    for (u64 i = 0; i < outputs.size(); ++i) {
        const auto& output = implOf(*outputs[i]);
        const ShapeOutput& known = shape.outputs[i];
        if (output.type() != known.type || output.dataType() != known.dataType ||
            output.isOmitted() != known.isOmitted || !output.ownName().equals(known.name))
            return false;
    }
    return true;
}

bool isMadeLike(const Node& node, const SnapshotShape& shape) {
    const StringVector& bases = node.ownBases();
    if (node.isAbstract() != shape.isAbstract || node.isInternal() != shape.isInternal ||
        bases.size() != shape.bases.size())
        return false;
    for (u64 i = 0; i < bases.size(); ++i)
        if (!bases[i].equals(shape.bases[i])) return false;
    return areLike(node.inputs(), shape) && areLike(node.outputs(), shape);
}

// Tells whether all elements are like the first one.
bool areAlike(const ds::Vector<interfaces::IInput*>& elements, const ShapeInput& first) noexcept {
    for (const interfaces::IInput* element : elements)
        if (!isLike(implOf(*element), first)) return false;
    return true;
}

} // namespace

void RecordMaker::dropLists() noexcept {
    for (const RecordList& list : m_lists)
        list.shape->decRef();
    m_lists.clear();
}

// Lists nest as deep as inputs, so the lists that still have to be read are kept in `m_inputs`.
NodeRecord* RecordMaker::record(const Node& node, SnapshotVersion born) {
    dropLists();
    m_inputs.clear();
    m_connections.clear();
    m_extras.reset();
    addList(node.inputs(), {.shape = shapeOf(node)});
    for (u32 list = 0; list < m_lists.size(); ++list)
        addParts(list);
    if (m_scene.comments().mayHave(&node)) noteComments(node);
    NodeRecord* const made =
        NodeRecord::make(born, node.number(), node.ownName(), m_lists, m_connections,
                         m_extras ? m_stock.share(std::move(*m_extras)) : RefersTo<SharedExtras>());
    m_lists.clear();
    storeValues(*made);
    return made;
}

// An input without extras has neither parts, a link, a connection nor another value.
NodeRecord* RecordMaker::withValue(const NodeRecord& before, const Input& input,
                                   SnapshotVersion born) const {
    const RecordExtras* const extras = before.extras();
    const bool hasInputExtras = extras && !(extras->inputs.empty() && extras->stashes.empty());
    if (input.parent() || input.ownExtras() || isContainer(input) || hasInputExtras ||
        !before.connections().empty())
        return nullptr;
    const u64 place = input.placeInList();
    const RecordList& inputs = before.list(0);
    if (place >= inputs.count || !isLike(input, inputs.shape->inputs[place])) return nullptr;
    NodeRecord* const made = NodeRecord::copy(before, born);
    std::byte* const value = made->value(inputs, static_cast<u32>(place));
    NodeRecord::clear(input.type(), value);
    storeValue(input.value(), value);
    return made;
}

// Takes over the reference to the shape.
void RecordMaker::addList(const Inputs& inputs, RecordList list) {
    list.count = static_cast<u32>(inputs.size());
    if (!m_lists.empty()) {
        const RecordList& last = m_lists.back();
        list.firstValue = last.firstValue + last.valueBytes();
    }
    try {
        m_inputs.push_back(&inputs);
        m_lists.push_back(list);
    } catch (...) {
        list.shape->decRef();
        throw;
    }
}

// Adds the lists of the arrays and objects in a list, and its connections.
void RecordMaker::addParts(u32 list) {
    const Inputs& inputs = *m_inputs[list];
    for (u32 i = 0; i < inputs.size(); ++i) {
        const auto& input = implOf(*inputs[i]);
        if (isContainer(input))
            addList(input.members(), {.shape = shapeOf(input), .ownerList = list, .ownerInput = i});
        else if (input.sourceOutput())
            noteConnection(input, list, i);
        if (input.ownExtras() && input.stashed()) noteStash(input, list, i);
    }
}

void RecordMaker::noteConnection(const Input& input, u32 list, u32 index) {
    const Output& output = *input.sourceOutput();
    const NodeNumber source = numberOf(output.node());
    if (source == noNumber) return;
    const auto& outputs = implOf(*output.node()).outputs();
    for (u32 i = 0; i < outputs.size(); ++i)
        if (outputs[i] == &output) return m_connections.push_back({list, index, source, i});
}

RecordExtras& RecordMaker::extras() {
    return m_extras ? *m_extras : m_extras.emplace();
}

// A value that hides behind those of modifiers is the input's own.
void RecordMaker::noteStash(const Input& input, u32 list, u32 index) {
    if (input.isModified()) return;
    const Value& kept = *input.stashed();
    const bool isLink = kept.type() == AttrType::Node;
    extras().stashes.push_back({.list = list,
                                .input = index,
                                .value = isLink ? Value(static_cast<INode*>(nullptr)) : kept,
                                .link = isLink ? numberOf(kept.asNode()) : noNumber});
}

void RecordMaker::noteComments(const Node& node) {
    const SceneComments& comments = m_scene.comments();
    if (const Comments* own = comments.find(&node)) extras().comments = *own;
    for (u32 list = 0; list < m_inputs.size(); ++list)
        noteInputComments(list);
    for (u32 i = 0; i < node.outputs().size(); ++i)
        if (const Comments* own = comments.find(node.outputs()[i]))
            extras().outputs.push_back({i, *own});
}

// Names that were not found are only written while the input has no link or connection instead.
void RecordMaker::noteInputComments(u32 list) {
    const Inputs& inputs = *m_inputs[list];
    for (u32 i = 0; i < inputs.size(); ++i) {
        const Comments* const own = m_scene.comments().find(inputs[i]);
        if (!own) continue;
        const auto& input = implOf(*inputs[i]);
        Comments kept = *own;
        const Value& value = input.ownValue();
        if (value.type() != AttrType::Node || value.asNode()) kept.lostLink = {};
        if (input.sourceOutput()) kept.lostSource = {};
        if (!kept.isEmpty()) extras().inputs.push_back({list, i, std::move(kept)});
    }
}

// Nodes outside of the scene have no number here, like no node at all.
NodeNumber RecordMaker::numberOf(const interfaces::INode* node) const noexcept {
    return node && m_scene.contains(*node) ? implOf(node)->number() : noNumber;
}

void RecordMaker::storeValues(NodeRecord& record) const {
    u32 next = 1;
    for (u32 list = 0; list < m_inputs.size(); ++list) {
        const RecordList& known = record.list(list);
        for (u32 i = 0; i < known.count; ++i) {
            const auto& input = implOf(*(*m_inputs[list])[i]);
            std::byte* const place = record.value(known, i);
            if (isContainer(input)) {
                const u64 parts = next++;
                std::memcpy(place, &parts, sizeof parts);
            } else {
                storeInput(input, place);
            }
        }
    }
}

// An input without extras has no other value than the one that it shows.
void RecordMaker::storeInput(const Input& input, std::byte* place) const {
    if (m_values)
        storeValue(m_values->valueOf(input), place);
    else
        storeValue(input.ownExtras() ? input.ownValue() : input.value(), place);
}

void RecordMaker::storeValue(const Value& value, std::byte* place) const {
    if (value.type() != AttrType::Node) return NodeRecord::store(value, place);
    const u64 number = numberOf(value.asNode());
    std::memcpy(place, &number, sizeof number);
}

ShapeInput RecordMaker::shapeOfOne(const Input& input, String name) const {
    return {.name = std::move(name),
            .type = knownKind(input.type()),
            .elementType = knownKind(input.elementType()),
            .dataType = input.declaredType(),
            .isSilent = input.isSilent(),
            .isReadOnly = input.hasReadOnlyMark(),
            .isOmitted = input.isOmitted(),
            .details = RefersTo<AttrDetails>(const_cast<AttrDetails*>(input.details())),
            .namedNodes = namedNodes(input.details())};
}

// The nodes may end before the snapshot, so it keeps their numbers.
std::vector<NodeNumber> RecordMaker::namedNodes(const AttrDetails* details) const {
    std::vector<NodeNumber> numbers;
    if (!details) return numbers;
    bool isAny = false;
    const auto add = [&](const Value& value) {
        const bool isNode = value.type() == AttrType::Node;
        isAny = isAny || isNode;
        numbers.push_back(isNode ? numberOf(value.asNode()) : noNumber);
    };
    for (const Value* value : {&details->defaultValue, &details->minimum, &details->maximum})
        add(*value);
    for (const Value& choice : details->choices)
        add(choice);
    if (!isAny) numbers.clear();
    return numbers;
}

const SnapshotShape* RecordMaker::shapeOf(const Node& node) {
    const String& type = node.ownType();
    ShapeStock& stock = m_known[type.hash()];
    const SnapshotShape* const known = stock.get();
    if (known && known->type.equals(type) && isMadeLike(node, *known)) return stock.take();
    SnapshotShape shape;
    shape.type = type;
    shape.bases = node.ownBases();
    shape.isAbstract = node.isAbstract();
    shape.isInternal = node.isInternal();
    if (m_types) shape.definition = m_types->find(type, m_scene, m_shapes);
    shape.inputs.reserve(node.inputs().size());
    for (const interfaces::IInput* input : node.inputs())
        shape.inputs.push_back(shapeOfOne(implOf(*input), implOf(*input).ownName()));
    for (const interfaces::IOutput* output : node.outputs())
        shape.outputs.push_back({implOf(*output).ownName(), implOf(*output).type(),
                                 implOf(*output).dataType(), implOf(*output).isOmitted()});
    stock.reset(m_shapes.share(std::move(shape)));
    return stock.take();
}

// Elements that are alike share one line of the shape.
const SnapshotShape* RecordMaker::shapeOf(const Input& parent) {
    const Inputs& parts = parent.members();
    const bool isArray = parent.type() == AttrType::Array;
    if (isArray && !parts.empty() && m_lastArray.get() &&
        areAlike(parts, m_lastArray.get()->inputs[0]))
        return m_lastArray.take();
    SnapshotShape shape;
    if (isArray && !parts.empty()) {
        shape.inputs.push_back(shapeOfOne(implOf(*parts[0]), String()));
        shape.isUniform = areAlike(parts, shape.inputs[0]);
        if (!shape.isUniform) shape.inputs.clear();
    }
    for (u64 i = 0; !shape.isUniform && i < parts.size(); ++i) {
        const auto& part = implOf(*parts[i]);
        shape.inputs.push_back(shapeOfOne(part, isArray ? String() : part.ownName()));
    }
    const SnapshotShape* const shared = m_shapes.share(std::move(shape));
    if (!shared->isUniform) return shared;
    m_lastArray.reset(shared);
    return m_lastArray.take();
}

} // namespace qv::kelvo_sdk::impl
