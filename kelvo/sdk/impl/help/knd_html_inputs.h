#pragma once

#include "kelvo/base/string_io.h"
#include "kelvo/sdk/impl/help/help_rows.h"

#include <vector>

namespace qv::kelvo_sdk::impl::html {

/// Appends the inputs of a node: a table for each page of its layout, with a band for each group.
void appendInputs(StringIO& out, const std::vector<HelpPage>& pages);

/// Appends one table of outputs.
void appendOutputs(StringIO& out, const interfaces::INode& node);

} // namespace qv::kelvo_sdk::impl::html
