// ---- Container -------------------------------------------------------------------------
// An array creates elements of its element kind only, each named by the next index. In an array of
// arrays, `createArray` sets the element kind of each. Read-only inputs, and all inputs in them,
// refuse to gain or lose elements and members.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"

#include "kelvo/sdk/impl/graph/departure.h"
#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/first_modifier.h"
#include "kelvo/sdk/impl/graph/input_changes.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/input_list.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/refusals.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"

#include "kelvo/base/log.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <new>
#include <tuple>

namespace qv::kelvo_sdk::impl {

namespace {

// Reads an element's name: its decimal index without leading zeros.
bool indexFromName(std::string_view text, u64& out) noexcept {
    if (text.empty() || (text.size() > 1 && text[0] == '0')) return false;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), out);
    return error == std::errc() && end == text.data() + text.size();
}

// From this length on, edits near the front are worth the memory that avoids renumbering the rest.
constexpr u64 kLongArray = 64;

// Reserves memory for moving elements at either end; false when there is none.
bool hasRoom(ds::Vector<IInput*>& list) noexcept {
    const u64 needed = list.size() + kLongArray;
    try {
        if (list.capacity() < needed) list.reserve(needed + list.size());
    } catch (const std::bad_alloc&) {
    }
    return list.capacity() >= needed;
}

// Tells whether a move goes from one half of a long list to the other, so that removing and
// inserting the element is cheaper.
bool isLongWay(ds::Vector<IInput*>& list, u64 from, u64 to) noexcept {
    const u64 distance = from < to ? to - from : from - to;
    return list.size() >= kLongArray && distance >= list.size() / 2 && hasRoom(list);
}

} // namespace

void Input::adoptMember(RefersTo<Input> member, Only<Input, SceneBuilder> /*key*/) {
    ds::Vector<IInput*>& list = extras().members;
    if (isArray()) {
        member->m_number = firstNumber() + list.size();
        list.push_back(member.get());
    } else {
        appendToList(list, member.get());
    }
    std::ignore = member.detach();
}

void Input::reserveMembers(u64 count, Only<SceneBuilder> /*key*/) {
    extras().members.reserve(count);
}

IInput* Input::addMember(Input* member) {
    return addAndTell(RefersTo<Input>::adopt(member), members().size());
}

// Returns null when observers removed the member or the node. Their edits belong to the step, and
// the end of the step notifies too.
IInput* Input::addAndTell(RefersTo<Input> member, u64 index) {
    if (!member->m_silent && member->isUnnotified()) {
        Input* const made = member.get();
        putMember(std::move(member), index, {});
        changedUnnotified();
        return made;
    }
    const bool isHeld = m_node && mayCallBack(*m_node);
    const RefersTo<Input> self(isHeld ? this : nullptr);
    const RefersTo<Node> node(isHeld ? m_node : nullptr);
    {
        FirstModifier first(*this);
        EditStep step(m_node);
        first.useKeptValues();
        step.prepare<InputListChange>(*member, this, index, true);
        expectNotification(m_node, static_cast<const IInput*>(member.get()));
        putMember(member, index, {});
        step.commit();
        if (m_node) m_node->onInputAdded(member.get());
        first.release();
    }
    if (!isHeld) return member.get();
    const bool isThere = member->m_parent == this && m_node == node.get();
    return isThere && !node->isLastReference() ? member.get() : nullptr;
}

namespace {

// Tells whether parts may be added, removed or moved; logs why not.
bool mayHoldOthers(const Input& input) {
    if (!input.isReadOnly()) return true;
    logWarning("%s", changeRefusal(input).buf());
    return false;
}

} // namespace

IInput* Input::createInput(String name, AttrType type) {
    return createChecked(std::move(name), AttrData(type));
}

IInput* Input::createArray(String name, AttrType elementType) {
    AttrData definition(AttrType::Array);
    definition.elementType = elementType;
    return createChecked(std::move(name), std::move(definition));
}

IInput* Input::createBuffer(String name, DataType elementType) {
    AttrData definition(AttrType::Buffer);
    definition.dataType = elementType;
    return createChecked(std::move(name), std::move(definition));
}

// Returning an existing member changes nothing, so it is allowed in read-only inputs.
IInput* Input::createChecked(String name, AttrData definition) {
    const bool isNew = (isArray() || isObject()) && !lookUpInput(name);
    if (isNew && !mayHoldOthers(*this)) return nullptr;
    return createInput(std::move(name), std::move(definition));
}

