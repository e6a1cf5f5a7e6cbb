#include "kelvo/plugins/plugin.h"

#include "kelvo/kelvo.h"
#include "tests/kelvo/plugins/plugin_folder.h"
#include "tests/support/log_capture.h"

#include <algorithm>

#include <dlfcn.h>

namespace qv::kelvo_plugins {
namespace {

using tests::PluginFolder;
using tests::twiceText;

bool isInMemory(const std::filesystem::path& file) {
    void* handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle) ::dlclose(handle);
    return handle != nullptr;
}

class LoadPlugin : public testing::Test {
protected:
    // Loads a broken plug-in; returns the message without the file at its start.
    std::string reasonAgainst(const std::filesystem::path& file) {
        const kelvo_sdk::Result loaded = loadPlugin(file, m_plugin);
        EXPECT_FALSE(loaded);
        EXPECT_TRUE(m_plugin.library.isEmpty());
        EXPECT_TRUE(m_plugin.name.isEmpty());
        const std::string place = "plug-in '" + file.string() + "': ";
        const std::string told(loaded.message().view());
        EXPECT_TRUE(told.starts_with(place)) << told;
        return told.substr(std::min(told.size(), place.size()));
    }

    void load(const std::filesystem::path& file) {
        const kelvo_sdk::Result loaded = loadPlugin(file, m_plugin);
        ASSERT_TRUE(loaded) << loaded.message();
    }

