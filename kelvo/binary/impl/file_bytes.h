#pragma once

#include "kelvo/base/ref_counted.h"

#include <cstddef>
#include <span>

namespace qv::kelvo_binary {

/// Owns the bytes of a file in memory. Any thread may use it.
class FileBytes : public RefCounted {
public:
    [[nodiscard]] virtual std::span<const std::byte> bytes() const noexcept = 0;
    /// Tells that these bytes were read and will hardly be read again, so that they need not stay
    /// in memory. They can still be read.
    virtual void leave(std::span<const std::byte> /*read*/) const noexcept {}
};

} // namespace qv::kelvo_binary
