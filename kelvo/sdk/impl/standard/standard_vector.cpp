// Callbacks of the standard nodes for vectors.

#include "kelvo/sdk/impl/standard/standard_callbacks.h"
#include "kelvo/sdk/impl/standard/standard_eval.h"

#include <cmath>
#include <iterator>
#include <type_traits>

namespace qv::kelvo_sdk::impl {

namespace {

using math::Vec3d;

// Infinity counts as larger than NaN.
double largestOf(const Vec3d& v) {
    double largest = 0.0;
    for (const double coordinate : v.v) {
        const double size = std::fabs(coordinate);
        if (std::isinf(size)) return size;
        if (std::isnan(size) || size > largest) largest = size;
    }
    return largest;
}

bool evalDot(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const Vec3d a = eval.get<Vec3d>(standardNames().a);
    const Vec3d b = eval.get<Vec3d>(standardNames().b);
    return eval.give(a[0] * b[0] + a[1] * b[1] + a[2] * b[2]);
}

bool evalCross(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const Vec3d a = eval.get<Vec3d>(standardNames().a);
    const Vec3d b = eval.get<Vec3d>(standardNames().b);
    return eval.give(
        Vec3d{{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]}});
}

// Scales by a power of two, which is exact, so that no square overflows or underflows.
double lengthOf(const Vec3d& v) {
    const double largest = largestOf(v);
    if (largest == 0.0 || !std::isfinite(largest)) return largest;
    int exponent = 0;
    std::frexp(largest, &exponent);
    double sum = 0.0;
    for (const double coordinate : v.v) {
        const double scaled = std::ldexp(coordinate, -exponent);
        sum += scaled * scaled;
    }
    return std::ldexp(std::sqrt(sum), exponent);
}

bool evalLength(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const Vec3d v = eval.get<Vec3d>(standardNames().value);
    return eval.give(lengthOf(v));
}

// Divides by the largest component first, so that huge and tiny vectors keep their direction.
Vec3d unitVector(const Vec3d& v) {
    const double largest = largestOf(v);
    if (largest == 0.0 || !std::isfinite(largest)) return {};
    Vec3d result{{v[0] / largest, v[1] / largest, v[2] / largest}};
    const double length =
        std::sqrt(result[0] * result[0] + result[1] * result[1] + result[2] * result[2]);
    for (double& coordinate : result.v)
        coordinate /= length;
    return result;
}

bool evalNormalize(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    return eval.give(unitVector(eval.get<Vec3d>(standardNames().value)));
}

template<typename T>
const String* partNames() {
    return std::is_same_v<T, math::Rgbad> ? standardNames().channels : standardNames().axes;
}

template<typename T>
bool evalCompose(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    T result;
    for (u64 i = 0; i < std::size(result.v); ++i)
        result[i] = eval.real(partNames<T>()[i]);
    return eval.give(result);
}

template<typename T>
bool evalSplit(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const T value = eval.get<T>(standardNames().value);
    for (u64 i = 0; i < std::size(value.v); ++i) {
        if (eval.asks(partNames<T>()[i])) return eval.give(partNames<T>()[i], value[i]);
    }
    return false;
}

} // namespace

void addVectorCallbacks(LibInfo& library) {
    addEvaluation(library, "dot", evalDot);
    addEvaluation(library, "cross", evalCross);
    addEvaluation(library, "length", evalLength);
    addEvaluation(library, "normalize", evalNormalize);
    addEvaluation(library, "composeVec2", evalCompose<math::Vec2d>);
    addEvaluation(library, "composeVec3", evalCompose<math::Vec3d>);
    addEvaluation(library, "composeVec4", evalCompose<math::Vec4d>);
    addEvaluation(library, "composePos3", evalCompose<math::Pos3d>);
    addEvaluation(library, "composeRgba", evalCompose<math::Rgbad>);
    addEvaluation(library, "splitVec2", evalSplit<math::Vec2d>);
    addEvaluation(library, "splitVec3", evalSplit<math::Vec3d>);
    addEvaluation(library, "splitVec4", evalSplit<math::Vec4d>);
    addEvaluation(library, "splitPos3", evalSplit<math::Pos3d>);
    addEvaluation(library, "splitRgba", evalSplit<math::Rgbad>);
}

} // namespace qv::kelvo_sdk::impl
