#pragma once

#include "kelvo/base/types.h"

namespace qv::math {

/// A vector of N components. All types here start as zeros and are plain memory: components in
/// order, without padding.
template<u64 N, class T>
struct VecT {
    T v[N]{};

    [[nodiscard]] constexpr T& operator[](u64 i) noexcept { return v[i]; }
    [[nodiscard]] constexpr const T& operator[](u64 i) const noexcept { return v[i]; }
    [[nodiscard]] constexpr bool operator==(const VecT&) const noexcept = default;
};

/// A position of N coordinates: a point, while VecT is a direction or an offset.
template<u64 N, class T>
struct PosT {
    T v[N]{};

    static const PosT zero;

    [[nodiscard]] constexpr T& operator[](u64 i) noexcept { return v[i]; }
    [[nodiscard]] constexpr const T& operator[](u64 i) const noexcept { return v[i]; }
    [[nodiscard]] constexpr bool operator==(const PosT&) const noexcept = default;
};

/// A quaternion x, y, z, w with the real part w.
template<class T>
struct QuatT {
    T v[4]{};

    static const QuatT identity;

    [[nodiscard]] constexpr T& operator[](u64 i) noexcept { return v[i]; }
    [[nodiscard]] constexpr const T& operator[](u64 i) const noexcept { return v[i]; }
    [[nodiscard]] constexpr bool operator==(const QuatT&) const noexcept = default;
};

/// A colour of red, green and blue: linear, from 0 to 1 unless the components are bytes.
template<class T>
struct RgbT {
    T v[3]{};

    [[nodiscard]] constexpr T& operator[](u64 i) noexcept { return v[i]; }
    [[nodiscard]] constexpr const T& operator[](u64 i) const noexcept { return v[i]; }
    [[nodiscard]] constexpr bool operator==(const RgbT&) const noexcept = default;
};

/// A colour of red, green, blue and opacity.
template<class T>
struct RgbaT {
    T v[4]{};

    [[nodiscard]] constexpr T& operator[](u64 i) noexcept { return v[i]; }
    [[nodiscard]] constexpr const T& operator[](u64 i) const noexcept { return v[i]; }
    [[nodiscard]] constexpr bool operator==(const RgbaT&) const noexcept = default;
};

/// A square matrix, row by row. Points are row vectors, p' = p * M, so the last row of a 4 by 4
/// matrix has the translation, and `a * b` applies `a` first.
template<u64 N, class T>
struct MatT {
    T m[N][N]{};

    static const MatT identity;

    /// Returns the row at `i`, an array of N.
    [[nodiscard]] constexpr T* operator[](u64 i) noexcept { return m[i]; }
    [[nodiscard]] constexpr const T* operator[](u64 i) const noexcept { return m[i]; }
    [[nodiscard]] constexpr bool operator==(const MatT&) const noexcept = default;

    [[nodiscard]] static constexpr MatT makeIdentity() noexcept {
        MatT result;
        for (u64 i = 0; i < N; ++i)
            result.m[i][i] = T(1);
        return result;
    }

    [[nodiscard]] static constexpr MatT translation(const VecT<N - 1, T>& offset) noexcept {
        MatT result = makeIdentity();
        for (u64 i = 0; i + 1 < N; ++i)
            result.m[N - 1][i] = offset[i];
        return result;
    }

