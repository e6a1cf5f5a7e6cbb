#include "tests/render/picture_difference.h"

#include "render/impl/texture.h"

#include <array>
#include <cmath>

namespace qv::render::tests {

namespace {

using impl::Vec3;

// Linear colours before gray, row by row.
std::vector<Vec3> linear(const BytePicture& picture) {
    std::vector<Vec3> colors;
    for (u64 i = 0; i < picture.pixels.size(); i += 4) {
        const auto channel = [&](u64 c) {
            return impl::linearFromSrgb(static_cast<float>(picture.pixels[i + c]) / 255.0F);
        };
        const float alpha = static_cast<float>(picture.pixels[i + 3]) / 255.0F;
        colors.push_back(impl::mix(impl::gray(0.2F), {channel(0), channel(1), channel(2)}, alpha));
    }
    return colors;
}

// Blurs by the binomial weights 1 4 6 4 1 in both directions.
std::vector<Vec3> blurred(const std::vector<Vec3>& from, int width, int height) {
    constexpr std::array<float, 5> weights{1 / 16.F, 4 / 16.F, 6 / 16.F, 4 / 16.F, 1 / 16.F};
    const auto along = [&](const std::vector<Vec3>& in, int dx, int dy) {
        std::vector<Vec3> out(in.size());
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (int k = -2; k <= 2; ++k) {
                    const int px = std::clamp(x + k * dx, 0, width - 1);
                    const int py = std::clamp(y + k * dy, 0, height - 1);
                    out[static_cast<u64>(y * width + x)] +=
                        in[static_cast<u64>(py * width + px)] * weights[static_cast<u64>(k + 2)];
                }
        return out;
    };
    return along(along(from, 1, 0), 0, 1);
}

// Returns lightness and the two axes of colour in CIELAB, for the white of sRGB.
Vec3 lab(const Vec3& c) {
    const auto root = [](float t) {
        return t > 0.008856F ? std::cbrt(t) : 7.787F * t + 16.0F / 116.0F;
    };
    const float x = root((0.4124F * c.x + 0.3576F * c.y + 0.1805F * c.z) / 0.9505F);
    const float y = root(0.2126F * c.x + 0.7152F * c.y + 0.0722F * c.z);
    const float z = root((0.0193F * c.x + 0.1192F * c.y + 0.9505F * c.z) / 1.089F);
    return {116.0F * y - 16.0F, 500.0F * (x - y), 200.0F * (y - z)};
}

std::vector<double> differences(const BytePicture& a, const BytePicture& b) {
    const std::vector<Vec3> as = blurred(linear(a), a.width, a.height);
    const std::vector<Vec3> bs = blurred(linear(b), b.width, b.height);
    std::vector<double> made;
    for (u64 i = 0; i < as.size(); ++i)
        made.push_back(static_cast<double>(length(lab(as[i]) - lab(bs[i]))));
    return made;
}

} // namespace

double meanDifference(const BytePicture& a, const BytePicture& b) {
    const std::vector<double> all = differences(a, b);
    double sum = 0.0;
    for (const double one : all)
        sum += one;
    return sum / static_cast<double>(all.size());
}

double largestDifference(const BytePicture& a, const BytePicture& b) {
    constexpr int side = 8;
    const std::vector<double> all = differences(a, b);
    double most = 0.0;
    for (int top = 0; top + side <= a.height; top += side / 2)
        for (int left = 0; left + side <= a.width; left += side / 2) {
            double sum = 0.0;
            for (int i = 0; i < side * side; ++i)
                sum += all[static_cast<u64>((top + i / side) * a.width + left + i % side)];
            most = std::max(most, sum / (side * side));
        }
    return most;
}

} // namespace qv::render::tests
