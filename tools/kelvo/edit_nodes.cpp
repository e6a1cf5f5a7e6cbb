// The commands that create, rename, convert, copy and nest nodes.
#include "tools/kelvo/edit_commands.h"

#include "kelvo/base/spelling_suggestion.h"
#include "tools/kelvo/address.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/message.h"
#include "tools/kelvo/node_conversion.h"
#include "tools/kelvo/value_setting.h"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::Node;
using kelvo_sdk::interfaces::INode;

String questionAboutType(const Libraries& libraries, const String& type) {
    StringVector known;
    for (const INode* candidate : libraries.types())
        known.push_back(candidate->type());
    SpellingSuggestion near(type.view());
    for (const String& candidate : known)
        near.offer(candidate.view());
    return near.question();
}

// Refuses a name in use rather than changing it, as later commands may refer to that name.
bool isFree(const EditSession& session, const Edit& edit, u64 word, const Node& self,
            EditFault& fault) {
    const String& name = edit.words[word].text;
    if (!name.isSimpleCID())
        return fault.at(word, "'" + name + "' is no name: expected letters, digits and '_'.");
    const Node other = session.scene().findNode(name);
    return !other.get() || other.get() == self.get() ||
           fault.at(word, "there is a node '" + other.name() + "' already.");
}

bool runNew(EditSession& session, const Edit& edit, EditFault& fault) {
    const String& type = edit.words[1].text;
    const Libraries* libraries = librariesInUse();
    if (!libraries) return fault.at(0, "the node libraries cannot be loaded.");
    if (!isFree(session, edit, 2, Node(), fault)) return false;
    const INode* known = libraries->lookUpType(type);
    if (known && known->isAbstract()) return fault.at(1, "type '" + type + "' is abstract.");
    if (!type.isSimpleCID())
        return fault.at(1, "'" + type + "' is no type: expected letters, digits and '_'.");
    if (!session.scene().createNode(type, edit.words[2].text).get()) return false;
    if (!known)
        warn("no library knows the type '" + type + "', so that '" + edit.words[2].text +
             "' is bare" + questionAboutType(*libraries, type));
    return true;
}

bool runRename(EditSession& session, const Edit& edit, EditFault& fault) {
    Node node;
    if (!findNodeOf(session, edit, 1, node, fault)) return false;
    if (!isFree(session, edit, 2, node, fault)) return false;
    return node.name() == edit.words[2].text ||
           session.scene().renameNode(node, edit.words[2].text);
}

// Refuses an input of the type in a scene read without types: the next read would add it again.
bool runRenameInput(EditSession& session, const Edit& edit, EditFault& fault) {
    Address address;
    String error;
    if (!findAddress(session.scene(), edit.words[1].text, Append::Refused, address, error))
        return fault.at(1, std::move(error));
    if (!address.input)
        return fault.at(1, "'" + edit.words[1].text + "' is a node: expected one of its inputs.");
    const Libraries* libraries = session.hasTypes() ? nullptr : librariesInUse();
    if (libraries && libraries->defines(*address.input))
        return fault.at(1, "'" + address.input.path() + "' comes with the type '" +
                               address.node.type() + "': only with --types is it renamed.");
    return address.input.rename(edit.words[2].text);
}

bool runConvert(EditSession& session, const Edit& edit, EditFault& fault) {
    Node node;
    if (!findNodeOf(session, edit, 1, node, fault)) return false;
    const String& type = edit.words[2].text;
    if (node.type() == type)
        return fault.at(2, "'" + node.name() + "' is of type '" + type + "' already.");
    const Libraries* libraries = librariesInUse();
    if (!libraries || !libraries->lookUpType(type))
        return fault.at(2, "no node type '" + type + "'" +
                               (libraries ? questionAboutType(*libraries, type) : String(".")));
    kelvo_sdk::ConversionLosses losses;
    // The library has logged why the type is refused.
    if (!convertNode(session.scene(), node, type, losses, fault.message)) return false;
    for (const kelvo_sdk::ConversionLoss& loss : losses)
        warn("'" + loss.path + "' " + loss.reason);
    return true;
}

bool runClone(EditSession& session, const Edit& edit, EditFault& fault) {
    Node node;
    if (!findNodeOf(session, edit, 1, node, fault)) return false;
    u64 nameWord = 0;
    bool isDeep = false;
    for (u64 word = 2; word < edit.words.size(); ++word) {
        if (edit.words[word].text == "--deep")
            isDeep = true;
        else if (nameWord != 0)
            return fault.at(word, "expected one name, and --deep.");
        else
            nameWord = word;
    }
    if (nameWord != 0 && !isFree(session, edit, nameWord, Node(), fault)) return false;
    const Node copy = node.clone(isDeep);
    if (!copy.get()) return false;
    if (nameWord != 0) return session.scene().renameNode(copy, edit.words[nameWord].text);
    if (session.isPrompt()) session.out().write(Tone::Name, copy.name().view()).endLine();
    return true;
}

