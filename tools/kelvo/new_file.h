#pragma once

#include "tools/kelvo/descriptor.h"

#include <filesystem>

namespace qv::kelvo_tool {

/// A file that is written beside another until it takes that one's place.
///
/// Where the file system can do so it has no name while it is written: a command that is killed
/// then leaves nothing behind. Elsewhere, and for the moment between naming and placing it, it has
/// a name that follows from the other's, and the next command that writes the same file removes
/// what a killed one left.
class NewFile {
public:
    explicit NewFile(std::filesystem::path target);
    /// Removes what did not take its place; keeps `errno`.
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    // All answer false with the reason in `errno`.

    [[nodiscard]] bool open();
    /// Is written to until it is placed.
    [[nodiscard]] int number() const noexcept { return m_file.number(); }
    /// Puts all of it on the disk and in the place of the other file.
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
