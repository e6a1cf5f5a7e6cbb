#include "bench/support/bench_node.h"
#include "bench/support/workload.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

// Measures inputs: reads, writes, notifications, connections, hashes.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;
using interfaces::IInput;
using interfaces::INode;

class Counter : public interfaces::NodeObserver {
public:
    void nodeRemoved() override {}
    void nodeRenamed(String) override {}
    void nodeConverted(kelvo_sdk::Node) override {}
    void inputChanged(kelvo_sdk::Input) override { ++hits; }
    void inputConnected(kelvo_sdk::Input) override {}

    i64 hits = 0;
};

// A node with ten inputs in a scene.
class Fixture {
public:
    Fixture() : scene(Scene::create()), node(scene.createNode("bench10", "node1")) {
        addTenInputs(*node.get(), 7);
    }
    Scene scene;
    Node node;
};

void getValueFloat(benchmark::State& state) {
    const Fixture fixture;
    const Input input = fixture.node["f"];
    for (auto _ : state)
        benchmark::DoNotOptimize(input.get<double>());
}
BENCHMARK(getValueFloat)->Name("get_value_float");

void setValueFloat(benchmark::State& state) {
    const Fixture fixture;
    const Input input = fixture.node["f"];
    double value = 0;
    for (auto _ : state)
        input.set(value += 1.0);
}
BENCHMARK(setValueFloat)->Name("set_value_float");

void setValueFloatNotify(benchmark::State& state) {
    const Fixture fixture;
    const Input input = fixture.node["f"];
    std::vector<Counter> counters(static_cast<std::size_t>(state.range(0)));
    for (Counter& counter : counters)
        fixture.node.subscribe(&counter);
    double value = 0;
    for (auto _ : state)
        input.set(value += 1.0);
    for (Counter& counter : counters) {
        if (counter.hits != static_cast<i64>(state.iterations())) state.SkipWithError("not told");
        fixture.node.unsubscribe(&counter);
    }
}
BENCHMARK(setValueFloatNotify)->Name("set_value_float_notify")->Arg(1)->Arg(8);

// Sets two long texts alternately.
void setValueString(benchmark::State& state) {
    const Fixture fixture;
    const Input input = fixture.node["s"];
    unsigned k = 0;
    for (auto _ : state)
        input.set(kLongTexts[++k & 1]);
}
BENCHMARK(setValueString)->Name("set_value_string");

void connectDisconnect(benchmark::State& state) {
    const Fixture fixture;
    const Node other = fixture.scene.createNode("bench10", "node2");
    const Output output = other.createOutput("out", AttrType::Real);
    const Input input = fixture.node["f"];
    for (auto _ : state) {
        input.connect(output);
        input.disconnect();
    }
}
BENCHMARK(connectDisconnect)->Name("connect_disconnect");

void hashNodeUnchanged(benchmark::State& state) {
    const Fixture fixture;
    const StringVector skip;
    for (auto _ : state)
        benchmark::DoNotOptimize(fixture.node->hash(skip));
}
BENCHMARK(hashNodeUnchanged)->Name("hash_node_unchanged");

void hashNodeOneChanged(benchmark::State& state) {
    const Fixture fixture;
    const Input input = fixture.node["f"];
    const StringVector skip;
    double value = 0;
    for (auto _ : state) {
        input.set(value += 1.0);
        benchmark::DoNotOptimize(fixture.node->hash(skip));
    }
}
BENCHMARK(hashNodeOneChanged)->Name("hash_node_one_changed");

// Hashes with types to skip, none of which occurs, and without the name.
void hashNodeSkip(benchmark::State& state) {
    const Fixture fixture;
    StringVector skip;
    for (const char* type : {"xform", "mesh", "material", "__node_name__"})
        skip.push_back(type);
    if (fixture.node->hash(skip) == fixture.node->hash(StringVector()))
        state.SkipWithError("name counts");
    for (auto _ : state)
        benchmark::DoNotOptimize(fixture.node->hash(skip));
}
BENCHMARK(hashNodeSkip)->Name("hash_node_skip");

// A node whose input is `depth` steps down a path, the last step of many nested objects.
class NestedInput {
public:
    explicit NestedInput(i64 depth) {
        interfaces::IInputContainer* owner = m_node.get();
        std::string path = "node1";
        for (i64 i = 1; i <= depth; ++i) {
            const std::string step = "member" + std::to_string(i);
            path += "." + step;
            m_input = owner->createInput(String(step.c_str()),
                                         i < depth ? AttrType::Object : AttrType::Real);
            owner = m_input;
        }
        m_path = String(path.c_str());
    }

    [[nodiscard]] INode* node() const noexcept { return m_node.get(); }
    [[nodiscard]] const IInput* input() const noexcept { return m_input; }
    [[nodiscard]] const String& path() const noexcept { return m_path; }

private:
    Scene m_scene = Scene::create();
    Node m_node = m_scene.createNode("nested", "node1");
    IInput* m_input = nullptr;
    String m_path;
};

// Keeps the path from one search to the next. An item is a step.
template<typename Find>
void searchByPath(benchmark::State& state, const Find& find) {
    const NestedInput nested(state.range(0));
    for (auto _ : state) {
        if (find(*nested.node(), nested.path()) != nested.input()) {
            state.SkipWithError("not found");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void findByPath(benchmark::State& state) {
    searchByPath(state, [](INode& node, const String& path) { return node.findInput(path); });
}
BENCHMARK(findByPath)->Name("find_by_path_depth")->Arg(1)->Arg(4)->Arg(16);

void parsePath(benchmark::State& state) {
    searchByPath(state, [](INode& node, const String& path) { return node.parseInputPath(path); });
}
BENCHMARK(parsePath)->Name("parse_path_depth")->Arg(1)->Arg(4)->Arg(16);

} // namespace
} // namespace qv::bench
