#pragma once

#include "kelvo/base/string_vector.h"

#include <pybind11/pybind11.h>

// Texts: bytes that are no UTF-8 travel as lone surrogates, as file names do in Python.
namespace pybind11::detail {

template<>
struct type_caster<qv::String> {
    PYBIND11_TYPE_CASTER(qv::String, const_name("str"));
    bool load(handle source, bool);
    static handle cast(const qv::String& text, return_value_policy, handle);
};
template<>
struct type_caster<qv::StringVector> {
    PYBIND11_TYPE_CASTER(qv::StringVector, const_name("list[str]"));
    bool load(handle source, bool);
    static handle cast(const qv::StringVector& texts, return_value_policy, handle);
};

} // namespace pybind11::detail
