#include "bench/support/memory.h"
#include "kelvo/sdk/scene.h"
#include "render/impl/accel.h"
#include "render/impl/random.h"
#include "render/impl/scene_reader.h"
#include "render/renderer.h"
#include "tools/import/model_import.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

// Measures the renderer with the model of the main job, and with many instances of a mesh. Rows
// with "cpu" count the time of all threads of the process, which other programs hardly disturb.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;
using render::Renderer;
using render::RenderLimit;
using render::RenderSettings;
using Clock = std::chrono::steady_clock;

constexpr const char* engineFile =
    "/usr/share/assimp/models/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb";

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}
double cpuSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

const Scene& engine() {
    static const Scene scene = [] {
        const Scene made = Scene::create();
        model_import::Report report;
        (void)model_import::importModel(made, engineFile, report); // It stays empty on failure.
        return made;
    }();
    return scene;
}
bool isMissing(benchmark::State& state) {
    if (engine().nodeCount() > 0) return false;
    state.SkipWithError("the model is not installed (Debian: assimp-testmodels)");
    return true;
}

RenderSettings settings(u32 width, u32 height, u32 threads) {
    RenderSettings made;
    made.width = width;
    made.height = height;
    made.threads = threads;
    return made;
}
RenderLimit samples(u32 count) {
    RenderLimit limit;
    limit.samples = count;
    return limit;
}

// From a snapshot to one sample of each pixel of 320 x 240.
void startToFirstPicture(benchmark::State& state) {
    if (isMissing(state)) return;
    const Snapshot snapshot = engine().snapshot();
    for (auto _ : state) {
        Renderer renderer(snapshot, settings(320, 240, 0));
        benchmark::DoNotOptimize(static_cast<bool>(renderer.render(samples(1))));
    }
}
BENCHMARK(startToFirstPicture)->Unit(benchmark::kMillisecond)->UseRealTime();

void tracing(benchmark::State& state) {
    if (isMissing(state)) return;
    Renderer renderer(engine().snapshot(), settings(320, 240, static_cast<u32>(state.range(0))));
    u32 count = 0;
    const double cpu = cpuSeconds();
    for (auto _ : state)
        benchmark::DoNotOptimize(static_cast<bool>(renderer.render(samples(count += 4))));
    const double made = 320.0 * 240.0 * count;
    state.counters["paths"] = benchmark::Counter(made, benchmark::Counter::kIsRate);
    state.counters["cpu_us_per_path"] = (cpuSeconds() - cpu) / made * 1e6;
}
BENCHMARK(tracing)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

// Rays through Embree alone: what the tracing would take without all else.
void rays(benchmark::State& state) {
    if (isMissing(state)) return;
    using namespace render::impl;
    const RenderScene scene = SceneReader("").read(engine().snapshot());
    Accel accel;
    accel.build(scene.instances, 0);
    const Vec3 center = scene.bounds.center();
    const float radius = scene.bounds.radius();
    u64 hits = 0, i = 0;
    for (auto _ : state) {
        Random random(1, i++);
        const Vec3 from = center + normalized({random.next() - 0.5F, random.next() - 0.5F,
                                               random.next() - 0.5F}) *
                                       (radius * 2.0F);
        const Vec3 to =
            center +
            Vec3{random.next() - 0.5F, random.next() - 0.5F, random.next() - 0.5F} * radius;
        hits += accel.nearest({from, normalized(to - from)}).has_value() ? 1 : 0;
    }
    benchmark::DoNotOptimize(hits);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(rays);

std::string instances(i64 count) {
    std::string text = R"(
node mesh "leaf" {
    Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (0 1 0) (0 0 1)]
    Buffer<UInt32> indices = [0 1 2 0 2 3 0 3 1 1 3 2]
    Node material = paint
}
node material "paint" {
    Rgba baseColor = (1 0 0 1)
}
)";
    for (i64 i = 0; i < count; ++i)
        text += "node xform \"x" + std::to_string(i) +
                "\" {\n    Mat4 matrix = (1 0 0 0  0 1 0 0  0 0 1 0  " + std::to_string(i % 300) +
                " " + std::to_string(i / 300) + " 0 1)\n    Array<Node> children = [leaf]\n}\n";
    return text;
}

