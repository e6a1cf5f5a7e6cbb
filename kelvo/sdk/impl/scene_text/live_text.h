#pragma once

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_fetch.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/text_source.h"

#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// The nodes of a scene as a source of text: each node, input and output is its own view.
///
/// Nodes outside the scene cannot be named in its text: links to them are none, and connections to
/// them are left out.
class LiveText {
public:
    using Node = const impl::Node*;
    using Input = const impl::Input*;
    using Output = const impl::Output*;

    /// A list of attributes; borrowed.
    template<typename Attribute, typename Interface>
    class List {
    public:
        List() = default;
        explicit List(const ds::Vector<Interface*>& list) noexcept : m_list(&list) {}
        [[nodiscard]] u64 size() const noexcept { return m_list ? m_list->size() : 0; }
        [[nodiscard]] Attribute operator[](u64 i) const noexcept { return implOf((*m_list)[i]); }

    private:
        const ds::Vector<Interface*>* m_list = nullptr;
    };
    using Inputs = List<Input, interfaces::IInput>;
    using Outputs = List<Output, interfaces::IOutput>;

    /// Borrows the scene, null for nodes without one.
    explicit LiveText(const Scene* scene) noexcept
        : LiveText(scene, scene ? &scene->comments() : nullptr) {}
    /// For attributes of definitions, which are in no scene.
    explicit LiveText(const SceneComments& comments) noexcept : LiveText(nullptr, &comments) {}

    // See `TextWriter`.

    [[nodiscard]] Node definitionOf(Node node) const {
        return m_scene ? m_scene->findType(node->type()) : nullptr;
    }
    template<typename Thing>
    [[nodiscard]] const Comments* commentsOf(const Thing* thing) const {
        return m_comments ? m_comments->find(thing) : nullptr;
    }
    [[nodiscard]] static Inputs inputsOf(Node node) noexcept { return Inputs(node->inputs()); }
    [[nodiscard]] static Outputs outputsOf(Node node) noexcept { return Outputs(node->outputs()); }
    [[nodiscard]] static Inputs partsOf(Input input) noexcept { return Inputs(input->members()); }
    [[nodiscard]] static Input parentOf(Input input) { return implOf(input->parent()); }
    [[nodiscard]] static bool hasSameValue(Input input, Input definition) {
        return input->ownValue() == definition->value();
    }
    [[nodiscard]] static bool hasSource(Input input) { return input->source(); }
    [[nodiscard]] TextOutput sourceOf(Input input);
    [[nodiscard]] static bool isLinked(Input input) {
        const Value& value = input->ownValue();
        return value.type() == AttrType::Node && value.asNode();
    }
    [[nodiscard]] String linkOf(Input input) const { return nameOf(input->ownValue()); }
    [[nodiscard]] static const Value* stashOf(Input input) {
        return input->isModified() ? nullptr : input->stashed();
    }
    [[nodiscard]] String stashLinkOf(Input input) const { return nameOf(*stashOf(input)); }
    [[nodiscard]] String describedLinkOf(Input input, u64 place) const {
        return nameOf(*describedValue(*input->details(), place));
    }
    [[nodiscard]] bool isUnchanged(Input input);

    [[nodiscard]] const Comments& file() const { return m_scene->comments().file(); }
    [[nodiscard]] Node firstNode() const { return implOf(m_scene->node(0)); }
    [[nodiscard]] UnreadNodes<Node> unreadNodes() const;
    template<typename Visit>
    void forEachNode(const Visit& visit) const {
        const std::vector<Node> nodes = allNodes();
        for (u64 i = 0; i < nodes.size(); ++i) {
            NodeFetch::ahead(i, nodes.size(), [&](u64 index) { return nodes[index]; });
            visit(nodes[i]);
        }
    }

private:
    LiveText(const Scene* scene, const SceneComments* comments) noexcept
        : m_scene(scene), m_comments(comments && !comments->empty() ? comments : nullptr) {}

    [[nodiscard]] std::vector<Node> allNodes() const;
    [[nodiscard]] String nameOf(const Value& value) const;
    [[nodiscard]] u32 ordinalOf(const impl::Output& output);

    const Scene* m_scene;
    // Null when there are none.
    const SceneComments* m_comments;
    // Inputs known to differ from their defaults.
    std::unordered_set<Input> m_changed;
    // Nodes whose outputs were already compared, and the outputs among them that share their name
    // with an earlier one.
    std::unordered_set<const interfaces::INode*> m_numbered;
    std::unordered_map<const interfaces::IOutput*, u32> m_ordinals;
};

} // namespace qv::kelvo_sdk::impl
