// Verifies connections, links and the tables that repeat them.

#include "kelvo/sdk/impl/graph/scene_verify.h"

#include "kelvo/sdk/impl/graph/node_links.h"

// ---- Bonds ---------------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

// ---- Connections ---------------------------------------------------------------------------

void SceneVerifier::checkSource(const Input& input) {
    const Output* source = input.sourceOutput();
    if (!source) return;
    // An input may be connected to an output of a free node.
    if (!m_outputs.contains(source) && !isFree(source->node()))
        return fail(place(), "is connected to an output that no node of the scene has");
    if (source->targetInSlot(input.ownExtras()->sourceSlot) != &input)
        fail(place(), "is connected to '" + source->path() + "', which does not list it there");
}

// Targets may be inputs of nodes outside of the scene, such as nodes that are still to be added.
void SceneVerifier::checkTargets(const Output& output) {
    if (!output.hasSoundTargets()) fail(output.path(), "miscounts its targets");
    std::unordered_set<const Input*> met;
    output.forEachTarget([&](const Input& target) {
        if (!met.insert(&target).second)
            fail(output.path(), "lists its target '" + target.path() + "' twice");
        else if (target.sourceOutput() != &output)
            fail(output.path(), "lists '" + target.path() + "', which is not connected to it");
    });
}

// ---- Links ---------------------------------------------------------------------------------

void SceneVerifier::checkLink(const Input& input) {
    const INode* target = linkedNode(input);
    const Link* link = input.ownExtras() ? &input.ownExtras()->link : nullptr;
    if (target) return checkBond(link, m_links, target, "links to ");
    if (link && link->table) fail(place(), "links to no node but has a place among the links");
}

// Links in kept values and defaults must be valid too, because `unstash` and `reset` restore them.
void SceneVerifier::checkKept(const Input& input) {
    const auto linkIn = [](const Value& value) {
        return value.type() == AttrType::Node ? value.asNode() : nullptr;
    };
    if (const Value* kept = input.stashed(); kept && linkIn(*kept))
        checkBond(&input.ownExtras()->stash->link, m_keptLinks, linkIn(*kept),
                  "keeps aside a link to ");
    const AttrDetails* details = input.details();
    const INode* initial = details ? linkIn(details->defaultValue) : nullptr;
    if (initial && !isOfScene(initial))
        fail(place(), "has a default that links to a node that is not of the scene");
}

// `target` must not be null, but may no longer exist, so it is not read before it is known.
void SceneVerifier::checkBond(const Link* link, const LinkTable& table, const INode* target,
                              const char* what) {
    const LinkTable& free =
        &table == &m_links ? LinkTable::ofFreeNodes() : LinkTable::keptOfFreeNodes();
    if (link && link->target == target && link->table == &free && isFree(target)) return;
    if (!isOfScene(target)) return fail(place(), String(what) + "a node that is not of the scene");
    if (!link || link->table != &table || link->target != target)
        return fail(place(), what + ("'" + target->name()) + "', which does not know");
    m_linksLeft.insert(link);
}

// Needs a node that still exists, or null.
bool SceneVerifier::isFree(const INode* node) const {
    const IScene* home = node ? node->scene() : nullptr;
    return node && (!home || (home == &m_scene && !isOfScene(node)));
}

// ---- The tables of links -------------------------------------------------------------------

void SceneVerifier::checkLinkTable(const LinkTable& table) {
    table.forEachRing([&](const Link* first) { checkRing(table, first->target, first); });
    for (const Link* link : m_linksLeft) {
        if (link->table != &table) continue;
        fail(link->input ? link->input->path() : String(),
             "links to '" + link->target->name() + "', whose ring of links it is not in");
    }
}

// Stops at the first break of a ring, and never follows a ring twice.
void SceneVerifier::checkRing(const LinkTable& table, const INode* target, const Link* first) {
    const String name = isOfScene(target) ? target->name() : String();
    const Link* link = first;
    do {
        if (!link || !link->next || link->next->previous != link || !m_linksMet.insert(link).second)
            return fail(name, "has a broken ring of links");
        checkEntry(table, target, *link);
        link = link->next;
    } while (link != first);
}

// Inputs of nodes outside of the scene may link into it.
void SceneVerifier::checkEntry(const LinkTable& table, const INode* target, const Link& link) {
    if (link.table == &table && link.target == target && m_linksLeft.erase(&link) != 0) return;
    const Input* input = link.input;
    const InputExtras* own = input ? input->ownExtras() : nullptr;
    const bool isKept = own && own->stash && &own->stash->link == &link;
    if (!isKept && !(own && &own->link == &link))
        return fail(isOfScene(target) ? target->name() : String(),
                    "has a link in its ring that is no input's");
    const Value& held = isKept ? own->stash->value : input->value();
    if (held.type() != AttrType::Node || held.asNode() != target || link.target != target)
        return fail(input->path(),
                    "has a place among the links to a node that it does not link to");
    if (isOfScene(target) && isOfScene(input->node()))
        fail(input->path(), "has a place among the links but none in its node");
}

} // namespace qv::kelvo_sdk::impl
