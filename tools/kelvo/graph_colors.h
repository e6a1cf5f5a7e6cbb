#pragma once

#include "kelvo/sdk/snapshot.h"

#include <string_view>
#include <unordered_map>

namespace qv::kelvo_tool {

/// Chooses colours of nodes by the family of their type: transforms, shapes, lights and so on. A
/// type of no known family gets one of a few colours, always the same one.
class GraphColors {
public:
    /// Returns a light colour, "#RRGGBB", as a static text.
    [[nodiscard]] std::string_view of(const kelvo_sdk::SnapshotNode& node);

private:
    std::unordered_map<String, std::string_view> m_known;
};

} // namespace qv::kelvo_tool
