#include "kelvo/kelvo.h"

#include "kelvo/sdk/callback_table.h"
#include "tests/support/log_capture.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk {
namespace {

class SceneResult : public testing::Test {
protected:
    // Log lines are held by other tests.
    const tests::LogCapture m_log;
    Scene m_scene = Scene::create();
    Node m_lamp = m_scene.createNode("light", "lamp");
};

TEST_F(SceneResult, Nodes_ThatCannotBeMade_SayWhy) {
    const LibInfo types = LibInfo::create();
    EXPECT_TRUE(types.readDefinitions("kelvo types 1\ntype base @abstract {\n}\n", "t.knd"));
    EXPECT_TRUE(m_scene.addLibrary(types));
    EXPECT_EQ(m_scene.createNode("light", "my lamp").message(),
              "Cannot use 'my lamp' as a node's name: it is no simple identifier.");
    EXPECT_EQ(m_scene.createNode("", "lamp").message(),
              "Cannot use '' as a node's type: it is no simple identifier.");
    EXPECT_EQ(m_scene.createNode("base", "b").message(),
              "Cannot create node 'b': its type 'base' is abstract.");
    EXPECT_EQ(m_lamp.convertTo("base").message(),
              "Cannot convert node 'lamp': type 'base' is abstract.");
    EXPECT_EQ(m_lamp.convertTo("a b").message(),
              "Cannot use 'a b' as a node's type: it is no simple identifier.");
}

TEST_F(SceneResult, NodeThatIsTakenAway_SaysSo) {
    struct Remover : SceneListener {
        void nodeAdded(Node node) override { EXPECT_TRUE(scene.removeNode(node)); }
        Scene scene;
    } remover;
    remover.scene = m_scene;
    EXPECT_TRUE(m_scene.subscribe(&remover));
    EXPECT_EQ(m_scene.createNode("light", "sun").message(), "An observer removed node 'sun'.");
    EXPECT_EQ(m_lamp.clone().message(), "Cannot copy node 'lamp': an observer removed it.");
    EXPECT_TRUE(m_scene.unsubscribe(&remover));
}

TEST_F(SceneResult, ConversionThatIsTakenBack_SaysSo) {
    struct Canceller : SceneListener {
        void nodeConverted(Node, Node) override { scope->cancel(); }
        const Scene::UndoScope* scope = nullptr;
    } canceller;
    EXPECT_TRUE(m_scene.addLibrary(LibInfo::standard()));
    EXPECT_TRUE(m_scene.subscribe(&canceller));
    for (const char* type : {"xform", "unknown"}) {
        const Scene::UndoScope scope(m_scene, "Convert", "");
        canceller.scope = &scope;
        EXPECT_EQ(m_lamp.convertTo(type).message(),
                  "Cannot convert node 'lamp': it or its replacement was removed meanwhile.");
        EXPECT_EQ(m_scene["lamp"], m_lamp);
    }
    EXPECT_TRUE(m_scene.unsubscribe(&canceller));
}

TEST_F(SceneResult, ConversionDuringTheRemoval_SaysThatTheNodeIsInNoScene) {
    struct Converter : SceneListener {
        void nodeRemoved(Node node) override { message = node.convertTo("spot").message(); }
        String message;
    } converter;
    EXPECT_TRUE(m_scene.subscribe(&converter));
    EXPECT_TRUE(m_scene.removeNode(m_lamp));
    EXPECT_EQ(converter.message, "Cannot convert node 'lamp': it is in no scene.");
    EXPECT_TRUE(m_scene.unsubscribe(&converter));
}

TEST_F(SceneResult, ConversionWhoseReplacementIsRemoved_SaysSoAndIsUndoneAsAWhole) {
    struct Remover : SceneListener {
        void nodeConverted(Node, Node now) override { now.scene().removeNode(now); }
    } remover;
    m_scene.createNode("light", "sun").createInput("partner", AttrType::Node).set(m_lamp);
    m_scene.setUndoEnabled(true);
    const std::string text = tests::textOf(m_scene);
    EXPECT_TRUE(m_scene.subscribe(&remover));
    EXPECT_EQ(m_lamp.convertTo("spot").message(),
              "Cannot convert node 'lamp': it or its replacement was removed meanwhile.");
    EXPECT_EQ(m_scene.nodeCount(), 1u);
    EXPECT_TRUE(m_scene.unsubscribe(&remover));
    EXPECT_TRUE(m_scene.undo());
    EXPECT_EQ(tests::textOf(m_scene), text);
    m_scene.setUndoEnabled(false);
    EXPECT_TRUE(m_scene.subscribe(&remover));
    EXPECT_FALSE(m_scene["lamp"].convertTo("spot"));
    EXPECT_EQ(m_scene.nodeCount(), 1u);
    EXPECT_FALSE(m_scene["sun"]["partner"].asNode());
    EXPECT_TRUE(m_scene.verify().empty());
    EXPECT_TRUE(m_scene.unsubscribe(&remover));
}

TEST(SceneResultOfAnObserver, ThatLetsGoOfTheScene_IsThatOfANodeTakenAway) {
    struct Dropper : SceneListener {
        void nodeAdded(Node) override { scene = Scene(); }
        Scene scene = Scene::create();
    } dropper;
    EXPECT_TRUE(dropper.scene.subscribe(&dropper));
    EXPECT_EQ(dropper.scene.createNode("light", "sun").message(),
              "An observer removed node 'sun'.");
    EXPECT_FALSE(dropper.scene);
}

TEST(NodeResultOfAnObserver, ThatLetsGoOfTheNode_IsThatOfAnInputTakenAway) {
    struct Dropper : SceneListener {
        void inputAdded(Input) override { node = Node(), scene = Scene(); }
        Scene scene = Scene::create();
        Node node = scene.createNode("light", "sun");
    } dropper;
    EXPECT_TRUE(dropper.scene.subscribe(&dropper));
    EXPECT_EQ(dropper.node.createInput("x", AttrType::Real).message(),
              "Cannot create input 'x': an observer ended its node.");
    EXPECT_FALSE(dropper.node);
}

TEST_F(SceneResult, ChangesOfNodes_ThatAreRefused_SayWhy) {
    const Node far = Scene::create().createNode("mesh", "moon");
    EXPECT_EQ(m_scene.removeNode(far).message(), "Node 'moon' is not of this scene.");
    EXPECT_EQ(m_scene.removeNode(Node()).message(), "There is no node: the handle is empty.");
    EXPECT_EQ(m_scene.renameNode(m_lamp, "9").message(),
              "Cannot use '9' as a node's name: it is no simple identifier.");
    EXPECT_EQ(m_scene.moveNode(m_lamp, 1).message(),
              "Cannot move node 'lamp' to place 1: the scene has 1 nodes.");
    EXPECT_EQ(far.rename("sun").message(), "Cannot rename node 'moon': it is in no scene.");
    EXPECT_EQ(m_lamp.rename("9").message(),
              "Cannot use '9' as a node's name: it is no simple identifier.");
    EXPECT_EQ(far.clone().message(), "Cannot copy node 'moon': it is in no scene.");
    EXPECT_EQ(far.convertTo("sun").message(), "Cannot convert node 'moon': it is in no scene.");
}

TEST_F(SceneResult, Attributes_ThatAreRefused_SayWhy) {
    EXPECT_EQ(m_lamp.createInput("my x", AttrType::Real).message(),
              "Cannot create input 'my x' on node 'lamp': the name is no simple identifier.");
    EXPECT_EQ(m_lamp.createOutput("o", AttrType::Node).message(),
              "Cannot create output 'o' on node 'lamp': no output is of kind Node.");
    EXPECT_EQ(m_lamp.createInput("x", Input()).message(),
              "There is no input to follow: the handle is empty.");
    EXPECT_TRUE(m_lamp.createInput("radius", AttrType::Real));
    EXPECT_TRUE(m_lamp.createOutput("power", AttrType::Real));
    EXPECT_EQ(m_lamp.removeInput(1).message(), "Node 'lamp' has no input 1: it has 1.");
    EXPECT_EQ(m_lamp.removeOutput("powr").message(),
              "Node 'lamp' has no output 'powr': did you mean 'power'?");
    EXPECT_TRUE(m_lamp.removeOutput("power"));
    EXPECT_TRUE(m_lamp.createInput("color", AttrType::Rgba));
    EXPECT_EQ(m_lamp.removeInput("radios").message(),
              "Node 'lamp' has no input 'radios': did you mean 'radius'?");
    EXPECT_EQ(m_lamp.removeInput("colour").message(),
              "Node 'lamp' has no input 'colour': did you mean 'color'?");
}

TEST_F(SceneResult, Hierarchy_ThatIsRefused_SaysWhy) {
    const Node room = m_scene.createNode("xform", "room");
    EXPECT_EQ(m_lamp.parentTo(room).message(), "Node 'room' has no input 'children'.");
    EXPECT_TRUE(room.createArray("children", AttrType::Real));
    EXPECT_EQ(m_lamp.parentTo(room).message(),
              "'room.children' takes no children: expected Array<Node>, not Array<Real>.");
    EXPECT_TRUE(room.removeInput("children"));
    EXPECT_TRUE(room.createArray("children", AttrType::Node));
    EXPECT_TRUE(m_lamp.parentTo(room));
    EXPECT_EQ(m_lamp.parentTo(room).message(), "Node 'lamp' is a child of node 'room' already.");
    EXPECT_TRUE(m_lamp.unparentFrom(room));
    EXPECT_EQ(m_lamp.unparentFrom(room).message(), "Node 'lamp' is no child of node 'room'.");
    EXPECT_TRUE(m_scene.read("node light \"bulb\" {\n}\nnode xform \"hall\" {\n"
                             "    Array<Node> children = [bulb] @readonly\n}\n",
                             "t.kns"));
    EXPECT_EQ(m_scene["bulb"].unparentFrom(m_scene["hall"]).message(),
              "Cannot change input 'hall.children': it is read-only.");
    const Scene other = Scene::create();
    const Node far = other.createNode("mesh", "moon");
    EXPECT_EQ(
        far.parentTo(room).message(),
        "Cannot parent node 'moon' to node 'room': the two nodes belong to different scenes.");
    EXPECT_EQ(far.parentTo(Node()).message(), "There is no parent: the handle is empty.");
    EXPECT_EQ(far.unparentFrom(Node()).message(), "There is no parent: the handle is empty.");
}

TEST_F(SceneResult, ChildThatIsTakenAway_SaysSo) {
    struct Remover : SceneListener {
        void inputAdded(Input) override { EXPECT_TRUE(children.clearInputs()); }
        Input children;
    } remover;
    const Node room = m_scene.createNode("xform", "room");
    remover.children = room.createArray("children", AttrType::Node);
    EXPECT_TRUE(m_scene.subscribe(&remover));
    EXPECT_EQ(m_lamp.parentTo(room).message(),
              "An observer took node 'lamp' out of the children of node 'room'.");
    EXPECT_TRUE(m_scene.unsubscribe(&remover));
}

TEST_F(SceneResult, Path_ThatIsRefused_SaysWhy) {
    EXPECT_EQ(m_lamp.setPath("/tmp/a.png").message(),
              "Node 'lamp' stands for no file: expected String inputs \"dir\", \"file\" and "
              "\"ext\".");
    EXPECT_TRUE(m_scene.read("kelvo scene 1\nnode image \"i\" {\n    String dir = \"\"\n"
                             "    String file = \"\" @readonly\n    String ext = \"\"\n}\n",
                             "i.kns"));
    EXPECT_EQ(m_scene["i"].setPath("/tmp/a.png").message(),
              "Cannot set input 'i.file': it is read-only.");
}

TEST_F(SceneResult, History_ThatCannotTurn_SaysWhy) {
    EXPECT_EQ(m_scene.undo().message(), "There is no step to undo.");
    EXPECT_EQ(m_scene.redo().message(), "There is no step to redo.");
    EXPECT_EQ(m_scene.returnTo("start").message(), "There is no checkpoint 'start' within reach.");
    EXPECT_TRUE(m_scene.setCheckpoint("start"));
    const Scene::UndoScope edit(m_scene, "Edit", "Undo edit");
    EXPECT_EQ(m_scene.undo().message(), "Cannot undo while an edit is open.");
    EXPECT_EQ(m_scene.setUndoEnabled(true).message(),
              "Cannot switch undo on or off while an edit is open.");
    EXPECT_EQ(m_scene.returnTo("start").message(),
              "Cannot return to a checkpoint while an edit is open.");
    EXPECT_TRUE(edit.cancel());
    EXPECT_EQ(edit.cancel().message(),
              "There is no edit to cancel: it was cancelled, or has no scene.");
}

TEST_F(SceneResult, Libraries_ThatAreRefused_SayWhy) {
    EXPECT_TRUE(m_scene.addLibrary(LibInfo::standard()));
    EXPECT_EQ(m_scene.addLibrary(LibInfo::standard()).message(),
              "The scene has that library already.");
    EXPECT_EQ(m_scene.addLibrary(LibInfo()).message(), "There is no library: the handle is empty.");
    const auto table = RefersTo<CallbackTable>::adopt(new CallbackTable);
    EXPECT_EQ(m_scene.addLibrary(LibInfo(table.get())).message(),
              "The library holds no definitions: expected one that `LibInfo::create` made.");
    EXPECT_EQ(LibInfo(table.get()).setCallbacks("x", {}).message(),
              "The library takes no definitions: expected one that `LibInfo::create` made.");
    EXPECT_EQ(LibInfo().readDefinitions("", "t.knd").message(),
              "There is no library: the handle is empty.");
}

TEST_F(SceneResult, Texts_FailWithTheirFirstError) {
    Diagnostics found;
    found.push_back({"earlier.kns", 1, 1, "", "It is from before."});
    const Result isRead =
        m_scene.read("kelvo scene 1\nnode light \"a\" {\n    Reel x = 1\n}\n", "a.kns", &found);
    EXPECT_EQ(isRead.message(), "a.kns:3:5: node 'a': Unknown kind 'Reel': did you mean 'Real'?");
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[1].text(), isRead.message());
    const Result areTypes =
        LibInfo::create().readDefinitions("kelvo types 1\ntype {\n}\n", "t.knd");
    EXPECT_TRUE(areTypes.message().startsWith("t.knd:2:6: ", false)) << areTypes.message().buf();
}

