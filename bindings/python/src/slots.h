#pragma once

#include "bindings/python/src/handles.h"

#include <vector>

namespace qv::python {

// The slots of the four types: look-up, iteration, length.
std::vector<PyType_Slot> sceneSlots();
std::vector<PyType_Slot> nodeSlots();
std::vector<PyType_Slot> inputSlots();
std::vector<PyType_Slot> outputSlots();

template<class Function>
void* slot(Function* function) noexcept {
    return reinterpret_cast<void*>(function);
}

/// Runs the body of a slot; an exception becomes one of Python, and the result `failed`.
template<class Body, class T>
T guarded(T failed, Body&& body) noexcept {
    try {
        return body();
    } catch (py::error_already_set& error) {
        error.restore();
    } catch (const py::builtin_exception& error) {
        error.set_error();
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    } catch (const std::exception& error) {
        PyErr_SetString(PyExc_RuntimeError, error.what());
    }
    return failed;
}

/// Returns the text of a Python text, valid as long as it; throws for other objects.
std::string_view textOf(PyObject* text);

/// Returns an index from 0 for one that may count from the end; throws out of range.
u64 indexOf(PyObject* index, u64 count, const char* things);

/// Returns the indexes that a slice picks.
std::vector<u64> picked(PyObject* slice, u64 count);

/// Return the input or output of a name or a path; throw when there is none.
IInput& inputOf(INode& node, PyObject* name);
IOutput& outputOf(INode& node, PyObject* name);
/// Returns null when there is none.
IInput* findInput(INode& node, PyObject* name);
/// Returns the element or member at an index or name; throws when there is none.
IInput& memberOf(IInput& input, PyObject* key);
/// Returns the node of a name or index; throws when there is none.
INode& nodeOf(IScene& scene, PyObject* key);

/// Sets an input in a way that an exception of an observer takes back.
void setInput(IInput& input, PyObject* value);

} // namespace qv::python
