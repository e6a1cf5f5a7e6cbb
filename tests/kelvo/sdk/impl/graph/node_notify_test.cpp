#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "tests/support/node_probe.h"
#include "tests/support/recording_observer.h"
#include "tests/support/recording_scene.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <stdexcept>
#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {
using namespace tests;

// The callback has no parameter for a context, so the journal is global.
Journal* callbackJournal = nullptr;
std::function<void()> thenInCallback;

void noteChanged(IInput* input) {
    callbackJournal->add(std::string("library:") + input->name().buf());
    if (thenInCallback) thenInCallback();
}

class NodeNotify : public testing::Test {
protected:
    NodeNotify() {
        callbackJournal = &m_journal;
        m_node.subscribe(&m_a);
        m_node.subscribe(&m_b);
        probe(m_node).nodeChanged() = noteChanged;
        start();
    }
    ~NodeNotify() override {
        thenInCallback = nullptr;
        tests::probe(m_node).setScene(nullptr);
    }

    void start() {
        m_journal.take();
        probe(m_node).dirty() = false;
        m_scene->undoQueries = 0;
    }

    // Each operation of the room, with the name that failures show.
    struct Operation {
        const char* name;
        std::function<void(Node&)> call;
    };
    [[nodiscard]] std::vector<Operation> operations() const {
        return {
            {"onInputAdded", [this](Node& n) { n.onInputAdded(m_in); }},
            {"onOutputAdded", [this](Node& n) { n.onOutputAdded(m_out); }},
            {"onInputRemoved", [this](Node& n) { n.onInputRemoved(m_in); }},
            {"onOutputRemoved", [this](Node& n) { n.onOutputRemoved(m_out); }},
            {"onInputChanged", [this](Node& n) { n.onInputChanged(m_in, &m_record); }},
            {"onInputConnected", [this](Node& n) { n.onInputConnected(m_in, m_out, nullptr); }},
            {"notifyRemoved", [](Node& n) { n.notifyRemoved(); }},
            {"notifyRenamed", [](Node& n) { n.notifyRenamed("new"); }},
            {"notifyConverted", [](Node& n) { n.notifyConverted(nullptr); }},
        };
    }

    // Tells whether another thread finds the observers' lock taken.
    [[nodiscard]] bool isLocked() {
        return std::async(std::launch::async,
                          [this] {
                              if (!probe(m_node).mutex().try_lock()) return true;
                              probe(m_node).mutex().unlock();
                              return false;
                          })
            .get();
    }
    void noteLock(const char* where) {
        m_journal.add(where + std::string(isLocked() ? "=L" : "=U"));
    }

    Journal m_journal;
    RefersTo<RecordingScene> m_scene = RecordingScene::make(m_journal);
    RecordingObserver m_a{"a", m_journal}, m_b{"b", m_journal};
    AttrData m_record{AttrType::Real};
    Node m_node{m_scene.get(), "thing", "n"};
    IInput* m_in = m_node.createInput("in", AttrType::Real);
    IOutput* m_out = m_node.createOutput("out", AttrType::Real);
};

// ---- Recipients and their order ------------------------------------------------------------

TEST_F(NodeNotify, EachOperation_TellsWhoItShouldInOrder) {
    const std::vector<std::string> expected{
        "+in",
        "+>out",
        "-in",
        "->out",
        "a:changed=in b:changed=in scene:changed=in library:in",
        "a:connected=in b:connected=in scene:connected=in",
        "a:removed b:removed",
        "a:renamed=new b:renamed=new",
        "a:converted=none b:converted=none",
    };
    const auto all = operations();
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i].call(m_node);
        EXPECT_EQ(m_journal.take(), expected[i]) << all[i].name;
    }
}

TEST_F(NodeNotify, EachOperation_TellsInsideOneStep) {
    m_scene->recordsUndo = true;
    for (const Operation& operation : operations()) {
        operation.call(m_node);
        const std::string heard = m_journal.take();
        EXPECT_TRUE(heard.starts_with("begin ")) << operation.name << ": " << heard;
        EXPECT_TRUE(heard.ends_with(" record(|)")) << operation.name << ": " << heard;
        EXPECT_EQ(heard.find("begin", 1), std::string::npos) << operation.name;
    }
}

