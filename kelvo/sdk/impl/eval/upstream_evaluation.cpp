#include "kelvo/sdk/impl/eval/upstream_evaluation.h"

#include "kelvo/sdk/impl/eval/eval_stack.h"
#include "kelvo/sdk/impl/graph/graph_reader.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input_walk.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"

#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

// The stack that evaluations use before the first object is made, and before each further one.
constexpr u64 stackStep = Output::maxEvalStack / 4;

thread_local const UpstreamEvaluation* t_innermost = nullptr;

// Collects the outputs upstream of a node that have callbacks, each once and after all outputs
// upstream of it.
class SourceWalk {
public:
    explicit SourceWalk(const Node& start) : m_reader(&start) { leaveFor(start); }

    std::vector<RefersTo<IOutput>> run() {
        while (!m_pending.empty()) {
            const Step step = m_pending.back();
            m_pending.pop_back();
            if (step.isDone)
                m_found.emplace_back(step.output);
            else
                visit(*step.output);
        }
        return std::move(m_found);
    }

private:
    struct Step {
        Output* output;
        bool isDone;
    };

    void visit(Output& output) {
        if (!m_seen.add(&output, 0).isNew) return;
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
            if (!source.hasNodeEval()) continue;
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
    std::vector<RefersTo<IOutput>> m_found;
    PointerMarks<Output> m_seen;
    std::vector<Step> m_pending;
};

} // namespace

bool UpstreamEvaluation::isDue(const EvalLevel& level) noexcept {
    const u64 before = t_innermost ? t_innermost->m_stackUsed : 0;
    return level.stackUsed() >= before + stackStep;
}

// Skips outputs under evaluation: reading one is an endless evaluation, which is reported for the
// callback that does.
UpstreamEvaluation::UpstreamEvaluation(const EvalCtx& frame, const EvalLevel& level)
    : m_frame(frame),
      m_outer(t_innermost),
      m_stackUsed(level.stackUsed()),
      m_sources(SourceWalk(*implOf(frame.node())).run()) {
    m_results.reserve(m_sources.size());
    t_innermost = this;
    try {
        for (const RefersTo<IOutput>& source : m_sources) {
            auto& output = implOf(*source);
            if (output.isEvaluating()) continue;
            Value result = output.evaluate(const_cast<EvalCtx*>(&frame));
            m_places.add(&output, static_cast<i64>(m_results.size()));
            m_results.push_back(std::move(result));
        }
    } catch (...) {
        t_innermost = m_outer;
        throw;
    }
}

UpstreamEvaluation::~UpstreamEvaluation() {
    t_innermost = m_outer;
}

const Value* UpstreamEvaluation::result(const Output& output, const EvalCtx* caller) noexcept {
    for (const UpstreamEvaluation* ahead = t_innermost; ahead; ahead = ahead->m_outer) {
        if (!ahead->serves(caller)) continue;
        if (const i64* place = ahead->m_places.find(&output))
            return &ahead->m_results[static_cast<u64>(*place)];
    }
    return nullptr;
}

// Serves reads of other evaluations too, unless one of the two has a pointer of the user, because
// callbacks need not pass their frame on.
bool UpstreamEvaluation::serves(const EvalCtx* caller) const noexcept {
    if (caller && caller->first() == m_frame.first()) return true;
    return !m_frame.user() && !(caller && caller->user());
}

} // namespace qv::kelvo_sdk::impl
