#pragma once

#include "tests/support/folder.h"

namespace qv::tests {

/// A temporary directory for plug-ins.
class PluginFolder : public Folder {
public:
    /// Copies the plug-in that test_plugin.cpp builds in that way into a file.
    std::filesystem::path place(const std::string& way, const std::string& file) const {
        const std::filesystem::path from =
            std::filesystem::path(KELVO_TEST_PLUGINS) / ("test_plugin_" + way + ".so");
        const std::filesystem::path to = *this / file;
        std::filesystem::create_directories(to.parent_path());
        std::filesystem::copy_file(from, to);
        return to;
    }
};

/// The definitions that belong to test_plugin.cpp.
inline constexpr const char* twiceText = "kelvo types 1\n\n"
                                         "type twice {\n"
                                         "    Real x = 1\n"
                                         "    output Real out\n"
                                         "}\n";

} // namespace qv::tests