TEST_F(NodeNotify, ValueChange_HasItsWholeOrder) {
    m_scene->recordsUndo = true;
    m_node.onInputChanged(m_in, &m_record);
    EXPECT_EQ(m_journal.take(),
              "begin a:changed=in b:changed=in scene:changed=in library:in record(|)");
}

TEST_F(NodeNotify, DirtyFlag_IsSetBeforeAnyoneHears) {
    const auto expectDirty = [this] { EXPECT_TRUE(probe(m_node).dirty()); };
    m_scene->recordsUndo = true;
    m_scene->thenAtBegin = m_scene->then = m_a.then = expectDirty;
    for (const Operation& operation : operations()) {
        start();
        operation.call(m_node);
        EXPECT_TRUE(probe(m_node).dirty()) << operation.name;
    }
}

TEST_F(NodeNotify, Scene_GetsTheOperationsOwnArguments) {
    m_node.onInputChanged(m_in, &m_record);
    EXPECT_EQ(m_scene->lastRecord, &m_record);
    m_node.onInputChanged(m_in, nullptr);
    EXPECT_EQ(m_scene->lastRecord, nullptr);
    Node other(nullptr, "thing", "other");
    const IOutput* second = other.createOutput("o", AttrType::Real);
    m_node.onInputConnected(m_in, m_out, second);
    EXPECT_EQ(m_scene->lastBefore, m_out);
    EXPECT_EQ(m_scene->lastAfter, second);
}

TEST_F(NodeNotify, ObserversLock_IsHeldForThemAloneAndNotForTheOthers) {
    m_a.then = [this] { noteLock("a"); };
    m_scene->then = [this] { noteLock("scene"); };
    thenInCallback = [this] { noteLock("library"); };
    m_node.onInputChanged(m_in, &m_record);
    EXPECT_EQ(m_journal.take(), "a:changed=in a=L b:changed=in scene:changed=in scene=U "
                                "library:in library=U");
    m_node.onInputConnected(m_in, nullptr, m_out);
    EXPECT_EQ(m_journal.take(), "a:connected=in a=L b:connected=in scene:connected=in scene=U");
}

TEST_F(NodeNotify, AddedAndRemoved_NeverTakeTheLock) {
    m_scene->then = [this] { noteLock("scene"); };
    const std::lock_guard held(probe(m_node).mutex());
    auto told = std::async(std::launch::async, [this] {
        m_scene->then = nullptr;
        for (int i = 0; i < 4; ++i)
            operations()[static_cast<std::size_t>(i)].call(m_node);
    });
    ASSERT_EQ(told.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(m_journal.take(), "+in +>out -in ->out");
}

TEST_F(NodeNotify, Converted_HandsOnTheReplacement) {
    auto* replacement = new Node(nullptr, "thing", "other");
    i32 during = 0;
    m_a.then = [&] { during = probe(*replacement).refCount(); };
    m_node.notifyConverted(replacement);
    EXPECT_EQ(m_journal.take(), "a:converted=other b:converted=other");
    EXPECT_EQ(during, 2);
    EXPECT_EQ(probe(*replacement).refCount(), 1);
    replacement->decRef();
}

TEST_F(NodeNotify, Renamed_HandsOnTheNameGivenWhateverTheNodesIs) {
    m_node.notifyRenamed("other");
    EXPECT_STREQ(m_node.name().buf(), "n");
    EXPECT_EQ(m_journal.take(), "a:renamed=other b:renamed=other");
}

// ---- Muted notifications -------------------------------------------------------------------

TEST_F(NodeNotify, SilentInput_IsAddedAndRemovedUnheardWithoutAStep) {
    static_cast<Input*>(m_in)->setSilent(true);
    m_scene->recordsUndo = true;
    m_node.onInputAdded(m_in);
    EXPECT_TRUE(probe(m_node).dirty());
    start();
    m_node.onInputRemoved(m_in);
    EXPECT_TRUE(probe(m_node).dirty());
    EXPECT_EQ(m_journal.take(), "");
    EXPECT_EQ(m_scene->undoQueries, 0);
}

TEST_F(NodeNotify, SilentInput_StillTellsOfItsValueAndConnection) {
    static_cast<Input*>(m_in)->setSilent(true);
    m_node.onInputChanged(m_in, &m_record);
    m_node.onInputConnected(m_in, nullptr, nullptr);
    EXPECT_EQ(m_journal.take(), "a:changed=in b:changed=in scene:changed=in library:in "
                                "a:connected=in b:connected=in scene:connected=in");
}

TEST_F(NodeNotify, NodeInDestruction_IsMarkedDirtyAndTellsNobody) {
    m_scene->recordsUndo = true;
    probe(m_node).destroying() = true;
    for (const Operation& operation : operations()) {
        start();
        operation.call(m_node);
        EXPECT_TRUE(probe(m_node).dirty()) << operation.name;
        EXPECT_EQ(m_journal.take(), "") << operation.name;
        EXPECT_EQ(m_scene->undoQueries, 0) << operation.name;
    }
    probe(m_node).destroying() = false;
}

TEST_F(NodeNotify, EndThatBeginsWithTheStep_SilencesObserversButNotSceneAndLibrary) {
    m_scene->recordsUndo = true;
    m_scene->thenAtBegin = [this] { probe(m_node).destroying() = true; };
    const std::vector<std::string> expected{
        "begin +in record(|)",
        "begin +>out record(|)",
        "begin -in record(|)",
        "begin ->out record(|)",
        "begin scene:changed=in library:in record(|)",
        "begin scene:connected=in record(|)",
        "begin record(|)",
        "begin record(|)",
        "begin record(|)",
    };
    const auto all = operations();
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i].call(m_node);
        EXPECT_EQ(m_journal.take(), expected[i]) << all[i].name;
        probe(m_node).destroying() = false;
    }
}