TEST_F(SceneResult, ReportOfAText_HoldsTheReason) {
    const ReadReport broken = m_scene.read("kelvo scene 1\nnode\n", "a.kns", ReadOptions());
    EXPECT_FALSE(broken.isRead);
    EXPECT_TRUE(broken.isRead.message().startsWith("a.kns:", false));
    EXPECT_FALSE(ReadReport().isRead);
    EXPECT_EQ(Scene().read("", "a.kns", ReadOptions()).isRead.message(),
              "There is no scene: the handle is empty.");
}

TEST_F(SceneResult, Files_FailWithTheirReason) {
    EXPECT_EQ(loadScene(Scene(), "a.kns").message(),
              "a.kns: The file cannot be read: there is no scene to read it into.");
    EXPECT_FALSE(loadScene(m_scene, "/no/such/folder/a.kns").message().isEmpty());
    EXPECT_FALSE(saveScene(m_scene, "/no/such/folder/a.kns").message().isEmpty());
}

TEST_F(SceneResult, PatchesAndMerges_ThatFail_SayWhy) {
    SceneDiff diff;
    diff.add({.action = SceneChange::Action::Remove, .path = "desk", .before = "x"});
    EXPECT_FALSE(diff.applyTo(m_scene).message().isEmpty());
    EXPECT_EQ(diff.applyTo(Scene()).message(), "There is no scene: the handle is empty.");
    std::vector<MergeConflict> conflicts;
    EXPECT_EQ(mergeScenes(m_scene, m_scene, m_scene, {}, Scene(), conflicts).message(),
              "There is no scene: the handle is empty.");
    EXPECT_TRUE(SceneDiff::between(m_scene, m_scene).result());
}

