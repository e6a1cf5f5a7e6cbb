#pragma once

#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/scene_text/live_text.h"
#include "kelvo/sdk/validation.h"

namespace qv::kelvo_sdk::impl {

/// The nodes of a scene, as the rules need them; see `SceneRules`. Its findings have fixes that
/// edit the scene.
class LiveSource : public LiveText {
public:
    using Finding = kelvo_sdk::Finding;
    using Fix = RefersTo<FindingFix>;

    /// Borrows the scene.
    explicit LiveSource(Scene& scene) noexcept : LiveText(&scene), m_scene(scene) {}

    /// Returns the scene whose libraries define the types.
    [[nodiscard]] const Scene& types() const noexcept { return m_scene; }
    [[nodiscard]] interfaces::IntegrityErrors brokenLaws() const { return m_scene.verify(); }
    template<typename Visit>
    void forEachNode(const Visit& visit) const {
        m_scene.forEachNode([&](const impl::Node* node) { visit(node); });
    }
    [[nodiscard]] static kelvo_sdk::Node handleOn(Node node) noexcept {
        return kelvo_sdk::Node(const_cast<impl::Node*>(node));
    }

    // Nodes.

    [[nodiscard]] static const String& nameOf(Node node) noexcept { return node->ownName(); }
    [[nodiscard]] static bool hasType(Node node, const String& type) noexcept {
        return node->hasType(type);
    }
    [[nodiscard]] static Input find(Node node, const String& name) noexcept {
        return implOf(node->lookUpInput(name));
    }
    [[nodiscard]] static Output findOutput(Node node, const String& name) noexcept {
        return implOf(node->lookUpOutput(name));
    }
    [[nodiscard]] static bool modifies(Node node) { return node->hasNodeModify(); }
    /// Tells whether an input links to the node or is connected to an output of it.
    [[nodiscard]] bool isUsed(Node node) const;

    [[nodiscard]] bool hasComments(Node /*node*/) const noexcept {
        return !m_scene.comments().empty();
    }

    // Inputs and outputs. Values are those that the input holds itself, without evaluation.

    [[nodiscard]] static Input find(Input object, const String& name) noexcept {
        return implOf(object->lookUpInput(name));
    }
    [[nodiscard]] static String pathOf(Input input) { return input->path(); }
    [[nodiscard]] static String typeNameOf(Input input) { return input->typeName(); }
    [[nodiscard]] static String typeNameOf(Output output) { return output->typeName(); }
    [[nodiscard]] static bool isReadOnly(Input input) noexcept { return input->isReadOnly(); }
    [[nodiscard]] static Node linkedBy(Input input) noexcept { return implOf(linkedNode(*input)); }
    [[nodiscard]] static const String& textOf(Input input) { return input->value().asString(); }
    [[nodiscard]] static interfaces::BufferView bufferOf(Input input);
    [[nodiscard]] static u64 hashOf(Input input) { return input->hashWith({}); }
    /// Tells whether the user set another value than that of the definition.
    [[nodiscard]] static bool hasOtherValue(Input input, const impl::Input& definition);
    /// Returns the value as text writes it.
    [[nodiscard]] static String shownValue(Input input);
    [[nodiscard]] static const AttrDetails& detailsOf(Input input) { return *input->details(); }

    /// Calls `visit(input, isConnection, name, fix)` for each reference to a node that is in no
    /// scene, with the name of what it refers to. Saving loses such a reference: no text can hold
    /// it.
    template<typename Visit>
    void forEachLost(Node node, const Visit& visit) const {
        const auto isLost = [&](const interfaces::INode* target) {
            return target && target->scene() != &m_scene;
        };
        visitInputs(*node, [&](impl::Input& input) {
            if (const auto* target = linkedNode(input); isLost(target))
                visit(&input, false, target->name(), clearing(input));
            if (isLost(sourceNode(input)))
                visit(&input, true, input.source()->path(), disconnection(input));
        });
    }

    // Fixes; each has a text that says what it does.

    [[nodiscard]] static Fix removal(String text, Input element);
    [[nodiscard]] static Fix setting(String text, Input input, const Value& value);
    [[nodiscard]] static Fix settingBack(String text, Input input, const impl::Input& definition);
    /// Adds a copy of a definition to the node, or to an object of it if there is a parent.
    [[nodiscard]] static Fix addition(String text, const impl::Input& definition, Node node,
                                      Input parent);
    [[nodiscard]] static Fix addition(String text, const impl::Output& definition, Node node);

private:
    [[nodiscard]] static Fix clearing(impl::Input& input);
    [[nodiscard]] static Fix disconnection(impl::Input& input);

    Scene& m_scene;
};

} // namespace qv::kelvo_sdk::impl
