#pragma once

#include "kelvo/sdk/interfaces/i_input.h"
#include "tools/kelvo/neighbourhood.h"
#include "tools/kelvo/terminal.h"

namespace qv::kelvo_tool {

/// Prints kind and value of an input, where the value comes from, and what it may be. `input`
/// stands in a scene that knows the types of its nodes; `inText`, null where it is left to a type,
/// in one that does not.
void explainValue(const kelvo_sdk::interfaces::IInput& input,
                  const kelvo_sdk::interfaces::IInput* inText, Terminal& out);

/// Prints the connections given and, upstream of them, all that lead there, the nearest first.
void printSources(std::vector<NodeLink> links, Terminal& out);

/// Returns those of the links that are connections.
[[nodiscard]] std::vector<NodeLink> connectionsIn(const std::vector<NodeLink>& links);

/// Returns "1 node", "2 nodes".
[[nodiscard]] std::string counted(u64 count, std::string_view what);

} // namespace qv::kelvo_tool
