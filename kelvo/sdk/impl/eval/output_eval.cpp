// Evaluates outputs: calls the callbacks, uses the cache and refuses endless evaluations.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/output.h"

#include "kelvo/sdk/buffer_result.h"
#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/eval/eval_cache.h"
#include "kelvo/sdk/impl/eval/eval_stack.h"
#include "kelvo/sdk/impl/eval/parallel_evaluation.h"
#include "kelvo/sdk/impl/eval/upstream_evaluation.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/library_call.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/value/value_text.h"
#include "kelvo/sdk/output.h"

#include "kelvo/base/log.h"

// ---- Evaluation ----------------------------------------------------------------------------
// A callback may change or destroy any object, even its node and this output. So the code keeps the
// objects that it uses after the call alive, or looks them up again.

namespace qv::kelvo_sdk {

RefersTo<interfaces::IInput> Output::evaluated(EvalCtx* ctx) const {
    auto* output = impl::implOf(get());
    const impl::Value value = output ? output->evaluate(ctx) : impl::Value();
    if (value.isNull()) return {};
    // Keeps the elements valid for the caller, because the returned input may not live long enough.
    if (value.type() == AttrType::Buffer) output->hold(value.asBuffer());
    return impl::Input::showing(value);
}

Result setBufferResult(void* out, interfaces::BufferView elements) {
    auto& result = *static_cast<impl::Buffer*>(out);
    if (result.type() != elements.type)
        return Result::failure(String::format("The output takes elements of type %s, not %s.",
                                              dataTypeName(result.type()),
                                              dataTypeName(elements.type)));
    result = impl::Buffer(elements.type, elements.data, elements.count);
    return {};
}

} // namespace qv::kelvo_sdk

namespace qv::kelvo_sdk::impl {

namespace {

bool callEval(const EvalLevel& level, void* out) {
    // Evaluations upstream may have removed the output or changed the callback.
    const auto* node = implOf(implOf(level.frame().output())->node());
    const interfaces::NodeEvalFn eval = node ? node->evalCallback() : nullptr;
    return eval &&
           callLibrary(
               "eval", [&] { return level.nodeName(); }, [&] { return eval(&level.frame(), out); });
}

// Calls the node's callback for a value of one C++ type.
template<typename T>
Value produce(const EvalLevel& level, T result) {
    if (!callEval(level, &result)) return Value();
    return Value(std::move(result));
}

Value produceValue(const EvalLevel& level, AttrType type, DataType dataType) {
    switch (type) {
    case AttrType::Bool:
        return produce(level, false);
    case AttrType::Int:
        return produce(level, i64(0));
    case AttrType::UInt:
        return produce(level, u64(0));
    case AttrType::Real:
        return produce(level, 0.0);
    case AttrType::Vec2:
        return produce(level, math::Vec2d());
    case AttrType::Vec3:
        return produce(level, math::Vec3d());
    case AttrType::Vec4:
        return produce(level, math::Vec4d());
    case AttrType::Pos2:
        return produce(level, math::Pos2d());
    case AttrType::Pos3:
        return produce(level, math::Pos3d());
    case AttrType::Quat:
        return produce(level, math::Quatd());
    case AttrType::Rgba:
        return produce(level, math::Rgbad());
    case AttrType::Mat3:
        return produce(level, math::Mat3d::identity);
    case AttrType::Mat4:
        return produce(level, math::Mat4d::identity);
    case AttrType::String:
        return produce(level, String());
    case AttrType::Buffer:
        return produce(level, Buffer(dataType, 0));
    default:
        return Value();
    }
}

// Logs the path from the first evaluation of the same output to this one.
Value failEndless(const EvalLevel& level, const EvalLevel& below) {
    EvalLevel::noteRefusal();
    logError("Endless evaluation: %s.", level.path(below).buf());
    return Value();
}

// Also finds endless evaluations whose callbacks do not pass their frames on, because only the
// stack limit stops them.
Value failTooDeep(const EvalLevel& level, const Output& output) {
    if (const EvalLevel* below = level.sameBelow()) return failEndless(level, *below);
    EvalLevel::noteRefusal();
    logError("Cannot evaluate '%s': %llu evaluations wait for it, and there is no stack for more.",
             output.path().buf(), static_cast<unsigned long long>(level.count() - 1));
    return Value();
}

// Not inlined, so that other calls do not need stack for its variables.
[[gnu::noinline]] Value produceAhead(const EvalLevel& level, AttrType type, DataType dataType) {
    const UpstreamEvaluation ahead(level);
    return produceValue(level, type, dataType);
}

void reportChange(const Output& output, const char* now) {
    logError("The result of '%s' is %s although nothing that it depends on changed.",
             output.path().buf(), now);
}

} // namespace

// Counts a call during its lifetime, and keeps the output alive.
class Output::CountedCall {
public:
    explicit CountedCall(Output& output) noexcept
        : m_output(output), m_before(output.m_counts.fetch_add(one)) {}
    ~CountedCall() {
        if (static_cast<u32>(m_output.m_counts.fetch_sub(one)) == 1) delete &m_output;
    }
    CountedCall(const CountedCall&) = delete;
    CountedCall& operator=(const CountedCall&) = delete;

