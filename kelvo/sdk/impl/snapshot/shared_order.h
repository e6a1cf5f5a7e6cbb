#pragma once

#include "kelvo/sdk/impl/snapshot/snapshot_store.h"

#include <span>

namespace qv::kelvo_sdk::impl {

/// A list of numbers whose copies share memory, as those of a `SharedArray` do. Insertion and
/// removal anywhere, and finding the n-th number, take time that hardly grows with the length.
///
/// A tree: leaves with numbers, and above them branches that know how many numbers each part has.
class SharedOrder {
public:
    [[nodiscard]] u64 size() const noexcept { return m_size; }
    /// Needs an index below the size.
    [[nodiscard]] u32 at(u64 index) const noexcept;

    /// Inserts a number before the one at `index`, which is at most the size. Throws std::bad_alloc
    /// and changes nothing when memory is out.
    void insert(u64 index, u32 number, SnapshotStore& store);
    /// Removes the number at an index below the size; like `insert` when memory is out.
    void remove(u64 index, SnapshotStore& store);
    /// Gives an empty list these numbers, much faster than one after the other. Throws
    /// std::bad_alloc; then the list must be cleared.
    void fill(std::span<const u32> numbers, SnapshotStore& store);
    /// Gives all blocks to the store, and is empty then.
    void clear(SnapshotStore& store) noexcept;

    /// Calls `visit(number)` for each number in order.
    template<typename Visit>
    void forEach(const Visit& visit) const {
        if (m_root) visitBlock(*m_root, visit);
    }

private:
    static constexpr u32 most = 32;
    // Far more than 2^32 numbers need in blocks of usual size.
    static constexpr u32 highest = 12;

    struct Block : SharedBlock {
        Block(SnapshotVersion first, bool leaf) noexcept
            : SharedBlock(&endBlock, first), isLeaf(leaf) {}
        [[nodiscard]] u64 total() const noexcept;
        [[nodiscard]] bool isFull() const noexcept { return count == most; }
        void open(u32 place) noexcept;
        void close(u32 place) noexcept;

        bool isLeaf;
        u32 count = 0;
        // In a leaf the numbers; in a branch the totals of the parts.
        u32 numbers[most] = {};
    };
    struct Branch : Block {
        explicit Branch(SnapshotVersion first) noexcept : Block(first, false) {}
        Block* parts[most] = {};
    };

    static void endBlock(SharedBlock* block) noexcept;
    static Branch& branch(Block& block) noexcept { return static_cast<Branch&>(block); }
    static const Branch& branch(const Block& block) noexcept {
        return static_cast<const Branch&>(block);
    }
    static Block& own(Block*& place, SnapshotStore& store);
    static Block* makeLike(const Block& block, SnapshotStore& store);
    static void splitPart(Branch& parent, u32 part, bool isAtEnd, SnapshotStore& store);
    static void joinPart(Branch& parent, u32 part, SnapshotStore& store);
    static void moveParts(Block& from, u32 first, Block& to) noexcept;
    static void fillPart(Block*& place, u64 sizeOfPart, std::span<const u32> numbers,
                         SnapshotStore& store);
    void addLevel(SnapshotStore& store);
    void layOutAgain(SnapshotStore& store);
    [[nodiscard]] static u32 partWith(const Block& block, u64& index) noexcept;
    static void retireAll(Block* block, SnapshotStore& store) noexcept;

    template<typename Visit>
    static void visitBlock(const Block& block, const Visit& visit) {
        for (u32 i = 0; i < block.count; ++i) {
            if (block.isLeaf)
                visit(block.numbers[i]);
            else
                visitBlock(*branch(block).parts[i], visit);
        }
    }

    Block* m_root = nullptr;
    u64 m_size = 0;
    // The number of levels of branches.
    u32 m_height = 0;
};

} // namespace qv::kelvo_sdk::impl
