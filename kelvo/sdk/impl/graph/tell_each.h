#pragma once

#include "kelvo/base/vector.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"

#include <algorithm>
#include <memory>
#include <new>

namespace qv::kelvo_sdk::impl {

/// Calls `tell(Observer*)` for each observer on the list that is still on it at its turn. Works on
/// a copy of the list. Without memory for a copy, throws before the first call, or works on the
/// list itself if notifications must not fail (`CertainDelivery`).
template<typename Observer, typename Tell>
void tellEach(const ds::Vector<Observer*>& list, const Tell& tell) {
    const u64 count = list.size();
    if (count == 0) return;
    // A single observer needs no copy, which may only be left out where its failure has no effect.
    if (count == 1 && CertainDelivery::isOn()) return static_cast<void>(tell(list[0]));
    std::unique_ptr<Observer*[]> snapshot;
    try {
        snapshot = std::make_unique_for_overwrite<Observer*[]>(count);
    } catch (const std::bad_alloc&) {
        if (!CertainDelivery::isOn()) throw;
    }
    if (!snapshot) {
        u64 place = 0;
        for (u64 left = count; left > 0 && place < list.size(); --left) {
            Observer* const next = list[place];
            tell(next);
            if (place < list.size() && list[place] == next) ++place;
        }
        return;
    }
    std::ranges::copy(list, snapshot.get());
    for (u64 i = 0; i < count; ++i)
        if (list.contains(snapshot[i])) tell(snapshot[i]);
}

} // namespace qv::kelvo_sdk::impl
