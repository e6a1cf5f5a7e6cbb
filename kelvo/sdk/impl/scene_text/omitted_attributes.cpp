#include "kelvo/sdk/impl/scene_text/omitted_attributes.h"

namespace qv::kelvo_sdk::impl {

bool saysNothing(const AttrDetails* details) noexcept {
    return !details ||
           (details->defaultValue.isNull() && details->minimum.isNull() &&
            details->maximum.isNull() && details->choices.empty() && details->unit.isEmpty() &&
            details->labels.empty() && details->helps.empty());
}

} // namespace qv::kelvo_sdk::impl
