#include "kelvo/sdk/impl/snapshot/evaluated_records.h"

#include "kelvo/sdk/impl/eval/parallel_evaluation.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/snapshot/record_difference.h"
#include "kelvo/sdk/impl/snapshot/record_maker.h"
#include "kelvo/sdk/impl/value/conversion.h"

#include "kelvo/base/workers.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

// One thread records this many nodes at a time.
constexpr u64 nodesOfPiece = 256;

// The results of all outputs that inputs of the scene are connected to.
class Results final : public RecordValues {
public:
    Results(const Scene& scene, const SnapshotTables& asSet) : m_scene(scene) {
        asSet.order.forEach([&](NodeNumber number) { addSources(*asSet.record(number)); });
        asSet.order.forEach([&](NodeNumber number) { addWaits(*asSet.record(number)); });
    }

    void evaluate(u32 threads) { m_evaluation.run(threads); }

    // An output without a result has no callback, or is outside of the scene, or depends on itself.
    [[nodiscard]] Value valueOf(const Input& input) const override {
        Output* const source = input.sourceOutput();
        if (!source) return input.value();
        const Value* const known = m_evaluation.result(*source);
        Value result = known ? *known : source->evaluate(nullptr);
        if (result.type() == input.type()) return result;
        Value converted;
        const bool isRead = !result.isNull() && convertValue(result, input.type(), converted);
        return isRead ? converted : input.value();
    }

private:
    struct Source {
        u32 place;
        // The next source of the same node, `none` for the last.
        u32 next;
    };
    static constexpr u32 none = 0xffffffff;

    void addSources(const NodeRecord& record) {
        for (const RecordConnection& connection : record.connections()) {
            const Node& node = *m_scene.graph().node(connection.source);
            if (!node.evalCallback()) continue;
            const u32 place = m_evaluation.add(*implOf(node.outputs()[connection.output]));
            if (place != m_sources.size()) continue;
            if (connection.source >= m_first.size())
                m_first.resize(std::max<u64>(2 * m_first.size(), u64{connection.source} + 1), none);
            m_sources.push_back({place, std::exchange(m_first[connection.source], place)});
        }
    }
    // The outputs of a node wait for everything that its inputs are connected to.
    void addWaits(const NodeRecord& record) {
        const u32 first = record.number() < m_first.size() ? m_first[record.number()] : none;
        if (first == none) return;
        for (const RecordConnection& connection : record.connections()) {
            const Node& node = *m_scene.graph().node(connection.source);
            if (!node.evalCallback()) continue;
            const u32 source = m_evaluation.add(*implOf(node.outputs()[connection.output]));
            for (u32 next = first; next != none; next = m_sources[next].next)
                m_evaluation.wait(m_sources[next].place, source);
        }
    }

    const Scene& m_scene;
    ParallelEvaluation m_evaluation;
    // By place; and the last source of each node by its number.
    std::vector<Source> m_sources;
    std::vector<u32> m_first;
};

class ModifiedValues final : public RecordValues {
public:
    [[nodiscard]] Value valueOf(const Input& input) const override { return input.value(); }
};

} // namespace

EvaluatedRecords::~EvaluatedRecords() {
    m_records.forEach([this](NodeNumber number, const NodeRecord* record) {
        if (isOwn(number)) m_store.retire(const_cast<NodeRecord*>(record));
    });
    m_records.clear(m_store);
}

std::vector<NewRecord> EvaluatedRecords::evaluate(const Scene& scene, const SnapshotTables& asSet,
                                                  ShapeTable& shapes, TypeRecords& types,
                                                  SnapshotVersion born,
                                                  const SnapshotOptions& options) {
    const ModifiedValues modified;
    std::optional<Results> results;
    if (options.values == SnapshotValues::Evaluated)
        results.emplace(scene, asSet).evaluate(options.threads);
    std::vector<const NodeRecord*> all;
    asSet.order.forEach([&](NodeNumber number) { all.push_back(asSet.record(number)); });
    std::vector<NewRecord> made(all.size());
    Workers(options.threads).run((all.size() + nodesOfPiece - 1) / nodesOfPiece, [&](u64 piece) {
        const RecordValues& values =
            results ? static_cast<const RecordValues&>(*results) : modified;
        RecordMaker maker(scene, shapes, &types, &values);
        const u64 end = std::min<u64>(all.size(), (piece + 1) * nodesOfPiece);
        for (u64 i = piece * nodesOfPiece; i < end; ++i) {
            const Node& node = *scene.graph().node(all[i]->number());
            const bool isEvaluated = results && !all[i]->connections().empty();
            if (!isEvaluated && !scene.isModified(node)) continue;
            made[i].reset(maker.record(node, born));
            if (isSame(*made[i], *all[i])) made[i].reset();
        }
    });
    return made;
}

void EvaluatedRecords::install(const SnapshotTables& asSet, std::vector<NewRecord> made) {
    removeGone(asSet);
    u64 i = 0;
    asSet.order.forEach(
        [&](NodeNumber number) { replace(number, asSet.record(number), std::move(made[i++])); });
}

void EvaluatedRecords::removeGone(const SnapshotTables& asSet) {
    std::vector<NodeNumber> gone;
    m_records.forEach([&](NodeNumber number, const NodeRecord*) {
        if (!asSet.record(number)) gone.push_back(number);
    });
    for (const NodeNumber number : gone)
        replace(number, nullptr, nullptr);
}

// Keeps the own record before when it is the same.
void EvaluatedRecords::replace(NodeNumber number, const NodeRecord* asSet, NewRecord made) {
    const bool wasOwn = isOwn(number);
    const NodeRecord* const before = m_records.at(number);
    if (made ? wasOwn && isSame(*before, *made) : !wasOwn && before == asSet) return;
    if (number >= m_isOwn.size()) m_isOwn.resize(u64{number} + 1);
    const NodeRecord*& place = m_records.edit(number, m_store);
    m_isOwn[number] = made != nullptr;
    place = made ? made.release() : asSet;
    if (wasOwn) m_store.retire(const_cast<NodeRecord*>(before));
}

} // namespace qv::kelvo_sdk::impl
