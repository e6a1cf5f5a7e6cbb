#pragma once

#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/i_node.h"

#include <vector>

namespace qv::kelvo_tool {

/// A type, and the path of its page relative to the index.
struct IndexEntry {
    const kelvo_sdk::interfaces::INode* type;
    String page;
};

/// Returns the index page of a site: the types in order of their titles, and a search.
[[nodiscard]] String helpIndex(std::vector<IndexEntry> entries);

} // namespace qv::kelvo_tool
