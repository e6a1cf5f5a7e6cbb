#include "kelvo/plugins/search_path.h"

#include "tests/kelvo/plugins/plugin_folder.h"

#include <cstdlib>

namespace qv::kelvo_plugins {
namespace {

using tests::PluginFolder;

TEST(SearchPath, Text_IsCutAtColons) {
    const struct {
        const char* text;
        SearchPath expected;
    } cases[] = {
        {"", {}}, {"/a", {"/a"}}, {"/a:b/c", {"/a", "b/c"}}, {":/a::b:", {"/a", "b"}}, {"::", {}},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(directoriesOf(text), expected) << text;
}

TEST(SearchPath, Environment_GivesTheVariable) {
    ASSERT_EQ(::setenv(pathVariable, "/x:/y", 1), 0);
    EXPECT_EQ(directoriesOfEnvironment(), (SearchPath{"/x", "/y"}));
    ASSERT_EQ(::unsetenv(pathVariable), 0);
    EXPECT_TRUE(directoriesOfEnvironment().empty());
}

TEST(SearchPath, PluginName_IsThatOfTheFile) {
    const struct {
        const char* file;
        const char* expected;
    } cases[] = {
        {"/a/libsprings.so", "springs"},
        {"springs.so", "springs"},
        {"springs.so.1.2", "springs"},
        {"lib.so", "lib"},
        {"library.so", "rary"},
        {"springs", "springs"},
        {"", ""},
    };
    for (const auto& [file, expected] : cases)
        EXPECT_EQ(pluginName(file), expected) << file;
}

TEST(SearchPath, FindPlugin_FirstDirectoryWins) {
    const PluginFolder folder;
    folder.write("a/libx.so", "");
    folder.write("b/x.so", "");
    EXPECT_EQ(findPlugin({folder / "a", folder / "b"}, "x"), folder / "a/libx.so");
    EXPECT_EQ(findPlugin({folder / "b", folder / "a"}, "x"), folder / "b/x.so");
    EXPECT_EQ(findPlugin({folder / "none", folder / "a"}, "y"), "");
}

TEST(SearchPath, PluginsIn_AreSharedObjectsWithDefinitions) {
    const PluginFolder folder;
    folder.write("libb.so", "");
    folder.write("b.knd", "");
    folder.write("a.so", "");
    folder.write("a.knd", "");
    folder.write("helper.so", "");
    folder.write("c.knd", "");
    const std::vector<std::filesystem::path> expected = {folder / "a.so", folder / "libb.so"};
    EXPECT_EQ(pluginsIn(folder.path()), expected);
    EXPECT_TRUE(pluginsIn(folder / "none").empty());
}

} // namespace
} // namespace qv::kelvo_plugins
