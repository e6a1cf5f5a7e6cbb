#include "kelvo/base/hash.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

using namespace qv;

namespace {

void hashBuffer(benchmark::State& state) {
    const std::vector<u8> bytes(static_cast<u64>(state.range(0)), u8{0x5a});
    for (auto _ : state)
        benchmark::DoNotOptimize(hashBytes(bytes.data(), bytes.size()));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(hashBuffer)->Name("hash_buffer")->Arg(256)->Arg(4 << 10)->Arg(1 << 20)->Arg(64 << 20);

// Measures the lower bound for large buffers: a sum of all words.
void readBuffer(benchmark::State& state) {
    const std::vector<u64> words(static_cast<u64>(state.range(0)) / sizeof(u64), u64{0x5a});
    for (auto _ : state) {
        u64 sum = 0;
        for (const u64 word : words)
            sum += word;
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(readBuffer)->Name("read_buffer")->Arg(64 << 20);

void hashName(benchmark::State& state) {
    std::string name(static_cast<u64>(state.range(0)), 'R');
    for (auto _ : state) {
        benchmark::DoNotOptimize(name.data());
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(hashBytes(name.data(), name.size()));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(hashName)->Name("hash_name")->Arg(4)->Arg(8)->Arg(16)->Arg(32)->Arg(100);

void foldName(benchmark::State& state) {
    std::string name(static_cast<u64>(state.range(0)), 'R');
    for (auto _ : state) {
        benchmark::DoNotOptimize(name.data());
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(hashFolded(name));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(foldName)->Name("hash_folded_name")->Arg(4)->Arg(8)->Arg(16)->Arg(32)->Arg(100);

} // namespace