TEST_F(NodeNotify, WithoutAScene_ObserversAndLibraryAreTold) {
    tests::probe(m_node).setScene(nullptr);
    const std::vector<std::string> expected{
        "",
        "",
        "",
        "",
        "a:changed=in b:changed=in library:in",
        "a:connected=in b:connected=in",
        "a:removed b:removed",
        "a:renamed=new b:renamed=new",
        "a:converted=none b:converted=none",
    };
    const auto all = operations();
    for (std::size_t i = 0; i < all.size(); ++i) {
        start();
        all[i].call(m_node);
        EXPECT_TRUE(probe(m_node).dirty()) << all[i].name;
        EXPECT_EQ(m_journal.take(), expected[i]) << all[i].name;
    }
}

TEST_F(NodeNotify, WithoutACallback_ObserversAndSceneAreTold) {
    probe(m_node).nodeChanged() = nullptr;
    m_node.onInputChanged(m_in, &m_record);
    EXPECT_EQ(m_journal.take(), "a:changed=in b:changed=in scene:changed=in");
}

TEST_F(NodeNotify, WithoutObservers_TheSceneIsTold) {
    m_node.unsubscribeAll();
    for (const Operation& operation : operations())
        operation.call(m_node);
    EXPECT_EQ(m_journal.take(),
              "+in +>out -in ->out scene:changed=in library:in scene:connected=in");
}

// ---- Observers that change the list --------------------------------------------------------

TEST_F(NodeNotify, ObserverThatUnsubscribesALaterOne_SparesIt) {
    m_a.then = [this] { m_node.unsubscribe(&m_b); };
    m_node.notifyRenamed("x");
    EXPECT_EQ(m_journal.take(), "a:renamed=x");
}

TEST_F(NodeNotify, ObserverThatUnsubscribesAnEarlierOne_DoesNotStopTheRest) {
    RecordingObserver c("c", m_journal);
    m_node.subscribe(&c);
    m_b.then = [this] { m_node.unsubscribe(&m_a); };
    m_node.notifyRemoved();
    EXPECT_EQ(m_journal.take(), "a:removed b:removed c:removed");
    m_node.notifyRemoved();
    EXPECT_EQ(m_journal.take(), "b:removed c:removed");
}

TEST_F(NodeNotify, ObserverThatUnsubscribesItself_IsNotCalledAgain) {
    m_a.then = [this] { m_node.unsubscribe(&m_a); };
    m_node.notifyRemoved();
    m_node.notifyRemoved();
    EXPECT_EQ(m_journal.take(), "a:removed b:removed b:removed");
}

