#include "bindings/python/src/use.h"
#include "bindings/python/src/values.h"

#include <pybind11/numpy.h>

#include <array>
#include <bit>
#include <vector>

// Buffers, vectors and matrices as NumPy arrays. NumPy is imported by the first one.
namespace qv::python {

namespace {

using interfaces::BufferView;

// Returns the letter of NumPy's type for a component; 0 for types that arrays cannot hold.
char letterOf(DataType component) noexcept {
    switch (component) {
    case DataType::Bool:
        return '?';
    case DataType::Char:
        return 'b';
    case DataType::Byte:
        return 'B';
    case DataType::Int16:
        return 'h';
    case DataType::Int32:
        return 'i';
    case DataType::Int64:
        return 'q';
    case DataType::UInt16:
        return 'H';
    case DataType::UInt32:
        return 'I';
    case DataType::UInt64:
        return 'Q';
    case DataType::Float:
        return 'f';
    case DataType::Double:
        return 'd';
    default:
        return 0;
    }
}

py::dtype dtypeOf(char letter) {
    // Kept until the end of the process, so that no reference is dropped after the interpreter.
    static std::array<PyObject*, 128> s_known{};
    PyObject*& known = s_known[static_cast<std::size_t>(letter)];
    if (!known) known = py::dtype(std::string(1, letter)).release().ptr();
    return py::reinterpret_borrow<py::dtype>(known);
}

bool isMatrix(DataType type, py::ssize_t& side) {
    const std::string_view name = dataTypeName(type);
    const bool is3 = name.substr(0, 4) == "Mat3";
    if (!is3 && name.substr(0, 4) != "Mat4" && name.substr(0, 5) != "Xform") return false;
    side = is3 ? 3 : 4;
    return true;
}

// Returns the shape of one element: nothing for a number, (3,) for a vector, (4, 4) for a matrix.
std::vector<py::ssize_t> elementShape(DataType type) {
    py::ssize_t side = 0;
    if (isMatrix(type, side)) return {side, side};
    const auto components = static_cast<py::ssize_t>(dataTypeComponents(type));
    if (components == 1) return {};
    return {components};
}

std::string textOf(const py::object& object) {
    return py::str(object);
}

std::string form(DataType type) {
    std::string text = "an array of shape (n";
    for (const py::ssize_t extent : elementShape(type))
        text += ", " + std::to_string(extent);
    if (elementShape(type).empty()) text += ",";
    const py::dtype dtype = dtypeOf(letterOf(dataTypeComponent(type)));
    return text + ") and type " + textOf(dtype) + ", for Buffer<" + dataTypeName(type) + ">";
}

[[noreturn]] void refuse(const String& path, const std::string& reason, ErrorKind kind) {
    raise(kind, String("Cannot set '") + path + "': " + reason + ".");
}

DataType vectorType(char letter, py::ssize_t count) {
    const char* suffix = letter == 'f'   ? "f"
                         : letter == 'd' ? "d"
                         : letter == 'i' ? "i"
                         : letter == 'I' ? "u"
                                         : nullptr;
    DataType type = DataType::Null;
    const bool isKnown = suffix && parseDataType("Vec" + std::to_string(count) + suffix, type);
    return isKnown ? type : DataType::Null;
}

// Returns the element type of an array for a buffer that accepts any.
DataType typeOfArray(const py::array& array) {
    const char letter = array.dtype().char_();
    if (array.ndim() == 1) {
        for (u32 i = 1; i <= static_cast<u32>(DataType::Double); ++i)
            if (letterOf(static_cast<DataType>(i)) == letter) return static_cast<DataType>(i);
        return letter == 'l' ? DataType::Int64 : letter == 'L' ? DataType::UInt64 : DataType::Null;
    }
    if (array.ndim() == 2) return vectorType(letter, array.shape(1));
    DataType type = DataType::Null;
    const bool isKnown = array.ndim() == 3 && array.shape(1) == array.shape(2) &&
                         (letter == 'f' || letter == 'd') &&
                         parseDataType("Mat" + std::to_string(array.shape(1)) + letter, type);
    return isKnown ? type : DataType::Null;
}

bool hasShape(const py::array& array, const std::vector<py::ssize_t>& shape) {
    if (array.ndim() != static_cast<py::ssize_t>(shape.size()) + 1) return false;
    for (std::size_t i = 0; i < shape.size(); ++i)
        if (array.shape(static_cast<py::ssize_t>(i) + 1) != shape[i]) return false;
    return true;
}

bool isSameType(const py::dtype& a, const py::dtype& b) {
    return a.kind() == b.kind() && a.itemsize() == b.itemsize();
}

bool isNative(const py::dtype& type) {
    const char order = type.byteorder();
    return order == '=' || order == '|' ||
           order == (std::endian::native == std::endian::little ? '<' : '>');
}

void checkArray(const String& path, DataType type, const py::array& array) {
    const py::dtype dtype = array.dtype();
    if (!isSameType(dtype, dtypeOf(letterOf(dataTypeComponent(type)))))
        refuse(path, "the array is of type " + textOf(dtype) + "; expected " + form(type),
               ErrorKind::Kind);
    if (!isNative(dtype))
        refuse(path,
               "the array has the byte order of other machines; expected " + form(type) +
                   ", as array.astype(array.dtype.newbyteorder('=')) gives",
               ErrorKind::Value);
    if (!hasShape(array, elementShape(type)))
        refuse(path,
               "the array has the shape " + textOf(array.attr("shape")) + "; expected " +
                   form(type),
               ErrorKind::Value);
    if (!(array.flags() & py::array::c_style))
        refuse(path,
               "the array has gaps between its elements; expected " + form(type) +
                   " in one piece, as numpy.ascontiguousarray gives",
               ErrorKind::Value);
}

py::array arrayOf(const String& path, DataType type, PyObject* value) {
    if (isArray(value)) return py::reinterpret_borrow<py::array>(value);
    if (!PySequence_Check(value) || PyUnicode_Check(value) || PyBytes_Check(value))
        refuseKind(path, type == DataType::Null ? "an array" : form(type).c_str(), value);
    const py::object asArray = py::module_::import("numpy").attr("array");
    const py::object dtype = type == DataType::Null
                                 ? py::object(py::none())
                                 : py::object(dtypeOf(letterOf(dataTypeComponent(type))));
    py::object made;
    try {
        made = asArray(py::handle(value), dtype);
        if (type != DataType::Null && PyObject_Size(value) == 0) {
            py::list shape;
            shape.append(0);
            for (const py::ssize_t extent : elementShape(type))
                shape.append(extent);
            made = made.attr("reshape")(py::tuple(shape));
        }
    } catch (py::error_already_set& error) {
        refuse(path,
               std::string(py::str(error.value())) + "; expected " +
                   (type == DataType::Null ? "an array" : form(type)),
               ErrorKind::Value);
    }
    return py::reinterpret_borrow<py::array>(made);
}

py::ssize_t sideOf(AttrType type) noexcept {
    return type == AttrType::Mat3 ? 3 : type == AttrType::Mat4 ? 4 : 0;
}

py::ssize_t widthOf(AttrType type) noexcept {
    switch (type) {
    case AttrType::Vec2:
    case AttrType::Pos2:
        return 2;
    case AttrType::Vec3:
    case AttrType::Pos3:
        return 3;
    case AttrType::Mat3:
        return 9;
    case AttrType::Mat4:
        return 16;
    default:
        return 4;
    }
}

void makeReadOnly(const py::array& array) {
    py::detail::array_proxy(array.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
}

bool number(PyObject* item, double& out) {
    if (PyFloat_Check(item)) {
        out = PyFloat_AS_DOUBLE(item);
        return true;
    }
    if (PyUnicode_Check(item) || PyBytes_Check(item)) return false;
    out = PyFloat_AsDouble(item);
    if (!PyErr_Occurred()) return true;
    PyErr_Clear();
    return false;
}

bool numbers(PyObject* value, py::ssize_t count, double* out) {
    if (PyUnicode_Check(value) || PyBytes_Check(value)) return false;
    const auto items = py::reinterpret_steal<py::object>(PySequence_Fast(value, ""));
    if (!items) {
        PyErr_Clear();
        return false;
    }
    if (PySequence_Fast_GET_SIZE(items.ptr()) != count) return false;
    for (py::ssize_t i = 0; i < count; ++i)
        if (!number(PySequence_Fast_GET_ITEM(items.ptr(), i), out[i])) return false;
    return true;
}

} // namespace

bool isArray(PyObject* value) {
    const std::string_view name = Py_TYPE(value)->tp_name;
    return name == "numpy.ndarray" || (name.find('.') == std::string_view::npos &&
                                       PyObject_HasAttrString(value, "__array_interface__") &&
                                       py::isinstance<py::array>(value));
}

py::object tupleArray(AttrType type, const double* numbersOfTuple) {
    const py::ssize_t side = sideOf(type);
    std::vector<py::ssize_t> shape;
    if (side > 0)
        shape = {side, side};
    else
        shape = {widthOf(type)};
    py::array array(dtypeOf('d'), shape, numbersOfTuple);
    makeReadOnly(array);
    return array;
}

bool tupleNumbers(AttrType type, PyObject* value, double* out) {
    const py::ssize_t side = sideOf(type);
    if (side == 0) return numbers(value, widthOf(type), out);
    const auto rows = py::reinterpret_steal<py::object>(PySequence_Fast(value, ""));
    if (!rows) {
        PyErr_Clear();
        return false;
    }
    if (PySequence_Fast_GET_SIZE(rows.ptr()) != side) return false;
    for (py::ssize_t i = 0; i < side; ++i)
        if (!numbers(PySequence_Fast_GET_ITEM(rows.ptr(), i), side, out + i * side)) return false;
    return true;
}

py::object bufferArray(BufferView view, const py::object& owner) {
    if (view.type == DataType::Null) return py::array(dtypeOf('d'), std::vector<py::ssize_t>{0});
    const char letter = letterOf(dataTypeComponent(view.type));
    if (letter == 0)
        raise(ErrorKind::Kind,
              String("A buffer of ") + dataTypeName(view.type) + " has no form as an array.");
    std::vector<py::ssize_t> shape = elementShape(view.type);
    shape.insert(shape.begin(), static_cast<py::ssize_t>(view.count));
    static const char nothing[1] = {};
    py::array array(dtypeOf(letter), shape, view.data ? view.data : nothing, owner);
    makeReadOnly(array);
    return array;
}

py::object readBuffer(IInput& input, bool evaluate) {
    const LogScope log;
    const Input held(&input);
    // A handle on a copy of the value, which shares the elements and keeps them.
    Input kept;
    if (evaluate && held.source()) {
        const LongRead use(sceneOf(held));
        kept = held.source().evaluate();
    } else {
        kept = Input::create(AttrType::Buffer);
        if (!kept.copyValue(held)) kept = Input();
    }
    BufferView view;
    if (!kept || !kept->readBuffer(view, false, nullptr))
        raise(ErrorKind::Evaluation, kelvo_sdk::detail::readFailure(
                                         &input, kelvo_sdk::detail::Written(BufferView()), evaluate)
                                         .message());
    return bufferArray(view, wrap(kept));
}

void withElements(const String& path, DataType type, PyObject* value,
                  const std::function<bool(BufferView)>& write) {
    if (type != DataType::Null && letterOf(dataTypeComponent(type)) == 0)
        raise(ErrorKind::Kind, String("Cannot set '") + path + "': a buffer of " +
                                   dataTypeName(type) + " has no form as an array.");
    const py::array array = arrayOf(path, type, value);
    if (type == DataType::Null) type = typeOfArray(array);
    if (type == DataType::Null)
        refuse(path,
               "no element type stands for an array of shape " + textOf(array.attr("shape")) +
                   " and type " + textOf(array.dtype()),
               ErrorKind::Value);
    checkArray(path, type, array);
    if (!write({type, array.data(), static_cast<u64>(array.shape(0))}))
        refuse(path, "it does not accept " + form(type), ErrorKind::Value);
}

} // namespace qv::python
