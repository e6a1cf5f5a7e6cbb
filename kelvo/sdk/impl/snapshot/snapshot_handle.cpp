// The public handles and views of snapshots.

#include "kelvo/sdk/snapshot.h"

#include "kelvo/sdk/impl/graph/file_ending.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/snapshot/node_hash.h"
#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"
#include "kelvo/sdk/impl/value/conversion.h"
#include "kelvo/sdk/path_parser.h"
#include "kelvo/sdk/scene.h"

#include "kelvo/base/path.h"

#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk {

namespace {

const String noText;

// Collects nodes, each once.
class NodeList {
public:
    explicit NodeList(const impl::SnapshotPicture* picture) : m_picture(picture) {}
    void add(NodeNumber number) {
        const impl::NodeRecord* record = m_picture->tables().record(number);
        if (record && m_met.insert(number).second) m_found.push_back({m_picture, record});
    }
    [[nodiscard]] ds::Vector<SnapshotNode> take() && { return std::move(m_found); }

private:
    const impl::SnapshotPicture* m_picture;
    std::unordered_set<NodeNumber> m_met;
    ds::Vector<SnapshotNode> m_found;
};

NodeNumber linkAt(const std::byte* value) noexcept {
    return static_cast<NodeNumber>(impl::NodeRecord::at<u64>(value));
}

} // namespace

Snapshot Scene::snapshot(const SnapshotOptions& options) const {
    if (!get()) return {};
    const auto picture = impl::implOf(get())->takeSnapshot(options);
    return Snapshot(static_cast<RefCounted*>(picture.get()));
}

Snapshot Scene::snapshot() const {
    return snapshot(SnapshotOptions());
}

// ---- Snapshot --------------------------------------------------------------------------

const impl::SnapshotPicture* Snapshot::picture() const noexcept {
    return static_cast<const impl::SnapshotPicture*>(get());
}

u64 Snapshot::nodeCount() const noexcept {
    return get() ? picture()->tables().nodeCount() : 0;
}

SnapshotNode Snapshot::node(u64 index) const noexcept {
    if (index >= nodeCount()) return {};
    return nodeWithNumber(picture()->tables().numberAt(index));
}

SnapshotNode Snapshot::findNode(const NameView& name) const noexcept {
    return get() ? SnapshotNode(picture(), picture()->tables().find(name)) : SnapshotNode();
}

SnapshotNode Snapshot::operator[](const NameView& name) const noexcept {
    return findNode(name);
}

SnapshotNode Snapshot::nodeWithNumber(NodeNumber number) const noexcept {
    return get() ? SnapshotNode(picture(), picture()->tables().record(number)) : SnapshotNode();
}

ds::Vector<SnapshotNode> Snapshot::nodes() const {
    ds::Vector<SnapshotNode> found;
    if (!get()) return found;
    found.reserve(nodeCount());
    if (picture()->tables().stored) picture()->tables().stored->readAll();
    picture()->tables().forEachRecord([&](const impl::NodeRecord& record) {
        found.push_back({picture(), &record});
    });
    return found;
}

u64 Snapshot::hash() const {
    return get() ? picture()->hashes().ofAll() : 0;
}

u64 Snapshot::version() const noexcept {
    return get() ? picture()->version() : 0;
}

Result Snapshot::damage() const {
    const auto* stored = get() ? picture()->tables().stored.get() : nullptr;
    return stored ? stored->damage() : Result();
}

Result Snapshot::verify() const {
    const auto* stored = get() ? picture()->tables().stored.get() : nullptr;
    return stored ? stored->verify() : Result();
}

// ---- Node ------------------------------------------------------------------------------

NodeNumber SnapshotNode::number() const noexcept {
    return m_record ? m_record->number() : noNodeNumber;
}

const String& SnapshotNode::name() const noexcept {
    return m_record ? m_record->name() : noText;
}

const String& SnapshotNode::type() const noexcept {
    return m_record ? m_record->shape().type : noText;
}

String SnapshotNode::displayName() const {
    const impl::KnownNames& known = impl::knownNames();
    const auto text = [this](const String& input) { return String((*this)[input].text()); };
    if (String own = text(known.name).trim(true, true); !own.isEmpty()) return own;
    if (!isTypeOf(known.path)) return name();
    const String dir = text(known.dir), file = text(known.file);
    if (dir.isEmpty() && file.isEmpty()) return name();
    const String whole = file + impl::withDot(text(known.ext));
    const Path path(Path::join<String, String>(dir, whole), false);
    return path.file(false).isEmpty() ? name() : path.file(true);
}

