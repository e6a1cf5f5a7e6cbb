#include "kelvo/plugins/plugins.h"

#include "tests/kelvo/plugins/plugin_folder.h"

#include <cstdlib>

namespace qv::kelvo_plugins {
namespace {

using tests::PluginFolder;
using tests::twiceText;

class LoadPlugins : public testing::Test {
protected:
    ~LoadPlugins() override { ::unsetenv(pathVariable); }

    // Puts a working plug-in with that name into a directory.
    void add(const std::string& directory, const std::string& name) {
        m_folder.place("good", directory + "/" + name + ".so");
        m_folder.write(directory + "/" + name + ".knd", twiceText);
    }
    void setEnvironment(const std::string& text) {
        ASSERT_EQ(::setenv(pathVariable, text.c_str(), 1), 0);
    }
    // Returns the loaded files, relative to the folder, "a/x.so b/y.so".
    std::string load(const std::vector<std::string>& paths) {
        std::vector<String> given;
        for (const std::string& path : paths)
            given.emplace_back(std::string_view(path));
        std::string files;
        for (const Plugin& plugin : loadPlugins(given, [this](const String&message, Origin origin) {
                 m_told += std::string(message.view()) + "\n";
                 m_origins.push_back(origin);
             })) {
            const std::filesystem::path file(plugin.file.view());
            files += (files.empty() ? "" : " ") + file.lexically_relative(m_folder.path()).string();
        }
        return files;
    }
    std::string in(const std::string& name) const { return (m_folder / name).string(); }

    PluginFolder m_folder;
    std::string m_told;
    std::vector<Origin> m_origins;
};

TEST_F(LoadPlugins, NothingGiven_GivesNothing) {
    EXPECT_EQ(load({}), "");
    EXPECT_EQ(m_told, "");
}

TEST_F(LoadPlugins, FilesAndDirectories_AreLoadedInOrder) {
    add("a", "x");
    add("a", "w");
    add("b", "z");
    EXPECT_EQ(load({in("b/z.so"), in("a")}), "b/z.so a/w.so a/x.so");
    EXPECT_EQ(m_told, "");
}

TEST_F(LoadPlugins, Environment_ComesLast) {
    add("a", "x");
    add("b", "y");
    setEnvironment(in("b") + ":" + in("none"));
    EXPECT_EQ(load({in("a")}), "a/x.so b/y.so");
    EXPECT_EQ(m_told, "");
}

TEST_F(LoadPlugins, Name_IsFoundAlongThePath) {
    m_folder.place("in_text", "a/libx.so");
    m_folder.place("in_text", "b/x.so");
    setEnvironment(in("b"));
    EXPECT_EQ(load({"x"}), "b/x.so");
    EXPECT_EQ(load({"x", in("a")}), "a/libx.so");
}

TEST_F(LoadPlugins, OneFileByManyNames_IsLoadedOnce) {
    add("a", "x");
    std::filesystem::create_symlink("a", m_folder / "link");
    setEnvironment(in("a"));
    EXPECT_EQ(load({in("link/x.so"), in("a/../a/x.so"), "x", in("link")}), "a/x.so");
    EXPECT_EQ(m_told, "");
}

TEST_F(LoadPlugins, PluginsThatFail_AreReportedAndSkipped) {
    add("a", "x");
    m_folder.place("null_library", "bad.so");
    EXPECT_EQ(load({in("bad.so"), "nowhere", in("a"), in("bad.so")}), "a/x.so");
    EXPECT_EQ(m_told, "plug-in '" + in("bad.so") +
                          "': creating its library gives null\n"
                          "plug-in 'nowhere': cannot be loaded: No such file or directory\n");
}

TEST_F(LoadPlugins, Fault_TellsWhoAskedForThePlugin) {
    add("a", "x");
    m_folder.place("null_library", "b/bad.so");
    m_folder.write("b/bad.knd", twiceText);
    setEnvironment(in("b"));
    EXPECT_EQ(load({"nowhere", in("a")}), "a/x.so");
    EXPECT_EQ(m_origins, (std::vector{Origin::Program, Origin::Environment}));
}

TEST_F(LoadPlugins, NobodyToTell_IsAllowed) {
    EXPECT_TRUE(loadPlugins({"nowhere"}, {}).empty());
}

} // namespace
} // namespace qv::kelvo_plugins
