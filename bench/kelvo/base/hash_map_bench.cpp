#include "kelvo/base/hash_map.h"
#include "kelvo/base/string.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <new>

using namespace qv;

namespace {

using Map = ds::HashMap<String, String>;

// A map that does without the pool: it makes one allocation of 8 bytes per bucket.
class PlainMap {
public:
    PlainMap() {
        for (auto& bucket : m_buckets)
            bucket.data = new (std::nothrow) String[0];
    }
    ~PlainMap() {
        for (u64 i = 256; i-- > 0;)
            delete[] m_buckets[i].data;
    }
    PlainMap(const PlainMap&) = delete;
    PlainMap& operator=(const PlainMap&) = delete;

private:
    struct Bucket {
        String* data = nullptr;
        u64 count = 0;
        u64 capacity = 0;
    };
    Bucket m_buckets[256];
};

template<class Table, int count>
void createDestroyMaps(benchmark::State& state) {
    alignas(64) static unsigned char storage[count * sizeof(Table)];
    for (auto _ : state) {
        for (int i = 0; i < count; ++i)
            ::new (storage + static_cast<u64>(i) * sizeof(Table)) Table;
        benchmark::DoNotOptimize(storage);
        benchmark::ClobberMemory();
        for (int i = count; i-- > 0;)
            std::launder(reinterpret_cast<Table*>(storage + static_cast<u64>(i) * sizeof(Table)))
                ->~Table();
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(createDestroyMaps<Map, 1>)->Name("create_destroy_map");
BENCHMARK(createDestroyMaps<Map, 2>)->Name("create_destroy_two_maps");
BENCHMARK(createDestroyMaps<PlainMap, 1>)->Name("create_destroy_map_plain_new");
BENCHMARK(createDestroyMaps<PlainMap, 2>)->Name("create_destroy_two_maps_plain_new");

Map labels() {
    Map map;
    map.set("en", "Lamp");
    map.set("de", "Lampe");
    map.set("fr", "Lampe");
    return map;
}

void copyMap(benchmark::State& state) {
    const Map map = labels();
    for (auto _ : state) {
        Map copy(map);
        benchmark::DoNotOptimize(&copy);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(copyMap)->Name("copy_map_3_entries");

void findInMap(benchmark::State& state) {
    const Map map = labels();
    const String key("de");
    for (auto _ : state)
        benchmark::DoNotOptimize(map.find(key));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(findInMap)->Name("find_in_map");

// Measures the lower bound: writing the memory that two maps and their arrays occupy.
void touch16KiB(benchmark::State& state) {
    alignas(64) static unsigned char storage[16 * 1024];
    for (auto _ : state) {
        for (u64 i = 0; i < sizeof storage; i += sizeof(u64))
            benchmark::DoNotOptimize(::new (storage + i) u64(i));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * std::int64_t{sizeof storage});
}
BENCHMARK(touch16KiB)->Name("touch_16_kib");

} // namespace
