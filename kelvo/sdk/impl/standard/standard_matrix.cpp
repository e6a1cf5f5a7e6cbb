// Callbacks of the standard nodes for matrices.

#include "kelvo/sdk/impl/standard/standard_callbacks.h"
#include "kelvo/sdk/impl/standard/standard_eval.h"

#include <cmath>

namespace qv::kelvo_sdk::impl {

namespace {

using math::Mat4d;
using math::Pos3d;
using math::Vec3d;

// Rotates the first axis towards the second.
Mat4d rotation(u64 first, u64 second, double angle) {
    Mat4d result = Mat4d::identity;
    result[first][first] = result[second][second] = std::cos(angle);
    result[first][second] = std::sin(angle);
    result[second][first] = -std::sin(angle);
    return result;
}

Mat4d scaling(const Vec3d& factors) {
    Mat4d result = Mat4d::identity;
    for (u64 i = 0; i < 3; ++i)
        result[i][i] = factors[i];
    return result;
}

bool evalComposeMatrix(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const auto offset = eval.get<Vec3d>(standardNames().translate);
    const auto angles = eval.get<Vec3d>(standardNames().rotate);
    const auto factors = eval.get<Vec3d>(standardNames().scale);
    return eval.give(scaling(factors) * rotation(1, 2, angles[0]) * rotation(2, 0, angles[1]) *
                     rotation(0, 1, angles[2]) * Mat4d::translation(offset));
}

bool evalMultiplyMatrices(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const auto a = eval.get<Mat4d>(standardNames().a);
    return eval.give(a * eval.get<Mat4d>(standardNames().b));
}

bool evalTransformPosition(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const auto position = eval.get<Pos3d>(standardNames().position);
    return eval.give(position * eval.get<Mat4d>(standardNames().matrix));
}

} // namespace

void addMatrixCallbacks(LibInfo& library) {
    addEvaluation(library, "composeMatrix", evalComposeMatrix);
    addEvaluation(library, "multiplyMatrices", evalMultiplyMatrices);
    addEvaluation(library, "transformPosition", evalTransformPosition);
}

} // namespace qv::kelvo_sdk::impl
