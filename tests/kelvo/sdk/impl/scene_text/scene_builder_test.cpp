#include "kelvo/sdk/impl/scene_text/scene_builder.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "tests/support/journal.h"
#include "tests/support/log_capture.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::errorsOf;
using tests::sceneOf;
using tests::textOf;

const char* const kRoom = "node xform \"room\" {\n"
                          "    Array<Node> children = [desk]\n"
                          "    Real size = 3\n"
                          "}\n"
                          "node mesh \"desk\" {\n"
                          "    Rgba color = (1 0 0 1) <- wood.color\n"
                          "}\n"
                          "node wood \"wood\" {\n"
                          "    output Rgba color\n"
                          "}\n";

// Records the notifications of a scene, and the state of the scene during each.
class SceneJournal : public SceneObserver {
public:
    explicit SceneJournal(kelvo_sdk::Scene scene) : m_scene(std::move(scene)) {
        m_scene.subscribe(this);
    }
    ~SceneJournal() override { m_scene.unsubscribe(this); }
    SceneJournal(const SceneJournal&) = delete;
    SceneJournal& operator=(const SceneJournal&) = delete;

    void nodeAdded(INode* node) override {
        note("+", node->name());
        seenInputs += node->inputCount();
    }
    void nodeRemoved(INode* node) override { note("-", node->name()); }
    void inputAdded(const IInput* input) override { note("+", input->path()); }
    void inputChanged(const IInput* input, const AttrData*) override { note("=", input->path()); }
    void inputConnected(const IInput* input, const IOutput*, const IOutput* after) override {
        note(after ? "<-" : "</-", input->path());
    }

    std::string take() { return m_journal.take(); }

    u64 seenInputs = 0;
    std::function<void(const std::string&)> then;

private:
    void note(const char* what, const String& name) {
        const std::string entry = what + std::string(name.view());
        m_journal.add(entry);
        if (then) then(entry);
    }

    kelvo_sdk::Scene m_scene;
    tests::Journal m_journal;
};

TEST(SceneBuilder, Observers_AreNotifiedOfWholeNodes_ThenOfLinks_ThenOfConnections) {
    const auto scene = kelvo_sdk::Scene::create();
    SceneJournal journal(scene);
    EXPECT_EQ(errorsOf(kRoom, scene), "");
    EXPECT_EQ(journal.take(), "+room +desk +wood =room.children[0] <-desk.color");
    EXPECT_EQ(journal.seenInputs, 3u);
}

TEST(SceneBuilder, AnErroneousText_TellsObserversNothing) {
    const auto scene = kelvo_sdk::Scene::create();
    SceneJournal journal(scene);
    const tests::LogCapture log;
    const i64 alive = impl_nodeInstanceCount();
    EXPECT_NE(errorsOf(std::string(kRoom) + "node t \"x\" {\n    Reel y\n}\n", scene), "");
    EXPECT_EQ(journal.take(), "");
    EXPECT_EQ(scene.nodeCount(), 0u);
    EXPECT_EQ(impl_nodeInstanceCount(), alive);
    EXPECT_EQ(log.text(), "");
}

TEST(SceneBuilder, Nodes_BelongToTheScene_WithOneReference) {
    const auto scene = sceneOf(kRoom);
    kelvo_sdk::Node desk = scene["desk"];
    EXPECT_EQ(desk->scene(), scene.get());
    const i64 alive = impl_nodeInstanceCount();
    scene.removeNode(desk);
    desk.reset();
    EXPECT_EQ(impl_nodeInstanceCount(), alive - 1);
}

TEST(SceneBuilder, RemovingALinkedNode_ClearsLinksAndConnectionsFromTheText) {
    const auto scene = sceneOf(kRoom);
    scene.removeNode(scene["desk"]);
    EXPECT_FALSE(scene["room"]["children"].input(0).get<interfaces::INode*>());
    EXPECT_EQ(scene["wood"].output("color").targetCount(), 0u);
}

TEST(SceneBuilder, TakenNames_GetNumbers_AndTheTextsReferencesFollow) {
    const auto scene = sceneOf(kRoom);
    EXPECT_EQ(errorsOf(kRoom, scene), "");
    EXPECT_EQ(scene.nodeCount(), 6u);
    EXPECT_EQ(textOf(scene), "kelvo scene 1\n\n" + std::string(kRoom) +
                                 "node xform \"room1\" {\n"
                                 "    Array<Node> children = [desk1]\n"
                                 "    Real size = 3\n"
                                 "}\n"
                                 "node mesh \"desk1\" {\n"
                                 "    Rgba color = (1 0 0 1) <- wood1.color\n"
                                 "}\n"
                                 "node wood \"wood1\" {\n"
                                 "    output Rgba color\n"
                                 "}\n");
}

TEST(SceneBuilder, ANumberedNameThatTheTextHasToo_IsNumberedOn) {
    const auto scene = sceneOf("node t \"a\" {\n}\n");
    EXPECT_EQ(
        errorsOf("node t \"a\" {\n    Node x = a1\n}\nnode t \"a1\" {\n    Node x = A\n}\n", scene),
        "");
    EXPECT_EQ(textOf(scene), "kelvo scene 1\n\nnode t \"a\" {\n}\n"
                             "node t \"a1\" {\n    Node x = a2\n}\n"
                             "node t \"a2\" {\n    Node x = a1\n}\n");
}

