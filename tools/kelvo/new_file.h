#pragma once

#include "tools/kelvo/descriptor.h"

#include <filesystem>

namespace qv::kelvo_tool {

/// A file that is written beside another and then replaces it.
///
/// Where the file system can, the file has no name while it is written, so that a killed command
/// leaves nothing behind. Elsewhere, and in the moment before the replacement, its name is derived
/// from the other file's, and the next command that writes that file removes a leftover.
class NewFile {
public:
    explicit NewFile(std::filesystem::path target);
    /// Removes the file unless it has replaced the other; keeps `errno`.
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    // These functions return false with the reason in `errno`.

    [[nodiscard]] bool open();
    /// Returns the descriptor to write to, until `takePlace`.
    [[nodiscard]] int number() const noexcept { return m_file.number(); }
    /// Syncs the content to the disk and replaces the other file.
    [[nodiscard]] bool takePlace();

private:
    [[nodiscard]] bool openNameless();
    [[nodiscard]] bool openNamed();
    [[nodiscard]] bool giveName();
    template<typename Make>
    [[nodiscard]] bool makeName(const Make& make);
    [[nodiscard]] bool removeLeftover() const;

    std::filesystem::path m_target;
    std::filesystem::path m_folder;
    std::filesystem::path m_name;
    Descriptor m_file;
    bool m_isNamed = false;
};

} // namespace qv::kelvo_tool
