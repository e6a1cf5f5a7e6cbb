#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"

#include <string_view>

namespace qv {

/// Looks for the known name that a wrong one was probably meant to be: few letters left out, added,
/// exchanged or in the other case.
class QV_EXPORT SpellingSuggestion {
public:
    explicit SpellingSuggestion(std::string_view wanted) noexcept;

    /// Takes a known name into account; of equally near ones the first wins.
    void offer(std::string_view known) noexcept;
    /// Returns the nearest name offered, empty when none is near. Borrowed.
    [[nodiscard]] std::string_view best() const noexcept { return m_best; }
    /// Returns ": did you mean 'name'?", or "." when none is near: the end of a sentence.
    [[nodiscard]] String question() const;

private:
    std::string_view m_wanted;
    std::string_view m_best;
    u64 m_limit;
};

} // namespace qv
