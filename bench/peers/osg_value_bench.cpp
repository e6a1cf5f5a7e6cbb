#include "bench/peers/osg_node.h"
#include "bench/support/workload.h"

#include <benchmark/benchmark.h>

#include <osg/Group>
#include <osg/UserDataContainer>

// Measures named values of OpenSceneGraph: look-ups, reads, writes. It has no notifications and no
// connections.
namespace qv::bench {
namespace {

using GroupPtr = osg::ref_ptr<osg::Group>;

GroupPtr groupOfTen() {
    GroupPtr node = new osg::Group;
    addTenValues(*node, 7);
    return node;
}

void lookupAttrByName(benchmark::State& state) {
    const GroupPtr node = new osg::Group;
    for (std::int64_t k = 0; k < state.range(0); ++k)
        node->setUserValue("attribute" + std::to_string(k), 0.f);
    const std::string name = "attribute" + std::to_string(state.range(0) - 1);
    osg::UserDataContainer* values = node->getUserDataContainer();
    if (!values->getUserObject(name)) state.SkipWithError("not found");
    for (auto _ : state)
        benchmark::DoNotOptimize(values->getUserObject(name));
}
BENCHMARK(lookupAttrByName)->Name("lookup_attr_by_name")->Arg(8)->Arg(32)->Arg(128);

void getValueFloat(benchmark::State& state) {
    const GroupPtr node = groupOfTen();
    const auto& value = keptValue<FloatValue>(*node, "f");
    for (auto _ : state)
        benchmark::DoNotOptimize(value.getValue());
}
BENCHMARK(getValueFloat)->Name("get_value_float");

void setValueFloat(benchmark::State& state) {
    const GroupPtr node = groupOfTen();
    auto& value = keptValue<FloatValue>(*node, "f");
    float x = 0;
    for (auto _ : state) {
        value.setValue(x += 1.f);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(setValueFloat)->Name("set_value_float");

void setValueString(benchmark::State& state) {
    const GroupPtr node = groupOfTen();
    auto& value = keptValue<StringValue>(*node, "s");
    const std::string texts[] = {kLongTexts[0], kLongTexts[1]};
    unsigned k = 0;
    for (auto _ : state) {
        value.setValue(texts[++k & 1]);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(setValueString)->Name("set_value_string");

} // namespace
} // namespace qv::bench
