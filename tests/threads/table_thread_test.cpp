// Every row of the table in docs/threads.md that says yes, on four threads. Without a sanitizer
// this checks results; under the thread sanitizer, that no data is shared without a lock.

#include "kelvo/base/localized.h"
#include "kelvo/base/log.h"
#include "kelvo/kelvo.h"
#include "kelvo/sdk/impl/graph/path_iterator.h"
#include "kelvo/sdk/library_entry.h"
#include "kelvo/sdk/node_path.h"
#include "kelvo/sdk/validation.h"
#include "tests/support/on_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

using impl::PathIterator;
using tests::failuresOnThreads;
using tests::onThreads;
using namespace std::chrono_literals;

constexpr const char* definitions = R"(kelvo types 1

type sum {
    Real a = 1 @label "en" "first" @label "de" "erstes"
    Real b = 2 @min 0 @max 100
    Array<Real> more = [1, 2]
    output Real out
}
type plain {
    String name
    Real x
}
)";

constexpr const char* text = R"(kelvo scene 1

node xform "room" {
    Array<Node> children = [shelf, lamp]
    String name = "The room"
}
node xform "shelf" {
    Array<Node> children = [lamp]
}
node pointLight "lamp" {
    Real intensity = 1 <- sum1.out
    Node owner = shelf
}
node sum "sum1" {
    Real a = 4 <- sum2.out
}
node sum "sum2" {
    Real a = 5
}
node texture "picture" {
    String dir = "textures"
    String file = "wood"
    String ext = ".png"
}
)";

std::atomic<int> s_prepared = 0;

bool addUp(EvalCtx* ctx, void* out) {
    const Node node(ctx->node());
    double a = 0, b = 0;
    if (!node["a"]->readReal(a, true, ctx) || !node["b"]->readReal(b, true, ctx)) return false;
    *static_cast<double*>(out) = a + b;
    return true;
}
bool prepare(interfaces::INode*, void*) {
    ++s_prepared;
    return true;
}
bool makeData(interfaces::INode*, void** data) {
    *data = new int(7);
    return true;
}
bool freeData(interfaces::INode*, void** data) {
    delete static_cast<int*>(*data);
    *data = nullptr;
    return true;
}

LibInfo makeLibrary() {
    const LibInfo library = LibInfo::create();
    EXPECT_TRUE(library.readDefinitions(definitions, "sum.knd"));
    EXPECT_TRUE(library.setCallbacks(
        "sum", {.init = &makeData, .prep = &prepare, .eval = &addUp, .free = &freeData}));
    return library;
}

Scene makeScene(const LibInfo& library) {
    Scene scene = Scene::create();
    scene.addLibrary(LibInfo::standard());
    scene.addLibrary(library);
    EXPECT_TRUE(scene.read(text, "room.kns"));
    return scene;
}

class ThreadTable : public testing::Test {
protected:
    void clean() {
        for (u64 i = 0; i < m_scene.nodeCount(); ++i)
            m_scene.node(i).setDirty(false);
    }

    LibInfo m_library = makeLibrary();
    Scene m_scene = makeScene(m_library);
};

// ---- Reading one scene -------------------------------------------------------------------------

TEST_F(ThreadTable, Values_AreReadAsTheyAreAndAsText) {
    EXPECT_EQ(failuresOnThreads(
                  50,
                  [&](int) {
                      const Node sum = m_scene["SUM2"];
                      return sum["A"].get<double>() == 5 &&
                             sum["a"].asString(false, nullptr) == "5" &&
                             sum["more"].input(1).get<double>() == 2 && sum["b"].isDefault() &&
                             m_scene["lamp"]["owner"].asNode(false, nullptr) == m_scene["shelf"] &&
                             m_scene["lamp"]["owner"].asString(false, nullptr) == "shelf" &&
                             sum["b"]->hash({}) != 0 && sum.inputAt("more[0]").get<int>() == 1;
                  }),
              0);
}

TEST_F(ThreadTable, NamesLabelsAndFiles_AreRead) {
    const Node sum = m_scene["sum1"];
    EXPECT_EQ(failuresOnThreads(50,
                                [&](int) {
                                    return m_scene["room"]->displayName() == "The room" &&
                                           sum->displayName() == "sum1" &&
                                           sum["a"].label("de") == "Erstes" &&
                                           sum["a"]->path() == "sum1.a" &&
                                           sum["a"]->typeName() == "Real" &&
                                           sum->isTypeOf(String("sum")) &&
                                           m_scene["picture"].isPath() &&
                                           m_scene["picture"].asPath() == "textures/wood.png" &&
                                           m_library.findType("sum") && sum.label("en").size() != 0;
                                }),
              0);
}

