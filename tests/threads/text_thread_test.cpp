// A text is read and written with the same outcome by any number of threads, as docs/threads.md
// says.

#include "kelvo/kelvo.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

constexpr u32 threadCounts[] = {1, 2, 3, 8, 0, 10'000};
// Enough nodes, and numbers in a buffer, for several threads. Threads read a text of so many nodes
// in three pieces.
constexpr int manyNodes = 1500;
constexpr int manyNumbers = 60'000;

// Returns everything that reading a text makes: diagnostics, text, hashes.
std::string outcomeOf(const std::string& text, u32 threads, bool isPartial) {
    const Scene scene = Scene::create();
    scene.addLibrary(LibInfo::standard());
    Diagnostics found;
    ReadOptions options;
    options.isPartial = isPartial;
    options.threads = threads;
    const ReadReport report = scene.read(String(std::string_view(text)), "t.kns", options, &found);
    std::ostringstream out;
    out << bool(report.isRead) << ' ' << report.gapCount << '\n';
    for (const Diagnostic& diagnostic : found)
        out << diagnostic.text().buf() << '\n';
    WriteOptions writing;
    writing.threads = threads;
    out << scene.text(writing).buf();
    for (const Node& node : scene.nodes())
        out << node.name().buf() << ' ' << node.hash() << '\n';
    return out.str();
}

void expectSameForAll(const std::string& text, const std::string& name) {
    for (const bool isPartial : {false, true}) {
        const std::string alone = outcomeOf(text, 1, isPartial);
        for (const u32 threads : threadCounts)
            EXPECT_TRUE(outcomeOf(text, threads, isPartial) == alone)
                << name << " differs on " << threads << " threads";
    }
}

std::string numbers(int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += (i == 0 ? "" : " ") + std::to_string(i % 1000) + ".25";
    return text;
}

// Returns a scene of many nodes that link and connect to each other, some of known types; the last
// has a long buffer.
std::string largeText() {
    std::string text = "kelvo scene 1\n\n";
    for (int i = 0; i < manyNodes; ++i) {
        const std::string other = std::to_string((i + 1) % manyNodes);
        text += "# Comment " + std::to_string(i) + "\nnode mix \"n" + std::to_string(i) + "\" {\n";
        text += "    Real a = " + std::to_string(i) + (i == 0 ? "\n" : " <- n0.result\n");
        text += "    Node next = n" + other + "\n    Array<Real> list = [1, 2, 3]\n";
        text += "    Object part {\n        String s = \"s" + other + "\"\n    }\n}\n";
    }
    return text + "node mesh \"last\" {\n    Buffer<Float> values = [" + numbers(manyNumbers) +
           "]\n}\n";
}

std::string replaced(std::string text, std::string_view from, std::string_view to) {
    text.replace(text.rfind(from), from.size(), to);
    return text;
}

std::vector<std::filesystem::path> textFiles() {
    std::vector<std::filesystem::path> files;
    for (const char* folder : {"/examples", "/fuzz/seeds", "/fuzz/regressions", "/tests"})
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(KELVO_SOURCE_DIR + std::string(folder)))
            if (entry.path().extension() == ".kns") files.push_back(entry.path());
    return files;
}

TEST(TextThreads, FilesOfTheTree_AreReadTheSameByAnyNumber) {
    const auto files = textFiles();
    EXPECT_GE(files.size(), 5u);
    for (const std::filesystem::path& file : files) {
        std::ifstream stream(file, std::ios::binary);
        std::ostringstream text;
        text << stream.rdbuf();
        expectSameForAll(text.str(), file.filename().string());
    }
}

TEST(TextThreads, LargeScene_IsReadAndWrittenTheSameByAnyNumber) {
    const std::string text = largeText();
    EXPECT_EQ(outcomeOf(text, 2, false).rfind("1 0\n", 0), 0u);
    expectSameForAll(text, "the large scene");
}

