#include "bench/support/memory.h"
#include "kelvo/kelvo.h"

#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <string>

// Measures whole scenes of up to a million nodes, which need 19 KB of memory each. This program is
// therefore apart from the other benchmarks.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;

constexpr double kBytesPerNode = 20e3;

double nanoseconds(const timeval& time) {
    return 1e9 * static_cast<double>(time.tv_sec) + 1e3 * static_cast<double>(time.tv_usec);
}

// Adds up the processor time of one stage, such as the walks, over all iterations. The time of the
// kernel is apart: it hands out memory, and how long that takes depends on the machine.
class Stage {
public:
    template<typename Work>
    void time(const Work& work) {
        const rusage begin = usage();
        work();
        const rusage end = usage();
        m_user += nanoseconds(end.ru_utime) - nanoseconds(begin.ru_utime);
        m_kernel += nanoseconds(end.ru_stime) - nanoseconds(begin.ru_stime);
    }
    void report(benchmark::State& state, const std::string& name) const {
        const auto items = static_cast<double>(state.iterations() * state.range(0));
        state.counters[name + "_ns"] = m_user / items;
        state.counters[name + "_kernel_ns"] = m_kernel / items;
    }

private:
    static rusage usage() {
        rusage used{};
        getrusage(RUSAGE_SELF, &used);
        return used;
    }
    double m_user = 0;
    double m_kernel = 0;
};

// The one input of each node links to the node before.
void linkNodes(const Scene& scene, i64 count) {
    const String type("t");
    const String name("n");
    const String link("link");
    Node previous;
    for (i64 i = 0; i < count; ++i) {
        const Node node = scene.createNode(type, name);
        node.createInput(link, AttrType::Node).set(previous.get());
        previous = node;
    }
}

// Returns the number of nodes that the last one depends on.
i64 walk(const Scene& scene) {
    i64 seen = 0;
    for (const Node& node : scene.node(scene.nodeCount() - 1).dependencies())
        seen += static_cast<bool>(node);
    return seen;
}

bool isTooLarge(benchmark::State& state) {
    const double needed = kBytesPerNode * static_cast<double>(state.range(0));
    if (needed < static_cast<double>(availableMemory())) return false;
    state.SkipWithError("there is not enough free memory");
    return true;
}

void buildWalkEnd(benchmark::State& state) {
    if (isTooLarge(state)) return;
    Stage build;
    Stage walking;
    Stage end;
    const PeakMemory memory;
    i64 seen = 0;
    for (auto _ : state) {
        Scene scene = Scene::create();
        build.time([&] { linkNodes(scene, state.range(0)); });
        walking.time([&] { seen = walk(scene); });
        end.time([&] { scene = Scene(); });
    }
    if (seen != state.range(0) - 1) state.SkipWithError("wrong count");
    state.counters["peak_bytes_per_node"] =
        static_cast<double>(memory.growth()) / static_cast<double>(state.range(0));
    state.counters["peak_gib"] = static_cast<double>(PeakMemory::peak()) / (1 << 30);
    build.report(state, "build");
    walking.report(state, "walk");
    end.report(state, "end");
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(buildWalkEnd)
    ->Name("scene_build_walk_end")
    ->RangeMultiplier(10)
    ->Range(100, 1'000'000)
    ->Unit(benchmark::kMillisecond);

} // namespace
} // namespace qv::bench
