#pragma once

#include "bindings/python/src/handles.h"

namespace qv::python {

/// The views of Python on parts of a snapshot. The views of the library borrow the snapshot; these
/// hold a handle on it.
struct NodeView {
    Snapshot snapshot;
    SnapshotNode node;
};
struct InputView {
    Snapshot snapshot;
    SnapshotInput input;
};
struct OutputView {
    Snapshot snapshot;
    SnapshotOutput output;
};

/// Return the view of a part; None for an empty one.
py::object viewOf(const Snapshot& snapshot, const SnapshotNode& node);
py::object viewOf(const Snapshot& snapshot, const SnapshotInput& input);
py::object viewOf(const Snapshot& snapshot, const SnapshotOutput& output);

/// Returns a list of the views of many parts.
template<class Parts>
py::list viewsOf(const Snapshot& snapshot, const Parts& parts) {
    py::list all;
    for (const auto& part : parts)
        all.append(viewOf(snapshot, part));
    return all;
}

using SnapshotClass = py::class_<Snapshot>;

/// Add the classes of the views, files in the binary form, and comparison.
void addSnapshotViews(py::module_& module);
void addSnapshotFiles(py::module_& module, SnapshotClass& snapshots);
void addSnapshotCompare(py::module_& module);

} // namespace qv::python
