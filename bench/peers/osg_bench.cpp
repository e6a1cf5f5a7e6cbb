#include "bench/peers/osg_node.h"
#include "bench/support/memory.h"

#include <benchmark/benchmark.h>

// Measures nodes of OpenSceneGraph: creation with destruction, copies, memory.
namespace qv::bench {
namespace {

using NodePtr = osg::ref_ptr<osg::MatrixTransform>;

void createDestroyNode(benchmark::State& state) {
    for (auto _ : state) {
        const NodePtr node = new osg::MatrixTransform;
        benchmark::DoNotOptimize(node.get());
    }
}
BENCHMARK(createDestroyNode)->Name("create_destroy_node");

void createNode10Inputs(benchmark::State& state) {
    int k = 0;
    for (auto _ : state) {
        const NodePtr node = new osg::MatrixTransform;
        node->setName("node1");
        addTenValues(*node, ++k);
        benchmark::DoNotOptimize(node.get());
    }
}
BENCHMARK(createNode10Inputs)->Name("create_node_10_inputs");

void cloneNode(benchmark::State& state) {
    const NodePtr node = new osg::MatrixTransform;
    addTenValues(*node, 7);
    for (auto _ : state) {
        const osg::ref_ptr<osg::Object> copy = node->clone(osg::CopyOp::DEEP_COPY_ALL);
        benchmark::DoNotOptimize(copy.get());
    }
}
BENCHMARK(cloneNode)->Name("clone_node_10_inputs");

void memoryNode10Inputs(benchmark::State& state) {
    constexpr int kCount = 2000;
    for (auto _ : state) {
        std::vector<NodePtr> nodes;
        nodes.reserve(kCount);
        const std::size_t before = heapInUse();
        for (int k = 0; k < kCount; ++k) {
            nodes.push_back(new osg::MatrixTransform);
            nodes.back()->setName("node" + std::to_string(k));
            addTenValues(*nodes.back(), k);
        }
        state.counters["heap_bytes_per_node"] = static_cast<double>(heapInUse() - before) / kCount;
    }
}
BENCHMARK(memoryNode10Inputs)->Name("memory_node_10_inputs")->Iterations(1);

} // namespace
} // namespace qv::bench

BENCHMARK_MAIN();
