#include "bench/support/graphs.h"
#include "bench/support/memory.h"
#include "kelvo/sdk/impl/graph/node_iterator.h"
#include "kelvo/sdk/impl/graph/scene.h"
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

struct Memory {
    std::size_t numbers = 0; // The memory that does not depend on links, and the marks of walks.
    std::size_t links = 0;
};

// Measures a copy of the graph, because parts of the original are made while the scene is built.
Memory memoryOf(const impl::CompactGraph& graph) {
    const std::size_t start = heapInUse();
    impl::CompactGraph copy;
    for (impl::NodeNumber i = 0; i < graph.end(); ++i)
        benchmark::DoNotOptimize(copy.claim());
    { const impl::CompactGraph::Marks marks(copy); }
    const std::size_t numbers = heapInUse();
    for (const auto kind : impl::CompactGraph::allKinds)
        for (impl::NodeNumber i = 0; i < graph.end(); ++i)
            if (const impl::LeadRow* row = graph.row(kind, i))
                copy.fill(kind, i, {row->begin(), row->end()});
    return {numbers - start, heapInUse() - numbers};
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

template<typename G>
void memoryOfGraph(benchmark::State& state) {
    for (auto _ : state) {
        const std::size_t start = heapInUse();
        const G graph(state.range(0));
        walkFromEach(graph);
        const auto scene = static_cast<double>(heapInUse() - start);
        const auto memory = memoryOf(static_cast<const impl::Scene&>(*graph.scene.get()).graph());
        const auto all = static_cast<double>(memory.numbers + memory.links);
        state.counters["graph_bytes_per_node"] = static_cast<double>(memory.numbers) / kNodes;
        state.counters["graph_bytes_per_link"] =
            static_cast<double>(memory.links) / static_cast<double>(graph.links);
        state.counters["graph_percent"] = 100 * all / (scene - all);
    }
}

// Measures inputs with a name of their own, and elements of an array.
void memoryOfInputs(benchmark::State& state) {
    constexpr i64 kInputs = 10000;
    for (auto _ : state) {
        const Scene scene = Scene::create();
        const Node node = scene.createNode("thing", "n");
        const std::size_t start = heapInUse();
        for (i64 i = 0; i < kInputs; ++i)
            node.createInput(String::format("input%d", static_cast<int>(i)), AttrType::Real);
        const std::size_t named = heapInUse();
        const Input array = node.createArray("array", AttrType::Real);
        for (i64 i = 0; i < kInputs; ++i)
            array.append();
        state.counters["heap_bytes_per_input"] = static_cast<double>(named - start) / kInputs;
        state.counters["heap_bytes_per_element"] =
            static_cast<double>(heapInUse() - named) / kInputs;
    }
}
BENCHMARK(memoryOfInputs)->Name("memory_input")->Iterations(1);

void severalCounts(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(1)->Arg(3)->Arg(10)->Iterations(1)->Unit(benchmark::kMillisecond);
}
BENCHMARK(memoryOfGraph<TreeOfLinks>)->Name("memory_graph/tree")->Arg(kTreeFanout)->Iterations(1);
BENCHMARK(memoryOfGraph<PlainLinks>)->Name("memory_graph/links")->Apply(severalCounts);
BENCHMARK(memoryOfGraph<ChildLinks>)->Name("memory_graph/children")->Apply(severalCounts);
BENCHMARK(memoryOfGraph<Connections>)->Name("memory_graph/connections")->Apply(severalCounts);

} // namespace
} // namespace qv::bench
