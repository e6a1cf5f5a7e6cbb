#include "bench/support/graphs.h"

#include <benchmark/benchmark.h>

// Dirty states that the scene keeps true to the dependencies.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;
using interfaces::IInput;
using interfaces::INode;

// All of the chain is clean to begin with.
struct CachedChain : ConnectedChain {
    explicit CachedChain(i64 count) : ConnectedChain(count) {
        clean();
        scene.setDirtyStateCached(true);
    }
};

// A change at the front and a query at the end, over and over. `clean` marks all nodes clean before
// each change, untimed; else all are dirty from the start, and a change turns no flags.
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
    ->Range(1000, 100000)
    ->Unit(benchmark::kMicrosecond);

void dirtyQueryCachedCleaned(benchmark::State& state) {
    changeAndQuery(state, true);
}
BENCHMARK(dirtyQueryCachedCleaned)
    ->Name("dirty_query_cached_cleaned")
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMicrosecond);

// The same question again: all clean, or all dirty since a change at the front.
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
