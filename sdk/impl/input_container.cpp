#include "sdk/impl/input.h"

#include "sdk/impl/departure.h"
#include "sdk/impl/edit_step.h"
#include "sdk/impl/input_changes.h"
#include "sdk/impl/input_extras.h"
#include "sdk/impl/input_list.h"
#include "sdk/impl/news_hold.h"
#include "sdk/impl/node.h"

#include "base/log.h"

#include <algorithm>
#include <charconv>
#include <tuple>

namespace qv::kelvo_sdk::impl {

namespace {

// Reads an element's name: its decimal index, in the one way that it is written.
bool indexFromName(const String& name, u64& out) noexcept {
    const std::string_view text = name.view();
    if (text.empty() || (text.size() > 1 && text[0] == '0')) return false;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), out);
    return error == std::errc() && end == text.data() + text.size();
}

} // namespace

// Takes over the reference on the member and keeps its place in order.
void Input::adoptMember(Input* member) {
    auto held = RefersTo<Input>::adopt(member);
    ds::Vector<IInput*>& list = extras().members;
    if (isArray()) {
        member->m_index = list.size();
        list.push_back(member);
    } else {
        appendToList(list, member);
    }
    std::ignore = held.detach();
    dropHash();
}

IInput* Input::addMember(Input* member) {
    return addAndTell(RefersTo<Input>::adopt(member), members().size());
}

// Observers of the member may take it away, or the whole node: then there is none. Their edits
// belong to the step, whose end is told too.
IInput* Input::addAndTell(const RefersTo<Input>& member, u64 index) {
    const RefersTo<Input> self(this);
    const RefersTo<Node> node(m_node);
    {
        EditStep step(m_node);
        step.prepare<InputListChange>(*member, m_node, this, index, true);
        expectNews(m_node, static_cast<const IInput*>(member.get()));
        putMember(member.get(), index);
        member->incRef();
        step.commit();
        if (node) node->onInputAdded(member.get());
    }
    const bool isThere = member->m_parent == this && m_node == node.get();
    return isThere && !(node && node->isLastReference()) ? member.get() : nullptr;
}

IInput* Input::createInput(String name, AttrType type) {
    return createInput(std::move(name), AttrData(type));
}

IInput* Input::createArray(String name, AttrType elementType) {
    AttrData definition(AttrType::Array);
    definition.elementType = elementType;
    return createInput(std::move(name), std::move(definition));
}

IInput* Input::createInput(String name, AttrData definition) {
    if (isArray()) return createElement(name, definition);
    if (isObject()) return createMember(std::move(name), std::move(definition));
    logError("Cannot create input '%s' in input '%s' (%s): it holds no inputs.", name.buf(),
             path().buf(), typeName().buf());
    return nullptr;
}

// An element that exists is given as it is; only the next one is made.
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
    element->m_dataType = m_dataType;
    element->m_silent = m_silent;
    return addAndTell(element, index);
}

IInput* Input::appendElement() {
    return isArray() ? addElement(members().size(), AttrType::Null) : nullptr;
}

IInput* Input::insertElement(u64 index) {
    if (!isArray() || index > members().size()) return nullptr;
    return addElement(index, AttrType::Null);
}

bool Input::moveElement(u64 from, u64 to) {
    if (!isArray() || from >= members().size() || to >= members().size()) return false;
    if (from == to) return true;
    EditStep step(m_node);
    step.prepare<ElementMove>(*this, from, to);
    expectNews(m_node, static_cast<const IInput*>(this));
    step.commit();
    moveMember(from, to);
    return true;
}

void Input::moveMember(u64 from, u64 to) {
    ds::Vector<IInput*>& list = m_extras->members;
    list.insert(to, list.extract(from));
    renumber(std::min(from, to));
    changed(Value());
}

void Input::putMember(Input* member, u64 index) {
    dropHash();
    ds::Vector<IInput*>& list = extras().members;
    if (!isArray() && index == list.size()) return appendToList(list, member);
    if (!isArray()) return insertIntoList(list, index, member);
    list.insert(index, member);
    renumber(index);
}

void Input::takeMember(Input* member) {
    dropHash();
    if (!isArray()) {
        removeFromList(m_extras->members, member);
        return;
    }
    const u64 index = member->m_index;
    std::ignore = m_extras->members.extract(index);
    renumber(index);
}

void Input::renumber(u64 from) noexcept {
    const ds::Vector<IInput*>& list = members();
    for (u64 i = from; i < list.size(); ++i)
        static_cast<Input*>(list[i])->m_index = i;
}

u64 Input::placeInList() const noexcept {
    if (isElement()) return m_index;
    return indexInList(m_parent ? m_parent->members() : m_node->inputs(), this);
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
    IInput* member = lookUpInput(path);
    if (!member) logError("Input '%s' not found in input '%s'.", path.buf(), this->path().buf());
    return member;
}

IInput* Input::lookUpInput(const String& name) const noexcept {
    if (!isArray()) return findInList(members(), name);
    u64 index = 0;
    return indexFromName(name, index) && index < members().size() ? members()[index] : nullptr;
}

bool Input::removeInput(u64 index) {
    IInput* member = input(index);
    return member && removeFound(member);
}

bool Input::removeInput(String name) {
    IInput* member = input(std::move(name));
    return member && removeFound(member);
}

bool Input::removeLastInput() {
    return !members().empty() && removeFound(members().back());
}

// Last to first, so that what is left keeps its names.
bool Input::clearInputs() {
    const RefersTo<Input> self(this);
    NewsHold news;
    const EditStep step(m_node);
    while (!members().empty())
        removeFound(members().back());
    news.release();
    return members().empty();
}

// Lets go of the member after everyone was told, so that it can still be read.
bool Input::removeFound(IInput* member) {
    auto* removed = static_cast<Input*>(member);
    const RefersTo<Node> held(m_node);
    EditStep step(m_node);
    Departure departing(*removed);
    expectNews(m_node, static_cast<const IInput*>(member));
    if (step.isRecording()) {
        const u64 index = isArray() ? removed->m_index : indexInList(members(), member);
        auto* change = step.prepare<InputListChange>(*removed, m_node, this, index, false);
        change->takeComments(step.scene().comments());
    }
    departing.dropComments();
    takeMember(removed);
    step.commit();
    departing.offList();
    removed->recordTies();
    departing.begin();
    if (held) held->onInputRemoved(member);
    return true;
}

} // namespace qv::kelvo_sdk::impl
