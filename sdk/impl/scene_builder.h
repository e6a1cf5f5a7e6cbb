#pragma once

#include "sdk/impl/scene_tree.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

using interfaces::INode;

class Input;
class Node;
class Output;
class Scene;

/// Makes the nodes of a checked tree and adds them to a scene, all or, when something throws, none.
///
/// Nodes are built whole but for links and connections before the scene and its observers see the
/// first. Then links and connections are made, as edits that everyone hears of.
class SceneBuilder {
public:
    /// Borrows both; the tree's values move into the scene.
    SceneBuilder(SceneTree& tree, Scene& scene);
    ~SceneBuilder();
    SceneBuilder(const SceneBuilder&) = delete;
    SceneBuilder& operator=(const SceneBuilder&) = delete;

    void build();

private:
    [[nodiscard]] RefersTo<Node> makeNode(const TreeNode& from);
    Input* makeInput(u32 index, Node& node, Input* holder);
    void makeMembers(const TreeInput& from, Node& node, Input& holder);
    void makeOutputs(const TreeNode& from, Node& node);
    void addNodes();
    void link(const TreeLink& from);
    static void setLink(Input& input, INode* target);
    void connect(const TreeConnection& from);
    void addComments();
    void addFileComments();
    void takeBack() noexcept;

    SceneTree& m_tree;
    Scene& m_scene;
    // By their positions in the tree.
    std::vector<RefersTo<Node>> m_nodes;
    std::vector<Input*> m_inputs;
    std::vector<Output*> m_outputs;
};

} // namespace qv::kelvo_sdk::impl
