#include "tools/kelvo/python_classes.h"

#include "kelvo/sdk/input.h"
#include "kelvo/sdk/node.h"

#include <algorithm>

#include <cctype>
#include <optional>

// Writes the classes of node types for the Python package.
namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::Input;
using kelvo_sdk::LibInfo;
using kelvo_sdk::Node;

constexpr std::string_view pythonWords[] = {
    "False", "None",     "True",  "and",    "as",   "assert", "async",  "await",    "break",
    "class", "continue", "def",   "del",    "elif", "else",   "except", "finally",  "for",
    "from",  "global",   "if",    "import", "in",   "is",     "lambda", "nonlocal", "not",
    "or",    "pass",     "raise", "return", "try",  "while",  "with",   "yield"};

// The attributes of every node.
constexpr std::string_view nodeNames[] = {
    "bases",          "check_mesh",   "clone",         "content_hash",  "convert_to",
    "copy_by_itself", "create_input", "create_output", "dependencies",  "descendants",
    "dirty",          "display_name", "file_path",     "first_path_to", "help",
    "help_example",   "help_pages",   "help_title",    "html_help",     "index_in",
    "input",          "inputs",       "is_abstract",   "is_alive",      "is_internal",
    "is_type_of",     "label",        "layout_pages",  "name",          "observe",
    "output",         "outputs",      "parent_to",     "paths",         "paths_to",
    "prepare",        "remove",       "remove_input",  "remove_output", "scene",
    "site_help",      "svg_icon",     "text",          "type",          "type_name",
    "unparent_from"};

template<class Names>
bool isAmong(const Names& names, std::string_view name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

std::string keywordName(const String& input) {
    const std::string name(input.view());
    return isAmong(pythonWords, name) || name == "cls" ? name + "_" : name;
}

std::string propertyName(const String& input) {
    return isAmong(nodeNames, input.view()) ? std::string(input.view()) + "_" : keywordName(input);
}

std::string className(const String& type) {
    std::string name(type.view());
    name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    return name == "None" || name == "True" || name == "False" ? name + "_" : name;
}

// Returns a text as a literal of Python.
std::string literal(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\')
            quoted += std::string("\\") + c;
        else if (c == '\n')
            quoted += "\\n";
        else if (byte < 32)
            quoted += std::string(String::format("\\x%02x", byte).view());
        else
            quoted += c;
    }
    return quoted + "\"";
}

// Returns the type of the numbers in a buffer.
std::string numberType(DataType type) {
    switch (dataTypeComponent(type)) {
    case DataType::Bool:
        return "np.bool_";
    case DataType::Char:
        return "np.int8";
    case DataType::Byte:
        return "np.uint8";
    case DataType::Int16:
        return "np.int16";
    case DataType::Int32:
        return "np.int32";
    case DataType::Int64:
        return "np.int64";
    case DataType::UInt16:
        return "np.uint16";
    case DataType::UInt32:
        return "np.uint32";
    case DataType::UInt64:
        return "np.uint64";
    case DataType::Float:
        return "np.float32";
    case DataType::Double:
        return "np.float64";
    default:
        return "Any";
    }
}

struct Types {
    std::string read;
    std::string write;
};

Types typesOfKind(AttrType kind) {
    switch (kind) {
    case AttrType::Bool:
        return {"bool", "bool"};
    case AttrType::Int:
    case AttrType::UInt:
        return {"int", "int"};
    case AttrType::Real:
        return {"float", "float"};
    case AttrType::Mat3:
    case AttrType::Mat4:
        return {"Numbers", "MatrixLike"};
    case AttrType::String:
        return {"str", "TextLike"};
    case AttrType::Node:
        return {"Node | None", "Node | None"};
    case AttrType::Object:
        return {"Input", "Mapping[str, Any]"};
    case AttrType::Array:
        return {"Input", "Iterable[Any]"};
    default:
        return {"Numbers", "TupleLike"};
    }
}

// Returns the type of a text with choices, which names them.
std::string choicesOf(const Input& input) {
    std::string choices;
    for (u64 i = 0; i < input.choiceCount(); ++i)
        choices += (i > 0 ? ", " : "") + literal(input.choice(i).asString().view());
    return "Literal[" + choices + "]";
}

Types typesOf(const Input& input) {
    Types types = typesOfKind(input.type());
    if (input.type() == AttrType::Buffer) {
        types.read = "npt.NDArray[" + numberType(input.dataType()) + "]";
        types.write = types.read + " | Sequence[Any]";
    }
    if (input.type() == AttrType::Array) {
        const Types elements = typesOfKind(input.elementType());
        types = {"Elements[" + elements.read + "]", "Iterable[" + elements.write + "]"};
    }
    if (input.type() == AttrType::String && input.choiceCount() > 0) types.write = choicesOf(input);
    return types;
}

