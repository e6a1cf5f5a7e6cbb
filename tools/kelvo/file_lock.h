#pragma once

#include "kelvo/base/string.h"
#include "tools/kelvo/descriptor.h"

namespace qv::kelvo_tool {

/// Locks a file for editing; other commands wait. Has no effect on programs that do not ask for the
/// lock, nor where files cannot be locked.
class FileLock {
public:
    /// Takes the lock of a plain file, even if that is replaced meanwhile. False with a sentence in
    /// `error` when another command holds the lock for a minute.
    [[nodiscard]] bool take(const String& path, String& error);
    void release() noexcept { m_file = Descriptor(); }
    [[nodiscard]] bool isHeld() const noexcept { return m_file.isOpen(); }

private:
    Descriptor m_file;
};

} // namespace qv::kelvo_tool
