#include "kelvo/sdk/impl/types/knd_checker.h"

#include "kelvo/base/spelling_suggestion.h"
#include "kelvo/sdk/impl/text/text_lexer.h"
#include "kelvo/sdk/impl/types/knd_definition.h"
#include "kelvo/sdk/impl/types/lib_info.h"

#include "kelvo/base/string_io.h"

#include <algorithm>

// Checks names and bases; knd_checker_attrs.cpp checks attributes and pages.
namespace qv::kelvo_sdk::impl {

namespace {

constexpr u64 kMostBases = 100;

} // namespace

KndChecker::KndChecker(KndTree& tree, const LibInfo& library, const LibInfo* basesFrom,
                       TextErrors& errors, std::string_view text, bool namesAreMissing)
    : m_tree(tree),
      m_library(library),
      m_basesFrom(basesFrom),
      m_errors(errors),
      m_text(text),
      m_namesAreMissing(namesAreMissing) {
    m_tree.types.resize(m_tree.nodes.size());
}

void KndChecker::check() {
    checkValues();
    checkNames();
    m_bases.resize(m_tree.types.size());
    for (u32 type = 0; type < m_tree.types.size(); ++type)
        findBases(type);
    sortTypes();
    m_attrs.resize(m_tree.types.size());
    m_pages.resize(m_tree.types.size());
    for (const u32 type : m_order) {
        if (m_errors.full() || m_isTooLarge) return;
        checkType(type);
    }
}

// Refuses links and connections: a definition has no other nodes that a value could name.
void KndChecker::checkValues() {
    for (const TreeLink& link : m_tree.links) {
        if (m_errors.full()) return;
        fail(link.offset, link.node,
             "Found '" + m_tree.names.text(link.name) +
                 "' where 'null' was expected: a definition knows no nodes.");
    }
    for (const TreeConnection& connection : m_tree.connections)
        fail(connection.offset, connection.node, "A definition has no connections.");
    for (u32 type = 0; type < m_tree.types.size(); ++type) {
        const KndTreeType& of = m_tree.types[type];
        for (u32 i = of.firstTreeInput; i < of.endOfInputs; ++i) {
            const TreeExtras* extras = m_tree.extrasOf(m_tree.inputs[i].extras);
            if (extras && extras->stashed)
                fail(m_tree.inputs[i].offset, type, "A definition keeps no value aside.");
        }
    }
}

// Checks names against the library alone; the parser has found duplicates within the text.
void KndChecker::checkNames() {
    for (u32 type = 0; type < m_tree.types.size(); ++type) {
        const TreeNode& node = m_tree.nodes[type];
        if (node.name == noTreeIndex) continue;
        const KndDefinition* known = m_library.definitionNoCase(m_tree.nodeName(type));
        if (!known) continue;
        fail(node.offset, type,
             "The library has a type '" + known->name() + "' already" +
                 String::format(" (%s, line %llu).", known->source.buf(),
                                static_cast<unsigned long long>(known->line)));
    }
}

void KndChecker::findBases(u32 type) {
    for (const KndBase& base : m_tree.types[type].bases) {
        Type found = findType(base.name);
        std::vector<Type>& bases = m_bases[type];
        if (found.isNone() && !m_namesAreMissing && !m_errors.full())
            fail(base.offset, type, unknownBase(base.name));
        if (!found.isNone() && std::ranges::find(bases, found) != bases.end()) {
            fail(base.offset, type,
                 "The base '" + m_tree.names.text(base.name) + "' is named twice.");
            found = Type();
        }
        bases.push_back(found);
    }
}

KndChecker::Type KndChecker::findType(u32 name) const {
    const u32 tree = m_tree.findNode(name);
    if (tree != noTreeIndex && m_tree.nodes[tree].name == name) return {.tree = tree};
    const String& text = m_tree.names.text(name);
    const KndDefinition* known = m_library.definition(text);
    if (!known && m_basesFrom) known = m_basesFrom->definition(text);
    return {.known = known};
}

String KndChecker::unknownBase(u32 name) const {
    const String& wanted = m_tree.names.text(name);
    SpellingSuggestion near(wanted.view());
    for (u32 i = 0; i < m_tree.nodes.size(); ++i)
        if (m_tree.nodes[i].name != noTreeIndex) near.offer(m_tree.nodeName(i).view());
    // Offers views of the names: the prototypes outlive this search, so the views stay valid.
    for (const LibInfo* library : {&m_library, m_basesFrom})
        for (u64 i = 0; library && i < library->typeCount(); ++i)
            near.offer(library->definition(i).name().view());
    return "Unknown base '" + wanted + "'" + near.question();
}

void KndChecker::sortTypes() {
    m_marks.assign(m_tree.types.size(), Mark::New);
    m_order.reserve(m_tree.types.size());
    for (u32 type = 0; type < m_tree.types.size(); ++type)
        if (m_marks[type] == Mark::New) sortFrom(type);
}

// Walks the bases depth first, without recursion. Drops a base that would close a loop.
void KndChecker::sortFrom(u32 type) {
    m_chain.assign(1, {type, 0});
    m_marks[type] = Mark::Open;
    while (!m_chain.empty()) {
        Step& step = m_chain.back();
        std::vector<Type>& bases = m_bases[step.type];
        if (step.next == bases.size()) {
            m_marks[step.type] = Mark::Done;
            m_order.push_back(step.type);
            m_chain.pop_back();
            continue;
        }
        Type& base = bases[step.next++];
        if (base.tree == noTreeIndex || m_marks[base.tree] == Mark::Done) continue;
        if (m_marks[base.tree] == Mark::Open) {
            reportLoop(base.tree);
            base = Type();
            continue;
        }
        m_marks[base.tree] = Mark::Open;
        m_chain.push_back({base.tree, 0});
    }
}

// Needs `closing` in the chain, and the chain's last type naming it as a base.
void KndChecker::reportLoop(u32 closing) {
    constexpr u64 mostNames = 10;
    const Step& last = m_chain.back();
    auto first = std::ranges::find(m_chain, closing, &Step::type);
    StringIO message;
    message.append("The bases form a loop: ");
    u64 names = 0;
    for (auto step = first; step != m_chain.end(); ++step)
        if (names++ < mostNames) message.append(m_tree.nodeName(step->type).view()).append(" : ");
    if (names > mostNames) message.append("... : ");
    message.append(m_tree.nodeName(closing).view()).append('.');
    fail(m_tree.types[last.type].bases[last.next - 1].offset, last.type, message.take());
}

std::vector<KndChecker::Type> KndChecker::allBases(u32 type) {
    std::vector<Type> all;
    startList();
    const auto add = [&](const Type& base) {
        if (base.isNone() || all.size() > kMostBases) return;
        const u32 name =
            base.known ? m_tree.names.add(base.known->name().view()) : m_tree.nodes[base.tree].name;
        if (meet(name, all.size()) == noIndex) all.push_back(base);
    };
    for (const Type& base : m_bases[type])
        add(base);
    for (u64 i = 0; i < all.size(); ++i) {
        const Type next = all[i];
        if (next.known) {
            for (const KndDefinition* base : next.known->bases)
                add({.known = base});
        } else {
            for (const Type& base : m_bases[next.tree])
                add(base);
        }
    }
    if (all.size() > kMostBases)
        fail(m_tree.nodes[type].offset, type,
             String::format("The type has more than %llu bases, theirs included.",
                            static_cast<unsigned long long>(kMostBases)));
    return all;
}

String KndChecker::nameOf(const Type& type) {
    return type.known ? type.known->name() : m_tree.nodeName(type.tree);
}

u64 KndChecker::lineOf(u64 offset) const {
    return LineCounter(m_text).placeOf(offset).line;
}

void KndChecker::fail(u64 offset, u32 type, String message) {
    const u32 name = m_tree.nodes[type].name;
    m_errors.add(offset, name != noTreeIndex ? m_tree.names.text(name) : String(),
                 std::move(message));
}

} // namespace qv::kelvo_sdk::impl
