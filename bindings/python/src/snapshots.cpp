#include "bindings/python/src/slots.h"
#include "bindings/python/src/use.h"
#include "bindings/python/src/values.h"

#include "kelvo/sdk/snapshot_delta.h"

#include <pybind11/stl.h>

#include <algorithm>
#include <cstring>

// Snapshots and deltas. The views that the library returns borrow the snapshot; those of Python
// hold a handle on it.
namespace qv::python {

namespace {

struct NodeView {
    Snapshot snapshot;
    SnapshotNode node;
};
struct InputView {
    Snapshot snapshot;
    SnapshotInput input;
};
struct OutputView {
    Snapshot snapshot;
    SnapshotOutput output;
};

// A delta, and the snapshots of its nodes.
struct DeltaView {
    Snapshot from;
    Snapshot to;
    SnapshotDelta delta;
    DeltaView(const Snapshot& before, const Snapshot& after)
        : from(before), to(after), delta(before, after) {}
};

py::object viewOf(const Snapshot& snapshot, const SnapshotNode& node) {
    return node ? py::cast(NodeView{snapshot, node}) : py::none();
}
py::object viewOf(const Snapshot& snapshot, const SnapshotInput& input) {
    return input ? py::cast(InputView{snapshot, input}) : py::none();
}
py::object viewOf(const Snapshot& snapshot, const SnapshotOutput& output) {
    return output ? py::cast(OutputView{snapshot, output}) : py::none();
}

template<class Nodes>
py::list viewsOf(const Snapshot& snapshot, const Nodes& nodes) {
    py::list all;
    for (const auto& node : nodes)
        all.append(viewOf(snapshot, node));
    return all;
}

template<class T>
py::object tuple(const SnapshotInput& input) {
    const T value = input.get<T>();
    double numbers[16];
    std::memcpy(numbers, &value, sizeof value);
    return tupleArray(input.type(), numbers);
}

// Returns the kind as text, with the type of elements.
std::string kindText(const SnapshotInput& input) {
    const std::string name = attrTypeName(input.type());
    if (input.type() == AttrType::Array)
        return name + "<" + attrTypeName(input.elementType()) + ">";
    if (input.type() != AttrType::Buffer) return name;
    const DataType stored = input.bufferView().type;
    return name + "<" + dataTypeName(stored == DataType::Null ? input.dataType() : stored) + ">";
}

std::string kindText(const SnapshotOutput& output) {
    const std::string name = attrTypeName(output.type());
    if (output.type() != AttrType::Buffer) return name;
    return name + "<" + dataTypeName(output.dataType()) + ">";
}

py::object valueOf(const py::object& self);

py::object containerValue(const Snapshot& snapshot, const SnapshotInput& input) {
    py::list values;
    py::dict members;
    for (u64 i = 0; i < input.inputCount(); ++i) {
        const SnapshotInput inner = input.input(i);
        const py::object value = valueOf(viewOf(snapshot, inner));
        if (input.type() == AttrType::Object)
            members[py::cast(inner.name())] = value;
        else
            values.append(value);
    }
    return input.type() == AttrType::Object ? py::object(members) : py::object(values);
}

py::object valueOf(const py::object& self) {
    const auto& [snapshot, input] = self.cast<const InputView&>();
    switch (input.type()) {
    case AttrType::Bool:
        return py::bool_(input.get<bool>());
    case AttrType::Int:
        return py::int_(input.get<i64>());
    case AttrType::UInt:
        return py::int_(input.get<u64>());
    case AttrType::Real:
        return py::float_(input.get<double>());
    case AttrType::Vec2:
        return tuple<math::Vec2d>(input);
    case AttrType::Vec3:
        return tuple<math::Vec3d>(input);
    case AttrType::Vec4:
        return tuple<math::Vec4d>(input);
    case AttrType::Pos2:
        return tuple<math::Pos2d>(input);
    case AttrType::Pos3:
        return tuple<math::Pos3d>(input);
    case AttrType::Quat:
        return tuple<math::Quatd>(input);
    case AttrType::Rgba:
        return tuple<math::Rgbad>(input);
    case AttrType::Mat3:
        return tuple<math::Mat3d>(input);
    case AttrType::Mat4:
        return tuple<math::Mat4d>(input);
    case AttrType::String:
        return py::cast(String(input.text()));
    case AttrType::Node:
        return viewOf(snapshot, input.linked());
    case AttrType::Buffer:
        return bufferArray(input.bufferView(), self);
    case AttrType::Array:
    case AttrType::Object:
        return containerValue(snapshot, input);
    default:
        return py::none();
    }
}

InputView inputNamed(const NodeView& view, const String& path) {
    const SnapshotInput found = view.node.inputAt(path);
    if (!found)
        raise(ErrorKind::NotFound, String("Node '") + view.node.name() +
                                       "' of the snapshot has no input '" + path + "'.");
    return {view.snapshot, found};
}

NodeView nodeAt(const Snapshot& snapshot, const py::object& key) {
    if (PyIndex_Check(key.ptr()))
        return {snapshot, snapshot.node(indexOf(key.ptr(), snapshot.nodeCount(), "nodes"))};
    const SnapshotNode found = snapshot.findNode(NameView(textOf(key.ptr())));
    if (!found)
        raise(ErrorKind::NotFound, String("The snapshot has no node '") + textOf(key.ptr()) + "'.");
    return {snapshot, found};
}

void addSnapshot(py::module_& module) {
    py::class_<Snapshot>(module, "Snapshot",
                         "A picture of a whole scene that never changes; any thread may read it.")
        .def("__len__", &Snapshot::nodeCount)
        .def("__getitem__", &nodeAt, py::arg("key"))
        .def("__contains__",
             [](const Snapshot& snapshot, const String& name) {
                 return static_cast<bool>(snapshot.findNode(name));
             })
        .def("__iter__",
             [](const Snapshot& snapshot) { return py::iter(viewsOf(snapshot, snapshot.nodes())); })
        .def_property_readonly(
            "nodes", [](const Snapshot& snapshot) { return viewsOf(snapshot, snapshot.nodes()); })
        .def_property_readonly("version", &Snapshot::version,
                               "Counts the scene's snapshots, from 1.")
        .def(
            "node_with_number",
            [](const Snapshot& snapshot, NodeNumber number) {
                return viewOf(snapshot, snapshot.nodeWithNumber(number));
            },
            py::arg("number"))
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

py::list inputsOf(const NodeView& view) {
    py::list all;
    for (u64 i = 0; i < view.node.inputCount(); ++i)
        all.append(viewOf(view.snapshot, view.node.input(i)));
    return all;
}

py::list outputsOf(const NodeView& view) {
    py::list all;
    for (u64 i = 0; i < view.node.outputCount(); ++i)
        all.append(viewOf(view.snapshot, view.node.output(i)));
    return all;
}

void addNodeView(py::module_& module) {
    py::class_<NodeView>(module, "SnapshotNode", "A node in a snapshot.")
        .def_property_readonly("name", [](const NodeView& v) { return v.node.name(); })
        .def_property_readonly("type", [](const NodeView& v) { return v.node.type(); })
        .def_property_readonly("bases", [](const NodeView& v) { return v.node.bases(); })
        .def_property_readonly(
            "number", [](const NodeView& v) { return v.node.number(); },
            "Stays with the node in all snapshots of its scene.")
        .def_property_readonly("inputs", &inputsOf)
        .def_property_readonly("outputs", &outputsOf)
        .def("input", &inputNamed, py::arg("path"))
        .def("__getitem__",
             [](const NodeView& v, const String& path) {
                 return valueOf(py::cast(inputNamed(v, path)));
             })
        .def("__contains__",
             [](const NodeView& v, const String& path) { return !v.node.inputAt(path).isEmpty(); })
        .def("__len__", [](const NodeView& v) { return v.node.inputCount(); })
        .def(
            "is_type_of",
            [](const NodeView& v, const String& type) { return v.node.isTypeOf(type); },
            py::arg("type"))
        .def("children", [](const NodeView& v) { return viewsOf(v.snapshot, v.node.children()); })
        .def("dependencies",
             [](const NodeView& v) { return viewsOf(v.snapshot, v.node.dependencies()); })
        .def(
            "is_unchanged_from",
            [](const NodeView& a, const NodeView& b) { return a.node.isUnchangedFrom(b.node); },
            py::arg("other"))
        .def("__eq__",
             [](const NodeView& a, const py::object& b) {
                 return py::isinstance<NodeView>(b) && b.cast<const NodeView&>().node == a.node;
             })
        .def("__hash__", [](const NodeView& v) { return std::hash<u32>()(v.node.number()); })
        .def("__repr__", [](const NodeView& v) {
            return py::str(py::cast(String("<kelvo.SnapshotNode ") + v.node.type() + " \"" +
                                    v.node.name() + "\">"));
        });
}

void addInputView(py::module_& module) {
    py::class_<InputView>(module, "SnapshotInput", "An input of a node in a snapshot.")
        .def_property_readonly("name", [](const InputView& v) { return v.input.name(); })
        .def_property_readonly(
            "path", [](const InputView& v) { return v.input.path(); }, "The path within the node.")
        .def_property_readonly("kind", [](const InputView& v) { return kindText(v.input); })
        .def_property_readonly(
            "node", [](const InputView& v) { return viewOf(v.snapshot, v.input.node()); })
        .def_property_readonly(
            "inputs",
            [](const InputView& v) {
                py::list all;
                for (u64 i = 0; i < v.input.inputCount(); ++i)
                    all.append(viewOf(v.snapshot, v.input.input(i)));
                return all;
            },
            "The elements or members.")
        .def_property_readonly("value", &valueOf,
                               "The value that was set; buffers share the memory of the snapshot.")
        .def_property_readonly(
            "source", [](const InputView& v) { return viewOf(v.snapshot, v.input.source()); })
        .def_property_readonly("is_read_only",
                               [](const InputView& v) { return v.input.isReadOnly(); });
    py::class_<OutputView>(module, "SnapshotOutput", "An output of a node in a snapshot.")
        .def_property_readonly("name", [](const OutputView& v) { return v.output.name(); })
        .def_property_readonly("kind", [](const OutputView& v) { return kindText(v.output); })
        .def_property_readonly(
            "node", [](const OutputView& v) { return viewOf(v.snapshot, v.output.node()); });
}

py::list partsOf(const InputChange& change) {
    constexpr const char* names[] = {"value", "link", "connection", "elements", "order",
                                     "name",  "kind", "marks",      "added",    "removed"};
    py::list parts;
    for (u32 bit = 0; bit < std::size(names); ++bit)
        if ((change.parts & (1u << bit)) != 0) parts.append(names[bit]);
    return parts;
}

// Each changed node: (before, after, [(input before, input after, parts), ...]).
py::list changedNodes(const DeltaView& view) {
    py::list all;
    for (const NodeChange& change : view.delta.changed()) {
        py::list inputs;
        for (const InputChange& input : change.inputs)
            inputs.append(py::make_tuple(viewOf(view.from, input.before),
                                         viewOf(view.to, input.after), partsOf(input)));
        all.append(py::make_tuple(viewOf(view.from, change.before), viewOf(view.to, change.after),
                                  inputs));
    }
    return all;
}

void addDelta(py::module_& module) {
    py::class_<DeltaView>(module, "SnapshotDelta", "Everything that differs between two snapshots.")
        .def_property_readonly("added",
                               [](const DeltaView& v) { return viewsOf(v.to, v.delta.added()); })
        .def_property_readonly(
            "removed", [](const DeltaView& v) { return viewsOf(v.from, v.delta.removed()); })
        .def_property_readonly(
            "changed", &changedNodes,
            "(before, after, inputs) of each changed node; `inputs` has (before, "
            "after, parts) of each changed input.")
        .def_property_readonly("is_order_changed",
                               [](const DeltaView& v) { return v.delta.isOrderChanged(); })
        .def("__bool__", [](const DeltaView& v) { return !v.delta.isEmpty(); });
    module.def(
        "delta",
        [](const Snapshot& from, const Snapshot& to) {
            const py::gil_scoped_release unlocked;
            return std::make_unique<DeltaView>(from, to);
        },
        py::arg("before"), py::arg("after"), "Returns what differs between two snapshots.");
}

} // namespace

void addSnapshots(py::module_& module) {
    addSnapshot(module);
    addNodeView(module);
    addInputView(module);
    addDelta(module);
    module.def("_quoted", [](const String& text) { return quotedText(text); });
    method(
        s_sceneType, "snapshot",
        [](const LiveScene& scene, u32 threads) {
            const LongRead use(scene);
            return scene.snapshot({.threads = threads});
        },
        py::kw_only(), py::arg("threads") = 0,
        "Returns a constant picture of the scene, for other threads or a later comparison.");
}

} // namespace qv::python
