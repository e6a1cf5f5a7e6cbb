#include "bench/peers/osg_node.h"
#include "bench/support/workload.h"

#include <benchmark/benchmark.h>

#include <osg/NodeVisitor>

// Measures graphs of OpenSceneGraph: hierarchies, paths, and the one chain of dependencies it has.
namespace qv::bench {
namespace {

void buildHierarchy(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(TransformTree(state.range(0)).root.get());
}
BENCHMARK(buildHierarchy)->Name("build_hierarchy")->Arg(10000)->Unit(benchmark::kMillisecond);

class Collector : public osg::NodeVisitor {
public:
    Collector() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}
    void apply(osg::Node& node) override {
        found.push_back(&node);
        traverse(node);
    }
    std::vector<osg::Node*> found;
};

void traverseHierarchy(benchmark::State& state) {
    const TransformTree tree(state.range(0));
    for (auto _ : state) {
        Collector collector;
        tree.root->accept(collector);
        if (static_cast<std::int64_t>(collector.found.size()) != state.range(0))
            state.SkipWithError("wrong count");
    }
}
BENCHMARK(traverseHierarchy)->Name("traverse_hierarchy")->Arg(10000)->Unit(benchmark::kMicrosecond);

// Goes down from the root until it is at a certain node, and keeps the path to it.
class PathFinder : public osg::NodeVisitor {
public:
    explicit PathFinder(const osg::Node* target)
        : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN), m_target(target) {}
    void apply(osg::Node& node) override {
        if (!path.empty()) return;
        if (&node == m_target)
            path = getNodePath();
        else
            traverse(node);
    }
    osg::NodePath path;

private:
    const osg::Node* m_target;
};

void nodePathSearch(benchmark::State& state) {
    const TransformTree tree(state.range(0));
    for (auto _ : state) {
        PathFinder finder(tree.last);
        tree.root->accept(finder);
        if (static_cast<std::int64_t>(finder.path.size()) != treePathLength(state.range(0)))
            state.SkipWithError("wrong path");
    }
}
BENCHMARK(nodePathSearch)->Name("node_path_search")->Arg(10000)->Unit(benchmark::kMicrosecond);

// Values are not connected. The bounds of nodes depend on each other, however: this changes those
// of the lowest group of a chain, and asks for those of the highest.
void dependencyChain(benchmark::State& state) {
    const osg::ref_ptr<osg::Group> root = new osg::Group;
    osg::Group* lowest = root.get();
    for (std::int64_t k = 1; k < state.range(0); ++k) {
        auto* child = new osg::Group;
        lowest->addChild(child);
        lowest = child;
    }
    float radius = 1.f;
    for (auto _ : state) {
        lowest->setInitialBound(osg::BoundingSphere(osg::Vec3(), radius += 0.001f));
        if (root->getBound().radius() < radius * 0.99f) state.SkipWithError("not propagated");
    }
}
BENCHMARK(dependencyChain)
    ->Name("dependency_chain")
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace qv::bench
