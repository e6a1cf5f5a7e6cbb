// Callbacks of the standard nodes that mix, clamp and remap numbers.

#include "kelvo/sdk/impl/standard/standard_callbacks.h"
#include "kelvo/sdk/impl/standard/standard_eval.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

// Written so that the result is exactly `a` at 0 and exactly `b` at 1.
double mixed(double a, double b, double amount) {
    return a * (1.0 - amount) + b * amount;
}

bool evalMix(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const double a = eval.real(standardNames().a);
    const double b = eval.real(standardNames().b);
    return eval.give(mixed(a, b, eval.real(standardNames().amount)));
}

// Swaps bounds in the wrong order; NaN stays NaN.
double limited(double value, double low, double high) {
    if (high < low) std::swap(low, high);
    if (value < low) return low;
    return value > high ? high : value;
}

bool evalClamp(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const double value = eval.real(standardNames().value);
    const double low = eval.real(standardNames().minimum);
    return eval.give(limited(value, low, eval.real(standardNames().maximum)));
}

bool evalRemap(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const StandardNames& names = standardNames();
    const double value = eval.real(names.value);
    const double fromMin = eval.real(names.fromMin);
    const double fromMax = eval.real(names.fromMax);
    const double toMin = eval.real(names.toMin);
    const double toMax = eval.real(names.toMax);
    const bool clamped = eval.get<bool>(names.clamped);
    if (fromMin == fromMax) return eval.give(toMin);
    const double result = mixed(toMin, toMax, (value - fromMin) / (fromMax - fromMin));
    return eval.give(clamped ? limited(result, toMin, toMax) : result);
}

double smoothStep(double value, double from, double to) {
    if (from == to) return value < from ? 0.0 : 1.0;
    const double t = limited((value - from) / (to - from), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

bool evalSmoothStep(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const double value = eval.real(standardNames().value);
    const double from = eval.real(standardNames().from);
    return eval.give(smoothStep(value, from, eval.real(standardNames().to)));
}

} // namespace

void addRangeCallbacks(LibInfo& library) {
    addEvaluation(library, "mix", evalMix);
    addEvaluation(library, "clamp", evalClamp);
    addEvaluation(library, "remap", evalRemap);
    addEvaluation(library, "smoothstep", evalSmoothStep);
}

} // namespace qv::kelvo_sdk::impl
