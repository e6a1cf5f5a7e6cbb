// The commands that give inputs values, links and connections, and add inputs.
#include "tools/kelvo/edit_commands.h"

#include "kelvo/base/spelling_suggestion.h"
#include "tools/kelvo/address.h"
#include "tools/kelvo/handles.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/message.h"
#include "tools/kelvo/value_setting.h"

#include <array>
#include <string_view>
#include <utility>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::Input;
using kelvo_sdk::Node;
using kelvo_sdk::Output;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;
using kelvo_sdk::interfaces::IOutput;

bool runSet(EditSession& session, const Edit& edit, EditFault& fault) {
    Input input;
    String error;
    const String value = edit.valueFrom(2);
    if (!reachInput(session.scene(), edit.words[1].text, &value, input, error))
        return fault.at(1, std::move(error));
    if (!assignFrom(session, edit, 2, input, fault)) return false;
    if (input.source().get())
        warn("'" + input.path() + "' is connected to '" + input.source().path() +
             "', which hides the value.");
    return true;
}

// An input that stands bare in the text has what its type says; empty where that is nothing.
Input definitionOf(const Input& input) {
    if (input.parent() || input.isDescribed()) return Input();
    const Libraries* libraries = librariesInUse();
    const IInput* known =
        libraries ? libraries->lookUpInput(input.node()->type(), input.name()) : nullptr;
    return known && known->typeName() == input.typeName() ? handleOn(*known) : Input();
}

bool runReset(EditSession& session, const Edit& edit, EditFault& fault) {
    // An input that the text leaves to its type has the default already.
    if (wholeLeftOutInput(session.scene(), edit.words[1].text)) return true;
    Address address;
    String error;
    if (!findAddress(session.scene(), edit.words[1].text, Append::Refused, address, error))
        return fault.at(1, std::move(error));
    if (!address.input.get())
        return fault.at(1, "'" + edit.words[1].text + "' is a node: expected one of its inputs.");
    const Input definition = session.hasTypes() ? Input() : definitionOf(address.input);
    if (!definition) return address.input.reset();
    // Whole, it goes back to the type.
    if (definition.inputCount() != 0) return address.node.removeInput(address.input.name());
    if (address.input.type() == AttrType::Array || definition.type() == AttrType::Node)
        return address.input.reset();
    return address.input.copyValue(definition);
}

Output knownOutput(const Node& node, const String& name) {
    if (node.hasOutput(name)) return node.output(name);
    const Libraries* libraries = librariesInUse();
    const IOutput* like = libraries ? libraries->lookUpOutput(node.type(), name) : nullptr;
    if (!like) return Output();
    // The rest of its description stays with the type.
    return like->type() == AttrType::Buffer ? node.createOutput(like->name(), like->dataType())
                                            : node.createOutput(like->name(), like->type());
}

bool findOutput(const EditSession& session, const Edit& edit, u64 word, Output& output,
                EditFault& fault) {
    const String& path = edit.words[word].text;
    const u64 dot = path.find('.');
    if (dot == String::npos)
        return fault.at(word, "'" + path + "' is no output: expected node.output.");
    const Node node = session.scene().findNode(path.substr(0, dot));
    if (!node.get()) return fault.at(word, noSuchNode(session.scene(), path.substr(0, dot)));
    const String name = path.substr(dot + 1);
    output = knownOutput(node, name);
    if (output.get()) return true;
    StringVector known;
    for (u64 i = 0; i < node->outputCount(); ++i)
        known.push_back(node->output(i)->name());
    SpellingSuggestion near(name.view());
    for (const String& candidate : known)
        near.offer(candidate.view());
    return fault.at(word, "no output '" + name + "' in '" + node.name() + "'" + near.question());
}

bool runConnect(EditSession& session, const Edit& edit, EditFault& fault) {
    Input input;
    Output output;
    if (!reachInputOf(session, edit, 1, input, fault)) return false;
    if (!findOutput(session, edit, 2, output, fault)) return false;
    // Why a connection cannot be is told by the library.
    return input.source().get() == output.get() || input.connect(output);
}

bool runDisconnect(EditSession& session, const Edit& edit, EditFault& fault) {
    Address address;
    String error;
    if (!findAddress(session.scene(), edit.words[1].text, Append::Refused, address, error))
        return fault.at(1, std::move(error));
    return address.input.disconnect() ||
           fault.at(1, "'" + edit.words[1].text + "' is not connected.");
}

bool runLink(EditSession& session, const Edit& edit, EditFault& fault) {
    Input input;
    Node node;
    if (!reachInputOf(session, edit, 1, input, fault)) return false;
    if (!findNodeOf(session, edit, 2, node, fault)) return false;
    if (input.type() != AttrType::Node)
        return fault.at(1, "'" + input.path() + "' is of kind " + input->typeName() +
                               ", which links to no node.");
    return input.set(node);
}

// Takes what stands in the brackets of "Array<Real>".
std::string_view takeInner(std::string_view& kind) {
    const std::size_t open = kind.find('<');
    if (open == std::string_view::npos || !kind.ends_with('>')) return {};
    const std::string_view inner = kind.substr(open + 1, kind.size() - open - 2);
    kind = kind.substr(0, open);
    return inner;
}

