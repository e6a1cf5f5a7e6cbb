#include "bindings/python/src/errors.h"
#include "bindings/python/src/slots.h"
#include "bindings/python/src/use.h"
#include "bindings/python/src/values.h"

#include <structmember.h>

// `node["name"]`, `node.name`, iteration over the names of inputs, and the typed properties.
namespace qv::python {

namespace {

// Makes a node: `nodes.PointLight(scene, "lamp", intensity=3)` is
// `scene.create("pointLight", "lamp", intensity=3)`.
PyObject* nodeNew(PyTypeObject* type, PyObject* arguments, PyObject* keywords) {
    return guarded<>(static_cast<PyObject*>(nullptr), [&] {
        const py::object self =
            py::reinterpret_borrow<py::object>(reinterpret_cast<PyObject*>(type));
        const auto given = py::reinterpret_borrow<py::tuple>(arguments);
        if (!py::hasattr(self, "type_name") || given.empty() || given.size() > 2 ||
            !PyObject_TypeCheck(py::object(given[0]).ptr(), s_sceneType))
            raise(ErrorKind::Kind,
                  String("A node is made by scene.create, or by a class of kelvo.nodes with the "
                         "scene and the name, not by ") +
                      type->tp_name + ".");
        const py::object name = given.size() > 1 ? py::object(given[1]) : py::none();
        const py::dict inputs = keywords ? py::reinterpret_borrow<py::dict>(keywords) : py::dict();
        const py::object made = given[0].attr("create")(self.attr("type_name"), name, **inputs);
        return py::object(made).release().ptr();
    });
}

PyObject* refuseNew(PyTypeObject* type, PyObject*, PyObject*) {
    PyErr_Format(PyExc_TypeError, "A %s belongs to a node, which has it.", type->tp_name);
    return nullptr;
}

INode& rawNode(PyObject* self) {
    return *reinterpret_cast<NodeObject*>(self)->object;
}

PyObject* nodeGet(PyObject* self, PyObject* name) {
    return guarded<>(static_cast<PyObject*>(nullptr), [&] {
        return readValue(inputOf(liveNode(self), name), true).release().ptr();
    });
}

int nodeSet(PyObject* self, PyObject* name, PyObject* value) {
    return guarded<>(-1, [&] {
        INode& node = liveNode(self);
        IInput& input = inputOf(node, name);
        if (value) {
            setInput(input, value);
        } else {
            const Edit edit(sceneOf(&node));
            check(Node(&node).removeInput(input.name()));
        }
        return 0;
    });
}

Py_ssize_t nodeSize(PyObject* self) {
    return guarded<>(Py_ssize_t{-1},
                     [&] { return static_cast<Py_ssize_t>(liveNode(self).inputCount()); });
}

// Even a node without inputs is something.
int nodeBool(PyObject*) {
    return 1;
}

int nodeContains(PyObject* self, PyObject* name) {
    return guarded<>(
        -1, [&] { return PyUnicode_Check(name) && findInput(liveNode(self), name) ? 1 : 0; });
}

PyObject* nodeIter(PyObject* self) {
    return guarded<>(static_cast<PyObject*>(nullptr), [&] {
        INode& node = liveNode(self);
        py::list names;
        for (u64 i = 0; i < node.inputCount(); ++i)
            names.append(node.input(i)->name());
        return PyObject_GetIter(names.ptr());
    });
}

// Attributes of the class come first; other names are inputs.
PyObject* nodeGetAttribute(PyObject* self, PyObject* name) {
    if (PyObject* found = PyObject_GenericGetAttr(self, name)) return found;
    if (!PyErr_ExceptionMatches(PyExc_AttributeError)) return nullptr;
    const std::string_view text = PyUnicode_AsUTF8(name) ? PyUnicode_AsUTF8(name) : "";
    // Python asks for many names with underscores, which no input has.
    if (text.substr(0, 2) == "__") return nullptr;
    PyErr_Clear();
    return nodeGet(self, name);
}

int nodeSetAttribute(PyObject* self, PyObject* name, PyObject* value) {
    if (_PyType_Lookup(Py_TYPE(self), name)) return PyObject_GenericSetAttr(self, name, value);
    return guarded<>(-1, [&] {
        INode& node = rawNode(self);
        if (!findInput(node, name) && PyObject_GenericSetAttr(self, name, value) == 0) return 0;
        PyErr_Clear();
        return nodeSet(self, name, value);
    });
}

PyObject* nodeRepr(PyObject* self) {
    return guarded<>(static_cast<PyObject*>(nullptr), [&] {
        INode& node = rawNode(self);
        const char* state = node.scene() ? "" : ", in no scene";
        return PyUnicode_FromFormat("<kelvo.Node %s \"%s\"%s>", node.type().buf(),
                                    node.name().buf(), state);
    });
}

int outputContains(PyObject*, PyObject*) {
    PyErr_SetString(PyExc_TypeError, "An output is no container.");
    return -1;
}

PyObject* outputRepr(PyObject* self) {
    return guarded<>(static_cast<PyObject*>(nullptr), [&] {
        IOutput& output = *reinterpret_cast<OutputObject*>(self)->object;
        return PyUnicode_FromFormat("<kelvo.Output %s %s>", output.typeName().buf(),
                                    output.path().buf());
    });
}

// A property of a typed class: its input by name.
struct PropertyObject {
    PyObject_HEAD PyObject* name;
    PyObject* help;
};

PyObject* propertyNew(PyTypeObject* type, PyObject* arguments, PyObject* keywords) {
    static const char* names[] = {"name", "doc", nullptr};
    PyObject* name = nullptr;
    PyObject* help = nullptr;
    if (!PyArg_ParseTupleAndKeywords(arguments, keywords, "U|U:InputProperty",
                                     const_cast<char**>(names), &name, &help))
        return nullptr;
    auto* made = reinterpret_cast<PropertyObject*>(type->tp_alloc(type, 0));
    if (!made) return nullptr;
    made->name = Py_NewRef(name);
    made->help = Py_NewRef(help ? help : Py_None);
    return reinterpret_cast<PyObject*>(made);
}

void propertyDealloc(PyObject* self) {
    PyTypeObject* type = Py_TYPE(self);
    Py_XDECREF(reinterpret_cast<PropertyObject*>(self)->name);
    Py_XDECREF(reinterpret_cast<PropertyObject*>(self)->help);
    type->tp_free(self);
    Py_DECREF(type);
}

PyObject* propertyGet(PyObject* self, PyObject* node, PyObject*) {
    if (!node || node == Py_None) return Py_NewRef(self);
    return nodeGet(node, reinterpret_cast<PropertyObject*>(self)->name);
}

int propertySet(PyObject* self, PyObject* node, PyObject* value) {
    return nodeSet(node, reinterpret_cast<PropertyObject*>(self)->name, value);
}

PyMethodDef s_propertyMethods[] = {{"__class_getitem__", &Py_GenericAlias, METH_O | METH_CLASS,
                                    "Names the types of the property."},
                                   {}};

} // namespace

std::vector<PyType_Slot> nodeSlots() {
    return {{Py_tp_new, slot(&nodeNew)},
            {Py_mp_subscript, slot(&nodeGet)},
            {Py_mp_ass_subscript, slot(&nodeSet)},
            {Py_mp_length, slot(&nodeSize)},
            {Py_nb_bool, slot(&nodeBool)},
            {Py_sq_contains, slot(&nodeContains)},
            {Py_tp_iter, slot(&nodeIter)},
            {Py_tp_getattro, slot(&nodeGetAttribute)},
            {Py_tp_setattro, slot(&nodeSetAttribute)},
            {Py_tp_repr, slot(&nodeRepr)}};
}

std::vector<PyType_Slot> outputSlots() {
    return {{Py_tp_new, slot(&refuseNew)},
            {Py_tp_repr, slot(&outputRepr)},
            {Py_sq_contains, slot(&outputContains)}};
}

void addInputProperty(py::module_& module) {
    static PyMemberDef members[] = {
        {"__doc__", T_OBJECT, offsetof(PropertyObject, help), READONLY, nullptr},
        {"name", T_OBJECT, offsetof(PropertyObject, name), READONLY, nullptr},
        {}};
    static PyType_Slot slots[] = {{Py_tp_new, slot(&propertyNew)},
                                  {Py_tp_dealloc, slot(&propertyDealloc)},
                                  {Py_tp_descr_get, slot(&propertyGet)},
                                  {Py_tp_descr_set, slot(&propertySet)},
                                  {Py_tp_members, members},
                                  {Py_tp_methods, s_propertyMethods},
                                  {0, nullptr}};
    static PyType_Spec layout{"kelvo._kelvo.InputProperty", sizeof(PropertyObject), 0,
                              Py_TPFLAGS_DEFAULT, slots};
    PyObject* type = PyType_FromSpec(&layout);
    if (!type) throw py::error_already_set();
    module.add_object("InputProperty", type);
}

} // namespace qv::python
