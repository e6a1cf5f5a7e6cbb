#pragma once

#include "tests/support/folder.h"

namespace qv::tests {

/// A directory of its own for plug-ins.
class PluginFolder : public Folder {
public:
    /// Puts the plug-in that is made in a way of test_plugin.cpp into a file.
    std::filesystem::path place(const std::string& way, const std::string& file) const {
        const std::filesystem::path from =
            std::filesystem::path(KELVO_TEST_PLUGINS) / ("test_plugin_" + way + ".so");
        const std::filesystem::path to = *this / file;
        std::filesystem::create_directories(to.parent_path());
        std::filesystem::copy_file(from, to);
        return to;
    }
};

/// Definitions that go with test_plugin.cpp.
inline constexpr const char* twiceText = "kelvo types 1\n\n"
                                         "type twice {\n"
                                         "    Real x = 1\n"
                                         "    output Real out\n"
                                         "}\n";

} // namespace qv::tests
