// In a separate program, whose calls of malloc and realloc can be made to fail.

#include "kelvo/sdk/impl/index/node_table.h"
#include "tests/laws/oom_memory.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::OomMemory;
using tests::withoutMemory;

// The table never dereferences its nodes, so that any distinct addresses will do.
Node* fakeNode(std::size_t number) {
    static std::vector<char> addresses(1000);
    return reinterpret_cast<Node*>(&addresses[number]);
}

TEST(NodeTableOutOfMemory, Move_StillMoves) {
    for (const std::size_t count : {3u, 4u, 31u, 32u, 33u, 63u, 64u, 65u, 128u}) {
        NodeTable table;
        for (std::size_t i = 0; i < count; ++i)
            table.add("n" + String(std::to_string(i)), fakeNode(i));
        const String second("n1"), last("n" + String(std::to_string(count - 1)));
        withoutMemory([&] {
            table.move(second, count - 1);
            table.move(last, 0);
        });
        EXPECT_EQ(table.at(count - 1), fakeNode(1)) << count;
        EXPECT_EQ(table.at(0), fakeNode(count - 1)) << count;
        EXPECT_EQ(table.at(1), fakeNode(0)) << count;
        EXPECT_EQ(table.indexOf(second), count - 1) << count;
    }
}

TEST(NodeTableOutOfMemory, NodeThatIsNotAdded_TakesNoNumber) {
    const String name("c");
    u64 failures = 0;
    for (u64 which = 1; which < 12; ++which) {
        NodeTable table;
        table.add("a", fakeNode(0));
        const NodeNumber last = table.add("b", fakeNode(1));
        OomMemory::arm(OomMemory::Fails::Once, which);
        try {
            table.add(name, fakeNode(2));
        } catch (const std::bad_alloc&) {
            ++failures;
        }
        OomMemory::disarm();
        if (table.find(name)) continue;
        EXPECT_EQ(table.size(), 2u);
        EXPECT_EQ(table.add(name, fakeNode(2)), last + 1) << which;
    }
    EXPECT_GT(failures, 0u);
}

TEST(NodeTableOutOfMemory, PlaceThatCannotBeTakenAgain_ChangesNothing) {
    NodeTable table;
    for (const char* name : {"a", "b"})
        table.add(name, fakeNode(1));
    NodeTable::Place place = table.take("b");
    table.add("c", fakeNode(2));
    const String name("b");
    withoutMemory(
        [&] { EXPECT_THROW(table.add(std::move(place), name, fakeNode(1), 0), std::bad_alloc); });
    EXPECT_EQ(table.size(), 2u);
    EXPECT_EQ(table.find(name), nullptr);
    table.add(name, fakeNode(3));
    EXPECT_EQ(table.indexOf(name), 2u);
}

TEST(NodeTableOutOfMemory, NumberFreed_IsGivenAgain) {
    NodeTable table;
    for (std::size_t i = 0; i < 4; ++i)
        table.add(table.freeName("lamp"), fakeNode(i));
    const String freed("lamp1");
    withoutMemory([&] { table.remove(freed); });
    EXPECT_EQ(table.freeName("lamp"), "lamp1");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
