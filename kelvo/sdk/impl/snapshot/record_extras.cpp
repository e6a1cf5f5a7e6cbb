#include "kelvo/sdk/impl/snapshot/record_extras.h"

#include <algorithm>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

// Finds the part of an input in a list that is in order of lists and inputs.
template<typename Part>
const Part* partOf(const std::vector<Part>& parts, u32 list, u32 input) noexcept {
    const auto placeOf = [](const Part& part) { return std::pair(part.list, part.input); };
    const auto found = std::ranges::lower_bound(parts, std::pair(list, input), {}, placeOf);
    return found != parts.end() && placeOf(*found) == std::pair(list, input) ? &*found : nullptr;
}

} // namespace

const Comments* RecordExtras::commentsOfInput(u32 list, u32 input) const noexcept {
    const InputComments* const found = partOf(inputs, list, input);
    return found ? &found->comments : nullptr;
}

const Comments* RecordExtras::commentsOfOutput(u32 output) const noexcept {
    const auto found = std::ranges::find(outputs, output, &OutputComments::output);
    return found != outputs.end() ? &found->comments : nullptr;
}

const RecordExtras::Stash* RecordExtras::stashOf(u32 list, u32 input) const noexcept {
    return partOf(stashes, list, input);
}

RefersTo<SharedExtras> ExtrasStock::share(RecordExtras extras) {
    if (extras.isEmpty()) return {};
    if (!m_last || m_last->parts != extras)
        m_last = RefersTo<SharedExtras>::adopt(new SharedExtras(std::move(extras)));
    return m_last;
}

} // namespace qv::kelvo_sdk::impl
