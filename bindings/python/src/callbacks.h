#pragma once

#include "bindings/python/src/library.h"

namespace qv::python {

/// The callbacks that Python may give to a type, in the order of `callbackNames`.
enum class Callback { Init, Prep, Eval, Modify, Free, Changed };
inline constexpr const char* callbackNames[] = {"init",   "prep", "eval",
                                                "modify", "free", "changed"};
inline constexpr int callbackArguments[] = {1, 1, 2, 2, 1, 1};
inline constexpr std::size_t callbackCount = 6;

/// Makes a library whose types can have callbacks in Python.
Library createLibrary(const String& source);

/// Sets one callback of a type.
void setCallback(const Library& library, const String& type, Callback callback,
                 const py::object& function);

/// Adds the class of nodes in their callback "free".
void addFreedNode(py::module_& module);

/// The frame of the evaluation that runs a callback on this thread; null outside of evaluations.
/// Reads of Python pass it on, so that endless evaluations are found.
EvalCtx* currentFrame() noexcept;

} // namespace qv::python