bool parseElementType(std::string_view name, kelvo_sdk::AttrType& type) {
    return kelvo_sdk::parseAttrType(name, type) && type != AttrType::Null;
}

/// The kind of an input or output that is to be added.
struct NewKind {
    AttrType type = AttrType::Null;
    /// Of an array.
    AttrType elementType = AttrType::Null;
    /// Of the elements of a buffer; Null: any.
    DataType dataType = DataType::Null;
};

bool parseKind(std::string_view text, NewKind& kind) {
    const std::string_view inner = takeInner(text);
    if (!kelvo_sdk::parseAttrType(text, kind.type) || kind.type == AttrType::Null) return false;
    if (kind.type == AttrType::Array) return parseElementType(inner, kind.elementType);
    if (inner.empty()) return true;
    return kind.type == AttrType::Buffer && parseDataType(inner, kind.dataType);
}

bool kindOf(const Edit& edit, NewKind& kind, EditFault& fault) {
    return parseKind(edit.words[1].text.view(), kind) ||
           fault.at(1, "'" + edit.words[1].text +
                           "' is no kind: expected one like Real, Node, Array<Real> or "
                           "Buffer<Pos3f>.");
}

/// Where something is to be added: to a node, or to an object in it.
struct NewPlace {
    Address owner;
    String name;
};

bool findPlace(const EditSession& session, const Edit& edit, NewPlace& place, EditFault& fault) {
    const String& path = edit.words[2].text;
    const std::size_t dot = path.view().rfind('.');
    if (dot == std::string_view::npos)
        return fault.at(2, "'" + path + "' has no name of an input: expected node.name.");
    place.name = path.substr(dot + 1);
    String error;
    if (!findAddress(session.scene(), path.substr(0, dot), Append::Refused, place.owner, error))
        return fault.at(2, std::move(error));
    if (place.name.isSimpleCID()) return true;
    return fault.at(2, "'" + place.name + "' is no name: expected letters, digits and '_'.");
}

bool hasAlready(const EditSession& session, const NewPlace& place, const String& path) {
    if (place.owner.input) return place.owner.input.hasInput(place.name);
    return place.owner.node.hasInput(place.name) || leftOutInput(session.scene(), path);
}

// To a node or to an object.
template<typename Owner>
Input createInput(const Owner& owner, const String& name, const NewKind& kind) {
    if (kind.type == AttrType::Array) return owner.createArray(name, kind.elementType);
    if (kind.type == AttrType::Buffer) return owner.createBuffer(name, kind.dataType);
    return owner.createInput(name, kind.type);
}

bool runAdd(EditSession& session, const Edit& edit, EditFault& fault) {
    NewKind kind;
    NewPlace place;
    if (!kindOf(edit, kind, fault) || !findPlace(session, edit, place, fault)) return false;
    if (hasAlready(session, place, edit.words[2].text))
        return fault.at(2, "there is an input '" + edit.words[2].text + "' already.");
    if (edit.has(3) && (edit.words[3].text != "=" || !edit.has(4)))
        return fault.at(3, "expected '=' and a value.");
    const Address& owner = place.owner;
    if (owner.input.get() && !owner.input->isObject())
        return fault.at(2, "'" + owner.input.path() + "' has no members: its kind is " +
                               owner.input->typeName() + ".");
    const Input input = owner.input.get() ? createInput(owner.input, place.name, kind)
                                          : createInput(owner.node, place.name, kind);
    if (!input.get()) return false;
    return !edit.has(4) || assignFrom(session, edit, 4, input, fault);
}

bool runAddOutput(EditSession& session, const Edit& edit, EditFault& fault) {
    NewKind kind;
    NewPlace place;
    if (!kindOf(edit, kind, fault) || !findPlace(session, edit, place, fault)) return false;
    if (place.owner.input.get()) return fault.at(2, "inputs have no outputs.");
    if (place.owner.node.hasOutput(place.name))
        return fault.at(2, "there is an output '" + edit.words[2].text + "' already.");
    const Node& node = place.owner.node;
    const Output output = kind.type == AttrType::Buffer
                              ? node.createOutput(place.name, kind.dataType)
                              : node.createOutput(place.name, kind.type);
    return output.get() != nullptr;
}

using Kind = EditCommand::Kind;

constexpr std::array commands{
    EditCommand{"set", "INPUT VALUE...", "Sets a value; array[+] adds an element", Kind::Edits,
                &runSet},
    EditCommand{"reset", "INPUT", "Sets the default, of the node's type where there is one",
                Kind::Edits, &runReset},
    EditCommand{"connect", "INPUT NODE.OUTPUT", "Lets an input read an output", Kind::Edits,
                &runConnect},
    EditCommand{"disconnect", "INPUT", "Takes the connection away", Kind::Edits, &runDisconnect},
    EditCommand{"link", "INPUT NODE", "Links an input to a node", Kind::Edits, &runLink},
    EditCommand{"add", "KIND NODE.NAME [= VALUE...]",
                "Adds an input to a node, or a member to an object", Kind::Edits, &runAdd},
    EditCommand{"add-output", "KIND NODE.NAME", "Adds an output", Kind::Edits, &runAddOutput},
};

} // namespace

std::span<const EditCommand> valueCommands() {
    return commands;
}

} // namespace qv::kelvo_tool
