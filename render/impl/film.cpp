#include "render/impl/film.h"

namespace qv::render::impl {

namespace {

// Errors in darkness count less than by its brightness.
constexpr double darkness = 0.05;

} // namespace

Film::Film(u32 width, u32 height)
    : m_width(width),
      m_height(height),
      m_columns((width + tileSize - 1) / tileSize),
      m_rows((height + tileSize - 1) / tileSize),
      m_pixels(u64{width} * height) {}

void Film::add(u32 x, u32 y, const PixelSample& sample) noexcept {
    Sums& to = m_pixels[u64{y} * m_width + x];
    to.color[0] += static_cast<double>(sample.color.x);
    to.color[1] += static_cast<double>(sample.color.y);
    to.color[2] += static_cast<double>(sample.color.z);
    to.alpha += static_cast<double>(sample.alpha);
    const double brightness = static_cast<double>(luminance(sample.color));
    to.squares += brightness * brightness;
    to.albedo += sample.albedo;
    to.normal += sample.normal;
    if (to.count == 0) {
        to.depth = sample.depth;
        to.node = sample.node;
    }
    ++to.count;
}

double Film::luminanceOf(const Sums& sums) noexcept {
    return (0.2126 * sums.color[0] + 0.7152 * sums.color[1] + 0.0722 * sums.color[2]) / sums.count;
}

double Film::noiseOf(u32 tile) const noexcept {
    double brightness = 0.0, variance = 0.0;
    u32 count = 0;
    visitTile(tile, [&](u32 x, u32 y) {
        const Sums& pixel = sums(x, y);
        const double mean = luminanceOf(pixel);
        brightness += mean;
        variance += std::max(0.0, pixel.squares / pixel.count - mean * mean) / pixel.count;
        ++count;
        return true;
    });
    return std::sqrt(variance / count) / std::max(brightness / count, darkness);
}

Picture Film::picture() const {
    Picture made;
    made.width = m_width;
    made.height = m_height;
    const u64 count = m_pixels.size();
    for (auto* channels : {&made.albedo, &made.normal})
        channels->reserve(count * 3);
    made.color.reserve(count * 4);
    for (const Sums& pixel : m_pixels) {
        const double share = pixel.count == 0 ? 0.0 : 1.0 / pixel.count;
        for (const double channel : {pixel.color[0], pixel.color[1], pixel.color[2], pixel.alpha})
            made.color.push_back(static_cast<float>(channel * share));
        const float part = static_cast<float>(share);
        const Vec3 albedo = pixel.albedo * part, normal = normalized(pixel.normal, {});
        made.albedo.insert(made.albedo.end(), {albedo.x, albedo.y, albedo.z});
        made.normal.insert(made.normal.end(), {normal.x, normal.y, normal.z});
        made.depth.push_back(pixel.depth);
        made.node.push_back(pixel.node);
        made.samples.push_back(pixel.count);
    }
    return made;
}

} // namespace qv::render::impl
