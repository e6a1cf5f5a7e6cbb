#include "render/impl/part_bytes.h"

#include <cstring>

namespace qv::render::impl {

namespace {

// Another byte order has other numbers here.
constexpr u32 mark = 0x6b50'0001;

// The sums as they travel: without padding.
struct Packed {
    double doubles[5];
    float floats[7];
    u32 numbers[2];
};
constexpr u64 packedSize = 5 * sizeof(double) + 7 * sizeof(float) + 2 * sizeof(u32);

struct Head {
    u32 mark, width, height, firstTile, tileCount, firstSample, sampleCount, sumCount;
};

void append(std::string& bytes, const void* data, u64 size) {
    bytes.append(static_cast<const char*>(data), size);
}

void append(std::string& bytes, const PixelSums& sums) {
    const Packed packed{{sums.color[0], sums.color[1], sums.color[2], sums.alpha, sums.squares},
                        {sums.albedo.x, sums.albedo.y, sums.albedo.z, sums.normal.x, sums.normal.y,
                         sums.normal.z, sums.depth},
                        {sums.node, sums.count}};
    append(bytes, &packed, packedSize);
}

PixelSums sumsAt(const char* bytes) {
    Packed packed{};
    std::memcpy(&packed, bytes, packedSize);
    PixelSums sums;
    std::memcpy(sums.color, packed.doubles, sizeof sums.color);
    sums.alpha = packed.doubles[3];
    sums.squares = packed.doubles[4];
    sums.albedo = {packed.floats[0], packed.floats[1], packed.floats[2]};
    sums.normal = {packed.floats[3], packed.floats[4], packed.floats[5]};
    sums.depth = packed.floats[6];
    sums.node = packed.numbers[0];
    sums.count = packed.numbers[1];
    return sums;
}

} // namespace

u32 PartBytes::sumsOfPixel(const PicturePart& part) noexcept {
    if (part.firstSample == 0) return 1;
    return part.sampleCount / Film::blockSize + (part.sampleCount % Film::blockSize != 0 ? 1 : 0);
}

std::string PartBytes::store() const {
    const Head head{mark,
                    width,
                    height,
                    part.firstTile,
                    part.tileCount,
                    part.firstSample,
                    part.sampleCount,
                    static_cast<u32>(sums.size())};
    std::string bytes;
    bytes.reserve(sizeof head + sums.size() * packedSize);
    append(bytes, &head, sizeof head);
    for (const PixelSums& one : sums)
        append(bytes, one);
    return bytes;
}

bool PartBytes::load(std::string_view bytes) {
    Head head{};
    if (bytes.size() < sizeof head) return false;
    std::memcpy(&head, bytes.data(), sizeof head);
    bytes.remove_prefix(sizeof head);
    if (head.mark != mark || bytes.size() != head.sumCount * packedSize) return false;
    width = head.width;
    height = head.height;
    part = {head.firstTile, head.tileCount, head.firstSample, head.sampleCount};
    sums.clear();
    sums.reserve(head.sumCount);
    for (; !bytes.empty(); bytes.remove_prefix(packedSize))
        sums.push_back(sumsAt(bytes.data()));
    return true;
}

bool isPartOf(const Film& film, const PicturePart& part) noexcept {
    return part.firstTile < film.tileCount() && part.tileCount > 0 &&
           part.tileCount <= film.tileCount() - part.firstTile &&
           part.firstSample % Film::blockSize == 0 && part.sampleCount > 0 &&
           part.sampleCount <= 0xffffffff - part.firstSample;
}

} // namespace qv::render::impl
