#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"

#include <string_view>

namespace qv {

/// Makes several Strings whose texts share one allocation, which lives until the last is gone.
class QV_EXPORT StringBlock {
public:
    /// Makes room for `count` texts, not empty, of `bytes` bytes in all.
    StringBlock(u64 count, u64 bytes);
    ~StringBlock();
    StringBlock(const StringBlock&) = delete;
    StringBlock& operator=(const StringBlock&) = delete;

    /// Returns a copy of the text; one for which there is no room gets an allocation of its own.
    [[nodiscard]] String add(std::string_view text);

private:
    char* m_block = nullptr;
    u64 m_used;
    u64 m_size = 0;
    u64 m_left;
};

} // namespace qv
