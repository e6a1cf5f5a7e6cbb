// Objects are alive during their notifications, and no code uses them after their end: one case for
// each fault that was found.
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/log_capture.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace qv::kelvo_sdk {
namespace {

using interfaces::IInput;
using interfaces::INode;
using interfaces::IOutput;
using tests::LogCapture;
using tests::textOf;

// Calls a function of the test at any notification of a scene, once.
struct Watcher : SceneObserver {
    explicit Watcher(Scene observed) : scene(std::move(observed)) { scene.subscribe(this); }
    ~Watcher() override { stop(); }
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    void stop() {
        if (scene) scene.unsubscribe(this);
        scene = Scene();
    }
    void act() {
        if (const auto now = std::exchange(then, nullptr)) now();
    }
    void nodeAdded(INode*) override { act(); }
    void nodeRemoved(INode*) override { act(); }
    void inputAdded(const IInput*) override { act(); }
    void inputRemoved(const IInput*) override { act(); }
    void outputRemoved(const IOutput*) override { act(); }
    void inputChanged(const IInput*, const impl::AttrData*) override { act(); }
    void inputConnected(const IInput*, const IOutput*, const IOutput*) override { act(); }

    Scene scene;
    std::function<void()> then;
};

class Lives : public testing::Test {
protected:
    static Input real(const Node& node, const char* name) {
        return node.createInput(name, AttrType::Real);
    }
    void expectSound() const { EXPECT_TRUE(m_scene.verify().empty()); }

    const LogCapture m_log;
    i64 m_alive = impl_nodeInstanceCount();
    Scene m_scene = Scene::create();
};

// ---- References out of the scene ---------------------------------------------------------------

TEST_F(Lives, LinkToARemovedNode_IsRefusedNamingBoth) {
    const Node a = m_scene.createNode("thing", "a");
    const Input link = m_scene.createNode("thing", "b").createInput("l", AttrType::Node);
    m_scene.removeNode(a);
    EXPECT_FALSE(link.set(a));
    EXPECT_EQ(m_log.text(), "warning: Cannot link input 'b.l' to node 'a': that node was removed "
                            "from its scene.\n");
}

TEST_F(Lives, LinkOfARemovedNode_IntoTheScene_IsRefused) {
    const Node a = m_scene.createNode("thing", "a"), b = m_scene.createNode("thing", "b");
    const Input link = a.createInput("l", AttrType::Node);
    m_scene.removeNode(a);
    EXPECT_FALSE(link.set(b));
}

TEST_F(Lives, ConnectionToTheOutputOfARemovedNode_IsRefused) {
    const Node a = m_scene.createNode("thing", "a");
    const Output output = a.createOutput("o", AttrType::Real);
    const Input input = real(m_scene.createNode("thing", "b"), "r");
    m_scene.removeNode(a);
    EXPECT_FALSE(input.connect(output));
    EXPECT_EQ(m_log.text(), "warning: Cannot connect input 'b.r' to output 'a.o': that node was "
                            "removed from its scene.\n");
}

TEST_F(Lives, ConnectionToARemovedOutput_IsRefused) {
    const Node a = m_scene.createNode("thing", "a");
    const Output output = a.createOutput("o", AttrType::Real);
    a->removeOutput(String("o"));
    EXPECT_FALSE(real(m_scene.createNode("thing", "b"), "r").connect(output));
}

TEST_F(Lives, ReferencesBetweenScenes_AreRefused) {
    const Scene other = Scene::create();
    const Node far = other.createNode("thing", "far"), b = m_scene.createNode("thing", "b");
    EXPECT_FALSE(b.createInput("l", AttrType::Node).set(far));
    EXPECT_EQ(m_log.text(), "warning: Cannot link input 'b.l' to node 'far': the two nodes belong "
                            "to different scenes.\n");
    EXPECT_FALSE(real(b, "r").connect(far.createOutput("o", AttrType::Real)));
}

TEST_F(Lives, LinkToANodeThatNeverCameIn_EndsWithIt) {
    const Input link = m_scene.createNode("thing", "b").createInput("l", AttrType::Node);
    auto free = RefersTo<impl::Node>::adopt(new impl::Node(nullptr, "thing", "free"));
    EXPECT_TRUE(link->setNode(free.get()));
    expectSound();
    EXPECT_EQ(textOf(m_scene), "kelvo scene 1\n\nnode thing \"b\" {\n    Node l = null\n}\n");
    free.reset();
    EXPECT_FALSE(link.asNode(false, nullptr));
    expectSound();
}

TEST_F(Lives, EndOfANodeThatNeverCameIn_IsReportedWhileItLives) {
    const Input input = real(m_scene.createNode("thing", "b"), "r");
    auto free = RefersTo<impl::Node>::adopt(new impl::Node(nullptr, "thing", "free"));
    input->connect(free->createOutput("o", AttrType::Real));
    struct Reader : SceneObserver {
        void inputConnected(const IInput*, const IOutput* before, const IOutput*) override {
            path = before->path().buf();
            held = Output(const_cast<IOutput*>(before));
        }
        std::string path;
        Output held;
    } reader;
    m_scene.setUndoEnabled(true);
    m_scene.subscribe(&reader);
    free.reset();
    m_scene.unsubscribe(&reader);
    EXPECT_EQ(reader.path, "free.o");
    EXPECT_EQ(input->source(), nullptr);
    EXPECT_EQ(reader.held->node(), nullptr);
}

TEST_F(Lives, ConnectionOfARemovedInput_EndsWithItsOutput) {
    m_scene.setUndoEnabled(true);
    const Node a = m_scene.createNode("thing", "a"), b = m_scene.createNode("thing", "b");
    const Input removed = real(a, "r");
    a.removeInput("r");
    EXPECT_TRUE(removed.connect(b.createOutput("p", AttrType::Real)));
    while (m_scene.undo())
        expectSound();
    while (m_scene.redo())
        expectSound();
}

// ---- Inside destructors ------------------------------------------------------------------------

int s_frees = 0;
std::function<void(INode*)> s_atEnd;

bool freeIt(INode* node, void**) {
    ++s_frees;
    if (s_atEnd) s_atEnd(node);
    return true;
}

class DyingNode : public testing::Test {
protected:
    DyingNode() {
        m_library->setCallbacks("thing", {.free = &freeIt});
        EXPECT_TRUE(m_library->readDefinitions("type thing {\n    Real r\n    Node l\n}\n", "t"));
        s_frees = 0;
    }
    ~DyingNode() override { s_atEnd = nullptr; }
    // Creates a node and destroys it; returns how often its free callback was called.
    static int endOf(const impl::LibInfo& library, bool recordsUndo) {
        const Scene scene = Scene::create();
        scene.addLibrary(LibInfo(const_cast<impl::LibInfo*>(&library)));
        scene.setUndoEnabled(recordsUndo);
        scene.removeNode(scene.createNode("thing", "n"));
        scene.setUndoEnabled(false);
        return s_frees;
    }

    RefersTo<impl::LibInfo> m_library = RefersTo<impl::LibInfo>::adopt(new impl::LibInfo);
};

TEST_F(DyingNode, Handle_DoesNotEndItAgain) {
    std::string name;
    s_atEnd = [&](INode* node) { name = Node(node).name().buf(); };
    EXPECT_EQ(endOf(*m_library, false), 1);
    EXPECT_EQ(name, "n");
}

TEST_F(DyingNode, EditsOfItsInputs_AreNotRecorded) {
    s_atEnd = [](INode* node) {
        node->input(String("r"))->setReal(5);
        node->createInput("new", AttrType::Real);
        node->removeInput(u64(0));
        node->setPath("a/b.c");
    };
    EXPECT_EQ(endOf(*m_library, true), 1);
}

TEST_F(DyingNode, LinkToItself_EndsWithIt) {
    s_atEnd = [](INode* node) { node->input(String("l"))->setNode(node); };
    EXPECT_EQ(endOf(*m_library, false), 1);
}

TEST_F(DyingNode, LinkFromAnotherNode_IsForgotten) {
    const Scene scene = Scene::create();
    const Input link = scene.createNode("other", "o").createInput("l", AttrType::Node);
    s_atEnd = [&](INode* node) { link->setNode(node); };
    EXPECT_EQ(endOf(*m_library, false), 1);
    EXPECT_FALSE(link.asNode(false, nullptr));
    EXPECT_TRUE(scene.verify().empty());
}

// ---- Observers that remove objects -------------------------------------------------------------

TEST_F(Lives, InputTakenAwayAsItComes_IsNotGiven) {
    Watcher watcher(m_scene);
    const Node node = m_scene.createNode("thing", "a");
    node.createArray("list", AttrType::Real);
    watcher.then = [&] { node->clearInputs(); };
    EXPECT_FALSE(node.createInput("x", AttrType::Real));
    node.createArray("list", AttrType::Real);
    watcher.then = [&] { node->clearInputs(); };
    EXPECT_FALSE(node.inputAt("list[3]"));
    watcher.then = [&] { node->clearInputs(); };
    EXPECT_EQ(node->meta(), nullptr);
    expectSound();
}

TEST_F(Lives, ArrayThatShrinksAsItGrows_EndsTheWalk) {
    const Node node = m_scene.createNode("thing", "a");
    const Input list = node.createArray("list", AttrType::Real);
    list.append();
    struct Shrinker : SceneObserver {
        explicit Shrinker(Input of) : list(std::move(of)) {}
        void inputAdded(const IInput*) override { list->removeInput(u64(0)); }
        Input list;
    } shrinker(list);
    m_scene.subscribe(&shrinker);
    const Input last = node.inputAt("list[5]");
    m_scene.unsubscribe(&shrinker);
    EXPECT_EQ(list.inputCount(), 1u);
    EXPECT_EQ(last, list.input(0));
}

TEST_F(Lives, NodeTakenAwayAsItComes_IsNotGiven) {
    const Node a = m_scene.createNode("thing", "a");
    Watcher watcher(m_scene);
    const auto takesAway = [&] { m_scene.removeNode(m_scene.node(m_scene.nodeCount() - 1)); };
    watcher.then = takesAway;
    EXPECT_FALSE(m_scene.createNode("thing", "b"));
    watcher.then = takesAway;
    EXPECT_FALSE(a.clone());
    watcher.then = takesAway;
    EXPECT_FALSE(a.convertTo("other"));
}

TEST_F(Lives, NodeWhoseEditIsCancelledAsItComes_IsNotGiven) {
    Scene::UndoScope scope(m_scene, "", "");
    Watcher watcher(m_scene);
    watcher.then = [&] { m_scene->cancelEdit(1); };
    EXPECT_FALSE(m_scene.createNode("thing", "a"));
    EXPECT_EQ(m_scene.nodeCount(), 0u);
}

TEST_F(Lives, SceneReleasedWhileItMakesANode_GivesNone) {
    Scene scene = Scene::create();
    Watcher watcher(scene);
    watcher.then = [&] {
        watcher.stop();
        scene = Scene();
    };
    EXPECT_FALSE(scene.createNode("thing", "a"));
}

TEST_F(Lives, ParentThatTakesNoElement_IsRefused) {
    const Node parent = m_scene.createNode("xform", "p"), child = m_scene.createNode("thing", "c");
    const Input children = parent.createArray("children", AttrType::Node);
    Watcher watcher(m_scene);
    watcher.then = [&] { children->clearInputs(); };
    EXPECT_FALSE(child.parentTo(parent));
}

TEST_F(Lives, DisplayName_OfANodeThatItsReadEnds) {
    static std::function<void()> atEval;
    const auto library = RefersTo<impl::LibInfo>::adopt(new impl::LibInfo);
    library->setCallbacks("maker", {.eval = [](EvalCtx*, void*) {
                              atEval();
                              return false;
                          }});
    library->readDefinitions("type maker {\n    output String o\n}\n", "t");
    m_scene.addLibrary(LibInfo(library.get()));
    INode* node = m_scene.createNode("thing", "n").get();
    Input(node->createInput("name", AttrType::String))
        .connect(m_scene.createNode("maker", "m").output("o"));
    atEval = [&] { m_scene->clear(); };
    EXPECT_STREQ(node->displayName().buf(), "n");
    atEval = nullptr;
}

TEST_F(Lives, ChildrenWalkedWhileAnObserverRemovesThem_AreLeftOut) {
    m_scene.read("node xform \"top\" {\n    Array<Node> children = [x, y]\n}\n"
                 "node xform \"x\" {\n}\nnode thing \"y\" {\n}\n",
                 "t");
    const Node top = m_scene["top"];
    Watcher watcher(m_scene);
    watcher.then = [&] { m_scene.removeNode(m_scene["y"]); };
    const auto children = top.children(-1);
    ASSERT_EQ(children.size(), 1u);
    EXPECT_STREQ(children[0].name().buf(), "x");
}

TEST_F(Lives, ResetOfAnObjectThatAnObserverEmpties) {
    const Node node = m_scene.createNode("thing", "a");
    const Input object = node.createInput("o", AttrType::Object);
    for (const char* name : {"x", "y", "z"})
        object->createInput(name, AttrType::Real)->setReal(1);
    Watcher watcher(m_scene);
    watcher.then = [&] { object->clearInputs(); };
    object->reset();
    EXPECT_EQ(object.inputCount(), 0u);
}

// ---- Notified when the change is complete ------------------------------------------------------

TEST_F(Lives, Removal_IsCompleteBeforeAnyoneIsNotified) {
    m_scene.read("node thing \"a\" {\n    output Real o\n}\n"
                 "node thing \"t\" {\n    Node x = a\n    Node y = a\n    Real r <- a.o\n}\n",
                 "t");
    Watcher watcher(m_scene);
    std::string seen;
    watcher.then = [&] { seen = textOf(m_scene); };
    m_scene.removeNode(m_scene["a"]);
    EXPECT_EQ(seen, textOf(m_scene));
}

TEST_F(Lives, Conversion_InsideAConversion_LeavesTheLast) {
    m_scene.setUndoEnabled(true);
    m_scene.read("node first \"a\" {\n}\nnode thing \"t\" {\n    Node x = a\n    Node y = a\n}\n",
                 "t");
    const std::string before = textOf(m_scene);
    Watcher watcher(m_scene);
    watcher.then = [&] { m_scene["a"].convertTo("third"); };
    EXPECT_FALSE(m_scene["a"].convertTo("second"));
    EXPECT_STREQ(m_scene["a"].type().buf(), "third");
    EXPECT_EQ(m_scene["t"]["y"].asNode(false, nullptr), m_scene["a"]);
    watcher.stop();
    EXPECT_TRUE(m_scene.undo());
    EXPECT_EQ(textOf(m_scene), before);
}

TEST_F(Lives, ObserverThatThrows_LeavesTheRemovalWhole) {
    m_scene.read("node thing \"a\" {\n    output Real o\n}\n"
                 "node thing \"t\" {\n    Node x = a\n    Real r <- a.o\n}\n",
                 "t");
    Watcher watcher(m_scene);
    watcher.then = [] { throw std::runtime_error("no"); };
    EXPECT_THROW(m_scene.removeNode(m_scene["a"]), std::runtime_error);
    EXPECT_EQ(m_scene.nodeCount(), 1u);
    EXPECT_EQ(m_scene["t"]["r"]->source(), nullptr);
    expectSound();
}

TEST_F(Lives, ObserverThatThrows_LeavesTheNodeOutOfTheScene) {
    const Node node = m_scene.createNode("thing", "a");
    Watcher watcher(m_scene);
    watcher.then = [] { throw std::runtime_error("no"); };
    EXPECT_THROW(m_scene.removeNode(node), std::runtime_error);
    EXPECT_EQ(node->scene(), nullptr);
}

TEST_F(Lives, ObserverThatThrows_LeavesNoTieToARemovedInput) {
    const Node node = m_scene.createNode("thing", "a");
    const Output output = m_scene.createNode("thing", "b").createOutput("o", AttrType::Real);
    real(node, "r").connect(output);
    Watcher watcher(m_scene);
    watcher.then = [] { throw std::runtime_error("no"); };
    EXPECT_THROW(node.removeInput("r"), std::runtime_error);
    EXPECT_EQ(output->targetCount(), 0u);
    EXPECT_EQ(node.inputCount(), 0u);
}

TEST_F(Lives, LinkBefore_LivesUntilAllAreNotified) {
    m_scene.read("node thing \"old\" {\n}\nnode thing \"t\" {\n    Node x = old\n}\n", "t");
    struct Reader : BatchObserver {
        void sceneChanged(const SceneChanges&) override { ++calls; }
        int calls = 0;
    } reader;
    Watcher watcher(m_scene);
    m_scene.subscribe(&reader);
    watcher.then = [&] { m_scene.removeNode(m_scene["old"]); };
    m_scene["t"]["x"].set(Node());
    m_scene.unsubscribe(&reader);
    EXPECT_GT(reader.calls, 0);
}

TEST_F(Lives, BatchObserverThatEditsInEveryRound_IsStopped) {
    struct Editor : BatchObserver {
        void sceneChanged(const SceneChanges&) override {
            if (++calls < 1000) input.set(static_cast<double>(calls));
        }
        Input input;
        int calls = 0;
    } editor;
    editor.input = real(m_scene.createNode("thing", "a"), "r");
    m_scene.subscribe(&editor);
    editor.input.set(-1.0);
    m_scene.unsubscribe(&editor);
    EXPECT_EQ(editor.calls, 32);
    EXPECT_NE(m_log.text().find("come to no end"), std::string::npos);
}

// ---- Made by libraries -------------------------------------------------------------------------

struct Heard : SceneObserver {
    void nodeAdded(INode* node) override { text += std::string("+") + node->name().buf() + " "; }
    void inputAdded(const IInput* input) override { note("i", input->path()); }
    void inputChanged(const IInput* input, const impl::AttrData*) override {
        note("=", input->path());
    }
    void note(const char* what, const String& path) {
        text += std::string(what) + path.buf() + " ";
    }
    std::string text;
};

TEST_F(Lives, NodeWhoseLibraryEditsIt_IsOneStepAndAddedFirst) {
    const auto library = RefersTo<impl::LibInfo>::adopt(new impl::LibInfo);
    library->setCallbacks("made", {.init = [](INode* node, void**) {
                              node->createInput("x", AttrType::Real)->setReal(4);
                              return true;
                          }});
    library->readDefinitions("type made {\n    Real r\n}\n", "t");
    m_scene.addLibrary(LibInfo(library.get()));
    m_scene.setUndoEnabled(true);
    Heard heard;
    m_scene.subscribe(&heard);
    m_scene.createNode("made", "n");
    m_scene.read("node made \"k\" {\n    Node l = n\n}\n", "t");
    m_scene.unsubscribe(&heard);
    EXPECT_EQ(heard.text, "+n +k =k.l ");
    ASSERT_EQ(m_scene.undoCount(), 2u);
    EXPECT_STREQ(m_scene.undoStep(1).doText.buf(), "Add node 'n'");
}

TEST_F(Lives, CopyOfANodeWithAStashedValue_IsOneRecord) {
    m_scene.read("node thing \"a\" {\n    Real r = 1 @stashed 2\n}\n", "t");
    m_scene.setUndoEnabled(true);
    m_scene["a"].clone();
    ASSERT_EQ(m_scene.undoCount(), 1u);
    EXPECT_STREQ(m_scene.undoStep(0).doText.buf(), "Add node 'a1'");
}

TEST_F(Lives, CallbackBoundByAnObserver_IsCalled) {
    static int calls = 0;
    const auto library = RefersTo<impl::LibInfo>::adopt(new impl::LibInfo);
    library->setCallbacks("thing", {.changed = [](IInput*) { ++calls; }});
    const Node node = m_scene.createNode("thing", "a");
    const Input input = real(node, "r");
    Watcher watcher(m_scene);
    calls = 0;
    auto* own = static_cast<impl::Node*>(node.get());
    watcher.then = [&] { own->initLibInfo(library.get()); };
    input.set(1.0);
    EXPECT_EQ(calls, 1);
    watcher.then = [&] { own->initLibInfo(nullptr); };
    input.set(2.0);
    EXPECT_EQ(calls, 1);
}

// ---- Order --------------------------------------------------------------------------------------

TEST_F(Lives, TargetsOfAnOutput_ComeBackInOrder) {
    m_scene.read("node thing \"p\" {\n    Real a\n    Array<Real> e = [1, 2]\n}\n"
                 "node thing \"o\" {\n    output Real o\n}\n",
                 "t");
    const Output output = m_scene["o"].output("o");
    const Node node = m_scene["p"];
    for (const Input& input : {node["e"].input(1), node["a"], node["e"].input(0)})
        input.connect(output);
    m_scene.setUndoEnabled(true);
    const auto targets = [&] {
        std::string all;
        for (u64 i = 0; i < output->targetCount(); ++i)
            all += std::string(output->target(i)->path().buf()) + " ";
        return all;
    };
    node.removeInput("e");
    m_scene.undo();
    EXPECT_EQ(targets(), "p.e[1] p.a p.e[0] ");
}

} // namespace
} // namespace qv::kelvo_sdk
