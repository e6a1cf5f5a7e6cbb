#include "render/picture_file.h"

#include "kelvo/base/path.h"
#include "render/impl/texture.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <span>

namespace qv::render {

namespace {

using kelvo_sdk::Result;

bool isExr(const String& path) {
    return Path(path).ext(true).toLower() == ".exr";
}

/// The channels of a file, side by side.
class Channels {
public:
    explicit Channels(u64 pixelCount) : m_pixelCount(pixelCount) {}

    void add(const std::vector<std::string>& names, const std::vector<float>& values) {
        for (u64 i = 0; i < names.size(); ++i) {
            m_names.push_back(names[i]);
            m_sources.push_back({values.data() + i, names.size()});
        }
    }
    [[nodiscard]] const std::vector<std::string>& names() const noexcept { return m_names; }
    [[nodiscard]] std::vector<float> values() const {
        std::vector<float> all;
        all.reserve(m_pixelCount * m_sources.size());
        for (u64 i = 0; i < m_pixelCount; ++i)
            for (const Source& source : m_sources)
                all.push_back(source.first[i * source.stride]);
        return all;
    }

private:
    struct Source {
        const float* first;
        u64 stride;
    };

    u64 m_pixelCount;
    std::vector<std::string> m_names;
    std::vector<Source> m_sources;
};

// Returns 8 bits for each channel. Light is divided by the coverage, as programs expect it.
std::vector<u8> encoded(const Picture& picture) {
    const auto byte = [](float value) {
        return static_cast<u8>(std::clamp(value, 0.0F, 1.0F) * 255.0F + 0.5F);
    };
    std::vector<u8> bytes;
    bytes.reserve(picture.color.size());
    for (u64 i = 0; i + 4 <= picture.color.size(); i += 4) {
        const float alpha = picture.color[i + 3];
        for (u64 c = 0; c < 3; ++c) {
            const float light = alpha > 0.0F ? picture.color[i + c] / alpha : 0.0F;
            bytes.push_back(byte(impl::srgbFromLinear(std::clamp(light, 0.0F, 1.0F))));
        }
        bytes.push_back(byte(alpha));
    }
    return bytes;
}

OIIO::ImageSpec formOf(const Picture& picture, const PictureFile& file, int channelCount,
                       OIIO::TypeDesc type) {
    OIIO::ImageSpec form(static_cast<int>(picture.width), static_cast<int>(picture.height),
                         channelCount, type);
    if (!file.sceneHash.isEmpty()) form.attribute("kelvo:scene", file.sceneHash.buf());
    return form;
}

using Bytes = std::vector<unsigned char>;

// Makes the file in memory, because not all writers notice that the disk is full.
bool makeFile(OIIO::ImageOutput& output, OIIO::ImageSpec form, OIIO::TypeDesc type,
              const void* values, Bytes& bytes) {
    OIIO::Filesystem::IOVecOutput memory(bytes);
    void* proxy = &memory;
    form.attribute("oiio:ioproxy", OIIO::TypeDesc::PTR, &proxy);
    return output.open("picture", form) && output.write_image(type, values) && output.close();
}

bool makeExr(OIIO::ImageOutput& output, const Picture& picture, const PictureFile& file,
             Bytes& bytes) {
    // Numbers of nodes are small enough to be exact; -1 stands for none.
    std::vector<float> nodes;
    for (const kelvo_sdk::NodeNumber number : picture.node)
        nodes.push_back(number == kelvo_sdk::noNodeNumber ? -1.0F : static_cast<float>(number));
    Channels channels(picture.node.size());
    channels.add({"R", "G", "B", "A"}, picture.color);
    for (const Layer layer : file.layers) {
        if (layer == Layer::Albedo)
            channels.add({"albedo.R", "albedo.G", "albedo.B"}, picture.albedo);
        if (layer == Layer::Normal)
            channels.add({"normal.X", "normal.Y", "normal.Z"}, picture.normal);
        if (layer == Layer::Depth) channels.add({"depth.Z"}, picture.depth);
        if (layer == Layer::Node) channels.add({"node.N"}, nodes);
    }
    OIIO::ImageSpec form =
        formOf(picture, file, static_cast<int>(channels.names().size()), OIIO::TypeDesc::FLOAT);
    form.channelnames = channels.names();
    form.alpha_channel = 3;
    form.attribute("oiio:ColorSpace", "Linear");
    return makeFile(output, form, OIIO::TypeDesc::FLOAT, channels.values().data(), bytes);
}

bool makePng(OIIO::ImageOutput& output, const Picture& picture, const PictureFile& file,
             Bytes& bytes) {
    OIIO::ImageSpec form = formOf(picture, file, 4, OIIO::TypeDesc::UINT8);
    form.attribute("oiio:ColorSpace", "sRGB");
    form.attribute("oiio:UnassociatedAlpha", 1);
    return makeFile(output, form, OIIO::TypeDesc::UINT8, encoded(picture).data(), bytes);
}

bool store(const Bytes& bytes, const String& path) {
    std::FILE* file = std::fopen(path.buf(), "wb");
    if (!file) return false;
    const bool isWritten = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && isWritten;
}

Result failure(const String& path, const std::string& reason) {
    return Result::failure("The picture " + path +
                           " cannot be written: " + String(std::string_view(reason)));
}

} // namespace

Result checkPictureFile(const PictureFile& file) {
    if (isExr(file.path)) return {};
    if (Path(file.path).ext(true).toLower() != ".png")
        return Result::failure("The picture " + file.path +
                               " has to be of a kind that can be written: .exr or .png.");
    if (file.layers.empty()) return {};
    return Result::failure("The picture " + file.path +
                           " has no place for other layers; a file .exr has.");
}

Result writePicture(const Picture& picture, const PictureFile& file) {
    if (const Result checked = checkPictureFile(file); !checked) return checked;
    const auto output = OIIO::ImageOutput::create(file.path.buf());
    if (!output) return failure(file.path, OIIO::geterror());
    const Path path(file.path);
    const String part = Path::join(path.dir(), path.file(false) + ".part" + path.ext(true));
    Bytes bytes;
    const bool isMade = isExr(file.path) ? makeExr(*output, picture, file, bytes)
                                         : makePng(*output, picture, file, bytes);
    if (!isMade) return failure(file.path, output->geterror());
    errno = 0;
    if (store(bytes, part) && std::rename(part.buf(), file.path.buf()) == 0) return {};
    const std::string reason = std::strerror(errno);
    std::remove(part.buf());
    return failure(file.path, reason);
}

} // namespace qv::render
