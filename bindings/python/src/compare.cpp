#include "bindings/python/src/use.h"

#include "kelvo/sdk/scene_diff.h"

#include <pybind11/stl.h>

namespace qv::python {

namespace {

SceneDiff diff(const LiveScene& before, const LiveScene& after, bool withComments) {
    const LogScope log;
    std::optional<Made<SceneDiff>> found;
    {
        const LongRead use(before, after);
        found = SceneDiff::between(before, after, {.withComments = withComments});
    }
    check(found->result());
    return *found;
}

void apply(const SceneDiff& changes, const LiveScene& scene) {
    const LogScope log;
    Result isApplied;
    {
        const LongEdit use(scene);
        isApplied = changes.applyTo(scene);
    }
    check(isApplied);
}

std::optional<MergeSide> sideOf(const py::object& prefer) {
    if (prefer.is_none()) return std::nullopt;
    const std::string name = prefer.cast<std::string>();
    if (name == "mine") return MergeSide::Mine;
    if (name == "theirs") return MergeSide::Theirs;
    raise(ErrorKind::Value, String("A merge cannot prefer '") + std::string_view(name) +
                                "': expected 'mine' or 'theirs'.");
}

py::tuple merge(const LiveScene& base, const LiveScene& mine, const LiveScene& theirs,
                const py::object& prefer) {
    const LogScope log;
    const MergeOptions options{sideOf(prefer)};
    const Scene merged = Scene::create();
    std::vector<MergeConflict> conflicts;
    Result isMerged;
    {
        const LongRead use(base, mine, theirs);
        isMerged = mergeScenes(base, mine, theirs, options, merged, conflicts);
    }
    check(isMerged);
    return py::make_tuple(merged, conflicts);
}

py::str changeRepr(const SceneChange& change) {
    String text = String("<kelvo.SceneChange ") + sceneActionName(change.action) + " " +
                  sceneSubjectName(change.subject) + " " + change.path;
    if (!change.field.isEmpty()) text = text + " " + change.field;
    return py::str(py::cast(text + ">"));
}

void addConflict(py::module_& module) {
    py::class_<MergeConflict>(module, "MergeConflict", "Two changes that exclude each other.")
        .def_readonly("path", &MergeConflict::path)
        .def_readonly("field", &MergeConflict::field)
        .def_readonly("base", &MergeConflict::base)
        .def_readonly("mine", &MergeConflict::mine)
        .def_readonly("theirs", &MergeConflict::theirs)
        .def_readonly("reason", &MergeConflict::reason);
}

} // namespace

void addCompare(py::module_& module) {
    py::class_<SceneChange>(module, "SceneChange", "A difference between two scenes.")
        .def_property_readonly(
            "action", [](const SceneChange& c) { return sceneActionName(c.action); },
            "\"add\", \"remove\", \"rename\", \"move\" or \"change\".")
        .def_property_readonly("subject",
                               [](const SceneChange& c) { return sceneSubjectName(c.subject); })
        .def_readonly("path", &SceneChange::path)
        .def_readonly("field", &SceneChange::field)
        .def_readonly("before", &SceneChange::before)
        .def_readonly("after", &SceneChange::after)
        .def_readonly("behind", &SceneChange::behind,
                      "For an added part: the name of the part in front of it.")
        .def("__repr__", &changeRepr);
    py::class_<SceneDiff>(module, "SceneDiff", "The differences between two scenes.")
        .def_property_readonly("changes", [](const SceneDiff& d) { return d.changes(); })
        .def("__len__", [](const SceneDiff& d) { return d.changes().size(); })
        .def("__iter__", [](const SceneDiff& d) { return py::iter(py::cast(d.changes())); })
        .def("apply_to", &apply, py::arg("scene"),
             "Makes the changes as one undo step; raises RefusedError, with the scene unchanged, "
             "when it differs from the state before a change.");
    addConflict(module);
    module.def("diff", &diff, py::arg("before"), py::arg("after"), py::kw_only(),
               py::arg("with_comments") = true, "Returns what differs between two scenes.");
    module.def("_merge", &merge);
}

} // namespace qv::python
