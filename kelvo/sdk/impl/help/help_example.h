#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::impl {

/// Returns scene text that shows how such a node is written: what differs from the defaults, or,
/// when nothing does or it is long, some first inputs.
[[nodiscard]] QV_EXPORT String helpExample(const interfaces::INode& node);

} // namespace qv::kelvo_sdk::impl
