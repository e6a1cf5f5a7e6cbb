#include "kelvo/kelvo.h"

#include <benchmark/benchmark.h>

#include <limits>

// Measures edits of many objects in one step, and deeply nested inputs: items per second must not
// fall as the number of objects rises from ten thousand to a million.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;

void manySizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
}

String numbered(const char* stem, u64 number) {
    return String::format("%s%llu", stem, static_cast<unsigned long long>(number));
}

// A scene that keeps all its steps, and the number of objects that each step changes.
class Growing {
public:
    explicit Growing(benchmark::State& state)
        : m_state(state), count(static_cast<u64>(state.range(0))) {
        constexpr u64 all = std::numeric_limits<u64>::max();
        scene.setUndoLimits({all, all});
        scene.setUndoEnabled(true);
    }
    ~Growing() { m_state.SetItemsProcessed(m_state.iterations() * static_cast<i64>(count)); }
    Growing(const Growing&) = delete;
    Growing& operator=(const Growing&) = delete;

    // Measures an edit, or its undo; the other one runs with the clock stopped.
    template<typename Edit>
    void measureEdit(const Edit& edit) {
        for (auto _ : m_state) {
            edit();
            m_state.PauseTiming();
            scene.undo();
            m_state.ResumeTiming();
        }
    }
    template<typename Edit>
    void measureUndo(const Edit& edit) {
        edit();
        for (auto _ : m_state) {
            scene.undo();
            m_state.PauseTiming();
            scene.redo();
            m_state.ResumeTiming();
        }
    }

private:
    benchmark::State& m_state;

public:
    const u64 count;
    const Scene scene = Scene::create();
};

// ---- Lists ---------------------------------------------------------------------------------

struct GrowingArray : Growing {
    using Growing::Growing;
    void append() const {
        const Scene::UndoScope scope(scene, "Append", "Take back");
        for (u64 i = 0; i < count; ++i)
            array.append();
    }
    const Node node = scene.createNode("t", "node1");
    const Input array = node.createArray("array", AttrType::Real);
};

void append(benchmark::State& state) {
    GrowingArray growing(state);
    growing.measureEdit([&] { growing.append(); });
}
BENCHMARK(append)->Name("growth_append")->Arg(100)->Arg(1000)->Apply(manySizes);

void undoAppend(benchmark::State& state) {
    GrowingArray growing(state);
    growing.measureUndo([&] { growing.append(); });
}
BENCHMARK(undoAppend)->Name("growth_append/undo")->Apply(manySizes);

struct ManyInputs : Growing {
    explicit ManyInputs(benchmark::State& state) : Growing(state) {
        for (u64 i = 0; i < count; ++i)
            node.createInput(numbered("i", i), AttrType::Real);
    }
    const Node node = scene.createNode("t", "node1");
};

void clearInputs(benchmark::State& state) {
    ManyInputs many(state);
    many.measureEdit([&] { many.node->clearInputs(); });
}
BENCHMARK(clearInputs)->Name("growth_clear_inputs")->Arg(100)->Arg(1000)->Apply(manySizes);

void undoClearInputs(benchmark::State& state) {
    ManyInputs many(state);
    many.measureUndo([&] { many.node->clearInputs(); });
}
BENCHMARK(undoClearInputs)->Name("growth_clear_inputs/undo")->Apply(manySizes);

// ---- Nodes ---------------------------------------------------------------------------------

// Links each node to the one before.
void linkNodes(const Scene& scene, u64 count) {
    Node previous;
    for (u64 i = 0; i < count; ++i) {
        const Node node = scene.createNode("t", numbered("n", i));
        node.createInput("link", AttrType::Node).set(previous.get());
        previous = node;
    }
}

struct ManyNodes : Growing {
    explicit ManyNodes(benchmark::State& state) : Growing(state) {
        scene.setUndoEnabled(false);
        linkNodes(scene, count);
        scene.setUndoEnabled(true);
    }
};

