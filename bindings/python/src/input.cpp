#include "bindings/python/src/slots.h"
#include "bindings/python/src/use.h"
#include "bindings/python/src/values.h"

#include <algorithm>

namespace qv::python {

namespace {

py::object valueOf(const Input& input) {
    return input ? readValue(*input.get(), false) : py::none();
}

py::list choicesOf(const LiveInput& input) {
    py::list choices;
    for (u64 i = 0; i < input.choiceCount(); ++i)
        choices.append(valueOf(input.choice(i)));
    return choices;
}

template<class Change>
void change(const LiveInput& input, Change&& body) {
    const Edit edit(sceneOf(input));
    check(body(), input.isReadOnly() ? ErrorKind::ReadOnly : ErrorKind::Refused);
}

Input append(const LiveInput& array, const py::object& value) {
    const Edit edit(sceneOf(array), true);
    const Input element = made(array.append());
    if (!value.is_none()) writeValue(*element.get(), value.ptr());
    return element;
}

Input insert(const LiveInput& array, u64 index, const py::object& value) {
    const Edit edit(sceneOf(array), true);
    const Input element = made(array.insert(index), ErrorKind::Range);
    if (!value.is_none()) writeValue(*element.get(), value.ptr());
    return element;
}

Input createMember(const LiveInput& object, const String& name, const std::string& kind,
                   const py::object& value) {
    const KindText type = kindOf(kind);
    const Edit edit(sceneOf(object), true);
    const Input member = type.type == AttrType::Array
                             ? made(object.createArray(name, type.elements), ErrorKind::Value)
                         : type.type == AttrType::Buffer
                             ? made(object.createBuffer(name, type.dataType), ErrorKind::Value)
                             : made(object.createInput(name, type.type), ErrorKind::Value);
    if (!value.is_none()) writeValue(*member.get(), value.ptr());
    return member;
}

void setElements(const LiveInput& input, const py::object& value, const String& elementType) {
    if (input.type() != AttrType::Buffer)
        raise(ErrorKind::Kind, String("Input '") + input.path() + "' is no buffer.");
    DataType type = DataType::Null;
    if (!elementType.isEmpty() && !parseDataType(elementType, type))
        raise(ErrorKind::Value, String("There is no element type '") + elementType + "'.");
    const Edit edit(sceneOf(input));
    writeBuffer(*input.get(), type, value.ptr());
}

void addReading() {
    property(
        s_inputType, "name", [](const Input& input) { return input.name(); },
        "The name; of an element of an array its index.");
    property(
        s_inputType, "path", [](const Input& input) { return input.path(); },
        "The path with the node: \"node.array[3].member\".");
    property(
        s_inputType, "node", [](const Input& input) { return Node(input.node()); },
        "The node; None when it or the input was removed.");
    property(
        s_inputType, "kind", [](const Input& input) { return input.typeName(); },
        "The kind as text: \"Real\", \"Array<Node>\", \"Buffer<Pos3f>\".");
    property(
        s_inputType, "value", [](const LiveInput& input) { return readValue(*input.get(), true); },
        "The value that the input has, evaluated through a connection.",
        setter(s_inputType, [](const LiveInput& input, const py::object& value) {
            setInput(*input.get(), value.ptr());
        }));
    property(
        s_inputType, "stored",
        [](const LiveInput& input) { return readValue(*input.get(), false); },
        "The value that is stored, even if a connection hides it.");
    property(
        s_inputType, "parent", [](const LiveInput& input) { return input.parent(); },
        "The array or object around the input; None at the top level.");
    property(
        s_inputType, "inputs",
        [](const LiveInput& input) {
            py::list all;
            for (const Input& inner : input.inputs())
                all.append(wrap(inner));
            return all;
        },
        "The elements or members, as inputs.");
    method(
        s_inputType, "dependencies",
        [](const LiveInput& input) {
            py::list all;
            for (const Node& node : input.dependencies())
                all.append(wrap(node));
            return all;
        },
        "Returns the nodes that the input and those inside it depend on.");
    property(
        s_inputType, "source", [](const LiveInput& input) { return input.source(); },
        "The output that the input is connected to; None without a connection.");
}

void addDescription() {
    property(
        s_inputType, "unit", [](const LiveInput& input) { return input.unit(); },
        "The unit, such as \"m\"; empty without one.");
    property(
        s_inputType, "is_read_only", [](const LiveInput& input) { return input.isReadOnly(); },
        "Whether writes are refused.");
    property(
        s_inputType, "is_default", [](const LiveInput& input) { return input.isDefault(); },
        "Whether the value is the default.");
    property(
        s_inputType, "is_described", [](const LiveInput& input) { return input.isDescribed(); },
        "Whether there is a default, bounds, choices, a unit, labels or help.");
    property(
        s_inputType, "is_omitted", [](const LiveInput& input) { return input.isOmitted(); },
        "Whether scene text omits the input, because the definition supplies it.");
    property(
        s_inputType, "is_silent", [](const LiveInput& input) { return input.isSilent(); },
        "Whether adding, renaming and removing the input notifies nobody.");
    property(
        s_inputType, "is_modified", [](const LiveInput& input) { return input.isModified(); },
        "Whether modifiers replaced the user's value.");
    property(
        s_inputType, "kept_value",
        [](const LiveInput& input) { return valueOf(input.keptValue()); },
        "The user's value where modifiers replaced it, else None.");
    property(
        s_inputType, "default",
        [](const LiveInput& input) { return valueOf(input.defaultValue()); },
        "The value that `reset` restores; None for arrays and objects.");
    property(
        s_inputType, "minimum", [](const LiveInput& input) { return valueOf(input.minimum()); },
        "The lower bound; None without one.");
    property(
        s_inputType, "maximum", [](const LiveInput& input) { return valueOf(input.maximum()); },
        "The upper bound; None without one.");
    property(s_inputType, "choices", &choicesOf, "All allowed values; empty when any is allowed.");
    method(
        s_inputType, "label",
        [](const LiveInput& input, const String& l) { return input.label(l); },
        py::arg("language") = String("auto"), "Returns the label in a language.");
    method(
        s_inputType, "help", [](const LiveInput& input, const String& l) { return input.help(l); },
        py::arg("language") = String("auto"), "Returns the help text in a language.");
    method(
        s_inputType, "text", [](const LiveInput& input) { return valueText(input); },
        "Returns the stored value as text.");
}

void addChanges() {
    method(
        s_inputType, "reset",
        [](const LiveInput& input) { change(input, [&] { return input.reset(); }); },
        "Restores the default.");
    method(
        s_inputType, "connect",
        [](const LiveInput& input, const LiveOutput& output) {
            change(input, [&] { return input.connect(output); });
        },
        py::arg("output"),
        "Connects to an output; raises RefusedError for a loop or a kind that "
        "does not convert.");
    method(
        s_inputType, "disconnect",
        [](const LiveInput& input) { change(input, [&] { return input.disconnect(); }); },
        "Ends the connection.");
    method(
        s_inputType, "rename",
        [](const LiveInput& input, const String& name) {
            change(input, [&] { return input.rename(name); });
        },
        py::arg("name"), "Renames the input, with everything that refers to it by name.");
    method(
        s_inputType, "copy_value",
        [](const LiveInput& input, const LiveInput& from) {
            change(input, [&] { return input.copyValue(from); });
        },
        py::arg("source"), "Copies the stored value of another input; buffers are shared.");
    method(s_inputType, "set_elements", &setElements, py::arg("value"),
           py::arg("element_type") = String(),
           "Sets a buffer to elements of a type such as \"Pos3f\"; without one, of the type that "
           "stands for the array. Assignments keep the type that the buffer has.");
    method(s_inputType, "append", &append, py::arg("value") = py::none(),
           "Adds an element to an array and returns it.");
    method(s_inputType, "insert", &insert, py::arg("index"), py::arg("value") = py::none(),
           "Adds an element to an array so that it gets an index.");
    method(
        s_inputType, "move",
        [](const LiveInput& input, u64 from, u64 to) {
            change(input, [&] { return input.moveElement(from, to); });
        },
        py::arg("index"), py::arg("to"), "Moves an element; those between shift by one.");
    method(
        s_inputType, "clear",
        [](const LiveInput& input) { change(input, [&] { return input.clearInputs(); }); },
        "Removes all elements or members.");
    method(s_inputType, "create_input", &createMember, py::arg("name"), py::arg("kind"),
           py::arg("value") = py::none(), "Adds a member to an object.");
    method(
        s_inputType, "input",
        [](const LiveInput& input, const py::object& key) {
            return Input(&memberOf(*input.get(), key.ptr()));
        },
        py::arg("key"), "Returns a member by name or an element by index, as an input.");
}

void addOutput() {
    property(
        s_outputType, "name", [](const Output& output) { return output.name(); }, "The name.");
    property(
        s_outputType, "path", [](const Output& output) { return output.path(); },
        "The path: \"node.output\".");
    property(
        s_outputType, "kind", [](const Output& output) { return output.typeName(); },
        "The kind as text: \"Real\", \"Buffer<Float>\".");
    property(
        s_outputType, "node", [](const Output& output) { return Node(output.node()); },
        "The node; None when it was removed.");
    property(
        s_outputType, "value",
        [](const LiveOutput& output) {
            const LogScope log;
            Input value;
            {
                const LongRead use(sceneOf(output.node()));
                value = output.evaluate();
            }
            if (!value)
                raise(ErrorKind::Evaluation,
                      String("Output '") + output.path() + "' has no value.");
            return readValue(*value.get(), false);
        },
        "The value, evaluated now. Raises EvaluationError when there is none.");
    property(
        s_outputType, "targets",
        [](const LiveOutput& output) {
            py::list all;
            for (u64 i = 0; i < output.targetCount(); ++i)
                all.append(wrap(output.target(i)));
            return all;
        },
        "The connected inputs, in order of connection.");
}

} // namespace

KindText kindOf(const std::string& text) {
    KindText kind;
    std::string_view name = text;
    std::string_view inner;
    const std::size_t open = name.find('<');
    if (open != std::string_view::npos && name.back() == '>') {
        inner = name.substr(open + 1, name.size() - open - 2);
        name = name.substr(0, open);
    }
    bool isKnown = parseAttrType(name, kind.type) && kind.type != AttrType::Null;
    if (isKnown && !inner.empty())
        isKnown = kind.type == AttrType::Array    ? parseAttrType(inner, kind.elements)
                  : kind.type == AttrType::Buffer ? parseDataType(inner, kind.dataType)
                                                  : false;
    if (!isKnown)
        raise(ErrorKind::Value, String("There is no kind '") + std::string_view(text) +
                                    "': expected one such as Real, Array<Node> or Buffer<Pos3f>.");
    return kind;
}

void addInput() {
    addReading();
    addDescription();
    addChanges();
    addOutput();
}

} // namespace qv::python