// A row of panes of glass, one behind the other, with lights between them.
std::string panes(i64 count) {
    std::string text = R"(
node mesh "pane" {
    Buffer<Pos3f> positions = [(-9 -9 0) (9 -9 0) (9 9 0) (-9 9 0)]
    Buffer<UInt32> indices = [0 1 2 0 2 3]
    Node material = glass
}
node material "glass" {
    Real transmission = 0.9
    Real opacity = 0.5
    String alphaMode = "BLEND"
    Real thickness = 0.1
    Bool twoSided = true
}
node camera "eye" {
    Pos3 position = (0 0 9)
}
)";
    for (i64 i = 0; i < count; ++i) {
        const std::string number = std::to_string(i),
                          z = std::to_string(-0.5 * static_cast<double>(i));
        text += "node areaLight \"l" + number + "\" {\n}\nnode xform \"p" + number +
                "\" {\n    Mat4 matrix = (1 0 0 0  0 1 0 0  0 0 1 0  0 0 " + z +
                " 1)\n    Array<Node> children = [pane, l" + number + "]\n}\n";
    }
    return text;
}

std::string lamps(i64 count) {
    std::string text = instances(100);
    for (i64 i = 0; i < count; ++i)
        text += "node light \"l" + std::to_string(i) + "\" {\n    Pos3 position = (" +
                std::to_string(i % 300) + " " + std::to_string(i / 300) + " 3)\n}\n";
    return text;
}

// A bumpy square of many triangles.
Scene terrain(u32 side) {
    const Scene scene = Scene::create();
    (void)scene.read("node mesh \"m\" {\n Buffer<Pos3f> positions\n Buffer<UInt32> indices\n}\n",
                     "scene.kns");
    std::vector<math::Pos3f> positions;
    std::vector<u32> indices;
    for (u32 y = 0; y < side; ++y)
        for (u32 x = 0; x < side; ++x) {
            const float height = static_cast<float>(x * 7919 % 13 + y * 104729 % 11);
            positions.push_back({{static_cast<float>(x), static_cast<float>(y), height}});
            const u32 at = y * side + x;
            if (x + 1 == side || y + 1 == side) continue;
            for (const u32 corner : {at, at + 1, at + side, at + 1, at + side + 1, at + side})
                indices.push_back(corner);
        }
    (void)scene["m"]["positions"].setBuffer(std::move(positions));
    (void)scene["m"]["indices"].setBuffer(std::move(indices));
    return scene;
}

enum Kind : i64 { Engine, Lamps, Panes, Instances, Terrain };
Snapshot snapshotOf(i64 kind) {
    if (kind == Engine) return engine().snapshot();
    if (kind == Terrain) return terrain(1000).snapshot();
    const Scene scene = Scene::create();
    const std::string text = kind == Lamps   ? lamps(100000)
                             : kind == Panes ? panes(200)
                                             : instances(100000);
    (void)scene.read(text.c_str(), "scene.kns");
    return scene.snapshot();
}

/// The times from requests to the ends of what was to stop; the time of all threads is what was
/// still worked, however busy the machine is.
class Delays {
public:
    /// Calls `work` and requests its stop after a while.
    template<class Work>
    void measure(double seconds, const Work& work) {
        std::stop_source stop;
        Clock::time_point asked;
        double askedCpu = 0.0;
        std::jthread stopper([&] {
            std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
            asked = Clock::now();
            askedCpu = cpuSeconds();
            stop.request_stop();
        });
        work(stop.get_token());
        const bool isAsked = stop.stop_requested();
        const Clock::time_point end = Clock::now();
        const double endCpu = cpuSeconds();
        stopper.join();
        if (!isAsked) return;
        m_mostCpu = std::max(m_mostCpu, endCpu - askedCpu);
        m_seconds.push_back(std::chrono::duration<double>(end - asked).count());
    }
    void tell(benchmark::State& state) const {
        if (m_seconds.empty()) return;
        const double sum = std::accumulate(m_seconds.begin(), m_seconds.end(), 0.0);
        state.counters["stops"] = static_cast<double>(m_seconds.size());
        state.counters["mean_ms"] = sum / static_cast<double>(m_seconds.size()) * 1e3;
        state.counters["most_ms"] = *std::max_element(m_seconds.begin(), m_seconds.end()) * 1e3;
        state.counters["most_cpu_ms"] = m_mostCpu * 1e3;
    }

private:
    std::vector<double> m_seconds;
    double m_mostCpu = 0.0;
};

