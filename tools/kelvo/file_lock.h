#pragma once

#include "kelvo/base/string.h"
#include "tools/kelvo/descriptor.h"

namespace qv::kelvo_tool {

/// Keeps other commands from editing a file while one does; they wait their turn. Programs that do
/// not ask for the lock are not kept off, nor is anybody where files cannot be locked.
class FileLock {
public:
    /// Takes the lock of a plain file, which may be replaced meanwhile. False with a sentence in
    /// `error` when another command keeps it for a minute.
    [[nodiscard]] bool take(const String& path, String& error);
    void release() noexcept { m_file = Descriptor(); }
    [[nodiscard]] bool isHeld() const noexcept { return m_file.isOpen(); }

private:
    Descriptor m_file;
};

} // namespace qv::kelvo_tool
