#include "kelvo/base/string.h"
#include "kelvo/base/string_io.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>

using namespace qv;

namespace {

const String name("baseColorTexture");
const String sameText(std::string_view("baseColorTexture"));
const String otherCase("BASECOLORTEXTURE");

void makeString(benchmark::State& state) {
    const char* text = "baseColorTexture";
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        const String made(text);
        benchmark::DoNotOptimize(made.buf());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(makeString)->Name("string_make");

void copyString(benchmark::State& state) {
    for (auto _ : state) {
        const String copy(name);
        benchmark::DoNotOptimize(copy.buf());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(copyString)->Name("string_copy");

void compareNoCase(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(name.compareNoCase(otherCase));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(compareNoCase)->Name("string_compare_no_case");

void equalsNoCase(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(name.equalsNoCase(otherCase));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(equalsNoCase)->Name("string_equals_no_case");

void equals(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(name.equals(sameText));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(equals)->Name("string_equals");

void equalByValue(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(name == sameText);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(equalByValue)->Name("string_equal_by_value");

void cachedHash(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(name.foldedHash());
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(cachedHash)->Name("string_hash_cached");

// Measures the cost that a look-up by a literal has before it starts to search.
void makeAndHash(benchmark::State& state) {
    const char* text = "baseColorTexture";
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(String(text).foldedHash());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(makeAndHash)->Name("string_make_and_hash");

template<class T>
void writeReals(benchmark::State& state, const std::array<T, 8>& values) {
    StringIO io;
    u64 bytes = 0;
    for (auto _ : state) {
        io.clear();
        for (const T value : values)
            io.appendReal(value).append(' ');
        bytes += io.size();
        benchmark::DoNotOptimize(io.buf());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
    state.SetItemsProcessed(state.iterations() * 8);
}
void writeShortReals(benchmark::State& state) {
    writeReals<double>(state, {0, 1, 0.5, -2.25, 0.8, 100, 12.75, 1.125});
}
BENCHMARK(writeShortReals)->Name("write_short_doubles");
void writeLongReals(benchmark::State& state) {
    writeReals<double>(state, {1.0 / 3, 2.0 / 3, 3.14159265358979, 2.718281828459045, 1e-7 / 3,
                               1e9 / 7, -1.0 / 9, 123.456789012345});
}
BENCHMARK(writeLongReals)->Name("write_long_doubles");
void writeFloats(benchmark::State& state) {
    writeReals<float>(state, {0.33333f, 12.7182f, -0.0012f, 1.5f, 0.77215f, -8.9123f, 1.0f, 0});
}
BENCHMARK(writeFloats)->Name("write_floats");

void writePieces(benchmark::State& state) {
    StringIO io;
    u64 bytes = 0;
    for (auto _ : state) {
        io.clear();
        for (int i = 0; i < 100; ++i)
            io.append("    ")
                .append("Real")
                .append(' ')
                .append(name)
                .append(" = ")
                .appendInt(i)
                .append('\n');
        bytes += io.size();
        benchmark::DoNotOptimize(io.buf());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}
BENCHMARK(writePieces)->Name("write_pieces");

} // namespace
