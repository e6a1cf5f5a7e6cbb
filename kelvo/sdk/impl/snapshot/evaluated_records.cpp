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

#include "kelvo/base/fetch_line.h"
#include "kelvo/base/workers.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

// One thread records this many nodes at a time.
constexpr u64 nodesOfPiece = 256;

// The records of a snapshot, in creation order.
using AllRecords = std::vector<const NodeRecord*>;

// The results of all outputs that inputs of the scene are connected to.
class Results final : public RecordValues {
public:
    Results(const Scene& scene, const AllRecords& all) : m_scene(scene) {
        std::vector<Read> reads = findReads(all);
        m_evaluation.reserve(std::min<u64>(reads.size(), all.size()));
        for (Read& read : reads)
            addSource(read);
        for (const Read& read : reads)
            addWaits(read);
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

    // An input's connection to an output that is evaluated.
    struct Read {
        NodeNumber reader;
        NodeNumber sourceNode;
        Output* output;
        u32 place = none;
    };

    [[nodiscard]] std::vector<Read> findReads(const AllRecords& all) const {
        std::vector<Read> reads;
        reads.reserve(all.size());
        for (u64 i = 0; i < all.size(); ++i) {
            fetchAhead(all, i);
            for (const RecordConnection& connection : all[i]->connections()) {
                const Node& node = *m_scene.graph().node(connection.source);
                if (!node.evalCallback()) continue;
                Output& output = implOf(*node.outputs()[connection.output]);
                reads.push_back({all[i]->number(), connection.source, &output});
            }
        }
        return reads;
    }
    // Each step reads what the one before has fetched.
    void fetchAhead(const AllRecords& all, u64 i) const noexcept {
        if (i + 24 < all.size()) NodeRecord::fetch(all[i + 24]);
        forEachSource(all, i + 16, [](const Node& node) { node.fetch(); });
        forEachSource(all, i + 8, [](const Node& node) { fetchLine(node.outputs().data(), 0); });
    }
    template<typename Visit>
    void forEachSource(const AllRecords& all, u64 i, const Visit& visit) const noexcept {
        if (i >= all.size()) return;
        for (const RecordConnection& connection : all[i]->connections())
            visit(*m_scene.graph().node(connection.source));
    }
    void addSource(Read& read) {
        read.place = m_evaluation.add(*read.output);
        if (read.place != m_sources.size()) return;
        if (read.sourceNode >= m_first.size())
            m_first.resize(std::max<u64>(2 * m_first.size(), u64{read.sourceNode} + 1), none);
        m_sources.push_back({read.place, std::exchange(m_first[read.sourceNode], read.place)});
    }
    // The outputs of a node wait for everything that its inputs are connected to.
    void addWaits(const Read& read) {
        if (read.reader >= m_first.size()) return;
        for (u32 own = m_first[read.reader]; own != none; own = m_sources[own].next)
            m_evaluation.wait(m_sources[own].place, read.place);
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

std::vector<OwnRecord> EvaluatedRecords::evaluate(const Scene& scene, const SnapshotTables& asSet,
                                                  const Before& before, ShapeTable& shapes,
                                                  TypeRecords& types, SnapshotVersion born,
                                                  const SnapshotOptions& options) {
    AllRecords all;
    all.reserve(asSet.nodeCount());
    asSet.forEachRecord([&](const NodeRecord& record) { all.push_back(&record); });
    const ModifiedValues modified;
    std::optional<Results> results;
    if (options.values == SnapshotValues::Evaluated)
        results.emplace(scene, all).evaluate(options.threads);
    std::vector<OwnRecord> own(all.size());
    Workers(options.threads).run((all.size() + nodesOfPiece - 1) / nodesOfPiece, [&](u64 piece) {
        const RecordValues& values =
            results ? static_cast<const RecordValues&>(*results) : modified;
        RecordMaker maker(scene, shapes, &types, &values);
        const u64 end = std::min<u64>(all.size(), (piece + 1) * nodesOfPiece);
        const auto nodeAt = [&](u64 i) { return scene.graph().node(all[i]->number()); };
        for (u64 i = piece * nodesOfPiece; i < end; ++i) {
            if (i + 16 < end) NodeRecord::fetch(all[i + 16]);
            if (i + 8 < end) NodeRecord::fetch(before.at(all[i + 8]->number()));
            NodeFetch::ahead(i, end, nodeAt);
            const Node& node = *nodeAt(i);
            const bool isEvaluated = results && !all[i]->connections().empty();
            if (!isEvaluated && !scene.isModified(node)) continue;
            NewRecord made(maker.record(node, born));
            if (isSame(*made, *all[i])) continue;
            const NodeRecord* const known = before.at(all[i]->number());
            if (known && isSame(*made, *known))
                own[i].before = known;
            else
                own[i].made = std::move(made);
        }
    });
    return own;
}

void EvaluatedRecords::install(const SnapshotTables& asSet, std::vector<OwnRecord> own) {
    removeGone(asSet);
    u64 i = 0;
    asSet.order.forEach(
        [&](NodeNumber number) { replace(number, asSet.record(number), std::move(own[i++])); });
}

void EvaluatedRecords::removeGone(const SnapshotTables& asSet) {
    std::vector<NodeNumber> gone;
    m_records.forEach([&](NodeNumber number, const NodeRecord*) {
        if (!asSet.record(number)) gone.push_back(number);
    });
    for (const NodeNumber number : gone)
        replace(number, nullptr, {});
}

// A snapshot that a callback took may have replaced the record before.
void EvaluatedRecords::replace(NodeNumber number, const NodeRecord* asSet, OwnRecord own) {
    const bool wasOwn = isOwn(number);
    const NodeRecord* const now = m_records.at(number);
    if (!own.made && now == (own.before ? own.before : asSet)) return;
    if (own.before) own.made.reset(NodeRecord::copy(*own.before, m_store.next()));
    if (number >= m_isOwn.size()) m_isOwn.resize(u64{number} + 1);
    const NodeRecord*& place = m_records.edit(number, m_store);
    m_isOwn[number] = own.made != nullptr;
    place = own.made ? own.made.release() : asSet;
    if (wasOwn) m_store.retire(const_cast<NodeRecord*>(now));
}

} // namespace qv::kelvo_sdk::impl
