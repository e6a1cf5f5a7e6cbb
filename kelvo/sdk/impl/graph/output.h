#pragma once

#include "kelvo/base/only.h"
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

template<typename Attribute>
class Departure;
class EvalCache;
class Input;
class Node;
class OutputListChange;
class OutputValueChange;
struct LawBreaker;

/// The one implementation of an output; the contract of its operations stands in `IOutput`.
///
///     Object      output.cpp       identity, targets, value set
///     Evaluation  output_eval.cpp  value produced
class Output final : public IOutput {
public:
    /// Makes an output with one reference, which the creator owns. The output is in no list yet,
    /// and observers are not notified.
    QV_EXPORT Output(INode* node, String name, AttrType type);
    /// Makes a buffer output.
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
    /// Call when the output has left its node, or when the node is destroyed.
    void clearNode(Only<Node, Output, OutputListChange> /*key*/) noexcept {
        leaveEvaluations();
        setNode(nullptr);
        m_hasLeft = true;
    }
    /// Call after the node removed the output: records connections that end, for undo.
    void leaveList(Only<Node> key);
    /// Tells whether the output was removed from its node.
    [[nodiscard]] bool hasLeft() const noexcept { return m_hasLeft; }
    /// Returns the output to its node.
    void entered(INode* node, Only<OutputListChange> /*key*/) noexcept {
        setNode(node);
        m_hasLeft = false;
    }
    /// Swaps the value with another one without recording it.
    void exchangeValue(Value& other, Only<OutputValueChange> key);
    /// Call after the node removed the output and observers were notified.
    void leaveOwner(Only<Departure<Output>> key) noexcept;

    /// Ends every connection, then notifies the nodes of the inputs.
    void disconnectTargets(bool isRecorded = true);
    /// Ends every connection without notifications: the inputs' nodes are dirty afterwards.
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

    /// The index by name of the list whose first output this is, null for none; see input_list.h.
    [[nodiscard]] const NameIndex<IOutput>* listIndex() const noexcept { return m_listIndex.get(); }
    [[nodiscard]] std::unique_ptr<NameIndex<IOutput>>& listIndexPlace() noexcept {
        return m_listIndex;
    }
    void dropListIndex() noexcept { m_listIndex.reset(); }
    void takeListIndex(Output& first) noexcept { m_listIndex = std::move(first.m_listIndex); }

    /// Returns the position of the target with this slot among all targets.
    [[nodiscard]] u64 rankOfTarget(u64 slot) const noexcept { return m_targets.rankOf(slot); }
    /// Returns the target with this slot; null when there is none.
    [[nodiscard]] const Input* targetInSlot(u64 slot) const noexcept {
        return m_targets.inSlot(slot);
    }
    /// Tells whether the targets are counted correctly.
    [[nodiscard]] bool hasSoundTargets() const noexcept { return m_targets.isSound(); }
    /// Calls `visit(const Input&)` for each target in order.
    template<typename Visit>
    void forEachTarget(const Visit& visit) const {
        m_targets.forEach([&](const Input* input) { visit(*input); });
    }

    /// Add or remove a target at one end of the connection; the input updates its own end.
    /// `addTarget` returns the slot, and `noIndex` means the last rank.
    u64 addTarget(Input* input, u64 rank, Only<Input, LawBreaker> key);
    void removeTarget(u64 slot, Only<Input, LawBreaker> key) noexcept;
    Input* takeLastTarget(Only<Input, Output> key) noexcept;
    /// Reserves memory, so that the next `addTarget` does not fail.
    void makeRoom(Only<Input> /*key*/) { m_targets.reserve(); }

    /// Tells whether the text that the output was read from omits it.
    [[nodiscard]] bool isOmitted() const noexcept { return m_isOmitted; }
    void setOmitted(bool leftOut) noexcept { m_isOmitted = leftOut; }

    /// Returns the value that was set; Null when none was.
    [[nodiscard]] const Value& value() const noexcept { return m_value; }
    /// Sets the value of an output without a callback; false for a value of another kind.
    bool setValue(Value value);
    /// Returns the value that the node's eval callback produces or, without one, the value that was
    /// set; Null when there is none. Several threads may evaluate at once.
    ///
    /// Chains of connections may have any length. Callbacks that evaluate outputs on their own, for
    /// example along links, may nest until they use `maxEvalStack` bytes of stack. Deeper nesting,
    /// and an evaluation that depends on itself, log an error with the path.
    [[nodiscard]] Value evaluate(void* callerCtx);
    /// Tells whether this thread is evaluating the output right now.
    [[nodiscard]] bool isEvaluating() const noexcept;
    /// Keeps an evaluated buffer alive for the reader on this thread, until that reads again.
    void hold(const Buffer& buffer) { m_heldBuffers.hold(buffer); }
    static constexpr u64 maxEvalStack = 256 * 1024;

private:
    // Breaks laws on purpose; only tests define it.
    friend struct LawBreaker;

    class CountedCall;

    void setNode(INode* node) noexcept;
    void leaveEvaluations() const noexcept;
    void readersChanged() const noexcept;
    bool storeValue(Value value);
    void evaluationChanged() const noexcept;
    [[nodiscard]] EvalCache* cacheFor(const EvalCtx* caller) const;
    Value evaluateWith(EvalCache& cache, const EvalCtx* caller);
    Value evaluateCached(EvalCache& cache, u64 key, const EvalCtx* caller);
    Value evaluateChecked(EvalCache& cache, u64 key, const EvalCtx* caller);
    void keep(u64 key, const EvalCtx* caller, const Value& result) const;
    Value callNode(const EvalCtx* caller);

    // Counts references in the lower half and, in the upper half, evaluations in progress on all
    // threads: one step counts an evaluation and its reference.
    std::atomic<u64> m_counts = 1;
    AttrType m_type;
    DataType m_dataType = DataType::Null;
    bool m_isOmitted = false;
    bool m_hasLeft = false;
    INode* m_node;
    String m_name;
    u64 m_nameHash;
    Value m_value;
    OrderedSlots<Input> m_targets;
    HeldBuffers m_heldBuffers;
    std::unique_ptr<NameIndex<IOutput>> m_listIndex;
};

} // namespace qv::kelvo_sdk::impl
