#pragma once

#include "kelvo/sdk/impl/snapshot/byte_reader.h"
#include "kelvo/sdk/impl/snapshot/snapshot_shape.h"

#include <unordered_map>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// The numbers of nodes in a stored snapshot, by number in the snapshot that is stored.
using StoredNumbers = std::vector<NodeNumber>;

/// Returns `noNumber` for a node that is not stored.
[[nodiscard]] inline NodeNumber storedNumber(const StoredNumbers& numbers, u64 number) noexcept {
    return number < numbers.size() ? numbers[number] : noNumber;
}

/// Gives things numbers in the order in which they are first named, beginning with 1; 0 stands for
/// none. Borrows them.
template<typename T>
class FirstUses {
public:
    [[nodiscard]] u32 numberOf(const T* one) {
        if (!one) return 0;
        const auto number = static_cast<u32>(m_list.size()) + 1;
        const auto [known, isNew] = m_numbers.try_emplace(one, number);
        if (isNew) m_list.push_back(one);
        return known->second;
    }
    [[nodiscard]] const std::vector<const T*>& list() const noexcept { return m_list; }

private:
    std::unordered_map<const T*, u32> m_numbers;
    std::vector<const T*> m_list;
};

/// Writes the descriptions of inputs that shapes have.
void write(ByteWriter& out, const FirstUses<AttrDetails>& details);

/// Writes shapes, and collects their descriptions and definitions.
void write(ByteWriter& out, const FirstUses<SnapshotShape>& shapes, const StoredNumbers& numbers,
           FirstUses<AttrDetails>& details, FirstUses<NodeRecord>& definitions);

using StoredDetails = std::vector<RefersTo<AttrDetails>>;

/// Reads descriptions; the first one is null.
[[nodiscard]] StoredDetails readAllDetails(ByteReader& in);

/// The shapes of a stored snapshot, by number. Has references to them.
class StoredShapes {
public:
    StoredShapes() = default;
    ~StoredShapes();
    StoredShapes(const StoredShapes&) = delete;
    StoredShapes& operator=(const StoredShapes&) = delete;

    /// Reads the shapes of a snapshot with that many nodes into an empty list. The first of the
    /// definitions is null. On failure the reader has failed, and the shapes are of no use.
    void read(ByteReader& in, u32 nodeCount, const StoredDetails& details,
              const std::vector<const NodeRecord*>& definitions, ShapeTable& table);
    [[nodiscard]] u64 size() const noexcept { return m_shapes.size(); }
    /// Shapes are counted from 0 here.
    [[nodiscard]] const SnapshotShape& operator[](u64 index) const noexcept {
        return *m_shapes[index].shape;
    }
    /// Tells whether values of the shape are stored as they are in memory, apart from the order of
    /// their bytes.
    [[nodiscard]] bool isPlain(u64 index) const noexcept { return m_shapes[index].isPlain; }

private:
    struct Entry {
        const SnapshotShape* shape = nullptr;
        bool isPlain = false;
    };
    std::vector<Entry> m_shapes;
};

} // namespace qv::kelvo_sdk::impl
