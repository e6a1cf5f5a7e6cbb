#pragma once

#include <cstddef>
#include <new>

// Replaces the allocation functions of the program. Include it behind the definitions of
// `allocateOrFail` and `freeBlock`, which it calls.

void* operator new(std::size_t size) {
    return allocateOrFail(size);
}
void* operator new[](std::size_t size) {
    return allocateOrFail(size);
}
// The library's own versions would call the functions above, but those of a sanitizer do not.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return allocateOrFail(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    return ::operator new(size, tag);
}
void operator delete(void* block) noexcept {
    freeBlock(block);
}
void operator delete[](void* block) noexcept {
    freeBlock(block);
}
void operator delete(void* block, std::size_t) noexcept {
    freeBlock(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    freeBlock(block);
}
