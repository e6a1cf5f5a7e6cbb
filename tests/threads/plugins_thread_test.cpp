// Several threads may load and unload plug-ins at the same time.

#include "kelvo/kelvo.h"
#include "kelvo/plugins/plugins.h"
#include "tests/kelvo/plugins/plugin_folder.h"
#include "tests/support/on_threads.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>

namespace qv::kelvo_plugins {
namespace {

using kelvo_sdk::Scene;
using tests::failuresOnThreads;

// Collects the messages about plug-ins that cannot be loaded; threads share it.
class Complaints {
public:
    Complain taker() {
        return [this](const String& message, Origin) {
            const std::lock_guard lock(m_mutex);
            m_text += message.buf();
        };
    }
    [[nodiscard]] std::string text() {
        const std::lock_guard lock(m_mutex);
        return m_text;
    }

private:
    std::mutex m_mutex;
    std::string m_text;
};

TEST(PluginThreads, OnePlugin_IsLoadedUsedAndReleasedByAll) {
    const tests::PluginFolder folder;
    const std::filesystem::path file = folder.place("good", "twice.so");
    folder.write("twice.knd", tests::twiceText);
    Complaints complaints;
    // Keeps the plug-in loaded: the thread sanitizer would confuse an object loaded at the same
    // address with the one unloaded before.
    const auto kept = loadPlugins({String(file.c_str())}, complaints.taker());
    const auto load = [&](int) {
        const auto plugins = loadPlugins({String(file.c_str())}, complaints.taker());
        if (plugins.size() != 1) return false;
        const Scene scene = Scene::create();
        if (!scene.addLibrary(plugins[0].library)) return false;
        const kelvo_sdk::Node node = scene.createNode("twice", "t");
        node["x"].set(4.0);
        const kelvo_sdk::Input reader =
            scene.createNode("thing", "r").createInput("r", kelvo_sdk::AttrType::Real);
        return reader.connect(node.output("out")) && reader.get<double>() == 8;
    };
    EXPECT_EQ(failuresOnThreads(10, load), 0) << complaints.text();
    EXPECT_EQ(complaints.text(), "");
}

TEST(PluginThreads, RegisteredLibraries_ComeAndGoWhileOthersLoadThem) {
    static const auto entry = []() -> const kelvo_sdk::LibraryEntry* { return nullptr; };
    Complaints complaints;
    const auto action = [&](int thread) {
        const String name(("library" + std::to_string(thread)).c_str());
        if (!registerLibrary(name, +entry)) return false;
        static_cast<void>(loadPlugins({}, complaints.taker()));
        return bool{unregisterLibrary(name)};
    };
    EXPECT_EQ(failuresOnThreads(50, action), 0);
    EXPECT_TRUE(registeredLibraries().empty());
}

} // namespace
} // namespace qv::kelvo_plugins
