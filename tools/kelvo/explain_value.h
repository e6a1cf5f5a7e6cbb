#pragma once

#include "kelvo/sdk/input.h"
#include "tools/kelvo/neighbourhood.h"
#include "tools/kelvo/terminal.h"

namespace qv::kelvo_tool {

/// Prints kind and value of an input, the source of the value, and the allowed values. `valued` is
/// the input in live nodes that know their types; `inText` is the same without types, empty where
/// the text leaves the input to a type, as `input` is then.
void explainValue(const kelvo_sdk::SnapshotInput& input, const kelvo_sdk::Input& valued,
                  const kelvo_sdk::Input& inText, Terminal& out);

/// Prints the given connections and all connections upstream of them, the nearest first.
void printSources(std::vector<NodeLink> links, Terminal& out);

/// Returns the links that are connections.
[[nodiscard]] std::vector<NodeLink> connectionsIn(const std::vector<NodeLink>& links);

/// Returns "1 node", "2 nodes".
[[nodiscard]] std::string counted(u64 count, std::string_view what);

} // namespace qv::kelvo_tool