TEST_F(ThreadTable, DirtyFlags_AreAskedForWhileClean) {
    const Node lamp = m_scene["lamp"];
    for (const bool isCached : {false, true}) {
        m_scene.setDirtyStateCached(isCached);
        clean();
        EXPECT_EQ(failuresOnThreads(50, [&](int) { return !lamp.dirty() && !lamp->dirty(false); }),
                  0);
        m_scene["sum2"]["a"].set(isCached ? 6.0 : 7.0);
        EXPECT_EQ(failuresOnThreads(50, [&](int) { return lamp.dirty(); }), 0);
    }
}

TEST_F(ThreadTable, NodePaths_AreFoundAndCounted) {
    const Node room = m_scene["room"], lamp = m_scene["lamp"];
    EXPECT_EQ(failuresOnThreads(
                  30,
                  [&](int) {
                      const auto paths =
                          RefersTo<PathIterator>::adopt(room->pathsTo(lamp.get(), false));
                      const auto all =
                          RefersTo<PathIterator>::adopt(room->paths(StringVector(), true));
                      return paths->count() == 2 && paths->isCountExact() && paths->next() &&
                             paths->current()->text() == "room/lamp" && all->count() > 2 &&
                             room.firstPathTo(m_scene["sum2"], true)->length() == 4;
                  }),
              0);
}

TEST_F(ThreadTable, DependenciesAndChildren_AreWalked) {
    const Node room = m_scene["room"];
    EXPECT_EQ(failuresOnThreads(30,
                                [&](int) {
                                    return room.dependencies().size() == 4 &&
                                           room.children(-1).size() == 2 &&
                                           m_scene["lamp"]->indexIn(room.get()) == 1 &&
                                           room->findInput("room.children[1]") &&
                                           m_scene["sum1"]->findOutput("sum1.out");
                                }),
              0);
}

TEST_F(ThreadTable, SceneAtRest_IsWrittenCheckedHashedAndPresented) {
    const Node lamp = m_scene["lamp"];
    const String whole = m_scene.text(), own = lamp->serialize(true, false),
                 page = lamp->htmlHelp(true, String()), icon = lamp->svgIcon(false);
    const u64 hash = lamp.hash();
    const auto found = validate(m_scene).size();
    EXPECT_EQ(failuresOnThreads(5,
                                [&](int) {
                                    return m_scene.text() == whole &&
                                           lamp->serialize(true, false) == own &&
                                           lamp->htmlHelp(true, String()) == page &&
                                           lamp->svgIcon(false) == icon && lamp.hash() == hash &&
                                           validate(m_scene).size() == found &&
                                           m_scene.verify().empty();
                                }),
              0);
}

TEST_F(ThreadTable, EvaluatedReads_AreRightWithAndWithoutKeptResults) {
    const Input intensity = m_scene["lamp"]["intensity"];
    struct Cache {
        u64 bytes;
        bool isChecked;
    };
    for (const Cache cache : {Cache{0, false}, Cache{1 << 20, false}, Cache{1 << 20, true}}) {
        m_scene.setEvalCache(cache.bytes, cache.isChecked);
        EXPECT_EQ(failuresOnThreads(50,
                                    [&](int) {
                                        EvalCtx ctx;
                                        double value = 0;
                                        return intensity.get<double>() == 9 &&
                                               intensity.asString(true, nullptr) == "9" &&
                                               intensity->readReal(value, true, &ctx) && value == 9;
                                    }),
                  0);
    }
}

TEST_F(ThreadTable, PrepCallbacks_AreCalledOnTheCallingThreads) {
    const Node sum = m_scene["sum1"];
    s_prepared = 0;
    EXPECT_EQ(failuresOnThreads(50, [&](int) { return sum->hasNodePrep() && sum->nodePrep(); }), 0);
    EXPECT_EQ(s_prepared, 50 * tests::threadCount);
}

// ---- Different scenes, one library --------------------------------------------------------------

