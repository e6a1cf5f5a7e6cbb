#pragma once

#include "bindings/python/src/errors.h"

#include <functional>
#include <string>

namespace qv::python {

/// Returns the value of an input: a bool, int, float, str, node or None; a read-only NumPy array
/// for vectors, matrices and buffers; the input itself for arrays and objects.
py::object readValue(IInput& input, bool evaluate);

/// Writes a value; throws, with the scene unchanged, when the input does not accept it.
void writeValue(IInput& input, PyObject* value);

/// Writes the value of an eval callback to `out`, which is of the C++ type of the output's kind.
void writeResult(IOutput& output, PyObject* value, void* out);

/// Replaces the elements of an array or sets members of an object.
void writeContainer(const Input& input, const py::object& value);

/// Returns an array without memory of its own, read-only, with numbers of a kind of tuples.
py::object tupleArray(AttrType type, const double* numbers);

/// Reads the numbers of a kind of tuples; false when the value has another shape or kind.
bool tupleNumbers(AttrType type, PyObject* value, double* out);

/// Returns the elements of a buffer as a read-only array that shares their memory; `owner` keeps
/// it.
py::object bufferArray(interfaces::BufferView view, const py::object& owner);

/// Reads a buffer without copying it.
py::object readBuffer(IInput& input, bool evaluate);

/// Checks an array or sequence against an element type, Null for the one that stands for the array,
/// and calls `write` with its elements. Throws when the array has another form, or `write` refuses.
void withElements(const String& path, DataType type, PyObject* value,
                  const std::function<bool(interfaces::BufferView)>& write);

/// Sets the elements of a buffer, which become elements of that type.
void writeBuffer(IInput& input, DataType type, PyObject* value);

/// Tells whether the value is a NumPy array, without importing NumPy.
bool isArray(PyObject* value);

/// Throws for a value of a wrong type, with the path of the input and what it accepts.
[[noreturn]] void refuseKind(const String& path, const char* accepts, PyObject* value);

/// Returns the kind of a text such as "Real", "Array<Node>" or "Buffer<Float>".
struct KindText {
    AttrType type = AttrType::Null;
    AttrType elements = AttrType::Null;
    DataType dataType = DataType::Null;
};
KindText kindOf(const std::string& text);

/// Returns the text of a Python object for messages: its type.
std::string typeNameOf(PyObject* value);

} // namespace qv::python