void clearScene(benchmark::State& state) {
    ManyNodes many(state);
    many.measureEdit([&] { many.scene->clear(); });
}
// The range ends before a million nodes, which would take too much memory for a measurement.
BENCHMARK(clearScene)
    ->Name("growth_clear_scene")
    ->Arg(10'000)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond);

void undoClearScene(benchmark::State& state) {
    ManyNodes many(state);
    many.measureUndo([&] { many.scene->clear(); });
}
BENCHMARK(undoClearScene)
    ->Name("growth_clear_scene/undo")
    ->Arg(10'000)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond);

void endScene(benchmark::State& state) {
    const auto count = static_cast<u64>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        Scene scene = Scene::create();
        linkNodes(scene, count);
        state.ResumeTiming();
        scene = Scene();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(endScene)
    ->Name("growth_end_scene")
    ->Arg(10'000)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond);

// ---- Readers -------------------------------------------------------------------------------

struct ManyReaders : Growing {
    explicit ManyReaders(benchmark::State& state) : Growing(state) {
        const Output output = source.createOutput("result", AttrType::Real);
        for (u64 i = 0; i < count; ++i)
            array.append().connect(output);
    }
    void disconnect() const {
        const Scene::UndoScope scope(scene, "Disconnect", "Take back");
        for (u64 i = 0; i < count; ++i)
            array.input(i).disconnect();
    }
    const Node source = scene.createNode("t", "source");
    const Node reader = scene.createNode("t", "reader");
    const Input array = reader.createArray("array", AttrType::Real);
};

void undoConvert(benchmark::State& state) {
    ManyReaders many(state);
    many.measureUndo([&] { many.source.convertTo("u"); });
}
BENCHMARK(undoConvert)->Name("growth_convert_source/undo")->Apply(manySizes);

void undoDisconnect(benchmark::State& state) {
    ManyReaders many(state);
    many.measureUndo([&] { many.disconnect(); });
}
BENCHMARK(undoDisconnect)->Name("growth_disconnect/undo")->Apply(manySizes);

// ---- Depth ---------------------------------------------------------------------------------

struct Nested : Growing {
    explicit Nested(benchmark::State& state) : Growing(state) {
        scene.setUndoEnabled(false);
        Input input = node.createInput("object", AttrType::Object);
        for (u64 i = 1; i < count; ++i)
            input = input.createInput("object", AttrType::Object);
        scene.setUndoEnabled(true);
    }
    const Node node = scene.createNode("t", "node1");
};

void removeNested(benchmark::State& state) {
    Nested nested(state);
    nested.measureEdit([&] { nested.node.removeInput("object"); });
}
BENCHMARK(removeNested)->Name("growth_nested/remove")->Apply(manySizes);

void convertNested(benchmark::State& state) {
    Nested nested(state);
    nested.measureEdit([&] { nested.scene["node1"].convertTo("u"); });
}
BENCHMARK(convertNested)->Name("growth_nested/convert")->Apply(manySizes);

void writeNested(benchmark::State& state) {
    const Nested nested(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(nested.node->serialize(false, false));
}
BENCHMARK(writeNested)->Name("growth_nested/write")->Apply(manySizes);

void hashNested(benchmark::State& state) {
    const Nested nested(state);
    Input inner = nested.node["object"];
    while (inner.inputCount() != 0)
        inner = inner.input(0);
    u64 count = 0;
    for (auto _ : state) {
        inner.createInput(numbered("i", ++count % 2), AttrType::Real);
        benchmark::DoNotOptimize(nested.node.hash());
        inner->clearInputs();
    }
}
BENCHMARK(hashNested)->Name("growth_nested/hash")->Apply(manySizes);

void cloneAndEndNested(benchmark::State& state) {
    const Nested nested(state);
    nested.scene.setUndoEnabled(false);
    for (auto _ : state)
        nested.scene.removeNode(nested.node.clone());
}
BENCHMARK(cloneAndEndNested)->Name("growth_nested/clone_and_end")->Apply(manySizes);

} // namespace
} // namespace qv::bench
