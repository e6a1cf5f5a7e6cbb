#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/node.h"
#include "tests/support/recording_observer.h"
#include "tests/support/recording_scene.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

// File paths are written and read while observers remove the node or its inputs.
namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::RecordingObserver;
using tests::RecordingScene;

class NodeSetPathLeaves : public testing::Test {
protected:
    NodeSetPathLeaves() {
        m_node = static_cast<Node*>(m_scene->createNode("image", "img"));
        for (const char* part : {"dir", "file", "ext"})
            m_node->createInput(part, AttrType::String);
        m_node->subscribe(&m_observer);
        m_observer.then = [&] {
            m_observer.then = nullptr;
            m_scene->removeNode(m_node);
        };
        m_journal.take();
    }
    Journal m_journal;
    RecordingObserver m_observer{"o", m_journal};
    RefersTo<RecordingScene> m_scene = RecordingScene::make(m_journal);
    Node* m_node = nullptr;
};

// The open step and group are closed, on the scene where they were opened.
TEST_F(NodeSetPathLeaves, NodeRemovedMeanwhile_LeavesNoStepOpen) {
    const kelvo_sdk::Node held(m_node);
    m_node->setPath(String("a"), String("b"), String("c"));
    const std::string all = m_journal.take();
    EXPECT_NE(all.find("ungroup record("), std::string::npos) << all;
}

TEST_F(NodeSetPathLeaves, NodeRemovedMeanwhile_KeepsTheRestOfItsPath) {
    const kelvo_sdk::Node held(m_node);
    EXPECT_FALSE(m_node->setPath(String("a"), String("b"), String("c")));
    EXPECT_EQ(held.asPath(), "");
}

TEST_F(NodeSetPathLeaves, NodeThatJoinedAnotherSceneMeanwhile_KeepsTheRestOfItsPath) {
    const kelvo_sdk::Node held(m_node);
    const auto other = RefersTo<Scene>::adopt(new Scene);
    m_observer.then = [&] {
        m_observer.then = nullptr;
        m_scene->removeNode(m_node);
        EXPECT_TRUE(other->addNode(m_node));
    };
    EXPECT_FALSE(m_node->setPath(String("a"), String("b"), String("c")));
    EXPECT_EQ(held.asPath(), "");
}

TEST(NodeSetPathFree, InputTakenOffMeanwhile_DoesNotStopTheOthers) {
    Node node(nullptr, "image", "img");
    for (const char* part : {"dir", "file", "ext"})
        node.createInput(part, AttrType::String);
    Journal journal;
    RecordingObserver observer("o", journal);
    observer.then = [&] {
        observer.then = nullptr;
        node.removeInput(String("file"));
    };
    node.subscribe(&observer);
    EXPECT_TRUE(node.setPath(String("a"), String("b"), String("c")));
    EXPECT_EQ(static_cast<Input*>(node.lookUpInput("dir"))->value(), Value("a"));
    node.unsubscribe(&observer);
}

// A sanitizer finds access to the node: the scene held the last reference.
TEST_F(NodeSetPathLeaves, NodeGoneMeanwhile_IsNotTouchedAgain) {
    m_node->setPath(String("a"), String("b"), String("c"));
    const std::string all = m_journal.take();
    EXPECT_NE(all.find("ungroup record("), std::string::npos) << all;
}

// Undo would restore the input with the value written to it while it was removed.
TEST(NodeSetPathUndo, InputTakenOffMeanwhile_ComesBackAsItWas) {
    for (const char* taken : {"file", "dir"}) {
        const auto scene = kelvo_sdk::Scene::create();
        ASSERT_EQ(tests::errorsOf("node image \"f\" {\n    String dir = \"/tmp\"\n"
                                  "    String file = \"g\"\n    String ext = \".png\"\n}\n",
                                  scene),
                  "");
        const std::string before = tests::textOf(scene);
        scene.setUndoEnabled(true);
        Journal journal;
        RecordingObserver observer("o", journal);
        bool isTaken = false;
        observer.then = [&] {
            if (!std::exchange(isTaken, true)) scene["f"].removeInput(taken);
        };
        scene["f"].subscribe(&observer);
        EXPECT_FALSE(scene["f"].setPath("/home/x.jpg"));
        scene["f"].unsubscribe(&observer);
        EXPECT_TRUE(scene.undo());
        EXPECT_EQ(tests::textOf(scene), before) << taken;
    }
}

Node* theNode = nullptr;
bool removeFile(EvalCtx* /*ctx*/, void* out) {
    theNode->removeInput(String("file"));
    *static_cast<String*>(out) = "dir";
    return true;
}
bool modifies(INode* /*node*/, INode* /*other*/) {
    return false;
}

TEST(NodeAsPathLeaves, InputRemovedByAnEvaluation_DoesNotCrash) {
    const auto library = RefersTo<LibInfo>::adopt(new LibInfo);
    library->setCallbacks("remover", {nullptr, nullptr, removeFile, modifies, nullptr, nullptr});
    Node source(nullptr, "remover", "s");
    source.initLibInfo(library.get());
    Node node(nullptr, "image", "img");
    for (const char* part : {"dir", "file", "ext"})
        node.createInput(part, AttrType::String);
    node.findInputByName("dir")->connect(source.createOutput("out", AttrType::String));
    theNode = &node;
    EXPECT_EQ(node.asPath(), "dir");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
