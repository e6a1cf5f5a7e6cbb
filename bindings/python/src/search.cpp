#include "bindings/python/src/library.h"
#include "bindings/python/src/snapshot_views.h"
#include "bindings/python/src/use.h"

#include "kelvo/sdk/search.h"

#include <pybind11/stl.h>

// Search in scenes and snapshots.
namespace qv::python {

namespace {

using OptionalText = std::optional<String>;

Query queryOf(const String& pattern, const OptionalText& type, const OptionalText& value,
              bool nodes, bool inputs) {
    return {.pattern = pattern, .type = type, .value = value, .nodes = nodes, .inputs = inputs};
}

template<class Found>
void check(const Found& found) {
    if (!found) raise(ErrorKind::Value, found.fault().message);
}

std::vector<Match> find(const LiveScene& scene, const String& pattern, const OptionalText& type,
                        const OptionalText& value, bool nodes, bool inputs,
                        const py::object& libraries) {
    Query query = queryOf(pattern, type, value, nodes, inputs);
    if (!libraries.is_none())
        for (const LibInfo& library : librariesOf(libraries))
            query.libraries.push_back(library);
    Matches found;
    {
        const LongRead use(scene);
        found = scene.find(query);
    }
    check(found);
    return {found.begin(), found.end()};
}

py::list findInSnapshot(const Snapshot& snapshot, const String& pattern, const OptionalText& type,
                        const OptionalText& value, bool nodes, bool inputs,
                        const py::object& libraries) {
    Query query = queryOf(pattern, type, value, nodes, inputs);
    for (const LibInfo& library : librariesOf(libraries))
        query.libraries.push_back(library);
    SnapshotMatches found;
    {
        const py::gil_scoped_release unlocked;
        found = kelvo_sdk::find(snapshot, query);
    }
    check(found);
    py::list all;
    for (const SnapshotMatch& match : found)
        all.append(py::make_tuple(viewOf(snapshot, match.node), viewOf(snapshot, match.input),
                                  match.path()));
    return all;
}

} // namespace

void addSearch(py::module_& module) {
    py::class_<Match>(module, "Match", "A node or an input that a search found.")
        .def_readonly("node", &Match::node, "The node, or the owner of the input.")
        .def_readonly("input", &Match::input, "The input; None when the node itself matched.")
        .def_property_readonly("path", &Match::path)
        .def("__repr__", [](const Match& match) {
            return py::str("<kelvo.Match ") + py::str(py::cast(match.path())) + py::str(">");
        });
    method(s_sceneType, "_find", &find);
    module.def("_find_in_snapshot", &findInSnapshot);
}

} // namespace qv::python
