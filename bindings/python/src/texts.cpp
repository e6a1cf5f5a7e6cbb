#include "bindings/python/src/texts.h"

#include "kelvo/base/string.h"

#include <string_view>

namespace pybind11::detail {

bool type_caster<qv::String>::load(handle source, bool) {
    if (!PyUnicode_Check(source.ptr())) return false;
    Py_ssize_t size = 0;
    if (const char* text = PyUnicode_AsUTF8AndSize(source.ptr(), &size)) {
        value = qv::String(std::string_view(text, static_cast<std::size_t>(size)));
        return true;
    }
    PyErr_Clear();
    const auto bytes = reinterpret_steal<object>(
        PyUnicode_AsEncodedString(source.ptr(), "utf-8", "surrogateescape"));
    if (!bytes) throw error_already_set();
    value = qv::String(std::string_view(PyBytes_AS_STRING(bytes.ptr()),
                                        static_cast<std::size_t>(PyBytes_GET_SIZE(bytes.ptr()))));
    return true;
}

handle type_caster<qv::String>::cast(const qv::String& text, return_value_policy, handle) {
    PyObject* made =
        PyUnicode_DecodeUTF8(text.buf(), static_cast<Py_ssize_t>(text.size()), "surrogateescape");
    if (!made) throw error_already_set();
    return made;
}

bool type_caster<qv::StringVector>::load(handle source, bool) {
    if (PyUnicode_Check(source.ptr()) || !isinstance<iterable>(source)) return false;
    for (const handle item : reinterpret_borrow<iterable>(source))
        value.push_back(item.cast<qv::String>());
    return true;
}

handle type_caster<qv::StringVector>::cast(const qv::StringVector& texts, return_value_policy,
                                           handle) {
    list made;
    for (const qv::String& text : texts)
        made.append(text);
    return made.release();
}

} // namespace pybind11::detail
