#pragma once

#include "kelvo/base/fetch_line.h"
#include "kelvo/sdk/impl/snapshot/snapshot_store.h"

#include <algorithm>
#include <span>
#include <type_traits>

namespace qv::kelvo_sdk::impl {

/// An array of plain values whose copies share memory: copying takes constant time, and a change
/// copies only the few blocks on the way to the value. One of the copies changes, the others are
/// constant parts of snapshots. A value that was never set is `T()`.
///
/// A tree: leaves with values, and above them levels of branches.
template<typename T>
class SharedArray {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    [[nodiscard]] T at(u32 index) const noexcept {
        if (isOutside(index)) return T();
        const SharedBlock* block = m_root;
        for (u32 level = m_levels; level > 0 && block; --level)
            block = static_cast<const Branch*>(block)->blocks[partOf(index, level)];
        return block ? static_cast<const Leaf*>(block)->values[partOf(index, 0)] : T();
    }

    /// Begins to fetch the value, and those beside it, from memory.
    void fetch(u32 index) const noexcept {
        if (isOutside(index)) return;
        const SharedBlock* block = m_root;
        for (u32 level = m_levels; level > 0 && block; --level)
            block = static_cast<const Branch*>(block)->blocks[partOf(index, level)];
        for (u64 line = 0; line < (sizeof(Leaf) + 63) / 64; ++line)
            fetchLine(block, line);
    }

    /// Returns the value for writing, after copying the blocks that snapshots have. Throws
    /// std::bad_alloc, without any loss.
    [[nodiscard]] T& edit(u32 index, SnapshotStore& store) {
        while (!m_root || isOutside(index))
            addLevel(store);
        SharedBlock** place = &m_root;
        for (u32 level = m_levels; level > 0; --level)
            place = &own<Branch>(*place, store).blocks[partOf(index, level)];
        return own<Leaf>(*place, store).values[partOf(index, 0)];
    }

    /// Gives an empty array these values, much faster than one after the other. Throws
    /// std::bad_alloc; then the array must be cleared.
    void fill(std::span<const T> values, SnapshotStore& store) {
        while (!values.empty() && isOutside(static_cast<u32>(values.size() - 1)))
            ++m_levels;
        fillPart(m_root, m_levels, values, store);
    }

    /// Calls `visit(index, value)` for each value other than `T()`, in order.
    template<typename Visit>
    void forEach(const Visit& visit) const {
        visitBlock(m_root, m_levels, 0, visit);
    }

    /// Calls `visit(index, before, after)` for each value that differs between two copies, in
    /// order. Passes blocks that both share unread.
    template<typename Visit>
    static void forEachDifference(const SharedArray& before, const SharedArray& after,
                                  const Visit& visit) {
        const u32 levels = before.m_levels > after.m_levels ? before.m_levels : after.m_levels;
        compare(before.m_root, before.m_levels, after.m_root, after.m_levels, levels, 0, visit);
    }

    /// Gives all blocks to the store, and is empty then.
    void clear(SnapshotStore& store) noexcept {
        retire(m_root, m_levels, store);
        m_root = nullptr;
        m_levels = 0;
    }

private:
    static constexpr u32 bits = 5;
    static constexpr u32 width = 1U << bits;

    struct Leaf : SharedBlock {
        explicit Leaf(SnapshotVersion first) noexcept : SharedBlock(&endOf<Leaf>, first) {}
        T values[width] = {};
    };
    struct Branch : SharedBlock {
        explicit Branch(SnapshotVersion first) noexcept : SharedBlock(&endOf<Branch>, first) {}
        SharedBlock* blocks[width] = {};
    };

    template<typename Block>
    static void endOf(SharedBlock* block) noexcept {
        delete static_cast<Block*>(block);
    }
    [[nodiscard]] static constexpr u32 partOf(u32 index, u32 level) noexcept {
        return index >> bits * level & (width - 1);
    }
    [[nodiscard]] bool isOutside(u32 index) const noexcept {
        return u64{index} >> bits * (m_levels + 1) != 0;
    }

