#include "kelvo/sdk/impl/snapshot/shared_order.h"

#include <algorithm>
#include <utility>

namespace qv::kelvo_sdk::impl {

u64 SharedOrder::Block::total() const noexcept {
    if (isLeaf) return count;
    u64 sum = 0;
    for (u32 i = 0; i < count; ++i)
        sum += numbers[i];
    return sum;
}

// Makes room for a part.
void SharedOrder::Block::open(u32 place) noexcept {
    std::copy_backward(numbers + place, numbers + count, numbers + count + 1);
    if (!isLeaf) {
        Block** parts = branch(*this).parts;
        std::copy_backward(parts + place, parts + count, parts + count + 1);
    }
    ++count;
}

// Removes a part.
void SharedOrder::Block::close(u32 place) noexcept {
    std::copy(numbers + place + 1, numbers + count, numbers + place);
    if (!isLeaf) {
        Block** parts = branch(*this).parts;
        std::copy(parts + place + 1, parts + count, parts + place);
    }
    --count;
}

void SharedOrder::endBlock(SharedBlock* block) noexcept {
    auto* const known = static_cast<Block*>(block);
    if (known->isLeaf)
        delete known;
    else
        delete &branch(*known);
}

SharedOrder::Block* SharedOrder::makeLike(const Block& block, SnapshotStore& store) {
    if (block.isLeaf) return new Block(store.next(), true);
    return new Branch(store.next());
}

// Makes `place` lead to a block that no snapshot has, with the same content.
SharedOrder::Block& SharedOrder::own(Block*& place, SnapshotStore& store) {
    if (place->born == store.next()) return *place;
    Block* const old = place;
    Block* const made = makeLike(*old, store);
    made->count = old->count;
    std::copy_n(old->numbers, old->count, made->numbers);
    if (!old->isLeaf) std::copy_n(branch(*old).parts, old->count, branch(*made).parts);
    place = made;
    store.retire(old);
    return *made;
}

// Moves the parts from `first` on to an empty block, or behind those of another.
void SharedOrder::moveParts(Block& from, u32 first, Block& to) noexcept {
    std::copy(from.numbers + first, from.numbers + from.count, to.numbers + to.count);
    if (!from.isLeaf)
        std::copy(branch(from).parts + first, branch(from).parts + from.count,
                  branch(to).parts + to.count);
    to.count += from.count - first;
    from.count = first;
}

// Splits a full part in two. At the end of the list the new part gets one item only, so that
// numbers added one after the other fill their leaves.
void SharedOrder::splitPart(Branch& parent, u32 part, bool isAtEnd, SnapshotStore& store) {
    Block& full = own(parent.parts[part], store);
    Block* const made = makeLike(full, store);
    moveParts(full, isAtEnd ? most - 1 : most / 2, *made);
    parent.open(part + 1);
    parent.parts[part + 1] = made;
    parent.numbers[part] = static_cast<u32>(full.total());
    parent.numbers[part + 1] = static_cast<u32>(made->total());
}

// Joins a part with the next one if both together are at most half full.
void SharedOrder::joinPart(Branch& parent, u32 part, SnapshotStore& store) {
    if (part + 1 >= parent.count) return;
    if (parent.parts[part]->count + parent.parts[part + 1]->count > most / 2) return;
    Block& first = own(parent.parts[part], store);
    Block& second = own(parent.parts[part + 1], store);
    moveParts(second, 0, first);
    parent.numbers[part] += parent.numbers[part + 1];
    parent.close(part + 1);
    store.retire(&second);
}

u32 SharedOrder::at(u64 index) const noexcept {
    const Block* block = m_root;
    while (!block->isLeaf)
        block = branch(*block).parts[partWith(*block, index)];
    return block->numbers[index];
}

// Returns the part with the index-th number, and makes `index` count from its start.
u32 SharedOrder::partWith(const Block& block, u64& index) noexcept {
    u32 part = 0;
    while (index >= block.numbers[part])
        index -= block.numbers[part++];
    return part;
}

void SharedOrder::addLevel(SnapshotStore& store) {
    auto* const root = new Branch(store.next());
    root->count = 1;
    root->parts[0] = m_root;
    root->numbers[0] = static_cast<u32>(m_size);
    m_root = root;
    ++m_height;
}

// Removals may leave many blocks with few numbers, so that the tree becomes too high.
void SharedOrder::layOutAgain(SnapshotStore& store) {
    SharedOrder lower;
    try {
        forEach([&](u32 number) { lower.insert(lower.size(), number, store); });
    } catch (...) {
        lower.clear(store);
        throw;
    }
    clear(store);
    *this = lower;
}

void SharedOrder::insert(u64 index, u32 number, SnapshotStore& store) {
    const bool isAtEnd = index == m_size;
    if (!m_root) m_root = new Block(store.next(), true);
    if (m_root->isFull() && m_height == highest) layOutAgain(store);
    if (m_root->isFull()) addLevel(store);
    // First splits full blocks, which needs memory, and counts on the way back only when no more
    // is needed.
    Branch* way[highest];
    u32 parts[highest], depth = 0;
    Block* block = &own(m_root, store);
    while (!block->isLeaf) {
        Branch& parent = branch(*block);
        u32 part = 0;
        while (part + 1 < parent.count && index > parent.numbers[part])
            index -= parent.numbers[part++];
        if (parent.parts[part]->isFull()) {
            splitPart(parent, part, isAtEnd, store);
            if (index > parent.numbers[part]) index -= parent.numbers[part++];
        }
        way[depth] = &parent;
        parts[depth++] = part;
        block = &own(parent.parts[part], store);
    }
    block->open(static_cast<u32>(index));
    block->numbers[index] = number;
    while (depth-- > 0)
        ++way[depth]->numbers[parts[depth]];
    ++m_size;
}

void SharedOrder::remove(u64 index, SnapshotStore& store) {
    Branch* way[highest];
    u32 parts[highest], depth = 0;
    Block* block = &own(m_root, store);
    while (!block->isLeaf) {
        Branch& parent = branch(*block);
        const u32 part = partWith(parent, index);
        joinPart(parent, part, store);
        way[depth] = &parent;
        parts[depth++] = part;
        block = &own(parent.parts[part], store);
    }
    block->close(static_cast<u32>(index));
    --m_size;
    while (depth-- > 0) {
        Branch& parent = *way[depth];
        const u32 part = parts[depth];
        --parent.numbers[part];
        if (parent.parts[part]->count != 0) continue;
        store.retire(parent.parts[part]);
        parent.close(part);
    }
    while (!m_root->isLeaf && m_root->count <= 1) {
        Block* const old = m_root;
        m_root = old->count == 1 ? branch(*old).parts[0] : nullptr;
        store.retire(old);
        m_height = m_root ? m_height - 1 : 0;
        if (!m_root) break;
    }
}

void SharedOrder::fill(std::span<const u32> numbers, SnapshotStore& store) {
    if (numbers.empty()) return;
    u64 sizeOfPart = 1;
    for (; sizeOfPart * most < numbers.size(); sizeOfPart *= most)
        ++m_height;
    m_size = numbers.size();
    fillPart(m_root, sizeOfPart, numbers, store);
}

// A part of one number is the number itself. Blocks are in the tree as soon as they are made, so
// that none is lost when memory is out.
void SharedOrder::fillPart(Block*& place, u64 sizeOfPart, std::span<const u32> numbers,
                           SnapshotStore& store) {
    if (sizeOfPart == 1) {
        place = new Block(store.next(), true);
        place->count = static_cast<u32>(numbers.size());
        std::ranges::copy(numbers, place->numbers);
        return;
    }
    auto* const made = new Branch(store.next());
    place = made;
    while (!numbers.empty()) {
        const u64 count = std::min<u64>(sizeOfPart, numbers.size());
        const u32 part = made->count++;
        made->numbers[part] = static_cast<u32>(count);
        fillPart(made->parts[part], sizeOfPart / most, numbers.first(count), store);
        numbers = numbers.subspan(count);
    }
}

// A part is null if memory was out when it was to be made.
void SharedOrder::retireAll(Block* block, SnapshotStore& store) noexcept {
    if (!block) return;
    for (u32 i = 0; !block->isLeaf && i < block->count; ++i)
        retireAll(branch(*block).parts[i], store);
    store.retire(block);
}

void SharedOrder::clear(SnapshotStore& store) noexcept {
    retireAll(m_root, store);
    m_root = nullptr;
    m_size = 0;
    m_height = 0;
}

} // namespace qv::kelvo_sdk::impl