TEST(EmptyScene, EveryOperation_SaysThatThereIsNoScene) {
    const Scene none;
    struct Batches : BatchObserver {
        void sceneChanged(const SceneChanges&) override {}
    } batches;
    SceneObserver* observer = nullptr;
    for (const Result& failed :
         {none.createNode("light", "lamp").result(), none.removeNode(Node()),
          none.renameNode(Node(), "a"), none.moveNode(Node(), 0), none.subscribe(&batches),
          none.unsubscribe(&batches), none.subscribe(observer), none.unsubscribe(observer),
          none.setUndoEnabled(true), none.setUndoLimits({}), none.undo(), none.redo(),
          none.setCheckpoint("a"), none.returnTo("a"), none.markSaved(),
          none.addLibrary(LibInfo::standard()), none.setDirtyStateCached(true),
          none.setEvalCache(1), none.read("", "a.kns")})
        EXPECT_EQ(failed.message(), "There is no scene: the handle is empty.");
}

TEST(EmptyNode, EveryOperation_SaysThatThereIsNoNode) {
    const Node none;
    for (const Result& failed :
         {none.createInput("x", AttrType::Int).result(), none.removeInput("x"), none.removeInput(0),
          none.removeOutput("x"), none.rename("x"), none.createArray("x", AttrType::Int).result(),
          none.parentTo(none), none.createBuffer("x", DataType::Float).result(),
          none.unparentFrom(none), none.createOutput("x", AttrType::Int).result(),
          none.setDirty(true), none.createOutput("x", DataType::Float).result(),
          none.clone().result(), none.copyByItself("a").result(), none.convertTo("a").result(),
          none.setPath("a"), none.subscribe(nullptr), none.unsubscribe(nullptr)})
        EXPECT_EQ(failed.message(), "There is no node: the handle is empty.");
}

} // namespace
} // namespace qv::kelvo_sdk
