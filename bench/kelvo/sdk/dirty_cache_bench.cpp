#include "bench/support/graphs.h"

#include <benchmark/benchmark.h>

// Measures the dirty flags that the scene keeps up to date with the dependencies.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;
using interfaces::IInput;
using interfaces::INode;

// A chain whose nodes are all clean at the start.
struct CachedChain : ConnectedChain {
    explicit CachedChain(i64 count) : ConnectedChain(count) {
        clean();
        scene.setDirtyStateCached(true);
    }
};

// Changes the first node and queries the last, repeatedly. `clean` marks all nodes clean before
// each change, untimed; else all are dirty from the start, and a change sets no flags.
void changeAndQuery(benchmark::State& state, bool clean) {
    const auto& chain = keptGraph<CachedChain>(state.range(0));
    chain.clean();
    IInput* head = chain.head();
    const INode* last = chain.last();
    double value = 0.0;
    head->readReal(value, false, nullptr);
    head->setReal(value += 1.0);
    for (auto _ : state) {
        if (clean) {
            state.PauseTiming();
            chain.clean();
            const bool wasClean = !last->dirty(true);
            state.ResumeTiming();
            if (!wasClean) {
                state.SkipWithError("not clean");
                break;
            }
        }
        head->setReal(value += 1.0);
        if (!last->dirty(true)) {
            state.SkipWithError("not dirty");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void dirtyQueryCached(benchmark::State& state) {
    changeAndQuery(state, false);
}
BENCHMARK(dirtyQueryCached)
    ->Name("dirty_query_cached")
    ->RangeMultiplier(10)
    ->Range(100, 100000)
    ->Unit(benchmark::kMicrosecond);

void dirtyQueryCachedCleaned(benchmark::State& state) {
    changeAndQuery(state, true);
}
BENCHMARK(dirtyQueryCachedCleaned)
    ->Name("dirty_query_cached_cleaned")
    ->RangeMultiplier(10)
    ->Range(100, 100000)
    ->Unit(benchmark::kMicrosecond);

// Repeats the same query: all nodes are clean, or all are dirty since a change of the first.
void dirtyQueryCachedRepeated(benchmark::State& state) {
    const auto& chain = keptGraph<CachedChain>(state.range(0));
    const bool isDirty = state.range(1) != 0;
    chain.clean();
    if (isDirty) {
        double value = 0.0;
        chain.head()->readReal(value, false, nullptr);
        chain.head()->setReal(value + 1.0);
    }
    const INode* last = chain.last();
    for (auto _ : state) {
        if (last->dirty(true) != isDirty) {
            state.SkipWithError("wrong answer");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(dirtyQueryCachedRepeated)
    ->Name("dirty_query_cached_repeated")
    ->ArgNames({"", "dirty"})
    ->ArgsProduct({{1000, 10000, 100000}, {0, 1}});

} // namespace
} // namespace qv::bench
