#include "kelvo/sdk/impl/standard/standard_library.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/node.h"
#include "kelvo/sdk/validation.h"

#include <benchmark/benchmark.h>

// Measures the checks of whole scenes, by the laws and by the rules.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;

// Makes meshes with a material each, all of them children of one transform.
Scene sceneOfMeshes(i64 count) {
    Scene scene = Scene::create();
    scene.addLibrary(LibInfo(&impl::standardLibrary()));
    const Node room = scene.createNode("xform", "room");
    for (i64 i = 0; i < count; ++i) {
        const Node mesh = scene.createNode("mesh", "mesh");
        mesh.parentTo(room);
        mesh["material"].set(scene.createNode("material", "paint"));
    }
    return scene;
}

i64 inputsOf(const Scene& scene) {
    u64 count = 0;
    for (u64 i = 0; i < scene.nodeCount(); ++i)
        count += scene.node(i).inputCount();
    return static_cast<i64>(count);
}

void BM_Verify(benchmark::State& state) {
    const Scene scene = sceneOfMeshes(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(scene.verify().size());
    state.SetItemsProcessed(state.iterations() * inputsOf(scene));
}
BENCHMARK(BM_Verify)->Arg(100)->Arg(10'000)->Unit(benchmark::kMillisecond);

void BM_Validate(benchmark::State& state) {
    const Scene scene = sceneOfMeshes(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(validate(scene).size());
    state.SetItemsProcessed(state.iterations() * inputsOf(scene));
}
BENCHMARK(BM_Validate)->Arg(100)->Arg(10'000)->Unit(benchmark::kMillisecond);

void BM_ValidateSnapshot(benchmark::State& state) {
    const Scene scene = sceneOfMeshes(state.range(0));
    const Snapshot snapshot = scene.snapshot();
    for (auto _ : state)
        benchmark::DoNotOptimize(validate(snapshot, {.libraries = {scene.library(0)}}).size());
    state.SetItemsProcessed(state.iterations() * inputsOf(scene));
}
BENCHMARK(BM_ValidateSnapshot)->Arg(100)->Arg(10'000)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace qv::bench
