#include "kelvo/sdk/impl/graph/connection_loop.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

constexpr std::size_t kCount = 30;

// Tells whether `to` can be reached from `from`, by a slow and obvious search.
bool reaches(const bool (&edge)[kCount][kCount], std::size_t from, std::size_t to) {
    std::vector<std::size_t> open = {from};
    bool seen[kCount] = {};
    while (!open.empty()) {
        const std::size_t at = open.back();
        open.pop_back();
        if (at == to) return true;
        if (std::exchange(seen[at], true)) continue;
        for (std::size_t next = 0; next < kCount; ++next) {
            if (edge[at][next]) open.push_back(next);
        }
    }
    return false;
}

TEST(ConnectionLoop, RandomGraphs_AgreeWithAnObviousSearch) {
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    std::vector<INode*> nodes;
    for (std::size_t i = 0; i < kCount; ++i) {
        nodes.push_back(scene->createNode("op", "n"));
        nodes.back()->createOutput("out", AttrType::Real);
        nodes.back()->createArray("in", AttrType::Real);
    }
    bool edge[kCount][kCount] = {};
    std::mt19937 random(11);
    int refused = 0;
    for (int step = 0; step < 1500; ++step) {
        const std::size_t from = random() % kCount;
        const std::size_t to = random() % kCount;
        auto* output = static_cast<Output*>(nodes[from]->output(u64(0)));
        IInput* list = nodes[to]->input(u64(0));
        auto* element = static_cast<Input*>(list->appendElement());
        const bool expected = reaches(edge, to, from);
        ASSERT_EQ(closesLoop(*output, *element), expected);
        if (expected || edge[from][to] || random() % 4 != 0) {
            refused += expected;
            list->removeLastInput();
            continue;
        }
        ASSERT_TRUE(element->connect(output));
        edge[from][to] = true;
    }
    EXPECT_GT(refused, 100);
}

TEST(ConnectionLoop, EndsWithoutNode_CloseNothing) {
    const Output output(nullptr, "out", AttrType::Real);
    const Input input(nullptr, nullptr, "in", AttrType::Real, AttrType::Null);
    EXPECT_FALSE(closesLoop(output, input));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
