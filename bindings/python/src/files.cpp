#include "bindings/python/src/library.h"
#include "bindings/python/src/snapshot_views.h"
#include "bindings/python/src/use.h"

#include "kelvo/binary/binary_scene.h"

#include <filesystem>
#include <string>

// Files: scenes as text and in the binary form.
namespace qv::python {

namespace {

namespace fs = std::filesystem;

fs::path pathOf(const py::object& path) {
    const auto bytes = py::module_::import("os").attr("fsencode")(path);
    return {bytes.cast<std::string>()};
}

Result loadBinary(const Scene& scene, const fs::path& file) {
    const Made<Snapshot> opened = openBinary(file);
    if (!opened.result()) return opened.result();
    const Result isWhole = opened.verify();
    return isWhole ? scene.read(opened) : isWhole;
}

void load(const LiveScene& scene, const py::object& path) {
    const LogScope log;
    const fs::path file = pathOf(path);
    Diagnostics found;
    Result isRead;
    {
        const LongEdit use(scene);
        isRead = isBinaryFile(file) ? loadBinary(scene, file) : loadScene(scene, file, &found);
    }
    if (isRead) return;
    if (found.size() > 0 && found[0].line > 0) raiseText(isRead, found);
    raise(ErrorKind::File, isRead.message());
}

void save(const LiveScene& scene, const py::object& path) {
    const LogScope log;
    const fs::path file = pathOf(path);
    Diagnostics found;
    Result isWritten;
    {
        const LongRead use(scene);
        isWritten = file.extension() == ".knb" ? saveBinary(scene.snapshot(), file)
                                               : saveScene(scene, file, &found);
    }
    check(isWritten, ErrorKind::File);
    check(scene.markSaved());
}

void saveSnapshot(const Snapshot& snapshot, const py::object& path, bool isCompressed) {
    const fs::path file = pathOf(path);
    Result isWritten;
    {
        const py::gil_scoped_release unlocked;
        isWritten = saveBinary(snapshot, file, {.isCompressed = isCompressed});
    }
    check(isWritten, ErrorKind::File);
}

Snapshot openFile(const py::object& path) {
    const fs::path file = pathOf(path);
    const Made<Snapshot> opened = [&] {
        const py::gil_scoped_release unlocked;
        return openBinary(file);
    }();
    return made(opened, ErrorKind::File);
}

py::bytes bytesOf(const Snapshot& snapshot, bool isCompressed) {
    std::string bytes;
    Result isStored;
    {
        const py::gil_scoped_release unlocked;
        isStored = appendBinary(snapshot, bytes, {.isCompressed = isCompressed});
    }
    check(isStored, ErrorKind::File);
    return {bytes};
}

Snapshot openBytes(const py::bytes& data, const String& name) {
    std::string bytes = data;
    const Made<Snapshot> opened = [&] {
        const py::gil_scoped_release unlocked;
        return openBinaryBytes(std::move(bytes), name);
    }();
    return made(opened, ErrorKind::File);
}

} // namespace

void addFiles() {
    method(s_sceneType, "load", &load, py::arg("path"),
           "Adds the nodes of a file, text or binary. Raises FileError or TextError.");
    method(s_sceneType, "save", &save, py::arg("path"),
           "Writes the scene to a file, all or nothing, and marks it as saved: in the binary form "
           "if the name ends with .knb, otherwise as text.");
}

void addSnapshotFiles(py::module_& module, SnapshotClass& snapshots) {
    snapshots
        .def("save_binary", &saveSnapshot, py::arg("path"), py::kw_only(),
             py::arg("compressed") = false,
             "Writes a file in the binary form, all or nothing. Raises FileError.")
        .def("to_bytes", &bytesOf, py::kw_only(), py::arg("compressed") = false,
             "Returns the bytes of the file that `save_binary` would write.")
        .def_static("from_bytes", &openBytes, py::arg("data"), py::kw_only(),
                    py::arg("name") = String("<bytes>"),
                    "Opens the bytes of a file in the binary form. Raises FileError.");
    module.def(
        "open_binary", &openFile, py::arg("path"),
        "Opens a file in the binary form as a snapshot; nodes and buffers are read when they "
        "are first asked for. Raises FileError. The file must not be written to meanwhile; "
        "replacing it is safe.");
}

} // namespace qv::python
