#include "render/picture.h"

namespace qv::render {

kelvo_sdk::Result checkPictureSize(u32 width, u32 height) {
    constexpr u32 mostOfASide = 65535;
    constexpr u64 most = u64{1} << 26;
    if (width > 0 && height > 0 && width <= mostOfASide && height <= mostOfASide &&
        u64{width} * height <= most)
        return {};
    return kelvo_sdk::Result::failure(String::format(
        "A picture of %u x %u pixels cannot be rendered: each side has from 1 to %u pixels, and "
        "the picture at most %llu.",
        width, height, mostOfASide, most + 0ULL));
}

} // namespace qv::render
