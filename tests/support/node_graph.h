#pragma once

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_iterator.h"

#include <string>
#include <vector>

namespace qv::tests {

/// Nodes without a scene, held until the end. Nodes made with `add` have an array "children".
class NodeGraph {
public:
    using Node = kelvo_sdk::impl::Node;
    using INode = kelvo_sdk::interfaces::INode;
    using IInput = kelvo_sdk::interfaces::IInput;
    using AttrType = kelvo_sdk::AttrType;

    Node* addBare(const std::string& name, const char* type = "xform") {
        m_nodes.push_back(
            RefersTo<Node>::adopt(new Node(nullptr, String(type), String(name.c_str()))));
        return m_nodes.back().get();
    }
    Node* add(const std::string& name, const char* type = "xform") {
        Node* node = addBare(name, type);
        node->createArray("children", AttrType::Node);
        return node;
    }
    /// Appends an element that links to `child`, which may be null.
    static IInput* link(Node* parent, INode* child) {
        IInput* element = parent->findInputByName("children")->appendElement();
        element->setNode(child);
        return element;
    }
    /// Makes a chain of `length` links below `from` and returns its end.
    Node* addChain(Node* from, int length) {
        for (int i = 0; i < length; ++i) {
            Node* next = add("n");
            link(from, next);
            from = next;
        }
        return from;
    }
    /// Makes a row of diamonds: two routes through each, so that the number of paths doubles with
    /// each.
    Node* addDiamonds(Node* from, int count) {
        for (int i = 0; i < count; ++i) {
            Node *left = add("l"), *right = add("r"), *end = add("e");
            link(from, left);
            link(from, right);
            link(left, end);
            link(right, end);
            from = end;
        }
        return from;
    }

    [[nodiscard]] Node* operator[](std::size_t index) const { return m_nodes[index].get(); }
    [[nodiscard]] std::size_t size() const { return m_nodes.size(); }
    void clear() { m_nodes.clear(); }

    /// Returns the names of `children(depth)` in order.
    [[nodiscard]] static std::string children(const Node* node, i64 depth) {
        using Iterator = kelvo_sdk::impl::NodeIterator;
        const auto nodes = RefersTo<Iterator>::adopt(node->children(depth));
        std::string names;
        for (const INode* child = nodes->first(); child; child = nodes->next())
            names += child->name().buf();
        return names;
    }

private:
    std::vector<RefersTo<Node>> m_nodes;
};

} // namespace qv::tests
