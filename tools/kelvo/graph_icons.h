#pragma once

#include "kelvo/base/string.h"
#include "kelvo/sdk/snapshot.h"

#include <functional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qv::kelvo_tool {

/// The distinct icons of nodes, in the order of their first use.
class GraphIcons {
public:
    static constexpr u64 none = noIndex;

    /// Returns the icon of nodes of a type as SVG.
    using IconOf = std::function<String(const String& type)>;

    explicit GraphIcons(IconOf iconOf) : m_iconOf(std::move(iconOf)) {}

    /// Returns the index of an icon, `none` if it is not plain SVG.
    u64 add(const String& icon);
    /// Returns that of a node's icon.
    u64 addOf(const kelvo_sdk::SnapshotNode& node) { return add(m_iconOf(node.type())); }
    /// Makes `add` return `none` for that icon from now on.
    void leaveOut(u64 index);

    /// Returns the icons; each is one SVG element.
    [[nodiscard]] const std::vector<String>& all() const noexcept { return m_all; }
    /// Returns the number of icons that were not plain SVG.
    [[nodiscard]] u64 refusedCount() const noexcept { return m_refused; }

private:
    IconOf m_iconOf;
    std::unordered_map<String, u64> m_places;
    std::vector<String> m_all;
    u64 m_refused = 0;
};

/// Turns a drawing by Graphviz into an SVG file without outside references: references to the files
/// "icon-N.svg" show the icons, each embedded once.
[[nodiscard]] String withIcons(std::string_view drawing, const GraphIcons& icons);

} // namespace qv::kelvo_tool