    PluginFolder m_folder;
    Plugin m_plugin;
};

TEST_F(LoadPlugin, RightOne_IsNamedAndKnowsItsTypes) {
    const auto file = m_folder.place("good", "libtwice.so");
    m_folder.write("twice.knd", twiceText);
    ASSERT_NO_FATAL_FAILURE(load(file));
    EXPECT_EQ(m_plugin.name, "twice");
    EXPECT_EQ(m_plugin.file, std::string_view(file.native()));
    EXPECT_EQ(m_plugin.library.kndPath(), std::string_view((m_folder / "twice.knd").native()));
    ASSERT_EQ(m_plugin.library.typeCount(), 1U);
    EXPECT_EQ(m_plugin.library.type(0).type(), "twice");
}

TEST_F(LoadPlugin, Moved_FindsItsDefinitionsBesideIt) {
    m_folder.place("good", "a/twice.so");
    m_folder.write("a/twice.knd", twiceText);
    std::filesystem::rename(m_folder / "a", m_folder / "b");
    ASSERT_NO_FATAL_FAILURE(load(m_folder / "b/twice.so"));
    EXPECT_EQ(m_plugin.library.kndPath(), std::string_view((m_folder / "b/twice.knd").native()));
}

TEST_F(LoadPlugin, SymbolicLink_DefinitionsLieBesideTheFile) {
    m_folder.place("good", "real/twice.so");
    m_folder.write("real/twice.knd", twiceText);
    std::filesystem::create_symlink("real/twice.so", m_folder / "other.so");
    ASSERT_NO_FATAL_FAILURE(load(m_folder / "other.so"));
    EXPECT_EQ(m_plugin.name, "twice");
}

TEST_F(LoadPlugin, DefinitionsInText_NeedNoFile) {
    ASSERT_NO_FATAL_FAILURE(load(m_folder.place("in_text", "a.so")));
    EXPECT_TRUE(m_plugin.library.kndPath().isEmpty());
    EXPECT_EQ(m_plugin.library.typeCount(), 1U);
}

TEST_F(LoadPlugin, MissingFile_IsRefused) {
    EXPECT_EQ(reasonAgainst(m_folder / "none.so"), "cannot be loaded: No such file or directory");
}

TEST_F(LoadPlugin, Directory_IsRefused) {
    EXPECT_EQ(reasonAgainst(m_folder.path()), "cannot be loaded: not a regular file");
}

TEST_F(LoadPlugin, NoSharedObject_IsRefused) {
    const std::string reason = reasonAgainst(m_folder.write("text.so", "no machine code"));
    EXPECT_TRUE(reason.starts_with("cannot be loaded: ")) << reason;
    EXPECT_EQ(reason.find(m_folder.path().string()), std::string::npos) << reason;
}

TEST_F(LoadPlugin, NoEntryPoint_IsRefused) {
    const auto file = m_folder.place("no_entry", "a.so");
    EXPECT_EQ(reasonAgainst(file), "it has no entry point kelvo_library");
    EXPECT_FALSE(isInMemory(file));
}

TEST_F(LoadPlugin, OtherVersion_TellsBoth) {
    EXPECT_EQ(reasonAgainst(m_folder.place("wrong_version", "a.so")),
              "it was built for version 4711 of the library interface, this program has version " +
                  std::to_string(kelvo_sdk::libraryInterfaceVersion));
}

TEST_F(LoadPlugin, OtherCopyOfTheLibrary_IsRefused) {
    const std::string reason = reasonAgainst(m_folder.place("other_core", "a.so"));
    EXPECT_TRUE(reason.starts_with("it uses another copy of the Kelvo library")) << reason;
}

TEST_F(LoadPlugin, PluginThatFails_IsRefusedAndNotKept) {
    const struct {
        const char* way;
        const char* expected;
    } cases[] = {
        {"throwing_entry", "its entry point throws: no entry today"},
        {"null_entry", "its entry point returns null"},
        {"no_create", "its entry has no function that creates the library"},
        {"throwing_library", "creating its library throws: no library today"},
        {"null_library", "creating its library gives null"},
        {"throwing_path", "its path of definitions throws: no path today"},
    };
    for (const auto& [way, expected] : cases) {
        const auto file = m_folder.place(way, std::string(way) + ".so");
        EXPECT_EQ(reasonAgainst(file), expected);
        EXPECT_FALSE(isInMemory(file)) << way;
    }
}

TEST_F(LoadPlugin, NoDefinitions_TellsWhereTheyBelong) {
    const auto file = m_folder.place("good", "twice.so");
    EXPECT_EQ(reasonAgainst(file), "cannot read its definitions '" +
                                       (m_folder / "twice.knd").string() +
                                       "': No such file or directory");
    EXPECT_FALSE(isInMemory(file));
}

TEST_F(LoadPlugin, DefinitionsThatAreNoFile_AreRefused) {
    std::filesystem::create_directory(m_folder / "twice.knd");
    EXPECT_EQ(reasonAgainst(m_folder.place("good", "twice.so")),
              "cannot read its definitions '" + (m_folder / "twice.knd").string() +
                  "': not a regular file");
}

TEST_F(LoadPlugin, BrokenDefinitions_TellTheFirstFaultAndHowManyMore) {
    const auto file = m_folder.place("good", "twice.so");
    const auto text = m_folder.write("twice.knd", "type twice {\n    Raal x = 1\n    Rael y\n}\n");
    const std::string reason = reasonAgainst(file);
    EXPECT_TRUE(reason.starts_with("its definitions are broken: " + text.string() + ":2:5: "))
        << reason;
    EXPECT_TRUE(reason.ends_with(" (and 1 more)")) << reason;
    EXPECT_FALSE(isInMemory(file));
}

TEST_F(LoadPlugin, BrokenDefinitionsInText_AreReportedByTheName) {
    const std::string reason = reasonAgainst(m_folder.place("broken_text", "a.so"));
    EXPECT_TRUE(reason.starts_with("its definitions are broken: a:1:14: ")) << reason;
}

TEST_F(LoadPlugin, LookUpThatThrows_IsRefused) {
    m_folder.write("twice.knd", twiceText);
    const auto file = m_folder.place("throwing_look_up", "a.so");
    EXPECT_EQ(reasonAgainst(file), "its look-up of callbacks throws: no init today");
    EXPECT_FALSE(isInMemory(file));
}

TEST_F(LoadPlugin, Failure_LeavesWhatWasThere) {
    m_plugin.name = "before";
    EXPECT_FALSE(loadPlugin(m_folder / "none.so", m_plugin));
    EXPECT_EQ(m_plugin.name, "before");
}

TEST_F(LoadPlugin, CallbackThatThrows_CostsALogLineAndTheValue) {
    const auto file = m_folder.place("throwing_eval", "a.so");
    ASSERT_NO_FATAL_FAILURE(load(file));
    const auto scene = kelvo_sdk::Scene::create();
    scene.addLibrary(m_plugin.library);
    const auto node = scene.createNode("twice", "n");
    const auto reader = node.createInput("reader", kelvo_sdk::AttrType::Real);
    ASSERT_TRUE(reader.connect(scene.createNode("twice", "m").output("out")));
    const tests::LogCapture log;
    EXPECT_EQ(reader.get<double>(), 0);
    const std::string told = log.text();
    EXPECT_TRUE(told.starts_with("error: ")) << told;
    EXPECT_NE(told.find("no value today"), std::string::npos) << told;
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
}

TEST_F(LoadPlugin, LastHandle_TakesThePluginOutOfMemory) {
    const auto file = m_folder.place("good", "twice.so");
    m_folder.write("twice.knd", twiceText);
    ASSERT_NO_FATAL_FAILURE(load(file));
    EXPECT_TRUE(isInMemory(file));
    m_plugin = {};
    EXPECT_FALSE(isInMemory(file));
}

TEST_F(LoadPlugin, Node_KeepsThePluginInMemory) {
    const auto file = m_folder.place("good", "twice.so");
    m_folder.write("twice.knd", twiceText);
    ASSERT_NO_FATAL_FAILURE(load(file));
    auto scene = kelvo_sdk::Scene::create();
    scene.addLibrary(m_plugin.library);
    kelvo_sdk::Node node = scene.createNode("twice", "n");
    EXPECT_TRUE(node->hasNodeEval());
    scene.reset();
    m_plugin = {};
    EXPECT_TRUE(isInMemory(file));
    node.reset();
    EXPECT_FALSE(isInMemory(file));
}

} // namespace
} // namespace qv::kelvo_plugins
