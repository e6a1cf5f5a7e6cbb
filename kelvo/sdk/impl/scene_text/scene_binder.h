#pragma once

#include "kelvo/sdk/impl/scene_text/scene_tree.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

class Node;
class Scene;

/// Binds the nodes of a tree to the scene's libraries: finds the definitions of nodes and of inputs
/// at any depth, and adds the outputs that the text omits.
class SceneBinder {
public:
    /// Borrows both.
    SceneBinder(SceneTree& tree, const Scene& scene);

    void bind();

private:
    [[nodiscard]] const Node* findType(u32 type);
    void bindInputs(const TreeNode& node);
    template<typename Holder>
    void bindList(u32 first, const Holder& parent, const ds::Vector<interfaces::IInput*>& known);
    void bindInput(u32 index, const Input& definition);
    void addOutputs(TreeNode& node, std::vector<TreeOutput>& to);
    [[nodiscard]] u64 outputIn(const Node& definition, u32 name, u64 guess) const;

    SceneTree& m_tree;
    const Scene& m_scene;
    // Indexed by the names of types.
    struct Known {
        bool isLookedUp = false;
        const Node* definition = nullptr;
    };
    std::vector<Known> m_known;
    // Objects whose members still have to be bound.
    std::vector<u32> m_open;
};

} // namespace qv::kelvo_sdk::impl
