// Replaces the allocation functions by ones that fail on command, on any thread.

#include "kelvo/kelvo.h"
#include "kelvo/sdk/library_entry.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

namespace {

// The number of allocations that still succeed, on all threads together; at first all do.
std::atomic<long> allowance = 1L << 40;

void* allocateOrFail(std::size_t size) {
    void* block = allowance-- > 0 ? std::malloc(size != 0 ? size : 1) : nullptr;
    if (!block) throw std::bad_alloc();
    return block;
}

void freeBlock(void* block) noexcept {
    std::free(block);
}

} // namespace

// Calls the two functions above.
#include "tests/support/replaced_new.h"

namespace qv::kelvo_sdk {
namespace {

std::string textOf(int nodes) {
    std::string text = "kelvo scene 1\n\n";
    for (int i = 0; i < nodes; ++i)
        text += "node xform \"n" + std::to_string(i) +
                "\" {\n    Real x = 1\n    Array<Int> a = [1, 2]\n}\n";
    return text;
}

// Reads with memory for a number of allocations. True when the scene was read; else it has to be as
// it was.
bool readsWith(long allocations, const String& text, u32 threads) {
    const i64 before = impl_nodeInstanceCount();
    const Scene scene = Scene::create();
    scene.createNode("xform", "kept");
    const String was = scene.text();
    ReadOptions options;
    options.threads = threads;
    bool isRead = false;
    allowance = allocations;
    try {
        isRead = scene.read(text, "t.kns", options).isRead;
    } catch (const std::bad_alloc&) {
        isRead = false;
    }
    allowance = 1L << 40;
    if (isRead) return true;
    EXPECT_EQ(scene.text(), was) << allocations;
    EXPECT_EQ(impl_nodeInstanceCount(), before + 1) << allocations;
    EXPECT_TRUE(scene.verify().empty()) << allocations;
    return false;
}

TEST(ReaderAllocation, FailureOnAnyThread_LeavesTheSceneAsItWas) {
    constexpr int nodes = 2500; // Enough for two threads that parse.
    constexpr int step = 401;
    const String text = String(std::string_view(textOf(nodes)));
    for (const u32 threads : {1u, 2u, 4u}) {
        int failures = 0;
        for (long allocations = 0; !readsWith(allocations, text, threads); allocations += step)
            ++failures;
        EXPECT_GT(failures, nodes / step) << threads;
    }
}

} // namespace
} // namespace qv::kelvo_sdk
