#include "bindings/python/src/handles.h"

#include "bindings/python/src/errors.h"
#include "bindings/python/src/slots.h"

#include <cstddef>
#include <cstring>
#include <structmember.h>
#include <unordered_map>

namespace qv::python {

PyTypeObject* s_sceneType = nullptr;
PyTypeObject* s_nodeType = nullptr;
PyTypeObject* s_inputType = nullptr;
PyTypeObject* s_outputType = nullptr;

namespace {

struct NodeClasses {
    // Registered classes by the name of their type.
    std::unordered_map<std::string, PyTypeObject*> registered;
    // Classes found for types, by registration or by one of the bases.
    std::unordered_map<String, PyTypeObject*> found;
};

// Never destroyed: its references must not be dropped after the end of the interpreter.
NodeClasses& classes() {
    static auto* all = new NodeClasses;
    return *all;
}

PyTypeObject* findClass(const INode& node, const String& type) {
    NodeClasses& known = classes();
    const auto registered = known.registered.find(std::string(type.view()));
    if (registered != known.registered.end()) return registered->second;
    for (const String& base : node.bases()) {
        const auto found = known.registered.find(std::string(base.view()));
        if (found != known.registered.end()) return found->second;
    }
    return s_nodeType;
}

PyTypeObject* classOf(const INode& node) {
    NodeClasses& known = classes();
    if (known.registered.empty()) return s_nodeType;
    const String type = node.type();
    const auto found = known.found.find(type);
    if (found != known.found.end()) return found->second;
    PyTypeObject* const made = findClass(node, type);
    known.found.emplace(type, made);
    return made;
}

template<class Interface>
py::object wrapAs(PyTypeObject* type, Interface* object, bool hasOwner) {
    if (!object) return py::none();
    PyObject* made = type->tp_alloc(type, 0);
    if (!made) throw py::error_already_set();
    auto* handle = reinterpret_cast<HandleObject<Interface>*>(made);
    handle->object = object;
    handle->hadOwner = hasOwner;
    static_cast<IRefCounted*>(object)->incRef();
    return py::reinterpret_steal<py::object>(made);
}

template<class Interface>
void dealloc(PyObject* self) {
    auto* handle = reinterpret_cast<HandleObject<Interface>*>(self);
    if (handle->weak) PyObject_ClearWeakRefs(self);
    PyTypeObject* type = Py_TYPE(self);
    if (handle->object) static_cast<IRefCounted*>(handle->object)->decRef();
    type->tp_free(self);
    Py_DECREF(type);
}

template<class Interface>
PyObject* compare(PyObject* a, PyObject* b, int operation) {
    PyTypeObject* type = nullptr;
    if constexpr (std::is_same_v<Interface, IScene>) type = s_sceneType;
    if constexpr (std::is_same_v<Interface, INode>) type = s_nodeType;
    if constexpr (std::is_same_v<Interface, IInput>) type = s_inputType;
    if constexpr (std::is_same_v<Interface, IOutput>) type = s_outputType;
    if (!PyObject_TypeCheck(b, type) || (operation != Py_EQ && operation != Py_NE))
        Py_RETURN_NOTIMPLEMENTED;
    const bool isSame = reinterpret_cast<HandleObject<Interface>*>(a)->object ==
                        reinterpret_cast<HandleObject<Interface>*>(b)->object;
    return PyBool_FromLong(isSame == (operation == Py_EQ));
}

template<class Interface>
Py_hash_t hash(PyObject* self) {
    return _Py_HashPointer(reinterpret_cast<HandleObject<Interface>*>(self)->object);
}

template<class Interface>
PyMemberDef* members() {
    static PyMemberDef all[] = {{"__weaklistoffset__", T_PYSSIZET,
                                 offsetof(HandleObject<Interface>, weak), READONLY, nullptr},
                                {}};
    return all;
}

// The type may keep the pointer to its full name.
template<class Interface>
PyTypeObject* makeType(py::module_& module, const char* name, const char* help,
                       std::vector<PyType_Slot> slots) {
    slots.insert(slots.end(), {{Py_tp_dealloc, slot(&dealloc<Interface>)},
                               {Py_tp_richcompare, slot(&compare<Interface>)},
                               {Py_tp_hash, slot(&hash<Interface>)},
                               {Py_tp_members, members<Interface>()},
                               {Py_tp_doc, const_cast<char*>(help)},
                               {0, nullptr}});
    PyType_Spec layout{name, sizeof(HandleObject<Interface>), 0,
                       Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE, slots.data()};
    PyObject* type = PyType_FromSpec(&layout);
    if (!type) throw py::error_already_set();
    module.add_object(std::strrchr(name, '.') + 1, type);
    return reinterpret_cast<PyTypeObject*>(type);
}

[[noreturn]] void refuseDead(const char* what, const String& name) {
    raise(ErrorKind::Dead, String(what) + " '" + name +
                               "' is not there any more: it was removed, or its scene is gone.");
}

} // namespace

py::object wrap(IScene* scene) {
    return wrapAs(s_sceneType, scene, false);
}
py::object wrap(INode* node) {
    if (!node) return py::none();
    return wrapAs(classOf(*node), node, node->scene() != nullptr);
}
py::object wrap(IInput* input) {
    if (!input) return py::none();
    return wrapAs(s_inputType, input, input->node() && input->node()->scene());
}
py::object wrap(IOutput* output) {
    if (!output) return py::none();
    return wrapAs(s_outputType, output, output->node() && output->node()->scene());
}

void registerNodeClass(const std::string& type, const py::type& nodeClass) {
    if (!PyType_IsSubtype(reinterpret_cast<PyTypeObject*>(nodeClass.ptr()), s_nodeType))
        raise(ErrorKind::Kind, "A class of nodes must be derived from kelvo.Node.");
    NodeClasses& known = classes();
    known.found.clear();
    known.registered[type] = reinterpret_cast<PyTypeObject*>(py::object(nodeClass).release().ptr());
}

INode& liveNode(PyObject* handle) {
    auto* node = reinterpret_cast<NodeObject*>(handle);
    IScene* scene = node->object->scene();
    if (node->hadOwner && !scene) refuseDead("Node", node->object->name());
    checkReadable(scene);
    return *node->object;
}

IInput& liveInput(PyObject* handle) {
    auto* input = reinterpret_cast<InputObject*>(handle);
    const INode* node = input->object->node();
    IScene* scene = node ? node->scene() : nullptr;
    if (input->hadOwner && !scene) refuseDead("Input", input->object->path());
    checkReadable(scene);
    return *input->object;
}

IOutput& liveOutput(PyObject* handle) {
    auto* output = reinterpret_cast<OutputObject*>(handle);
    const INode* node = output->object->node();
    IScene* scene = node ? node->scene() : nullptr;
    if (output->hadOwner && !scene) refuseDead("Output", output->object->path());
    checkReadable(scene);
    return *output->object;
}

void addHandleTypes(py::module_& module) {
    s_sceneType = makeType<IScene>(
        module, "kelvo._kelvo.Scene",
        "A scene: named, typed nodes in order of creation.\n\n"
        "A new scene knows the standard types; `libraries` gives it others, in order.\n\n"
        "    scene = kelvo.Scene()\n"
        "    lamp = scene.create(\"pointLight\", \"lamp\", intensity=3)",
        sceneSlots());
    s_nodeType = makeType<INode>(
        module, "kelvo._kelvo.Node",
        "A node of a scene: `node[\"name\"]` and `node.name` read and write its inputs.\n\n"
        "Handles on one node are equal. A handle on a removed node is dead: its name can be read, "
        "everything else raises DeadHandleError until undo brings the node back.",
        nodeSlots());
    s_inputType = makeType<IInput>(
        module, "kelvo._kelvo.Input",
        "An input of a node. An array is a sequence of its values, an object a mapping.",
        inputSlots());
    s_outputType =
        makeType<IOutput>(module, "kelvo._kelvo.Output", "An output of a node.", outputSlots());
}

} // namespace qv::python