    // Makes `place` lead to a block that no snapshot has, with the same content.
    template<typename Block>
    static Block& own(SharedBlock*& place, SnapshotStore& store) {
        if (place && place->born == store.next()) return *static_cast<Block*>(place);
        auto* const made = new Block(store.next());
        if (auto* const old = static_cast<Block*>(place)) {
            copyParts(*old, *made);
            store.retire(old);
        }
        place = made;
        return *made;
    }
    static void copyParts(const Leaf& from, Leaf& to) noexcept {
        for (u32 i = 0; i < width; ++i)
            to.values[i] = from.values[i];
    }
    static void copyParts(const Branch& from, Branch& to) noexcept {
        for (u32 i = 0; i < width; ++i)
            to.blocks[i] = from.blocks[i];
    }

    // Leaves without values are not made. Blocks are in the tree as soon as they are made, so that
    // none is lost when memory is out.
    static void fillPart(SharedBlock*& place, u32 level, std::span<const T> values,
                         SnapshotStore& store) {
        if (level == 0) {
            if (std::ranges::all_of(values, [](const T& value) { return value == T(); })) return;
            auto* const leaf = new Leaf(store.next());
            place = leaf;
            std::ranges::copy(values, leaf->values);
            return;
        }
        auto* const branch = new Branch(store.next());
        place = branch;
        const u64 sizeOfPart = u64{1} << bits * level;
        for (SharedBlock*& part : branch->blocks) {
            if (values.empty()) return;
            const u64 count = std::min<u64>(sizeOfPart, values.size());
            fillPart(part, level - 1, values.first(count), store);
            values = values.subspan(count);
        }
    }

    void addLevel(SnapshotStore& store) {
        if (!m_root) {
            m_root = new Leaf(store.next());
            return;
        }
        auto* const root = new Branch(store.next());
        root->blocks[0] = m_root;
        m_root = root;
        ++m_levels;
    }

    template<typename Visit>
    static void visitBlock(const SharedBlock* block, u32 level, u32 first, const Visit& visit) {
        if (!block) return;
        for (u32 i = 0; i < width; ++i) {
            const u32 index = first + (i << bits * level);
            if (level > 0)
                visitBlock(static_cast<const Branch*>(block)->blocks[i], level - 1, index, visit);
            else if (const T& value = static_cast<const Leaf*>(block)->values[i]; value != T())
                visit(index, value);
        }
    }

    // Returns a part of a block of `own` levels, seen from `level` levels: a lower tree is the
    // first part of a higher one.
    static const SharedBlock* partAt(const SharedBlock* block, u32 own, u32 level, u32 i) noexcept {
        if (!block) return nullptr;
        if (own < level) return i == 0 ? block : nullptr;
        return static_cast<const Branch*>(block)->blocks[i];
    }

    template<typename Visit>
    static void compare(const SharedBlock* a, u32 levelsOfA, const SharedBlock* b, u32 levelsOfB,
                        u32 level, u32 first, const Visit& visit) {
        if (a == b) return;
        if (level == 0) return compareLeaves(a, b, first, visit);
        for (u32 i = 0; i < width; ++i) {
            const bool isLowA = levelsOfA < level, isLowB = levelsOfB < level;
            compare(partAt(a, levelsOfA, level, i), isLowA ? levelsOfA : level - 1,
                    partAt(b, levelsOfB, level, i), isLowB ? levelsOfB : level - 1, level - 1,
                    first + (i << bits * level), visit);
        }
    }

    template<typename Visit>
    static void compareLeaves(const SharedBlock* a, const SharedBlock* b, u32 first,
                              const Visit& visit) {
        for (u32 i = 0; i < width; ++i) {
            const T before = a ? static_cast<const Leaf*>(a)->values[i] : T();
            const T after = b ? static_cast<const Leaf*>(b)->values[i] : T();
            if (before != after) visit(first + i, before, after);
        }
    }

    static void retire(SharedBlock* block, u32 level, SnapshotStore& store) noexcept {
        if (!block) return;
        for (u32 i = 0; level > 0 && i < width; ++i)
            retire(static_cast<Branch*>(block)->blocks[i], level - 1, store);
        store.retire(block);
    }

    SharedBlock* m_root = nullptr;
    u32 m_levels = 0;
};

} // namespace qv::kelvo_sdk::impl
