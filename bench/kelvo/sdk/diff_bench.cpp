#include "kelvo/sdk/scene_diff.h"

#include <benchmark/benchmark.h>

#include <string>

namespace qv::bench {
namespace {

using namespace kelvo_sdk;

// A mesh hierarchy of which every 50th node has another radius, and every 97th another name.
std::string meshes(i64 count, bool isEdited) {
    const auto name = [&](i64 i) {
        return (isEdited && i % 97 == 0 ? "m" : "n") + std::to_string(i);
    };
    std::string text = "kelvo scene 1\n\n";
    for (i64 i = 0; i < count; ++i) {
        text += "node mesh \"" + name(i) + "\" {\n    Array<Node> children = [";
        if (i * 2 + 1 < count) text += name(i * 2 + 1);
        text += "]\n    Real radius = " + std::to_string(isEdited && i % 50 == 0) +
                "\n    Vec3 place = (" + std::to_string(i) +
                " 0 1) @min (0 0 0)\n    Buffer<Float> weights = [1 2 3 4 5 6 7 8]\n}\n";
    }
    return text;
}

Scene sceneOf(const std::string& text) {
    Scene scene = Scene::create();
    if (!scene.read(String(std::string_view(text)), "meshes")) std::abort();
    return scene;
}

void sceneDiff_between(benchmark::State& state) {
    const Scene before = sceneOf(meshes(state.range(0), false));
    const Scene after = sceneOf(meshes(state.range(0), true));
    for (auto _ : state)
        benchmark::DoNotOptimize(SceneDiff::between(before, after));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(sceneDiff_between)->Arg(1000)->Arg(10000);

void sceneDiff_applyTo(benchmark::State& state) {
    const Scene before = sceneOf(meshes(state.range(0), false));
    const auto diff = SceneDiff::between(before, sceneOf(meshes(state.range(0), true)));
    for (auto _ : state) {
        state.PauseTiming();
        const Scene scene = sceneOf(meshes(state.range(0), false));
        state.ResumeTiming();
        const Result isDone = diff.applyTo(scene);
        if (!isDone) state.SkipWithError(isDone.message().buf());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(sceneDiff_applyTo)->Arg(1000);

void sceneMerge(benchmark::State& state) {
    const Scene base = sceneOf(meshes(state.range(0), false));
    const Scene mine = sceneOf(meshes(state.range(0), true));
    for (auto _ : state) {
        const Scene merged = Scene::create();
        std::vector<MergeConflict> conflicts;
        const Result isMerged = mergeScenes(base, mine, base, {}, merged, conflicts);
        if (!isMerged) state.SkipWithError(isMerged.message().buf());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(sceneMerge)->Arg(1000);

} // namespace
} // namespace qv::bench
