#pragma once

#include <cstddef>

// Replaces the allocation functions of the program. Include it behind the definitions of
// `allocateOrFail` and `freeBlock`, which it calls.

void* operator new(std::size_t size) {
    return allocateOrFail(size);
}
void* operator new[](std::size_t size) {
    return allocateOrFail(size);
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
