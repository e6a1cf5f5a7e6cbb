#pragma once

#include "kelvo/sdk/impl/graph/node.h"

namespace qv::kelvo_sdk::impl {

/// Gives access to the fields of a node, which are private.
struct NodeLayoutProbe {
    Node& node;

    [[nodiscard]] i32 refCount() const { return node.m_refCount.load(); }
    [[nodiscard]] std::atomic<i32>& counter() const { return node.m_refCount; }
    [[nodiscard]] const ds::Vector<NodeObserver*>& observers() const { return node.m_observers; }
    [[nodiscard]] std::recursive_mutex& mutex() const { return node.m_observerMutex; }
    [[nodiscard]] const ds::Vector<IInput*>& inputs() const { return node.m_inputs; }
    [[nodiscard]] const ds::Vector<IOutput*>& outputs() const { return node.m_outputs; }
    [[nodiscard]] bool& dirty() const { return node.m_dirty; }
    [[nodiscard]] bool& destroying() const { return node.m_destroying; }
    [[nodiscard]] bool& serializing() const { return node.m_serializing; }
    [[nodiscard]] bool& modifying() const { return node.m_modifying; }
    [[nodiscard]] interfaces::NodeInitFn& nodeInit() const { return node.m_nodeInit; }
    [[nodiscard]] interfaces::NodeFreeFn& nodeFree() const { return node.m_nodeFree; }
    [[nodiscard]] interfaces::NodeChangedFn& nodeChanged() const { return node.m_nodeChanged; }
    [[nodiscard]] void*& data() const { return node.m_data; }
    /// Detaches the node from a scene that a test made for it, or breaks the laws of its scene.
    void setScene(IScene* scene) const {
        node.m_scene = scene;
        node.m_knownRows = 0;
    }
    void setName(String name) const { node.m_name = std::move(name); }
    void setNumber(NodeNumber number) const {
        node.m_number = number;
        node.m_knownRows = 0;
    }
    [[nodiscard]] const ds::HashMap<String, String>& labels() const { return node.m_labels; }
    [[nodiscard]] const ds::HashMap<String, String>& helps() const { return node.m_helps; }

    /// Calls `visit(name, address, size)` for each field in order of declaration.
    template<typename Visit>
    void forEachField(const Visit& visit) const {
        visit("m_refCount", &node.m_refCount, sizeof node.m_refCount);
        visit("m_observers", &node.m_observers, sizeof node.m_observers);
        visit("m_observerMutex", &node.m_observerMutex, sizeof node.m_observerMutex);
        visit("m_scene", &node.m_scene, sizeof node.m_scene);
        visit("m_type", &node.m_type, sizeof node.m_type);
        visit("m_bases", &node.m_bases, sizeof node.m_bases);
        visit("m_isAbstract", &node.m_isAbstract, sizeof node.m_isAbstract);
        visit("m_isInternal", &node.m_isInternal, sizeof node.m_isInternal);
        visit("m_name", &node.m_name, sizeof node.m_name);
        visit("m_dirty", &node.m_dirty, sizeof node.m_dirty);
        visit("m_destroying", &node.m_destroying, sizeof node.m_destroying);
        visit("m_serializing", &node.m_serializing, sizeof node.m_serializing);
        visit("m_modifying", &node.m_modifying, sizeof node.m_modifying);
        visit("m_inputs", &node.m_inputs, sizeof node.m_inputs);
        visit("m_outputs", &node.m_outputs, sizeof node.m_outputs);
        visit("m_labels", &node.m_labels, sizeof node.m_labels);
        visit("m_helps", &node.m_helps, sizeof node.m_helps);
        visit("m_layout", &node.m_layout, sizeof node.m_layout);
        visit("m_libInfo", &node.m_libInfo, sizeof node.m_libInfo);
        visit("m_nodeInit", &node.m_nodeInit, sizeof node.m_nodeInit);
        visit("m_nodePrep", &node.m_nodePrep, sizeof node.m_nodePrep);
        visit("m_nodeEval", &node.m_nodeEval, sizeof node.m_nodeEval);
        visit("m_nodeModify", &node.m_nodeModify, sizeof node.m_nodeModify);
        visit("m_nodeFree", &node.m_nodeFree, sizeof node.m_nodeFree);
        visit("m_nodeChanged", &node.m_nodeChanged, sizeof node.m_nodeChanged);
        visit("m_svgIcon", &node.m_svgIcon, sizeof node.m_svgIcon);
        visit("m_data", &node.m_data, sizeof node.m_data);
    }

    static_assert(std::is_same_v<decltype(Node::m_refCount), std::atomic<i32>>);
    static_assert(std::is_same_v<decltype(Node::m_observers), ds::Vector<NodeObserver*>>);
    static_assert(std::is_same_v<decltype(Node::m_observerMutex), std::recursive_mutex>);
    static_assert(std::is_same_v<decltype(Node::m_scene), IScene*>);
    static_assert(std::is_same_v<decltype(Node::m_type), String>);
    static_assert(std::is_same_v<decltype(Node::m_bases), StringVector>);
    static_assert(std::is_same_v<decltype(Node::m_name), String>);
    static_assert(std::is_same_v<decltype(Node::m_dirty), bool>);
    static_assert(std::is_same_v<decltype(Node::m_modifying), bool>);
    static_assert(std::is_same_v<decltype(Node::m_inputs), ds::Vector<IInput*>>);
    static_assert(std::is_same_v<decltype(Node::m_outputs), ds::Vector<IOutput*>>);
    static_assert(std::is_same_v<decltype(Node::m_labels), ds::HashMap<String, String>>);
    static_assert(std::is_same_v<decltype(Node::m_helps), ds::HashMap<String, String>>);
    static_assert(std::is_same_v<decltype(Node::m_layout), ILayout*>);
    static_assert(std::is_same_v<decltype(Node::m_libInfo), kelvo_sdk::LibInfo>);
    static_assert(std::is_same_v<decltype(Node::m_svgIcon), String>);
    static_assert(std::is_same_v<decltype(Node::m_data), void*>);
};

} // namespace qv::kelvo_sdk::impl

namespace qv::tests {

[[nodiscard]] inline kelvo_sdk::impl::NodeLayoutProbe probe(kelvo_sdk::impl::Node& node) {
    return {node};
}

} // namespace qv::tests
