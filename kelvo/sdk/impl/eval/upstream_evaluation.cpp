#include "kelvo/sdk/impl/eval/upstream_evaluation.h"

#include "kelvo/sdk/impl/eval/eval_stack.h"
#include "kelvo/sdk/impl/graph/graph_reader.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/input_walk.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"

#include "kelvo/base/pointer_marks.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

// The stack that evaluations use before the first object is made, and before each further one.
constexpr u64 stackStep = Output::maxEvalStack / 4;

thread_local UpstreamEvaluation* t_innermost = nullptr;

// Finds the places of outputs in a list without repetitions.
class Places {
public:
    void assign(const std::vector<Output*>& outputs) {
        m_slots.assign(std::bit_ceil(2 * outputs.size() + 1), free);
        for (u64 place = 0; place < outputs.size(); ++place) {
            u64 slot = home(*outputs[place]);
            while (m_slots[slot] != free)
                slot = next(slot);
            m_slots[slot] = static_cast<u32>(place);
        }
    }
    /// Returns noIndex for an output that is not in the list.
    [[nodiscard]] u64 find(const std::vector<Output*>& outputs,
                           const Output& output) const noexcept {
        const u64 slot = slotOf(outputs, output);
        return m_slots[slot] == free ? noIndex : m_slots[slot];
    }
    /// Call before an output leaves the list; returns its place, or noIndex.
    u64 remove(const std::vector<Output*>& outputs, const Output& output) noexcept {
        const u64 slot = slotOf(outputs, output);
        return m_slots[slot] == free ? noIndex : std::exchange(m_slots[slot], removed);
    }

private:
    static constexpr u32 free = 0xffffffff;
    static constexpr u32 removed = 0xfffffffe;

    // Open addressing; the size is a power of two, and half of the slots stay free.
    [[nodiscard]] u64 home(const Output& output) const noexcept {
        return (reinterpret_cast<u64>(&output) * 0x9e3779b97f4a7c15u >> 32) & (m_slots.size() - 1);
    }
    [[nodiscard]] u64 next(u64 slot) const noexcept { return (slot + 1) & (m_slots.size() - 1); }
    [[nodiscard]] u64 slotOf(const std::vector<Output*>& outputs,
                             const Output& output) const noexcept {
        u64 slot = home(output);
        while (m_slots[slot] != free &&
               (m_slots[slot] == removed || outputs[m_slots[slot]] != &output))
            slot = next(slot);
        return slot;
    }

    std::vector<u32> m_slots;
};

// An output, or the number of its node, on a walk that comes to it again after all that it reads.
template<typename Source>
struct Step {
    Source source;
    bool isDone;
};

// The outputs upstream of a node that have callbacks, each once and after all outputs upstream of
// it. Both walks find the same ones in the same order.

// Reads the nodes on its way, and works for all of them.
class NodeSourceWalk {
public:
    NodeSourceWalk(const GraphReader& reader, std::vector<Output*>& found)
        : m_reader(reader), m_found(found) {}

    void run(const Node& start) {
        leaveFor(start);
        while (!m_pending.empty()) {
            const auto step = m_pending.back();
            m_pending.pop_back();
            if (step.isDone)
                m_found.push_back(step.source);
            else
                visit(*step.source);
        }
    }

private:
    void visit(Output& output) {
        if (!m_visited.add(&output, 0).isNew) return;
        m_pending.push_back({&output, true});
        leaveFor(*implOf(output.node()));
    }

    // Reads the compact graph where that suffices, because the inputs are far apart in memory.
    void leaveFor(const Node& node) {
        const u64 before = m_pending.size();
        if (leaveForLeads(node)) return;
        m_pending.resize(before, {});
        leaveForInputs(node);
    }

    // False when a source has several outputs, which a lead does not tell apart.
    bool leaveForLeads(const Node& node) {
        const LeadRow* row = m_reader.row(LeadKind::Dependencies, m_reader.spotOf(node));
        if (!row) return false;
        for (const Lead lead : *row) {
            if (lead.isConnection == 0) continue;
            const Node& source = m_reader.nodeAt(Spot(NodeNumber{lead.to}));
            if (!source.evalCallback()) continue;
            if (source.outputs().size() != 1) return false;
            m_pending.push_back({implOf(source.outputs()[0]), false});
        }
        return true;
    }

    void leaveForInputs(const Node& node) {
        InputWalk inputs(node.inputs());
        while (const Input* input = inputs.next()) {
            Output* source = input->sourceOutput();
            if (source && source->node() && source->node()->hasNodeEval())
                m_pending.push_back({source, false});
        }
    }

    const GraphReader& m_reader;
    std::vector<Output*>& m_found;
    PointerMarks<Output> m_visited;
    std::vector<Step<Output*>> m_pending;
};