StringVector SnapshotNode::bases() const noexcept {
    return m_record ? m_record->shape().bases : StringVector();
}

bool SnapshotNode::isDefined() const noexcept {
    return m_record && m_record->shape().definition;
}

bool SnapshotNode::isTypeOf(const String& type) const noexcept {
    return m_record && m_record->shape().isTypeOf(type);
}

u64 SnapshotNode::inputCount() const noexcept {
    return m_record ? m_record->list(0).count : 0;
}

SnapshotInput SnapshotNode::input(u64 index) const noexcept {
    if (index >= inputCount()) return {};
    return {m_picture, m_record, 0, static_cast<u32>(index)};
}

SnapshotInput SnapshotNode::operator[](const NameView& name) const noexcept {
    return m_record ? input(m_record->shape().find(name)) : SnapshotInput();
}

SnapshotInput SnapshotNode::inputAt(const String& path) const {
    const ds::Vector<PathParser::Token> steps = PathParser::parsePath(path);
    if (steps.empty()) return {};
    SnapshotInput found = (*this)[steps[0].text];
    for (u64 i = 1; found && i < steps.size(); ++i) {
        const bool isElement = steps[i].index >= 0;
        if (isElement != (found.type() == AttrType::Array)) return {};
        found = isElement ? found.input(static_cast<u64>(steps[i].index)) : found[steps[i].text];
    }
    return found;
}

u64 SnapshotNode::outputCount() const noexcept {
    return m_record ? m_record->shape().outputs.size() : 0;
}

SnapshotOutput SnapshotNode::output(u64 index) const noexcept {
    if (index >= outputCount()) return {};
    return {m_picture, m_record, static_cast<u32>(index)};
}

ds::Vector<SnapshotNode> SnapshotNode::children() const {
    NodeList found(m_picture);
    const impl::KnownNames& known = impl::knownNames();
    if (!isTypeOf(known.xform)) return {};
    const SnapshotInput list = (*this)[known.children];
    for (u64 i = 0; list.elementType() == AttrType::Node && i < list.inputCount(); ++i)
        found.add(list.input(i).linked().number());
    return std::move(found).take();
}

ds::Vector<SnapshotNode> SnapshotNode::dependencies() const {
    NodeList found(m_picture);
    if (!m_record) return {};
    struct Level {
        SnapshotInput owner;
        u64 next = 0;
    };
    std::vector<Level> open(1);
    while (!open.empty()) {
        Level& level = open.back();
        const u64 i = level.next++;
        const SnapshotInput next = level.owner ? level.owner.input(i) : input(i);
        if (!next) {
            open.pop_back();
            continue;
        }
        if (const SnapshotNode linked = next.linked()) found.add(linked.number());
        if (const SnapshotOutput source = next.source()) found.add(source.record->number());
        if (next.inputCount() != 0) open.push_back({next});
    }
    return std::move(found).take();
}

u64 SnapshotNode::hash() const {
    return m_record ? impl::liveHashOf(*m_record, m_picture->tables()) : 0;
}

u64 SnapshotNode::deepHash() const {
    return m_record ? m_picture->hashes().of(number()) : 0;
}

// ---- Output ----------------------------------------------------------------------------

SnapshotNode SnapshotOutput::node() const noexcept {
    return {picture, record};
}

const String& SnapshotOutput::name() const noexcept {
    return record ? record->shape().outputs[index].name : noText;
}

AttrType SnapshotOutput::type() const noexcept {
    return record ? record->shape().outputs[index].type : AttrType::Null;
}

DataType SnapshotOutput::dataType() const noexcept {
    return record ? record->shape().outputs[index].dataType : DataType::Null;
}

String SnapshotOutput::typeName() const {
    const String kind(record ? attrTypeName(type()) : "");
    return type() == AttrType::Buffer ? kind + "<" + dataTypeName(dataType()) + ">" : kind;
}

String SnapshotOutput::path() const {
    return record ? record->name() + "." + name() : String();
}

// ---- Input -----------------------------------------------------------------------------

SnapshotInput::SnapshotInput(const impl::SnapshotPicture* picture, const impl::NodeRecord* record,
                             u32 list, u32 index) noexcept
    : m_picture(picture),
      m_record(record),
      m_value(record->value(record->list(list), index)),
      m_list(list),
      m_index(index),
      m_type(record->list(list).shape->input(index).type) {}

