#include "bench/peers/coin_node.h"
#include "bench/support/workload.h"

#include <benchmark/benchmark.h>

#include <Inventor/sensors/SoFieldSensor.h>

#include <deque>
#include <string>

// Measures fields of Coin: look-ups, reads, writes, notifications, connections.
namespace qv::bench {
namespace {

std::string lastName(const benchmark::State& state) {
    return "attribute" + std::to_string(state.range(0) - 1);
}

// Looks up by a plain text, from which Coin makes a name each time.
void lookupAttrByName(benchmark::State& state) {
    const Kept node(new WideFields(static_cast<int>(state.range(0))));
    const std::string name = lastName(state);
    if (!node->getField(SbName(name.c_str()))) state.SkipWithError("not found");
    for (auto _ : state)
        benchmark::DoNotOptimize(node->getField(SbName(name.c_str())));
}
BENCHMARK(lookupAttrByName)->Name("lookup_attr_by_name")->Arg(8)->Arg(32)->Arg(128);

void lookupAttrByKeptName(benchmark::State& state) {
    const Kept node(new WideFields(static_cast<int>(state.range(0))));
    const SbName name(lastName(state).c_str());
    if (!node->getField(name)) state.SkipWithError("not found");
    for (auto _ : state)
        benchmark::DoNotOptimize(node->getField(name));
}
BENCHMARK(lookupAttrByKeptName)->Name("lookup_attr_by_name_interned")->Arg(8)->Arg(32)->Arg(128);

void getValueFloat(benchmark::State& state) {
    const Kept node(new TenFields);
    for (auto _ : state)
        benchmark::DoNotOptimize(node->f.getValue());
}
BENCHMARK(getValueFloat)->Name("get_value_float");

void setValueFloat(benchmark::State& state) {
    const Kept node(new TenFields);
    float value = 0;
    for (auto _ : state)
        node->f.setValue(value += 1.f);
}
BENCHMARK(setValueFloat)->Name("set_value_float");

void countHit(void* hits, SoSensor*) {
    ++*static_cast<std::int64_t*>(hits);
}

// Sensors of priority 0 are called within the write, as our observers are.
void setValueFloatNotify(benchmark::State& state) {
    const Kept node(new TenFields);
    std::int64_t hits = 0;
    std::deque<SoFieldSensor> sensors;
    for (std::int64_t k = 0; k < state.range(0); ++k) {
        SoFieldSensor& sensor = sensors.emplace_back(countHit, &hits);
        sensor.setPriority(0);
        sensor.attach(&node->f);
    }
    float value = 0;
    for (auto _ : state)
        node->f.setValue(value += 1.f);
    if (hits < static_cast<std::int64_t>(state.iterations()) * state.range(0))
        state.SkipWithError("not told");
}
BENCHMARK(setValueFloatNotify)->Name("set_value_float_notify")->Arg(1)->Arg(8);

void setValueString(benchmark::State& state) {
    const Kept node(new TenFields);
    unsigned k = 0;
    for (auto _ : state)
        node->s.setValue(kLongTexts[++k & 1]);
}
BENCHMARK(setValueString)->Name("set_value_string");

void connectDisconnect(benchmark::State& state) {
    const Kept source(new TenFields);
    const Kept target(new TenFields);
    for (auto _ : state) {
        target->f.connectFrom(&source->f);
        target->f.disconnect();
    }
}
BENCHMARK(connectDisconnect)->Name("connect_disconnect");

} // namespace
} // namespace qv::bench