TEST(SceneBuilder, NamesOfTheScene_MayBeLinkedAndConnectedTo) {
    const auto scene = sceneOf(kRoom);
    EXPECT_EQ(errorsOf("node t \"x\" {\n    Node n = room\n    Rgba c <- WOOD.color\n}\n", scene),
              "");
    EXPECT_EQ(scene["x"]["n"].asNode(false, nullptr), scene["room"].get());
    EXPECT_EQ(scene["wood"].output("color").targetCount(), 2u);
}

TEST(SceneBuilder, ReadOnlyInputs_GetTheirValuesAndLinks) {
    const auto scene =
        sceneOf("node t \"a\" {\n    Real x = 3 @readonly\n    Node n = a @readonly\n"
                "}\n");
    EXPECT_EQ(scene["a"]["x"].get<double>(), 3.0);
    EXPECT_EQ(scene["a"]["n"].asNode(false, nullptr), scene["a"].get());
    EXPECT_TRUE(scene["a"]["n"]->isReadOnly());
}

TEST(SceneBuilder, Buffers_AreNotCopiedAgain) {
    SceneTree tree;
    Buffer buffer(DataType::Float, 4);
    tree.inputs.emplace_back();
    tree.inputs[0].type = AttrType::Buffer;
    tree.inputs[0].name = tree.names.add("values");
    tree.inputs[0].value = Value(buffer);
    tree.nodes.emplace_back();
    tree.nodes[0].name = tree.nodes[0].type = tree.names.add("mesh");
    tree.nodes[0].firstInput = 0;
    Scene scene;
    SceneBuilder(tree, scene, 1).build();
    const auto* input = static_cast<const Input*>(scene.node(0)->input(u64(0)));
    EXPECT_TRUE(input->value().asBuffer().sharesWith(buffer));
}

TEST(SceneBuilder, AnObserverThatThrows_LeavesTheSceneAsItWas) {
    for (const char* when : {"+room", "+wood", "=room.children[0]", "<-desk.color"}) {
        const auto scene = sceneOf("node t \"old\" {\n}\n");
        const std::string before = textOf(scene);
        const i64 alive = impl_nodeInstanceCount();
        SceneJournal journal(scene);
        journal.then = [&](const std::string& entry) {
            if (entry == when) throw std::runtime_error(when);
        };
        EXPECT_THROW(scene.read(kRoom, "text"), std::runtime_error) << when;
        EXPECT_EQ(textOf(scene), before) << when;
        EXPECT_EQ(impl_nodeInstanceCount(), alive) << when;
    }
}

TEST(SceneBuilder, Reading_MakesNodesAndSceneDirty) {
    const auto scene = sceneOf("node t \"old\" {\n}\n");
    static_cast<Scene&>(*scene.get()).setDirty(false);
    EXPECT_EQ(errorsOf("node t \"new\" {\n    Real x\n}\n", scene), "");
    EXPECT_TRUE(scene["new"]->dirty(false));
    EXPECT_TRUE(static_cast<Scene&>(*scene.get()).isDirty());
}

TEST(SceneBuilder, HashAskedForWhenANodeIsAdded_FollowsTheLinksThatComeThen) {
    class Hasher : public SceneObserver {
        void nodeAdded(INode* node) override { (void)node->hash({}); }
    } hasher;
    const char* const text = "node t \"a\" {\n    Node link = b\n}\nnode t \"b\" {\n}\n";
    const auto scene = kelvo_sdk::Scene::create();
    scene.subscribe(&hasher);
    EXPECT_EQ(errorsOf(text, scene), "");
    EXPECT_EQ(scene["a"].hash(), sceneOf(text)["a"].hash());
    scene.unsubscribe(&hasher);
}

TEST(SceneBuilder, Silence_IsThatOfTheHolder_UnlessTheTextSaysOtherwise) {
    const auto scene = sceneOf("node t \"a\" {\n"
                               "    Array<Real> x = [1, 2 @announced] @silent\n"
                               "    Array<Real> y = [1, 2 @silent]\n"
                               "}\n");
    const kelvo_sdk::Node node = scene["a"];
    EXPECT_TRUE(node["x"].input(0)->isSilent());
    EXPECT_FALSE(node["x"].input(1)->isSilent());
    EXPECT_FALSE(node["y"].input(0)->isSilent());
    EXPECT_TRUE(node["y"].input(1)->isSilent());
}

TEST(SceneBuilder, FileComments_OfASecondText_FollowThoseOfTheFirst) {
    const auto scene = sceneOf("# one\nkelvo scene 1 # head\n\n# end\n");
    EXPECT_EQ(errorsOf("# two\nkelvo scene 1 # other\n\nnode t \"a\" {\n}\n# last\n", scene), "");
    EXPECT_EQ(textOf(scene), "# one\n# two\nkelvo scene 1 # head\n\nnode t \"a\" {\n}\n# end\n"
                             "# last\n");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
