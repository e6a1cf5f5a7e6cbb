// ---- Object ----------------------------------------------------------------------------
// An input borrows its node and its parent; both clear these pointers when they are destroyed or
// detach the input.

#include "kelvo/sdk/impl/graph/input.h"

#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input_changes.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/input_list.h"
#include "kelvo/sdk/impl/graph/input_walk.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/value/conversion.h"

#include "kelvo/base/localized.h"
#include "kelvo/base/string_io.h"

#include <algorithm>
#include <functional>
#include <new>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

AttrData describe(AttrType type, AttrType elementType) {
    AttrData data(type);
    data.elementType = elementType;
    return data;
}

String textIn(const AttrDetails::Texts& texts, String language) {
    ds::HashMap<String, String> table;
    for (const auto& [key, text] : texts)
        table.set(key, text);
    return os::localizedItem(table, std::move(language));
}

} // namespace

Input::Input(INode* node, IInput* parent, String name, AttrType type, AttrType elementType)
    : m_isHeldReadOnly(parent && parent->isReadOnly()),
      m_node(implOf(node)),
      m_parent(implOf(parent)),
      m_nameHash(isElement() ? 0 : name.foldedHash()),
      m_name(std::move(name)),
      m_value(Value::zero(type)) {
    setKinds(type, elementType);
}

Input::Input(INode* node, IInput* parent, String name, AttrData definition)
    : Input(node, parent, std::move(name), definition.type, definition.elementType) {
    setDeclaredType(definition.dataType);
    m_silent = definition.silent;
    m_readOnly = definition.readOnly;
    if (Value start = definition.startValue(); !start.isNull()) m_value = std::move(start);
    m_details = std::move(definition.details);
    if (type() == AttrType::Node && m_value.asNode()) linkTo(m_value.asNode());
}

RefersTo<Input> Input::showing(const Value& value) {
    auto input =
        RefersTo<Input>::adopt(new Input(nullptr, nullptr, "value", value.type(), AttrType::Null));
    input->m_value = value;
    return input;
}

Input::~Input() {
    untie();
    if (m_extras) endMembers();
}

// Destroys members without stack or memory: descends to the last member without other references,
// destroys it when it has no members left, and returns to its parent.
void Input::endMembers() noexcept {
    Input* parent = this;
    while (parent) {
        if (parent->members().empty()) {
            parent = parent != this ? parent->m_parent : nullptr;
            continue;
        }
        auto* last = implOf(parent->members().back());
        if (last->m_refCount.load() == 1 && !last->members().empty())
            parent = last;
        else
            parent->dropLastMember();
    }
}

// A member with other references lives on without a parent.
void Input::dropLastMember() noexcept {
    ds::Vector<IInput*>& list = m_extras->members;
    auto* last = implOf(list.back());
    list.pop_back();
    if (last->m_node) last->detach();
    last->m_parent = nullptr;
    last->decRef();
}

void Input::incRef() {
    m_refCount.fetch_add(1);
}

// If the caller has the only reference, no other thread can change the count.
void Input::decRef() {
    if (m_refCount.load() == 1 || m_refCount.fetch_sub(1) == 1) delete this;
}

InputExtras& Input::extras() {
    if (!m_extras) m_extras = std::make_unique<InputExtras>();
    return *m_extras;
}

namespace {

RareExtras& rareOf(InputExtras& extras) {
    if (!extras.rare) extras.rare = std::make_unique<RareExtras>();
    return *extras.rare;
}

} // namespace

void Input::setFarKinds(AttrType type, AttrType elementType) {
    if (m_type == farKind) rareOf(extras()).type = type;
    if (m_elementType == farKind) rareOf(extras()).elementType = elementType;
}

void Input::setDeclaredType(DataType type) {
    m_dataType = narrowed(type);
    if (m_dataType == farKind) rareOf(extras()).dataType = type;
}

AttrType Input::farType() const noexcept {
    return m_extras->rare->type;
}

AttrType Input::farElementType() const noexcept {
    return m_extras->rare->elementType;
}

DataType Input::farDataType() const noexcept {
    return m_extras->rare->dataType;
}

