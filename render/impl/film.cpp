#include "render/impl/film.h"

#include <algorithm>
#include <utility>

namespace qv::render::impl {

namespace {

// Errors in darkness count less than by its brightness.
constexpr double darkness = 0.05;

double luminanceOf(const PixelSums& sums) noexcept {
    return (0.2126 * sums.color[0] + 0.7152 * sums.color[1] + 0.0722 * sums.color[2]) / sums.count;
}

} // namespace

void PixelSums::add(const PixelSample& sample) noexcept {
    color[0] += static_cast<double>(sample.color.x);
    color[1] += static_cast<double>(sample.color.y);
    color[2] += static_cast<double>(sample.color.z);
    alpha += static_cast<double>(sample.alpha);
    const double brightness = static_cast<double>(luminance(sample.color));
    squares += brightness * brightness;
    albedo += sample.albedo;
    normal += sample.normal;
    if (count == 0) {
        depth = sample.depth;
        node = sample.node;
    }
    ++count;
}

void PixelSums::add(const PixelSums& following) noexcept {
    if (following.count == 0) return;
    for (u32 i = 0; i < 3; ++i)
        color[i] += following.color[i];
    alpha += following.alpha;
    squares += following.squares;
    albedo += following.albedo;
    normal += following.normal;
    if (count == 0) {
        depth = following.depth;
        node = following.node;
    }
    count += following.count;
}

Film::Film(u32 width, u32 height)
    : m_width(width),
      m_height(height),
      m_columns((width + tileSize - 1) / tileSize),
      m_rows((height + tileSize - 1) / tileSize),
      m_tiles(tileCount()),
      m_open(tileCount()) {}

void Film::add(u32 x, u32 y, const PixelSample& sample) {
    PixelSums& pixel = blocks(x, y);
    // The sum of a first block needs no place of its own.
    if (pixel.count < blockSize) return pixel.add(sample);
    PixelSums& block = placeIn(m_open, x, y);
    block.add(sample);
    if (block.count == blockSize) pixel.add(std::exchange(block, {}));
}

void Film::tidyTile(u32 tile) noexcept {
    const auto isComplete = [](const PixelSums& block) { return block.count == 0; };
    if (std::ranges::all_of(m_open[tile], isComplete)) Tile().swap(m_open[tile]);
}

u32 Film::sampleCount(u32 x, u32 y) const noexcept {
    const auto countIn = [&](const std::vector<Tile>& tiles) {
        const Tile& tile = tiles[tileOf(x, y)];
        return tile.empty() ? 0 : tile[placeInTile(x, y)].count;
    };
    return countIn(m_tiles) + countIn(m_open);
}

PixelSums Film::total(u32 x, u32 y) const noexcept {
    PixelSums sums;
    const Tile &whole = m_tiles[tileOf(x, y)], &open = m_open[tileOf(x, y)];
    if (!whole.empty()) sums = whole[placeInTile(x, y)];
    if (!open.empty()) sums.add(open[placeInTile(x, y)]);
    return sums;
}

double Film::noiseOf(u32 tile) const noexcept {
    double brightness = 0.0, variance = 0.0;
    u32 count = 0;
    visitTile(tile, [&](u32 x, u32 y) {
        const PixelSums pixel = total(x, y);
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
    const u64 count = u64{m_width} * m_height;
    for (auto* channels : {&made.albedo, &made.normal})
        channels->reserve(count * 3);
    made.color.reserve(count * 4);
    for (u64 i = 0; i < count; ++i) {
        const PixelSums pixel = total(static_cast<u32>(i % m_width), static_cast<u32>(i / m_width));
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
