#include "kelvo/sdk/impl/validate/snapshot_source.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/snapshot/node_hash.h"
#include "kelvo/sdk/impl/value/value_text.h"

namespace qv::kelvo_sdk::impl {

namespace {

bool isContainer(AttrType type) noexcept {
    return type == AttrType::Array || type == AttrType::Object;
}

NodeNumber numberAt(const std::byte* place) noexcept {
    return static_cast<NodeNumber>(NodeRecord::at<u64>(place));
}

} // namespace

SnapshotSource::SnapshotSource(const SnapshotPicture& picture, const Scene& types)
    : RecordText(picture.tables()), m_picture(picture), m_types(types) {
    forEachNode([this](Node node) { noteUses(*node.record); });
}

// ---- Nodes -----------------------------------------------------------------------------

void SnapshotSource::noteUses(const NodeRecord& reader) {
    const auto note = [this](NodeNumber number) {
        if (number == noNumber) return;
        if (number >= m_isUsed.size()) m_isUsed.resize(2 * u64{number} + 1);
        m_isUsed[number] = true;
    };
    for (const RecordConnection& connection : reader.connections())
        note(connection.source);
    for (const RecordList& list : reader.lists())
        for (u32 i = 0; list.shape->hasLinks && i < list.count; ++i)
            if (list.shape->input(i).type == AttrType::Node) note(numberAt(reader.value(list, i)));
}

SnapshotSource::Input SnapshotSource::find(Node node, const String& name) noexcept {
    const u32 found = node.record->shape().find(name);
    return found == SnapshotShape::notFound ? Input() : Input{{}, node.record, 0, found};
}

SnapshotSource::Input SnapshotSource::find(Input object, const String& name) noexcept {
    const auto list = static_cast<u32>(NodeRecord::at<u64>(object.place()));
    const u32 found = object.record->list(list).shape->find(name);
    return found == SnapshotShape::notFound ? Input() : Input{{}, object.record, list, found};
}

SnapshotSource::Output SnapshotSource::findOutput(Node node, const String& name) noexcept {
    const Outputs outputs = outputsOf(node);
    for (u64 i = 0; i < outputs.size(); ++i)
        if (outputs[i].ownName().equalsNoCase(name)) return outputs[i];
    return {};
}

bool SnapshotSource::isUsed(Node node) const noexcept {
    const NodeNumber number = node.record->number();
    return number < m_isUsed.size() && m_isUsed[number];
}

bool SnapshotSource::modifies(Node node) const {
    const impl::Node* const definition = m_types.findType(node.type());
    return definition && definition->hasNodeModify();
}

// ---- Inputs ----------------------------------------------------------------------------

String SnapshotSource::pathOf(Input input) const {
    return input.record->name() + "." + handleOn(input).path();
}

SnapshotSource::Node SnapshotSource::linkedBy(Input input) const noexcept {
    if (input.type() != AttrType::Node) return {};
    return {{}, m_picture.tables().record(numberAt(input.place()))};
}

u64 SnapshotSource::hashOf(Input input) const {
    return liveHashOf(*input.record, m_picture.tables(), input.list, input.index);
}

// Definitions link to no node.
bool SnapshotSource::hasOtherValue(Input input, const impl::Input& definition) const {
    if (isContainer(input.type())) return false;
    if (input.type() == AttrType::Node) return bool(linkedBy(input));
    const Value value = input.ownValue();
    return !value.isNull() && !(value == definition.value());
}

String SnapshotSource::shownValue(Input input) const {
    if (input.type() == AttrType::Node) return linkedBy(input).name();
    StringIO text;
    writeValue(input.ownValue(), text);
    return text.take();
}

// The nodes that the description names may no longer exist, in contrast to their records.
const AttrDetails& SnapshotSource::detailsOf(Input input) {
    const ShapeInput& shape = input.shape();
    if (shape.namedNodes.empty()) return *shape.details;
    m_standIns.clear();
    m_named = RefersTo<AttrDetails>::adopt(new AttrDetails(*shape.details));
    for (u64 place = 0; place < shape.namedNodes.size(); ++place) {
        const NodeRecord* const named = m_picture.tables().record(shape.namedNodes[place]);
        if (!named) continue;
        m_standIns.push_back(
            RefersTo<impl::Node>::adopt(new impl::Node(nullptr, String(), named->name())));
        const_cast<Value&>(*describedValue(*m_named, place)) = Value(m_standIns.back().get());
    }
    return *m_named;
}

} // namespace qv::kelvo_sdk::impl
