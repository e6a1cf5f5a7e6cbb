// Runs in a program that is linked with the static library.
#include "kelvo/plugins/plugins.h"
#include "tests/kelvo/plugins/plugin_folder.h"

namespace qv::kelvo_plugins {
namespace {

TEST(ProgramWithItsOwnCopy, Plugin_IsRefused) {
    const tests::PluginFolder folder;
    Plugin plugin;
    EXPECT_EQ(loadPlugin(folder.place("in_text", "a.so"), plugin).message(),
              "plug-in '" + (folder / "a.so").string() +
                  "': it uses another copy of the Kelvo library than this program, which has "
                  "to be linked with the shared library");
}

} // namespace
} // namespace qv::kelvo_plugins
