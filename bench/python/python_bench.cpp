// The yardsticks of the Python benchmarks: a call that does nothing, and creating nodes in C++.
#include "kelvo/kelvo.h"

#include <chrono>
#include <pybind11/pybind11.h>

namespace {

using namespace qv::kelvo_sdk;

// Returns the seconds per node. The nodes have ten inputs.
double secondsToCreate(int count) {
    const Scene scene = Scene::create();
    (void)scene.addLibrary(LibInfo::standard());
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i)
        if (!scene.createNode("mesh", "n")) return 0;
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    return taken.count() / count;
}

} // namespace

PYBIND11_MODULE(python_bench, module) {
    module.def("empty", [] {});
    module.def("seconds_to_create", &secondsToCreate);
}
