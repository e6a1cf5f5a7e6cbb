#pragma once

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/history/change.h"
#include "kelvo/sdk/impl/value/value.h"

#include <memory>

// Records of changes to inputs: values, links, connections, kept values, and lists of inputs.
namespace qv::kelvo_sdk::impl {

class Input;
struct Stash;

/// A change of an input. Keeps the input and its node alive.
class InputChange : public Change {
public:
    explicit InputChange(Input& input);
    void expect(Scene& scene) override;
    [[nodiscard]] String subject() const override;

protected:
    [[nodiscard]] Input& input() const noexcept { return *m_input; }
    [[nodiscard]] Node* node() const noexcept { return m_node.get(); }

private:
    RefersTo<Input> m_input;
    // Null for an input without a node.
    RefersTo<Node> m_node;
};

/// A value or a link was set.
class ValueChange final : public InputChange {
public:
    explicit ValueChange(Input& input);
    void swap(Scene& scene) override;
    void settle() override;
    [[nodiscard]] const void* valueOwner() const override;
    [[nodiscard]] bool isNothing() const override;
    [[nodiscard]] u64 bytes() const override;
    [[nodiscard]] String text() const override;

private:
    Value m_other;
    // The linked node, and the one that a swap restored; this record may have the only references.
    RefersTo<INode> m_linked;
    RefersTo<INode> m_restored;
};

/// The description was replaced.
class DetailsChange final : public InputChange {
public:
    explicit DetailsChange(Input& input);
    void swap(Scene& scene) override;
    [[nodiscard]] u64 bytes() const override { return sizeof(*this); }
    [[nodiscard]] String text() const override { return "Describe " + subject(); }

private:
    RefersTo<AttrDetails> m_other;
};

/// A value was kept aside, or a kept value was removed.
class StashChange final : public InputChange {
public:
    explicit StashChange(Input& input);
    ~StashChange() override;
    void swap(Scene& scene) override;
    [[nodiscard]] u64 bytes() const override;
    [[nodiscard]] String text() const override;

private:
    // Null when none is kept; its link is in no table.
    std::unique_ptr<Stash> m_other;
    // Like those of `ValueChange`.
    RefersTo<INode> m_linked;
    RefersTo<INode> m_restored;
};

/// A connection was made, replaced or ended.
class SourceChange final : public InputChange {
public:
    explicit SourceChange(Input& input);
    /// For a connection that `source` ended; the input was its target number `rank`.
    SourceChange(Input& input, Output& source, u64 rank);
    void swap(Scene& scene) override;
    void settle() override;
    [[nodiscard]] u64 bytes() const override { return sizeof(*this); }
    [[nodiscard]] String text() const override;

private:
    // The other source, null for none, its node, and the position of the input among its targets.
    RefersTo<Output> m_other;
    RefersTo<INode> m_otherNode;
    // The node whose output a swap restored; this record may have the only reference.
    RefersTo<INode> m_restored;
    u64 m_rank = 0;
};

/// An element was moved.
class ElementMove final : public InputChange {
public:
    ElementMove(Input& array, u64 from, u64 to);
    void swap(Scene& scene) override;
    [[nodiscard]] u64 bytes() const override { return sizeof(*this); }
    [[nodiscard]] String text() const override;

private:
    u64 m_from;
    u64 m_to;
};

/// An input was added to the list of a node or of another input, or removed from it.
class InputListChange final : public InputChange {
public:
    /// `isIn` tells whether the change adds the input; `index` is its position in the list. Needs
    /// an input with a node.
    InputListChange(Input& input, Input* parent, u64 index, bool isIn);
    void swap(Scene& scene) override;
    /// Call before the removal that this records: keeps the comments of the input.
    void takeComments(SceneComments& from);
    [[nodiscard]] String subject() const override;
    [[nodiscard]] u64 bytes() const override;
    [[nodiscard]] String text() const override;

private:
    /// Return false when the change does not fit any more.
    [[nodiscard]] bool putIn(Scene& scene);
    [[nodiscard]] bool takeOut(Scene& scene);

    // Null at the top level.
    RefersTo<Input> m_parent;
    u64 m_index;
    bool m_isIn;
    bool m_isPassedOver = false;
    SceneComments::Kept m_comments;
};

} // namespace qv::kelvo_sdk::impl
