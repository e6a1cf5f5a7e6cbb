#pragma once

#include "kelvo/base/string.h"

#include <filesystem>
#include <memory>

namespace qv::kelvo_plugins {

/// A shared object in memory; its code and data are valid while this lives.
class SharedObject {
public:
    /// Brings a file into memory: what it needs is bound at once, what it defines stays its own.
    /// Null with the reason in `error`.
    [[nodiscard]] static std::shared_ptr<SharedObject> open(const std::filesystem::path& file,
                                                            String& error);
    ~SharedObject();
    SharedObject(const SharedObject&) = delete;
    SharedObject& operator=(const SharedObject&) = delete;

    /// Returns where a symbol lies, null when there is none of that name.
    [[nodiscard]] void* symbol(const char* name) const noexcept;
    /// The file it came from, absolute and without symbolic links.
    [[nodiscard]] const std::filesystem::path& file() const noexcept { return m_file; }

private:
    SharedObject(void* handle, std::filesystem::path file) noexcept;

    void* m_handle;
    std::filesystem::path m_file;
};

} // namespace qv::kelvo_plugins
