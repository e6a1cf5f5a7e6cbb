#include "tools/kelvo/graph_colors.h"

#include "tools/kelvo/libraries.h"

#include <array>

namespace qv::kelvo_tool {

namespace {

struct Family {
    const char* word;
    std::string_view color;
};

// A part of the type's name selects the family; the first match counts.
constexpr std::string_view transform = "#D6E4F5", shape = "#D3EDCF", light = "#FFF0A8",
                           camera = "#E4D8F5", texture = "#FAD3E3", material = "#FBDCC0";
constexpr std::array families{
    Family{"xform", transform},   Family{"transform", transform}, Family{"group", transform},
    Family{"joint", transform},   Family{"light", light},         Family{"sun", light},
    Family{"camera", camera},     Family{"texture", texture},     Family{"image", texture},
    Family{"material", material}, Family{"shader", material},     Family{"bsdf", material},
    Family{"mesh", shape},        Family{"geometry", shape},      Family{"curve", shape},
    Family{"surface", shape},
};

constexpr std::array<std::string_view, 4> others{"#CBEBE8", "#EAE2CC", "#E3E3E3", "#E3EDAF"};

std::string_view familyColor(const String& type) {
    for (const Family& family : families)
        if (type.contains(family.word, true)) return family.color;
    return {};
}

std::string_view colorOf(const kelvo_sdk::SnapshotNode& node) {
    const String type = node.type();
    std::string_view color = familyColor(type);
    const Libraries* libraries = librariesInUse();
    for (const StringVector& bases :
         {node.bases(), libraries ? libraries->basesOf(type) : StringVector()})
        for (const String& base : bases)
            if (color.empty()) color = familyColor(base);
    return color.empty() ? others[type.hash() % others.size()] : color;
}

} // namespace

std::string_view GraphColors::of(const kelvo_sdk::SnapshotNode& node) {
    std::string_view& color = m_known[node.type()];
    if (color.empty()) color = colorOf(node);
    return color;
}

} // namespace qv::kelvo_tool