TEST(TextThreads, FaultsInALargeScene_AreReportedTheSameByAnyNumber) {
    const std::string text = largeText();
    const struct {
        const char* from;
        const char* to;
    } rows[] = {
        {"999.25", "999..25"},
        {"999.25]", "999.25"},
        {"Node next = n600", "Node next = x600"},
        {"Object part", "Objekt part"},
        {"n0.result", "n0.resolt"},
        {"node mix \"n9\"", "node mix \"n8\""},
        {"node mix \"n1450\"", "node mix \"N1\""},
        {"}\nnode mesh", "node mesh"},
        {"# Comment 1400\n", "# Comment 1400\n\"\n"},
        {"list = [1, 2, 3]", "list = [1,\nnode \"x\" {\n, 3]"},
    };
    for (const auto& row : rows)
        expectSameForAll(replaced(text, row.from, row.to), row.to);
}

// Writes down which nodes it hears of, and on which threads.
class Listener : public SceneObserver {
public:
    void nodeAdded(interfaces::INode* node) override {
        names += std::string(node->name().buf()) + " ";
        isCaller = isCaller && std::this_thread::get_id() == caller;
    }

    std::string names;
    std::thread::id caller = std::this_thread::get_id();
    bool isCaller = true;
};

TEST(TextThreads, Observers_HearOfNodesInTheirOrderOnTheCallingThread) {
    const std::string text = largeText();
    std::string alone;
    for (const u32 threads : threadCounts) {
        const Scene scene = Scene::create();
        scene.addLibrary(LibInfo::standard());
        Listener listener;
        ASSERT_TRUE(scene.subscribe(&listener));
        ReadOptions options;
        options.threads = threads;
        ASSERT_TRUE(scene.read(String(std::string_view(text)), "t.kns", options).isRead);
        if (alone.empty()) alone = listener.names;
        EXPECT_EQ(listener.names, alone) << threads;
        EXPECT_TRUE(listener.isCaller) << threads;
        EXPECT_TRUE(scene.unsubscribe(&listener));
    }
}

bool keepNothing(interfaces::INode*, void**) {
    return true;
}

// The nodes that the library has initialised, and whether it was called on one thread alone.
std::string s_initialised;
std::thread::id s_caller;
bool s_isCaller = true;

TEST(TextThreads, Libraries_InitialiseNodesInTheirOrderOnTheCallingThread) {
    const LibInfo library = LibInfo::create();
    ASSERT_TRUE(library.readDefinitions("kelvo types 1\n\ntype fan {\n    Real speed = 1\n}\n",
                                        "fans.knd"));
    const auto init = [](interfaces::INode* node, void**) {
        s_initialised += std::string(node->name().buf()) + " ";
        s_isCaller = s_isCaller && std::this_thread::get_id() == s_caller;
        return true;
    };
    ASSERT_TRUE(library.setCallbacks("fan", {.init = init, .free = keepNothing}));
    std::string text;
    std::string expected;
    for (int i = 0; i < manyNodes; ++i) {
        const std::string name = "fan" + std::to_string(i);
        text += "node fan " + std::string(i % 2 == 0 ? "" : ": wheel ") + "\"" + name + "\" {\n}\n";
        expected += name + " ";
    }
    s_caller = std::this_thread::get_id();
    for (const u32 threads : threadCounts) {
        const Scene scene = Scene::create();
        scene.addLibrary(library);
        s_initialised.clear();
        ReadOptions options;
        options.threads = threads;
        ASSERT_TRUE(scene.read(String(std::string_view(text)), "t.kns", options).isRead);
        EXPECT_EQ(s_initialised, expected) << threads;
    }
    EXPECT_TRUE(s_isCaller);
}

TEST(TextThreads, TextsOfDifferentScenes_AreReadAndWrittenAtATime) {
    const std::string text = largeText();
    const std::string alone = outcomeOf(text, 1, false);
    std::vector<std::thread> threads;
    std::vector<std::string> outcomes(3);
    for (std::string& outcome : outcomes)
        threads.emplace_back([&] { outcome = outcomeOf(text, 2, false); });
    for (std::thread& thread : threads)
        thread.join();
    for (const std::string& outcome : outcomes)
        EXPECT_TRUE(outcome == alone);
}

} // namespace
} // namespace qv::kelvo_sdk
