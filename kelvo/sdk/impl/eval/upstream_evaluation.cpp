#include "kelvo/sdk/impl/eval/upstream_evaluation.h"

#include "kelvo/sdk/impl/eval/eval_stack.h"
#include "kelvo/sdk/impl/graph/graph_reader.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/input_walk.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

// The stack that evaluations use before the first object is made, and before each further one.
constexpr u64 stackStep = Output::maxEvalStack / 4;

thread_local UpstreamEvaluation* t_innermost = nullptr;

constexpr i64 nowhere = -1;

// Collects the outputs upstream of a node that have callbacks, each once and after all outputs
// upstream of it.
class SourceWalk {
public:
    SourceWalk(const Node& start, std::vector<Output*>& found, PointerMarks<Output>& places)
        : m_reader(&start), m_found(found), m_places(places) {
        leaveFor(start);
    }

    void run() {
        while (!m_pending.empty()) {
            const Step step = m_pending.back();
            m_pending.pop_back();
            if (step.isDone)
                take(*step.output);
            else
                visit(*step.output);
        }
    }

private:
    struct Step {
        Output* output;
        bool isDone;
    };

    void take(Output& output) {
        *m_places.find(&output) = static_cast<i64>(m_found.size());
        m_found.push_back(&output);
    }

    void visit(Output& output) {
        if (!m_places.add(&output, nowhere).isNew) return;
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

    GraphReader m_reader;
    std::vector<Output*>& m_found;
    PointerMarks<Output>& m_places;
    std::vector<Step> m_pending;
};

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
    : m_frame(level.frame()), m_outer(t_innermost), m_stackUsed(level.stackUsed()) {
    SourceWalk(*implOf(m_frame.node()), m_sources, m_places).run();
    m_results.reserve(m_sources.size());
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
    return place < m_sources.size() ? m_sources[place] : nullptr;
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
    while (m_results.size() < m_sources.size()) {
        const u64 place = m_results.size();
        fetch(place);
        m_results.push_back(evaluate(place));
    }
}

// Skips outputs under evaluation: reading one is an endless evaluation, which is reported for the
// callback that does.
Value UpstreamEvaluation::evaluate(u64 place) {
    Output* output = m_sources[place];
    if (!output) return Value();
    if (!output->isEvaluating()) return output->evaluate(&m_frame);
    *m_places.find(output) = nowhere;
    return Value();
}

UpstreamEvaluation::~UpstreamEvaluation() {
    t_innermost = m_outer;
}

const Value* UpstreamEvaluation::result(const Output& output, const EvalCtx* caller) noexcept {
    for (const UpstreamEvaluation* ahead = t_innermost; ahead; ahead = ahead->m_outer) {
        if (!ahead->serves(caller)) continue;
        const i64* place = ahead->m_places.find(&output);
        if (place && *place != nowhere && static_cast<u64>(*place) < ahead->m_results.size())
            return &ahead->m_results[static_cast<u64>(*place)];
    }
    return nullptr;
}

void UpstreamEvaluation::forget(const Output& output) noexcept {
    for (UpstreamEvaluation* ahead = t_innermost; ahead; ahead = ahead->m_outer) {
        i64* place = ahead->m_places.find(&output);
        if (!place || *place == nowhere) continue;
        ahead->m_sources[static_cast<u64>(std::exchange(*place, nowhere))] = nullptr;
    }
}

// Serves reads of other evaluations too, unless one of the two has a pointer of the user, because
// callbacks need not pass their frame on.
bool UpstreamEvaluation::serves(const EvalCtx* caller) const noexcept {
    if (caller && caller->first() == m_frame.first()) return true;
    return !m_frame.user() && !(caller && caller->user());
}

} // namespace qv::kelvo_sdk::impl
