#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"

#include <string_view>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// The names met in a text, each kept once and known by a number, so that equal names share their
/// text and are compared by number.
class NamePool {
public:
    NamePool();

    /// Returns the number of a name, a new one for a name not met before; numbers count from 0.
    [[nodiscard]] u32 add(std::string_view name);
    /// Valid until the next `add`.
    [[nodiscard]] const String& text(u32 name) const noexcept { return m_names[name].text; }
    /// Returns a number that names share when they are equal without regard to case: the number of
    /// the first of them.
    [[nodiscard]] u32 folded(u32 name) const noexcept { return m_names[name].folded; }
    [[nodiscard]] u32 size() const noexcept { return static_cast<u32>(m_names.size()); }

private:
    struct Name {
        String text;
        u64 hash;
        u32 folded;
    };

    [[nodiscard]] u32 firstFolded(u32 name);
    void grow();

    std::vector<Name> m_names;
    // Open addressing, at most half full: a name's number plus 1, 0 for a free slot.
    std::vector<u32> m_slots;
    std::vector<u32> m_foldedSlots;
    // Differs from run to run, so that nobody can prepare names that collide.
    u64 m_seed;
};

} // namespace qv::kelvo_sdk::impl
