#pragma once

#include "kelvo/base/string.h"

#include <filesystem>
#include <memory>

namespace qv::kelvo_plugins {

/// A loaded shared object; its code and data are valid during the lifetime of this object.
class SharedObject {
public:
    /// Loads a file: resolves all symbols that it needs at once, and keeps its own symbols private.
    /// On failure returns null, with the reason in `error`.
    [[nodiscard]] static std::shared_ptr<SharedObject> open(const std::filesystem::path& file,
                                                            String& error);
    ~SharedObject();
    SharedObject(const SharedObject&) = delete;
    SharedObject& operator=(const SharedObject&) = delete;

    /// Returns the address of a symbol, null when there is none of that name.
    [[nodiscard]] void* symbol(const char* name) const noexcept;
    /// The file it came from, absolute and without symbolic links.
    [[nodiscard]] const std::filesystem::path& file() const noexcept { return m_file; }

private:
    SharedObject(void* handle, std::filesystem::path file) noexcept;

    void* m_handle;
    std::filesystem::path m_file;
};

} // namespace qv::kelvo_plugins
