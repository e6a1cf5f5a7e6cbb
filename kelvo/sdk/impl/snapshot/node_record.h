#pragma once

#include "kelvo/sdk/impl/graph/node_fetch.h"
#include "kelvo/sdk/impl/index/compact_graph.h"
#include "kelvo/sdk/impl/snapshot/record_extras.h"
#include "kelvo/sdk/impl/snapshot/record_slab.h"
#include "kelvo/sdk/impl/snapshot/snapshot_shape.h"
#include "kelvo/sdk/impl/snapshot/snapshot_store.h"

#include <atomic>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>

namespace qv::kelvo_sdk::impl {

/// A list of inputs in a record: those of the node, which is the first list, or the parts of an
/// array or object. Lists come after the list that contains their input.
struct RecordList {
    const SnapshotShape* shape = nullptr;
    /// The place of the first value behind the values of the record.
    u64 firstValue = 0;
    u32 count = 0;
    /// The array or object, as the position of its list and its position there.
    u32 ownerList = 0;
    u32 ownerInput = 0;

    [[nodiscard]] u64 valueBytes() const noexcept {
        return shape->isUniform ? count * shape->sizeOfOne : shape->valueBytes;
    }
};

/// A connection of an input; in order of lists and inputs.
struct RecordConnection {
    u32 list = 0;
    u32 input = 0;
    /// The node, and the position of its output.
    NodeNumber source = noNumber;
    u32 output = 0;
    bool operator==(const RecordConnection&) const = default;
};

/// A node in snapshots: its name, the shapes of its lists, and the values, in one piece of memory.
/// It owns references to its shapes, texts and buffers. Constant once it is filled.
///
/// A value is where its list and shape say: a number as 8 bytes, vectors and matrices as doubles, a
/// link as the number of the node, `noNumber` for none, a text or buffer as a reference, an array
/// or object as the number of its list.
class NodeRecord : public SharedBlock {
public:
    /// Makes a record whose values are zero. The record takes over the references to the shapes.
    /// `extras` may be null. Without a slab, which must outlive the record, its memory is its own.
    [[nodiscard]] static NodeRecord* make(SnapshotVersion first, NodeNumber number, String name,
                                          std::span<const RecordList> lists,
                                          std::span<const RecordConnection> connections,
                                          RefersTo<SharedExtras> extras = nullptr,
                                          RecordSlab* slab = nullptr);

    /// Makes a copy for other snapshots.
    [[nodiscard]] static NodeRecord* copy(const NodeRecord& from, SnapshotVersion first);

    [[nodiscard]] NodeNumber number() const noexcept { return m_number; }
    [[nodiscard]] const String& name() const noexcept { return m_name; }
    [[nodiscard]] const SnapshotShape& shape() const noexcept { return *list(0).shape; }
    [[nodiscard]] const RecordList& list(u32 index) const noexcept { return lists()[index]; }
    [[nodiscard]] std::span<const RecordList> lists() const noexcept {
        return {reinterpret_cast<const RecordList*>(this + 1), m_listCount};
    }
    [[nodiscard]] std::span<const RecordConnection> connections() const noexcept {
        return {reinterpret_cast<const RecordConnection*>(lists().data() + m_listCount),
                m_connectionCount};
    }
    /// Returns the connection of an input, null for none.
    [[nodiscard]] const RecordConnection* connectionOf(u32 list, u32 input) const noexcept {
        return m_connectionCount != 0 ? findConnection(list, input) : nullptr;
    }
    /// Returns null when the node has none of these parts.
    [[nodiscard]] const RecordExtras* extras() const noexcept {
        return m_extras ? &m_extras->parts : nullptr;
    }
    /// Returns the place of the value of an input.
    [[nodiscard]] const std::byte* value(const RecordList& list, u32 input) const noexcept {
        return values() + list.firstValue + list.shape->offsetOf(input);
    }
    [[nodiscard]] std::byte* value(const RecordList& list, u32 input) noexcept {
        return const_cast<std::byte*>(std::as_const(*this).value(list, input));
    }
    /// Makes the processor fetch a record of common size from memory, before it is read.
    static void fetch(const NodeRecord* record) noexcept {
        for (u64 line = 0; line < 8; ++line)
            fetchLine(record, line);
    }
    /// For records that are no part of a snapshot yet.
    void setNumber(NodeNumber number) noexcept { m_number = number; }
    /// Sets the source of a connection that the record has.
    void connect(u32 list, u32 input, NodeNumber source, u32 output) noexcept;
    /// The hash of the content, 0 while it is not known. Any thread may keep it.
    [[nodiscard]] u64 keptHash() const noexcept { return m_hash.load(std::memory_order_relaxed); }
    void keepHash(u64 hash) const noexcept { m_hash.store(hash, std::memory_order_relaxed); }

    // Values of each kind, in their place.

    /// Stores a value of its kind in a place with zeros; a link has to be stored as a number.
    static void store(const Value& value, std::byte* place) noexcept;
    /// Frees the value in a place and fills it with zeros.
    static void clear(AttrType type, std::byte* place) noexcept;
    /// Returns the value of a kind other than Node, Array and Object.
    [[nodiscard]] static Value load(AttrType type, const std::byte* place);
    /// Returns the hash of the value that `load` returns, without making it.
    [[nodiscard]] static u64 hashOf(AttrType type, const std::byte* place);
    /// Compares two values of one kind, other than Array and Object.
    [[nodiscard]] static bool areEqual(AttrType type, const std::byte* a,
                                       const std::byte* b) noexcept;
    [[nodiscard]] static const Buffer& bufferAt(const std::byte* place) noexcept;
    template<typename T>
    [[nodiscard]] static T at(const std::byte* place) noexcept {
        T result;
        std::memcpy(&result, place, sizeof result);
        return result;
    }

private:
    NodeRecord(SnapshotVersion first, NodeNumber number, String name, End endIt) noexcept
        : SharedBlock(endIt, first), m_name(std::move(name)), m_number(number) {}
    ~NodeRecord();
    [[nodiscard]] const RecordConnection* findConnection(u32 list, u32 input) const noexcept;
    static void endRecord(SharedBlock* block) noexcept;
    static void endInSlab(SharedBlock* block) noexcept;
    [[nodiscard]] const std::byte* values() const noexcept {
        return reinterpret_cast<const std::byte*>(connections().data() + m_connectionCount);
    }

    String m_name;
    // Owns a reference, which takes a word less than a handle; null for none.
    SharedExtras* m_extras = nullptr;
    mutable std::atomic<u64> m_hash = 0;
    NodeNumber m_number;
    u32 m_listCount = 0;
    u32 m_connectionCount = 0;
};

struct EndRecord {
    void operator()(NodeRecord* record) const noexcept { record->end(record); }
};
/// A record that is not part of a snapshot yet.
using NewRecord = std::unique_ptr<NodeRecord, EndRecord>;

} // namespace qv::kelvo_sdk::impl
