// Callbacks of the standard noise nodes.

#include "kelvo/sdk/impl/standard/standard_callbacks.h"
#include "kelvo/sdk/impl/standard/standard_eval.h"

#include <algorithm>
#include <bit>
#include <cmath>

// Gradient noise on the grid of whole numbers. Uses only integer hashes, sums and products, so that
// every machine gets the same bits.
namespace qv::kelvo_sdk::impl {

namespace {

using math::Pos3d;
using math::Vec3d;

constexpr u64 kMostOctaves = 16;

constexpr u64 scattered(u64 bits) noexcept {
    bits = (bits ^ (bits >> 33)) * 0xff51afd7ed558ccdULL;
    bits = (bits ^ (bits >> 33)) * 0xc4ceb9fe1a85ec53ULL;
    return bits ^ (bits >> 33);
}

struct Cell {
    i64 at[3];
};

// The gradient at a corner points to the middle of one of a cube's twelve edges.
double slope(const Cell& corner, u64 seed, const Vec3d& away) noexcept {
    u64 bits = seed;
    for (const i64 coordinate : corner.at)
        bits = scattered(bits + 0x9e3779b97f4a7c15ULL + static_cast<u64>(coordinate));
    const u64 edge = (bits >> 8) % 12;
    const double first = away[edge < 4 ? 1 : 0];
    const double second = away[edge < 8 ? 2 : 1];
    const double one = (edge & 1) != 0 ? -first : first;
    return (edge & 2) != 0 ? one - second : one + second;
}

double eased(double t) noexcept {
    return t * t * t * (t * (t * 6.0 - 15.0) + 10.0);
}

double between(double a, double b, double t) noexcept {
    return a + t * (b - a);
}

// Interpolates between the gradients at the eight corners; `inside` is from 0 to 1 on each axis.
double cellNoise(const Cell& cell, const Vec3d& inside, u64 seed) noexcept {
    double corner[8];
    for (u64 i = 0; i < 8; ++i) {
        Cell at = cell;
        Vec3d away = inside;
        for (u64 axis = 0; axis < 3; ++axis) {
            if (((i >> axis) & 1) == 0) continue;
            ++at.at[axis];
            away[axis] -= 1.0;
        }
        corner[i] = slope(at, seed, away);
    }
    for (u64 axis = 0; axis < 3; ++axis) {
        const double t = eased(inside[axis]);
        for (u64 i = 0; i < (4u >> axis); ++i)
            corner[i] = between(corner[2 * i], corner[2 * i + 1], t);
    }
    return corner[0];
}

// Numbers this large have no fraction, and the noise is 0 at every whole number.
bool isOnGrid(const Pos3d& p) noexcept {
    constexpr double noFraction = 4503599627370496.0;
    return std::ranges::any_of(p.v, [](double x) { return !(std::fabs(x) < noFraction); });
}

double noiseAt(const Pos3d& p, u64 seed) noexcept {
    if (isOnGrid(p)) return 0.0;
    Cell cell;
    Vec3d inside;
    for (u64 i = 0; i < 3; ++i) {
        const double whole = std::floor(p[i]);
        cell.at[i] = static_cast<i64>(whole);
        inside[i] = p[i] - whole;
    }
    return cellNoise(cell, inside, seed);
}

double fractalNoise(Pos3d p, u64 octaves, double roughness, u64 seed) noexcept {
    double result = 0.0, weight = 1.0, weights = 0.0;
    for (u64 i = 0; i < octaves; ++i) {
        result += weight * noiseAt(p, seed + i);
        weights += weight;
        weight *= roughness;
        for (double& coordinate : p.v)
            coordinate *= 2.0;
    }
    return std::clamp(result / weights, -1.0, 1.0);
}

bool evalNoise(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const StandardNames& names = standardNames();
    auto position = eval.get<Pos3d>(names.position);
    const double frequency = eval.real(names.frequency);
    const u64 octaves = std::clamp<u64>(eval.get<u64>(names.octaves), 1, kMostOctaves);
    const double given = eval.real(names.roughness);
    const double roughness = given > 0.0 ? std::min(given, 1.0) : 0.0;
    const auto seed = std::bit_cast<u64>(eval.get<i64>(names.seed));
    for (double& coordinate : position.v)
        coordinate *= frequency;
    return eval.give(fractalNoise(position, octaves, roughness, scattered(seed)));
}

} // namespace

void addNoiseCallbacks(LibInfo& library) {
    addEvaluation(library, "noise", evalNoise);
}

} // namespace qv::kelvo_sdk::impl
