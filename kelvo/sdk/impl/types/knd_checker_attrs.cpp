// Checks the attributes of a type against inherited attributes, and the pages that show them.

#include "kelvo/sdk/impl/types/knd_checker.h"

#include "kelvo/base/spelling_suggestion.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/types/knd_definition.h"

namespace qv::kelvo_sdk::impl {

namespace {

constexpr u64 kFreelyInherited = 20'000;

u32 sizeOf(const Input& input) {
    u32 size = 1;
    for (u64 i = 0; i < input.inputCount(); ++i)
        size += sizeOf(implOf(*input.input(i)));
    return size;
}

// Counts pages, groups and their labels.
template<typename Pages>
u64 sizeOf(const Pages& pages) {
    u64 size = 0;
    for (const auto& page : pages) {
        size += 1 + page.labels.size() + page.groups.size();
        for (const auto& group : page.groups)
            size += group.labels.size();
    }
    return size;
}

} // namespace

void KndChecker::checkType(u32 type) {
    m_pages[type] = sizeOf(m_tree.types[type].pages);
    m_inherited += inheritedPages(type);
    if (!takeBases(type)) return;
    Attrs& attrs = m_attrs[type];
    const std::vector<Type>& bases = m_bases[type];
    startList();
    for (u64 i = 0; i < bases.size(); ++i)
        if (!bases[i].isNone())
            inherit(type, i, attrsOf(bases[i]).outputs, attrs.outputs, "output");
    addOwnOutputs(type, attrs.outputs);
    startList();
    for (u64 i = 0; i < bases.size(); ++i)
        if (!bases[i].isNone()) inherit(type, i, attrsOf(bases[i]).inputs, attrs.inputs, "input");
    addOwnInputs(type, attrs.inputs);
    attrs.size = attrs.outputs.size();
    for (const Attr& input : attrs.inputs)
        attrs.size += input.size;
    checkPages(type);
}

// Adds up what the type inherits; false when that is too much, which is reported once.
bool KndChecker::takeBases(u32 type) {
    for (const Type& base : m_bases[type]) {
        if (base.known) addKnown(*base.known);
        if (!base.isNone()) m_inherited += attrsOf(base).size;
    }
    const u64 most = kFreelyInherited + m_text.size() / 4;
    if (m_inherited <= most) return true;
    m_isTooLarge = true;
    fail(m_tree.nodes[type].offset, type,
         String::format("The types get more than %llu attributes and groups from their bases.",
                        static_cast<unsigned long long>(most)));
    return false;
}

// Returns the size of the pages that are copied for a type. A type with one base and no own pages
// shares the pages of the base and copies none.
u64 KndChecker::inheritedPages(u32 type) {
    const std::vector<Type> bases = allBases(type);
    if (m_tree.types[type].pages.empty() && m_bases[type].size() < 2) return 0;
    u64 size = 0;
    for (const Type& base : bases)
        size += ownPages(base);
    return size;
}

u64 KndChecker::ownPages(const Type& type) {
    if (!type.known) return m_pages[type.tree];
    const auto [place, isNew] = m_knownPages.try_emplace(type.known);
    if (isNew && type.known->pages) place->second = sizeOf(type.known->pages->pages());
    return place->second;
}

void KndChecker::addKnown(const KndDefinition& known) {
    const auto [place, isNew] = m_knownAttrs.try_emplace(&known);
    if (!isNew) return;
    Attrs& attrs = place->second;
    const Node& node = *known.prototype;
    const auto attr = [&](const String& name, const KndDefinition::Place& where) {
        return Attr{.name = m_tree.names.add(name.view()),
                    .owner = {.known = where.owner},
                    .place = where.line};
    };
    for (u64 i = 0; i < known.inputs.size(); ++i) {
        const auto& input = implOf(*node.inputs()[i]);
        attrs.inputs.push_back(attr(input.ownName(), known.inputs[i]));
        attrs.inputs.back().size = sizeOf(input);
        attrs.size += attrs.inputs.back().size;
    }
    for (u64 i = 0; i < known.outputs.size(); ++i)
        attrs.outputs.push_back(attr(implOf(node.outputs()[i])->ownName(), known.outputs[i]));
    attrs.size += attrs.outputs.size();
}

// Adds the attributes of a base. An attribute that two bases have from the same type counts once;
// only the first conflict is reported.
void KndChecker::inherit(u32 type, u64 base, const std::vector<Attr>& from, std::vector<Attr>& to,
                         const char* what) {
    bool isTold = false;
    for (const Attr& attr : from) {
        const u64 met = meet(attr.name, to.size());
        if (met == noIndex) {
            to.push_back(attr);
            continue;
        }
        const Attr& other = to[met];
        if (other.owner == attr.owner || isTold) continue;
        isTold = true;
        const String where = placeOf(other);
        const String also = placeOf(attr);
        fail(m_tree.types[type].bases[base].offset, type,
             String::format("The bases give two %ss '%s': that of '%s' (%s) and that of '%s' (%s).",
                            what, m_tree.names.text(attr.name).buf(), nameOf(other.owner).buf(),
                            where.buf(), nameOf(attr.owner).buf(), also.buf()));
    }
}

// A bound buffer must start with elements of the bound type.
void KndChecker::checkBuffer(u32 type, const TreeInput& input) {
    if (input.type != AttrType::Buffer || input.boundType == DataType::Null) return;
    if (input.value.type() != AttrType::Buffer || m_errors.full()) return;
    const DataType held = input.value.asBuffer().type();
    if (held == DataType::Null || held == input.boundType) return;
    fail(input.offset, type,
         String::format("The buffer '%s' holds elements of type %s but is bound to type %s.",
                        m_tree.names.text(input.name).buf(), dataTypeName(held),
                        dataTypeName(input.boundType)));
}

void KndChecker::addOwnInputs(u32 type, std::vector<Attr>& to) {
    const KndTreeType& of = m_tree.types[type];
    for (u32 i = m_tree.nodes[type].firstInput; i != noTreeIndex;) {
        const TreeInput& input = m_tree.inputs[i];
        const u32 next = input.nextSibling;
        const u32 end = next != noTreeIndex ? next : of.endOfInputs;
        for (u32 k = i; k < end; ++k)
            checkBuffer(type, m_tree.inputs[k]);
        addOwn(
            type,
            {.name = input.name, .size = end - i, .owner = {.tree = type}, .place = input.offset},
            to, "input");
        i = next;
    }
}

void KndChecker::addOwnOutputs(u32 type, std::vector<Attr>& to) {
    const TreeNode& node = m_tree.nodes[type];
    for (u32 i = node.firstOutput; i < node.firstOutput + node.outputCount; ++i) {
        const TreeOutput& output = m_tree.outputs[i];
        addOwn(type, {.name = output.name, .owner = {.tree = type}, .place = output.offset}, to,
               "output");
    }
}

void KndChecker::addOwn(u32 type, const Attr& attr, std::vector<Attr>& to, const char* what) {
    const u64 met = meet(attr.name, to.size());
    if (met == noIndex) {
        to.push_back(attr);
        return;
    }
    if (m_errors.full()) return;
    const Attr& other = to[met];
    const String where = placeOf(other);
    const String from =
        other.owner == attr.owner ? String() : " from its base '" + nameOf(other.owner) + "'";
    fail(attr.place, type,
         String::format("The type has an %s '%s' already%s (%s).", what,
                        m_tree.names.text(attr.name).buf(), from.buf(), where.buf()));
}

// Each input stands on one page at most. Needs the type's inputs to be the list that `meet` filled
// last.
void KndChecker::checkPages(u32 type) {
    const std::vector<Attr>& inputs = m_attrs[type].inputs;
    std::vector<bool> shown(inputs.size());
    for (const KndPage& page : m_tree.types[type].pages)
        for (const KndGroup& group : page.groups)
            for (const KndGroup::Item& item : group.inputs) {
                const u32 folded = m_tree.names.folded(item.name);
                const bool isKnown = folded < m_met.size() && m_met[folded].list == m_list;
                if (!isKnown) {
                    failUnknownItem(type, item);
                } else if (shown[m_met[folded].index]) {
                    fail(item.offset, type,
                         "The input '" + m_tree.names.text(item.name) + "' is shown already.");
                } else {
                    shown[m_met[folded].index] = true;
                }
            }
}

void KndChecker::failUnknownItem(u32 type, const KndGroup::Item& item) {
    if (m_namesAreMissing || m_errors.full()) return;
    const String& wanted = m_tree.names.text(item.name);
    SpellingSuggestion near(wanted.view());
    for (const Attr& input : m_attrs[type].inputs)
        near.offer(m_tree.names.text(input.name).view());
    fail(item.offset, type, "The type has no input '" + wanted + "'" + near.question());
}

void KndChecker::startList() {
    ++m_list;
    if (m_met.size() < m_tree.names.size()) m_met.resize(m_tree.names.size());
}

// Returns the index at which the list has the name. A new name gets the index `next` and returns
// `noIndex`.
u64 KndChecker::meet(u32 name, u64 next) {
    const u32 folded = m_tree.names.folded(name);
    if (folded >= m_met.size()) m_met.resize(m_tree.names.size());
    Met& met = m_met[folded];
    if (met.list == m_list) return met.index;
    met = {m_list, next};
    return noIndex;
}

const KndChecker::Attrs& KndChecker::attrsOf(const Type& type) {
    return type.known ? m_knownAttrs[type.known] : m_attrs[type.tree];
}

String KndChecker::placeOf(const Attr& attr) {
    const u64 line = attr.owner.known ? attr.place : lineOf(attr.place);
    const String text = String::format("line %llu", static_cast<unsigned long long>(line));
    return attr.owner.known ? attr.owner.known->source + ", " + text : text;
}

} // namespace qv::kelvo_sdk::impl
