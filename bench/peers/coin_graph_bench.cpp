#include "bench/peers/coin_node.h"
#include "bench/support/workload.h"

#include <benchmark/benchmark.h>

#include <Inventor/SoPath.h>
#include <Inventor/actions/SoSearchAction.h>

// Measures graphs of Coin: hierarchies, paths, chains of connections.
namespace qv::bench {
namespace {

void buildHierarchy(benchmark::State& state) {
    for (auto _ : state) {
        const Kept root(makeTree(state.range(0)).front());
        benchmark::DoNotOptimize(root.get());
    }
}
BENCHMARK(buildHierarchy)->Name("build_hierarchy")->Arg(10000)->Unit(benchmark::kMillisecond);

void collectBelow(const SoSeparator& node, std::vector<SoNode*>& found) {
    for (int k = 0; k < node.getNumChildren(); ++k) {
        SoNode* child = node.getChild(k);
        if (!child->isOfType(SoSeparator::getClassTypeId())) continue;
        found.push_back(child);
        collectBelow(*static_cast<SoSeparator*>(child), found);
    }
}

void traverseHierarchy(benchmark::State& state) {
    const Kept root(makeTree(state.range(0)).front());
    for (auto _ : state) {
        std::vector<SoNode*> found;
        collectBelow(*root.get(), found);
        if (static_cast<std::int64_t>(found.size()) != state.range(0) - 1)
            state.SkipWithError("wrong count");
    }
}
BENCHMARK(traverseHierarchy)->Name("traverse_hierarchy")->Arg(10000)->Unit(benchmark::kMicrosecond);

// Searches for the last node, which gives the path to it.
void nodePathSearch(benchmark::State& state) {
    const std::vector<SoSeparator*> nodes = makeTree(state.range(0));
    const Kept root(nodes.front());
    for (auto _ : state) {
        SoSearchAction search;
        search.setNode(nodes.back());
        search.setInterest(SoSearchAction::FIRST);
        search.apply(root.get());
        if (!search.getPath() || search.getPath()->getLength() != treePathLength(state.range(0)))
            state.SkipWithError("wrong path");
    }
}
BENCHMARK(nodePathSearch)->Name("node_path_search")->Arg(10000)->Unit(benchmark::kMicrosecond);

// Sets the head and reads the tail, whose value passes through every node.
void dependencyChain(benchmark::State& state) {
    const FieldChain chain(state.range(0));
    float value = 0;
    for (auto _ : state) {
        chain.head().setValue(value += 1.f);
        if (chain.tail().getValue() != value) state.SkipWithError("not propagated");
    }
}
BENCHMARK(dependencyChain)
    ->Name("dependency_chain")
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMicrosecond);

// Sets the head and reads nothing.
void dependencyChainDirty(benchmark::State& state) {
    const FieldChain chain(state.range(0));
    float value = 0;
    for (auto _ : state)
        chain.head().setValue(value += 1.f);
}
BENCHMARK(dependencyChainDirty)
    ->Name("dependency_chain_dirty")
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMicrosecond);

// Coin has no collection of dependencies. This one goes from connected field to connected field,
// its fastest way, and does not look at the other fields of the nodes.
void dependencyCollect(benchmark::State& state) {
    const FieldChain chain(state.range(0));
    for (auto _ : state) {
        std::vector<SoFieldContainer*> found;
        SoField* source = nullptr;
        for (SoField* field = &chain.tail(); field->getConnectedField(source); field = source)
            found.push_back(source->getContainer());
        if (static_cast<std::int64_t>(found.size()) != state.range(0) - 1)
            state.SkipWithError("wrong count");
    }
}
BENCHMARK(dependencyCollect)
    ->Name("dependency_collect")
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace qv::bench