const impl::ShapeInput& SnapshotInput::shape() const noexcept {
    static const impl::ShapeInput none;
    return m_record ? m_record->list(m_list).shape->input(m_index) : none;
}

u32 SnapshotInput::ownList() const noexcept {
    return static_cast<u32>(impl::NodeRecord::at<u64>(m_value));
}

String SnapshotInput::name() const {
    if (!m_record) return {};
    const impl::RecordList& list = m_record->list(m_list);
    if (m_list == 0) return shape().name;
    const AttrType owner = m_record->list(list.ownerList).shape->input(list.ownerInput).type;
    return owner == AttrType::Array ? String::format("%u", m_index) : shape().name;
}

const String& SnapshotInput::ownName() const noexcept {
    return m_record ? shape().name : noText;
}

SnapshotInput SnapshotInput::parent() const noexcept {
    if (!m_record || m_list == 0) return {};
    const impl::RecordList& list = m_record->list(m_list);
    return {m_picture, m_record, list.ownerList, list.ownerInput};
}

String SnapshotInput::path() const {
    if (!m_record) return {};
    std::vector<SnapshotInput> steps{*this};
    while (const SnapshotInput outer = steps.back().parent())
        steps.push_back(outer);
    std::string text(steps.back().name().view());
    for (std::size_t i = steps.size() - 1; i > 0; --i) {
        const bool isElement = steps[i].type() == AttrType::Array;
        const String name = steps[i - 1].name();
        text += isElement ? "[" : ".";
        text += name.view();
        if (isElement) text += "]";
    }
    return String(std::string_view(text));
}

AttrType SnapshotInput::elementType() const noexcept {
    return m_type == AttrType::Array ? shape().elementType : AttrType::Null;
}

DataType SnapshotInput::dataType() const noexcept {
    return m_type == AttrType::Buffer ? shape().dataType : DataType::Null;
}

// A buffer that declares no element type has the one of its elements.
String SnapshotInput::typeName() const {
    const String kind(m_record ? attrTypeName(m_type) : "");
    if (m_type == AttrType::Array) return kind + "<" + attrTypeName(elementType()) + ">";
    if (m_type != AttrType::Buffer) return kind;
    const DataType declared = dataType();
    const DataType known = declared != DataType::Null ? declared : bufferView().type;
    return kind + "<" + dataTypeName(known) + ">";
}

bool SnapshotInput::isReadOnly() const noexcept {
    if (!m_record) return false;
    u32 list = m_list, input = m_index;
    while (!m_record->list(list).shape->input(input).isReadOnly) {
        if (list == 0) return false;
        const impl::RecordList& parts = m_record->list(list);
        list = parts.ownerList;
        input = parts.ownerInput;
    }
    return true;
}

bool SnapshotInput::isSilent() const noexcept {
    return shape().isSilent;
}

// Ignores the parts.
bool SnapshotInput::isDefaultAlone() const {
    const impl::RecordExtras* const extras = m_record->extras();
    if (m_record->connectionOf(m_list, m_index) || (extras && extras->stashOf(m_list, m_index)))
        return false;
    if (isContainer()) return m_type == AttrType::Object || inputCount() == 0;
    const impl::AttrDetails* const details = shape().details.get();
    if (m_type == AttrType::Node) {
        const auto& named = shape().namedNodes;
        return linkAt(m_value) == (named.empty() ? noNodeNumber : named[0]);
    }
    impl::Value value;
    if (!details || !impl::convertValue(details->defaultValue, m_type, value))
        value = impl::Value::zero(m_type);
    return impl::NodeRecord::load(m_type, m_value) == value;
}

bool SnapshotInput::isDefault() const {
    std::vector<SnapshotInput> left{*this};
    while (!left.empty()) {
        const SnapshotInput next = left.back();
        left.pop_back();
        if (!next) continue;
        if (!next.isDefaultAlone()) return false;
        for (u64 i = 0; next.type() == AttrType::Object && i < next.inputCount(); ++i)
            left.push_back(next.input(i));
    }
    return true;
}

std::string_view SnapshotInput::text() const noexcept {
    if (m_type != AttrType::String) return {};
    const auto* text = impl::NodeRecord::at<const StringBuffer*>(m_value);
    return text ? text->view() : std::string_view();
}

interfaces::BufferView SnapshotInput::bufferView() const noexcept {
    if (m_type != AttrType::Buffer) return {};
    const impl::Buffer& buffer = impl::NodeRecord::bufferAt(m_value);
    if (!buffer.isSound()) return {};
    return {buffer.type(), buffer.data(), buffer.count()};
}

