#include "bench/support/bench_node.h"
#include "bench/support/graphs.h"
#include "bench/support/memory.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

// Measures nodes: creation, destruction, look-ups, hierarchies.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;
using interfaces::INode;

void createDestroyNode(benchmark::State& state) {
    const auto scene = Scene::create();
    const String type("xform");
    const String name("node1");
    for (auto _ : state) {
        INode* node = new impl::Node(scene.get(), type, name);
        benchmark::DoNotOptimize(node);
        node->decRef();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(createDestroyNode)->Name("create_destroy_node");

void createNode10Inputs(benchmark::State& state) {
    const auto scene = Scene::create();
    const String name("node1");
    int k = 0;
    for (auto _ : state) {
        auto* node = new impl::Node(scene.get(), BenchNames::get().type, name);
        addTenInputs(*static_cast<INode*>(node), ++k);
        benchmark::DoNotOptimize(node);
        node->decRef();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(createNode10Inputs)->Name("create_node_10_inputs");

// A node with inputs "attribute0", "attribute1" and so on. Look-ups are for the last.
class Wide {
public:
    explicit Wide(benchmark::State& state)
        : m_state(state), m_node(adoptRef, new impl::Node(nullptr, "wide", "wide")) {
        for (i64 i = 0; i < state.range(0); ++i)
            std::ignore = m_node.createInput(name(i), AttrType::Real);
    }
    [[nodiscard]] String lastName() const { return name(m_state.range(0) - 1); }
    // Measures `find(const Node&)`.
    template<typename Find>
    void measure(const Find& find) const {
        if (!find(m_node)) return m_state.SkipWithError("not found");
        for (auto _ : m_state)
            benchmark::DoNotOptimize(find(m_node));
    }

private:
    static String name(i64 number) {
        return String(("attribute" + std::to_string(number)).c_str());
    }

    benchmark::State& m_state;
    Node m_node;
};

// Writes the name in the source code.
void lookupAttrByName(benchmark::State& state) {
    const Wide wide(state);
    switch (state.range(0)) {
    case 8:
        return wide.measure([](const Node& node) { return node.borrowInput("attribute7"); });
    case 32:
        return wide.measure([](const Node& node) { return node.borrowInput("attribute31"); });
    default:
        return wide.measure([](const Node& node) { return node.borrowInput("attribute127"); });
    }
}
BENCHMARK(lookupAttrByName)->Name("lookup_attr_by_name")->Arg(8)->Arg(32)->Arg(128);

constexpr Name lastNames[] = {"attribute7",    "attribute31",    "attribute127",   "attribute999",
                              "attribute9999", "attribute99999", "attribute999999"};

// Keeps the name from one look-up to the next.
void lookupAttrByKeptName(benchmark::State& state) {
    const Wide wide(state);
    const Name* name = std::ranges::find(lastNames, wide.lastName().view(), &Name::text);
    if (name == std::end(lastNames)) return state.SkipWithError("no name is kept for this size");
    wide.measure([=](const Node& node) { return node.borrowInput(*name); });
}
BENCHMARK(lookupAttrByKeptName)
    ->Name("lookup_attr_by_name_interned")
    ->Arg(8)
    ->Arg(32)
    ->Arg(128)
    ->RangeMultiplier(10)
    ->Range(1000, 1'000'000);

// Gets a handle, which counts a reference.
void lookupAttrHandle(benchmark::State& state) {
    const Wide wide(state);
    wide.measure([](const Node& node) { return node["attribute7"]; });
}
BENCHMARK(lookupAttrHandle)->Name("lookup_attr_handle")->Arg(8);

// Keeps the name as a String.
void lookupAttrByKeptString(benchmark::State& state) {
    const Wide wide(state);
    const String name = wide.lastName();
    wide.measure([&](const Node& node) { return node.borrowInput(name); });
}
BENCHMARK(lookupAttrByKeptString)->Name("lookup_attr_by_kept_string")->Arg(8)->Arg(32)->Arg(128);

// Makes the String for each look-up from plain text, as a client that reads names does.
void lookupAttrByNewString(benchmark::State& state) {
    const Wide wide(state);
    const std::string name(wide.lastName().view());
    wide.measure([&](const Node& node) {
        const INode& read = *node;
        return read.input(String(name.c_str()));
    });
}
BENCHMARK(lookupAttrByNewString)->Name("lookup_attr_by_new_string")->Arg(8)->Arg(32)->Arg(128);

void buildHierarchy(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    for (auto _ : state) {
        const auto scene = Scene::create();
        buildTree(scene, count);
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(buildHierarchy)->Name("build_hierarchy")->Arg(10000)->Unit(benchmark::kMillisecond);

void sceneNodes(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    const String type("thing");
    const String name("n");
    for (auto _ : state) {
        const auto scene = Scene::create();
        for (int i = 0; i < count; ++i)
            benchmark::DoNotOptimize(scene->createNode(type, name));
        u64 seen = 0;
        for (u64 i = 0; i < scene.nodeCount(); ++i)
            seen += scene->node(i) != nullptr;
        benchmark::DoNotOptimize(seen);
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(sceneNodes)
    ->Name("scene_build_iterate_die")
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);

void memoryNode10Inputs(benchmark::State& state) {
    constexpr int kCount = 2000;
    for (auto _ : state) {
        const auto scene = Scene::create();
        std::vector<impl::Node*> nodes;
        nodes.reserve(kCount);
        const std::size_t before = heapInUse();
        for (int i = 0; i < kCount; ++i) {
            nodes.push_back(new impl::Node(scene.get(), BenchNames::get().type,
                                           String(("node" + std::to_string(i)).c_str())));
            addTenInputs(*static_cast<INode*>(nodes.back()), i);
        }
        state.counters["heap_bytes_per_node"] = static_cast<double>(heapInUse() - before) / kCount;
        state.counters["sizeof_node"] = sizeof(impl::Node);
        for (impl::Node* node : nodes)
            node->decRef();
    }
}
BENCHMARK(memoryNode10Inputs)->Name("memory_node_10_inputs")->Iterations(1);

} // namespace
} // namespace qv::bench
