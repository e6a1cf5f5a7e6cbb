// ---- Laws ------------------------------------------------------------------------------
// A walk over all nodes, inputs and outputs reports each law that does not hold, with its
// place.

#include "kelvo/sdk/impl/graph/scene_verify.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node_links.h"

#include "kelvo/base/string_io.h"

#include <algorithm>
#include <string>

// ---- Walk ----------------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

namespace {

const Output& asOutput(const interfaces::IOutput* output) noexcept {
    return implOf(*output);
}

String counted(u64 count, const char* what) {
    return String(std::string_view(std::to_string(count))) + " " + what;
}

// Up to this size, comparing each entry with all earlier ones is faster than a set.
constexpr u64 kShortList = 64;

// Tells whether a list has neither null nor duplicate pointers.
template<typename List>
bool holdsEachOnce(const List& list) {
    if (list.size() > kShortList) {
        const std::unordered_set<const void*> met(list.begin(), list.end());
        return met.size() == list.size() && !met.contains(nullptr);
    }
    for (auto at = list.begin(); at != list.end(); ++at)
        if (!*at || std::find(list.begin(), at, *at) != at) return false;
    return true;
}

// Calls `fail` with each error in a list's index, in which the name of an attribute must lead to
// the attribute itself or to an earlier one.
template<typename Attribute, typename Fail>
void checkIndexOf(const ds::Vector<Attribute*>& list, const char* kind, const Fail& fail) {
    using Own = typename ImplementationOf<Attribute>::Type;
    const auto* index = list.empty() ? nullptr : static_cast<const Own*>(list[0])->listIndex();
    if (!index) return;
    std::unordered_set<const Own*> found;
    for (const Attribute* next : list) {
        const auto* own = static_cast<const Own*>(next);
        const Own* first = index->find(own->ownName());
        if (first == own)
            found.insert(first);
        else if (!found.contains(first))
            fail(String("does not find its ") + kind + " '" + own->ownName() + "' by name");
    }
    if (index->size() != found.size())
        fail(String("has names for ") + kind + "s that it does not hold");
}

} // namespace

IntegrityErrors Scene::verify() const {
    return SceneVerifier(*this, {m_nodes, m_links, m_stashLinks}).verify();
}

SceneVerifier::SceneVerifier(const Scene& scene, Tables tables)
    : m_scene(scene), m_nodes(tables.nodes), m_links(tables.links), m_keptLinks(tables.keptLinks) {}

IntegrityErrors SceneVerifier::verify() {
    listNodes();
    checkNames();
    m_nodes.forEach([this](const Node* node) { checkNode(*node); });
    checkLinkTable(m_links);
    checkLinkTable(m_keptLinks);
    checkRows();
    return std::move(m_errors);
}

void SceneVerifier::fail(String place, String message) {
    m_errors.push_back({std::move(place), std::move(message)});
}

void SceneVerifier::listNodes() {
    m_nodes.forEach([this](const Node* node) {
        if (!m_known.insert(node).second) fail(node->name(), "stands in the scene twice");
        for (const interfaces::IOutput* output : node->outputs())
            m_outputs.insert(&asOutput(output));
    });
}

// Names are unique if there are as many names as nodes and each name leads to its node.
void SceneVerifier::checkNames() {
    if (m_nodes.nameCount() != m_nodes.size())
        fail({}, "has " + counted(m_nodes.size(), "nodes but ") +
                     counted(m_nodes.nameCount(), "names"));
    if (!m_nodes.isOrderSound()) fail({}, "miscounts the places of its nodes");
    m_nodes.forEachMisplaced([this](const String& name) {
        fail(name, "does not stand at the place that its name leads to");
    });
}

void SceneVerifier::checkNode(const Node& node) {
    m_node = &node;
    const String name = node.name();
    if (node.scene() != &m_scene) fail(name, "belongs to another scene or none");
    if (!name.isSimpleCID()) fail(name, "has a name that is no simple identifier");
    if (m_nodes.find(name) != &node) fail(name, "is not found by its name");
    checkInputs(node);
    checkOutputs(node);
}

// ---- Inputs --------------------------------------------------------------------------------

// Not recursive, because inputs may be nested so deep that recursion would overflow the stack.
void SceneVerifier::checkInputs(const Node& node) {
    m_way.assign(1, {&node.inputs(), nullptr, 0});
    checkList(node.inputs(), nullptr);
    while (!m_way.empty()) {
        Step& step = m_way.back();
        if (step.next == step.list->size()) {
            m_way.pop_back();
            continue;
        }
        const Input* input = implOf((*step.list)[step.next++]);
        if (!input) continue;
        checkPlaceOf(*input, step);
        checkInput(*input);
        if (input->parent() != step.parent || input->members().empty()) continue;
        m_way.push_back({&input->members(), input, 0});
        checkList(input->members(), input);
    }
}

void SceneVerifier::checkList(const Inputs& list, const Input* parent) {
    if (!holdsEachOnce(list)) return fail(place(), "lists an input twice, or none at a place");
    const auto failHere = [this](String message) { fail(place(), std::move(message)); };
    if (!parent || parent->isObject()) return checkIndexOf(list, "input", failHere);
    if (parent->type() != AttrType::Array) fail(place(), "holds inputs but is no array or object");
}

void SceneVerifier::checkPlaceOf(const Input& input, const Step& step) {
    if (input.node() != m_node) fail(place(), "belongs to another node or none");
    if (input.parent() != step.parent) return fail(place(), "belongs to another input or none");
    if (!input.isElement()) {
        if (input.nameHash() != input.ownName().foldedHash())
            fail(place(), "has a name with the hash of another");
        return;
    }
    if (input.placeInList() != step.next - 1)
        fail(place(), "counts itself as element [" +
                          String(std::string_view(std::to_string(input.placeInList()))) + "]");
    if (input.type() != step.parent->elementType())
        fail(place(), "is of another kind than the elements of its array");
}

void SceneVerifier::checkInput(const Input& input) {
    checkSource(input);
    checkLink(input);
    checkKept(input);
}

String SceneVerifier::place() const {
    StringIO text;
    text.append(m_node->name().view());
    for (const Step& step : m_way) {
        if (step.next == 0) break;
        const auto* input = implOf((*step.list)[step.next - 1]);
        if (step.parent && step.parent->type() == AttrType::Array) {
            text.append("[").appendUInt(step.next - 1);
            text.append("]");
        } else {
            text.append(".").append(input->ownName().view());
        }
    }
    return text.take();
}

// ---- Outputs -------------------------------------------------------------------------------

void SceneVerifier::checkOutputs(const Node& node) {
    if (!holdsEachOnce(node.outputs()))
        return fail(node.name(), "lists an output twice, or none at a place");
    for (const interfaces::IOutput* next : node.outputs()) {
        const Output& output = asOutput(next);
        const String place = node.name() + "." + output.ownName();
        if (output.node() != &node) fail(place, "belongs to another node or none");
        if (output.nameHash() != output.ownName().foldedHash())
            fail(place, "has a name with the hash of another");
        checkTargets(output);
    }
    checkIndexOf(node.outputs(), "output",
                 [&](String message) { fail(node.name(), std::move(message)); });
}

} // namespace qv::kelvo_sdk::impl
