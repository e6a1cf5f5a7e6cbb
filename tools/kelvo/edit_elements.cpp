// The commands about elements of arrays, and those that move and remove anything.
#include "tools/kelvo/edit_commands.h"

#include "tools/kelvo/address.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::Input;

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
    const Input element = array.insert(index);
    return element.get() && (!edit.has(3) || assignFrom(session, edit, 3, element, fault));
}

u64 placeIn(const ds::Vector<Input>& list, const Input& input) {
    return static_cast<u64>(std::ranges::find(list, input) - list.begin());
}

bool removeOutput(const Address& owner, const String& name) {
    return !owner.input && owner.node.hasOutput(name) && owner.node.removeOutput(name);
}

// Removing a node empties all that links to it. In lists of nodes nothing is to be left of it.
void removeElements(const kelvo_sdk::Scene& scene, const kelvo_sdk::Node& node) {
    for (const kelvo_sdk::Node& owner : scene.nodes())
        for (const char* name : {"children", "modifiers"}) {
            if (!owner.hasInput(name, AttrType::Array)) continue;
            const Input list = owner[name];
            for (u64 element = list.inputCount(); element-- > 0;)
                if (list.input(element).asNode(false) == node) list.removeInput(element);
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
        removeElements(session.scene(), address.node);
        return session.scene().removeNode(address.node);
    }
    const Input holder = address.input.parent();
    if (holder) return holder.removeInput(placeIn(holder.inputs(), address.input));
    return address.node.removeInput(placeIn(address.node.inputs(), address.input));
}

bool runMove(EditSession& session, const Edit& edit, EditFault& fault) {
    Address address;
    String error;
    u64 index = 0;
    if (!findAddress(session.scene(), edit.words[1].text, Append::Refused, address, error))
        return fault.at(1, std::move(error));
    if (!readCount(edit, 2, 0, index, fault)) return false;
    const Input array = address.input.parent();
    if (address.input && array.type() != AttrType::Array)
        return fault.at(1, "'" + address.input.path() +
                               "' stays at its place: nodes and elements of arrays are moved.");
    const u64 count = array ? array.inputCount() : session.scene().nodeCount();
    if (index >= count)
        return fault.at(2, "no place " + edit.words[2].text + " among " + numberText(count) + ".");
    return array ? array.moveElement(placeIn(array.inputs(), address.input), index)
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