// Follows the compact graph alone, and reads all nodes found afterwards, in a row: a chain of nodes
// cannot be fetched ahead.
class NumberedSourceWalk {
public:
    /// `pending` and `numbers` are working memory for the walk.
    NumberedSourceWalk(const GraphReader& reader, std::vector<Output*>& found,
                       std::vector<Step<NodeNumber>>& pending, std::vector<NodeNumber>& numbers)
        : m_reader(reader),
          m_graph(*reader.graph()),
          m_marks(m_graph),
          m_found(found),
          m_pending(pending),
          m_numbers(numbers) {}

    // False where the graph does not suffice: it does not tell several outputs of a node apart, and
    // nodes that lead out of the scene are not in it.
    bool run(const Node& start) { return collect(m_reader.spotOf(start)) && takeOutputs(); }

private:
    bool collect(Spot start) {
        if (!leaveFor(start)) return false;
        while (!m_pending.empty()) {
            const auto step = m_pending.back();
            m_pending.pop_back();
            if (step.isDone)
                m_numbers.push_back(step.source);
            else if (!visit(step.source))
                return false;
        }
        return true;
    }

    bool visit(NodeNumber number) {
        if (!m_marks.add(number, 0).isNew) return true;
        m_pending.push_back({number, true});
        return leaveFor(Spot(number));
    }

    bool leaveFor(Spot spot) {
        const LeadRow* row = m_reader.row(LeadKind::Dependencies, spot);
        if (!row) return false;
        for (const Lead lead : *row)
            if (lead.isConnection != 0) m_pending.push_back({NodeNumber{lead.to}, false});
        return true;
    }

    bool takeOutputs() {
        m_found.reserve(m_numbers.size());
        for (u64 place = 0; place < m_numbers.size(); ++place) {
            fetch(place);
            if (!takeOutput(m_numbers[place])) return false;
        }
        return true;
    }

    // Skips a node without a callback, as long as nothing upstream of it was collected.
    bool takeOutput(NodeNumber number) {
        const Node& node = *m_graph.node(number);
        if (!node.evalCallback()) return !isConnected(number);
        if (node.outputs().size() != 1) return false;
        m_found.push_back(implOf(node.outputs()[0]));
        return true;
    }

    bool isConnected(NodeNumber number) const {
        const LeadRow* row = m_reader.row(LeadKind::Dependencies, Spot(number));
        return !row || std::any_of(row->begin(), row->end(),
                                   [](Lead lead) { return lead.isConnection != 0; });
    }

    [[gnu::always_inline]] void fetch(u64 place) const noexcept {
        if (place + 12 < m_numbers.size()) m_graph.node(m_numbers[place + 12])->fetch();
        if (place + 6 < m_numbers.size())
            __builtin_prefetch(m_graph.node(m_numbers[place + 6])->outputs().begin());
    }

    const GraphReader& m_reader;
    const CompactGraph& m_graph;
    CompactGraph::Marks m_marks;
    std::vector<Output*>& m_found;
    std::vector<Step<NodeNumber>>& m_pending;
    std::vector<NodeNumber>& m_numbers;
};

} // namespace

struct UpstreamEvaluation::Room {
    // Empty, with the memory of an earlier object if there is one.
    [[nodiscard]] static std::unique_ptr<Room> take() {
        std::unique_ptr<Room> room(s_spare.exchange(nullptr));
        return room ? std::move(room) : std::make_unique<Room>();
    }
    static void giveBack(std::unique_ptr<Room> room) noexcept {
        room->clear();
        const u64 size = std::max(
            {room->sources.capacity(), room->pending.capacity(), room->numbers.capacity()});
        if (size > mostKept) return;
        const std::unique_ptr<Room> before(s_spare.exchange(room.release()));
    }

    void findSources(const Node& node) {
        const GraphReader reader(&node);
        if (!reader.graph() || !NumberedSourceWalk(reader, sources, pending, numbers).run(node)) {
            sources.clear();
            NodeSourceWalk(reader, sources).run(node);
        }
        places.assign(sources);
        results.reserve(sources.size());
    }
    // From now on the output has no result here.
    void drop(const Output& output) noexcept {
        const u64 place = places.remove(sources, output);
        if (place != noIndex) sources[place] = nullptr;
    }
    void clear() noexcept {
        sources.clear();
        results.clear();
        pending.clear();
        numbers.clear();
    }

    // In the order of evaluation; null for outputs that were dropped.
    std::vector<Output*> sources;
    // Of the sources evaluated so far, in the same order.
    std::vector<Value> results;
    // The places of the sources that were not dropped.
    Places places;
    // Used while the sources are searched.
    std::vector<Step<NodeNumber>> pending;
    std::vector<NodeNumber> numbers;

private:
    // A room with a longer list is freed.
    static constexpr u64 mostKept = 65536;
    static inline std::atomic<Room*> s_spare = nullptr;
};

