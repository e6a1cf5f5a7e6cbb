#include "tests/laws/oom_memory.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

using qv::i64;
using qv::u64;

namespace {

using Fails = qv::tests::OomMemory::Fails;

std::atomic<Fails> fails = Fails::Never;
std::atomic<u64> failing = 0;
std::atomic<u64> asked = 0;
std::atomic<i64> live = 0;

[[nodiscard]] bool mayTake() noexcept {
    const u64 number = ++asked;
    if (fails == Fails::Never) return true;
    return fails == Fails::Once ? number != failing : number < failing;
}

} // namespace

// The linker redirects all calls of malloc and realloc in the program to these (--wrap).
extern "C" {
void* __real_malloc(std::size_t size);
void __real_free(void* block);

void* __wrap_malloc(std::size_t size) {
    void* block = mayTake() ? __real_malloc(size) : nullptr;
    if (block) ++live;
    return block;
}
// Moves a block always, so that code that keeps the old address fails.
void* __wrap_realloc(void* old, std::size_t size) {
    void* block = mayTake() ? __real_malloc(size) : nullptr;
    if (!block) return nullptr;
    if (!old) {
        ++live;
        return block;
    }
    std::memcpy(block, old, std::min(size, malloc_usable_size(old)));
    __real_free(old);
    return block;
}
void __wrap_free(void* block) {
    if (block) --live;
    __real_free(block);
}
}

namespace {

void* allocateOrFail(std::size_t size) {
    const bool isPossible = size <= std::numeric_limits<std::ptrdiff_t>::max();
    void* block = isPossible ? std::malloc(size != 0 ? size : 1) : nullptr;
    if (!block) throw std::bad_alloc();
    return block;
}

void freeBlock(void* block) noexcept {
    std::free(block);
}

} // namespace

// Calls the two functions above.
#include "tests/support/replaced_new.h"

namespace qv::tests {

void OomMemory::arm(Fails how, u64 which) noexcept {
    fails = how;
    failing = which;
    asked = 0;
}

u64 OomMemory::disarm() noexcept {
    fails = Fails::Never;
    return asked;
}

i64 OomMemory::live() noexcept {
    return ::live;
}

} // namespace qv::tests
