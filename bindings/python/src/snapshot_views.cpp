#include "bindings/python/src/snapshot_views.h"

#include "bindings/python/src/errors.h"
#include "bindings/python/src/values.h"

#include <cstring>

namespace qv::python {

namespace {

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

template<class Owner>
py::list inputsOf(const Snapshot& snapshot, const Owner& owner) {
    py::list all;
    for (u64 i = 0; i < owner.inputCount(); ++i)
        all.append(viewOf(snapshot, owner.input(i)));
    return all;
}

py::list outputsOf(const NodeView& view) {
    py::list all;
    for (u64 i = 0; i < view.node.outputCount(); ++i)
        all.append(viewOf(view.snapshot, view.node.output(i)));
    return all;
}

py::object matrixArray(const math::Mat4d& matrix) {
    double numbers[16];
    std::memcpy(numbers, &matrix, sizeof matrix);
    return tupleArray(AttrType::Mat4, numbers);
}

// Runs without the interpreter lock, as the first call on a snapshot takes long.
template<class Body>
auto unlocked(Body&& body) {
    const py::gil_scoped_release released;
    return body();
}

py::list worldMatrices(const NodeView& view, u64 atMost) {
    py::list all;
    for (const math::Mat4d& matrix : unlocked([&] { return view.node.worldMatrices(atMost); }))
        all.append(matrixArray(matrix));
    return all;
}

using NodeClass = py::class_<NodeView>;

// Gives the chains of nodes one by one, as there may be exponentially many.
struct ViewWalk {
    Snapshot snapshot;
    SnapshotPaths paths;

