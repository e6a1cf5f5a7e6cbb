#pragma once

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/history/change.h"
#include "kelvo/sdk/impl/value/value.h"

#include <memory>

// Records of changes to inputs: values, links, connections, what is kept aside, and their lists.
namespace qv::kelvo_sdk::impl {

class Input;
struct Stash;

/// An input and its node, which both stay.
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
    // Null for one without a node.
    RefersTo<Node> m_node;
};

/// A value was set, or a link.
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
    // The node of a link, and the one that came back, which nobody else may hold.
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

/// The value kept aside was put there or taken away.
class StashChange final : public InputChange {
public:
    explicit StashChange(Input& input);
    ~StashChange() override;
    void swap(Scene& scene) override;
    [[nodiscard]] u64 bytes() const override;
    [[nodiscard]] String text() const override;

private:
    // Null when none is kept; in no table.
    std::unique_ptr<Stash> m_other;
    // As above.
    RefersTo<INode> m_linked;
    RefersTo<INode> m_restored;
};

/// A connection was made, replaced or ended.
class SourceChange final : public InputChange {
public:
    explicit SourceChange(Input& input);
    /// For one that `source` let go as the `rank`-th of its targets.
    SourceChange(Input& input, Output& source, u64 rank);
    void swap(Scene& scene) override;
    void settle() override;
    [[nodiscard]] u64 bytes() const override { return sizeof(*this); }
    [[nodiscard]] String text() const override;

private:
    // The other source, null for none, its node, and the place of the input among its targets.
    RefersTo<Output> m_other;
    RefersTo<INode> m_otherNode;
    // The node whose output came back, which nobody else may hold.
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

/// An input came into the list of a node or of another input, or left it.
class InputListChange final : public InputChange {
public:
    /// `isIn` tells what the change makes of it; `index` is its place in the list.
    InputListChange(Input& input, Node* node, Input* parent, u64 index, bool isIn);
    void swap(Scene& scene) override;
    /// Needs one that leaves; before it does. Its comments leave with it.
    void takeComments(SceneComments& from);
    [[nodiscard]] String subject() const override;
    [[nodiscard]] u64 bytes() const override;
    [[nodiscard]] String text() const override;

private:
    /// Return false when that does not fit any more.
    [[nodiscard]] bool putIn(Scene& scene);
    [[nodiscard]] bool takeOut(Scene& scene);

    RefersTo<Node> m_owner;
    // Null at the top level.
    RefersTo<Input> m_parent;
    u64 m_index;
    bool m_isIn;
    bool m_isPassedOver = false;
    SceneComments::Kept m_comments;
};

} // namespace qv::kelvo_sdk::impl