// The time from the request to the end of the rendering, at any moment of it.
void cancellation(benchmark::State& state) {
    if (isMissing(state)) return;
    Renderer renderer(snapshotOf(state.range(0)), settings(640, 480, 2));
    (void)renderer.render(samples(1));
    Delays delays;
    u64 round = 0;
    for (auto _ : state) {
        const double seconds = 0.04 * static_cast<double>(render::impl::Random(1, round++).next());
        delays.measure(seconds, [&](const std::stop_token& stop) {
            (void)renderer.render(samples(1000000), {}, stop);
        });
    }
    delays.tell(state);
}
BENCHMARK(cancellation)
    ->ArgNames({"scene"})
    ->DenseRange(Engine, Terrain)
    ->Iterations(100)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// The same while a scene is read and its trees are built.
void cancelledStart(benchmark::State& state) {
    if (isMissing(state)) return;
    const Snapshot snapshot = snapshotOf(state.range(0));
    const Clock::time_point start = Clock::now();
    { const Renderer whole(snapshot, settings(640, 480, 2)); }
    const double most = secondsSince(start);
    Delays delays;
    u64 round = 0;
    for (auto _ : state) {
        const double seconds = most * static_cast<double>(render::impl::Random(2, round++).next());
        std::optional<Renderer> renderer;
        delays.measure(seconds, [&](const std::stop_token& stop) {
            renderer.emplace(snapshot, settings(640, 480, 2), stop);
        });
    }
    delays.tell(state);
}
BENCHMARK(cancelledStart)
    ->ArgNames({"scene"})
    ->DenseRange(Engine, Terrain)
    ->Iterations(100)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// An edit, the snapshot after it, and one sample of each pixel of 160 x 120.
enum Edit : i64 { Move, Color, Mesh };
void editToFirstPicture(benchmark::State& state) {
    const Scene scene = Scene::create();
    if (!scene.read(instances(state.range(1)).c_str(), "scene.kns")) return;
    Renderer renderer(scene.snapshot(), settings(160, 120, 0));
    double value = 0.0;
    for (auto _ : state) {
        value = value < 0.5 ? value + 0.01 : 0.0;
        if (state.range(0) == Move)
            (void)scene["x5"]["matrix"].set(math::Mat4d::translation({{value, 0, 0}}));
        if (state.range(0) == Color)
            (void)scene["paint"]["baseColor"].set(math::Rgbad{{value, 1, 1, 1}});
        if (state.range(0) == Mesh) {
            const float top = 1.0F + static_cast<float>(value);
            (void)scene["leaf"]["positions"].setBuffer(
                std::vector<math::Pos3f>{{{0, 0, 0}}, {{1, 0, 0}}, {{0, 1, 0}}, {{0, 0, top}}});
        }
        renderer.update(scene.snapshot());
        (void)renderer.render(samples(1));
    }
}
BENCHMARK(editToFirstPicture)
    ->ArgNames({"edit", "instances"})
    ->ArgsProduct({{Move, Color, Mesh}, {100, 10000, 100000}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// The memory of a renderer by that of its triangles and of Embree's trees.
void memory(benchmark::State& state) {
    if (isMissing(state)) return;
    using namespace render::impl;
    const Snapshot snapshot = engine().snapshot();
    u64 whole = 0, needed = 0;
    for (auto _ : state) {
        const u64 before = heapInUse();
        {
            const RenderScene scene = SceneReader("").read(snapshot);
            std::unordered_set<const render::impl::Mesh*> meshes;
            for (const Instance& instance : scene.instances) {
                const render::impl::Mesh& mesh = *instance.mesh;
                if (!meshes.insert(&mesh).second) continue;
                needed +=
                    (mesh.positions.size() + mesh.normals.size() + mesh.triangles.size()) * 12;
                for (const auto& uvs : mesh.uvs)
                    needed += uvs.size() * sizeof(Vec2);
            }
            const u64 beforeTrees = heapInUse();
            Accel accel;
            accel.build(scene.instances, 1);
            needed += heapInUse() - beforeTrees;
        }
        const u64 empty = heapInUse();
        const Renderer renderer(snapshot, settings(1, 1, 1));
        whole = heapInUse() - std::min(before, empty);
    }
    state.counters["mebibytes"] = static_cast<double>(whole) / 1048576.0;
    state.counters["by_needed"] = static_cast<double>(whole) / static_cast<double>(needed);
}
BENCHMARK(memory)->Iterations(1);

} // namespace
} // namespace qv::bench
