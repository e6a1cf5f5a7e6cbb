#include "bench/support/bench_node.h"
#include "kelvo/kelvo.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

// Measures the cost of recording edits for undo.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;

// A node with ten inputs in a scene, with undo on or off.
class Fixture {
public:
    explicit Fixture(bool isUndone) : scene(Scene::create()), node(scene.createNode("t", "node1")) {
        addTenInputs(*node.get(), 7);
        scene.setUndoEnabled(isUndone);
    }
    Scene scene;
    Node node;
};

// A thousand changes of a thousand inputs, or of one.
class Thousand {
public:
    explicit Thousand(bool isOne = false) : scene(Scene::create()) {
        for (int i = 0; i < 100; ++i) {
            const Node node = scene.createNode("t", "n" + String(std::to_string(i).c_str()));
            for (int k = 0; k < 10; ++k)
                inputs.push_back(node.createInput(String::format("i%d", k), AttrType::Real));
        }
        if (isOne) inputs.assign(inputs.size(), inputs[0]);
        scene.setUndoEnabled(true);
        scene.setUndoLimits({u64{256} << 20, 16});
    }
    void change() {
        const Scene::UndoScope scope(scene, "Change", "Change back");
        for (const Input& input : inputs)
            input.set(m_value += 1.0);
    }
    Scene scene;
    std::vector<Input> inputs;

private:
    double m_value = 0;
};

void setValueUndoOff(benchmark::State& state) {
    const Fixture fixture(false);
    const Input input = fixture.node["f"];
    double value = 0;
    for (auto _ : state)
        input.set(value += 1.0);
}
BENCHMARK(setValueUndoOff)->Name("undo_set_value/off");

void setValueRecorded(benchmark::State& state) {
    const Fixture fixture(true);
    const Input input = fixture.node["f"];
    double value = 0;
    for (auto _ : state)
        input.set(value += 1.0);
    state.counters["bytes_per_step"] = static_cast<double>(fixture.scene.undoStep(0).bytes);
}
BENCHMARK(setValueRecorded)->Name("undo_set_value/record");

void undoValue(benchmark::State& state) {
    const Fixture fixture(true);
    fixture.node["f"].set(1.0);
    for (auto _ : state) {
        fixture.scene.undo();
        fixture.scene.redo();
    }
    state.SetItemsProcessed(2 * state.iterations());
}
BENCHMARK(undoValue)->Name("undo_set_value/undo_redo");

void scopeOfThousand(benchmark::State& state) {
    Thousand fixture(state.range(0) == 1);
    for (auto _ : state)
        fixture.change();
    state.counters["bytes_per_step"] = static_cast<double>(fixture.scene.undoStep(0).bytes);
    state.SetItemsProcessed(1000 * state.iterations());
}
BENCHMARK(scopeOfThousand)->Name("undo_scope_1000/inputs")->Arg(1)->Arg(1000);

void undoThousand(benchmark::State& state) {
    Thousand fixture;
    fixture.change();
    for (auto _ : state) {
        fixture.scene.undo();
        fixture.scene.redo();
    }
    state.SetItemsProcessed(2000 * state.iterations());
}
BENCHMARK(undoThousand)->Name("undo_redo_scope_1000");

// Removes a node that a thousand inputs link or are connected to.
void removeReferred(benchmark::State& state) {
    const bool isConnected = state.range(0) == 1;
    const Scene scene = Scene::create();
    const Node target = scene.createNode("t", "target");
    const Output output = target.createOutput("out", AttrType::Real);
    for (int i = 0; i < 1000; ++i) {
        const Node node = scene.createNode("t", "n" + String(std::to_string(i).c_str()));
        if (isConnected)
            node.createInput("a", AttrType::Real).connect(output);
        else
            node.createInput("a", AttrType::Node).set(target);
    }
    scene.setUndoEnabled(true);
    scene.setUndoLimits({u64{256} << 20, 16});
    for (auto _ : state) {
        scene.removeNode(target);
        scene.undo();
    }
    scene.redo();
    state.counters["bytes_per_step"] = static_cast<double>(scene.undoStep(0).bytes);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(removeReferred)->Name("undo_remove_node_1000_references/connected")->Arg(0)->Arg(1);

} // namespace
} // namespace qv::bench
