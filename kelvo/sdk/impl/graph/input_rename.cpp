// ---- Renaming --------------------------------------------------------------------------
// Renaming an input updates everything that refers to it by name, as one change.

#include "kelvo/sdk/impl/graph/input.h"

#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/first_modifier.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/input_list.h"
#include "kelvo/sdk/impl/graph/input_rename.h"
#include "kelvo/sdk/impl/graph/layout.h"
#include "kelvo/sdk/impl/graph/modifier_list.h"
#include "kelvo/sdk/impl/graph/modifier_names.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/refusals.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"
#include "kelvo/sdk/input.h"

#include "kelvo/base/log.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

// Returns the list that contains an input; needs an input with a parent or a node.
const ds::Vector<IInput*>& listOf(const Input& input) {
    const auto* parent = implOf(input.parent());
    return parent ? parent->members() : implOf(*input.node()).inputs();
}

// Tells whether the list of an input's owner contains it, and that of each parent. During a removal
// an input keeps its node until all observers were notified, but it is in no list any more.
bool isHeld(const Input& input) {
    const auto* at = &input;
    for (; at; at = implOf(at->parent()))
        if (!listOf(*at).contains(const_cast<Input*>(at))) return false;
    return true;
}

// Returns another input of the same list that is found by a name, null when there is none.
const Input* namesakeOf(const Input& input, const String& name) {
    const auto* found = implOf(findInList(listOf(input), name));
    return found != &input ? found : nullptr;
}

// Layouts refer to the first input of a name, so other inputs do not change the layout.
InputNaming namingOf(const Input& input, const String& name) {
    InputNaming naming{name, {}, {}, {}};
    const auto& node = implOf(*input.node());
    if (auto* scene = implOf(node.liveScene()))
        naming.lines = scene->comments().linesBefore(&input);
    const auto* layout = dynamic_cast<const Layout*>(node.layout());
    if (!layout || input.parent() || node.lookUpInput(input.ownName()) != &input) return naming;
    naming.otherLayout = layout->withRenamed(input.ownName(), name);
    if (naming.otherLayout) naming.layout = RefersTo<interfaces::ILayout>(node.layout());
    return naming;
}

// Returns the reason why a list of a modifier cannot be updated, null when it can.
const char* bar(const ModifierNames& list) {
    if (list.input->isReadOnly()) return "is read-only";
    const AttrDetails* details = list.input->details();
    return details && !details->accepts(Value(list.names)) ? "does not take the new name" : nullptr;
}

} // namespace

String renameRefusal(const Input& input, const String& name) {
    const String start = "Cannot rename input '" + input.path() + "' to '" + name + "': ";
    const auto* node = implOf(input.node());
    const auto* parent = implOf(input.parent());
    if (!node || node->isEnding() || !isHeld(input)) return start + "it belongs to no node.";
    if (input.isElement()) return start + "an element is named by its place.";
    if (!name.isSimpleCID()) return start + "that is no simple identifier.";
    if (parent && parent->isReadOnly()) return start + "'" + parent->path() + "' is read-only.";
    if (const Input* other = namesakeOf(input, name))
        return start + "there is an input '" + other->path() + "' already.";
    for (const ModifierNames& list : modifierNamesAfter(input, name))
        if (const char* reason = bar(list))
            return start + "'" + list.input->path() + "' names it and " + reason + ".";
    return {};
}

// All notifications come at the end, so modifiers run only when the renaming is complete.
bool Input::rename(String name) {
    if (m_node && m_name.equals(name) && !isElement()) return true;
    if (const String refusal = renameRefusal(*this, name); !refusal.isEmpty()) {
        logError("%s", refusal.buf());
        return false;
    }
    const RefersTo<Input> self(this);
    const RefersTo<Node> node(m_node);
    const std::vector<ModifierNames> lists = modifierNamesAfter(*this, name);
    InputNaming naming = namingOf(*this, name);
    FirstModifier first(*this, name);
    DeferredNotifications deferred;
    EditStep step(m_node);
    first.useKeptValues();
    step.prepare<InputRename>(*this, naming);
    expectNotification(m_node, static_cast<const IInput*>(this));
    step.commit();
    exchangeName(naming, {});
    for (const ModifierNames& list : lists)
        list.input->setString(list.names);
    deferred.release();
    first.release();
    return true;
}

void Input::exchangeName(InputNaming& other, Only<Input, InputRename> /*key*/) {
    const auto& list = listOf(*this);
    const u64 place = placeInList();
    leaveNames(list, place);
    std::swap(m_name, other.name);
    m_nameHash = m_name.foldedHash();
    joinNames(list, place);
    leadsChanged();
    if (m_parent) m_parent->dropHash();
    if (other.layout && m_node->layout() == other.layout.get())
        m_node->setLayout(other.otherLayout.get());
    other.layout.swap(other.otherLayout);
    if (auto* scene = implOf(m_node->liveScene()))
        scene->comments().renamed(this, other.name, other.lines);
    m_node->onInputRenamed(this, other.name);
}

InputRename::InputRename(Input& input, const InputNaming& naming)
    : InputChange(input),
      m_other{input.ownName(), naming.otherLayout, naming.layout, naming.lines},
      m_before(input.ownName()),
      m_after(naming.name) {}

// Skips the swap when the input left its node through a handle, or when an observer of another undo
// gave the name to another input. Swapping back skips it too.
void InputRename::swap(Scene& scene) {
    if (std::exchange(m_isPassedOver, false)) return;
    const bool isThere = input().node() == node() && isHeld(input());
    m_isPassedOver = !isThere || (input().parent() && namesakeOf(input(), m_other.name));
    if (m_isPassedOver) return;
    input().exchangeName(m_other, {});
    if (!modifierListOf(*node())) scene.lastModifierLeft(*node());
}

u64 InputRename::bytes() const {
    return sizeof(*this) + m_before.size() + m_after.size() + m_other.lines.size() * sizeof(u64);
}

String InputRename::text() const {
    const String path = subject();
    const String holder = path.substr(0, path.size() - input().ownName().size());
    return "Rename input '" + holder + m_before + "' to '" + m_after + "'";
}

} // namespace qv::kelvo_sdk::impl
