#include "kelvo/sdk/impl/snapshot/node_record.h"

#include "kelvo/base/hash.h"

#include <algorithm>
#include <new>

namespace qv::kelvo_sdk::impl {

namespace {

// A place holds a reference to a text or buffer as its owner in other places does.
StringBuffer* textAt(const std::byte* place) noexcept {
    return NodeRecord::at<StringBuffer*>(place);
}

u64 bytesOf(std::span<const RecordList> lists) noexcept {
    u64 bytes = 0;
    for (const RecordList& list : lists)
        bytes += list.valueBytes();
    return bytes;
}

// Makes a place whose content was copied a further owner of its text or buffer.
void retain(AttrType type, std::byte* place) noexcept {
    if (type == AttrType::String) {
        if (StringBuffer* text = textAt(place)) text->incRef();
    } else if (type == AttrType::Buffer) {
        const Buffer copied = NodeRecord::bufferAt(place);
        new (place) Buffer(copied);
    }
}

void release(AttrType type, std::byte* place) noexcept {
    if (type == AttrType::String) {
        if (StringBuffer* text = textAt(place)) text->decRef();
    } else if (type == AttrType::Buffer) {
        NodeRecord::bufferAt(place).~Buffer();
    }
}

} // namespace

NodeRecord* NodeRecord::make(SnapshotVersion first, NodeNumber number, String name,
                             std::span<const RecordList> lists,
                             std::span<const RecordConnection> connections,
                             RefersTo<SharedExtras> extras, RecordSlab* slab) {
    static_assert(sizeof(NodeRecord) % alignof(RecordList) == 0 && sizeof(Buffer) == sizeof(u64));
    const u64 valueBytes = bytesOf(lists);
    const u64 size =
        sizeof(NodeRecord) + lists.size_bytes() + connections.size_bytes() + valueBytes;
    void* const place = slab ? slab->take(size) : ::operator new(size);
    auto* const record =
        new (place) NodeRecord(first, number, std::move(name), slab ? &endInSlab : &endRecord);
    record->m_extras = extras.detach();
    record->m_listCount = static_cast<u32>(lists.size());
    record->m_connectionCount = static_cast<u32>(connections.size());
    std::ranges::copy(lists, const_cast<RecordList*>(record->lists().data()));
    std::ranges::copy(connections, const_cast<RecordConnection*>(record->connections().data()));
    std::memset(const_cast<std::byte*>(record->values()), 0, valueBytes);
    return record;
}

void NodeRecord::clear(AttrType type, std::byte* place) noexcept {
    release(type, place);
    std::memset(place, 0, snapshotBytes(type));
}

NodeRecord* NodeRecord::copy(const NodeRecord& from, SnapshotVersion first) {
    NodeRecord* const made = make(first, from.number(), from.name(), from.lists(),
                                  from.connections(), RefersTo<SharedExtras>(from.m_extras));
    std::memcpy(const_cast<std::byte*>(made->values()), from.values(), bytesOf(from.lists()));
    for (const RecordList& list : made->lists()) {
        list.shape->incRef();
        for (u32 i = 0; i < list.count; ++i)
            retain(list.shape->input(i).type, made->value(list, i));
    }
    return made;
}

NodeRecord::~NodeRecord() {
    for (const RecordList& list : lists()) {
        for (u32 i = 0; i < list.count; ++i)
            release(list.shape->input(i).type, value(list, i));
        list.shape->decRef();
    }
    if (m_extras) m_extras->decRef();
}

void NodeRecord::endRecord(SharedBlock* block) noexcept {
    auto* const record = static_cast<NodeRecord*>(block);
    record->~NodeRecord();
    ::operator delete(record);
}

void NodeRecord::endInSlab(SharedBlock* block) noexcept {
    static_cast<NodeRecord*>(block)->~NodeRecord();
}

const RecordConnection* NodeRecord::findConnection(u32 list, u32 input) const noexcept {
    const auto isBefore = [](const RecordConnection& a, const RecordConnection& b) {
        return a.list != b.list ? a.list < b.list : a.input < b.input;
    };
    const auto all = connections();
    const auto found =
        std::ranges::lower_bound(all, RecordConnection{.list = list, .input = input}, isBefore);
    const bool isIt = found != all.end() && found->list == list && found->input == input;
    return isIt ? &*found : nullptr;
}

void NodeRecord::connect(u32 list, u32 input, NodeNumber source, u32 output) noexcept {
    auto* const connection = const_cast<RecordConnection*>(connectionOf(list, input));
    connection->source = source;
    connection->output = output;
}

const Buffer& NodeRecord::bufferAt(const std::byte* place) noexcept {
    return *std::launder(reinterpret_cast<const Buffer*>(place));
}

void NodeRecord::store(const Value& value, std::byte* place) noexcept {
    switch (value.type()) {
    case AttrType::Bool: {
        const u64 bit = value.asBool() ? 1 : 0;
        std::memcpy(place, &bit, sizeof bit);
        break;
    }
    case AttrType::Int:
    case AttrType::UInt: {
        const u64 number = value.asUInt();
        std::memcpy(place, &number, sizeof number);
        break;
    }
    case AttrType::String: {
        StringBuffer* text = value.asString().get();
        if (text) text->incRef();
        std::memcpy(place, &text, sizeof text);
        break;
    }
    case AttrType::Buffer:
        new (place) Buffer(value.asBuffer());
        break;
    default:
        if (const u32 components = Value::components(value.type()))
            std::memcpy(place, value.reals(), components * sizeof(double));
    }
}

Value NodeRecord::load(AttrType type, const std::byte* place) {
    switch (type) {
    case AttrType::Bool:
        return at<u64>(place) != 0;
    case AttrType::Int:
        return at<i64>(place);
    case AttrType::UInt:
        return at<u64>(place);
    case AttrType::String: {
        StringBuffer* const text = textAt(place);
        if (text) text->incRef();
        return String(adoptRef, text);
    }
    case AttrType::Buffer:
        return bufferAt(place).isSound() ? bufferAt(place) : Buffer();
    default:
        break;
    }
    if (Value::components(type) == 0) return {};
    return Value::fromReals(type, reinterpret_cast<const double*>(place));
}

u64 NodeRecord::hashOf(AttrType type, const std::byte* place) {
    const u64 kind = static_cast<u64>(type);
    const u32 components = Value::components(type);
    if (components != 0) {
        u64 hash = kind;
        for (u32 i = 0; i < components; ++i)
            hash = hashMix(hash, at<u64>(place + i * sizeof(u64)));
        return hash;
    }
    switch (type) {
    case AttrType::Bool:
        return hashMix(kind, at<u64>(place) != 0 ? 1 : 0);
    case AttrType::Int:
    case AttrType::UInt:
        return hashMix(kind, at<u64>(place));
    case AttrType::String: {
        const StringBuffer* const text = textAt(place);
        return hashMix(kind, text ? text->hash() : hashOfNothing);
    }
    default:
        return load(type, place).hash();
    }
}

bool NodeRecord::areEqual(AttrType type, const std::byte* a, const std::byte* b) noexcept {
    if (type == AttrType::String) {
        const StringBuffer *first = textAt(a), *second = textAt(b);
        if (first == second) return true;
        return (first ? first->view() : "") == (second ? second->view() : "");
    }
    if (type == AttrType::Buffer) return bufferAt(a) == bufferAt(b);
    return std::memcmp(a, b, snapshotBytes(type)) == 0;
}

} // namespace qv::kelvo_sdk::impl
