#include "bindings/python/src/library.h"

#include "bindings/python/src/callbacks.h"
#include "bindings/python/src/values.h"

#include "kelvo/sdk/library_entry.h"

namespace qv::python {

namespace {

// The text of a library that Python made, to find the same object again for a handle on it.
Callback callbackOf(const std::string& name) {
    for (std::size_t i = 0; i < callbackCount; ++i)
        if (name == callbackNames[i]) return static_cast<Callback>(i);
    raise(ErrorKind::Value, String("There is no callback '") + std::string_view(name) +
                                "': expected init, prep, eval, modify, free or changed.");
}

void readDefinitions(const Library& library, const String& text, const String& source,
                     const py::object& bases) {
    Diagnostics found;
    const LibInfo basesFrom = bases.is_none() ? LibInfo::standard() : libraryOf(bases);
    const Result isRead = library.info.readDefinitions(text, source, &found, basesFrom);
    if (!isRead) raiseText(isRead, found);
}

Library makeLibrary(const py::object& text, const String& source, const py::object& bases) {
    const Library library = createLibrary(source);
    if (!text.is_none()) readDefinitions(library, text.cast<String>(), source, bases);
    return library;
}

py::list typesOf(const Library& library) {
    py::list types;
    for (u64 i = 0; i < library.info.typeCount(); ++i)
        types.append(wrap(library.info.type(i)));
    return types;
}

Node typeNamed(const Library& library, const String& name) {
    const Node found = library.info.findType(name);
    if (!found) raise(ErrorKind::NotFound, String("The library has no type '") + name + "'.");
    return found;
}

py::str diagnosticRepr(const Diagnostic& diagnostic) {
    return py::str("<kelvo.Diagnostic ") + py::str(py::cast(diagnostic.text())) + py::str(">");
}

void addDiagnostic(py::module_& module) {
    py::class_<Diagnostic>(module, "Diagnostic", "An error in a text, with its place.")
        .def_readonly("source", &Diagnostic::source)
        .def_readonly("line", &Diagnostic::line, "Counts from 1; 0 for the text as a whole.")
        .def_readonly("column", &Diagnostic::column, "Counts from 1, in bytes.")
        .def_readonly("node", &Diagnostic::node)
        .def_readonly("type", &Diagnostic::type)
        .def_readonly("message", &Diagnostic::message)
        .def("__str__", &Diagnostic::text)
        .def("__repr__", &diagnosticRepr);
}

} // namespace

LibInfo libraryOf(const py::handle& library) {
    if (!py::isinstance<Library>(library))
        raise(ErrorKind::Kind,
              String("Expected a kelvo.Library, not ") + typeNameOf(library.ptr()).c_str() + ".");
    return library.cast<const Library&>().info;
}

py::object wrap(const LibInfo& library) {
    return library ? py::cast(Library{library, {}}) : py::none();
}

std::vector<LibInfo> librariesOf(const py::object& libraries) {
    if (libraries.is_none()) return {LibInfo::standard()};
    std::vector<LibInfo> all;
    for (const py::handle library : py::reinterpret_borrow<py::iterable>(libraries))
        all.push_back(libraryOf(library));
    return all;
}

py::list listOf(const Diagnostics& found) {
    py::list all;
    for (const Diagnostic& diagnostic : found)
        all.append(py::cast(diagnostic));
    return all;
}

void raiseText(const Result& failure, const Diagnostics& found) {
    raise(ErrorKind::Text, failure.message(), listOf(found));
}

void addLibrary(py::module_& module) {
    addDiagnostic(module);
    addFreedNode(module);
    py::class_<Library>(module, "Library",
                        "A library of node types, read from definition text.\n\n"
                        "Functions become the behaviour of its types:\n\n"
                        "    @library.callback(\"twice\", \"eval\")\n"
                        "    def twice(node, output):\n"
                        "        return 2 * node[\"x\"]")
        .def(py::init(&makeLibrary), py::arg("text") = py::none(), py::kw_only(),
             py::arg("source") = String("<text>"), py::arg("bases") = py::none(),
             "Reads definition text. Bases may be standard types, or those of `bases`.")
        .def_static(
            "standard",
            [] {
                return Library{LibInfo::standard(), {}};
            },
            "Returns the library of standard types.")
        .def("read", &readDefinitions, py::arg("text"), py::kw_only(),
             py::arg("source") = String("<text>"), py::arg("bases") = py::none(),
             "Adds the types of a definition text, all or, with TextError, none.")
        .def(
            "text", [](const Library& library) { return library.info.definitionText(); },
            "Returns the types as definition text.")
        .def_property_readonly(
            "path", [](const Library& library) { return library.info.kndPath(); },
            "The path of the definition file; empty for a library that has none.")
        .def("find_type", &typeNamed, py::arg("name"),
             "Returns the prototype of a type, which must not be changed.")
        .def_property_readonly("types", &typesOf, "The prototypes of all types, in order.")
        .def(
            "set_callback",
            [](const Library& library, const String& type, const std::string& callback,
               const py::object& function) {
                setCallback(library, type, callbackOf(callback), function);
            },
            py::arg("type"), py::arg("callback"), py::arg("function"),
            "Gives a type a callback: \"init\", \"prep\", \"eval\", \"modify\", \"free\" or "
            "\"changed\".")
        .def("__eq__",
             [](const Library& a, const py::object& b) {
                 return py::isinstance<Library>(b) && b.cast<const Library&>().info == a.info;
             })
        .def("__hash__",
             [](const Library& library) { return std::hash<const void*>()(library.info.get()); })
        .def("__len__", [](const Library& library) { return library.info.typeCount(); })
        .def("__contains__", [](const Library& library, const String& name) {
            return static_cast<bool>(library.info.findType(name));
        });
}

} // namespace qv::python
