#pragma once

#include "kelvo/base/string_io.h"
#include "kelvo/sdk/help.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// Appends the inputs of a node: a table for each page of its layout, with a band for each group.
void appendInputs(StringIO& out, const std::vector<HelpPage>& pages);

/// Appends one table of outputs.
void appendOutputs(StringIO& out, const kelvo_sdk::Node& node);

} // namespace qv::kelvo_sdk::impl
