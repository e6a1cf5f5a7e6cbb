#include "sdk/impl/output.h"

#include "sdk/buffer_result.h"
#include "sdk/eval_ctx.h"
#include "sdk/impl/eval_ahead.h"
#include "sdk/impl/eval_cache.h"
#include "sdk/impl/eval_stack.h"
#include "sdk/impl/input.h"
#include "sdk/impl/node.h"
#include "sdk/impl/scene.h"
#include "sdk/impl/value_text.h"
#include "sdk/output.h"

#include "base/log.h"

// ---- Evaluation ----------------------------------------------------------------------------
// A callback may change or end anything, its node and this output among them. What is looked at
// after it was called is kept alive or asked for again.

namespace qv::kelvo_sdk {

RefersTo<interfaces::IInput> Output::evaluated(EvalCtx* ctx) const {
    auto* output = static_cast<impl::Output*>(get());
    if (!output || !output->evaluate(ctx)) return {};
    return impl::Input::showing(output->value());
}

bool setBufferResult(void* out, interfaces::BufferView elements) {
    auto& result = *static_cast<impl::Buffer*>(out);
    if (result.type() != elements.type) return false;
    result = impl::Buffer(elements.type, elements.data, elements.count);
    return true;
}

} // namespace qv::kelvo_sdk

namespace qv::kelvo_sdk::impl {

namespace {

// Asks the node's callback for a value of one C++ type.
template<typename T>
bool produce(EvalCtx& frame, T result, Value& out) {
    if (!frame.node()->nodeEval(&frame, &result)) return false;
    out = Value(std::move(result));
    return true;
}

bool produceValue(EvalCtx& frame, AttrType type, DataType dataType, Value& out) {
    switch (type) {
    case AttrType::Bool:
        return produce(frame, false, out);
    case AttrType::Int:
        return produce(frame, i64(0), out);
    case AttrType::UInt:
        return produce(frame, u64(0), out);
    case AttrType::Real:
        return produce(frame, 0.0, out);
    case AttrType::Vec2:
        return produce(frame, math::Vec2d(), out);
    case AttrType::Vec3:
        return produce(frame, math::Vec3d(), out);
    case AttrType::Vec4:
        return produce(frame, math::Vec4d(), out);
    case AttrType::Pos2:
        return produce(frame, math::Pos2d(), out);
    case AttrType::Pos3:
        return produce(frame, math::Pos3d(), out);
    case AttrType::Quat:
        return produce(frame, math::Quatd(), out);
    case AttrType::Rgba:
        return produce(frame, math::Rgbad(), out);
    case AttrType::Mat3:
        return produce(frame, math::Mat3d::identity, out);
    case AttrType::Mat4:
        return produce(frame, math::Mat4d::identity, out);
    case AttrType::String:
        return produce(frame, String(), out);
    case AttrType::Buffer:
        return produce(frame, Buffer(dataType, 0), out);
    default:
        return false;
    }
}

// Of those above the level where the same output is asked for already.
bool failEndless(const EvalLevel& level, const EvalLevel& below) {
    EvalLevel::noteRefusal();
    logError("Endless evaluation: %s.", level.path(below).buf());
    return false;
}

// Callbacks that do not pass their frame on come round unnoticed until here.
bool failTooDeep(const EvalLevel& level, const Output& output) {
    if (const EvalLevel* below = level.sameBelow()) return failEndless(level, *below);
    EvalLevel::noteRefusal();
    logError("Cannot evaluate '%s': %llu evaluations wait for it, and there is no stack for more.",
             output.path().buf(), static_cast<unsigned long long>(level.count() - 1));
    return false;
}

// Tells an output for how long it is being evaluated.
class FrameMark {
public:
    FrameMark(const EvalCtx*& place, const EvalCtx& frame) noexcept
        : m_place(place), m_before(place) {
        m_place = &frame;
    }
    ~FrameMark() { m_place = m_before; }
    FrameMark(const FrameMark&) = delete;
    FrameMark& operator=(const FrameMark&) = delete;

private:
    const EvalCtx*& m_place;
    const EvalCtx* m_before;
};

// Not inlined, for the sake of the stack.
[[gnu::noinline]] bool produceAhead(EvalCtx& frame, const EvalLevel& level, AttrType type,
                                    DataType dataType, Value& out) {
    const EvalAhead ahead(frame, level);
    return produceValue(frame, type, dataType, out);
}

void reportChange(const Output& output, const char* now) {
    logError("The result of '%s' is %s although nothing that it depends on changed.",
             output.path().buf(), now);
}

} // namespace

bool Output::evaluate(void* callerCtx) {
    if (!m_node || !m_node->hasNodeEval()) return !m_value.isNull();
    const auto* caller = static_cast<const EvalCtx*>(callerCtx);
    if (const Value* result = EvalAhead::result(*this, caller)) {
        if (result->isNull()) return false;
        m_value = *result;
        return true;
    }
    EvalCache* cache = cacheFor(caller);
    const u64 key = cache ? cache->keyOf(*this) : 0;
    const RefersTo<IOutput> held(this);
    if (key == 0) return callNode(caller);
    return cache->isChecked() ? evaluateChecked(*cache, key, caller)
                              : evaluateCached(*cache, key, caller);
}

// Results may depend on what a caller's own pointer leads to.
EvalCache* Output::cacheFor(const EvalCtx* caller) const {
    if (!m_node || (caller && caller->user())) return nullptr;
    const auto* scene = static_cast<const Scene*>(m_node->scene());
    return scene ? scene->evalCache() : nullptr;
}

bool Output::evaluateCached(EvalCache& cache, u64 key, const EvalCtx* caller) {
    if (cache.find(key, *this, m_value)) return true;
    const u64 refusals = EvalLevel::refusals();
    if (!callNode(caller)) return false;
    if (EvalLevel::refusals() == refusals) keep(key, caller);
    return true;
}

bool Output::evaluateChecked(EvalCache& cache, u64 key, const EvalCtx* caller) {
    if (!EvalLevel::isAnyOnThread()) cache.beginChecks();
    Value before;
    bool isSettled = false;
    const bool isKnown = cache.find(key, *this, before, &isSettled);
    if (isKnown && isSettled) {
        m_value = before;
        return true;
    }
    const u64 refusals = EvalLevel::refusals();
    if (!isKnown) {
        if (!callNode(caller)) return false;
        before = m_value;
    }
    if (!callNode(caller)) {
        reportChange(*this, "none any more,");
        return false;
    }
    if (m_value != before) reportChange(*this, "another one,");
    if (EvalLevel::refusals() == refusals) keep(key, caller);
    return true;
}

// Unless the callback changed what the key stands for.
void Output::keep(u64 key, const EvalCtx* caller) const {
    EvalCache* cache = cacheFor(caller);
    if (cache && cache->keyOf(*this) == key) cache->store(key, *this, m_value);
}

bool Output::callNode(const EvalCtx* caller) {
    if (!m_node) return false;
    EvalCtx frame(m_node, this, caller);
    const EvalLevel level(frame);
    const bool isEndless = m_frame && m_frame->first() == frame.first();
    if (const EvalLevel* below = isEndless ? level.sameBelow() : nullptr)
        return failEndless(level, *below);
    if (level.stackUsed() > maxEvalStack) return failTooDeep(level, *this);
    const FrameMark mark(m_frame, frame);
    if (EvalAhead::isDue(level)) return produceAhead(frame, level, m_type, m_dataType, m_value);
    return produceValue(frame, m_type, m_dataType, m_value);
}

} // namespace qv::kelvo_sdk::impl
