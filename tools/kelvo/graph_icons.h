#pragma once

#include "kelvo/sdk/interfaces/i_node.h"

#include <functional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qv::kelvo_tool {

/// The distinct icons of nodes, in the order in which they are first asked for.
class GraphIcons {
public:
    static constexpr u64 none = noIndex;

    /// Returns the icon of a node as SVG.
    using IconOf = std::function<String(const kelvo_sdk::interfaces::INode& node)>;

    /// Takes the icons that nodes have themselves.
    GraphIcons();
    explicit GraphIcons(IconOf iconOf) : m_iconOf(std::move(iconOf)) {}

    /// Returns the place of a node's icon, `none` for one that is not plain SVG.
    u64 add(const kelvo_sdk::interfaces::INode& node);
    /// Makes `add` answer `none` from now on for the icon at a place.
    void leaveOut(u64 index);

    /// Returns the icons, each one SVG element.
    [[nodiscard]] const std::vector<String>& all() const noexcept { return m_all; }
    /// Returns how many icons were not plain SVG.
    [[nodiscard]] u64 refusedCount() const noexcept { return m_refused; }

private:
    IconOf m_iconOf;
    std::unordered_map<String, u64> m_places;
    std::vector<String> m_all;
    u64 m_refused = 0;
};

/// Returns a drawing by Graphviz as an SVG file that needs nothing outside itself: what refers to
/// the icon files "icon-N.svg" shows the icons, of which each is in there once.
[[nodiscard]] String withIcons(std::string_view drawing, const GraphIcons& icons);

} // namespace qv::kelvo_tool
