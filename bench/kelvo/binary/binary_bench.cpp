#include "kelvo/binary/binary_scene.h"
#include "kelvo/sdk/scene.h"

#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

// Measures scenes in the binary form with 1 GB of buffers.
namespace qv::bench {
namespace {

using namespace kelvo_sdk;

// A file with one buffer of 64 MB in each of 16 nodes, which no two share; removed at the end.
class BufferFile {
public:
    BufferFile() {
        std::string name = (std::filesystem::temp_directory_path() / "kelvo-XXXXXX").string();
        if (const char* const made = ::mkdtemp(name.data())) m_folder = made;
        const Scene scene = Scene::create();
        for (int i = 0; i < 16; ++i) {
            const Node mesh = scene.createNode("mesh", String::format("mesh%d", i));
            mesh.createInput("size", AttrType::Real).set(0.5 * i);
            mesh.createInput("points", AttrType::Buffer)
                .setBuffer(std::vector<float>(16 << 20, static_cast<float>(i)));
        }
        if (!saveBinary(scene.snapshot(), file())) std::abort();
    }
    ~BufferFile() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    BufferFile(const BufferFile&) = delete;
    BufferFile& operator=(const BufferFile&) = delete;

    [[nodiscard]] std::filesystem::path file() const { return m_folder / "buffers.knb"; }

private:
    std::filesystem::path m_folder;
};

const BufferFile& bufferFile() {
    static const BufferFile file;
    return file;
}

i64 faults() {
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt + usage.ru_majflt;
}

void openAndReadValue(benchmark::State& state) {
    const std::filesystem::path file = bufferFile().file();
    const i64 before = faults();
    for (auto _ : state)
        benchmark::DoNotOptimize(openBinary(file)["mesh9"]["size"].get<double>());
    state.counters["page_faults"] =
        static_cast<double>(faults() - before) / static_cast<double>(state.iterations());
}
BENCHMARK(openAndReadValue)
    ->Name("binary_open_1GB_and_read_a_value")
    ->Unit(benchmark::kMicrosecond);

void openAndReadBuffer(benchmark::State& state) {
    const std::filesystem::path file = bufferFile().file();
    for (auto _ : state) {
        const Snapshot snapshot = openBinary(file);
        benchmark::DoNotOptimize(snapshot["mesh9"]["points"].buffer<float>().back());
    }
    state.SetBytesProcessed(state.iterations() * (64 << 20));
}
BENCHMARK(openAndReadBuffer)->Name("binary_open_1GB_and_read_64MB")->Unit(benchmark::kMillisecond);

} // namespace
} // namespace qv::bench
