#pragma once

#include "kelvo/sdk/impl/scene_text/scene_tree.h"

namespace qv::kelvo_sdk::impl {

/// Appends one tree to another, as if the text of both had been read into one tree.
///
/// The larger part, the inputs, is moved last, so that several threads can move those of different
/// trees at the same time.
class TreeJoin {
public:
    /// Borrows both trees. The appended tree must have no file comments and not be checked yet.
    TreeJoin(SceneTree& to, SceneTree& from) noexcept : m_to(to), m_from(from) {}

    /// Tells whether the trees have at most `maxNodes` nodes, with different names, and not too
    /// many inputs.
    [[nodiscard]] bool fits(u64 maxNodes);
    /// Moves everything but the inputs. `leading` are the comments in front of the first node.
    /// Needs trees that fit.
    void joinNodes(String leading);
    /// Moves the inputs. Call it before the joined tree is used.
    void joinInputs() noexcept;

private:
    [[nodiscard]] u32 name(u32 number) const noexcept {
        return number != noTreeIndex ? m_names[number] : noTreeIndex;
    }
    void joinNode(TreeNode node);
    void joinReferences();

    SceneTree& m_to;
    SceneTree& m_from;
    // Indexed by name of the appended tree: its number in the other one.
    std::vector<u32> m_names;
    TreeList<TreeInput>::Room m_inputs;
    // The numbers that the first ones of the appended tree get.
    u32 m_firstNode = 0;
    u32 m_firstInput = 0;
    u32 m_firstOutput = 0;
    u32 m_firstBase = 0;
    u32 m_firstExtras = 0;
};

} // namespace qv::kelvo_sdk::impl
