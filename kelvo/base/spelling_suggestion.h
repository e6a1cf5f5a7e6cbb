#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"

#include <string_view>

namespace qv {

/// Finds the known name that a wrong name probably meant: few letters are missing, added, replaced,
/// swapped or in the other case.
class QV_EXPORT SpellingSuggestion {
public:
    explicit SpellingSuggestion(std::string_view wanted) noexcept;

    /// Considers a known name; of equally similar names the first wins.
    void offer(std::string_view known) noexcept;
    /// Returns the most similar name offered, empty when none is similar. Borrowed.
    [[nodiscard]] std::string_view best() const noexcept { return m_best; }
    /// Returns ": did you mean 'name'?", or "." when no name is similar: the end of a sentence.
    [[nodiscard]] String question() const;

private:
    std::string_view m_wanted;
    std::string_view m_best;
    u64 m_limit;
};

} // namespace qv