    py::list next() {
        if (paths.current().empty()) throw py::stop_iteration();
        const py::list nodes = viewsOf(snapshot, paths.current());
        (void)paths.next();
        return nodes;
    }
};

ViewWalk pathsTo(const NodeView& from, const NodeView& to, bool all) {
    if (from.snapshot.get() != to.snapshot.get())
        raise(ErrorKind::Value, String("Node '") + to.node.name() + "' is of another snapshot.");
    return {from.snapshot, SnapshotPaths(from.node, to.node, all)};
}

void addPaths(py::module_& module, NodeClass& nodes) {
    py::class_<ViewWalk>(module, "SnapshotPathWalk", "Iterates over chains of nodes.")
        .def("__iter__", [](ViewWalk& walk) -> ViewWalk& { return walk; })
        .def("__next__", &ViewWalk::next);
    nodes
        .def("paths_to", &pathsTo, py::arg("target"), py::arg("all_links") = false,
             "Iterates over all chains of nodes to another of the same snapshot.")
        .def(
            "paths",
            [](const NodeView& v, const StringVector& types, bool all) {
                return ViewWalk{v.snapshot, SnapshotPaths(v.node, types, all)};
            },
            py::arg("types") = StringVector(), py::arg("all_links") = false,
            "Iterates over the chains of nodes to those of any of the types.");
}

void addContent(NodeClass& nodes) {
    nodes.def_property_readonly("name", [](const NodeView& v) { return v.node.name(); })
        .def_property_readonly(
            "display_name", [](const NodeView& v) { return v.node.displayName(); },
            "The name to show to users.")
        .def_property_readonly(
            "is_defined", [](const NodeView& v) { return v.node.isDefined(); },
            "Whether a library of the scene defines the type.")
        .def_property_readonly("type", [](const NodeView& v) { return v.node.type(); })
        .def_property_readonly("bases", [](const NodeView& v) { return v.node.bases(); })
        .def_property_readonly(
            "number", [](const NodeView& v) { return v.node.number(); },
            "Stays with the node in all snapshots of its scene.")
        .def_property_readonly("inputs",
                               [](const NodeView& v) { return inputsOf(v.snapshot, v.node); })
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
        .def(
            "text", [](const NodeView& v) { return v.node.text(); },
            py::call_guard<py::gil_scoped_release>(), "Returns the node as scene text.");
}

void addPlace(NodeClass& nodes) {
    nodes.def("children", [](const NodeView& v) { return viewsOf(v.snapshot, v.node.children()); })
        .def(
            "parents",
            [](const NodeView& v) {
                return viewsOf(v.snapshot, unlocked([&] { return v.node.parents(); }));
            },
            "Returns the nodes that have this one among their children, in order.")
        .def("dependencies",
             [](const NodeView& v) { return viewsOf(v.snapshot, v.node.dependencies()); })
        .def_property_readonly(
            "matrix", [](const NodeView& v) { return matrixArray(v.node.matrix()); },
            "The value of the input \"matrix\"; the identity without such a Mat4.")
        .def_property_readonly(
            "world_matrix",
            [](const NodeView& v) {
                return matrixArray(unlocked([&] { return v.node.worldMatrix(); }));
            },
            "The product of the matrices along the first way from the top of the hierarchy.")
        .def("world_matrices", &worldMatrices, py::arg("at_most") = u64{1000},
             "Returns the product along each way from the top: the places of a node with several "
             "parents.");
}

void addIdentity(NodeClass& nodes) {
    nodes
        .def(
            "content_hash", [](const NodeView& v) { return v.node.hash(); },
            py::call_guard<py::gil_scoped_release>(),
            "Returns the hash of name and inputs, the same as that of the live node.")
        .def(
            "deep_hash", [](const NodeView& v) { return v.node.deepHash(); },
            py::call_guard<py::gil_scoped_release>(),
            "Returns a hash of everything that the node depends on: equal for equal content, in "
            "any scene, process and build.")
        .def(
            "is_unchanged_from",
            [](const NodeView& a, const NodeView& b) { return a.node.isUnchangedFrom(b.node); },
            py::arg("other"),
            "Tells whether both are the same state of the same node of one scene.")
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
            "inputs", [](const InputView& v) { return inputsOf(v.snapshot, v.input); },
            "The elements or members.")
        .def_property_readonly("value", &valueOf,
                               "The value; buffers share the memory of the snapshot.")
        .def(
            "text", [](const InputView& v) { return valueText(v.input); },
            "Returns the value as text.")
        .def_property_readonly(
            "source", [](const InputView& v) { return viewOf(v.snapshot, v.input.source()); })
        .def_property_readonly(
            "parent", [](const InputView& v) { return viewOf(v.snapshot, v.input.parent()); },
            "The array or object; None for an input of the node.")
        .def_property_readonly(
            "is_default", [](const InputView& v) { return v.input.isDefault(); },
            "Whether the value is the default, without a connection.")
        .def_property_readonly("is_read_only",
                               [](const InputView& v) { return v.input.isReadOnly(); })
        .def_property_readonly("is_silent", [](const InputView& v) { return v.input.isSilent(); });
}

void addOutputView(py::module_& module) {
    py::class_<OutputView>(module, "SnapshotOutput", "An output of a node in a snapshot.")
        .def_property_readonly("name", [](const OutputView& v) { return v.output.name(); })
        .def_property_readonly(
            "path", [](const OutputView& v) { return v.output.path(); },
            "The name behind the name of the node and a dot.")
        .def_property_readonly("kind", [](const OutputView& v) { return kindText(v.output); })
        .def_property_readonly(
            "node", [](const OutputView& v) { return viewOf(v.snapshot, v.output.node()); });
}

} // namespace

py::object viewOf(const Snapshot& snapshot, const SnapshotNode& node) {
    return node ? py::cast(NodeView{snapshot, node}) : py::none();
}
py::object viewOf(const Snapshot& snapshot, const SnapshotInput& input) {
    return input ? py::cast(InputView{snapshot, input}) : py::none();
}
py::object viewOf(const Snapshot& snapshot, const SnapshotOutput& output) {
    return output ? py::cast(OutputView{snapshot, output}) : py::none();
}

void addSnapshotViews(py::module_& module) {
    NodeClass nodes(module, "SnapshotNode", "A node in a snapshot.");
    addContent(nodes);
    addPlace(nodes);
    addIdentity(nodes);
    addPaths(module, nodes);
    addInputView(module);
    addOutputView(module);
}

} // namespace qv::python
