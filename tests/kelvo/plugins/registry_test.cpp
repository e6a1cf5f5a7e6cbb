#include "kelvo/plugins/registry.h"

#include "kelvo/plugins/plugins.h"
#include "kelvo/sdk/callback_table.h"
#include "tests/kelvo/plugins/plugin_folder.h"

namespace qv::kelvo_plugins {
namespace {

using kelvo_sdk::LibraryEntry;

const LibraryEntry* textEntry() {
    static const LibraryEntry entry = kelvo_sdk::libraryEntry(
        []() -> kelvo_sdk::interfaces::ILibInfo* { return new kelvo_sdk::CallbackTable; },
        "type inside { Real x = 1 }");
    return &entry;
}

const LibraryEntry* fileEntry() {
    static const LibraryEntry entry = kelvo_sdk::libraryEntry(
        []() -> kelvo_sdk::interfaces::ILibInfo* { return new kelvo_sdk::CallbackTable; });
    return &entry;
}

const LibraryEntry* nullEntry() {
    return nullptr;
}

class RegisteredLibrary : public testing::Test {
protected:
    ~RegisteredLibrary() override {
        for (const Registered& library : registeredLibraries())
            unregisterLibrary(library.name);
    }
    // Loads the registered libraries, and those of the given directories.
    std::vector<Plugin> load(const std::vector<String>& paths = {}) {
        return loadPlugins(paths,
                           [this](const String& message, Origin) { m_told += message + '\n'; });
    }

    String m_told;
};

TEST_F(RegisteredLibrary, NameIsTakenOnce) {
    EXPECT_TRUE(registerLibrary("a", &textEntry));
    EXPECT_EQ(registerLibrary("a", &fileEntry).message(),
              "A node library 'a' is registered already.");
    EXPECT_EQ(registerLibrary("", &textEntry).message(),
              "A node library cannot be registered without a name.");
    EXPECT_EQ(registerLibrary("b", nullptr).message(),
              "Node library 'b' cannot be registered: its entry is null.");
    ASSERT_EQ(registeredLibraries().size(), 1U);
    EXPECT_EQ(registeredLibraries()[0].entry, &textEntry);
    EXPECT_TRUE(unregisterLibrary("a"));
    EXPECT_EQ(unregisterLibrary("a").message(), "No node library 'a' is registered.");
}

TEST_F(RegisteredLibrary, WithText_IsLoadedWithoutAnyFile) {
    registerLibrary("inside", &textEntry);
    const std::vector<Plugin> plugins = load();
    EXPECT_EQ(m_told, "");
    ASSERT_EQ(plugins.size(), 1U);
    EXPECT_EQ(plugins[0].name, "inside");
    EXPECT_TRUE(plugins[0].file.isEmpty());
    EXPECT_EQ(plugins[0].library.typeCount(), 1U);
}

TEST_F(RegisteredLibrary, WithFile_IsFoundAlongThePath) {
    const tests::PluginFolder folder;
    folder.write("outside.knd", "type outside { Real x = 1 }");
    registerLibrary("outside", &fileEntry);
    const std::vector<Plugin> plugins = load({folder.path().c_str()});
    EXPECT_EQ(m_told, "");
    ASSERT_EQ(plugins.size(), 1U);
    EXPECT_EQ(plugins[0].library.kndPath(), std::string_view((folder / "outside.knd").native()));
}

TEST_F(RegisteredLibrary, LibrariesThatFail_AreReportedByName) {
    registerLibrary("gone", &fileEntry);
    registerLibrary("null", &nullEntry);
    registerLibrary("inside", &textEntry);
    EXPECT_EQ(load().size(), 1U);
    EXPECT_EQ(m_told, "node library 'gone': cannot read its definitions 'gone.knd': "
                      "No such file or directory\n"
                      "node library 'null': its entry point returns null\n");
}

} // namespace
} // namespace qv::kelvo_plugins
