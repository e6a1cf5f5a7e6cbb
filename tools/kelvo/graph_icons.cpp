#include "tools/kelvo/graph_icons.h"

#include "kelvo/base/string_io.h"
#include "kelvo/sdk/icon.h"

#include <string_view>

namespace qv::kelvo_tool {

namespace {

constexpr std::string_view imageStart = "<image xlink:href=\"icon-";

void appendBase64(std::string_view bytes, StringIO& out) {
    constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min(bytes.size() - i, std::size_t{3});
        u32 bits = 0;
        for (std::size_t j = 0; j < 3; ++j)
            bits = bits << 8 | (j < count ? static_cast<unsigned char>(bytes[i + j]) : 0u);
        for (std::size_t j = 0; j < 4; ++j)
            out.append(j <= count ? digits[bits >> (18 - 6 * j) & 63u] : '=');
    }
}

// Embeds the icons as images, so that they can neither run nor load anything.
void appendSymbols(const GraphIcons& icons, StringIO& out) {
    out.append("<defs>\n");
    for (std::size_t i = 0; i < icons.all().size(); ++i) {
        out.append("<symbol id=\"icon-").appendUInt(i).append("\" viewBox=\"0 0 24 24\">");
        out.append("<image width=\"24\" height=\"24\" xlink:href=\"data:image/svg+xml;base64,");
        appendBase64(icons.all()[i].view(), out);
        out.append("\"/></symbol>\n");
    }
    out.append("</defs>\n");
}

// Turns references to files such as "icon-7.svg" into "#icon-7". Texts of the scene cannot look
// like a reference, because their '<' is escaped.
void appendDrawing(std::string_view drawing, StringIO& out) {
    for (;;) {
        const std::size_t image = drawing.find(imageStart);
        out.append(drawing.substr(0, image));
        if (image == std::string_view::npos) return;
        drawing.remove_prefix(image + imageStart.size());
        const std::size_t number = std::min(drawing.find(".svg\""), drawing.size());
        out.append("<use xlink:href=\"#icon-").append(drawing.substr(0, number));
        drawing.remove_prefix(std::min(number + 4, drawing.size()));
    }
}

} // namespace

u64 GraphIcons::add(const String& icon) {
    const auto [place, isNew] = m_places.emplace(icon, none);
    if (!isNew || icon.isEmpty()) return place->second;
    const String safe = kelvo_sdk::safeSvg(icon);
    if (safe.isEmpty()) {
        ++m_refused;
        return none;
    }
    place->second = m_all.size();
    m_all.push_back(safe);
    return place->second;
}

void GraphIcons::leaveOut(u64 index) {
    for (auto& [icon, place] : m_places)
        if (place == index) place = none;
}

// Drops the document type that Graphviz writes, as it names a file on the net.
String withIcons(std::string_view drawing, const GraphIcons& icons) {
    const std::size_t root = std::min(drawing.find("<svg"), drawing.size());
    const std::size_t rootEnd = drawing.find('>', root);
    if (rootEnd == std::string_view::npos) return {};
    StringIO out;
    out.append("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    out.append(drawing.substr(root, rootEnd + 1 - root)).append('\n');
    if (!icons.all().empty()) appendSymbols(icons, out);
    appendDrawing(drawing.substr(rootEnd + 1), out);
    return out.take();
}

} // namespace qv::kelvo_tool
