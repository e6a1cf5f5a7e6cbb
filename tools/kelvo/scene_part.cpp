#include "tools/kelvo/scene_part.h"

#include "kelvo/base/string_io.h"
#include "tools/kelvo/neighbourhood.h"
#include "tools/kelvo/scene_hash.h"

#include <algorithm>
#include <unordered_set>

namespace qv::kelvo_tool {

using kelvo_sdk::AttrType;
using kelvo_sdk::NodeNumber;
using kelvo_sdk::SnapshotInput;
using kelvo_sdk::SnapshotNode;

namespace {

// Bounds and choices may name nodes, too.
bool mayNameNodes(const SnapshotNode& node, const SnapshotInput& input) {
    const bool isLink = input.type() == AttrType::Node || input.elementType() == AttrType::Node;
    return isLink && node.text().contains("@", false);
}

} // namespace

ScenePart::ScenePart(const kelvo_sdk::Snapshot& scene, const SnapshotNode& node,
                     const SnapshotInput& input) {
    StringIO text;
    text.append("kelvo scene 1\n").append(node.text().view());
    const std::vector<NodeLink> links = input ? linksOf(input) : std::vector<NodeLink>();
    const bool isEvaluated = hasModifiers(node) || std::ranges::any_of(links, [](const auto& link) {
                                 return bool(link.source);
                             });
    if (isEvaluated) {
        const Neighbourhood sources(scene, Neighbourhood::Direction::Upstream);
        for (const SnapshotNode& source : sources.allOf(node))
            text.append(source.text().view());
    } else {
        m_isPartial = true;
        m_isComplete = !mayNameNodes(node, input);
        std::unordered_set<NodeNumber> known{node.number()};
        for (const NodeLink& link : links)
            if (known.insert(link.read().number()).second)
                text.append("node none \"").append(link.read().name().view()).append("\" {\n}\n");
    }
    m_text = text.take();
}

bool ScenePart::read(const kelvo_sdk::Scene& made) const {
    kelvo_sdk::Diagnostics ignored;
    return m_isComplete &&
           made.read(m_text, "a part of the scene", {.isPartial = m_isPartial}, &ignored).isRead;
}

} // namespace qv::kelvo_tool