// Visits this input and all its parts, parents first, in order. Takes neither stack nor memory:
// each parent stores the position reached. For the editing thread only.
template<typename Visit>
void Input::forEachWithin(const Visit& visit) const noexcept {
    const auto enter = [&visit](Input& input) {
        visit(input);
        if (!input.members().empty()) input.m_extras->nextMember = 0;
    };
    auto* at = const_cast<Input*>(this);
    enter(*at);
    for (;;) {
        const ds::Vector<IInput*>& list = at->members();
        if (!list.empty() && at->m_extras->nextMember < list.size()) {
            at = implOf(list[at->m_extras->nextMember++]);
            enter(*at);
        } else {
            if (at == this) return;
            at = at->m_parent;
        }
    }
}

// New members take the mark over when they are made; existing ones get it here.
void Input::setReadOnly(bool readOnly) {
    m_readOnly = readOnly;
    forEachWithin([this](Input& input) {
        if (&input != this) input.m_isHeldReadOnly = input.m_parent->isReadOnly();
    });
    if (m_node) m_node->described();
}

void Input::setDetails(RefersTo<AttrDetails> details) noexcept {
    m_details = std::move(details);
    if (m_node) m_node->described();
}

bool Input::isElement() const noexcept {
    return m_parent && m_parent->type() == AttrType::Array;
}

IInput* Input::clone(INode* node, IInput* parent) const {
    RefersTo<Input> copy = cloneAlone(node, parent);
    if (members().empty()) return copy.detach();
    copy->extras().members.reserve(members().size());
    // The copies of the last input of the walk and of all inputs around it.
    std::vector<Input*> copies{copy.get()};
    InputWalk inside(members());
    while (const Input* from = inside.next()) {
        copies.resize(inside.depth() + 1);
        RefersTo<Input> member = from->cloneAlone(node, copies.back());
        if (!from->members().empty()) member->extras().members.reserve(from->members().size());
        copies.push_back(member.get());
        copies[inside.depth()]->adoptMember(std::move(member), {});
    }
    return copy.detach();
}

RefersTo<Input> Input::cloneAlone(INode* node, IInput* parent) const {
    auto copy = RefersTo<Input>::adopt(new Input(*this, node, parent));
    if (m_extras && m_extras->rare) copy->copyFarKinds(*m_extras->rare);
    if (INode* linked = linkedNode(*this); linked && !barBetween(node, linked)) {
        copy->linkTo(linked);
        copy->m_value = Value(linked);
    }
    if (const Value* kept = stashed()) copy->replaceStash(*kept, {});
    Output* source = sourceOutput();
    if (source && !barBetween(node, source->node())) copy->setSource(source);
    return copy;
}

// Copies all that is not in the extras, except for a link.
Input::Input(const Input& from, INode* node, IInput* parent)
    : m_type(from.m_type),
      m_elementType(from.m_elementType),
      m_dataType(from.m_dataType),
      m_silent(from.m_silent),
      m_readOnly(from.m_readOnly),
      m_isHeldReadOnly(parent && parent->isReadOnly()),
      m_isOmitted(from.m_isOmitted),
      m_node(implOf(node)),
      m_parent(implOf(parent)),
      m_nameHash(isElement() ? 0 : from.m_name.foldedHash()),
      m_name(from.m_name),
      m_value(linkedNode(from) ? Value(static_cast<INode*>(nullptr)) : from.m_value),
      m_details(from.m_details) {}

void Input::copyFarKinds(const RareExtras& from) {
    setFarKinds(from.type, from.elementType);
    if (m_dataType == farKind) rareOf(extras()).dataType = from.dataType;
}

AttrData Input::description() const {
    AttrData data = describe(type(), elementType());
    data.dataType = declaredType();
    data.silent = m_silent;
    data.readOnly = m_readOnly;
    data.value = m_value;
    data.details = m_details;
    return data;
}

String Input::name() const {
    if (!isElement()) return m_name;
    StringIO text;
    text.appendUInt(elementIndex());
    return text.take();
}

String Input::typeName() const {
    String kind(attrTypeName(type()));
    if (type() == AttrType::Array) return kind + "<" + attrTypeName(elementType()) + ">";
    if (type() == AttrType::Buffer) return kind + "<" + dataTypeName(dataType()) + ">";
    return kind;
}

