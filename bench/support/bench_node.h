#pragma once

#include "kelvo/kelvo.h"

#include <string>
#include <utility>

namespace qv::bench {

/// The names of the ten inputs, made once, because applications keep them.
struct BenchNames {
    String b{"b"}, i{"i"}, f{"f"}, d{"d"}, s{"s"}, v2{"v2"}, v3{"v3"}, v4{"v4"}, m{"m"}, a{"a"};
    String type{"bench10"};
    String text{"some text value"};

    static const BenchNames& get() {
        static const BenchNames names;
        return names;
    }
};

/// Gives a node ten inputs of mixed kinds with values of their own.
template<typename N>
void addTenInputs(N& node, int k) {
    const BenchNames& names = BenchNames::get();
    using kelvo_sdk::AttrType;
    const double x = k;
    node.createInput(names.b, AttrType::Bool)->setBool(true);
    node.createInput(names.i, AttrType::Int)->setInt(k);
    node.createInput(names.f, AttrType::Real)
        ->setReal(static_cast<double>(0.1f * static_cast<float>(k)));
    node.createInput(names.d, AttrType::Real)->setReal(0.1 * x);
    node.createInput(names.s, AttrType::String)->setString(names.text);
    node.createInput(names.v2, AttrType::Vec2)->setVec2({0.1, x});
    node.createInput(names.v3, AttrType::Vec3)->setVec3({0.1, 0.2, x});
    node.createInput(names.v4, AttrType::Vec4)->setVec4({0.1, 0.2, 0.3, x});
    math::Mat4d matrix = math::Mat4d::identity;
    matrix[3][0] = 0.1;
    matrix[3][1] = 0.2;
    matrix[3][2] = x;
    node.createInput(names.m, AttrType::Mat4)->setMat4(matrix);
    auto* array = node.createArray(names.a, AttrType::Real);
    for (const double value : {0.5, 1.5, 2.5, 3.5})
        array->appendElement()->setReal(value);
}

} // namespace qv::bench
