#include "bindings/python/src/slots.h"
#include "bindings/python/src/use.h"
#include "bindings/python/src/values.h"

#include "kelvo/base/localized.h"

#include <pybind11/stl.h>

namespace qv::python {

namespace {

template<class Items>
py::list listOf(const Items& items) {
    py::list all;
    for (const auto& item : items)
        all.append(wrap(item));
    return all;
}

template<class Change>
void change(const LiveNode& node, Change&& body) {
    const Edit edit(sceneOf(node));
    check(body());
}

Input createInput(const LiveNode& node, const String& name, const std::string& kind,
                  const py::object& value) {
    const KindText type = kindOf(kind);
    const Edit edit(sceneOf(node), true);
    const Input input = type.type == AttrType::Array
                            ? made(node.createArray(name, type.elements), ErrorKind::Value)
                        : type.type == AttrType::Buffer
                            ? made(node.createBuffer(name, type.dataType), ErrorKind::Value)
                            : made(node.createInput(name, type.type), ErrorKind::Value);
    if (!value.is_none()) writeValue(*input.get(), value.ptr());
    return input;
}

Output createOutput(const LiveNode& node, const String& name, const std::string& kind) {
    const KindText type = kindOf(kind);
    const Edit edit(sceneOf(node));
    return type.type == AttrType::Buffer
               ? made(node.createOutput(name, type.dataType), ErrorKind::Value)
               : made(node.createOutput(name, type.type), ErrorKind::Value);
}

Node convert(const LiveNode& node, const String& type, const py::object& losses) {
    ConversionLosses found;
    Node replacement;
    {
        const Edit edit(sceneOf(node));
        replacement = made(node.convertTo(type, &found), ErrorKind::Value);
    }
    if (!losses.is_none())
        for (const ConversionLoss& loss : found)
            losses.attr("append")(py::make_tuple(loss.path, loss.reason));
    return replacement;
}

py::object pathObject(const RefersTo<NodePath>& path) {
    if (!path) return py::none();
    py::list nodes;
    for (u64 i = 0; i < path->nodeCount(); ++i)
        nodes.append(wrap(path->node(i)));
    return nodes;
}

// Gives the chains of nodes one by one, as there may be exponentially many.
struct PathWalk {
    NodePaths paths;
    // Keeps the nodes of the paths.
    Scene scene;
    py::object next() {
        const RefersTo<NodePath> path = paths.current();
        if (!path) throw py::stop_iteration();
        (void)paths.next();
        return pathObject(path);
    }
};

std::vector<Node> descendants(const LiveNode& node, i64 depth) {
    std::vector<Node> found;
    for (const Node& child : node.children(depth))
        found.push_back(child);
    return found;
}

void addNames() {
    property(
        s_nodeType, "name", [](const Node& node) { return node.name(); },
        "The name, unique in the scene. Setting it renames the node; a name in use gets a number.",
        setter(s_nodeType, [](const LiveNode& node, const String& name) {
            const Edit edit(sceneOf(node));
            check(node.rename(name), ErrorKind::Value);
        }));
    property(
        s_nodeType, "type", [](const Node& node) { return node.type(); }, "The type.");
    property(
        s_nodeType, "scene", [](const Node& node) { return node.scene(); },
        "The scene; None when the node was removed.");
    property(
        s_nodeType, "is_alive",
        [](const Node& node) { return node.get() && node->scene() != nullptr; },
        "Whether the node is in a scene.");
    property(
        s_nodeType, "bases", [](const LiveNode& node) { return node.bases(); },
        "The types that the type is derived from, nearest first.");
    property(
        s_nodeType, "display_name", [](const LiveNode& node) { return node.displayName(); },
        "The name to show: the input \"name\" unless it is empty.");
    property(
        s_nodeType, "is_abstract", [](const LiveNode& node) { return node.isAbstract(); },
        "Whether the type is only a base of others.");
    property(
        s_nodeType, "is_internal", [](const LiveNode& node) { return node.isInternal(); },
        "Whether the type is not offered to users.");
    method(
        s_nodeType, "is_type_of",
        [](const LiveNode& node, const String& type) { return node.isTypeOf(type); },
        py::arg("type"), "Tells whether the type or one of its bases is `type`.");
    method(
        s_nodeType, "label", [](const LiveNode& node, const String& l) { return node.label(l); },
        py::arg("language") = String("auto"), "Returns the label of the type.");
    method(
        s_nodeType, "help", [](const LiveNode& node, const String& l) { return node.help(l); },
        py::arg("language") = String("auto"), "Returns the help text of the type.");
    method(
        s_nodeType, "svg_icon", [](const LiveNode& node) { return safeSvg(node->svgIcon(true)); },
        "Returns the icon of the type as SVG without scripts; empty without one.");
    method(
        s_nodeType, "html_help", [](const LiveNode& node) { return node->htmlHelp(true, {}); },
        "Returns the help of the type as an HTML page.");
}

void addInputs() {
    property(
        s_nodeType, "inputs", [](const LiveNode& node) { return listOf(node.inputs()); },
        "All inputs, in order.");
    property(
        s_nodeType, "outputs", [](const LiveNode& node) { return listOf(node.outputs()); },
        "All outputs, in order.");
    method(
        s_nodeType, "input",
        [](const LiveNode& node, const py::object& key) {
            return Input(&inputOf(*node.get(), key.ptr()));
        },
        py::arg("key"), "Returns an input by name, path (\"array[3].member\") or index.");
    method(
        s_nodeType, "output",
        [](const LiveNode& node, const py::object& key) {
            return Output(&outputOf(*node.get(), key.ptr()));
        },
        py::arg("key"), "Returns an output by name or index.");
    method(s_nodeType, "create_input", &createInput, py::arg("name"), py::arg("kind"),
           py::arg("value") = py::none(),
           "Adds an input of a kind such as \"Real\", \"Array<Node>\" or \"Buffer<Pos3f>\".");
    method(
        s_nodeType, "remove_input",
        [](const LiveNode& node, const String& name) {
            change(node, [&] { return node.removeInput(name); });
        },
        py::arg("name"), "Removes an input.");
    method(s_nodeType, "create_output", &createOutput, py::arg("name"), py::arg("kind"),
           "Adds an output of a kind such as \"Real\" or \"Buffer<Float>\".");
    method(
        s_nodeType, "remove_output",
        [](const LiveNode& node, const String& name) {
            change(node, [&] { return node.removeOutput(name); });
        },
        py::arg("name"), "Removes an output.");
}

void addHierarchy() {
    method(s_nodeType, "descendants", &descendants, py::arg("depth") = 0,
           "Returns the nodes below an \"xform\", parents first: its children, and `depth` levels "
           "below them; all levels if negative.");
    method(
        s_nodeType, "parent_to",
        [](const LiveNode& node, const LiveNode& parent) {
            change(node, [&] { return node.parentTo(parent); });
        },
        py::arg("parent"), "Appends the node to the children of another.");
    method(
        s_nodeType, "unparent_from",
        [](const LiveNode& node, const LiveNode& parent) {
            change(node, [&] { return node.unparentFrom(parent); });
        },
        py::arg("parent"), "Clears the element of the parent that links to the node.");
    method(
        s_nodeType, "index_in",
        [](const LiveNode& node, const LiveNode& parent) { return node.indexIn(parent); },
        py::arg("parent"), "Returns the place among the children of another; negative for none.");
    method(
        s_nodeType, "dependencies",
        [](const LiveNode& node) { return listOf(node.dependencies()); },
        "Returns the nodes that this one depends on, through links and connections.");
    method(
        s_nodeType, "first_path_to",
        [](const LiveNode& node, const LiveNode& target, bool all) {
            return pathObject(node.firstPathTo(target, all));
        },
        py::arg("target"), py::arg("all_links") = false,
        "Returns the first chain of nodes to another, a list; None when there is none.");
    method(
        s_nodeType, "paths_to",
        [](const LiveNode& node, const LiveNode& target, bool all) {
            return PathWalk{node.pathsTo(target, all), node.scene()};
        },
        py::arg("target"), py::arg("all_links") = false,
        "Iterates over all chains of nodes to another. The graph must not change meanwhile.");
    method(
        s_nodeType, "paths",
        [](const LiveNode& node, const StringVector& types, bool all) {
            return PathWalk{node.paths(types, all), node.scene()};
        },
        py::arg("types") = StringVector(), py::arg("all_links") = false,
        "Iterates over the chains of nodes to those of any of the types.");
}

void addCopies() {
    method(
        s_nodeType, "clone",
        [](const LiveNode& node, bool deep) {
            const Edit edit(sceneOf(node));
            return Node(made(node.clone(deep)));
        },
        py::arg("deep") = false,
        "Returns a copy in the same scene; `deep` copies what it depends on.");
    method(
        s_nodeType, "copy_by_itself",
        [](const LiveNode& node, const String& name) {
            return Node(made(node.copyByItself(name), ErrorKind::Value));
        },
        py::arg("name"), "Returns a copy without a scene, under any name.");
    method(s_nodeType, "__copy__", [](const LiveNode& node) {
        const Edit edit(sceneOf(node));
        return Node(made(node.clone(false)));
    });
    method(s_nodeType, "__deepcopy__", [](const LiveNode& node, const py::object&) {
        const Edit edit(sceneOf(node));
        return Node(made(node.clone(true)));
    });
    method(
        s_nodeType, "convert_to", &convert, py::arg("type"), py::arg("losses") = py::none(),
        "Replaces the node by one of another type and returns it. Appends (path, reason) of each "
        "loss to the list `losses`.");
}

void addState() {
    property(
        s_nodeType, "dirty", [](const LiveNode& node) { return node.dirty(); },
        "Whether the node, or one that it depends on, changed since it was set to False.",
        setter(s_nodeType, [](const LiveNode& node, bool dirty) {
            change(node, [&] { return node.setDirty(dirty); });
        }));
    method(
        s_nodeType, "content_hash", [](const LiveNode& node) { return node.hash(); },
        "Returns a hash of name and inputs, the same in every run and on every machine.");
    method(
        s_nodeType, "text", [](const LiveNode& node, bool all) { return node.text(all); },
        py::arg("with_dependencies") = false, "Returns the node as scene text.");
    method(
        s_nodeType, "remove",
        [](const LiveNode& node) { change(node, [&] { return sceneOf(node).removeNode(node); }); },
        "Removes the node from its scene.");
    method(
        s_nodeType, "prepare", [](const LiveNode& node) { return node->nodePrep(); },
        "Calls the callback \"prep\" of the type.");
    method(
        s_nodeType, "check_mesh", [](const LiveNode& node) { return node->checkMesh(); },
        "Tells whether the mesh buffers of the node, if it has any, agree with each other.");
    property(
        s_nodeType, "file_path",
        [](const LiveNode& node) -> py::object {
            return node.isPath() ? py::object(py::cast(node.asPath())) : py::none();
        },
        "The path of the file that the node represents; None for other nodes.",
        setter(s_nodeType, [](const LiveNode& node, const py::object& path) {
            const auto text = py::reinterpret_steal<py::object>(PyOS_FSPath(path.ptr()));
            if (!text) throw py::error_already_set();
            change(node, [&] { return node.setPath(text.cast<String>()); });
        }));
}

} // namespace

void addNode(py::module_& module) {
    py::class_<PathWalk>(module, "PathWalk", "Gives chains of nodes, each a list.")
        .def("__iter__", [](py::object self) { return self; })
        .def("__next__", &PathWalk::next);
    addNames();
    addInputs();
    addHierarchy();
    addCopies();
    addState();
    module.def("_register_class", &registerNodeClass);
    module.def("language", &os::language, "Returns the language of labels and help texts.");
    module.def(
        "set_language", [](const String& language) { os::setLanguage(language); },
        py::arg("language"), "Sets the language of labels and help texts, such as \"de\".");
}

} // namespace qv::python