TEST_F(ThreadTable, DifferentScenes_AreReadAndEvaluated) {
    EXPECT_EQ(failuresOnThreads(10,
                                [&](int) {
                                    const Scene scene = makeScene(m_library);
                                    const bool isRight =
                                        scene["lamp"]["intensity"].get<double>() == 9;
                                    scene["sum2"]["b"].set(12.0);
                                    return isRight &&
                                           scene["lamp"]["intensity"].get<double>() == 19 &&
                                           scene.verify().empty();
                                }),
              0);
}

TEST_F(ThreadTable, DifferentScenes_AreEditedTakenBackAndDoneAgain) {
    EXPECT_EQ(failuresOnThreads(
                  10,
                  [&](int) {
                      const Scene scene = makeScene(m_library);
                      scene.setUndoEnabled(true);
                      const String before = scene.text();
                      scene.removeNode(scene["sum2"]);
                      scene.createNode("sum", "sum3")["a"].connect(scene["sum1"].output("out"));
                      scene.renameNode(scene["shelf"], "rack");
                      scene["room"].clone(true);
                      scene["sum1"].convertTo("plain", nullptr);
                      scene["room"]["children"].append();
                      const String after = scene.text();
                      while (scene.undo()) {
                      }
                      const bool isBack = scene.text() == before;
                      while (scene.redo()) {
                      }
                      return isBack && scene.text() == after && scene.verify().empty();
                  }),
              0);
}

TEST_F(ThreadTable, DifferentScenes_FindTheTypesOfOneLibrary) {
    const String whole = m_library.definitionText();
    EXPECT_EQ(failuresOnThreads(30,
                                [&](int) {
                                    const Scene scene = Scene::create();
                                    return scene.addLibrary(m_library) &&
                                           m_library.nodeEval("sum") == &addUp &&
                                           m_library.findType("sum")["b"].isDefault() &&
                                           m_library.typeCount() == 2 &&
                                           m_library.definitionText() == whole &&
                                           scene.createNode("sum", "s")->hasNodeInit() &&
                                           LibInfo::standard().findType("pointLight");
                                }),
              0);
}

// Free nodes share the tables of the links to them.
TEST_F(ThreadTable, FreeNodes_AreLinkedAndReleased) {
    EXPECT_EQ(failuresOnThreads(20,
                                [&](int) {
                                    const Scene scene = makeScene(m_library);
                                    const Node lamp = scene["lamp"], shelf = scene["shelf"];
                                    scene.removeNode(shelf);
                                    scene.removeNode(lamp);
                                    const bool isSet = lamp["owner"].set(shelf);
                                    return isSet && lamp["owner"].asNode(false, nullptr) == shelf;
                                }),
              0);
}

// ---- References ---------------------------------------------------------------------------------

