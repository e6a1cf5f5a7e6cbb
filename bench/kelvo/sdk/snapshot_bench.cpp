#include "bench/support/bench_node.h"
#include "bench/support/graphs.h"
#include "bench/support/memory.h"
#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot_delta.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

// Measures snapshots of scenes whose nodes have ten inputs each.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;
using interfaces::IInput;
using interfaces::INode;

struct WideScene {
    explicit WideScene(i64 count) {
        for (i64 i = 0; i < count; ++i) {
            const Node node = scene.createNode("bench10", "node");
            addTenInputs(*static_cast<INode*>(node.get()), static_cast<int>(i));
            inputs.push_back(node.borrowInput("f"));
        }
    }
    /// Changes one value in each of `count` nodes, spread over the scene.
    void change(i64 count) const {
        const std::size_t step = inputs.size() / static_cast<std::size_t>(count);
        value += 1.0;
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
            inputs[i * step]->setReal(value);
    }

    Scene scene = Scene::create();
    std::vector<IInput*> inputs;
    mutable double value = 0.5;
};

void firstSnapshot(benchmark::State& state) {
    const auto& wide = keptGraph<WideScene>(state.range(0));
    std::size_t bytes = 0;
    for (auto _ : state) {
        // A copy of the scene would cost more than the snapshot, so each measures a new keeper.
        state.PauseTiming();
        const std::size_t before = heapInUse();
        state.ResumeTiming();
        const Snapshot snapshot = wide.scene.snapshot();
        benchmark::DoNotOptimize(snapshot.nodeCount());
        state.PauseTiming();
        bytes = heapInUse() - before;
        state.ResumeTiming();
    }
    state.counters["bytes_per_node"] =
        static_cast<double>(bytes) / static_cast<double>(state.range(0));
}
BENCHMARK(firstSnapshot)
    ->Name("snapshot_first")
    ->Arg(100000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

// Changes values and takes a snapshot; only the snapshot is timed.
void nextSnapshot(benchmark::State& state) {
    const auto& wide = keptGraph<WideScene>(state.range(0));
    Snapshot last = wide.scene.snapshot();
    for (auto _ : state) {
        state.PauseTiming();
        wide.change(state.range(1));
        state.ResumeTiming();
        Snapshot next = wide.scene.snapshot();
        state.PauseTiming();
        last = std::move(next);
        state.ResumeTiming();
    }
}
BENCHMARK(nextSnapshot)
    ->Name("snapshot_after_changes")
    ->Args({1000, 1})
    ->Args({100000, 1})
    ->Args({100000, 1000})
    ->Unit(benchmark::kMicrosecond);

// The same with the changes, as an application that shows each edit.
void changeAndSnapshot(benchmark::State& state) {
    const auto& wide = keptGraph<WideScene>(state.range(0));
    Snapshot last = wide.scene.snapshot();
    for (auto _ : state) {
        wide.change(1);
        last = wide.scene.snapshot();
    }
}
BENCHMARK(changeAndSnapshot)
    ->Name("snapshot_change_and_take")
    ->Arg(1000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond);

void deltaOfChanges(benchmark::State& state) {
    const auto& wide = keptGraph<WideScene>(state.range(0));
    const Snapshot before = wide.scene.snapshot();
    wide.change(state.range(1));
    const Snapshot after = wide.scene.snapshot();
    for (auto _ : state) {
        const SnapshotDelta found = delta(before, after);
        if (found.changed().size() != static_cast<u64>(state.range(1)))
            state.SkipWithError("not the changes");
    }
}
BENCHMARK(deltaOfChanges)
    ->Name("snapshot_delta")
    ->Args({100000, 1})
    ->Args({100000, 1000})
    ->Unit(benchmark::kMicrosecond);

// The first time hashes every node. The scene is new, because nodes keep what was hashed.
void firstDeepHashes(benchmark::State& state) {
    std::unique_ptr<WideScene> wide;
    Snapshot snapshot;
    for (auto _ : state) {
        state.PauseTiming();
        snapshot = {};
        wide = std::make_unique<WideScene>(state.range(0));
        snapshot = wide->scene.snapshot();
        state.ResumeTiming();
        benchmark::DoNotOptimize(snapshot.hash());
    }
}
BENCHMARK(firstDeepHashes)
    ->Name("snapshot_first_deep_hashes")
    ->Arg(100000)
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);

// Only the hashes are timed, not the change and the snapshot.
void nextDeepHashes(benchmark::State& state) {
    const auto& wide = keptGraph<WideScene>(state.range(0));
    Snapshot last = wide.scene.snapshot();
    benchmark::DoNotOptimize(last.hash());
    for (auto _ : state) {
        state.PauseTiming();
        wide.change(1);
        Snapshot next = wide.scene.snapshot();
        state.ResumeTiming();
        benchmark::DoNotOptimize(next.hash());
        state.PauseTiming();
        last = std::move(next);
        state.ResumeTiming();
    }
}
BENCHMARK(nextDeepHashes)
    ->Name("snapshot_deep_hashes_after_a_change")
    ->Arg(1000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond);

void readValue(benchmark::State& state) {
    const Snapshot snapshot = keptGraph<WideScene>(100000).scene.snapshot();
    const SnapshotInput input = snapshot.node(500)["f"];
    for (auto _ : state) {
        double value = 0.0;
        benchmark::DoNotOptimize(input.read(value));
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(readValue)->Name("snapshot_read_value");

void readInput(benchmark::State& state) {
    const Snapshot snapshot = keptGraph<WideScene>(100000).scene.snapshot();
    const SnapshotNode node = snapshot.node(500);
    for (auto _ : state)
        benchmark::DoNotOptimize(node.input(2).get<double>());
}
BENCHMARK(readInput)->Name("snapshot_read_input");

void walk(benchmark::State& state) {
    const Snapshot snapshot = keptGraph<WideScene>(100000).scene.snapshot();
    for (auto _ : state) {
        u64 sum = 0;
        for (const SnapshotNode& node : snapshot.nodes())
            sum += node.number();
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(walk)->Name("snapshot_walk/100000")->Unit(benchmark::kMicrosecond);

void findByName(benchmark::State& state) {
    const Snapshot snapshot = keptGraph<WideScene>(100000).scene.snapshot();
    const String name = snapshot.node(77777).name();
    for (auto _ : state)
        benchmark::DoNotOptimize(snapshot.findNode(name).number());
}
BENCHMARK(findByName)->Name("snapshot_find_node");

// A thousand curves of ten value nodes each, which read each other; an item is a node.
struct ValueScene {
    explicit ValueScene(i64 count) {
        scene.addLibrary(LibInfo::standard());
        for (i64 i = 0; i < count; ++i) {
            const Node node = scene.createNode("noise", "n");
            if (i % 10 == 0)
                node["frequency"].set(static_cast<double>(i));
            else
                node["frequency"].connect(scene.node(static_cast<u64>(i) - 1).output("result"));
        }
    }
    Scene scene = Scene::create();
};

void evaluatedSnapshot(benchmark::State& state) {
    const auto& values = keptGraph<ValueScene>(state.range(0));
    for (auto _ : state) {
        const Snapshot snapshot = values.scene.snapshot(
            {.threads = static_cast<u32>(state.range(1)), .values = SnapshotValues::Evaluated});
        benchmark::DoNotOptimize(snapshot.nodeCount());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(evaluatedSnapshot)
    ->Name("snapshot_evaluated")
    ->Args({10000, 1})
    ->Args({10000, 2})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
} // namespace qv::bench
