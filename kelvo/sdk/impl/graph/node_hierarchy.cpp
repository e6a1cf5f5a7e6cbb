// ---- Hierarchy -------------------------------------------------------------------------
// The children are the nodes that the array "children" of an "xform" links to at the time of
// the call.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/graph_reader.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/node_iterator.h"
#include "kelvo/sdk/impl/graph/refusals.h"
#include "kelvo/sdk/node.h"

#include "kelvo/base/log.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk {

ds::Vector<Node> Node::children(i64 depth) const {
    return get() ? impl::handlesOn(get()->children(depth)) : ds::Vector<Node>();
}

} // namespace qv::kelvo_sdk

namespace qv::kelvo_sdk::impl {

namespace {

// Walks "children" inputs depth first. Not recursive, because a deep hierarchy would overflow the
// stack.
//
// A node reached again is walked again only if it is nearer to the top than before, so that the
// walk may get further down. Its mark is the least depth at which its list was walked to the end.
// Without a limit one walk finds everything, so the mark is set at once, and cycles end.
class ChildWalk {
public:
    ChildWalk(const Node* start, i64 maxDepth, ds::Vector<INode*>& out)
        : m_maxDepth(maxDepth), m_out(out), m_reader(start), m_marks(m_reader) {
        for (const INode* node : out)
            m_marks.add(m_reader.spotOf(*implOf(node)), kNotWalked);
    }

    void walk(const Input& list, i64 depth) {
        if (!list.ownName().equalsNoCase(m_known.children)) return;
        walkFrom(list, depth);
        makeLists();
    }

private:
    // A list of children. While it is the last level, its pending nodes are at the end of `m_next`,
    // in reverse order.
    struct Level {
        u64 first;
        i64 depth;
        std::optional<Spot> owner;
    };

    static constexpr i64 kNever = std::numeric_limits<i64>::max();

    // Special marks; the others are depths below the start.
    static constexpr i32 kNotWalked = std::numeric_limits<i32>::max();
    static constexpr i32 kWhole = std::numeric_limits<i32>::min();

    void walkFrom(const Input& list, i64 depth) {
        m_top = depth;
        if (m_maxDepth >= 0 && depth > m_maxDepth) return;
        m_levels.push_back({0, depth, std::nullopt});
        for (u64 i = list.members().size(); i-- > 0;)
            if (const INode* node = linkedNode(*implOf(list.members()[i])))
                m_next.push_back(m_reader.spotOf(*implOf(node)));
        while (!m_levels.empty()) {
            const Level& level = m_levels.back();
            if (m_next.size() == level.first) {
                leave();
                continue;
            }
            const Spot child = m_next.back();
            m_next.pop_back();
            meet(child, level.depth);
        }
    }

    void meet(Spot child, i64 parentDepth) {
        const auto [mark, isNew] = m_marks.add(child, kNotWalked);
        if (isNew) m_out.push_back(&m_reader.nodeAt(child));
        const i64 depth = parentDepth == kNever ? kNever : parentDepth + 1;
        if (mark != kNotWalked && mark <= below(depth)) return;
        if (m_maxDepth < 0) mark = kWhole;
        const LeadRow* row = m_reader.row(LeadKind::Children, child);
        if (row ? row->size() == 0 : isWithoutList(child)) return;
        if (m_maxDepth >= 0 && depth > m_maxDepth) return;
        m_levels.push_back({m_next.size(), depth, child});
        m_reader.forEachLead(child, LeadKind::Children,
                             [this](Spot next, bool) { m_next.push_back(next); });
        std::reverse(m_next.begin() + static_cast<std::ptrdiff_t>(m_levels.back().first),
                     m_next.end());
    }

    [[nodiscard]] i32 below(i64 depth) const noexcept {
        return static_cast<i32>(std::min<i64>(depth - m_top, kNotWalked - 1));
    }

    // A node that is no transform has no children.
    bool isWithoutList(Spot child) {
        Node& node = m_reader.nodeAt(child);
        if (!node.hasType(m_known.xform)) return true;
        if (childList(node)) return false;
        m_without.emplace_back(&node);
        return true;
    }