    /// Tells whether there were other calls when this one began.
    [[nodiscard]] bool isNotAlone() const noexcept { return callsIn(m_before) != 0; }
    [[nodiscard]] static u64 callsIn(u64 counts) noexcept { return counts >> 32; }

private:
    static constexpr u64 one = (u64(1) << 32) + 1;

    Output& m_output;
    const u64 m_before;
};

Value Output::evaluate(void* callerCtx) {
    if (!m_node || !implOf(m_node)->evalCallback()) return m_value;
    const auto* caller = static_cast<const EvalCtx*>(callerCtx);
    if (const Value* result = UpstreamEvaluation::result(*this, caller)) return *result;
    if (const Value* result = ParallelEvaluation::known(*this, caller)) return *result;
    EvalCache* cache = cacheFor(caller);
    return cache ? evaluateWith(*cache, caller) : callNode(caller);
}

// Not inlined, so that evaluations without a cache do not need stack for its variables.
[[gnu::noinline]] Value Output::evaluateWith(EvalCache& cache, const EvalCtx* caller) {
    const u64 key = cache.keyOf(*this);
    const RefersTo<IOutput> held(this);
    if (key == 0) return callNode(caller);
    return cache.isChecked() ? evaluateChecked(cache, key, caller)
                             : evaluateCached(cache, key, caller);
}

// Evaluations with a pointer of the user bypass the cache, because results may depend on its data.
EvalCache* Output::cacheFor(const EvalCtx* caller) const {
    if (!m_node || (caller && caller->user())) return nullptr;
    const auto* scene = implOf(implOf(m_node)->liveScene());
    return scene ? scene->evalCache({}) : nullptr;
}

Value Output::evaluateCached(EvalCache& cache, u64 key, const EvalCtx* caller) {
    Value result;
    if (cache.find(key, *this, result)) return result;
    const u64 refusals = EvalLevel::refusals();
    result = callNode(caller);
    if (!result.isNull() && EvalLevel::refusals() == refusals) keep(key, caller, result);
    return result;
}

Value Output::evaluateChecked(EvalCache& cache, u64 key, const EvalCtx* caller) {
    if (!EvalLevel::isAnyOnThread()) cache.beginChecks();
    Value before;
    bool isSettled = false;
    const bool isKnown = cache.find(key, *this, before, &isSettled);
    if (isKnown && isSettled) return before;
    const u64 refusals = EvalLevel::refusals();
    if (!isKnown) {
        before = callNode(caller);
        if (before.isNull()) return before;
    }
    Value result = callNode(caller);
    if (result.isNull()) {
        reportChange(*this, "none any more,");
        return result;
    }
    if (result != before) reportChange(*this, "another one,");
    if (EvalLevel::refusals() == refusals) keep(key, caller, result);
    return result;
}

// Stores a result, unless the callback changed a dependency and with it the key.
void Output::keep(u64 key, const EvalCtx* caller, const Value& result) const {
    EvalCache* cache = cacheFor(caller);
    if (cache && cache->keyOf(*this) == key) cache->store(key, *this, result);
}

bool Output::isEvaluating() const noexcept {
    return CountedCall::callsIn(m_counts.load()) != 0 && EvalLevel::isAskedOnThread(*this);
}

// The output, or its node, may be destroyed as soon as it has left.
void Output::leaveEvaluations() const noexcept {
    UpstreamEvaluation::forget(*this);
    if (m_node && isEvaluating()) EvalLevel::nodeLeft(*this, implOf(m_node)->ownName());
}

Value Output::callNode(const EvalCtx* caller) {
    if (!m_node) return Value();
    EvalCtx frame(m_node, this, caller);
    const EvalLevel level(frame);
    const CountedCall call(*this);
    const EvalLevel* below = call.isNotAlone() ? level.sameBelow() : nullptr;
    if (below && below->frame().first() == frame.first()) return failEndless(level, *below);
    if (level.stackUsed() > maxEvalStack) return failTooDeep(level, *this);
    if (UpstreamEvaluation::isDue(level)) return produceAhead(level, m_type, m_dataType);
    return produceValue(level, m_type, m_dataType);
}

} // namespace qv::kelvo_sdk::impl
