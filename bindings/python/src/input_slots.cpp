#include "bindings/python/src/slots.h"
#include "bindings/python/src/use.h"
#include "bindings/python/src/values.h"

#include <algorithm>

// Inputs that are arrays or objects as sequences and mappings of Python.
namespace qv::python {

namespace {

bool isContainer(const IInput& input) {
    return input.type() == AttrType::Array || input.type() == AttrType::Object;
}

PyObject* inputGet(PyObject* self, PyObject* key) {
    return guarded<>(static_cast<PyObject*>(nullptr), [&] {
        IInput& input = liveInput(self);
        if (!PySlice_Check(key)) return readValue(memberOf(input, key), true).release().ptr();
        py::list values;
        for (const u64 index : picked(key, input.inputCount()))
            values.append(readValue(*input.input(index), true));
        return values.release().ptr();
    });
}

void removeMembers(IInput& input, PyObject* key) {
    const Edit edit(sceneOf(Input(&input)), true);
    if (!PySlice_Check(key)) {
        check(Input(&input).removeInput(memberOf(input, key).name()));
        return;
    }
    std::vector<u64> indexes = picked(key, input.inputCount());
    std::sort(indexes.rbegin(), indexes.rend());
    for (const u64 index : indexes)
        check(Input(&input).removeInput(index));
}

// Replaces the elements of a slice by as many values.
void setSlice(IInput& input, PyObject* slice, PyObject* value) {
    const std::vector<u64> indexes = picked(slice, input.inputCount());
    const py::list values = py::list(py::reinterpret_borrow<py::object>(value));
    if (values.size() != indexes.size())
        raise(ErrorKind::Value,
              String::format("Cannot set %llu elements of '%s' to %llu values.",
                             static_cast<unsigned long long>(indexes.size()), input.path().buf(),
                             static_cast<unsigned long long>(values.size())));
    const Edit edit(sceneOf(Input(&input)), true);
    for (std::size_t i = 0; i < indexes.size(); ++i)
        writeValue(*input.input(indexes[i]), values[i].ptr());
}

int inputSet(PyObject* self, PyObject* key, PyObject* value) {
    return guarded<>(-1, [&] {
        IInput& input = liveInput(self);
        if (!value)
            removeMembers(input, key);
        else if (PySlice_Check(key))
            setSlice(input, key, value);
        else
            setInput(memberOf(input, key), value);
        return 0;
    });
}

Py_ssize_t inputSize(PyObject* self) {
    return guarded<>(Py_ssize_t{-1}, [&] {
        const IInput& input = liveInput(self);
        if (!isContainer(input))
            raise(ErrorKind::Kind, String("Input '") + input.path() + "' is of kind " +
                                       input.typeName() + ": it has no elements.");
        return static_cast<Py_ssize_t>(input.inputCount());
    });
}

// An input is something, even an array without elements.
int inputBool(PyObject* self) {
    return guarded<>(-1, [&] {
        const IInput& input = liveInput(self);
        return isContainer(input) && input.inputCount() == 0 ? 0 : 1;
    });
}

int inputContains(PyObject* self, PyObject* item) {
    return guarded<>(-1, [&] {
        IInput& input = liveInput(self);
        if (input.type() == AttrType::Object)
            return PyUnicode_Check(item) && Input(&input).borrowInput(NameView(textOf(item))) ? 1
                                                                                              : 0;
        for (u64 i = 0; i < input.inputCount(); ++i) {
            const py::object value = readValue(*input.input(i), true);
            const int isEqual = PyObject_RichCompareBool(value.ptr(), item, Py_EQ);
            if (isEqual != 0) return isEqual;
        }
        return 0;
    });
}

// An array gives its values, an object the names of its members.
PyObject* inputIter(PyObject* self) {
    return guarded<>(static_cast<PyObject*>(nullptr), [&] {
        IInput& input = liveInput(self);
        if (inputSize(self) < 0) throw py::error_already_set();
        py::list items;
        const bool isArray = input.type() == AttrType::Array;
        for (u64 i = 0; i < input.inputCount(); ++i) {
            IInput& item = *input.input(i);
            items.append(isArray ? readValue(item, true) : py::object(py::cast(item.name())));
        }
        return PyObject_GetIter(items.ptr());
    });
}

PyObject* inputNew(PyTypeObject*, PyObject*, PyObject*) {
    PyErr_SetString(PyExc_TypeError, "An input is made by node.create_input.");
    return nullptr;
}

PyObject* inputRepr(PyObject* self) {
    return guarded<>(static_cast<PyObject*>(nullptr), [&] {
        IInput& input = *reinterpret_cast<InputObject*>(self)->object;
        return PyUnicode_FromFormat("<kelvo.Input %s %s>", input.typeName().buf(),
                                    input.path().buf());
    });
}

void replaceElements(const Input& array, const py::object& values) {
    const py::list items = py::list(values);
    for (std::size_t i = 0; i < items.size(); ++i) {
        Input element;
        if (i < array.inputCount())
            element = array.input(i);
        else
            element = made(array.append());
        writeValue(*element.get(), items[i].ptr());
    }
    while (array.inputCount() > items.size())
        check(array.removeInput(array.inputCount() - 1));
}

} // namespace

void writeContainer(const Input& input, const py::object& value) {
    const bool isArray = input.type() == AttrType::Array;
    if (isArray && py::isinstance<py::iterable>(value) && !py::isinstance<py::str>(value) &&
        !py::isinstance<py::dict>(value))
        return replaceElements(input, value);
    if (isArray || !py::isinstance<py::dict>(value))
        refuseKind(input.path(), isArray ? "a list of values" : "a dict of members", value.ptr());
    for (const auto& [key, member] : py::dict(value))
        writeValue(memberOf(*input.get(), key.ptr()), member.ptr());
}

std::vector<PyType_Slot> inputSlots() {
    return {{Py_tp_new, slot(&inputNew)},           {Py_mp_subscript, slot(&inputGet)},
            {Py_mp_ass_subscript, slot(&inputSet)}, {Py_mp_length, slot(&inputSize)},
            {Py_sq_contains, slot(&inputContains)}, {Py_tp_iter, slot(&inputIter)},
            {Py_nb_bool, slot(&inputBool)},         {Py_tp_repr, slot(&inputRepr)}};
}

} // namespace qv::python
