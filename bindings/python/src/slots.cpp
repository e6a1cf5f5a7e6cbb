#include "bindings/python/src/slots.h"

#include "bindings/python/src/use.h"
#include "bindings/python/src/values.h"

#include "kelvo/base/spelling_suggestion.h"

namespace qv::python {

std::string_view textOf(PyObject* text) {
    if (!PyUnicode_Check(text))
        raise(ErrorKind::Kind, String("A name is a str, not ") + typeNameOf(text) + ".");
    Py_ssize_t size = 0;
    const char* bytes = PyUnicode_AsUTF8AndSize(text, &size);
    if (!bytes) throw py::error_already_set();
    return {bytes, static_cast<std::size_t>(size)};
}

u64 indexOf(PyObject* index, u64 count, const char* things) {
    // An index that is too large for the machine is bounded, and so out of range like others.
    const Py_ssize_t given = PyNumber_AsSsize_t(index, nullptr);
    if (given == -1 && PyErr_Occurred()) throw py::error_already_set();
    const auto size = static_cast<Py_ssize_t>(count);
    const Py_ssize_t from0 = given < 0 && given >= -size ? given + size : given;
    if (from0 < 0 || from0 >= size)
        raise(ErrorKind::Range, String::format("Index %lld is out of range: there are %llu %s.",
                                               static_cast<long long>(given),
                                               static_cast<unsigned long long>(count), things));
    return static_cast<u64>(from0);
}

std::vector<u64> picked(PyObject* slice, u64 count) {
    Py_ssize_t start = 0;
    Py_ssize_t stop = 0;
    Py_ssize_t step = 0;
    if (PySlice_Unpack(slice, &start, &stop, &step) < 0) throw py::error_already_set();
    const Py_ssize_t found =
        PySlice_AdjustIndices(static_cast<Py_ssize_t>(count), &start, &stop, step);
    std::vector<u64> indexes;
    for (Py_ssize_t i = 0; i < found; ++i)
        indexes.push_back(static_cast<u64>(start + i * step));
    return indexes;
}

IInput* findInput(INode& node, PyObject* name) {
    const std::string_view text = textOf(name);
    const Node handle(&node);
    if (IInput* found = handle.borrowInput(NameView(text))) return found;
    // Names that Python or every node uses have a '_' at their end as attributes.
    if (text.size() > 1 && text.back() == '_')
        return handle.borrowInput(NameView(text.substr(0, text.size() - 1)));
    return text.find_first_of(".[") == std::string_view::npos ? nullptr
                                                              : node.findInput(String(text));
}

namespace {

// Returns ": did you mean 'x'?" or a full stop.
template<class Owner>
String hint(std::string_view wanted, u64 count, Owner&& nameAt) {
    std::vector<String> names;
    for (u64 i = 0; i < count; ++i)
        names.push_back(nameAt(i));
    SpellingSuggestion near(wanted);
    for (const String& name : names)
        near.offer(name);
    return near.question();
}

[[noreturn]] void missing(const char* what, const INode& node, std::string_view name,
                          const String& end) {
    raise(ErrorKind::NotFound, String("Node '") + node.name() + "' of type '" + node.type() +
                                   "' has no " + what + " '" + name + "'" + end);
}

} // namespace

IInput& inputOf(INode& node, PyObject* name) {
    if (PyIndex_Check(name)) return *node.input(indexOf(name, node.inputCount(), "inputs"));
    if (IInput* found = findInput(node, name)) return *found;
    const std::string_view text = textOf(name);
    missing("input", node, text,
            hint(text, node.inputCount(), [&](u64 i) { return node.input(i)->name(); }));
}

IOutput& outputOf(INode& node, PyObject* name) {
    if (PyIndex_Check(name)) return *node.output(indexOf(name, node.outputCount(), "outputs"));
    const std::string_view text = textOf(name);
    if (IOutput* found = Node(&node).borrowOutput(NameView(text))) return *found;
    missing("output", node, text,
            hint(text, node.outputCount(), [&](u64 i) { return node.output(i)->name(); }));
}

IInput& memberOf(IInput& input, PyObject* key) {
    if (input.type() != AttrType::Array && input.type() != AttrType::Object)
        raise(ErrorKind::Kind, String("Input '") + input.path() + "' is of kind " +
                                   input.typeName() + ": it has no elements.");
    if (PyIndex_Check(key)) return *input.input(indexOf(key, input.inputCount(), "elements"));
    const std::string_view text = textOf(key);
    if (IInput* found = Input(&input).borrowInput(NameView(text))) return *found;
    raise(ErrorKind::NotFound,
          String("Input '") + input.path() + "' has no member '" + text + "'" +
              hint(text, input.inputCount(), [&](u64 i) { return input.input(i)->name(); }));
}

INode& nodeOf(IScene& scene, PyObject* key) {
    if (PyIndex_Check(key)) return *scene.node(indexOf(key, scene.nodeCount(), "nodes"));
    const std::string_view text = textOf(key);
    if (INode* found = Scene(&scene).findNode(NameView(text)).get()) return *found;
    raise(ErrorKind::NotFound,
          String("The scene has no node '") + text + "'" +
              hint(text, scene.nodeCount(), [&](u64 i) { return scene.node(i)->name(); }));
}

void setInput(IInput& input, PyObject* value) {
    const AttrType type = input.type();
    Edit edit(Scene(input.node() ? input.node()->scene() : nullptr),
              type == AttrType::Array || type == AttrType::Object);
    writeValue(input, value);
}

} // namespace qv::python
