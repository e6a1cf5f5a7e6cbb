#pragma once

#include "tests/support/folder.h"

#include <OpenImageIO/imageio.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace qv::render::tests {

/// A new folder for pictures, which is removed with the object.
class PictureFolder {
public:
    [[nodiscard]] String path() const { return String(std::string_view(m_folder.path().native())); }

    /// Writes a square picture of one colour.
    void write(const std::string& name, OIIO::TypeDesc type, const std::vector<float>& pixel,
               int size = 2) const {
        const std::string file = (m_folder.path() / name).native();
        const auto image = OIIO::ImageOutput::create(file);
        OIIO::ImageSpec layout(size, size, static_cast<int>(pixel.size()), type);
        layout.attribute("oiio:UnassociatedAlpha", 1);
        std::vector<float> pixels;
        for (int i = 0; i < size * size; ++i)
            pixels.insert(pixels.end(), pixel.begin(), pixel.end());
        EXPECT_TRUE(image && image->open(file, layout) &&
                    image->write_image(OIIO::TypeDesc::FLOAT, pixels.data()) && image->close())
            << name;
    }
    void writeText(const std::string& name, const std::string& text) const {
        std::ofstream(m_folder.path() / name, std::ios::binary) << text;
    }
    [[nodiscard]] std::string bytesOf(const std::string& name) const {
        std::ifstream file(m_folder.path() / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    qv::tests::Folder m_folder;
};

} // namespace qv::render::tests