TEST_F(NodeNotify, ObserverThatUnsubscribesAll_EndsThePass) {
    m_a.then = [this] { m_node.unsubscribeAll(); };
    m_node.onInputChanged(m_in, &m_record);
    EXPECT_EQ(m_journal.take(), "a:changed=in scene:changed=in library:in");
}

TEST_F(NodeNotify, ObserverAddedMeanwhile_HearsTheNextPass) {
    RecordingObserver c("c", m_journal);
    m_a.then = [&] { m_node.subscribe(&c); };
    m_node.notifyRemoved();
    EXPECT_EQ(m_journal.take(), "a:removed b:removed");
    m_node.notifyRemoved();
    EXPECT_EQ(m_journal.take(), "a:removed b:removed c:removed");
    m_node.unsubscribe(&c);
}

TEST_F(NodeNotify, ObserverReplacedMeanwhile_IsNotTold) {
    RecordingObserver c("c", m_journal);
    m_a.then = [&] {
        m_node.unsubscribe(&m_b);
        m_node.subscribe(&c);
    };
    m_node.notifyRemoved();
    EXPECT_EQ(m_journal.take(), "a:removed");
    m_node.unsubscribe(&c);
}

TEST_F(NodeNotify, ObserverThatLeavesAndComesBack_IsTold) {
    m_a.then = [this] {
        m_node.unsubscribe(&m_b);
        m_node.subscribe(&m_b);
    };
    m_node.notifyRemoved();
    EXPECT_EQ(m_journal.take(), "a:removed b:removed");
}

TEST_F(NodeNotify, NestedNotification_RunsInTheMiddle) {
    m_a.then = [this] {
        m_a.then = nullptr;
        m_node.notifyRenamed("x");
    };
    m_node.onInputChanged(m_in, &m_record);
    EXPECT_EQ(m_journal.take(),
              "a:changed=in a:renamed=x b:renamed=x b:changed=in scene:changed=in library:in");
}

TEST_F(NodeNotify, ObserverThatEdits_IsHeardByAll) {
    m_a.then = [this] {
        m_a.then = nullptr;
        m_in->setReal(7);
    };
    m_in->setReal(5);
    EXPECT_EQ(m_journal.take(), "a:changed=in a:changed=in b:changed=in scene:changed=in "
                                "library:in b:changed=in scene:changed=in library:in");
}

// The list holds no references, so an observer must unsubscribe before it is destroyed.
TEST_F(NodeNotify, ObserverThatDiesMeanwhile_IsNotTouched) {
    auto dying = std::make_unique<RecordingObserver>("dying", m_journal);
    m_node.subscribe(dying.get());
    m_a.then = [&] {
        m_node.unsubscribe(dying.get());
        dying.reset();
    };
    m_node.notifyRemoved();
    EXPECT_EQ(m_journal.take(), "a:removed b:removed");
}

// An observer may remove the changed input: the others are notified before it is destroyed.
TEST_F(NodeNotify, ObserverThatRemovesTheInput_LeavesItReadableForTheRest) {
    const String text("a text of its own");
    IInput* input = m_node.createInput("s", AttrType::String);
    m_node.unsubscribe(&m_a);
    input->setString(text);
    m_node.subscribe(&m_a);
    start();
    m_b.then = [this] { m_node.removeInput(String("s")); };
    m_node.onInputChanged(input, &m_record);
    EXPECT_EQ(m_journal.take(), "b:changed=s -s a:changed=s scene:changed=s library:s");
    EXPECT_EQ(text.get()->refCount(), 1);
}

