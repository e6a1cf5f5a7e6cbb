#pragma once

#include "bench/support/workload.h"
#include "kelvo/kelvo.h"

#include <memory>
#include <typeindex>

namespace qv::bench {

/// Fills a scene with a tree of transforms with a matrix each, ten children per node, parents
/// first, so that node 0 is the root.
void buildTree(const kelvo_sdk::Scene& scene, i64 count);

/// A scene with a given number of nodes. `first` and `last` are its first and last node.
struct Graph {
    kelvo_sdk::Scene scene = kelvo_sdk::Scene::create();

    [[nodiscard]] kelvo_sdk::interfaces::INode* first() const { return node(0); }
    [[nodiscard]] kelvo_sdk::interfaces::INode* last() const { return scene->node(count() - 1); }
    [[nodiscard]] kelvo_sdk::interfaces::INode* node(u64 index) const { return scene->node(index); }
    [[nodiscard]] u64 count() const { return scene.nodeCount(); }
};

struct Tree : Graph {
    explicit Tree(i64 count) { buildTree(scene, count); }
};

/// Transforms, each the only child of the one before.
struct LevelChain : Graph {
    explicit LevelChain(i64 count);
};

/// One transform and its `children`: one node more.
struct Fan : Graph {
    explicit Fan(i64 children);
};

/// Diamonds in a row: 2^count paths from the first node to the last.
struct Diamonds : Graph {
    explicit Diamonds(i64 count);
};

/// Nodes of type "bench10" with ten inputs and an output "out"; the input "f" of each reads the
/// output of the one before.
struct ConnectedChain : Graph {
    explicit ConnectedChain(i64 count) { connectNodes(count, true); }

    /// Marks all nodes clean, the first one first.
    void clean() const;
    [[nodiscard]] kelvo_sdk::interfaces::IInput* head() const;
    [[nodiscard]] kelvo_sdk::interfaces::IInput* tail() const;

protected:
    ConnectedChain() = default;
    void connectNodes(i64 count, bool tenInputs);
};

/// A connected chain whose nodes have "f" as their only input.
struct LeanChain : ConnectedChain {
    explicit LeanChain(i64 count) { connectNodes(count, false); }
};

/// A connected chain in which each node computes its output from its input "f".
struct EvaluatedChain : ConnectedChain {
    explicit EvaluatedChain(i64 count);
};

/// A node whose array links to `links` others. It is the first of the graph.
struct WideNode : Graph {
    explicit WideNode(i64 links);
};

/// Keeps the graph made last until the end of the process.
struct KeptGraph {
    std::type_index type = typeid(void);
    i64 size = 0;
    std::shared_ptr<const void> graph;

    static KeptGraph& get() {
        static KeptGraph& kept = *new KeptGraph;
        return kept;
    }
};

/// Returns the graph of that type and size, and rebuilds it only when the last call asked for
/// another: a benchmark runs several times, and large graphs are slow to make. Each benchmark
/// restores the shape of the graph.
template<typename G>
const G& keptGraph(i64 size) {
    KeptGraph& kept = KeptGraph::get();
    if (kept.type != typeid(G) || kept.size != size) {
        kept.graph.reset();
        kept = {typeid(G), size, std::make_shared<const G>(size)};
    }
    return *static_cast<const G*>(kept.graph.get());
}

} // namespace qv::bench
