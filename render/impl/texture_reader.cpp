#include "render/impl/texture_reader.h"

#include "kelvo/base/path.h"
#include "render/impl/stopped.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

namespace qv::render::impl {

namespace {

using kelvo_sdk::SnapshotNode;
using kelvo_sdk::interfaces::BufferView;

class TextureReader {
public:
    TextureReader(const SnapshotNode& node, const String& folder, FindingList& findings,
                  const std::stop_token& stop)
        : m_node(node), m_folder(folder), m_findings(findings), m_stop(stop) {}

    std::shared_ptr<const Texture> read() {
        const String filter = m_node["filter"].get<String>("linear");
        m_texture.filter = filter == "nearest" ? Filter::Nearest
                           : filter == "cubic" ? Filter::Cubic
                                               : Filter::Linear;
        m_texture.isSrgb = m_node["colorSpace"].get<String>("srgb") != "linear";
        const BufferView pixels = m_node["pixels"].bufferView();
        const BufferView data = m_node["data"].bufferView();
        const bool isRead = pixels.count > 0 ? takePixels(pixels)
                            : data.count > 0 ? readBytes(data)
                                             : readFile();
        return isRead ? std::make_shared<const Texture>(std::move(m_texture)) : nullptr;
    }

private:
    bool fail(const String& reason) {
        m_findings.add(m_node, reason);
        return false;
    }

    bool setSize(u64 width, u64 height) {
        if (width == 0 || height == 0 || width > mostTexturePixels ||
            height > mostTexturePixels / width)
            return fail(String::format("The picture of %llu x %llu pixels is empty or too large.",
                                       static_cast<unsigned long long>(width),
                                       static_cast<unsigned long long>(height)));
        m_texture.width = static_cast<u32>(width);
        m_texture.height = static_cast<u32>(height);
        return true;
    }

    bool takePixels(const BufferView& pixels) {
        if (pixels.type != DataType::Rgba8)
            return fail("The elements of \"pixels\" have another type than that of a texture.");
        const u64 width = m_node["width"].get<u64>(), height = m_node["height"].get<u64>();
        if (!setSize(width, height)) return false;
        if (pixels.count != width * height)
            return fail("The number of pixels is not width times height.");
        const auto* bytes = static_cast<const u8*>(pixels.data);
        m_texture.bytes.reserve(pixels.count * 4);
        for (u64 row = 0; row < height; ++row, bytes += width * 4) {
            endIfStopped(m_stop);
            m_texture.bytes.insert(m_texture.bytes.end(), bytes, bytes + width * 4);
        }
        return true;
    }

    // Colours are wanted as they are stored, not multiplied by the opacity.
    static OIIO::ImageSpec wish() {
        OIIO::ImageSpec asStored;
        asStored.attribute("oiio:UnassociatedAlpha", 1);
        return asStored;
    }

    bool readBytes(const BufferView& data) {
        if (data.type != DataType::Byte) return fail("The input \"data\" is no buffer of bytes.");
        OIIO::Filesystem::IOMemReader memory(const_cast<void*>(data.data), data.count);
        void* proxy = &memory;
        OIIO::ImageSpec config = wish(), found;
        config.attribute("oiio:ioproxy", OIIO::TypeDesc::PTR, &proxy);
        const String name = String("data") + m_node["ext"].get<String>();
        auto image = OIIO::ImageInput::create(name.buf(), false, &config, &memory);
        if (image && !image->open(name.buf(), found, config)) {
            OIIO::geterror(); // The message would stay with the thread.
            return fail("The picture inside the node cannot be read: " +
                        String(std::string_view(image->geterror())));
        }
        return readImage(image, "The picture inside the node");
    }

    bool readFile() {
        const String name = m_node["file"].get<String>() + m_node["ext"].get<String>();
        if (name.isEmpty()) return fail("The texture has neither pixels nor a file.");
        const String folder = Path::join(m_folder, m_node["dir"].get<String>());
        const String path = Path::join(folder, name);
        const OIIO::ImageSpec config = wish();
        return readImage(OIIO::ImageInput::open(path.buf(), &config), "The picture " + path);
    }

