#pragma once

#include "kelvo/sdk/impl/scene_text/scene_tree.h"

#include "kelvo/base/workers.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

using interfaces::INode;

class Input;
class Node;
class Output;
class Scene;

/// Makes the nodes of a checked tree and adds them to a scene; when something throws, adds none.
///
/// Builds nodes completely, except for links and connections, before the scene gets the first one.
/// Then makes links and connections, as edits. Notifies observers last, in the same order.
///
///     Nodes      scene_builder.cpp          heads, outputs, links, connections, comments
///     Inputs     scene_builder_inputs.cpp   values, annotations, members, omitted attributes
class SceneBuilder {
public:
    /// Borrows both; moves the tree's values into the scene. Many nodes are made by `threads`
    /// threads, as `Workers` has them; all else happens on the calling one.
    SceneBuilder(SceneTree& tree, Scene& scene, u32 threads);
    /// Makes nodes one by one, without a scene.
    explicit SceneBuilder(SceneTree& tree);
    ~SceneBuilder();
    SceneBuilder(const SceneBuilder&) = delete;
    SceneBuilder& operator=(const SceneBuilder&) = delete;

    void build();

    // For nodes that belong to no scene.

    /// Returns a node of the type and name, without attributes.
    [[nodiscard]] RefersTo<Node> makeEmptyNode(const TreeNode& from) const;
    /// Append a copy of an attribute of another node, without notifications.
    static void addCopy(const interfaces::IInput& input, Node& node);
    static void addCopy(const interfaces::IOutput& output, Node& node);
    void makeAttributes(const TreeNode& from, Node& node);
    /// Return the attribute made for one of the tree, null for none.
    [[nodiscard]] const Input* input(u32 index) const { return m_inputs[index]; }
    [[nodiscard]] const Output* output(u32 index) const { return m_outputs[index]; }

private:
    // An array or object whose elements or members are still to be made.
    struct Unfilled {
        u32 from;
        Input* input;
    };

    void makeNodes();
    [[nodiscard]] RefersTo<Node> makeNode(const TreeNode& from);
    void describe(const TreeNode& from, Node& node) const;
    void initialiseNodes();
    [[nodiscard]] u64 endOfInputs(u64 node) const noexcept;
    void initialise(u64 index);
    void holdKnown();
    void makeInputs(const TreeNode& from, Node& node);
    template<typename Add>
    void addInputs(u32 first, const ds::Vector<interfaces::IInput*>& known, Node& node,
                   Input* parent, std::vector<Unfilled>& unfilled, const Add& add);
    [[nodiscard]] RefersTo<Input> makeInput(u32 index, Node& node, Input* parent,
                                            std::vector<Unfilled>& unfilled);
    void makeMembers(const TreeInput& from, Node& node, Input& parent,
                     std::vector<Unfilled>& unfilled);
    void makeOutputs(const TreeNode& from, Node& node);
    void addUnnotified();
    void addNodes();
    void link(const TreeLink& from);
    static void setLink(Input& input, INode* target);
    void connect(const TreeConnection& from);
    void addComments();
    [[nodiscard]] Comments fileComments();
    void takeBack(u64 start) noexcept;

    SceneTree& m_tree;
    // Null when there is none.
    Scene* m_scene = nullptr;
    Workers m_workers{1};
    bool m_isDone = false;
    // Indexed by positions in the tree.
    std::vector<RefersTo<Node>> m_nodes;
    std::vector<Input*> m_inputs;
    std::vector<Output*> m_outputs;
    // Keep attributes and nodes alive until links and connections are made: libraries may remove
    // them when they initialise nodes.
    std::vector<RefersTo<INode>> m_heldNodes;
    std::vector<RefersTo<interfaces::IInput>> m_heldInputs;
    std::vector<RefersTo<interfaces::IOutput>> m_heldOutputs;
};

} // namespace qv::kelvo_sdk::impl
