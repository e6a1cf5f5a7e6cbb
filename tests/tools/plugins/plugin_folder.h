#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace qv::tests {

/// A directory of its own for plug-ins, gone with this.
class PluginFolder {
public:
    PluginFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "kelvo-XXXXXX").string();
        const char* made = ::mkdtemp(name.data());
        EXPECT_NE(made, nullptr);
        m_path = std::filesystem::canonical(name);
    }
    ~PluginFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    PluginFolder(const PluginFolder&) = delete;
    PluginFolder& operator=(const PluginFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }
    [[nodiscard]] std::filesystem::path operator/(const std::string& name) const {
        return m_path / name;
    }

    /// Puts the plug-in that is made in a way of test_plugin.cpp into a file.
    std::filesystem::path place(const std::string& way, const std::string& file) const {
        const std::filesystem::path from =
            std::filesystem::path(KELVO_TEST_PLUGINS) / ("test_plugin_" + way + ".so");
        std::filesystem::create_directories((m_path / file).parent_path());
        std::filesystem::copy_file(from, m_path / file);
        return m_path / file;
    }

    std::filesystem::path write(const std::string& file, const std::string& text) const {
        std::filesystem::create_directories((m_path / file).parent_path());
        std::ofstream(m_path / file, std::ios::binary) << text;
        return m_path / file;
    }

private:
    std::filesystem::path m_path;
};

/// Definitions that go with test_plugin.cpp.
inline constexpr const char* twiceText = "kelvo types 1\n\n"
                                         "type twice {\n"
                                         "    Real x = 1\n"
                                         "    output Real out\n"
                                         "}\n";

} // namespace qv::tests
