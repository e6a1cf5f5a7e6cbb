#include "kelvo/sdk/impl/graph/node_fetch.h"

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

TEST(NodeFetch, AsksForNodesOfTheListAlone) {
    const kelvo_sdk::Scene scene = kelvo_sdk::Scene::create();
    const auto* const node = static_cast<const Node*>(scene.createNode("light", "lamp").get());
    std::vector<u64> asked;
    for (u64 i = 0; i < 20; ++i)
        NodeFetch::ahead(i, 20, [&](u64 index) {
            asked.push_back(index);
            return node;
        });
    EXPECT_EQ(std::ranges::max(asked), 19u);
    EXPECT_EQ(std::ranges::count(asked, 19u), 6);
}

TEST(NodeFetch, TakesPlacesWithoutNodes) {
    u64 asked = 0;
    NodeFetch::ahead(0, 20, [&](u64) -> const Node* { return ++asked, nullptr; });
    EXPECT_EQ(asked, 6u);
}

TEST(NodeFetch, TakesNodesWithAndWithoutInputs) {
    const kelvo_sdk::Scene scene = kelvo_sdk::Scene::create();
    kelvo_sdk::Node lamp = scene.createNode("light", "lamp");
    for (const AttrType type : {AttrType::Null, AttrType::Mat4, AttrType::Array, AttrType::Object})
        lamp.createInput("input", type);
    lamp.createArray("full", AttrType::Real).append();
    const kelvo_sdk::Node plain = scene.createNode("null", "plain");
    const String before = scene.text();
    const std::vector<const Node*> nodes{static_cast<const Node*>(lamp.get()),
                                         static_cast<const Node*>(plain.get())};
    for (u64 i = 0; i < 16; ++i)
        NodeFetch::ahead(i, 16, [&](u64 index) { return nodes[index % 2]; });
    EXPECT_EQ(scene.text(), before);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
