#include "bench/support/graphs.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/standard/standard_library.h"
#include "kelvo/sdk/impl/types/lib_info.h"

#include <benchmark/benchmark.h>

// Value nodes of the standard library, evaluated. An item is a node.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;
using interfaces::IInput;
using interfaces::INode;

constexpr u64 kCacheBytes = u64(64) << 20;

struct AddNames {
    const String type{"add"}, name{"sum"}, a{"a"}, b{"b"}, result{"result"};

    static const AddNames& get() {
        static const AddNames& names = *new AddNames;
        return names;
    }
};

// Nodes that add. The benchmarks evaluate the first node, and change the input "a" of the last.
struct Sums : Graph {
    Sums() { scene->addLibrary(&impl::standardLibrary()); }

    INode* add() const {
        const AddNames& names = AddNames::get();
        INode* node = scene->createNode(names.type, names.name);
        node->input(names.b)->setReal(1.0);
        return node;
    }
    static void connect(INode* from, INode* to, const String& input) {
        to->input(input)->connect(from->output(AddNames::get().result));
    }
};

struct SumChain : Sums {
    explicit SumChain(i64 count) {
        INode* asked = add();
        for (i64 i = 1; i < count; ++i) {
            INode* below = add();
            connect(below, asked, AddNames::get().a);
            asked = below;
        }
    }
};

// A tree in which each node reads two others, as far as the count goes.
struct SumTree : Sums {
    explicit SumTree(i64 count) {
        const AddNames& names = AddNames::get();
        for (i64 i = 0; i < count; ++i) {
            INode* below = add();
            if (i > 0) connect(below, node(static_cast<u64>(i - 1) / 2), i % 2 ? names.a : names.b);
        }
    }
};

impl::Output& asked(const Graph& graph) {
    return static_cast<impl::Output&>(*graph.first()->output(AddNames::get().result));
}

void evaluate(benchmark::State& state, const Graph& graph) {
    impl::Output& output = asked(graph);
    for (auto _ : state) {
        if (output.evaluate(nullptr).isNull()) {
            state.SkipWithError("no result");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template<typename G>
void evalCold(benchmark::State& state) {
    evaluate(state, keptGraph<G>(state.range(0)));
}

// Evaluates when all results are cached.
template<typename G>
void evalCached(benchmark::State& state) {
    const auto& graph = keptGraph<G>(state.range(0));
    graph.scene.setEvalCache(kCacheBytes);
    evaluate(state, graph);
    graph.scene.setEvalCache(0);
}

// Evaluates with an empty cache: computes the hashes and stores the results.
template<typename G>
void evalFill(benchmark::State& state) {
    const auto& graph = keptGraph<G>(state.range(0));
    impl::Output& output = asked(graph);
    for (auto _ : state) {
        graph.scene.setEvalCache(kCacheBytes);
        if (output.evaluate(nullptr).isNull()) {
            state.SkipWithError("no result");
            break;
        }
        graph.scene.setEvalCache(0);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Changes one value at the far end before each evaluation.
template<typename G>
void evalChanged(benchmark::State& state) {
    const auto& graph = keptGraph<G>(state.range(0));
    graph.scene.setEvalCache(kCacheBytes);
    impl::Output& output = asked(graph);
    IInput* leaf = graph.last()->input(AddNames::get().a);
    double value = 0.0;
    for (auto _ : state) {
        leaf->setReal(value += 1.0);
        if (output.evaluate(nullptr).isNull()) {
            state.SkipWithError("no result");
            break;
        }
    }
    graph.scene.setEvalCache(0);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(evalCold<SumChain>)->Name("eval_chain_cold")->Arg(10)->Arg(1000)->Arg(10000);
BENCHMARK(evalFill<SumChain>)->Name("eval_chain_fill")->Arg(1000);
BENCHMARK(evalCached<SumChain>)->Name("eval_chain_cached")->Arg(1000);
BENCHMARK(evalChanged<SumChain>)->Name("eval_chain_changed")->Arg(1000);
BENCHMARK(evalCold<SumTree>)->Name("eval_tree_cold")->Arg(10000);
BENCHMARK(evalFill<SumTree>)->Name("eval_tree_fill")->Arg(10000);
BENCHMARK(evalCached<SumTree>)->Name("eval_tree_cached")->Arg(10000);
BENCHMARK(evalChanged<SumTree>)->Name("eval_tree_changed")->Arg(10000);

} // namespace
} // namespace qv::bench
