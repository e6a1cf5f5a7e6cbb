// The commands for elements of arrays, and those that move and remove anything.
#include "tools/kelvo/edit_commands.h"

#include "kelvo/sdk/interfaces/i_node.h"
#include "tools/kelvo/address.h"

#include <array>
#include <string>
#include <utility>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::Input;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::IInputContainer;
using kelvo_sdk::interfaces::INode;

String numberText(u64 number) {
    return String(std::string_view(std::to_string(number)));
}

bool reachArray(const EditSession& session, const Edit& edit, Input& array, EditFault& fault) {
    if (!reachInputOf(session, edit, 1, array, fault)) return false;
    return array.type() == AttrType::Array ||
           fault.at(1, "'" + array.path() + "' has no elements: its kind is " + array->typeName() +
                           ".");
}

bool runAppend(EditSession& session, const Edit& edit, EditFault& fault) {
    Input array;
    if (!reachArray(session, edit, array, fault)) return false;
    const Input element = array.append();
    return element.get() && (!edit.has(2) || assignFrom(session, edit, 2, element, fault));
}

bool runInsert(EditSession& session, const Edit& edit, EditFault& fault) {
    Input array;
    u64 index = 0;
    if (!reachArray(session, edit, array, fault)) return false;
    if (!readCount(edit, 2, 0, index, fault)) return false;
    if (index > array.inputCount())
        return fault.at(2, "no place [" + edit.words[2].text + "] in '" + array.path() +
                               "', which has " + numberText(array.inputCount()) + " elements.");
    const Input element(array->insertElement(index));
    return element.get() && (!edit.has(3) || assignFrom(session, edit, 3, element, fault));
}

// Returns the index of an input in its container.
u64 indexIn(const IInputContainer& owner, const IInput* input) {
    u64 index = 0;
    while (index < owner.inputCount() && owner.input(index) != input)
        ++index;
    return index;
}

bool removeOutput(const Address& owner, const String& name) {
    return owner.node.get() && !owner.input.get() && owner.node->hasOutput(name, AttrType::Null) &&
           owner.node->removeOutput(name);
}

// Removes the elements that link to the node, as removing a node would leave empty elements in
// these lists.
void removeElements(const kelvo_sdk::Scene& scene, const INode* node) {
    for (u64 i = 0; i < scene.nodeCount(); ++i)
        for (const char* name : {"children", "modifiers"}) {
            const INode* owner = scene->node(i);
            if (!owner->hasInput(name, AttrType::Array)) continue;
            IInput* const list = owner->input(String(name));
            for (u64 element = list->inputCount(); element-- > 0;) {
                INode* linked = nullptr;
                const bool isLink = list->input(element)->readNode(linked, false, nullptr);
                if (isLink && linked == node) list->removeInput(element);
            }
        }
}

bool runRemove(EditSession& session, const Edit& edit, EditFault& fault) {
    const String& path = edit.words[1].text;
    Address address;
    String error;
    if (!findAddress(session.scene(), path, Append::Refused, address, error)) {
        const u64 dot = path.find('.');
        const kelvo_sdk::Node node = session.scene().findNode(path.substr(0, dot));
        if (dot != String::npos && removeOutput({node, {}}, path.substr(dot + 1))) return true;
        return fault.at(1, std::move(error));
    }
    if (!address.input.get()) {
        removeElements(session.scene(), address.node.get());
        return session.scene().removeNode(address.node);
    }
    IInput* const owner = address.input->parent();
    if (owner) return owner->removeInput(indexIn(*owner, address.input.get()));
    return address.node->removeInput(indexIn(*address.node.get(), address.input.get()));
}

bool runMove(EditSession& session, const Edit& edit, EditFault& fault) {
    Address address;
    String error;
    u64 index = 0;
    if (!findAddress(session.scene(), edit.words[1].text, Append::Refused, address, error))
        return fault.at(1, std::move(error));
    if (!readCount(edit, 2, 0, index, fault)) return false;
    IInput* const array = address.input.get() ? address.input->parent() : nullptr;
    if (address.input.get() && (!array || array->type() != AttrType::Array))
        return fault.at(1, "'" + address.input.path() +
                               "' stays at its place: nodes and elements of arrays are moved.");
    const u64 count = array ? array->inputCount() : session.scene().nodeCount();
    if (index >= count)
        return fault.at(2, "no place " + edit.words[2].text + " among " + numberText(count) + ".");
    return array ? array->moveElement(indexIn(*array, address.input.get()), index)
                 : session.scene().moveNode(address.node, index);
}

using Kind = EditCommand::Kind;

constexpr std::array commands{
    EditCommand{"append", "ARRAY [VALUE...]", "Adds an element at the end of an array", Kind::Edits,
                &runAppend},
    EditCommand{"insert", "ARRAY INDEX [VALUE...]", "Adds an element before the one at a place",
                Kind::Edits, &runInsert},
    EditCommand{"move", "NODE|ELEMENT INDEX", "Moves a node, or an element, to a place from 0 on",
                Kind::Edits, &runMove},
    EditCommand{"remove", "NODE|INPUT", "Removes a node, input, element, member or output",
                Kind::Edits, &runRemove},
};

} // namespace

std::span<const EditCommand> elementCommands() {
    return commands;
}

} // namespace qv::kelvo_tool
