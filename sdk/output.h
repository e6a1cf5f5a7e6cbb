#pragma once

#include "base/ref_counted.h"
#include "sdk/attr_type.h"
#include "sdk/interfaces/i_output.h"

namespace qv::kelvo_sdk {

/// Handle on an output; keeps it alive. Every operation is safe on an empty handle.
class QV_EXPORT Output : public RefersTo<interfaces::IOutput> {
public:
    using RefersTo::RefersTo;

    [[nodiscard]] String name() const { return get() ? get()->name() : String(); }
    [[nodiscard]] String path() const { return get() ? get()->path() : String(); }
    [[nodiscard]] AttrType type() const { return get() ? get()->type() : AttrType::Null; }
    [[nodiscard]] u64 targetCount() const { return get() ? get()->targetCount() : 0; }
};

} // namespace qv::kelvo_sdk