// Returns the kind, help, unit and bounds of an input.
std::string helpOf(const Input& input) {
    std::string text(input.typeName().view());
    text += ". " + std::string(input.help().view());
    if (!input.unit().isEmpty()) text += " Unit: " + std::string(input.unit().view()) + ".";
    if (const Input least = input.minimum())
        text += " At least " + std::string(least.asString().view()) + ".";
    if (const Input most = input.maximum())
        text += " At most " + std::string(most.asString().view()) + ".";
    return text;
}

// Returns the bases that no other base has: those that the definition names.
StringVector directBases(const LibInfo& library, const Node& type) {
    StringVector direct;
    for (const String& base : type.bases()) {
        const auto isImplied = [&](const String& other) {
            Node known = library.findType(other);
            if (!known) known = LibInfo::standard().findType(other);
            return known && known.bases().contains(base, false);
        };
        const StringVector all = type.bases();
        if (std::none_of(all.begin(), all.end(), isImplied)) direct.push_back(base);
    }
    return direct;
}

std::string basesText(const LibInfo& library, const Node& type) {
    std::string bases;
    for (const String& base : directBases(library, type)) {
        const bool isOwn = static_cast<bool>(library.findType(base));
        const bool isStandard = static_cast<bool>(LibInfo::standard().findType(base));
        if (!isOwn && !isStandard) continue;
        bases += (bases.empty() ? "" : ", ") + (isOwn ? std::string() : "nodes.") + className(base);
    }
    return bases.empty() ? "Node" : bases;
}

bool isInherited(const LibInfo& library, const Node& type, const Input& input) {
    for (const String& base : type.bases()) {
        Node known = library.findType(base);
        if (!known) known = LibInfo::standard().findType(base);
        if (known && known.hasInput(input.name())) return true;
    }
    return false;
}

void appendConstructor(std::string& out, const Node& type) {
    out += "    if TYPE_CHECKING:\n"
           "        def __new__(cls, scene: Scene, node_name: str | None = None, /";
    if (type.inputCount() > 0) out += ", *";
    for (const Input& input : type.inputs())
        out += ",\n                    " + keywordName(input.name()) + ": " + typesOf(input).write +
               " = ...";
    out += ") -> " + className(type.type()) + ": ...\n\n";
}

void appendClass(std::string& out, const LibInfo& library, const Node& type) {
    std::string help(type.help().view());
    if (help.empty()) help = std::string(type.label().view()) + ".";
    out += "\n\nclass " + className(type.type()) + "(" + basesText(library, type) + "):\n    ";
    out += literal(help) +
           "\n\n    __slots__ = ()\n    type_name = " + literal(type.type().view()) + "\n\n";
    if (!type.isAbstract()) appendConstructor(out, type);
    for (const Input& input : type.inputs()) {
        if (isInherited(library, type, input)) continue;
        const Types types = typesOf(input);
        out += "    " + propertyName(input.name()) + ": InputProperty[" + types.read + ", " +
               types.write + "] = InputProperty(\n        " + literal(input.name().view()) +
               ",\n        " + literal(helpOf(input)) + ")\n";
    }
}

} // namespace

std::string pythonClasses(const LibInfo& library, const String& source) {
    const bool isStandard = library == LibInfo::standard();
    std::string out =
        "\"\"\"Typed classes of the node types of " +
        std::string(source.view() == "standard" ? "the standard library" : source.view()) +
        ".\n\nWritten by kelvo stubs.\"\"\"\n"
        "from __future__ import annotations\n\n"
        "from collections.abc import Iterable, Mapping, Sequence\n"
        "from typing import TYPE_CHECKING, Any, Literal\n\n";
    out += isStandard ? "from kelvo import Input, InputProperty, Node, Scene, _classes\n"
                      : "from kelvo import Input, InputProperty, Node, Scene, _classes, nodes\n";
    out += "\nif TYPE_CHECKING:\n    import numpy as np\n    import numpy.typing as npt\n\n"
           "    from kelvo._types import Elements, MatrixLike, Numbers, TextLike, TupleLike\n";
    std::string names;
    for (u64 i = 0; i < library.typeCount(); ++i) {
        appendClass(out, library, library.type(i));
        names += "    " + className(library.type(i).type()) + ",\n";
    }
    return out + "\n\n_classes.register((\n" + names + "))\n";
}

std::string pythonModule(const String& library) {
    if (library == "standard") return "nodes";
    std::string name(library.view());
    name = name.substr(name.rfind('/') + 1);
    name = name.substr(0, name.find('.'));
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    if (name.empty() || std::isdigit(static_cast<unsigned char>(name[0]))) name = "_" + name;
    return name;
}

} // namespace qv::kelvo_tool
