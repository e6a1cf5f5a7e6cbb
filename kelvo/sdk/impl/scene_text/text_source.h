#pragma once

#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/value/attr_data.h"

#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

// Parts that all sources of scene text share: the writer takes nodes of a scene and records alike.
namespace qv::kelvo_sdk::impl {

/// An output as text names it.
struct TextOutput {
    /// Without a node there is none that the text can name.
    String node;
    String output;
    /// The number among the outputs of exactly this name, from 1.
    u32 ordinal = 1;
};

/// Returns a value of a description: the default, the minimum, the maximum and the choices have the
/// places from 0.
[[nodiscard]] inline const Value* describedValue(const AttrDetails& details, u64 place) noexcept {
    const Value* const single[] = {&details.defaultValue, &details.minimum, &details.maximum};
    return place < 3 ? single[place] : &details.choices[place - 3];
}

/// The unread lines between nodes, found by the node behind them. `Node` has a null.
template<typename Node>
class UnreadNodes {
public:
    /// `node` is null for lines at the end of the text.
    void add(Node node, const UnreadLines& lines) { m_places[node].push_back(&lines); }
    [[nodiscard]] std::span<const UnreadLines* const> before(Node node) const {
        if (m_places.empty()) return {};
        const auto place = m_places.find(node);
        if (place == m_places.end()) return {};
        return place->second;
    }

private:
    std::unordered_map<Node, std::vector<const UnreadLines*>> m_places;
};

} // namespace qv::kelvo_sdk::impl