    bool readImage(const std::unique_ptr<OIIO::ImageInput>& image, const String& what) {
        // The message belongs to the thread, and has to be taken from it in any case.
        const std::string opening = image ? std::string() : OIIO::geterror();
        if (!image) return fail(what + " cannot be read: " + String(std::string_view(opening)));
        const OIIO::ImageSpec found = image->spec_dimensions(0);
        if (found.width < 1 || found.height < 1 || found.nchannels < 1 || found.depth > 1)
            return fail(what + " is no plain picture.");
        if (!setSize(static_cast<u64>(found.width), static_cast<u64>(found.height))) return false;
        const int channels = std::min(found.nchannels, 4);
        const bool isRead = found.format == OIIO::TypeDesc::UINT8
                                ? readChannels(*image, channels, m_texture.bytes)
                                : readChannels(*image, channels, m_texture.floats);
        if (!isRead)
            return fail(what + " is damaged: " + String(std::string_view(image->geterror())));
        // Floats are linear already.
        if (found.format.is_floating_point()) m_texture.isSrgb = false;
        return true;
    }

    template<class T>
    bool readChannels(OIIO::ImageInput& image, int channels, std::vector<T>& out) {
        const int height = static_cast<int>(m_texture.height);
        const OIIO::ImageSpec layout = image.spec_dimensions(0);
        const int step = rowsAtOnce(layout, channels);
        std::vector<T> rows(u64{m_texture.width} * static_cast<u64>(channels * step));
        out.reserve(u64{m_texture.width} * m_texture.height * 4);
        for (int top = 0; top < height; top += step) {
            endIfStopped(m_stop);
            const int bottom = std::min(top + step, height);
            if (!readRows(image, layout, top, bottom, channels, rows)) return false;
            const u64 count = u64{m_texture.width} * static_cast<u64>(bottom - top);
            for (u64 i = 0; i < count; ++i)
                addPixel(rows.data() + i * static_cast<u64>(channels), channels, out);
        }
        return true;
    }

    // Whole rows of tiles, or few enough that a stop need not wait for them.
    [[nodiscard]] static int rowsAtOnce(const OIIO::ImageSpec& layout, int channels) noexcept {
        if (layout.tile_width > 0) return layout.tile_height;
        constexpr int values = 1 << 16;
        return std::max(1, values / std::max(1, layout.width * channels));
    }

    // Rows are counted from that of the data's window, as files with one may have.
    template<class T>
    static bool readRows(OIIO::ImageInput& image, const OIIO::ImageSpec& layout, int top,
                         int bottom, int channels, std::vector<T>& rows) {
        const auto type = OIIO::BaseTypeFromC<T>::value;
        if (layout.tile_width == 0)
            return image.read_scanlines(0, 0, layout.y + top, layout.y + bottom, layout.z, 0,
                                        channels, type, rows.data());
        return image.read_tiles(0, 0, layout.x, layout.x + layout.width, layout.y + top,
                                layout.y + bottom, layout.z, layout.z + 1, 0, channels, type,
                                rows.data());
    }

    template<class T>
    static void addPixel(const T* from, int channels, std::vector<T>& out) {
        const T one = std::is_same_v<T, float> ? T(1) : std::numeric_limits<T>::max();
        const bool isGray = channels < 3, hasAlpha = channels == 2 || channels == 4;
        for (u64 c = 0; c < 3; ++c)
            out.push_back(finite(from[isGray ? 0 : c]));
        out.push_back(hasAlpha ? finite(from[channels - 1]) : one);
    }

    // A number that is none would spread over the picture.
    static float finite(float value) noexcept { return std::isfinite(value) ? value : 0.0F; }
    static u8 finite(u8 value) noexcept { return value; }

    const SnapshotNode& m_node;
    const String& m_folder;
    FindingList& m_findings;
    const std::stop_token& m_stop;
    Texture m_texture;
};

} // namespace

std::shared_ptr<const Texture> readTexture(const SnapshotNode& node, const String& folder,
                                           FindingList& findings, const std::stop_token& stop) {
    return TextureReader(node, folder, findings, stop).read();
}

Wrap wrapNamed(std::string_view name) noexcept {
    if (name == "clamp") return Wrap::Clamp;
    if (name == "mirror") return Wrap::Mirror;
    return name == "decal" ? Wrap::Decal : Wrap::Repeat;
}

} // namespace qv::render::impl
