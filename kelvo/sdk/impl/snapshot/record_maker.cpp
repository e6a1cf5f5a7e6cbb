#include "kelvo/sdk/impl/snapshot/record_maker.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <algorithm>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

AttrType knownKind(AttrType type) noexcept {
    return static_cast<u32>(type) < attrTypeCount ? type : AttrType::Null;
}

// Values in a description may name nodes, which may end before the snapshot.
RefersTo<AttrDetails> withoutNodes(const AttrDetails* details) {
    if (!details) return {};
    const auto isNode = [](const Value& value) { return value.type() == AttrType::Node; };
    const bool names = isNode(details->defaultValue) || isNode(details->minimum) ||
                       isNode(details->maximum) || std::ranges::any_of(details->choices, isNode);
    if (!names) return RefersTo<AttrDetails>(const_cast<AttrDetails*>(details));
    auto copy = RefersTo<AttrDetails>::adopt(new AttrDetails(*details));
    for (Value* value : {&copy->defaultValue, &copy->minimum, &copy->maximum})
        if (isNode(*value)) *value = Value();
    copy->choices = {};
    return copy;
}

bool isContainer(const Input& input) noexcept {
    return input.type() == AttrType::Array || input.type() == AttrType::Object;
}

bool isLike(const Input& input, const ShapeInput& shape) noexcept {
    return knownKind(input.type()) == shape.type && input.details() == shape.details.get() &&
           knownKind(input.elementType()) == shape.elementType &&
           input.declaredType() == shape.dataType && input.isSilent() == shape.isSilent &&
           input.hasReadOnlyMark() == shape.isReadOnly;
}

ShapeInput shapeOfOne(const Input& input, String name) {
    return {.name = std::move(name),
            .type = knownKind(input.type()),
            .elementType = knownKind(input.elementType()),
            .dataType = input.declaredType(),
            .isSilent = input.isSilent(),
            .isReadOnly = input.hasReadOnlyMark(),
            .details = withoutNodes(input.details())};
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
            !output.ownName().equals(known.name))
            return false;
    }
    return true;
}

bool isMadeLike(const Node& node, const SnapshotShape& shape) {
    const StringVector bases = node.bases();
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

RecordMaker::~RecordMaker() {
    dropLists();
    for (const auto& [type, shape] : m_known)
        if (shape) shape->decRef();
    if (m_lastArray) m_lastArray->decRef();
}

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
    addList(node.inputs(), {.shape = shapeOf(node)});
    for (u32 list = 0; list < m_lists.size(); ++list)
        addParts(list);
    NodeRecord* const made =
        NodeRecord::make(born, node.number(), node.ownName(), m_lists, m_connections);
    m_lists.clear();
    storeValues(*made);
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
                storeValue(input, place);
            }
        }
    }
}

void RecordMaker::storeValue(const Input& input, std::byte* place) const {
    const Value& value = input.ownValue();
    if (value.type() != AttrType::Node) return NodeRecord::store(value, place);
    const u64 number = numberOf(value.asNode());
    std::memcpy(place, &number, sizeof number);
}

const SnapshotShape* RecordMaker::shapeOf(const Node& node) {
    const String type = node.type();
    const SnapshotShape*& known = m_known[type.get()];
    if (known && known->type.equals(type) && isMadeLike(node, *known)) {
        known->incRef();
        return known;
    }
    SnapshotShape shape;
    shape.type = type;
    shape.bases = node.bases();
    shape.isAbstract = node.isAbstract();
    shape.isInternal = node.isInternal();
    shape.inputs.reserve(node.inputs().size());
    for (const interfaces::IInput* input : node.inputs())
        shape.inputs.push_back(shapeOfOne(implOf(*input), implOf(*input).ownName()));
    for (const interfaces::IOutput* output : node.outputs())
        shape.outputs.push_back(
            {implOf(*output).ownName(), implOf(*output).type(), implOf(*output).dataType()});
    const SnapshotShape* const shared = m_shapes.share(std::move(shape));
    shared->incRef();
    if (known) known->decRef();
    known = shared;
    return shared;
}

// Elements that are alike share one line of the shape.
const SnapshotShape* RecordMaker::shapeOf(const Input& parent) {
    const Inputs& parts = parent.members();
    const bool isArray = parent.type() == AttrType::Array;
    SnapshotShape shape;
    if (isArray && !parts.empty()) {
        if (m_lastArray && areAlike(parts, m_lastArray->inputs[0])) {
            m_lastArray->incRef();
            return m_lastArray;
        }
        shape.inputs.push_back(shapeOfOne(implOf(*parts[0]), String()));
        shape.isUniform = areAlike(parts, shape.inputs[0]);
        if (!shape.isUniform) shape.inputs.clear();
    }
    for (u64 i = 0; !shape.isUniform && i < parts.size(); ++i) {
        const auto& part = implOf(*parts[i]);
        shape.inputs.push_back(shapeOfOne(part, isArray ? String() : part.ownName()));
    }
    const SnapshotShape* const shared = m_shapes.share(std::move(shape));
    if (shared->isUniform) {
        if (m_lastArray) m_lastArray->decRef();
        shared->incRef();
        m_lastArray = shared;
    }
    return shared;
}

} // namespace qv::kelvo_sdk::impl
