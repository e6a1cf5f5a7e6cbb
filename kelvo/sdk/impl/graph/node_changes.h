#pragma once

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/history/change.h"

#include <vector>

// Records of changes to nodes as a whole, and to outputs.
namespace qv::kelvo_sdk::impl {

/// An output was added to the list of a node, or removed from it.
class OutputListChange final : public Change {
public:
    OutputListChange(Output& output, Node& node, u64 index, bool isIn);
    void expect(Scene& scene) override {
        scene.expect(static_cast<const IOutput*>(m_output.get()));
    }
    /// Ends connections that were made without the scene's knowledge.
    void prepareSwap(Scene& scene) override;
    void swap(Scene& scene) override;
    /// Call before the removal that this records.
    void takeComments(SceneComments& from);
    [[nodiscard]] u64 bytes() const override;
    [[nodiscard]] String subject() const override;
    [[nodiscard]] String text() const override;

private:
    bool putIn(Scene& scene);
    bool takeOut(Scene& scene);

    RefersTo<Output> m_output;
    RefersTo<Node> m_node;
    u64 m_index;
    bool m_isIn;
    SceneComments::Kept m_comments;
    bool m_isPassedOver = false;
};

/// The value of an output was set.
class OutputValueChange final : public Change {
public:
    explicit OutputValueChange(Output& output);
    void expect(Scene& scene) override {
        scene.expect(static_cast<const IOutput*>(m_output.get()));
    }
    void swap(Scene& scene) override;
    [[nodiscard]] const void* valueOwner() const override { return m_output.get(); }
    [[nodiscard]] bool isNothing() const override;
    [[nodiscard]] u64 bytes() const override;
    [[nodiscard]] String subject() const override { return m_output->path(); }
    [[nodiscard]] String text() const override { return "Set " + subject(); }

private:
    RefersTo<Output> m_output;
    Value m_other;
};

/// A node was added to the scene, or removed from it.
class NodeChange final : public Change {
public:
    NodeChange(Node& node, u64 index, bool isIn);
    void expect(Scene& scene) override;
    /// Ends references that were made without the scene's knowledge.
    void prepareSwap(Scene& scene) override;
    void swap(Scene& scene) override;
    /// Call before the removal that this records: keeps comments, and nodes that the node refers
    /// to.
    void takeAlong(SceneComments& from);
    /// Keeps the place that the removed node had.
    void keep(NodeTable::Place place) noexcept { m_place = std::move(place); }
    [[nodiscard]] u64 bytes() const override;
    [[nodiscard]] String subject() const override { return m_node->name(); }
    [[nodiscard]] String text() const override;

private:
    void takeFreeName(const Scene& scene);

    // Nodes outside of scenes that the node refers to, or did when it was last removed; this record
    // may have the only references, and the node ends first. Has capacity for as many again.
    std::vector<RefersTo<INode>> m_strays;
    RefersTo<Node> m_node;
    u64 m_index;
    bool m_isIn;
    SceneComments::Kept m_comments;
    // The place of a removed node.
    NodeTable::Place m_place;
    // The own name of a node that was restored under another one, because its own was taken.
    String m_name;
    bool m_isPassedOver = false;
};

/// A node was replaced by another one, which has its name.
class NodeExchange final : public Change {
public:
    /// Create before the exchange.
    NodeExchange(Node& node, Node& replacement, SceneComments& comments);
    /// Call after the exchange: disconnects the inputs of the replaced node. Keeps alive all nodes
    /// that it refers to.
    void cutSources();
    void expect(Scene& scene) override {
        scene.expect(static_cast<const INode*>(m_out.get()));
        scene.expect(static_cast<const INode*>(m_in.get()));
    }
    void swap(Scene& scene) override;
    [[nodiscard]] u64 bytes() const override;
    [[nodiscard]] String subject() const override { return m_in->name(); }
    [[nodiscard]] String text() const override;

private:
    struct Source {
        RefersTo<Input> input;
        RefersTo<Output> output;
        u64 rank;
    };

    using Strays = std::vector<RefersTo<INode>>;

    // Reserves memory for everything outside of the node that `cutSources` keeps.
    static void makeRoom(const Node& node, std::vector<Source>& sources, Strays& strays);
    void restore(const std::vector<Source>& sources);

    // Nodes outside of scenes that the replaced node refers to, which ends first.
    Strays m_strays;
    // Nodes outside of scenes that the current node refers to, or did while it was replaced.
    Strays m_otherStrays;
    RefersTo<Node> m_out;
    RefersTo<Node> m_in;
    std::vector<Source> m_sources;
    // Empty, with capacity for the sources of the current node.
    std::vector<Source> m_room;
    // Comments of the replaced node.
    SceneComments::Kept m_comments;
    // Empty, with the memory for those of the current node once it was put back.
    SceneComments::Kept m_otherComments;
};

/// A node was renamed.
class NodeRename final : public Change {
public:
    NodeRename(Node& node, String before);
    void expect(Scene& scene) override { scene.expect(static_cast<const INode*>(m_node.get())); }
    void swap(Scene& scene) override;
    [[nodiscard]] u64 bytes() const override { return sizeof(*this) + m_other.size(); }
    [[nodiscard]] String subject() const override { return m_node->name(); }
    [[nodiscard]] String text() const override;

private:
    RefersTo<Node> m_node;
    String m_other;
};

/// A node was moved within the order of the scene's nodes.
class NodeMove final : public Change {
public:
    NodeMove(Node& node, u64 from, u64 to);
    void expect(Scene& scene) override { scene.expect(static_cast<const INode*>(m_node.get())); }
    void swap(Scene& scene) override;
    [[nodiscard]] u64 bytes() const override { return sizeof(*this); }
    [[nodiscard]] String subject() const override { return m_node->name(); }
    [[nodiscard]] String text() const override { return "Move node '" + subject() + "'"; }

private:
    RefersTo<Node> m_node;
    u64 m_from;
    u64 m_to;
    bool m_isPassedOver = false;
};

/// The comments of the whole text were set.
class FileCommentsChange final : public Change {
public:
    explicit FileCommentsChange(const SceneComments& comments) : m_other(comments.file()) {}
    void expect(Scene& /*scene*/) override {}
    void swap(Scene& scene) override;
    [[nodiscard]] u64 bytes() const override;
    [[nodiscard]] String subject() const override { return "comments"; }
    [[nodiscard]] String text() const override { return "Comment"; }

private:
    Comments m_other;
};

} // namespace qv::kelvo_sdk::impl
