#include "bench/support/bench_node.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/help/knd_html_writer.h"
#include "kelvo/sdk/impl/standard/standard_library.h"
#include "kelvo/sdk/impl/types/lib_info.h"

#include <benchmark/benchmark.h>

#include <string>

// Measures node types: reading and binding definitions, creating, copying and explaining nodes.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;
using interfaces::INode;
using Library = RefersTo<impl::LibInfo>;

bool initNothing(INode*, void**) {
    return true;
}

bool evalNothing(EvalCtx*, void*) {
    return true;
}

// Returns a line for each input, of the kinds of `addTenInputs`.
std::string inputLines(i64 count) {
    static const char* const kinds[] = {
        "Bool b% = true",
        "Int i% = 3",
        "Real f% = 0.25 @min 0 @max 1",
        "Real d% = 0.1 @unit \"m\"",
        "String s% = \"some text value\"",
        "Vec2 vb% = (0.1 1)",
        "Vec3 vc% = (0.1 0.2 1)",
        "Vec4 vd% = (0.1 0.2 0.3 1)",
        "Mat4 m% = (1 0 0 0  0 1 0 0  0 0 1 0  0.1 0.2 1 1)",
        "Array<Real> a% = [0.5, 1.5, 2.5, 3.5]",
    };
    std::string lines;
    for (i64 k = 0; k < count; ++k) {
        std::string line = kinds[k % 10];
        line.replace(line.find('%'), 1, std::to_string(k / 10));
        lines += "    " + line + "\n";
    }
    return lines;
}

std::string typeText(const std::string& name, i64 inputs) {
    return "type " + name + " {\n    label \"en\" \"" + name + "\"\n" + inputLines(inputs) +
           "    output Real out\n}\n";
}

// Returns a library with the type "bench" and its callbacks.
Library libraryOfOne(i64 inputs) {
    auto library = Library::adopt(new impl::LibInfo);
    library->setCallbacks("bench",
                          {initNothing, nullptr, evalNothing, nullptr, initNothing, nullptr});
    const std::string text = "kelvo types 1\n" + typeText("bench", inputs);
    library->readDefinitions(String(text.c_str()), "bench.knd");
    return library;
}

void bindNode(benchmark::State& state) {
    const Library library = libraryOfOne(10);
    impl::Node node(nullptr, "bench", "n");
    for (auto _ : state) {
        if (!node.initLibInfo(library.get())) {
            state.SkipWithError("not bound");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(bindNode)->Name("bind_node");

// Includes the removal. The range is the number of inputs.
void createFromDefinition(benchmark::State& state) {
    const auto scene = Scene::create();
    scene->addLibrary(libraryOfOne(state.range(0)).get());
    const String type("bench");
    const String name("node1");
    for (auto _ : state) {
        INode* node = scene->createNode(type, name);
        if (!node || node->inputCount() != static_cast<u64>(state.range(0))) {
            state.SkipWithError("wrong node");
            break;
        }
        scene->removeNode(node);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(createFromDefinition)->Name("create_node_from_definition")->Arg(10)->Arg(40);

void cloneNode(benchmark::State& state) {
    const auto scene = Scene::create();
    const auto node =
        RefersTo<impl::Node>::adopt(new impl::Node(scene.get(), BenchNames::get().type, "node1"));
    addTenInputs(*static_cast<INode*>(node.get()), 1);
    const String name("node2");
    for (auto _ : state) {
        impl::Node* copy = node->clone(scene.get(), name);
        benchmark::DoNotOptimize(copy);
        copy->decRef();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(cloneNode)->Name("clone_node_10_inputs");

// Copies as users do: the copy is added to the scene and removed again.
void cloneInScene(benchmark::State& state) {
    const auto scene = Scene::create();
    INode* node = scene->createNode(BenchNames::get().type, "node1");
    addTenInputs(*node, 1);
    for (auto _ : state) {
        INode* copy = node->clone(false);
        if (!copy) {
            state.SkipWithError("no copy");
            break;
        }
        scene->removeNode(copy);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(cloneInScene)->Name("clone_node_in_scene");

// Reads types of ten inputs each. An item is a type.
void readDefinitions(benchmark::State& state) {
    std::string text = "kelvo types 1\n";
    for (i64 k = 0; k < state.range(0); ++k)
        text += "\n" + typeText("type" + std::to_string(k), 10);
    const String definitions(text.c_str());
    for (auto _ : state) {
        const auto library = Library::adopt(new impl::LibInfo);
        if (!library->readDefinitions(definitions, "bench.knd")) {
            state.SkipWithError("not read");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetBytesProcessed(state.iterations() * static_cast<i64>(text.size()));
}
BENCHMARK(readDefinitions)
    ->Name("read_definitions")
    ->Arg(100)
    ->Arg(1000)
    ->Unit(benchmark::kMillisecond);

void helpPage(benchmark::State& state) {
    const auto scene = Scene::create();
    scene->addLibrary(&impl::standardLibrary());
    const Node node = scene.createNode("camera", "c");
    u64 size = 0;
    for (auto _ : state) {
        const String page = impl::KndHtmlWriter::nodeHtml(node, true);
        size = page.size();
    }
    if (size == 0) state.SkipWithError("no page");
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * static_cast<i64>(size));
}
BENCHMARK(helpPage)->Name("help_page")->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace qv::bench