bool findFamily(EditSession& session, const Edit& edit, Node& node, Node& parent,
                EditFault& fault) {
    return findNodeOf(session, edit, 1, node, fault) && findNodeOf(session, edit, 2, parent, fault);
}

std::vector<INode*> childrenOf(const INode& node) {
    static const String name("children");
    std::vector<INode*> children;
    const auto* list = node.hasInput(name, AttrType::Array) ? node.input(name) : nullptr;
    for (u64 i = 0; list && i < list->inputCount(); ++i) {
        INode* child = nullptr;
        if (list->input(i)->readNode(child, false, nullptr) && child) children.push_back(child);
    }
    return children;
}

// Returns the nodes from one down to another, each a child of the previous one; empty if there is
// no such chain. Works without recursion: a chain may be as long as the scene.
std::vector<INode*> wayDown(INode* from, const INode* to) {
    std::unordered_map<INode*, INode*> parents{{from, nullptr}};
    std::vector<INode*> left{from};
    while (!left.empty() && left.back() != to) {
        INode* const node = left.back();
        left.pop_back();
        for (INode* child : childrenOf(*node))
            if (parents.emplace(child, node).second) left.push_back(child);
    }
    std::vector<INode*> way;
    for (INode* node = left.empty() ? nullptr : left.back(); node; node = parents.at(node))
        way.push_back(node);
    std::ranges::reverse(way);
    return way;
}

// Refuses a cycle: a node must not be below itself.
bool isAbove(const Node& node, const Node& parent, EditFault& fault) {
    const std::vector<INode*> way = wayDown(node.get(), parent.get());
    if (way.empty()) return false;
    String cycle;
    for (const INode* step : way)
        cycle = cycle + step->name() + " -> ";
    fault.at(2, "this would close the cycle " + cycle + node.name() + ".");
    return true;
}

bool runParent(EditSession& session, const Edit& edit, EditFault& fault) {
    Node node;
    Node parent;
    if (!findFamily(session, edit, node, parent, fault)) return false;
    // Finds the children even when the text leaves them to the type.
    kelvo_sdk::Input children;
    String error;
    const bool isThere =
        reachInput(session.scene(), parent.name() + ".children", nullptr, children, error);
    if (!isThere || children.type() != AttrType::Array || children.elementType() != AttrType::Node)
        return fault.at(2, "'" + parent.name() + "' takes no children.");
    if (isAbove(node, parent, fault)) return false;
    const i64 place = node.indexIn(parent);
    const i64 last = static_cast<i64>(children.inputCount()) - 1;
    if (place < 0) return node.parentTo(parent);
    return place == last || children.moveElement(static_cast<u64>(place), static_cast<u64>(last));
}

bool runUnparent(EditSession& session, const Edit& edit, EditFault& fault) {
    Node node;
    Node parent;
    if (!findFamily(session, edit, node, parent, fault)) return false;
    return node.unparentFrom(parent) ||
           fault.at(1, "'" + node.name() + "' is no child of '" + parent.name() + "'.");
}

using Kind = EditCommand::Kind;

constexpr std::array commands{
    EditCommand{"new", "TYPE NAME", "Makes a node", Kind::Edits, &runNew},
    EditCommand{"rename", "NODE NAME", "Renames a node; what leads to it follows", Kind::Edits,
                &runRename},
    EditCommand{"rename-input", "INPUT NAME", "Renames an input or member; what names it follows",
                Kind::Edits, &runRenameInput},
    EditCommand{"convert", "NODE TYPE", "Gives a node another type, and tells what does not fit",
                Kind::Edits, &runConvert},
    EditCommand{"clone", "NODE [NAME] [--deep]", "Copies a node; --deep what it depends on as well",
                Kind::Edits, &runClone},
    EditCommand{"parent", "NODE PARENT", "Makes a node the last child of another", Kind::Edits,
                &runParent},
    EditCommand{"unparent", "NODE PARENT", "Empties the element of the children that leads to it",
                Kind::Edits, &runUnparent},
};

} // namespace

std::span<const EditCommand> nodeCommands() {
    return commands;
}

} // namespace qv::kelvo_tool
