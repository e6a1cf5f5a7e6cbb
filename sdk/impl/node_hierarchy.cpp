// ---- Hierarchy -------------------------------------------------------------------------
// Children are what the array "children" of an "xform" links to, read afresh at each call.

#include "sdk/impl/node.h"

#include "sdk/impl/input.h"
#include "sdk/impl/known_names.h"
#include "sdk/impl/node_iterator.h"
#include "sdk/impl/node_marks.h"

#include <limits>
#include <vector>

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

    void walk(IInput* list, i64 depth) {
        enter(list, depth, nullptr);
        while (!m_levels.empty()) {
            Level& level = m_levels.back();
            if (level.index >= level.list->inputCount()) {
                leave();
                continue;
            }
            const IInput* element = level.list->input(level.index++);
            INode* child = nullptr;
            if (element->readNode(child, false, nullptr) && child) meet(child, level.depth + 1);
        }
    }

private:
    struct Level {
        Input* list;
        u64 index;
        i64 depth;
        INode* owner;
    };

    static constexpr i64 kNever = std::numeric_limits<i64>::max();
    static constexpr i64 kWhole = std::numeric_limits<i64>::min();

    void enter(IInput* input, i64 depth, INode* owner) {
        auto* list = static_cast<Input*>(input);
        if (!list || (m_maxDepth >= 0 && depth > m_maxDepth)) return;
        if (!list->ownName().equalsNoCase(m_known.children)) return;
        m_levels.push_back({list, 0, depth, owner});
    }

    void meet(INode* child, i64 depth) {
        auto [mark, isNew] = m_marks.add(child, kNever);
        if (isNew) m_out.push_back(child);
        const auto* node = static_cast<const Node*>(child);
        if (mark <= depth || !node->hasType(m_known.xform)) return;
        if (m_maxDepth < 0) mark = kWhole;
        enter(node->lookUpInput(m_known.children), depth, child);
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
};

} // namespace

void getChildren(IInput* input, i64 depth, i64 maxDepth, ds::Vector<INode*>& out) {
    ChildWalk(maxDepth, out).walk(input, depth);
}

NodeIterator* Node::children(i64 depth) const {
    const KnownNames& known = knownNames();
    ds::Vector<INode*> found;
    if (isTypeOf(known.xform)) getChildren(lookUpInput(known.children), 0, depth, found);
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
    return parent->input(knownNames().children)->appendElement()->setNode(this);
}

bool Node::unparentFrom(INode* parent) {
    const i64 index = indexIn(parent);
    if (index < 0) return false;
    return parent->input(knownNames().children)->input(static_cast<u64>(index))->setNode(nullptr);
}

} // namespace qv::kelvo_sdk::impl
