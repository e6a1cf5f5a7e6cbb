#pragma once

#include "bindings/python/src/errors.h"

#include <memory>
#include <vector>

namespace qv::python {

/// The callbacks in Python of one library. Nodes keep their library alive, and the library this.
class CallbackSet;

/// A node library as Python sees it.
struct Library {
    LibInfo info;
    // Null for a library that was not made in Python, such as the standard one.
    std::shared_ptr<CallbackSet> callbacks;
};

/// Returns the library of a Python object; throws for other objects.
LibInfo libraryOf(const py::handle& library);
py::object wrap(const LibInfo& library);
/// Returns the libraries of an iterable; the standard one for None.
std::vector<LibInfo> librariesOf(const py::object& libraries);

/// Raises the errors of a text, with all diagnostics.
[[noreturn]] void raiseText(const Result& failure, const Diagnostics& found);
py::list listOf(const Diagnostics& found);

} // namespace qv::python
