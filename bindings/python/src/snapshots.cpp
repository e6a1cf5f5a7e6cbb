#include "bindings/python/src/library.h"
#include "bindings/python/src/slots.h"
#include "bindings/python/src/snapshot_views.h"
#include "bindings/python/src/use.h"

#include "kelvo/sdk/snapshot_reader.h"

// Snapshots: taking, reading and looking at them.
namespace qv::python {

namespace {

NodeView nodeAt(const Snapshot& snapshot, const py::object& key) {
    if (PyIndex_Check(key.ptr()))
        return {snapshot, snapshot.node(indexOf(key.ptr(), snapshot.nodeCount(), "nodes"))};
    const SnapshotNode found = snapshot.findNode(NameView(textOf(key.ptr())));
    if (!found)
        raise(ErrorKind::NotFound, String("The snapshot has no node '") + textOf(key.ptr()) + "'.");
    return {snapshot, found};
}

Snapshot take(const LiveScene& scene, u32 threads, bool isEvaluated) {
    const LogScope log;
    const LongRead use(scene);
    return scene.snapshot(
        {.threads = threads,
         .values = isEvaluated ? SnapshotValues::Evaluated : SnapshotValues::AsSet});
}

Snapshot readText(const String& text, const String& source, bool isPartial, u32 threads,
                  u32 maxDiagnostics, const py::object& libraries, const py::object& found) {
    const SnapshotReadOptions options{isPartial, maxDiagnostics, threads, librariesOf(libraries)};
    Diagnostics diagnostics;
    SnapshotReport report;
    {
        const py::gil_scoped_release unlocked;
        report = readSnapshot(text.view(), source, options, &diagnostics);
    }
    if (!report.isRead) raiseText(report.isRead, diagnostics);
    if (!found.is_none()) found.attr("extend")(listOf(diagnostics));
    return report.snapshot;
}

void addToScene(const LiveScene& scene, const Snapshot& snapshot) {
    const LogScope log;
    Result isRead;
    {
        const LongEdit use(scene);
        isRead = scene.read(snapshot);
    }
    check(isRead);
}

void verify(const Snapshot& snapshot) {
    Result isWhole;
    {
        const py::gil_scoped_release unlocked;
        isWhole = snapshot.verify();
    }
    check(isWhole, ErrorKind::File);
}

void addNodes(SnapshotClass& snapshots) {
    snapshots.def("__len__", &Snapshot::nodeCount)
        .def("__getitem__", &nodeAt, py::arg("key"))
        .def("__contains__",
             [](const Snapshot& snapshot, const String& name) {
                 return static_cast<bool>(snapshot.findNode(name));
             })
        .def("__iter__",
             [](const Snapshot& snapshot) { return py::iter(viewsOf(snapshot, snapshot.nodes())); })
        .def_property_readonly(
            "nodes", [](const Snapshot& snapshot) { return viewsOf(snapshot, snapshot.nodes()); })
        .def(
            "node_with_number",
            [](const Snapshot& snapshot, NodeNumber number) {
                return viewOf(snapshot, snapshot.nodeWithNumber(number));
            },
            py::arg("number"));
}

void addWhole(SnapshotClass& snapshots) {
    snapshots
        .def_property_readonly("version", &Snapshot::version,
                               "Counts the scene's snapshots, from 1.")
        .def(
            "text",
            [](const Snapshot& snapshot, u32 threads) {
                return snapshot.text(WriteOptions{.threads = threads});
            },
            py::kw_only(), py::arg("threads") = 0, py::call_guard<py::gil_scoped_release>(),
            "Returns the text that the scene had at the time of the snapshot, byte for byte.")
        .def("content_hash", &Snapshot::hash, py::call_guard<py::gil_scoped_release>(),
             "Returns a hash of the deep hashes of all nodes; their order does not count.")
        .def_property_readonly(
            "damage",
            [](const Snapshot& snapshot) -> py::object {
                const Result isWhole = snapshot.damage();
                return isWhole ? py::none() : py::cast(isWhole.message());
            },
            "The first damage that was found in a stored snapshot; None without any. Nodes that "
            "cannot be read do not exist, and buffers are empty.")
        .def("verify", &verify,
             "Reads all of a stored snapshot in search of damage; raises FileError for it.");
}

void addIdentity(SnapshotClass& snapshots) {
    snapshots
        .def("__eq__",
             [](const Snapshot& a, const py::object& b) {
                 return py::isinstance<Snapshot>(b) && b.cast<const Snapshot&>() == a;
             })
        .def("__hash__", [](const Snapshot& s) { return std::hash<const void*>()(s.get()); })
        .def("__copy__", [](const Snapshot& snapshot) { return snapshot; })
        .def("__deepcopy__", [](const Snapshot& snapshot, const py::object&) { return snapshot; })
        .def("__repr__", [](const Snapshot& snapshot) {
            return "<kelvo.Snapshot of " + std::to_string(snapshot.nodeCount()) + " nodes>";
        });
}

} // namespace

void addSnapshots(py::module_& module) {
    addSnapshotViews(module);
    SnapshotClass snapshots(
        module, "Snapshot",
        "A picture of a whole scene that never changes; any thread may read it.");
    addNodes(snapshots);
    addWhole(snapshots);
    addIdentity(snapshots);
    addSnapshotFiles(module, snapshots);
    addSnapshotCompare(module);
    module.def("read_snapshot", &readText, py::arg("text"), py::kw_only(),
               py::arg("source") = String("<text>"), py::arg("partial") = false,
               py::arg("threads") = 0, py::arg("max_diagnostics") = 20,
               py::arg("libraries") = py::none(), py::arg("diagnostics") = py::none(),
               "Reads a scene text into a snapshot, without making nodes: faster than a scene. "
               "Raises TextError as `Scene.read` does.");
    method(s_sceneType, "read", &addToScene, py::arg("snapshot"),
           "Adds all nodes of a snapshot, complete even without its libraries, or none.");
    method(s_sceneType, "snapshot", &take, py::kw_only(), py::arg("threads") = 0,
           py::arg("evaluated") = false,
           "Returns a constant picture of the scene, for other threads or a later comparison: of "
           "the values that are set or, if `evaluated`, of those that connections and modifiers "
           "give. Callbacks then run on several threads.");
}

} // namespace qv::python
