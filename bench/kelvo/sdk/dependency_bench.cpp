#include "bench/support/graphs.h"
#include "kelvo/sdk/impl/graph/node_iterator.h"

#include <benchmark/benchmark.h>

// Measures the dependencies of nodes: collecting them, evaluating through them, asking for changes.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;
using impl::NodeIterator;
using interfaces::IInput;
using interfaces::INode;

// Collects all nodes that `node` depends on, the whole graph but `node`, one by one.
void collectFrom(benchmark::State& state, const Graph& graph, const INode* node) {
    for (auto _ : state) {
        const auto nodes = RefersTo<NodeIterator>::adopt(node->dependencies(false, false));
        u64 seen = 0;
        for (const INode* next = nodes->first(); next; next = nodes->next())
            ++seen;
        if (seen != graph.count() - 1) {
            state.SkipWithError("wrong count");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template<typename Chain>
void dependencyCollect(benchmark::State& state) {
    const auto& chain = keptGraph<Chain>(state.range(0));
    collectFrom(state, chain, chain.last());
}
BENCHMARK(dependencyCollect<ConnectedChain>)
    ->Name("dependency_collect")
    ->RangeMultiplier(10)
    ->Range(100, 100000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(dependencyCollect<LeanChain>)
    ->Name("dependency_collect_lean")
    ->RangeMultiplier(10)
    ->Range(100, 100000)
    ->Unit(benchmark::kMicrosecond);

void dependencyCollectWide(benchmark::State& state) {
    const auto& graph = keptGraph<WideNode>(state.range(0));
    collectFrom(state, graph, graph.first());
}
BENCHMARK(dependencyCollectWide)
    ->Name("dependency_collect_wide")
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMicrosecond);

// Sets the head and reads the tail, whose value passes through every node.
void dependencyChain(benchmark::State& state) {
    const auto& chain = keptGraph<EvaluatedChain>(state.range(0));
    IInput* head = chain.head();
    const IInput* tail = chain.tail();
    double value = 0.0;
    for (auto _ : state) {
        double got = 0.0;
        head->setReal(value += 1.0);
        if (!tail->readReal(got, true, nullptr) || got != value) {
            state.SkipWithError("not propagated");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(dependencyChain)
    ->Name("dependency_chain")
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMicrosecond);

// Measures the dirty flags alone: sets the head and reads nothing.
void dependencyChainDirty(benchmark::State& state) {
    const auto& chain = keptGraph<ConnectedChain>(state.range(0));
    IInput* head = chain.head();
    double value = 0.0;
    head->readReal(value, false, nullptr);
    for (auto _ : state) {
        if (!head->setReal(value += 1.0)) {
            state.SkipWithError("not set");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(dependencyChainDirty)
    ->Name("dependency_chain_dirty")
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMicrosecond);

// Asks a clean chain without a cache, so that the query visits every node.
void dirtyQueryDeep(benchmark::State& state) {
    const auto& chain = keptGraph<ConnectedChain>(state.range(0));
    chain.clean();
    const INode* last = chain.last();
    for (auto _ : state) {
        if (last->dirty(true)) {
            state.SkipWithError("not clean");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(dirtyQueryDeep)
    ->Name("dirty_query_deep")
    ->RangeMultiplier(10)
    ->Range(100, 100000)
    ->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace qv::bench