IInput* Input::createInput(String name, AttrData definition) {
    if (isArray()) return createElement(name, definition);
    if (isObject()) return createMember(std::move(name), std::move(definition));
    logError("Cannot create input '%s' in input '%s' (%s): it holds no inputs.", name.buf(),
             path().buf(), typeName().buf());
    return nullptr;
}

// Returns an existing element; makes only the next one.
IInput* Input::createElement(const String& name, const AttrData& definition) {
    u64 index = 0;
    if (definition.type != elementType() || !indexFromName(name, index) ||
        index > members().size()) {
        logError("Cannot create %s element '%s' in input '%s' (%s, %llu elements).",
                 attrTypeName(definition.type), name.buf(), path().buf(), typeName().buf(),
                 static_cast<unsigned long long>(members().size()));
        return nullptr;
    }
    if (index < members().size()) return members()[index];
    return addElement(index, definition.elementType);
}

IInput* Input::createMember(String name, AttrData definition) {
    if (!name.isSimpleCID()) {
        logError("Cannot create illegally-named member '%s' in input '%s'.", name.buf(),
                 path().buf());
        return nullptr;
    }
    if (IInput* existing = lookUpInput(name)) {
        if (existing->type() == definition.type &&
            existing->elementType() == definition.elementType)
            return existing;
        logWarning("Cannot re-create %s input %s as %s.", existing->typeName().buf(),
                   existing->path().buf(), attrTypeName(definition.type));
        return existing;
    }
    definition.silent = definition.silent || m_silent;
    return addMember(new Input(m_node, this, std::move(name), std::move(definition)));
}

IInput* Input::addElement(u64 index, AttrType elementElementType) {
    auto element = RefersTo<Input>::adopt(
        new Input(m_node, this, String(), elementType(), elementElementType));
    element->setDeclaredType(declaredType());
    element->m_silent = m_silent;
    return addAndTell(std::move(element), index);
}

IInput* Input::appendElement() {
    if (!isArray() || !mayHoldOthers(*this)) return nullptr;
    return addElement(members().size(), AttrType::Null);
}

IInput* Input::insertElement(u64 index) {
    if (!isArray() || index > members().size() || !mayHoldOthers(*this)) return nullptr;
    return addElement(index, AttrType::Null);
}

bool Input::moveElement(u64 from, u64 to) {
    if (!isArray() || from >= members().size() || to >= members().size()) return false;
    if (from == to) return true;
    if (!mayHoldOthers(*this)) return false;
    EditStep step(m_node);
    step.prepare<ElementMove>(*this, from, to);
    expectNotification(m_node, static_cast<const IInput*>(this));
    step.commit();
    moveMember(from, to, {});
    return true;
}

void Input::moveMember(u64 from, u64 to, Only<ElementMove, Input> /*key*/) {
    ds::Vector<IInput*>& list = m_extras->members;
    if (isLongWay(list, from, to)) {
        IInput* const moved = list.extract(from);
        renumber(from, false);
        list.insert(to, moved);
        renumber(to, true);
    } else {
        const auto at = [&](u64 place) { return list.begin() + place; };
        if (from < to)
            std::rotate(at(from), at(from + 1), at(to + 1));
        else
            std::rotate(at(to), at(from), at(from + 1));
        number(std::min(from, to), std::max(from, to) + 1);
    }
    dropHash();
    leadsChanged();
    changed(Value());
}

void Input::putMember(RefersTo<Input> member, u64 index, Only<Input, InputListChange> /*key*/) {
    dropHash();
    leadsChanged();
    ds::Vector<IInput*>& list = extras().members;
    if (isArray())
        list.insert(index, member.get());
    else
        insertIntoList(list, index, member.get());
    std::ignore = member.detach();
    if (isArray()) renumber(index, true);
}

void Input::takeMember(Input* member, Only<Input, InputListChange> /*key*/) {
    dropHash();
    leadsChanged();
    ds::Vector<IInput*>& list = m_extras->members;
    if (!isArray()) return removeFromList(list, indexInList<IInput>(list, member));
    const u64 index = member->elementIndex();
    list.remove(index);
    renumber(index, false);
    member->m_number = index;
}

u64 Input::firstNumber() const noexcept {
    return m_extras && m_extras->rare ? m_extras->rare->firstNumber : 0;
}

u64 Input::elementIndex() const noexcept {
    const u64 first = m_parent->firstNumber();
    if (first == 0) return m_number;
    const u64 place = m_number - first;
    const ds::Vector<IInput*>& list = m_parent->members();
    return place < list.size() && list[place] == this ? place : m_number;
}