    [[nodiscard]] constexpr MatT transposed() const noexcept {
        MatT result;
        for (u64 row = 0; row < N; ++row)
            for (u64 column = 0; column < N; ++column)
                result.m[column][row] = m[row][column];
        return result;
    }
};

template<u64 N, class T>
[[nodiscard]] constexpr MatT<N, T> operator*(const MatT<N, T>& a, const MatT<N, T>& b) noexcept {
    MatT<N, T> result;
    for (u64 row = 0; row < N; ++row)
        for (u64 column = 0; column < N; ++column)
            for (u64 i = 0; i < N; ++i)
                result.m[row][column] += a.m[row][i] * b.m[i][column];
    return result;
}

/// Transforms the point by an affine matrix, whose last column is taken to be 0 ... 0 1.
template<u64 N, class T>
[[nodiscard]] constexpr PosT<N, T> operator*(const PosT<N, T>& p,
                                             const MatT<N + 1, T>& matrix) noexcept {
    PosT<N, T> result;
    for (u64 column = 0; column < N; ++column) {
        result[column] = matrix.m[N][column];
        for (u64 i = 0; i < N; ++i)
            result[column] += p[i] * matrix.m[i][column];
    }
    return result;
}

template<u64 N, class T>
[[nodiscard]] constexpr PosT<N, T> operator+(const PosT<N, T>& p,
                                             const VecT<N, T>& offset) noexcept {
    PosT<N, T> result;
    for (u64 i = 0; i < N; ++i)
        result[i] = p[i] + offset[i];
    return result;
}

template<u64 N, class T>
[[nodiscard]] constexpr VecT<N, T> operator-(const PosT<N, T>& a, const PosT<N, T>& b) noexcept {
    VecT<N, T> result;
    for (u64 i = 0; i < N; ++i)
        result[i] = a[i] - b[i];
    return result;
}

/// A box along the coordinate axes, from its minimum to its maximum corner.
template<class T>
struct AabbT {
    PosT<3, T> min;
    PosT<3, T> max;

    /// The empty box at the origin: both corners are `PosT<3, T>::zero`.
    static const AabbT identity;

    [[nodiscard]] constexpr bool operator==(const AabbT&) const noexcept = default;
};

/// A box along axes of its own: centre, axes of length 1, half its extent along each.
template<class T>
struct ObbT {
    PosT<3, T> center;
    VecT<3, T> axes[3]{};
    VecT<3, T> halfExtents;

    [[nodiscard]] constexpr bool operator==(const ObbT&) const noexcept = default;
};

// Constants at compile time, with one object each in the whole program.
template<u64 N, class T>
constexpr PosT<N, T> PosT<N, T>::zero{};
template<class T>
constexpr QuatT<T> QuatT<T>::identity{{T(0), T(0), T(0), T(1)}};
template<u64 N, class T>
constexpr MatT<N, T> MatT<N, T>::identity = MatT<N, T>::makeIdentity();
template<class T>
constexpr AabbT<T> AabbT<T>::identity{PosT<3, T>::zero, PosT<3, T>::zero};

using Vec2f = VecT<2, float>;
using Vec2d = VecT<2, double>;
using Vec2i = VecT<2, i32>;
using Vec2u = VecT<2, u32>;
using Vec3f = VecT<3, float>;
using Vec3d = VecT<3, double>;
using Vec3i = VecT<3, i32>;
using Vec3u = VecT<3, u32>;
using Vec4f = VecT<4, float>;
using Vec4d = VecT<4, double>;
using Vec4i = VecT<4, i32>;
using Vec4u = VecT<4, u32>;
using Pos2f = PosT<2, float>;
using Pos2d = PosT<2, double>;
using Pos2i = PosT<2, i32>;
using Pos3f = PosT<3, float>;
using Pos3d = PosT<3, double>;
using Pos3i = PosT<3, i32>;
using Quatf = QuatT<float>;
using Quatd = QuatT<double>;
using Rgbf = RgbT<float>;
using Rgbd = RgbT<double>;
using Rgb8 = RgbT<u8>;
using Rgbaf = RgbaT<float>;
using Rgbad = RgbaT<double>;
using Rgba8 = RgbaT<u8>;
using Mat3f = MatT<3, float>;
using Mat3d = MatT<3, double>;
using Mat3i = MatT<3, i32>;
using Mat4f = MatT<4, float>;
using Mat4d = MatT<4, double>;
using Mat4i = MatT<4, i32>;
using Aabbf = AabbT<float>;
using Aabbd = AabbT<double>;
using Aabbi = AabbT<i32>;
using Obbf = ObbT<float>;
using Obbd = ObbT<double>;
using Obbi = ObbT<i32>;

} // namespace qv::math
