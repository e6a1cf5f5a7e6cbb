#pragma once

#include "kelvo/sdk/impl/scene_text/scene_tree.h"
#include "kelvo/sdk/impl/text/text_errors.h"

namespace qv::kelvo_sdk::impl {

using interfaces::INode;

class Scene;

/// Tells whether an output may be the source of an input, which may be bound to an element type.
[[nodiscard]] bool kindsFit(AttrType from, DataType fromElements, AttrType to,
                            DataType bound) noexcept;

/// Checks the parts of a tree against each other and resolves names. Nodes are looked up in the
/// text, then in the scene, without regard to case; outputs by exact name, then without regard to
/// case. Connections must convert and close no loop. Takes linear time except for sorting names.
class SceneChecker {
public:
    /// Borrows all arguments. With `namesAreMissing`, unknown names are not reported.
    SceneChecker(SceneTree& tree, Scene& scene, TextErrors& errors, bool namesAreMissing);

    void check();

private:
    void findLink(TreeLink& link);
    void findSource(TreeConnection& connection);
    void findKnownSource(TreeConnection& connection);
    void checkKinds(const TreeConnection& connection, AttrType type, DataType dataType);
    [[nodiscard]] u32 outputOf(u32 node, u32 name, u32 ordinal) const;
    void sortOutputs();
    void checkLoops();
    void checkLoopsFrom(u32 node);
    void reportLoop(u32 closing);

    [[nodiscard]] String unknownNode(u32 name) const;
    [[nodiscard]] String unknownOutput(const TreeConnection& connection, const INode* known) const;
    [[nodiscard]] String inputPath(const TreeConnection& connection) const;
    [[nodiscard]] String sourcePath(const TreeConnection& connection) const;
    void failUnknown(u64 offset, u32 node, String message);
    void fail(u64 offset, u32 node, String message);

    SceneTree& m_tree;
    Scene& m_scene;
    TextErrors& m_errors;
    bool m_namesAreMissing;
    // All outputs, those of each node sorted by name and by folded name.
    std::vector<u32> m_byName;
    std::vector<u32> m_byFolded;

    // State of the search for loops: connections by the node they feed, and the current chain.
    enum class Mark : u8 { New, Open, Done };
    struct Step {
        u32 node;
        u32 next;
        // The connection that led here.
        u32 connection;
    };
    std::vector<u32> m_firstOf;
    std::vector<u32> m_feeding;
    std::vector<Mark> m_marks;
    std::vector<Step> m_chain;
};

} // namespace qv::kelvo_sdk::impl
