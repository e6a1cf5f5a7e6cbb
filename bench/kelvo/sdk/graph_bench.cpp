#include "bench/support/graphs.h"
#include "kelvo/sdk/impl/graph/node_iterator.h"
#include "kelvo/sdk/impl/graph/path_iterator.h"

#include <benchmark/benchmark.h>

// Measures hierarchies and the paths through them.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;
using impl::NodeIterator;
using impl::PathIterator;
using interfaces::IInput;
using interfaces::INode;

// Walks over all nodes below the first, one by one.
template<typename G>
void traverse(benchmark::State& state) {
    const G& graph = keptGraph<G>(state.range(0));
    for (auto _ : state) {
        const auto nodes = RefersTo<NodeIterator>::adopt(graph.first()->children(-1));
        u64 seen = 0;
        for (const INode* node = nodes->first(); node; node = nodes->next())
            ++seen;
        if (seen != graph.count() - 1) {
            state.SkipWithError("wrong count");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(traverse<Tree>)
    ->Name("traverse_hierarchy")
    ->RangeMultiplier(10)
    ->Range(100, 100000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(traverse<LevelChain>)
    ->Name("traverse_chain")
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(traverse<Fan>)
    ->Name("traverse_fan")
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond);

void searchFirstPath(benchmark::State& state, const Graph& graph, i64 length) {
    INode* from = graph.first();
    INode* to = graph.last();
    for (auto _ : state) {
        const auto path = RefersTo<NodePath>::adopt(from->firstPathTo(to, false));
        if (!path || static_cast<i64>(path->nodeCount()) != length) {
            state.SkipWithError("wrong path");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void nodePathSearch(benchmark::State& state) {
    const i64 count = state.range(0);
    searchFirstPath(state, keptGraph<Tree>(count), treePathLength(count));
}
BENCHMARK(nodePathSearch)
    ->Name("node_path_search")
    ->RangeMultiplier(10)
    ->Range(100, 100000)
    ->Unit(benchmark::kMicrosecond);

void nodePathDeep(benchmark::State& state) {
    const i64 count = state.range(0);
    searchFirstPath(state, keptGraph<LevelChain>(count), count);
}
BENCHMARK(nodePathDeep)
    ->Name("node_path_deep")
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond);

// Takes the first thousand of very many paths. An item is a path.
void nodePathsDiamonds(benchmark::State& state) {
    constexpr i64 kPaths = 1000;
    const auto& graph = keptGraph<Diamonds>(state.range(0));
    const u64 length = 2 * static_cast<u64>(state.range(0)) + 1;
    for (auto _ : state) {
        const auto paths =
            RefersTo<PathIterator>::adopt(graph.first()->pathsTo(graph.last(), false));
        i64 right = 0;
        for (i64 i = 0; i < kPaths && paths->current(); ++i, paths->next())
            right += paths->current()->nodeCount() == length;
        if (right != kPaths) {
            state.SkipWithError("wrong paths");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * kPaths);
}
BENCHMARK(nodePathsDiamonds)
    ->Name("node_paths_diamonds")
    ->Arg(16)
    ->Arg(64)
    ->Unit(benchmark::kMicrosecond);

// Removes the emptied element as well, so that the list keeps its length.
void parentUnparent(benchmark::State& state) {
    const auto& graph = keptGraph<Fan>(state.range(0));
    INode* parent = graph.first();
    IInput* children = parent->input(String("children"));
    const auto scene = graph.scene;
    INode* node = scene->createNode("xform", "moved");
    for (auto _ : state) {
        if (!node->parentTo(parent) || !node->unparentFrom(parent)) {
            state.SkipWithError("not moved");
            break;
        }
        children->removeLastInput();
    }
    if (children->inputCount() != static_cast<u64>(state.range(0)))
        state.SkipWithError("wrong count");
    scene->removeNode(node);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(parentUnparent)->Name("parent_unparent")->Arg(0)->Arg(1000)->Arg(10000);

// Searches for the last of many children.
void indexIn(benchmark::State& state) {
    const auto& graph = keptGraph<Fan>(state.range(0));
    const INode* child = graph.last();
    INode* parent = graph.first();
    for (auto _ : state) {
        if (child->indexIn(parent) != state.range(0) - 1) {
            state.SkipWithError("wrong index");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(indexIn)->Name("index_in")->RangeMultiplier(10)->Range(100, 100000);

} // namespace
} // namespace qv::bench
