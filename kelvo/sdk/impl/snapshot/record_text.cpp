#include "kelvo/sdk/impl/snapshot/record_text.h"

#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/scene_writer_inputs.h"
#include "kelvo/sdk/impl/scene_text/scene_writer_nodes.h"

namespace qv::kelvo_sdk::impl {

template class TextWriter<RecordText>;

namespace {

bool isContainer(AttrType type) noexcept {
    return type == AttrType::Array || type == AttrType::Object;
}

} // namespace

// ---- Views -----------------------------------------------------------------------------

RecordText::Node RecordText::definitionOf(Node node) const noexcept {
    const SnapshotShape& shape = node.record->shape();
    const bool isKnown = !m_reader || m_reader->findType(shape.type);
    return {{}, isKnown ? shape.definition : nullptr};
}

const Comments* RecordText::commentsOf(Node node) noexcept {
    const RecordExtras* const extras = node.record->extras();
    return extras ? &extras->comments : nullptr;
}

const Comments* RecordText::commentsOf(Input input) noexcept {
    const RecordExtras* const extras = input.record->extras();
    return extras ? extras->commentsOfInput(input.list, input.index) : nullptr;
}

const Comments* RecordText::commentsOf(Output output) noexcept {
    const RecordExtras* const extras = output.record->extras();
    return extras ? extras->commentsOfOutput(output.index) : nullptr;
}

RecordText::Inputs RecordText::partsOf(Input input) noexcept {
    if (!isContainer(input.type())) return {};
    return {input.record, static_cast<u32>(NodeRecord::at<u64>(input.place()))};
}

RecordText::Input RecordText::parentOf(Input input) noexcept {
    if (input.list == 0) return {};
    const RecordList& list = input.record->list(input.list);
    return {{}, input.record, list.ownerList, list.ownerInput};
}

// ---- Values ----------------------------------------------------------------------------

// Arrays and objects have no value of their own.
bool RecordText::hasSameValue(Input input, Input definition) noexcept {
    return isContainer(input.type()) ||
           NodeRecord::areEqual(input.type(), input.place(), definition.place());
}

const Value* RecordText::stashOf(Input input) noexcept {
    const RecordExtras* const extras = input.record->extras();
    const auto* const stash = extras ? extras->stashOf(input.list, input.index) : nullptr;
    return stash ? &stash->value : nullptr;
}

String RecordText::stashLinkOf(Input input) const {
    return nameOf(input.record->extras()->stashOf(input.list, input.index)->link);
}

String RecordText::nameOf(NodeNumber number) const {
    const NodeRecord* const record = m_tables->record(number);
    return record ? record->name() : String();
}

TextOutput RecordText::sourceOf(Input input) {
    const RecordConnection& found = *input.record->connectionOf(input.list, input.index);
    const NodeRecord* const source = m_tables->record(found.source);
    const ShapeOutput* const output = source ? source->shape().output(found.output) : nullptr;
    if (!output) return {};
    return {source->name(), output->name, ordinalOf(source->shape(), found.output)};
}

u32 RecordText::ordinalOf(const SnapshotShape& shape, u32 output) {
    if (shape.outputs.size() == 1) return 1;
    std::vector<u32>& ordinals = m_ordinals[&shape];
    if (ordinals.empty()) {
        std::unordered_map<String, u32> met;
        for (const ShapeOutput& next : shape.outputs)
            ordinals.push_back(++met[next.name]);
    }
    return ordinals[output];
}

// ---- The text as a whole ---------------------------------------------------------------

const Comments& RecordText::file() const noexcept {
    static const Comments none;
    return m_tables->file ? m_tables->file->comments : none;
}

RecordText::Node RecordText::firstNode() const noexcept {
    if (m_tables->nodeCount() == 0) return {};
    return {{}, m_tables->record(m_tables->numberAt(0))};
}

// Finds a node that was replaced by its name.
UnreadNodes<RecordText::Node> RecordText::unreadNodes() const {
    UnreadNodes<Node> found;
    const std::vector<UnreadLines>& unread = file().unread;
    for (u64 i = 0; i < unread.size(); ++i) {
        const NodeRecord* behind = m_tables->record(m_tables->file->before[i]);
        if (!behind) behind = m_tables->find(unread[i].before);
        const bool isNamed = behind && (behind->number() == m_tables->file->before[i] ||
                                        behind->name().equals(unread[i].before));
        found.add({{}, isNamed ? behind : nullptr}, unread[i]);
    }
    return found;
}

void writeText(const SnapshotTables& tables, StringIO& out, u32 threads, const Scene* reader) {
    TextWriter<RecordText> writer(RecordText(tables, reader), out);
    writer.useThreads(threads);
    writer.writeAll();
}

void writeText(const SnapshotTables& tables, const NodeRecord& node, StringIO& out) {
    TextWriter<RecordText> writer(RecordText(tables), out);
    writer.writeNode({{}, &node});
}

} // namespace qv::kelvo_sdk::impl
