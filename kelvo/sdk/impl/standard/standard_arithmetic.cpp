// Callbacks of the standard nodes that calculate with numbers.

#include "kelvo/sdk/impl/standard/standard_callbacks.h"
#include "kelvo/sdk/impl/standard/standard_eval.h"

#include <algorithm>
#include <cmath>

namespace qv::kelvo_sdk::impl {

namespace {

double sum(double a, double b) {
    return a + b;
}
double difference(double a, double b) {
    return a - b;
}
double product(double a, double b) {
    return a * b;
}
// If one number is NaN, returns the other.
double smaller(double a, double b) {
    return std::isnan(a) || b < a ? b : a;
}
double greater(double a, double b) {
    return std::isnan(a) || b > a ? b : a;
}

template<double (*calculate)(double, double)>
bool evalPair(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const double a = eval.real(standardNames().a);
    const double b = eval.real(standardNames().b);
    return eval.give(calculate(a, b));
}

// A function with no result for some numbers: the node then returns its input "otherwise", which is
// read only in that case.
template<bool (*calculate)(double, double, double&)>
bool evalPartial(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const double a = eval.real(standardNames().a);
    const double b = eval.real(standardNames().b);
    double result = 0.0;
    if (!calculate(a, b, result)) result = eval.real(standardNames().otherwise);
    return eval.give(result);
}

bool quotient(double a, double b, double& result) {
    result = a / b;
    return b != 0.0;
}

// The remainder has the sign of the divisor, so that the pattern repeats evenly below zero.
bool rest(double a, double b, double& result) {
    if (b == 0.0 || !std::isfinite(a) || !std::isfinite(b)) return false;
    result = std::fmod(a, b);
    if (result == 0.0) result = std::copysign(0.0, b);
    if ((result < 0.0) != (b < 0.0) && result != 0.0) result += b;
    return true;
}

bool power(double a, double b, double& result) {
    if (a == 0.0 && b < 0.0) return false;
    if (a < 0.0 && std::isfinite(b) && b != std::trunc(b)) return false;
    result = std::pow(a, b);
    return true;
}

bool evalAbs(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    return eval.give(std::fabs(eval.real(standardNames().value)));
}

struct Function {
    const char* name;
    double (*calculate)(double);
};

// asin and acos clamp their argument to -1 to 1.
constexpr Function kTrigonometry[] = {
    {"sin", [](double x) { return std::sin(x); }},
    {"cos", [](double x) { return std::cos(x); }},
    {"tan", [](double x) { return std::tan(x); }},
    {"asin", [](double x) { return std::asin(std::clamp(x, -1.0, 1.0)); }},
    {"acos", [](double x) { return std::acos(std::clamp(x, -1.0, 1.0)); }},
    {"atan", [](double x) { return std::atan(x); }},
};

constexpr Function kRounding[] = {
    {"nearest", [](double x) { return std::round(x); }},
    {"down", [](double x) { return std::floor(x); }},
    {"up", [](double x) { return std::ceil(x); }},
    {"zero", [](double x) { return std::trunc(x); }},
};

// Applies the function that the input "mode" names.
template<const auto& functions>
bool evalFunction(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const double value = eval.real(standardNames().value);
    const String mode = eval.get<String>(standardNames().mode);
    for (const Function& function : functions) {
        if (mode == function.name) return eval.give(function.calculate(value));
    }
    return eval.refuseChoice(standardNames().mode, mode);
}

} // namespace

void addArithmeticCallbacks(LibInfo& library) {
    addEvaluation(library, "add", evalPair<sum>);
    addEvaluation(library, "subtract", evalPair<difference>);
    addEvaluation(library, "multiply", evalPair<product>);
    addEvaluation(library, "minimum", evalPair<smaller>);
    addEvaluation(library, "maximum", evalPair<greater>);
    addEvaluation(library, "divide", evalPartial<quotient>);
    addEvaluation(library, "modulo", evalPartial<rest>);
    addEvaluation(library, "power", evalPartial<power>);
    addEvaluation(library, "absolute", evalAbs);
    addEvaluation(library, "round", evalFunction<kRounding>);
    addEvaluation(library, "trigonometry", evalFunction<kTrigonometry>);
}

} // namespace qv::kelvo_sdk::impl