INode* Input::node() const {
    return m_node;
}

String Input::path() const {
    ds::Vector<const Input*> steps;
    for (const Input* step = this; step; step = step->m_parent)
        steps.push_back(step);
    StringIO text;
    if (m_node) text.append(m_node->name().view());
    for (u64 i = steps.size(); i-- > 0;) {
        const Input& step = *steps[i];
        if (step.isElement()) {
            text.append('[').appendUInt(step.elementIndex()).append(']');
        } else {
            if (m_node || !text.isEmpty()) text.append('.');
            text.append(step.m_name.view());
        }
    }
    return text.take();
}

bool Input::hasDataType(DataType type) const {
    return this->type() == AttrType::Buffer && dataType() == type;
}

DataType Input::dataType() const {
    if (type() != AttrType::Buffer) return DataType::Null;
    const DataType declared = declaredType();
    return declared != DataType::Null ? declared : m_value.asBuffer().type();
}

bool Input::hasElementType(AttrType type) const {
    return this->type() == AttrType::Array && (type == AttrType::Null || elementType() == type);
}

String Input::unit() const {
    return details() ? details()->unit : String();
}

String Input::label(String language) const {
    String text = details() ? textIn(details()->labels, std::move(language)) : String();
    if (text.isEmpty()) text = name();
    return text.titleCased(true);
}

String Input::help(String language) const {
    return details() ? textIn(details()->helps, std::move(language)) : String();
}

const NameIndex<IInput>* Input::listIndex() const noexcept {
    return m_extras ? m_extras->listIndex.get() : nullptr;
}

std::unique_ptr<NameIndex<IInput>>& Input::listIndexPlace() {
    return extras().listIndex;
}

void Input::dropListIndex() noexcept {
    if (m_extras) m_extras->listIndex.reset();
}

void Input::takeListIndex(Input& first) noexcept {
    if (!first.listIndex()) return;
    // Usually the whole block can move, which needs no memory.
    if (!m_extras && first.m_extras->isIndexAlone()) {
        m_extras = std::move(first.m_extras);
        return;
    }
    try {
        extras().listIndex = std::move(first.m_extras->listIndex);
    } catch (const std::bad_alloc&) {
        first.dropListIndex();
    }
}

void Input::nodeDestroyed() {
    detach();
}

namespace {

u64 bytesAlone(const Input& input) noexcept {
    u64 bytes = sizeof(Input) + input.ownName().size() + input.value().payloadBytes();
    if (!input.ownExtras()) return bytes;
    bytes += sizeof(InputExtras) + input.members().size() * sizeof(IInput*);
    if (const Value* kept = input.stashed()) bytes += sizeof(Value) + kept->payloadBytes();
    return bytes;
}

} // namespace

u64 Input::ownBytes() const {
    u64 bytes = 0;
    forEachWithin([&bytes](const Input& input) { bytes += bytesAlone(input); });
    return bytes;
}

void Input::leaveOwner(Only<Departure<Input>> /*key*/) noexcept {
    detach();
    m_parent = nullptr;
}

void Input::showOwnValues(Only<Input, InputListChange, Node> /*key*/) noexcept {
    forEachWithin([](Input& input) {
        if (input.isModified()) input.takeStashedBack({});
    });
}

// Detaches the input and its parts from node, sources and links without notifications.
void Input::detach() noexcept {
    if (members().empty()) return untie();
    forEachWithin([](Input& input) { input.untie(); });
}

void Input::untie() noexcept {
    const Node* node = std::exchange(m_node, nullptr);
    if (!m_extras) return;
    if (m_extras->source) setSource(nullptr);
    if (m_extras->link.table) {
        linkEnds(node, m_extras->link.target);
        m_extras->link.table->remove(m_extras->link);
        m_value = Value(static_cast<INode*>(nullptr));
    }
    if (m_extras->stash && m_extras->stash->link.table) dropStash();
}

void Input::setNodeOfAll(Node* node) noexcept {
    forEachWithin([node](Input& input) {
        input.m_node = node;
        tiesChanged(input);
    });
}

} // namespace qv::kelvo_sdk::impl