TEST_F(NodeNotify, ObserverThatDropsTheLastReference_LeavesTheNodeUntilAllWereTold) {
    const i64 before = impl_nodeInstanceCount();
    auto* node = new Node(m_scene.get(), "thing", "mortal");
    node->subscribe(&m_a);
    node->subscribe(&m_b);
    IInput* input = node->createInput("in", AttrType::Real);
    start();
    m_a.then = [this, node] {
        m_a.then = nullptr;
        node->decRef();
    };
    input->setReal(5);
    EXPECT_EQ(m_journal.take(), "a:changed=in b:changed=in scene:changed=in");
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

TEST_F(NodeNotify, SceneThatDropsTheLastReference_LeavesTheNodeToTheCallback) {
    const i64 before = impl_nodeInstanceCount();
    auto* node = new Node(m_scene.get(), "thing", "mortal");
    probe(*node).nodeChanged() = noteChanged;
    IInput* input = node->createInput("in", AttrType::Real);
    start();
    m_scene->then = [node] { node->decRef(); };
    node->onInputChanged(input, &m_record);
    EXPECT_EQ(m_journal.take(), "scene:changed=in library:in");
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

// Removes the node of the notification.
class RemovingSceneObserver : public SceneObserver {
public:
    explicit RemovingSceneObserver(Scene& scene) : m_scene(scene) {}
    void inputChanged(const IInput* input, const AttrData*) override {
        m_scene.removeNode(input->node());
    }

private:
    Scene& m_scene;
};

TEST_F(NodeNotify, SceneObserverThatRemovesTheNode_EndsIt) {
    const i64 before = impl_nodeInstanceCount();
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    RemovingSceneObserver remover(*scene);
    scene->subscribe(&remover);
    EXPECT_TRUE(scene->createNode("thing", "n")->createInput("in", AttrType::Real)->setReal(5));
    EXPECT_EQ(scene->nodeCount(), 0u);
    EXPECT_EQ(impl_nodeInstanceCount(), before);
    scene->unsubscribe(&remover);
}

// ---- Observers that throw ------------------------------------------------------------------

[[noreturn]] void fail() {
    throw std::runtime_error("no");
}

TEST_F(NodeNotify, ObserverThatThrows_EndsTheNotificationAndUnlocks) {
    m_scene->recordsUndo = true;
    m_a.then = fail;
    EXPECT_THROW(m_node.onInputChanged(m_in, &m_record), std::runtime_error);
    EXPECT_EQ(m_journal.take(), "begin a:changed=in record(|)");
    EXPECT_FALSE(isLocked());
    EXPECT_TRUE(probe(m_node).dirty());
    m_a.then = nullptr;
    m_node.notifyRemoved();
    EXPECT_EQ(m_journal.take(), "begin a:removed b:removed record(|)");
}

TEST_F(NodeNotify, SceneThatThrows_ClosesTheStepAndSparesTheCallback) {
    m_scene->recordsUndo = true;
    m_scene->then = fail;
    EXPECT_THROW(m_node.onInputChanged(m_in, &m_record), std::runtime_error);
    EXPECT_EQ(m_journal.take(), "begin a:changed=in b:changed=in scene:changed=in record(|)");
    for (int i = 0; i < 4; ++i)
        EXPECT_THROW(operations()[static_cast<std::size_t>(i)].call(m_node), std::runtime_error);
    EXPECT_EQ(m_journal.take(), "begin +in record(|) begin +>out record(|) begin -in record(|) "
                                "begin ->out record(|)");
}

TEST_F(NodeNotify, CallbackThatThrows_ClosesTheStep) {
    m_scene->recordsUndo = true;
    thenInCallback = fail;
    EXPECT_THROW(m_node.onInputChanged(m_in, &m_record), std::runtime_error);
    EXPECT_EQ(m_journal.take(),
              "begin a:changed=in b:changed=in scene:changed=in library:in record(|)");
}

TEST_F(NodeNotify, ObserverThatThrows_KeepsTheValueThatWasSet) {
    m_a.then = fail;
    EXPECT_THROW(m_in->setReal(5), std::runtime_error);
    double value = 0;
    m_in->readReal(value, false, nullptr);
    EXPECT_EQ(value, 5);
}

TEST_F(NodeNotify, AttributesTellTheirNode) {
    Node other(nullptr, "thing", "other");
    m_in->setReal(5);
    EXPECT_EQ(m_journal.take(), "a:changed=in b:changed=in scene:changed=in library:in");
    m_in->connect(other.createOutput("o", AttrType::Real));
    EXPECT_EQ(m_journal.take(), "a:connected=in b:connected=in scene:connected=in");
    m_in->disconnect();
    EXPECT_EQ(m_journal.take(), "a:connected=in b:connected=in scene:connected=in");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
