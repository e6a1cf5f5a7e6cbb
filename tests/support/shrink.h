#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace qv::tests {

/// Returns a minimal part of `items` that still `fails`: leaves out halves, quarters and so on,
/// down to single items, while the rest still fails.
template<typename Item, typename Fails>
[[nodiscard]] std::vector<Item> shrunk(std::vector<Item> items, const Fails& fails) {
    std::size_t piece = std::max<std::size_t>(items.size() / 2, 1);
    while (true) {
        bool isLess = false;
        for (std::size_t from = 0; from < items.size();) {
            const std::size_t to = std::min(from + piece, items.size());
            std::vector<Item> rest(items.begin(),
                                   items.begin() + static_cast<std::ptrdiff_t>(from));
            rest.insert(rest.end(), items.begin() + static_cast<std::ptrdiff_t>(to), items.end());
            if (fails(rest)) {
                items = std::move(rest);
                isLess = true;
            } else {
                from = to;
            }
        }
        if (!isLess && piece == 1) return items;
        if (!isLess) piece = (piece + 1) / 2;
    }
}

} // namespace qv::tests
