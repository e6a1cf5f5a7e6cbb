#pragma once

#include "kelvo/base/name.h"
#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/attr_type.h"
#include "kelvo/sdk/impl/index/compact_graph.h"
#include "kelvo/sdk/impl/value/attr_data.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

class NodeRecord;

/// An input in a snapshot, apart from its value.
struct ShapeInput {
    String name;
    AttrType type = AttrType::Null;
    AttrType elementType = AttrType::Null;
    /// The element type that a buffer declares.
    DataType dataType = DataType::Null;
    bool isSilent = false;
    bool isReadOnly = false;
    /// The text that the input was read from omits it; of interest to writers of text alone.
    bool isOmitted = false;
    /// The place of the value behind the first value of the list.
    u64 offset = 0;
    /// Nodes that it names may no longer exist; `namedNodes` has their numbers.
    RefersTo<AttrDetails> details = {};
    /// Indexed by value of the description: the default, the minimum, the maximum, the choices.
    /// `noNumber` for values that are no nodes; empty if none is.
    std::vector<NodeNumber> namedNodes = {};

    /// Compares everything that has neither to do with name, kind, value nor text.
    [[nodiscard]] bool isMarkedLike(const ShapeInput& other) const noexcept {
        return dataType == other.dataType && isSilent == other.isSilent &&
               isReadOnly == other.isReadOnly && details == other.details &&
               namedNodes == other.namedNodes;
    }
    /// Ignores the place of the value.
    [[nodiscard]] bool isLike(const ShapeInput& other) const noexcept;
};

struct ShapeOutput {
    String name;
    AttrType type = AttrType::Null;
    DataType dataType = DataType::Null;
    /// See `ShapeInput`.
    bool isOmitted = false;

    [[nodiscard]] bool isLike(const ShapeOutput& other) const noexcept;
};

/// Everything that is equal in nodes of one make: type, bases, outputs, and the inputs without
/// their values. Also the members of an object, or the elements of an array. Constant, and shared
/// by all snapshots of a scene.
struct SnapshotShape {
    String type;
    StringVector bases;
    bool isAbstract = false;
    bool isInternal = false;
    /// All elements of the array are like the first input, and their values follow each other.
    bool isUniform = false;
    std::vector<ShapeInput> inputs;
    std::vector<ShapeOutput> outputs;
    /// Of the type of a node, null when no library defines it. Lives longer than the shape.
    const NodeRecord* definition = nullptr;

    SnapshotShape() = default;
    SnapshotShape(SnapshotShape&& other) noexcept;

    /// Returns the position of the first input of that name, without regard to case; `notFound`
    /// when there is none. An array has no names.
    [[nodiscard]] u32 find(const NameView& name) const noexcept;
    static constexpr u32 notFound = 0xffffffff;

    [[nodiscard]] bool isTypeOf(const String& name) const noexcept;
    [[nodiscard]] bool hasSameOutputs(const SnapshotShape& other) const noexcept;
    /// Compares type, bases, marks and outputs.
    [[nodiscard]] bool isSameType(const SnapshotShape& other) const noexcept;
    [[nodiscard]] bool isLike(const SnapshotShape& other) const noexcept;
    [[nodiscard]] u64 hash() const noexcept;
    /// Returns null for an output that nodes of the shape do not have; only a stored snapshot can
    /// name one.
    [[nodiscard]] const ShapeOutput* output(u32 index) const noexcept {
        return index < outputs.size() ? &outputs[index] : nullptr;
    }
    /// Lays the values out, finds out whether there are links, and prepares the look-up of names.
    /// Call once, at the end.
    void complete();

    [[nodiscard]] const ShapeInput& input(u32 index) const noexcept {
        return inputs[isUniform ? 0 : index];
    }
    [[nodiscard]] u64 offsetOf(u32 index) const noexcept {
        return isUniform ? index * sizeOfOne : inputs[index].offset;
    }

    /// An input is of the kind Node.
    bool hasLinks = false;
    /// The memory of all values, and of one element of a uniform array.
    u64 valueBytes = 0;
    u64 sizeOfOne = 0;

    // References; the table of shapes counts as one.

    void incRef(u32 count = 1) const noexcept {
        m_refs.fetch_add(count, std::memory_order_relaxed);
    }
    void decRef(u32 count = 1) const noexcept {
        if (m_refs.fetch_sub(count, std::memory_order_acq_rel) == count) delete this;
    }
    [[nodiscard]] bool isUnused() const noexcept {
        return m_refs.load(std::memory_order_acquire) == 1;
    }

private:
    mutable std::atomic<u32> m_refs = 1;
    // Positions of inputs by hash of the name, ~0 for empty; for many inputs only.
    std::vector<u32> m_places;
};

/// A shape that one thread gives to many records. Takes references in advance, because threads that
/// count one by one at the same shape wait for each other.
class ShapeStock {
public:
    ShapeStock() = default;
    ~ShapeStock() { reset(nullptr); }
    ShapeStock(const ShapeStock&) = delete;
    ShapeStock& operator=(const ShapeStock&) = delete;

    /// Returns null when it has none.
    [[nodiscard]] const SnapshotShape* get() const noexcept { return m_shape; }
    /// Takes over a reference to a shape; null for none.
    void reset(const SnapshotShape* shape) noexcept {
        if (m_shape) m_shape->decRef(m_spare + 1);
        m_shape = shape;
        m_spare = 0;
    }
    /// Returns the shape with a reference, which the caller owns. Needs a shape.
    [[nodiscard]] const SnapshotShape* take() noexcept {
        if (m_spare == 0) m_shape->incRef(m_spare = inAdvance);
        --m_spare;
        return m_shape;
    }

private:
    static constexpr u32 inAdvance = 256;

    const SnapshotShape* m_shape = nullptr;
    // The references beside the stock's own.
    u32 m_spare = 0;
};

/// Returns the memory of a value of that kind in a snapshot.
[[nodiscard]] u32 snapshotBytes(AttrType type) noexcept;

/// The shapes in the snapshots of one scene, each once. Any thread may use it.
class ShapeTable {
public:
    ShapeTable() = default;
    ~ShapeTable();
    ShapeTable(const ShapeTable&) = delete;
    ShapeTable& operator=(const ShapeTable&) = delete;

    /// Returns the shape like this one, with a reference for the caller.
    [[nodiscard]] const SnapshotShape* share(SnapshotShape&& shape);
    /// Tells whether one of the shapes has an input of that name, without regard to case.
    [[nodiscard]] bool hasInput(const NameView& name) const noexcept;
    [[nodiscard]] u64 size() const noexcept { return m_shapes.size(); }

private:
    struct Hash {
        std::size_t operator()(const SnapshotShape* shape) const { return shape->hash(); }
    };
    struct Equal {
        bool operator()(const SnapshotShape* a, const SnapshotShape* b) const noexcept {
            return a->isLike(*b);
        }
    };

    void dropUnused() noexcept;

    mutable std::mutex m_mutex;
    std::unordered_set<const SnapshotShape*, Hash, Equal> m_shapes;
    u64 m_nextSweep = 64;
};

} // namespace qv::kelvo_sdk::impl
