#include "tools/import/memory_limit.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace qv::model_import {

namespace {

constexpr i64 kNoLimit = std::numeric_limits<i64>::max();

std::atomic<i64> s_limit = kNoLimit;
// Negative when memory from before the limit is freed.
std::atomic<i64> s_used = 0;

bool isLimited() noexcept {
    return s_limit.load(std::memory_order_relaxed) != kNoLimit;
}

i64 sizeOf([[maybe_unused]] void* block) noexcept {
#if defined(__GLIBC__)
    return static_cast<i64>(malloc_usable_size(block));
#else
    return 0;
#endif
}

bool isGranted(std::size_t bytes) noexcept {
    const i64 left =
        s_limit.load(std::memory_order_relaxed) - s_used.load(std::memory_order_relaxed);
    return left > 0 && bytes <= static_cast<u64>(left);
}

void* allocate(std::size_t bytes) noexcept {
    if (isLimited() && !isGranted(bytes)) return nullptr;
    void* block = std::malloc(bytes == 0 ? 1 : bytes);
    if (block && isLimited()) s_used.fetch_add(sizeOf(block), std::memory_order_relaxed);
    return block;
}

void* allocateOrThrow(std::size_t bytes) {
    void* block = allocate(bytes);
    if (!block) throw std::bad_alloc();
    return block;
}

void release(void* block) noexcept {
    if (block && isLimited()) s_used.fetch_sub(sizeOf(block), std::memory_order_relaxed);
    std::free(block);
}

} // namespace

MemoryLimit::MemoryLimit(u64 bytes) noexcept {
    s_used = 0;
    s_limit = static_cast<i64>(bytes);
}

MemoryLimit::~MemoryLimit() {
    s_limit = kNoLimit;
}

void MemoryLimit::raise(u64 bytes) noexcept {
    const u64 room = static_cast<u64>(kNoLimit - 1 - s_limit.load());
    s_limit += static_cast<i64>(bytes < room ? bytes : room);
}

} // namespace qv::model_import

void* operator new(std::size_t bytes) {
    return qv::model_import::allocateOrThrow(bytes);
}
void* operator new[](std::size_t bytes) {
    return qv::model_import::allocateOrThrow(bytes);
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return qv::model_import::allocate(bytes);
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
    return qv::model_import::allocate(bytes);
}
void operator delete(void* block) noexcept {
    qv::model_import::release(block);
}
void operator delete[](void* block) noexcept {
    qv::model_import::release(block);
}
void operator delete(void* block, std::size_t) noexcept {
    qv::model_import::release(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    qv::model_import::release(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    qv::model_import::release(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    qv::model_import::release(block);
}
