#pragma once

#include "kelvo/sdk/attr_type.h"
#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/input_access.h"

namespace qv::kelvo_sdk::impl {

/// The kind of output whose value is an object of that C++ type.
template<typename T>
inline constexpr AttrType outputKindOf = AttrType::Null;
template<>
inline constexpr AttrType outputKindOf<bool> = AttrType::Bool;
template<>
inline constexpr AttrType outputKindOf<i64> = AttrType::Int;
template<>
inline constexpr AttrType outputKindOf<u64> = AttrType::UInt;
template<>
inline constexpr AttrType outputKindOf<double> = AttrType::Real;
template<>
inline constexpr AttrType outputKindOf<math::Vec2d> = AttrType::Vec2;
template<>
inline constexpr AttrType outputKindOf<math::Vec3d> = AttrType::Vec3;
template<>
inline constexpr AttrType outputKindOf<math::Vec4d> = AttrType::Vec4;
template<>
inline constexpr AttrType outputKindOf<math::Pos2d> = AttrType::Pos2;
template<>
inline constexpr AttrType outputKindOf<math::Pos3d> = AttrType::Pos3;
template<>
inline constexpr AttrType outputKindOf<math::Quatd> = AttrType::Quat;
template<>
inline constexpr AttrType outputKindOf<math::Rgbad> = AttrType::Rgba;
template<>
inline constexpr AttrType outputKindOf<math::Mat3d> = AttrType::Mat3;
template<>
inline constexpr AttrType outputKindOf<math::Mat4d> = AttrType::Mat4;
template<>
inline constexpr AttrType outputKindOf<String> = AttrType::String;

/// Names of the inputs and outputs of value nodes, made once, so that look-ups can use their cached
/// hashes.
struct StandardNames {
    const String a{"a"}, b{"b"}, otherwise{"otherwise"}, value{"value"}, result{"result"};
    const String mode{"mode"}, amount{"amount"}, minimum{"min"}, maximum{"max"};
    const String from{"from"}, to{"to"}, clamped{"clamped"};
    const String fromMin{"fromMin"}, fromMax{"fromMax"}, toMin{"toMin"}, toMax{"toMax"};
    const String axes[4]{"x", "y", "z", "w"};
    const String channels[4]{"r", "g", "b", "a"};
    const String color{"color"}, gamma{"gamma"};
    const String hue{"hue"}, saturation{"saturation"}, brightness{"brightness"}, alpha{"alpha"};
    const String position{"position"}, frequency{"frequency"}, octaves{"octaves"};
    const String roughness{"roughness"}, seed{"seed"};
    const String translate{"translate"}, rotate{"rotate"}, scale{"scale"}, matrix{"matrix"};
    const String enabled{"enabled"}, factor{"factor"};
};

/// Never destroyed, as nodes may be evaluated at program exit.
[[nodiscard]] const StandardNames& standardNames();

/// One call of an evaluation callback: reads inputs of the node and returns the value of its
/// output. Copies no names, whose counts all threads would change at the same time.
class StandardEval {
public:
    StandardEval(EvalCtx* ctx, void* out) noexcept
        : m_ctx(ctx), m_out(out), m_ok(ctx && out && ctx->node() && ctx->output()) {}

    /// Reads an input. If the input is missing or cannot be read, the evaluation fails.
    template<typename T>
    [[nodiscard]] T get(const String& name) {
        T value{};
        if (!m_ok) return value;
        // Keeps the input alive: an evaluation may remove it while it is read.
        const RefersTo<interfaces::IInput> input(implOf(*m_ctx->node()).findInputByName(name));
        m_ok = input && detail::read(*input.get(), value, true, m_ctx);
        return value;
    }
    [[nodiscard]] double real(const String& name) { return get<double>(name); }

    /// Tells whether the evaluation is for the output of that name.
    [[nodiscard]] bool asks(const String& name) const {
        return m_ok && implOf(*m_ctx->output()).ownName() == name;
    }

    /// Returns a value of its kind for the output `name`. The evaluation of any other output, such
    /// as one that was added to the node, fails.
    template<typename T>
    [[nodiscard]] bool give(const String& name, T value) const {
        static_assert(outputKindOf<T> != AttrType::Null);
        if (!asks(name) || m_ctx->output()->type() != outputKindOf<T>) return false;
        *static_cast<T*>(m_out) = std::move(value);
        return true;
    }
    template<typename T>
    [[nodiscard]] bool give(T value) const {
        return give(standardNames().result, std::move(value));
    }

    /// Logs that the text of an input is not one of its choices, and fails the evaluation.
    bool refuseChoice(const String& name, const String& text);

private:
    EvalCtx* m_ctx;
    void* m_out;
    bool m_ok;
};

} // namespace qv::kelvo_sdk::impl
