#include "bench/peers/coin_node.h"
#include "bench/support/memory.h"

#include <benchmark/benchmark.h>

#include <Inventor/SoDB.h>
#include <Inventor/SoInteraction.h>
#include <Inventor/nodes/SoTransform.h>

#include <string>

// Measures nodes of Coin: creation with destruction, copies, memory.
namespace qv::bench {
namespace {

void createDestroyNode(benchmark::State& state) {
    for (auto _ : state) {
        const Kept node(new SoTransform);
        benchmark::DoNotOptimize(node.get());
    }
}
BENCHMARK(createDestroyNode)->Name("create_destroy_node");

void createNode10Inputs(benchmark::State& state) {
    int k = 0;
    for (auto _ : state) {
        const Kept node(new TenFields);
        node->setName("node1");
        node->fill(++k);
        benchmark::DoNotOptimize(node.get());
    }
}
BENCHMARK(createNode10Inputs)->Name("create_node_10_inputs");

void cloneNode(benchmark::State& state) {
    const Kept node(new TenFields);
    node->fill(7);
    for (auto _ : state) {
        const Kept copy(node->copy());
        benchmark::DoNotOptimize(copy.get());
    }
}
BENCHMARK(cloneNode)->Name("clone_node_10_inputs");

void memoryNode10Inputs(benchmark::State& state) {
    constexpr int kCount = 2000;
    for (auto _ : state) {
        std::vector<TenFields*> nodes;
        nodes.reserve(kCount);
        const std::size_t before = heapInUse();
        for (int k = 0; k < kCount; ++k) {
            nodes.push_back(new TenFields);
            nodes.back()->ref();
            nodes.back()->setName(("node" + std::to_string(k)).c_str());
            nodes.back()->fill(k);
        }
        state.counters["heap_bytes_per_node"] = static_cast<double>(heapInUse() - before) / kCount;
        for (TenFields* node : nodes)
            node->unref();
    }
}
BENCHMARK(memoryNode10Inputs)->Name("memory_node_10_inputs")->Iterations(1);

} // namespace
} // namespace qv::bench

int main(int count, char** arguments) {
    benchmark::Initialize(&count, arguments);
    SoDB::init();
    SoInteraction::init();
    qv::bench::TenFields::initClass();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