namespace {

// The functions that fetch are always inlined, because compilers leave out calls of functions that
// seem to have no effect.

// Fetches the first fields of an object, which may lie on two cache lines.
[[gnu::always_inline]] inline void fetchFront(const void* object) noexcept {
    __builtin_prefetch(object);
    __builtin_prefetch(static_cast<const char*>(object) + 56);
}

// Callbacks that look inputs up by name read the first ones.
constexpr u64 fetchedInputs = 4;

[[gnu::always_inline]] inline void fetchInputs(const Node& node) noexcept {
    for (u64 i = 0; i < std::min(node.inputs().size(), fetchedInputs); ++i)
        fetchFront(node.inputs()[i]);
}

[[gnu::always_inline]] inline void fetchExtras(const Node& node) noexcept {
    for (u64 i = 0; i < std::min(node.inputs().size(), fetchedInputs); ++i)
        if (const InputExtras* extras = implOf(node.inputs()[i])->ownExtras()) fetchFront(extras);
}

} // namespace

bool UpstreamEvaluation::isDue(const EvalLevel& level) noexcept {
    const u64 before = t_innermost ? t_innermost->m_stackUsed : 0;
    return level.stackUsed() >= before + stackStep;
}

UpstreamEvaluation::UpstreamEvaluation(const EvalLevel& level)
    : m_frame(level.frame()),
      m_outer(t_innermost),
      m_stackUsed(level.stackUsed()),
      m_room(Room::take()) {
    m_room->findSources(*implOf(m_frame.node()));
    t_innermost = this;
    try {
        evaluateAll();
    } catch (...) {
        t_innermost = m_outer;
        throw;
    }
}

// Returns the output that has this place and was not evaluated yet; null if there is none.
const Output* UpstreamEvaluation::waiting(u64 place) const noexcept {
    return place < m_room->sources.size() ? m_room->sources[place] : nullptr;
}

// Nodes are large and far apart, so reading one waits for memory several times. This starts reading
// parts of the nodes after `place`, each part that leads to another one some places earlier.
[[gnu::always_inline]] inline void UpstreamEvaluation::fetch(u64 place) const noexcept {
    if (const Output* output = waiting(place + 16)) fetchFront(output);
    if (const Output* output = waiting(place + 12)) implOf(output->node())->fetch();
    if (const Output* output = waiting(place + 8))
        __builtin_prefetch(implOf(output->node())->inputs().begin());
    if (const Output* output = waiting(place + 4)) fetchInputs(*implOf(output->node()));
    if (const Output* output = waiting(place + 2)) fetchExtras(*implOf(output->node()));
}

void UpstreamEvaluation::evaluateAll() {
    std::vector<Value>& results = m_room->results;
    while (results.size() < m_room->sources.size()) {
        const u64 place = results.size();
        fetch(place);
        results.push_back(evaluate(place));
    }
}

// Skips outputs under evaluation: reading one is an endless evaluation, which is reported for the
// callback that does.
Value UpstreamEvaluation::evaluate(u64 place) {
    Output* output = m_room->sources[place];
    if (!output) return Value();
    if (!output->isEvaluating()) return output->evaluate(&m_frame);
    m_room->drop(*output);
    return Value();
}

UpstreamEvaluation::~UpstreamEvaluation() {
    t_innermost = m_outer;
    Room::giveBack(std::move(m_room));
}

const Value* UpstreamEvaluation::result(const Output& output, const EvalCtx* caller) noexcept {
    for (const UpstreamEvaluation* ahead = t_innermost; ahead; ahead = ahead->m_outer) {
        if (!ahead->serves(caller)) continue;
        if (const Value* result = ahead->ownResult(output)) return result;
    }
    return nullptr;
}

const Value* UpstreamEvaluation::ownResult(const Output& output) const noexcept {
    const std::vector<Output*>& sources = m_room->sources;
    const std::vector<Value>& results = m_room->results;
    const u64 next = results.size();
    // Most reads are of the source evaluated last, and by the one under evaluation.
    if (next > 0 && sources[next - 1] == &output) return &results.back();
    if (next < sources.size() && sources[next] == &output) return nullptr;
    const u64 place = m_room->places.find(sources, output);
    return place < next ? &results[place] : nullptr;
}

void UpstreamEvaluation::forget(const Output& output) noexcept {
    for (UpstreamEvaluation* ahead = t_innermost; ahead; ahead = ahead->m_outer)
        ahead->m_room->drop(output);
}

// Serves reads of other evaluations too, unless one of the two has a pointer of the user, because
// callbacks need not pass their frame on.
bool UpstreamEvaluation::serves(const EvalCtx* caller) const noexcept {
    if (caller && caller->first() == m_frame.first()) return true;
    return !m_frame.user() && !(caller && caller->user());
}

} // namespace qv::kelvo_sdk::impl