SnapshotNode SnapshotInput::linked() const noexcept {
    if (m_type != AttrType::Node) return {};
    return {m_picture, m_picture->tables().record(linkAt(m_value))};
}

NodeNumber SnapshotInput::linkedNumber() const noexcept {
    return m_type == AttrType::Node ? linkAt(m_value) : noNodeNumber;
}

// A link as text is the name of the node.
bool SnapshotInput::readName(String& out) const {
    out = linked().name();
    return true;
}

bool SnapshotInput::isConnected() const noexcept {
    return m_record && m_record->connectionOf(m_list, m_index);
}

SnapshotOutput SnapshotInput::source() const noexcept {
    const auto* found = m_record ? m_record->connectionOf(m_list, m_index) : nullptr;
    const impl::NodeRecord* node = found ? m_picture->tables().record(found->source) : nullptr;
    // A stored snapshot may name an output that its node does not have.
    if (!node || found->output >= node->shape().outputs.size()) return {};
    return {m_picture, node, found->output};
}

u64 SnapshotInput::inputCount() const noexcept {
    return isContainer() ? m_record->list(ownList()).count : 0;
}

SnapshotInput SnapshotInput::input(u64 index) const noexcept {
    if (index >= inputCount()) return {};
    return {m_picture, m_record, ownList(), static_cast<u32>(index)};
}

SnapshotInput SnapshotInput::operator[](const NameView& name) const noexcept {
    if (m_type != AttrType::Object) return {};
    return input(m_record->list(ownList()).shape->find(name));
}

// ---- Conversion ------------------------------------------------------------------------

namespace detail {

namespace {

// Converts a value to a kind whose values are stored as a T.
template<typename T>
bool convertStored(AttrType type, const std::byte* value, AttrType to, T& out) {
    impl::Value converted;
    if (!impl::convertValue(impl::NodeRecord::load(type, value), to, converted)) return false;
    alignas(8) std::byte place[128] = {};
    impl::NodeRecord::store(converted, place);
    std::memcpy(static_cast<void*>(&out), place, sizeof out);
    return true;
}

} // namespace

bool convertTo(AttrType type, const std::byte* value, bool& out) {
    u64 bit = 0;
    if (!convertStored(type, value, AttrType::Bool, bit)) return false;
    out = bit != 0;
    return true;
}
bool convertTo(AttrType type, const std::byte* value, String& out) {
    impl::Value converted;
    if (!impl::convertValue(impl::NodeRecord::load(type, value), AttrType::String, converted))
        return false;
    out = converted.asString();
    return true;
}
bool convertTo(AttrType type, const std::byte* value, i64& out) {
    return convertStored(type, value, AttrType::Int, out);
}
bool convertTo(AttrType type, const std::byte* value, u64& out) {
    return convertStored(type, value, AttrType::UInt, out);
}
bool convertTo(AttrType type, const std::byte* value, double& out) {
    return convertStored(type, value, AttrType::Real, out);
}
bool convertTo(AttrType type, const std::byte* value, math::Vec2d& out) {
    return convertStored(type, value, AttrType::Vec2, out);
}
bool convertTo(AttrType type, const std::byte* value, math::Vec3d& out) {
    return convertStored(type, value, AttrType::Vec3, out);
}
bool convertTo(AttrType type, const std::byte* value, math::Vec4d& out) {
    return convertStored(type, value, AttrType::Vec4, out);
}
bool convertTo(AttrType type, const std::byte* value, math::Pos2d& out) {
    return convertStored(type, value, AttrType::Pos2, out);
}
bool convertTo(AttrType type, const std::byte* value, math::Pos3d& out) {
    return convertStored(type, value, AttrType::Pos3, out);
}
bool convertTo(AttrType type, const std::byte* value, math::Quatd& out) {
    return convertStored(type, value, AttrType::Quat, out);
}
bool convertTo(AttrType type, const std::byte* value, math::Rgbad& out) {
    return convertStored(type, value, AttrType::Rgba, out);
}
bool convertTo(AttrType type, const std::byte* value, math::Mat3d& out) {
    return convertStored(type, value, AttrType::Mat3, out);
}
bool convertTo(AttrType type, const std::byte* value, math::Mat4d& out) {
    return convertStored(type, value, AttrType::Mat4, out);
}

} // namespace detail

} // namespace qv::kelvo_sdk
