// ---- Hierarchy -------------------------------------------------------------------------
// Children are what the array "children" of an "xform" links to, read afresh at each call.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/edit_step.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/node_iterator.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/refusals.h"
#include "kelvo/sdk/impl/index/node_marks.h"
#include "kelvo/sdk/node.h"

#include "kelvo/base/log.h"

#include <limits>
#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk {

ds::Vector<Node> Node::children(i64 depth) const {
    return get() ? impl::handlesOn(get()->children(depth)) : ds::Vector<Node>();
}

} // namespace qv::kelvo_sdk

namespace qv::kelvo_sdk::impl {

namespace {

// Walks "children" inputs depth first, without recursion: hierarchies may be deeper than the stack.
//
// A node reached again is walked again only where that can find more: closer to the top than it was
// walked before. Its mark is the depth of its list when that was last walked to the end. Without a
// limit one walk finds all, so that the mark is set at once, and cycles end.
class ChildWalk {
public:
    ChildWalk(i64 maxDepth, ds::Vector<INode*>& out) : m_maxDepth(maxDepth), m_out(out) {
        for (const INode* node : out)
            m_marks.add(node, kNever);
    }

    void walk(const Input& list, i64 depth) {
        if (!list.ownName().equalsNoCase(m_known.children)) return;
        walkFrom(list, depth);
        makeLists();
    }

private:
    struct Level {
        const Input* list;
        u64 index;
        i64 depth;
        INode* owner;
    };

    static constexpr i64 kNever = std::numeric_limits<i64>::max();
    static constexpr i64 kWhole = std::numeric_limits<i64>::min();

    void walkFrom(const Input& list, i64 depth) {
        enter(&list, depth, nullptr);
        while (!m_levels.empty()) {
            Level& level = m_levels.back();
            const ds::Vector<IInput*>& elements = level.list->members();
            if (level.index >= elements.size())
                leave();
            else if (INode* node = linkedNode(*implOf(elements[level.index++])))
                meet(*implOf(node), level.depth);
        }
    }

    void enter(const Input* list, i64 depth, INode* owner) {
        if (m_maxDepth < 0 || depth <= m_maxDepth) m_levels.push_back({list, 0, depth, owner});
    }

    void meet(Node& child, i64 parentDepth) {
        auto [mark, isNew] = m_marks.add(&child, kNever);
        if (isNew) m_out.push_back(&child);
        if (!child.hasType(m_known.xform)) return;
        const i64 depth = parentDepth == kNever ? kNever : parentDepth + 1;
        if (mark != kNever && mark <= depth) return;
        if (m_maxDepth < 0) mark = kWhole;
        if (const IInput* list = child.lookUpInput(m_known.children))
            enter(implOf(list), depth, &child);
        else
            m_without.emplace_back(&child);
    }

    // An "xform" without the input gets it, as from any look-up through the interface, when the
    // walk is over: who hears of it may remove what was walked. Nodes that end by that are left
    // out.
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
        i64& mark = m_marks.add(left.owner, kNever).value;
        if (left.depth < mark) mark = left.depth;
    }

    const KnownNames& m_known = knownNames();
    i64 m_maxDepth;
    ds::Vector<INode*>& m_out;
    NodeMarks m_marks;
    std::vector<Level> m_levels;
    std::vector<RefersTo<Node>> m_without;
};

} // namespace

void getChildren(IInput* input, i64 depth, i64 maxDepth, ds::Vector<INode*>& out) {
    if (input) ChildWalk(maxDepth, out).walk(*implOf(input), depth);
}

NodeIterator* Node::children(i64 depth) const {
    const KnownNames& known = knownNames();
    ds::Vector<INode*> found;
    if (isTypeOf(known.xform)) getChildren(findInputByName(known.children), 0, depth, found);
    return new NodeIterator(std::move(found), false, false);
}

i64 Node::indexIn(INode* parent) const {
    const String& children = knownNames().children;
    if (!parent) return -5;
    if (!parent->hasInput(children, AttrType::Null)) return -4;
    const IInput* list = parent->input(children);
    if (!list->hasElementType(AttrType::Null)) return -3;
    if (list->elementType() != AttrType::Node) return -2;
    for (u64 i = 0; i < list->inputCount(); ++i) {
        INode* child = nullptr;
        const IInput* element = list->input(i);
        if (element && element->readNode(child, false, nullptr) && child == this)
            return static_cast<i64>(i);
    }
    return -1;
}

bool Node::parentTo(INode* parent) {
    if (indexIn(parent) != -1) return false;
    if (const char* bar = barBetween(parent, this)) {
        logWarning("%s", parentRefusal(*this, *parent, bar).buf());
        return false;
    }
    // Who hears of the element may remove it, or either node.
    const bool isHeld = implOf(parent)->mayCallBack();
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
