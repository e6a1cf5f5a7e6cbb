#include "bench/support/bench_node.h"
#include "bench/support/memory.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/scene_reader.h"
#include "kelvo/sdk/impl/scene_text/serialize.h"
#include "kelvo/sdk/snapshot_reader.h"

#include "kelvo/base/string_io.h"

#include <benchmark/benchmark.h>

#include <string>

// Measures scenes as text: many nodes of ten inputs, and one node with a large buffer.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;

Scene sceneOfNodes(i64 count) {
    const Scene scene = Scene::create();
    for (i64 k = 0; k < count; ++k) {
        const Node node = scene.createNode("xform", String(("node" + std::to_string(k)).c_str()));
        addTenInputs(*node.get(), static_cast<int>(k));
    }
    return scene;
}

// Makes coordinates as a modelling program exports them, with about seven digits.
Scene sceneOfBuffer(u64 count) {
    impl::Buffer buffer(DataType::Float, count);
    auto* values = static_cast<float*>(buffer.edit());
    for (u64 i = 0; i < count; ++i)
        values[i] = static_cast<float>((i * 2654435761u) % 20000019u) / 1.0e6f - 10.0f;
    const Scene scene = Scene::create();
    const Node node = scene.createNode("mesh", "mesh");
    static_cast<impl::Input*>(node.createInput("values", AttrType::Buffer).get())
        ->setValue(impl::Value(std::move(buffer)));
    return scene;
}

const impl::Scene& implOf(const Scene& scene) {
    return static_cast<const impl::Scene&>(*scene.get());
}

// Makes rows with a given number of threads; other rows use as many as the machine has.
template<i64 size>
void onThreads(benchmark::internal::Benchmark* row) {
    row->ArgNames({"", "threads"})->Args({size, 1})->Args({size, 2})->Unit(benchmark::kMillisecond);
}

u32 threadsOf(const benchmark::State& state) {
    return static_cast<u32>(state.range(1));
}

void write(benchmark::State& state, const Scene& scene, u32 threads = 0) {
    u64 size = 0;
    for (auto _ : state) {
        StringIO out;
        impl::serializeScene(implOf(scene), out, threads);
        size = out.size();
        benchmark::DoNotOptimize(out.buf());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<i64>(size));
    state.counters["text_bytes"] = static_cast<double>(size);
}

// Reads into a new scene each time, and includes its destruction.
void read(benchmark::State& state, const Scene& written, u32 threads = 0) {
    const String text = written.text();
    impl::ReadOptions options;
    options.threads = threads;
    for (auto _ : state) {
        impl::Scene scene;
        if (impl::readScene(scene, text.view(), options, nullptr)) continue;
        state.SkipWithError("the text is not read");
        break;
    }
    state.SetBytesProcessed(state.iterations() * static_cast<i64>(text.size()));
    state.counters["text_bytes"] = static_cast<double>(text.size());
}

void serializeScene(benchmark::State& state) {
    write(state, sceneOfNodes(state.range(0)));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(serializeScene)
    ->Name("serialize_scene")
    ->RangeMultiplier(10)
    ->Range(100, 100'000)
    ->Unit(benchmark::kMicrosecond);

void parseScene(benchmark::State& state) {
    read(state, sceneOfNodes(state.range(0)));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(parseScene)
    ->Name("parse_scene")
    ->RangeMultiplier(10)
    ->Range(100, 100'000)
    ->Unit(benchmark::kMicrosecond);

void parseSceneOn(benchmark::State& state) {
    read(state, sceneOfNodes(state.range(0)), threadsOf(state));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(parseSceneOn)->Name("parse_scene")->Apply(onThreads<100'000>);

// Reads into a snapshot, and includes its destruction.
void readIntoSnapshot(benchmark::State& state, const std::string& text, u32 threads) {
    u64 bytes = 0;
    for (auto _ : state) {
        const std::size_t before = heapInUse();
        const SnapshotReport report = readSnapshot(text, "text", {.threads = threads});
        bytes = heapInUse() - before;
        if (report.isRead) continue;
        state.SkipWithError("the text is not read");
        break;
    }
    state.SetBytesProcessed(state.iterations() * static_cast<i64>(text.size()));
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["bytes_per_node"] =
        static_cast<double>(bytes) / static_cast<double>(state.range(0));
}

void readSnapshotOn(benchmark::State& state) {
    const String text = sceneOfNodes(state.range(0)).text();
    readIntoSnapshot(state, std::string(text.view()), threadsOf(state));
}
BENCHMARK(readSnapshotOn)->Name("snapshot_read_text")->Apply(onThreads<100'000>);

// Returns a text of nodes with ten inputs each, as a script writes it.
std::string textOfNodes(i64 count) {
    std::string text = "kelvo scene 1\n\n";
    for (i64 i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        text += "node thing \"n" + number + "\" {\n    Node next = n" +
                std::to_string((i + 1) % count) + "\n";
        for (int input = 0; input < 9; ++input)
            text += "    Real v" + std::to_string(input) + " = " + number + ".5\n";
        text += "}\n";
    }
    return text;
}

void readMillion(benchmark::State& state) {
    readIntoSnapshot(state, textOfNodes(state.range(0)), 0);
}
BENCHMARK(readMillion)
    ->Name("snapshot_read_large_text")
    ->Arg(1'000'000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

void writeSnapshot(benchmark::State& state) {
    const Snapshot snapshot = sceneOfNodes(state.range(0)).snapshot();
    for (auto _ : state)
        benchmark::DoNotOptimize(snapshot.text().size());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(writeSnapshot)->Name("snapshot_write_text")->Arg(100'000)->Unit(benchmark::kMicrosecond);

void readSnapshotIntoScene(benchmark::State& state) {
    const Snapshot snapshot = sceneOfNodes(state.range(0)).snapshot();
    for (auto _ : state) {
        const Scene scene = Scene::create();
        if (!scene.read(snapshot)) state.SkipWithError("the snapshot is not read");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(readSnapshotIntoScene)
    ->Name("snapshot_into_scene")
    ->Arg(100'000)
    ->Unit(benchmark::kMicrosecond);

void writeBuffer(benchmark::State& state) {
    write(state, sceneOfBuffer(static_cast<u64>(state.range(0))));
}
BENCHMARK(writeBuffer)->Name("write_float_buffer")->Arg(1 << 22)->Unit(benchmark::kMillisecond);

void writeBufferOn(benchmark::State& state) {
    write(state, sceneOfBuffer(static_cast<u64>(state.range(0))), threadsOf(state));
}
BENCHMARK(writeBufferOn)->Name("write_float_buffer")->Apply(onThreads<1 << 22>);

void readBuffer(benchmark::State& state) {
    read(state, sceneOfBuffer(static_cast<u64>(state.range(0))));
}
BENCHMARK(readBuffer)->Name("read_float_buffer")->Arg(1 << 22)->Unit(benchmark::kMillisecond);

void readBufferOn(benchmark::State& state) {
    read(state, sceneOfBuffer(static_cast<u64>(state.range(0))), threadsOf(state));
}
BENCHMARK(readBufferOn)->Name("read_float_buffer")->Apply(onThreads<1 << 22>);

} // namespace
} // namespace qv::bench
