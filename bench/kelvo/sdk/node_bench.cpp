#include "bench/support/bench_node.h"
#include "bench/support/graphs.h"
#include "bench/support/memory.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <benchmark/benchmark.h>

#include <string>
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

// Makes the name from plain text for each look-up, as a client with a text does.
void lookupAttrByName(benchmark::State& state) {
    impl::Node node(nullptr, "wide", "wide");
    for (int i = 0; i < state.range(0); ++i)
        node.createInput(String(("attribute" + std::to_string(i)).c_str()), AttrType::Real);
    const std::string name = "attribute" + std::to_string(state.range(0) - 1);
    const INode& read = node;
    for (auto _ : state)
        benchmark::DoNotOptimize(read.input(String(name.c_str())));
}
BENCHMARK(lookupAttrByName)->Name("lookup_attr_by_name")->Arg(8)->Arg(32)->Arg(128);

// Keeps the name from one look-up to the next.
void lookupAttrByKeptName(benchmark::State& state) {
    impl::Node node(nullptr, "wide", "wide");
    for (int i = 0; i < state.range(0); ++i)
        node.createInput(String(("attribute" + std::to_string(i)).c_str()), AttrType::Real);
    const String name(("attribute" + std::to_string(state.range(0) - 1)).c_str());
    const INode& read = node;
    for (auto _ : state)
        benchmark::DoNotOptimize(read.input(name));
}
BENCHMARK(lookupAttrByKeptName)
    ->Name("lookup_attr_by_name_interned")
    ->Arg(8)
    ->Arg(32)
    ->Arg(128)
    ->RangeMultiplier(10)
    ->Range(1000, 1'000'000);

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
