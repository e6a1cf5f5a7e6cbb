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

/// Keeps true what the modifiers of a scene's nodes make of them, as nodes and modifiers change.
///
/// A node is modified in three steps, unheard: its inputs get back what was put aside; those that
/// its modifiers name put their values aside again; each modifier in its list is called, in order.
/// Then observers are told of each input that is another than before, once, while the node says
/// that it is `modifying()`. Anything else that is written to an input whose value is put aside is
/// the user's: it takes the place of that value.
///
/// A modifier that is no "modifier", or empty, is passed over; one that fails leaves what it wrote,
/// and the next ones are called all the same. What a modifier writes to inputs that it does not
/// name is put aside too. Nodes are done again when an input of their own changes, when something
/// changes that one of their modifiers depends on, or that they are connected to, at any distance;
/// what others depend on comes first. Loops end: each node is done once for a change. Changes that
/// observers and modifiers make meanwhile come next.
class Modifiers : public SceneFollower {
public:
    /// The scene must outlive this.
    explicit Modifiers(Scene& scene) : m_scene(scene) {}

    /// The node of the scene has, or had, a list of modifiers.
    void watch(Node& node);
    [[nodiscard]] bool hearsInputs() const noexcept override { return !isIdle(); }
    void inputTold(Input& input) override;
    /// It leaves with what its user set.
    void nodeLeft(Node& node) override;
    /// All have what their users set, unheard.
    void sceneEnds() noexcept override;

    /// While held, nothing is modified; what changes meanwhile comes at the release.
    void hold() noexcept { ++m_holds; }
    void release(bool isToRun);

    /// Tells whether what is put aside in the node's inputs is what the user set.
    [[nodiscard]] bool has(const Node& node) const {
        return m_nodes.contains(const_cast<Node*>(&node));
    }
    /// Tells whether modifiers are writing to the node right now.
    [[nodiscard]] bool areWriting(const Node& node) const noexcept { return m_writing == &node; }
    /// Tells whether no node has modifiers.
    [[nodiscard]] bool isIdle() const noexcept { return m_nodes.empty() && !m_isBehind; }
    /// There was no memory to do what is to be done: all are done again with the next change.
    void fallBehind() noexcept;
    /// An input of that node is about to get another value.
    void noteWrite(Input& input);

private:
    struct Written {
        RefersTo<Input> input;
        Value before;
        // Keeps what a link led to.
        RefersTo<INode> node;
        // Null when none was kept aside.
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
    // The input whose change is being told from here.
    const Input* m_telling = nullptr;
};

} // namespace qv::kelvo_sdk::impl
