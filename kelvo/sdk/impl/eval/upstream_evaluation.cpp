#include "kelvo/sdk/impl/eval/upstream_evaluation.h"

#include "kelvo/sdk/impl/eval/eval_stack.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/output.h"

#include <unordered_set>
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
    std::vector<RefersTo<IOutput>> run(const INode& start) {
        leaveFor(start);
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
        if (!m_seen.insert(&output).second) return;
        m_pending.push_back({&output, true});
        leaveFor(*output.node());
    }

    void leaveFor(const INode& node) {
        visitInputs(implOf(node), [this](const Input& input) {
            Output* source = input.sourceOutput();
            if (source && source->node() && source->node()->hasNodeEval())
                m_pending.push_back({source, false});
        });
    }

    std::vector<RefersTo<IOutput>> m_found;
    std::unordered_set<const Output*> m_seen;
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
    : m_frame(frame), m_outer(t_innermost), m_stackUsed(level.stackUsed()) {
    const auto sources = SourceWalk().run(*frame.node());
    m_results.reserve(sources.size());
    t_innermost = this;
    try {
        for (const RefersTo<IOutput>& source : sources) {
            auto& output = implOf(*source);
            if (output.isEvaluating()) continue;
            Value result = output.evaluate(const_cast<EvalCtx*>(&frame));
            m_results[&output] = std::move(result);
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
        const auto found = ahead->m_results.find(&output);
        if (found != ahead->m_results.end()) return &found->second;
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
