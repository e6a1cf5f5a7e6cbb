#include "bindings/python/src/errors.h"

#include "kelvo/plugins/plugins.h"

#include "bindings/python/src/library.h"

#include <pybind11/stl.h>

namespace qv::python {

void addWalk();
void addInputProperty(py::module_& module);
void addLibrary(py::module_& module);
void addScene(py::module_& module);
void addNode(py::module_& module);
void addInput();
void addObservers(py::module_& module);
void addCompare(py::module_& module);
void addFiles();
void addFindings(py::module_& module);
void addHelp(py::module_& module);
void addSearch(py::module_& module);
void addSnapshots(py::module_& module);

namespace {

// Returns (name, file, library) of each plug-in, and the sentences about those that failed.
py::tuple loadPlugins(const std::vector<String>& paths) {
    std::vector<String> complaints;
    std::vector<kelvo_plugins::Plugin> plugins;
    {
        const py::gil_scoped_release unlocked;
        plugins =
            kelvo_plugins::loadPlugins(paths, [&](const String& message, kelvo_plugins::Origin) {
                complaints.push_back(message);
            });
    }
    py::list found;
    for (const kelvo_plugins::Plugin& plugin : plugins)
        found.append(py::make_tuple(plugin.name, plugin.file, wrap(plugin.library)));
    return py::make_tuple(found, complaints);
}

} // namespace

} // namespace qv::python

PYBIND11_MODULE(_kelvo, module) {
    using namespace qv::python;
    module.doc() = "The compiled part of the package kelvo, which has its names.";
    addHandleTypes(module);
    addWalk();
    addInputProperty(module);
    addLibrary(module);
    addScene(module);
    addNode(module);
    addInput();
    addHelp(module);
    addObservers(module);
    addCompare(module);
    addFindings(module);
    addFiles();
    addSnapshots(module);
    addSearch(module);
    module.def("_load_plugins", &loadPlugins);
    module.def(
        "_empty", [] {}, "Does nothing: the least that a call costs.");
    module.def("_release_log", [] { qv::setLogHandler(nullptr); });
    redirectLog();
}