TEST_F(ThreadTable, LastReferences_GoOnAnyThread) {
    const i64 before = impl_nodeInstanceCount();
    for (int round = 0; round < 20; ++round) {
        Scene scene = makeScene(makeLibrary());
        scene.setUndoEnabled(true);
        Node node = scene["sum1"];
        Input input = node["a"], removed = scene["lamp"]["owner"];
        Output output = node.output("out");
        scene["lamp"].removeInput("owner");
        scene.removeNode(node);
        std::vector<std::function<void()>> drops;
        drops.emplace_back([held = std::move(scene)]() mutable { held.reset(); });
        drops.emplace_back([held = std::move(node)]() mutable { held.reset(); });
        drops.emplace_back([held = std::move(input)]() mutable { held.reset(); });
        drops.emplace_back([held = std::move(output), also = std::move(removed)]() mutable {
            held.reset();
            also.reset();
        });
        onThreads([&](int thread) { drops[static_cast<std::size_t>(thread)] = nullptr; });
    }
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

TEST_F(ThreadTable, HandlesOfOneScene_AreCopiedAndDropped) {
    const Node node = m_scene["sum1"];
    EXPECT_EQ(failuresOnThreads(500,
                                [&](int) {
                                    const Scene scene = m_scene;
                                    const Node copy = node;
                                    const Input input = copy["a"];
                                    const Output output = copy.output("out");
                                    const LibInfo library = m_library;
                                    return scene && input && output && library;
                                }),
              0);
}

// ---- Observers ----------------------------------------------------------------------------------

struct NodeWatch : NodeObserver {
    void inputChanged(Input) override { heard(); }
    void nodeRemoved() override {}
    void nodeRenamed(String) override {}
    void nodeConverted(Node) override {}
    void inputConnected(Input) override {}
    std::function<void()> heard = [] {};
};
struct SceneWatch : SceneObserver {
    void inputChanged(const interfaces::IInput*, const impl::AttrData*) override { heard(); }
    std::function<void()> heard = [] {};
};
struct BatchWatch : BatchObserver {
    void sceneChanged(const SceneChanges&) override {}
};

TEST_F(ThreadTable, Observers_ComeAndGoWhileOneThreadEdits) {
    const Node node = m_scene["sum2"];
    int heard = 0;
    SceneWatch steady;
    steady.heard = [&] { ++heard; };
    m_scene.subscribe(&steady);
    constexpr int kTimes = 300;
    std::atomic<int> wrong = 0;
    onThreads([&](int thread) {
        for (int k = 0; k < kTimes; ++k) {
            if (thread == 0) {
                node["a"].set(100.0 + k);
                continue;
            }
            NodeWatch ofNode;
            SceneWatch ofScene;
            BatchWatch ofEdits;
            wrong += !node.subscribe(&ofNode) || !m_scene.subscribe(&ofScene) ||
                     !m_scene.subscribe(&ofEdits);
            wrong += !node.unsubscribe(&ofNode) || !m_scene.unsubscribe(&ofScene) ||
                     !m_scene.unsubscribe(&ofEdits);
        }
    });
    m_scene.unsubscribe(&steady);
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(heard, kTimes);
}

// Lets another thread begin an operation during a notification; tells whether it has to wait.
struct Started {
    void run(const std::function<bool()>& action) {
        if (done.valid()) return;
        done = std::async(std::launch::async, action);
        hasWaited = done.wait_for(50ms) == std::future_status::timeout;
    }
    std::future<bool> done;
    bool hasWaited = false;
};

TEST_F(ThreadTable, UnsubscribeAllOnAnotherThread_WaitsForTheNotificationUnderWay) {
    const Node node = m_scene["sum2"];
    Started started;
    int heard = 0;
    NodeWatch first, second;
    first.heard = [&] { started.run([&] { return node->unsubscribeAll(); }); };
    second.heard = [&] { ++heard; };
    node.subscribe(&first);
    node.subscribe(&second);
    node["a"].set(50.0);
    EXPECT_TRUE(started.hasWaited);
    EXPECT_TRUE(started.done.get());
    EXPECT_EQ(heard, 1);
    node["a"].set(51.0);
    EXPECT_EQ(heard, 1);
}

TEST_F(ThreadTable, UnsubscribeOfASceneOnAnotherThread_WaitsForTheNotificationUnderWay) {
    Started started;
    int heard = 0;
    SceneWatch first, second;
    first.heard = [&] { started.run([&] { return m_scene.unsubscribe(&second); }); };
    second.heard = [&] { ++heard; };
    m_scene.subscribe(&first);
    m_scene.subscribe(&second);
    m_scene["sum2"]["a"].set(50.0);
    EXPECT_TRUE(started.hasWaited);
    EXPECT_TRUE(started.done.get());
    EXPECT_EQ(heard, 1);
    m_scene.unsubscribe(&first);
}

// ---- Log and language ---------------------------------------------------------------------------

TEST(ThreadTableOfTheProcess, Log_IsWrittenAndTurnedElsewhereAtATime) {
    static std::atomic<int> s_lines = 0;
    const LogHandler count = [](LogLevel, const char*, void*) { ++s_lines; };
    const LogSink before = setLogHandler(count, nullptr);
    const int failures = failuresOnThreads(100, [&](int thread) {
        const Scene scene = Scene::create();
        static_cast<void>(scene.createNode("thing", "no name"));
        const LogSink sink = setLogHandler(count, nullptr);
        logWarning("Thread %d says so.", thread);
        return sink.handler == count;
    });
    setLogHandler(before.handler, before.user);
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(s_lines, 2 * 100 * tests::threadCount);
}

TEST_F(ThreadTable, Language_IsSetWhileLabelsAreRead) {
    const Node sum = m_scene["sum1"];
    EXPECT_EQ(failuresOnThreads(50,
                                [&](int thread) {
                                    os::setLanguage(thread % 2 == 0 ? "de" : "en");
                                    const String label = sum["a"].label("auto");
                                    return label == "First" || label == "Erstes";
                                }),
              0);
    os::setLanguage("en");
}

} // namespace
} // namespace qv::kelvo_sdk
