#pragma once

#include "kelvo/sdk/interfaces/i_input.h"
#include "tools/kelvo/neighbourhood.h"
#include "tools/kelvo/terminal.h"

namespace qv::kelvo_tool {

/// Prints kind and value of an input, the source of the value, and the allowed values. `input` is
/// in a scene that knows the types of its nodes; `inText` is the same input in a scene as written,
/// null where the text leaves it to a type.
void explainValue(const kelvo_sdk::interfaces::IInput& input,
                  const kelvo_sdk::interfaces::IInput* inText, Terminal& out);

/// Prints the given connections and all connections upstream of them, the nearest first.
void printSources(std::vector<NodeLink> links, Terminal& out);

/// Returns the links that are connections.
[[nodiscard]] std::vector<NodeLink> connectionsIn(const std::vector<NodeLink>& links);

/// Returns "1 node", "2 nodes".
[[nodiscard]] std::string counted(u64 count, std::string_view what);

} // namespace qv::kelvo_tool
