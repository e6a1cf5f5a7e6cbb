// In a separate program, whose allocated blocks are counted.

#include "kelvo/kelvo.h"
#include "tests/laws/oom_memory.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

// The first text makes what all of them share.
TEST(NodePresentAllocation, TextsOfManyNodes_LeaveNoMemoryTaken) {
    const Scene scene = Scene::create();
    for (int i = 0; i < 20; ++i)
        scene.createNode("light", "lamp");
    EXPECT_FALSE(scene.node(0).text().isEmpty());
    const i64 before = tests::OomMemory::live();
    for (u64 i = 1; i < scene.nodeCount(); ++i)
        EXPECT_FALSE(scene.node(i).text().isEmpty());
    EXPECT_EQ(tests::OomMemory::live(), before);
}

} // namespace
} // namespace qv::kelvo_sdk