// Call after an element was inserted or removed: renumbers the elements in front of the position or
// those behind it, whichever are fewer.
void Input::renumber(u64 place, bool cameIn) noexcept {
    const u64 count = members().size();
    if (count >= kLongArray && place < count / 2 && shiftNumbers(cameIn))
        number(0, cameIn ? place + 1 : place);
    else
        number(place, count);
}

// Lets the elements behind keep their numbers. Without memory, does nothing and returns false.
bool Input::shiftNumbers(bool cameIn) noexcept {
    try {
        auto& rare = m_extras->rare;
        if (!rare) rare = std::make_unique<RareExtras>();
        cameIn ? --rare->firstNumber : ++rare->firstNumber;
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void Input::number(u64 from, u64 end) noexcept {
    const ds::Vector<IInput*>& list = members();
    const u64 first = firstNumber();
    for (u64 i = from; i < end; ++i)
        implOf(list[i])->m_number = first + i;
}

u64 Input::placeInList() const noexcept {
    if (isElement()) return elementIndex();
    return indexInList<IInput>(m_parent ? m_parent->members() : m_node->inputs(), this);
}

bool Input::hasInput(u64 index, AttrType type) const {
    if (index >= members().size()) return false;
    return type == AttrType::Null || members()[index]->type() == type;
}

bool Input::hasInput(String name, AttrType type) const {
    const IInput* member = lookUpInput(name);
    return member && (type == AttrType::Null || member->type() == type);
}

u64 Input::inputCount() const {
    return members().size();
}

IInput* Input::input(u64 index) {
    return static_cast<const Input*>(this)->input(index);
}

IInput* Input::input(u64 index) const {
    if (index < members().size()) return members()[index];
    logError("Input index %llu out of range (%llu) for input '%s'.",
             static_cast<unsigned long long>(index),
             static_cast<unsigned long long>(members().size()), path().buf());
    return nullptr;
}

IInput* Input::input(String path) {
    return static_cast<const Input*>(this)->input(std::move(path));
}

IInput* Input::input(String path) const {
    return findInputByName(path);
}

IInput* Input::findInputByName(const NameView& name) const {
    IInput* member = lookUpInput(name);
    if (!member)
        logError("Input '%s' not found in input '%s'.", String(name.text()).buf(), path().buf());
    return member;
}

IInput* Input::lookUpInput(const NameView& name) const noexcept {
    if (!isArray()) return findInList(members(), name);
    u64 index = 0;
    return indexFromName(name.text(), index) && index < members().size() ? members()[index]
                                                                         : nullptr;
}

bool Input::removeInput(u64 index) {
    IInput* member = input(index);
    return member && mayHoldOthers(*this) && removeFound(member);
}

bool Input::removeInput(String name) {
    IInput* member = input(std::move(name));
    return member && mayHoldOthers(*this) && removeFound(member);
}

bool Input::removeLastInput() {
    return !members().empty() && mayHoldOthers(*this) && removeFound(members().back());
}

// Removes a member from the list, but detaches it only after the notifications, so that observers
// can still read it. Calls `placeOf()` if the removal is recorded.
template<typename PlaceOf>
void Input::takeOff(Input& removed, bool recordsTies, const PlaceOf& placeOf) {
    const RefersTo<Node> held(m_node);
    EditStep step(held.get());
    Departure departing(removed);
    expectNotification(held.get(), static_cast<const IInput*>(&removed));
    if (step.isRecording()) {
        auto* change = step.prepare<InputListChange>(removed, this, placeOf(), false);
        change->takeComments(step.scene().comments());
    }
    departing.dropComments();
    takeMember(&removed, {});
    step.commit();
    departing.offList();
    if (recordsTies) removed.recordTies({});
    removed.showOwnValues({});
    departing.begin();
    if (held) held->onInputRemoved(&removed);
}

// Removes the last member first, so that the others keep their names. All connections end together,
// so they are recorded together: undo restores each at its position among the targets of an output.
bool Input::clearInputs() {
    if (!members().empty() && !mayHoldOthers(*this)) return false;
    const RefersTo<Input> self(this);
    DeferredNotifications deferred;
    const EditStep step(m_node);
    recordTies({});
    while (!members().empty())
        takeOff(implOf(*members().back()), false, [this] { return members().size() - 1; });
    deferred.release();
    return members().empty();
}

bool Input::removeFound(IInput* member) {
    auto* removed = implOf(member);
    takeOff(*removed, true,
            [&] { return isArray() ? removed->elementIndex() : indexInList(members(), member); });
    return true;
}

} // namespace qv::kelvo_sdk::impl
