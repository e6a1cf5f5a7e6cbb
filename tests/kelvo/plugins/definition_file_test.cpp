#include "kelvo/plugins/definition_file.h"

#include "tests/kelvo/plugins/plugin_folder.h"

#include <sys/stat.h>

namespace qv::kelvo_plugins {
namespace {

using tests::PluginFolder;

TEST(DefinitionFile, Bytes_AreKept) {
    const PluginFolder folder;
    const std::string bytes("a\0\r\n\xff", 5);
    String text;
    ASSERT_TRUE(readDefinitionFile(folder.write("a.knd", bytes), text));
    EXPECT_EQ(text, std::string_view(bytes));
    ASSERT_TRUE(readDefinitionFile(folder.write("b.knd", ""), text));
    EXPECT_TRUE(text.isEmpty());
}

TEST(DefinitionFile, Pipe_IsNotWaitedFor) {
    const PluginFolder folder;
    ASSERT_EQ(::mkfifo((folder / "a.knd").c_str(), 0600), 0);
    String text;
    EXPECT_EQ(readDefinitionFile(folder / "a.knd", text).message(),
              "cannot read its definitions '" + (folder / "a.knd").string() +
                  "': not a regular file");
}

TEST(DefinitionFile, HugeFile_IsRefusedUnread) {
    const PluginFolder folder;
    const auto file = folder.write("a.knd", "");
    std::filesystem::resize_file(file, definitionFileLimit + 1);
    String text;
    EXPECT_EQ(readDefinitionFile(file, text).message(),
              "cannot read its definitions '" + file.string() + "': larger than 64 MiB");
}

} // namespace
} // namespace qv::kelvo_plugins
