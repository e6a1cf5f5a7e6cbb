#include "bench/peers/coin_node.h"

#include <benchmark/benchmark.h>

#include <Inventor/SoDB.h>
#include <Inventor/SoInput.h>
#include <Inventor/SoOutput.h>
#include <Inventor/actions/SoWriteAction.h>

#include <cstdlib>
#include <string>

// Measures scenes of Coin as text: writing, and reading with the destruction of the scene.
namespace qv::bench {
namespace {

SoSeparator* makeScene(std::int64_t count) {
    auto* root = new SoSeparator;
    for (std::int64_t k = 0; k < count; ++k) {
        auto* node = new TenFields;
        node->setName(("node" + std::to_string(k)).c_str());
        node->fill(static_cast<int>(k));
        root->addChild(node);
    }
    return root;
}

// The buffer that Coin writes to. Coin lets it grow through a function without a context.
void* s_buffer = nullptr;
void* growBuffer(void* buffer, std::size_t size) {
    return s_buffer = std::realloc(buffer, size);
}

std::string write(SoNode* root) {
    constexpr std::size_t kStart = 1 << 16;
    SoOutput out;
    out.setBuffer(s_buffer = std::malloc(kStart), kStart, growBuffer);
    SoWriteAction action(&out);
    action.apply(root);
    void* text = nullptr;
    std::size_t size = 0;
    out.getBuffer(text, size);
    std::string written(static_cast<const char*>(text), size);
    std::free(s_buffer);
    return written;
}

void serializeScene(benchmark::State& state) {
    const Kept root(makeScene(state.range(0)));
    std::string text;
    for (auto _ : state) {
        text = write(root.get());
        benchmark::DoNotOptimize(text.data());
    }
    state.counters["text_bytes"] = static_cast<double>(text.size());
}
BENCHMARK(serializeScene)->Name("serialize_scene")->Arg(1000)->Unit(benchmark::kMicrosecond);

// Tells whether all nodes were read, and the last one with its values.
bool isWhole(const SoSeparator& scene, std::int64_t count) {
    if (scene.getNumChildren() != count) return false;
    SoNode* last = scene.getChild(static_cast<int>(count - 1));
    return last->isOfType(TenFields::getClassTypeId()) &&
           static_cast<TenFields*>(last)->i.getValue() == count - 1;
}

// Reads a scene without a reference to it; null for text with errors.
SoSeparator* read(const std::string& text) {
    SoInput in;
    in.setBuffer(text.data(), text.size());
    return SoDB::readAll(&in);
}

void parseScene(benchmark::State& state) {
    const std::string text = write(Kept(makeScene(state.range(0))).get());
    for (auto _ : state) {
        SoSeparator* scene = read(text);
        if (!scene) {
            state.SkipWithError("the text is not read");
            break;
        }
        const Kept kept(scene);
        if (!isWhole(*scene, state.range(0))) state.SkipWithError("values are lost");
    }
    state.counters["text_bytes"] = static_cast<double>(text.size());
}
BENCHMARK(parseScene)->Name("parse_scene")->Arg(1000)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace qv::bench
