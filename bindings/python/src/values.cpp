#include "bindings/python/src/values.h"

#include "bindings/python/src/callbacks.h"
#include "bindings/python/src/use.h"

#include <cstring>

namespace qv::python {

namespace {

using interfaces::BufferView;

[[noreturn]] void refuseReading(const IInput& input, const kelvo_sdk::detail::Written& kind,
                                bool evaluate) {
    const Result failure = kelvo_sdk::detail::readFailure(&input, kind, evaluate);
    raise(ErrorKind::Evaluation, failure.message());
}

// Reads without the interpreter lock when that evaluates: callbacks may take long, and may wait for
// threads that run Python.
template<class T>
T readAs(IInput& input, bool evaluate) {
    const LogScope log;
    T value{};
    bool isRead = false;
    if (evaluate && input.source()) {
        const Input held(&input);
        const LongRead use(sceneOf(held));
        isRead = kelvo_sdk::detail::read(input, value, true, currentFrame());
    } else {
        isRead = kelvo_sdk::detail::read(input, value, evaluate, currentFrame());
    }
    if (!isRead) refuseReading(input, kelvo_sdk::detail::written(value), evaluate);
    return value;
}

template<class T>
py::object readTuple(IInput& input, bool evaluate) {
    const T value = readAs<T>(input, evaluate);
    double numbers[16];
    static_assert(sizeof value <= sizeof numbers);
    std::memcpy(numbers, &value, sizeof value);
    return tupleArray(input.type(), numbers);
}

template<class T>
bool writeTuple(IInput& input, const double* numbers) {
    T value;
    std::memcpy(static_cast<void*>(&value), numbers, sizeof value);
    return kelvo_sdk::detail::write(input, value);
}

bool writeNumbers(IInput& input, const double* numbers) {
    switch (input.type()) {
    case AttrType::Vec2:
        return writeTuple<math::Vec2d>(input, numbers);
    case AttrType::Vec3:
        return writeTuple<math::Vec3d>(input, numbers);
    case AttrType::Vec4:
        return writeTuple<math::Vec4d>(input, numbers);
    case AttrType::Pos2:
        return writeTuple<math::Pos2d>(input, numbers);
    case AttrType::Pos3:
        return writeTuple<math::Pos3d>(input, numbers);
    case AttrType::Quat:
        return writeTuple<math::Quatd>(input, numbers);
    case AttrType::Rgba:
        return writeTuple<math::Rgbad>(input, numbers);
    case AttrType::Mat3:
        return writeTuple<math::Mat3d>(input, numbers);
    case AttrType::Mat4:
        return writeTuple<math::Mat4d>(input, numbers);
    default:
        return false;
    }
}

template<class T>
void finish(IInput& input, bool isWritten, const T& value) {
    if (isWritten) return;
    const Result failure =
        kelvo_sdk::detail::writeFailure(&input, kelvo_sdk::detail::written(value));
    raise(input.isReadOnly() ? ErrorKind::ReadOnly : ErrorKind::Value, failure.message());
}

void writeInteger(IInput& input, PyObject* value) {
    int overflow = 0;
    const i64 number = PyLong_AsLongLongAndOverflow(value, &overflow);
    if (overflow == 0) return finish(input, input.setInt(number), number);
    const u64 large = overflow > 0 ? PyLong_AsUnsignedLongLong(value) : 0;
    if (overflow < 0 || PyErr_Occurred()) {
        PyErr_Clear();
        raise(ErrorKind::Value, String("Cannot set '") + input.path() +
                                    "': the whole number is outside of 64 bits; expected " +
                                    attrTypeForm(input.type()) + ".");
    }
    finish(input, input.setUInt(large), large);
}

void writeText(IInput& input, PyObject* value) {
    const String text = py::cast<String>(py::handle(value));
    finish(input, input.setString(text), text);
}

void writeNode(IInput& input, PyObject* value) {
    INode* node = reinterpret_cast<NodeObject*>(value)->object;
    if (input.type() != AttrType::Node && input.type() != AttrType::String)
        refuseKind(input.path(), attrTypeForm(input.type()), value);
    liveNode(value);
    if (input.type() == AttrType::String) return finish(input, input.setString(node->name()), node);
    finish(input, input.setNode(node), node);
}

// Numbers of other libraries, such as those of NumPy.
bool writeForeignNumber(IInput& input, PyObject* value) {
    if (typeNameOf(value) == "bool_") {
        const bool isTrue = PyObject_IsTrue(value) == 1;
        finish(input, input.setBool(isTrue), isTrue);
        return true;
    }
    if (PyIndex_Check(value)) {
        const auto whole = py::reinterpret_steal<py::object>(PyNumber_Index(value));
        if (whole) {
            writeInteger(input, whole.ptr());
            return true;
        }
        PyErr_Clear();
    }
    if (!PyNumber_Check(value)) return false;
    const double number = PyFloat_AsDouble(value);
    if (PyErr_Occurred()) {
        PyErr_Clear();
        return false;
    }
    finish(input, input.setReal(number), number);
    return true;
}

bool isTuple(AttrType type) noexcept {
    return type >= AttrType::Vec2 && type <= AttrType::Mat4;
}

void writeTupleValue(IInput& input, PyObject* value) {
    double numbers[16];
    if (!tupleNumbers(input.type(), value, numbers))
        refuseKind(input.path(), attrTypeForm(input.type()), value);
    if (writeNumbers(input, numbers)) return;
    const py::str text = py::repr(py::handle(value));
    const Result again = Input(&input).set(String(std::string(text).c_str()));
    raise(input.isReadOnly() ? ErrorKind::ReadOnly : ErrorKind::Value, again.message());
}

} // namespace

void writeBuffer(IInput& input, DataType type, PyObject* value) {
    if (input.isReadOnly())
        raise(ErrorKind::ReadOnly, String("Cannot set '") + input.path() + "': it is read-only.");
    withElements(input.path(), type, value,
                 [&](BufferView elements) { return input.setBuffer(elements); });
}

namespace {

void writeByKind(IInput& input, PyObject* value) {
    const AttrType type = input.type();
    if (type == AttrType::Array || type == AttrType::Object)
        return writeContainer(Input(&input), py::reinterpret_borrow<py::object>(value));
    if (type == AttrType::Buffer) return writeBuffer(input, input.dataType(), value);
    if (isTuple(type)) return writeTupleValue(input, value);
    if (value == Py_None && type == AttrType::Node)
        return finish(input, input.setNode(nullptr), static_cast<INode*>(nullptr));
    if (type == AttrType::String && PyObject_HasAttrString(value, "__fspath__")) {
        const auto path = py::reinterpret_steal<py::object>(PyOS_FSPath(value));
        if (!path) throw py::error_already_set();
        return writeText(input, path.ptr());
    }
    if (type == AttrType::Node || type == AttrType::String || !writeForeignNumber(input, value))
        refuseKind(input.path(), attrTypeForm(type), value);
}

} // namespace

py::object readValue(IInput& input, bool evaluate) {
    switch (input.type()) {
    case AttrType::Bool:
        return py::bool_(readAs<bool>(input, evaluate));
    case AttrType::Int:
        return py::int_(readAs<i64>(input, evaluate));
    case AttrType::UInt:
        return py::int_(readAs<u64>(input, evaluate));
    case AttrType::Real:
        return py::float_(readAs<double>(input, evaluate));
    case AttrType::Vec2:
        return readTuple<math::Vec2d>(input, evaluate);
    case AttrType::Vec3:
        return readTuple<math::Vec3d>(input, evaluate);
    case AttrType::Vec4:
        return readTuple<math::Vec4d>(input, evaluate);
    case AttrType::Pos2:
        return readTuple<math::Pos2d>(input, evaluate);
    case AttrType::Pos3:
        return readTuple<math::Pos3d>(input, evaluate);
    case AttrType::Quat:
        return readTuple<math::Quatd>(input, evaluate);
    case AttrType::Rgba:
        return readTuple<math::Rgbad>(input, evaluate);
    case AttrType::Mat3:
        return readTuple<math::Mat3d>(input, evaluate);
    case AttrType::Mat4:
        return readTuple<math::Mat4d>(input, evaluate);
    case AttrType::String:
        return py::cast(readAs<String>(input, evaluate));
    case AttrType::Node:
        return wrap(readAs<INode*>(input, evaluate));
    case AttrType::Buffer:
        return readBuffer(input, evaluate);
    case AttrType::Array:
    case AttrType::Object:
        return wrap(&input);
    default:
        return py::none();
    }
}

void writeValue(IInput& input, PyObject* value) {
    const AttrType type = input.type();
    if (type == AttrType::Array || type == AttrType::Object || type == AttrType::Buffer)
        return writeByKind(input, value);
    if (PyBool_Check(value)) {
        const bool isTrue = value == Py_True;
        return finish(input, input.setBool(isTrue), isTrue);
    }
    if (PyFloat_Check(value)) {
        const double number = PyFloat_AS_DOUBLE(value);
        return finish(input, input.setReal(number), number);
    }
    if (PyLong_Check(value)) return writeInteger(input, value);
    if (PyUnicode_Check(value)) return writeText(input, value);
    if (PyObject_TypeCheck(value, s_nodeType)) return writeNode(input, value);
    writeByKind(input, value);
}

void refuseKind(const String& path, const char* accepts, PyObject* value) {
    raise(ErrorKind::Kind, String("Cannot set '") + path + "' to a value of type " +
                               typeNameOf(value) + ": expected " + accepts + ".");
}

std::string typeNameOf(PyObject* value) {
    const std::string name = Py_TYPE(value)->tp_name;
    const auto dot = name.rfind('.');
    return dot == std::string::npos ? name : name.substr(dot + 1);
}

} // namespace qv::python
