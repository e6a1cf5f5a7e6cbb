#include "render/picture_parts.h"

#include "render/impl/part_bytes.h"

namespace qv::render {

using kelvo_sdk::Result;

static_assert(PicturePart::sampleStep == impl::Film::blockSize);

u64 PicturePart::tilesOf(u32 width, u32 height) noexcept {
    constexpr u64 size = impl::Film::tileSize;
    return ((width + size - 1) / size) * ((height + size - 1) / size);
}

class PictureParts::Impl {
public:
    Impl(u32 width, u32 height) : m_film(width, height) {}

    Result add(std::string_view bytes) {
        impl::PartBytes part;
        if (!part.load(bytes) || !fits(part))
            return Result::failure(String::format("The bytes are no part of a picture of %u x %u "
                                                  "pixels.",
                                                  m_film.width(), m_film.height()));
        if (Result isNext = checkOrder(part.part); !isNext) return isNext;
        const u32 count = impl::PartBytes::sumsOfPixel(part.part);
        auto sums = part.sums.begin();
        forEachPixel(part.part, [&](u32 x, u32 y) {
            for (u32 i = 0; i < count; ++i)
                m_film.add(x, y, *sums++);
        });
        return {};
    }

    [[nodiscard]] Picture picture() const { return m_film.picture(); }

private:
    template<class Visit>
    void forEachPixel(const PicturePart& part, const Visit& visit) const {
        for (u32 tile = part.firstTile; tile < part.firstTile + part.tileCount; ++tile)
            m_film.visitTile(tile, [&](u32 x, u32 y) {
                visit(x, y);
                return true;
            });
    }

    // Tells whether the part has all the sums of its pixels.
    [[nodiscard]] bool fits(const impl::PartBytes& part) const {
        if (part.width != m_film.width() || part.height != m_film.height() ||
            !isPartOf(m_film, part.part))
            return false;
        u64 pixels = 0;
        forEachPixel(part.part, [&](u32, u32) { ++pixels; });
        const u32 count = impl::PartBytes::sumsOfPixel(part.part);
        if (part.sums.size() != pixels * count) return false;
        for (u64 i = 0; i < part.sums.size(); i += count) {
            u64 samples = 0;
            for (u32 k = 0; k < count; ++k)
                samples += part.sums[i + k].count;
            if (samples != part.part.sampleCount) return false;
        }
        return true;
    }

    [[nodiscard]] Result checkOrder(const PicturePart& part) const {
        for (u32 tile = part.firstTile; tile < part.firstTile + part.tileCount; ++tile) {
            u32 count = 0;
            m_film.visitTile(tile, [&](u32 x, u32 y) {
                count = m_film.sampleCount(x, y);
                return false;
            });
            if (count == part.firstSample) continue;
            return Result::failure(String::format("A part that begins with sample %u cannot be "
                                                  "added to tile %u, which has %u samples.",
                                                  part.firstSample, tile, count));
        }
        return {};
    }

    impl::Film m_film;
};

PictureParts::PictureParts(u32 width, u32 height) : m_impl(std::make_unique<Impl>(width, height)) {}
PictureParts::~PictureParts() = default;
PictureParts::PictureParts(PictureParts&&) noexcept = default;
PictureParts& PictureParts::operator=(PictureParts&&) noexcept = default;

Result PictureParts::add(std::string_view bytes) {
    return m_impl->add(bytes);
}

Picture PictureParts::picture() const {
    return m_impl->picture();
}

} // namespace qv::render
