#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"

#include <string_view>

namespace qv {

/// Makes several Strings in one allocation, which lives until the last of them is destroyed.
class QV_EXPORT StringBlock {
public:
    /// Allocates room for `count` non-empty texts of `bytes` bytes in all.
    StringBlock(u64 count, u64 bytes);
    ~StringBlock();
    StringBlock(const StringBlock&) = delete;
    StringBlock& operator=(const StringBlock&) = delete;

    /// Returns a copy of the text; without room left, the copy gets an allocation of its own.
    [[nodiscard]] String add(std::string_view text);

private:
    char* m_block = nullptr;
    u64 m_used;
    u64 m_size = 0;
    u64 m_left;
};

} // namespace qv
