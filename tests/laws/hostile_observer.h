#pragma once

#include "tests/laws/hostile_library.h"
#include "tests/laws/hostile_stage.h"

namespace qv::tests {

/// Where a hostile observer hears of an edit, and does its misdeed.
enum class Ear { Nodes, Scene, Batches, Library };
inline constexpr int earCount = 4;
[[nodiscard]] constexpr const char* earName(Ear ear) {
    constexpr const char* names[] = {"told by nodes", "told by the scene", "told in batches",
                                     "called by the nodes' library"};
    return names[static_cast<int>(ear)];
}

/// Does a misdeed at the n-th notification, and none meanwhile. Reads what it is told of.
class Hostile : public SceneObserver, public NodeObserver, public BatchObserver {
public:
    using IInput = kelvo_sdk::interfaces::IInput;
    using INode = kelvo_sdk::interfaces::INode;
    using IOutput = kelvo_sdk::interfaces::IOutput;
    using SceneChanges = kelvo_sdk::SceneChanges;

    Hostile(const Deed& misdeed, int when) : m_misdeed(misdeed), m_left(when) {}

    /// Listens from now on.
    void start(Stage& stage, Ear ear) {
        m_stage = &stage;
        stage.sceneObserver = this, stage.batchObserver = this, stage.nodeObserver = this;
        if (ear == Ear::Batches) stage.scene.subscribe(stage.batchObserver);
        if (ear == Ear::Scene) stage.scene.subscribe(stage.sceneObserver);
        for (u64 i = 0; ear == Ear::Nodes && i < stage.scene.nodeCount(); ++i)
            stage.scene.node(i)->subscribe(this);
    }
    void stop() {
        if (m_stage && m_stage->scene) {
            m_stage->scene.unsubscribe(m_stage->sceneObserver);
            m_stage->scene.unsubscribe(m_stage->batchObserver);
        }
        m_stage = nullptr;
    }
    [[nodiscard]] bool hasActed() const { return m_left < 0; }

    /// A callback of a node's library was called.
    void called(INode* node, IInput* input) {
        if (input)
            act(input);
        else if (node)
            act(node);
        else
            act();
    }

    void nodeAdded(INode* node) override { act(node); }
    void nodeRemoved(INode* node) override { act(node); }
    void nodeRenamed(INode* node, String) override { act(node); }
    void nodeMoved(INode* node, u64) override { act(node); }
    void inputAdded(const IInput* input) override { act(input); }
    void inputRemoved(const IInput* input) override { act(input); }
    void outputAdded(const IOutput* output) override { act(output); }
    void outputRemoved(const IOutput* output) override { act(output); }
    void inputChanged(const IInput* input, const kelvo_sdk::impl::AttrData*) override {
        act(input);
    }
    void inputConnected(const IInput* input, const IOutput* before, const IOutput* after) override {
        if (before) m_read += before->path();
        if (after) m_read += after->path();
        act(input);
    }
    void inputRenamed(const IInput* input, String) override { act(input); }
    void nodeConverted(INode* node, INode* replacement) override {
        m_read += replacement->name();
        act(node);
    }
    void nodeRemoved() override { act(); }
    void nodeRenamed(String) override { act(); }
    void nodeConverted(Node replacement) override { act(replacement.get()); }
    void inputChanged(Input input) override { act(input.get()); }
    void inputConnected(Input input) override { act(input.get()); }
    void sceneChanged(const SceneChanges& changes) override {
        for (const INode* node : changes.removedNodes)
            m_read += node->name();
        for (const IInput* input : changes.changedInputs)
            m_read += input->path();
        act();
    }

private:
    // The misdeed may edit what an observer is shown as constant.
    void act(const INode* node) {
        if (!m_stage) return;
        m_read = node->name();
        tell(const_cast<INode*>(node), nullptr);
    }
    void act(const IInput* input) {
        if (!m_stage) return;
        m_read = input->name() + input->path();
        tell(input->node(), const_cast<IInput*>(input));
    }
    void act(const IOutput* output) {
        if (!m_stage) return;
        m_read = output->name() + output->path();
        tell(output->node(), nullptr);
    }
    void act() { tell(nullptr, nullptr); }

    void tell(INode* node, IInput* input) {
        if (!m_stage || m_isActing || m_left-- != 0 || !m_stage->scene) return;
        m_isActing = true;
        struct End {
            ~End() {
                hostile.m_isActing = false;
                stage.told = Node();
                stage.toldInput = Input();
            }
            Hostile& hostile;
            Stage& stage;
        } const end{*this, *m_stage};
        m_stage->told = Node(node);
        m_stage->toldInput = Input(input);
        m_misdeed.run(*m_stage);
    }

    Stage* m_stage = nullptr;
    const Deed& m_misdeed;
    int m_left;
    bool m_isActing = false;
    String m_read;
};

} // namespace qv::tests
