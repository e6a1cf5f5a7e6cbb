#pragma once

#include "kelvo/base/name.h"
#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/attr_type.h"
#include "kelvo/sdk/impl/value/attr_data.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// An input in a snapshot, apart from its value.
struct ShapeInput {
    String name;
    AttrType type = AttrType::Null;
    AttrType elementType = AttrType::Null;
    /// The element type that a buffer declares.
    DataType dataType = DataType::Null;
    bool isSilent = false;
    bool isReadOnly = false;
    /// The place of the value behind the first value of the list.
    u32 offset = 0;
    RefersTo<AttrDetails> details = {};

    /// Compares everything that has neither to do with name, kind nor value.
    [[nodiscard]] bool isMarkedLike(const ShapeInput& other) const noexcept {
        return dataType == other.dataType && isSilent == other.isSilent &&
               isReadOnly == other.isReadOnly && details == other.details;
    }
    /// Ignores the place of the value.
    [[nodiscard]] bool isLike(const ShapeInput& other) const noexcept;
};

struct ShapeOutput {
    String name;
    AttrType type = AttrType::Null;
    DataType dataType = DataType::Null;

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
    /// Lays the values out, and prepares the look-up of names. Call once, at the end.
    void complete();

    [[nodiscard]] const ShapeInput& input(u32 index) const noexcept {
        return inputs[isUniform ? 0 : index];
    }
    [[nodiscard]] u32 offsetOf(u32 index) const noexcept {
        return isUniform ? index * sizeOfOne : inputs[index].offset;
    }

    /// The memory of all values, and of one element of a uniform array.
    u32 valueBytes = 0;
    u32 sizeOfOne = 0;

    // References; the table of shapes counts as one.

    void incRef() const noexcept { m_refs.fetch_add(1, std::memory_order_relaxed); }
    void decRef() const noexcept {
        if (m_refs.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
    }
    [[nodiscard]] bool isUnused() const noexcept {
        return m_refs.load(std::memory_order_acquire) == 1;
    }

private:
    mutable std::atomic<u32> m_refs = 1;
    // Positions of inputs by hash of the name, ~0 for empty; for many inputs only.
    std::vector<u32> m_places;
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

    std::mutex m_mutex;
    std::unordered_set<const SnapshotShape*, Hash, Equal> m_shapes;
    u64 m_nextSweep = 64;
};

} // namespace qv::kelvo_sdk::impl
