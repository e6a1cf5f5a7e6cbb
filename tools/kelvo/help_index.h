#pragma once

#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/i_node.h"

#include <vector>

namespace qv::kelvo_tool {

/// A type, and where its page stands as seen from the index.
struct IndexEntry {
    const kelvo_sdk::interfaces::INode* type;
    String page;
};

/// Returns the index of a site as a page: the types in order of their titles, and a search.
[[nodiscard]] String helpIndex(std::vector<IndexEntry> entries);

} // namespace qv::kelvo_tool