    // Gives each "xform" without the input an empty one, as any look-up through the interface does.
    // Call after the walk, because observers of it may remove nodes; these are taken off the
    // result.
    void makeLists() {
        if (m_without.empty()) return;
        std::vector<RefersTo<INode>> held;
        std::unordered_set<const INode*> ofScenes;
        for (INode* node : m_out) {
            held.emplace_back(node);
            if (node->scene()) ofScenes.insert(node);
        }
        for (const RefersTo<Node>& node : m_without)
            if (!node->lookUpInput(m_known.children)) node->input(m_known.children);
        for (const RefersTo<INode>& node : held)
            if (!node->scene() && ofScenes.contains(node.get())) m_out.removeAll(node.get());
    }

    void leave() {
        const Level left = m_levels.back();
        m_levels.pop_back();
        if (!left.owner || m_maxDepth < 0) return;
        i32& mark = m_marks.add(*left.owner, kNotWalked).value;
        mark = std::min(mark, below(left.depth));
    }

    const KnownNames& m_known = knownNames();
    i64 m_maxDepth;
    ds::Vector<INode*>& m_out;
    GraphReader m_reader;
    WalkMarks m_marks;
    i64 m_top = 0;
    std::vector<Level> m_levels;
    std::vector<Spot> m_next;
    std::vector<RefersTo<Node>> m_without;
};

} // namespace

void getChildren(IInput* input, i64 depth, i64 maxDepth, ds::Vector<INode*>& out) {
    if (input) ChildWalk(implOf(input->node()), maxDepth, out).walk(*implOf(input), depth);
}

NodeIterator* Node::children(i64 depth) const {
    const KnownNames& known = knownNames();
    ds::Vector<INode*> found;
    if (isTypeOf(known.xform)) getChildren(findInputByName(known.children), 0, depth, found);
    return new NodeIterator(std::move(found), false, false);
}

namespace {

// Returns the index of the first element that links to a node, -1 for none. Searches the elements
// and the links to the node in turn, until one of the two ends: few nodes are in many lists, and
// few lists are long.
i64 firstElementTo(const Node& node, const Input& list) {
    const ds::Vector<IInput*>& elements = list.members();
    u64 next = 0;
    const auto isNextFound = [&] { return linkedNode(*implOf(elements[next])) == &node; };
    if (const Scene* scene = sceneAround(node)) {
        u64 first = noIndex;
        const bool areElementsKnown = scene->links().findAny(&node, [&](const Input& link) {
            if (link.parent() == &list) first = std::min(first, link.placeInList());
            return next == elements.size() || isNextFound() || ++next == elements.size();
        });
        if (!areElementsKnown) return static_cast<i64>(first);
    }
    while (next < elements.size() && !isNextFound())
        ++next;
    return next < elements.size() ? static_cast<i64>(next) : -1;
}

} // namespace

i64 Node::indexIn(INode* parent) const {
    const String& children = knownNames().children;
    if (!parent) return -5;
    if (!parent->hasInput(children, AttrType::Null)) return -4;
    const IInput* list = parent->input(children);
    if (!list->hasElementType(AttrType::Null)) return -3;
    if (list->elementType() != AttrType::Node) return -2;
    return firstElementTo(*this, *implOf(list));
}

bool Node::parentTo(INode* parent) {
    if (indexIn(parent) != -1) return false;
    if (const char* bar = barBetween(parent, this)) {
        logWarning("%s", parentRefusal(*this, *parent, bar).buf());
        return false;
    }
    // Observers may remove the element or either node.
    const bool isHeld = mayCallBack(*implOf(parent));
    const RefersTo<INode> self(isHeld ? this : nullptr), heldParent(isHeld ? parent : nullptr);
    const EditStep step(implOf(parent));
    return step.make([&] {
        IInput* element = parent->input(knownNames().children)->appendElement();
        return element && element->setNode(this);
    });
}

bool Node::unparentFrom(INode* parent) {
    const i64 index = indexIn(parent);
    if (index < 0) return false;
    return parent->input(knownNames().children)->input(static_cast<u64>(index))->setNode(nullptr);
}

} // namespace qv::kelvo_sdk::impl
