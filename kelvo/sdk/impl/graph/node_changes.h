#pragma once

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/history/change.h"

#include <vector>

// Records of changes to nodes as a whole, and to outputs.
namespace qv::kelvo_sdk::impl {

/// An output came into the list of a node, or left it.
class OutputListChange final : public Change {
public:
    OutputListChange(Output& output, Node& node, u64 index, bool isIn);
    void expect(Scene& scene) override {
        scene.expect(static_cast<const IOutput*>(m_output.get()));
    }
    /// Connections made without the scene's knowledge end.
    void prepareSwap(Scene& scene) override;
    void swap(Scene& scene) override;
    /// Needs one that leaves; before it does.
    void takeComments(SceneComments& from);
    [[nodiscard]] u64 bytes() const override;
    [[nodiscard]] String subject() const override;
    [[nodiscard]] String text() const override;

private:
    RefersTo<Output> m_output;
    RefersTo<Node> m_node;
    u64 m_index;
    bool m_isIn;
    SceneComments::Kept m_comments;
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

/// A node came into the scene, or left it.
class NodeChange final : public Change {
public:
    NodeChange(Node& node, u64 index, bool isIn);
    void expect(Scene& scene) override;
    /// References made without the scene's knowledge end.
    void prepareSwap(Scene& scene) override;
    void swap(Scene& scene) override;
    /// Needs one that leaves; before it does. What belongs to it is kept.
    void takeAlong(SceneComments& from);
    /// The same: the place that it leaves.
    void keep(NodeTable::Place place) noexcept { m_place = std::move(place); }
    [[nodiscard]] u64 bytes() const override;
    [[nodiscard]] String subject() const override { return m_node->name(); }
    [[nodiscard]] String text() const override;

private:
    void takeFreeName(const Scene& scene);

    RefersTo<Node> m_node;
    u64 m_index;
    bool m_isIn;
    SceneComments::Kept m_comments;
    // Nodes of no scene that it refers to, or did when it was out last: nobody else may hold them.
    // There is room for as many again.
    std::vector<RefersTo<INode>> m_strays;
    // Of one that is out.
    NodeTable::Place m_place;
    // Of one that came back under another name, as its own was taken.
    String m_name;
    bool m_isPassedOver = false;
};

/// A node was put in place of another, whose name it has.
class NodeExchange final : public Change {
public:
    /// Before it is.
    NodeExchange(Node& node, Node& replacement, SceneComments& comments);
    /// When it was: what left lets go of the outputs that it reads. What it refers to stays alive.
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

    static u64 countSources(const Node& node) noexcept;
    void restore(const std::vector<Source>& sources);

    RefersTo<Node> m_out;
    RefersTo<Node> m_in;
    std::vector<Source> m_sources;
    // Nodes of no scene that the one that is out refers to.
    std::vector<RefersTo<INode>> m_strays;
    // Empty, with room for those of the one that is in.
    std::vector<Source> m_room;
    // Nodes of no scene that the one that is in refers to, or did when it was out.
    std::vector<RefersTo<INode>> m_otherStrays;
    // Of the one that is out.
    SceneComments::Kept m_comments;
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

/// A node was moved among the nodes of the scene.
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

/// The comments of the text as a whole were set.
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
