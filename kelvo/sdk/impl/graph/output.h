#pragma once

#include "kelvo/sdk/impl/graph/name_index.h"
#include "kelvo/sdk/impl/index/ordered_slots.h"
#include "kelvo/sdk/impl/value/held_buffers.h"
#include "kelvo/sdk/impl/value/value.h"
#include "kelvo/sdk/interfaces/i_output.h"

#include <atomic>
#include <memory>
#include <utility>

namespace qv::kelvo_sdk::impl {

using interfaces::IInput;
using interfaces::INode;
using interfaces::IOutput;

class EvalCache;
class Input;

/// The one implementation of an output; the contract of its operations stands in `IOutput`.
///
///     Object      output.cpp       identity, targets, value set
///     Evaluation  output_eval.cpp  value produced
class Output final : public IOutput {
public:
    /// A new output with one reference, for the creator. It is in no list yet; nobody is told.
    QV_EXPORT Output(INode* node, String name, AttrType type);
    /// A buffer output.
    QV_EXPORT Output(INode* node, String name, DataType type);
    ~Output() override;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void incRef() override;
    void decRef() override;

    /// Tells whether nothing is connected to the output.
    [[nodiscard]] bool isFree() const noexcept { return m_targets.empty(); }
    /// Returns a copy for `node` with the value and no targets; the caller owns its reference.
    QV_EXPORT IOutput* clone(INode* node) const;
    /// For the owning node alone: the node is gone.
    void clearNode() noexcept {
        setNode(nullptr);
        m_hasLeft = true;
    }
    /// For the owning node alone: the output is off its list. What ends by that comes back with it.
    void leaveList();
    /// Tells whether the output was taken off its node.
    [[nodiscard]] bool hasLeft() const noexcept { return m_hasLeft; }
    /// For recorded changes alone: the output comes back to a node that it knows, and its value is
    /// set and the one before given.
    void entered(INode* node) noexcept {
        setNode(node);
        m_hasLeft = false;
    }
    void exchangeValue(Value& other);
    /// For the owning node alone: the output left it, and everyone was told.
    void leaveOwner() noexcept;

    /// Ends every connection; then tells the nodes of the inputs.
    void disconnectTargets(bool isRecorded = true);
    /// The same, unheard: the inputs' nodes are dirty afterwards.
    void dropTargets() noexcept;

    [[nodiscard]] String name() const override { return m_name; }
    [[nodiscard]] AttrType type() const override { return m_type; }
    [[nodiscard]] String typeName() const override;
    [[nodiscard]] INode* node() const override { return m_node; }
    [[nodiscard]] String path() const override;
    [[nodiscard]] bool hasDataType(DataType type) const override;
    [[nodiscard]] u64 targetCount() const override;
    [[nodiscard]] IInput* target(u64 index) const override;
    [[nodiscard]] DataType dataType() const override { return m_dataType; }
    [[nodiscard]] const String& ownName() const noexcept { return m_name; }
    [[nodiscard]] u64 nameHash() const noexcept { return m_nameHash; }

    /// The index by name of the list that this is the first of; null for none. As of inputs.
    [[nodiscard]] const NameIndex<IOutput>* listIndex() const noexcept { return m_listIndex.get(); }
    [[nodiscard]] std::unique_ptr<NameIndex<IOutput>>& listIndexPlace() noexcept {
        return m_listIndex;
    }
    void dropListIndex() noexcept { m_listIndex.reset(); }
    void takeListIndex(Output& first) noexcept { m_listIndex = std::move(first.m_listIndex); }

    /// Returns the position of a target among all, by the slot that it has.
    [[nodiscard]] u64 rankOfTarget(u64 slot) const noexcept { return m_targets.rankOf(slot); }
    /// Calls `visit(const Input&)` for each target in order.
    template<typename Visit>
    void forEachTarget(const Visit& visit) const {
        m_targets.forEach([&](const Input* input) { visit(*input); });
    }

    /// Tells whether the text that the output was read from leaves it to the definition.
    [[nodiscard]] bool isLeftOut() const noexcept { return m_isLeftOut; }
    void setLeftOut(bool leftOut) noexcept { m_isLeftOut = leftOut; }

    /// Returns the value that was set; Null when there was none.
    [[nodiscard]] const Value& value() const noexcept { return m_value; }
    /// Sets the value of an output that no callback produces; false when it is of another kind.
    bool setValue(Value value);
    /// Returns the value: what the node's eval callback produces, or without one the value set.
    /// Null when there is none. Several threads may evaluate at once.
    ///
    /// Chains of connections may be of any length. Callbacks that evaluate others by ways of their
    /// own, as through links, may stand on each other as far as `maxEvalStack` bytes go; beyond
    /// that, and for an evaluation that comes back to itself, an error line tells the path.
    [[nodiscard]] Value evaluate(void* callerCtx);
    /// Tells whether this thread is producing the value right now.
    [[nodiscard]] bool isEvaluating() const noexcept;
    /// Keeps an evaluated buffer where it is, for the reader on this thread, until its next one.
    void hold(const Buffer& buffer) { m_heldBuffers.hold(buffer); }
    static constexpr u64 maxEvalStack = 256 * 1024;

private:
    friend class Input;
    friend class SceneVerifier;

    u64 addTarget(Input* input, u64 rank);
    void removeTarget(u64 slot) noexcept;
    Input* takeLastTarget() noexcept;
    void setNode(INode* node) noexcept;
    void readersChanged() const noexcept;
    // The next `addTarget` does not fail then.
    void makeRoom() { m_targets.reserve(); }
    bool storeValue(Value value);
    void evaluationChanged() const noexcept;
    [[nodiscard]] EvalCache* cacheFor(const EvalCtx* caller) const;
    Value evaluateCached(EvalCache& cache, u64 key, const EvalCtx* caller);
    Value evaluateChecked(EvalCache& cache, u64 key, const EvalCtx* caller);
    void keep(u64 key, const EvalCtx* caller, const Value& result) const;
    Value callNode(const EvalCtx* caller);

    std::atomic<i32> m_refCount = 1;
    AttrType m_type;
    DataType m_dataType = DataType::Null;
    bool m_isLeftOut = false;
    bool m_hasLeft = false;
    INode* m_node;
    String m_name;
    u64 m_nameHash;
    Value m_value;
    OrderedSlots<Input> m_targets;
    // How many calls produce the value right now, on all threads.
    std::atomic<u32> m_calls = 0;
    HeldBuffers m_heldBuffers;
    std::unique_ptr<NameIndex<IOutput>> m_listIndex;
};

} // namespace qv::kelvo_sdk::impl
