#include "bench/support/graphs.h"
#include "bench/support/memory.h"
#include "kelvo/sdk/impl/graph/node_iterator.h"
#include "kelvo/sdk/impl/index/compact_graph.h"

#include <benchmark/benchmark.h>

#include <algorithm>

// Measures the memory of the compact graph in scenes whose nodes were all walked, in every
// direction.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;
using impl::NodeIterator;

constexpr i64 kNodes = 1000;

void walk(NodeIterator* started) {
    const auto nodes = RefersTo<NodeIterator>::adopt(started);
    for (const auto* node = nodes->first(); node; node = nodes->next())
        benchmark::DoNotOptimize(node);
}

void walkFromEach(const Graph& graph) {
    for (u64 i = 0; i < graph.count(); ++i) {
        walk(graph.node(i)->dependencies(false, false));
        walk(graph.node(i)->dependencies(true, false));
        if (graph.node(i)->hasInput("children", AttrType::Array)) walk(graph.node(i)->children(-1));
    }
}

// Returns the memory that does not depend on links: numbers with their rows, and marks of walks.
std::size_t bytesOfNumbers() {
    const std::size_t before = heapInUse();
    impl::CompactGraph numbers;
    for (i64 i = 0; i < kNodes; ++i)
        benchmark::DoNotOptimize(numbers.claim());
    { const impl::CompactGraph::Marks marks(numbers); }
    return heapInUse() - before;
}

// Calls `refer` for each node and the `links` nodes after it, less near the end; returns how often.
template<typename Refer>
i64 referForward(const Graph& graph, i64 links, const Refer& refer) {
    i64 made = 0;
    for (u64 i = 0; i < graph.count(); ++i) {
        const u64 last = std::min(i + static_cast<u64>(links), graph.count() - 1);
        for (u64 to = i + 1; to <= last; ++to, ++made)
            refer(graph.scene.node(i), graph.scene.node(to));
    }
    return made;
}

struct Links : Graph {
    Links(const char* type, const char* list, i64 each) {
        for (i64 i = 0; i < kNodes; ++i)
            scene.createNode(type, "n").createArray(list, AttrType::Node);
        links = referForward(
            *this, each, [&](const Node& from, const Node& to) { from[list].append().set(to); });
    }
    i64 links = 0;
};

struct PlainLinks : Links {
    explicit PlainLinks(i64 each) : Links("thing", "links", each) {}
};

// Children are also dependencies, and are listed as both.
struct ChildLinks : Links {
    explicit ChildLinks(i64 each) : Links("xform", "children", each) {}
};

struct Connections : Graph {
    explicit Connections(i64 each) {
        for (i64 i = 0; i < kNodes; ++i) {
            const Node node = scene.createNode("thing", "n");
            node.createArray("values", AttrType::Real);
            node.createOutput("out", AttrType::Real);
        }
        links = referForward(*this, each, [](const Node& from, const Node& to) {
            from["values"].append().connect(to.output(0));
        });
    }
    i64 links = 0;
};

// The links of a tree are those to all nodes but its root.
struct TreeOfLinks : Tree {
    explicit TreeOfLinks(i64 /*each*/) : Tree(kNodes) {}
    i64 links = kNodes - 1;
};

// The first walk of a scene allocates its marks, which count as part of the numbers here.
template<typename G>
void memoryOfGraph(benchmark::State& state) {
    for (auto _ : state) {
        const std::size_t start = heapInUse();
        const G graph(state.range(0));
        const std::size_t numbers = bytesOfNumbers();
        walk(graph.last()->dependencies(false, false));
        const std::size_t built = heapInUse();
        walkFromEach(graph);
        const auto links = static_cast<double>(heapInUse() - built);
        const auto scene = static_cast<double>(built - start - numbers);
        state.counters["graph_bytes_per_node"] = static_cast<double>(numbers) / kNodes;
        state.counters["graph_bytes_per_link"] = links / static_cast<double>(graph.links);
        state.counters["graph_percent"] = 100 * (links + static_cast<double>(numbers)) / scene;
    }
}

void severalCounts(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(1)->Arg(3)->Arg(10)->Iterations(1)->Unit(benchmark::kMillisecond);
}
BENCHMARK(memoryOfGraph<TreeOfLinks>)->Name("memory_graph/tree")->Arg(kTreeFanout)->Iterations(1);
BENCHMARK(memoryOfGraph<PlainLinks>)->Name("memory_graph/links")->Apply(severalCounts);
BENCHMARK(memoryOfGraph<ChildLinks>)->Name("memory_graph/children")->Apply(severalCounts);
BENCHMARK(memoryOfGraph<Connections>)->Name("memory_graph/connections")->Apply(severalCounts);

} // namespace
} // namespace qv::bench
