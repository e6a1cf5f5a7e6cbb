#include "bench/support/graphs.h"

#include <benchmark/benchmark.h>

// Measures searches through a whole scene, by path, type and value.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;

// Finds a tenth of the nodes, or of their inputs "f".
void findAll(benchmark::State& state, const Query& query) {
    const auto& graph = keptGraph<LeanChain>(state.range(0));
    const u64 expected = static_cast<u64>(state.range(0)) / 10;
    for (auto _ : state) {
        const Matches matches = graph.scene.find(query);
        benchmark::DoNotOptimize(matches.begin());
        if (matches.size() == expected) continue;
        state.SkipWithError("wrong count");
        break;
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void findByPattern(benchmark::State& state) {
    findAll(state, {.pattern = "*7.f"});
}
BENCHMARK(findByPattern)
    ->Name("find_by_pattern")
    ->RangeMultiplier(10)
    ->Range(100, 100000)
    ->Unit(benchmark::kMicrosecond);

void findByType(benchmark::State& state) {
    findAll(state, {.pattern = "*7", .type = "bench*"});
}
BENCHMARK(findByType)->Name("find_by_type")->Arg(10000)->Unit(benchmark::kMicrosecond);

void findByValue(benchmark::State& state) {
    findAll(state, {.pattern = "*7.*", .value = ">=0"});
}
BENCHMARK(findByValue)->Name("find_by_value")->Arg(10000)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace qv::bench
