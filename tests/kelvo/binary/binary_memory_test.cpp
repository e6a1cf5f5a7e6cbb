// Files that announce more than they have take memory in proportion to their size. Replaces the
// allocation functions by ones that count bytes.

#include "kelvo/base/hash.h"
#include "kelvo/binary/binary_scene.h"
#include "kelvo/binary/impl/layout.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

namespace {

std::atomic<long> taken = 0;
std::atomic<long> most = 0;

void* counted(void* block) {
    if (!block) throw std::bad_alloc();
    taken += static_cast<long>(malloc_usable_size(block));
    most = std::max(most.load(), taken.load());
    return block;
}

void* allocateOrFail(std::size_t size) {
    return counted(std::malloc(size != 0 ? size : 1));
}

void freeBlock(void* block) noexcept {
    if (block) taken -= static_cast<long>(malloc_usable_size(block));
    std::free(block);
}

} // namespace

// Calls the two functions above.
#include "tests/support/replaced_new.h"

void* operator new(std::size_t size, std::align_val_t alignment) {
    const auto step = static_cast<std::size_t>(alignment);
    const std::size_t rounded = (size + step - 1) / step * step;
    if (rounded < size) throw std::bad_alloc();
    return counted(std::aligned_alloc(step, rounded));
}
void operator delete(void* block, std::align_val_t) noexcept {
    freeBlock(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    freeBlock(block);
}

namespace qv::kelvo_sdk {
namespace {

using namespace kelvo_binary;

std::string sceneBytes() {
    const Scene scene = Scene::create();
    EXPECT_TRUE(scene.read("node thing : base \"a\" {\n    Real x = 1 @choices [1, 2]\n"
                           "    String s = \"text\"\n    Array<Real> list = [1, 2, 3]\n"
                           "    Array<Null> nothing = [null, null]\n    Object o {\n"
                           "        Node n = a\n    }\n    Buffer<Float> b = [1 2 3]\n"
                           "    output Real out\n}\n# last\n",
                           "text"));
    const Input large = scene["a"].createInput("large", AttrType::Buffer);
    EXPECT_TRUE(large.setBuffer(std::vector<float>(500, 0.5F)));
    std::string bytes;
    EXPECT_TRUE(appendBinary(scene.snapshot(), bytes));
    return bytes;
}

// A file whose words can be set, with the hashes that a forger would give them.
class Forger {
public:
    explicit Forger(std::string bytes) : m_bytes(std::move(bytes)) {}

    /// Returns the end of the pieces, and of the directory behind them.
    [[nodiscard]] u64 directory() { return load<u64>(trailer()); }
    [[nodiscard]] u64 end() const { return m_bytes.size() - bytesOfTrailer; }
    template<typename Word>
    std::string with(u64 place, Word word) {
        const std::string before = m_bytes;
        store(word, at(place));
        const bool isInPiece = place < directory();
        for (u64 entry = directory(); isInPiece && entry < end(); entry += bytesOfEntry) {
            const u64 first = load<u64>(at(entry)), size = aligned(load<u64>(at(entry + 8)));
            if (place >= first && place < first + size)
                store(hashBytes(at(first), size), at(entry + 24));
        }
        store(hashBytes(at(directory()), end() - directory()), trailer() + 16);
        store(hashBytes(trailer(), bytesOfTrailer - sizeof(u64)), trailer() + 56);
        return std::exchange(m_bytes, before);
    }

private:
    std::byte* at(u64 place) { return reinterpret_cast<std::byte*>(m_bytes.data()) + place; }
    std::byte* trailer() { return at(end()); }

    std::string m_bytes;
};

// Returns the memory that reading everything of a file takes.
long memoryFor(const std::string& bytes) {
    const long before = taken;
    most = before;
    const Made<Snapshot> opened = openBinaryBytes(bytes, "bytes");
    if (opened.result()) {
        static_cast<void>(opened.verify());
        static_cast<void>(opened.text());
        static_cast<void>(opened.hash());
    }
    return most - before;
}

TEST(BinaryMemory, WordsThatAnnounceMuch_TakeMemoryInProportionToTheFile) {
    const std::string honest = sceneBytes();
    const long limit = 4 * memoryFor(honest) + 16 * static_cast<long>(honest.size());
    Forger forger(honest);
    for (u64 place = bytesOfHeader; place < forger.end(); place += sizeof(u32)) {
        for (const u32 word : {~u32{0}, u32{1} << 30, u32{1} << 20})
            ASSERT_LE(memoryFor(forger.with(place, word)), limit) << place << ", " << word;
        if (place + sizeof(u64) > forger.end()) continue;
        for (const u64 word : {u64{1} << 60, u64{1} << 40, ~u64{7}})
            ASSERT_LE(memoryFor(forger.with(place, word)), limit) << place << ", " << word;
    }
}

} // namespace
} // namespace qv::kelvo_sdk
