#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace qv::tests {

/// A temporary directory, deleted by the destructor.
class Folder {
public:
    Folder() {
        std::string name = (std::filesystem::temp_directory_path() / "kelvo-XXXXXX").string();
        const char* made = ::mkdtemp(name.data());
        EXPECT_NE(made, nullptr);
        m_path = std::filesystem::canonical(name);
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }
    [[nodiscard]] std::filesystem::path operator/(const std::string& name) const {
        return m_path / name;
    }

    std::filesystem::path write(const std::string& file, const std::string& text) const {
        std::filesystem::create_directories((m_path / file).parent_path());
        std::ofstream(m_path / file, std::ios::binary) << text;
        return m_path / file;
    }

private:
    std::filesystem::path m_path;
};

} // namespace qv::tests
