#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"

#include <string_view>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// The names of a text, each stored once and numbered, so that equal names share their text and
/// compare by number.
class NamePool {
public:
    NamePool();

    /// Returns the number of a name, a new number for a new name; numbers start at 0.
    [[nodiscard]] u32 add(std::string_view name);
    /// Valid until the next `add`.
    [[nodiscard]] const String& text(u32 name) const noexcept { return m_names[name].text; }
    /// Returns a number shared by all names that are equal without regard to case: the number of
    /// the first such name.
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
    // Open addressing, at most half full: the number of a name plus 1, 0 for a free slot.
    std::vector<u32> m_slots;
    std::vector<u32> m_foldedSlots;
    // Made from addresses, which differ from run to run, so that nobody can prepare names that
    // collide.
    u64 m_seed;
};

} // namespace qv::kelvo_sdk::impl
