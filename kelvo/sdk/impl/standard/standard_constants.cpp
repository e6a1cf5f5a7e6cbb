// Callbacks of the standard nodes that hand a constant on.

#include "kelvo/sdk/impl/standard/standard_callbacks.h"
#include "kelvo/sdk/impl/standard/standard_eval.h"

namespace qv::kelvo_sdk::impl {

namespace {

template<typename T>
bool handOn(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    return eval.give(eval.get<T>(standardNames().value));
}

} // namespace

void addConstantCallbacks(LibInfo& library) {
    addEvaluation(library, "boolValue", handOn<bool>);
    addEvaluation(library, "intValue", handOn<i64>);
    addEvaluation(library, "uintValue", handOn<u64>);
    addEvaluation(library, "realValue", handOn<double>);
    addEvaluation(library, "vec2Value", handOn<math::Vec2d>);
    addEvaluation(library, "vec3Value", handOn<math::Vec3d>);
    addEvaluation(library, "vec4Value", handOn<math::Vec4d>);
    addEvaluation(library, "pos2Value", handOn<math::Pos2d>);
    addEvaluation(library, "pos3Value", handOn<math::Pos3d>);
    addEvaluation(library, "quatValue", handOn<math::Quatd>);
    addEvaluation(library, "rgbaValue", handOn<math::Rgbad>);
    addEvaluation(library, "mat3Value", handOn<math::Mat3d>);
    addEvaluation(library, "mat4Value", handOn<math::Mat4d>);
    addEvaluation(library, "stringValue", handOn<String>);
}

} // namespace qv::kelvo_sdk::impl
