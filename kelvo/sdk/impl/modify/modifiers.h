#pragma once

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene_follower.h"
#include "kelvo/sdk/impl/value/value.h"

#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Scene;

/// Applies the modifiers of a scene's nodes, and applies them again as nodes and modifiers change.
///
/// A node is modified in three steps without notifications: its inputs get their kept values
/// back; the inputs that its modifiers name keep their values aside again; the modifiers in its
/// list are called in order. Then observers are notified once of each input whose value differs
/// from before, while the node's `modifying()` is true. Any other write to an input with a kept
/// value is the user's and replaces the kept value.
///
/// A modifier whose type is not a "modifier", or an empty element, is skipped; a modifier that
/// fails keeps what it wrote, and the next ones are still called. An input that a modifier writes
/// without naming it keeps its value aside too. A node is modified again when one of its inputs
/// changes, and when something changes upstream of it or of one of its modifiers; upstream nodes
/// come first. Loops end: each node is modified once for a change. Changes that observers and
/// modifiers make meanwhile are followed up next.
class Modifiers : public SceneFollower {
public:
    /// The scene must outlive the modifiers.
    explicit Modifiers(Scene& scene) : m_scene(scene) {}

    /// Call when a node of the scene got or lost a list of modifiers.
    void watch(Node& node);
    [[nodiscard]] bool followsInputs() const noexcept override { return !isIdle(); }
    void inputNotified(Input& input) override;
    /// Gives the leaving node the user's values back.
    void nodeLeft(Node& node) override;
    /// Gives the node, whose list of modifiers ended, the user's values back.
    void listLeft(Node& node);
    /// Gives all nodes the user's values back, without notifications.
    void sceneEnds() noexcept override;

    /// While held, no node is modified; the release catches up with the changes.
    void hold() noexcept { ++m_holds; }
    void release(bool isToRun);

    /// Tells whether values that the node's inputs keep aside are the user's.
    [[nodiscard]] bool has(const Node& node) const {
        return m_nodes.contains(const_cast<Node*>(&node));
    }
    /// Tells whether modifiers are writing to the node right now.
    [[nodiscard]] bool areWriting(const Node& node) const noexcept { return m_writing == &node; }
    /// Tells whether there is nothing to apply modifiers to.
    [[nodiscard]] bool isIdle() const noexcept { return m_nodes.empty() && !m_isBehind; }
    /// Call when memory ran out: all nodes are modified again with the next change.
    void fallBehind() noexcept;
    /// Call before a modifier's write replaces the input's value.
    void noteWrite(Input& input);

private:
    struct Written {
        RefersTo<Input> input;
        Value before;
        // Keeps the linked node alive, which `before` only points to.
        RefersTo<INode> node;
        // Null when no value was kept aside.
        std::unique_ptr<Stash> stash;
    };
    class Writing;
    class Telling;

    void enqueue(Node& node);
    void catchUp();
    void run();
    [[nodiscard]] std::vector<Node*> takeQueue(bool isLastRound);
    void apply(Node& node);
    [[nodiscard]] std::vector<Written> write(Node& node);
    void callModifiers(Node& node);
    void giveBack(Node& node);
    void tell(Node& node, const std::vector<Written>& written);
    void tellAfter(Node& node, std::vector<Written> written);
    void unqueue(Node& node) noexcept;
    [[nodiscard]] static Written shownBy(Input& input);

    Scene& m_scene;
    // Nodes whose list of modifiers is not empty.
    std::unordered_set<Node*> m_nodes;
    std::vector<RefersTo<Node>> m_queue;
    std::unordered_set<const Node*> m_queued;
    u32 m_holds = 0;
    bool m_isRunning = false;
    bool m_isBehind = false;
    const Node* m_writing = nullptr;
    std::vector<Written> m_written;
    std::unordered_map<const Input*, u64> m_noted;
    // The input whose change is being reported by `tell`.
    const Input* m_telling = nullptr;
};

} // namespace qv::kelvo_sdk::impl
