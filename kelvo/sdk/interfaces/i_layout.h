#pragma once

#include "kelvo/base/ref_counted.h"

namespace qv::kelvo_sdk::interfaces {

/// Arrangement of a node's inputs for display. A node only holds and releases it.
class QV_EXPORT ILayout : public IRefCounted {};

} // namespace qv::kelvo_sdk::interfaces
