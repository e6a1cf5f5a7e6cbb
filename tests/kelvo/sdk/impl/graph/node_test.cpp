#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "tests/support/counting_layout.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_probe.h"
#include "tests/support/recording_observer.h"
#include "tests/support/recording_scene.h"

#include <gtest/gtest.h>

// This links only if the library exports the function under exactly this name.
qv::i64 countByPlainName() __asm__("impl_nodeInstanceCount");

namespace qv::kelvo_sdk::impl {
namespace {

using tests::CountingLayout;
using tests::Journal;
using tests::LogCapture;
using tests::probe;
using tests::RecordingObserver;
using tests::RecordingScene;

TEST(Node, New_HasOneReferenceAndCounts) {
    const i64 before = impl_nodeInstanceCount();
    auto* node = new Node(nullptr, "thing", "n");
    EXPECT_EQ(probe(*node).refCount(), 1);
    EXPECT_EQ(impl_nodeInstanceCount(), before + 1);
    node->decRef();
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

TEST(Node, New_ReturnsItsConstructorArguments) {
    Journal journal;
    const auto scene = RecordingScene::make(journal);
    Node node(scene.get(), "thing", "n");
    EXPECT_EQ(node.scene(), scene.get());
    EXPECT_STREQ(node.type().buf(), "thing");
    EXPECT_STREQ(node.name().buf(), "n");
    EXPECT_TRUE(node.bases().empty());
    EXPECT_FALSE(node.isAbstract());
    EXPECT_FALSE(node.isInternal());
}

TEST(Node, New_IsCleanAndEmpty) {
    Node node(nullptr, "thing", "n");
    EXPECT_FALSE(probe(node).dirty());
    EXPECT_FALSE(probe(node).destroying());
    EXPECT_FALSE(node.serializing());
    EXPECT_FALSE(node.modifying());
    EXPECT_EQ(node.inputCount(), 0u);
    EXPECT_EQ(node.outputCount(), 0u);
    EXPECT_EQ(node.layout(), nullptr);
    EXPECT_EQ(node.data(), nullptr);
    EXPECT_TRUE(node.svgIcon(true).isEmpty());
    EXPECT_TRUE(node.nodeDefPath().isEmpty());
}

TEST(Node, New_AllocatesNoLists) {
    Node node(nullptr, "thing", "n");
    EXPECT_EQ(probe(node).observers().data(), nullptr);
    EXPECT_EQ(probe(node).observers().capacity(), 0u);
    EXPECT_EQ(probe(node).inputs().data(), nullptr);
    EXPECT_EQ(probe(node).outputs().data(), nullptr);
}

TEST(Node, New_HasTwoMapsWithAnArrayForEachBucket) {
    Node node;
    for (const auto* map : {&probe(node).labels(), &probe(node).helps()}) {
        EXPECT_TRUE(map->empty());
        for (u64 i = 0; i < 256; ++i)
            EXPECT_NE(map->bucket(i).data(), nullptr) << i;
    }
}

TEST(Node, New_HasNoCallbacks) {
    Node node(nullptr, "thing", "n");
    EXPECT_FALSE(node.hasNodeInit());
    EXPECT_FALSE(node.hasNodePrep());
    EXPECT_FALSE(node.hasNodeEval());
    EXPECT_FALSE(node.hasNodeModify());
    EXPECT_FALSE(node.hasNodeFree());
    EXPECT_EQ(probe(node).nodeChanged(), nullptr);
}

TEST(Node, New_TellsNobodyAndTakesNoReferenceOnItsScene) {
    Journal journal;
    {
        Node node(RecordingScene::make(journal).get(), "thing", "n");
        EXPECT_EQ(journal.take(), "scene-gone");
        probe(node).setScene(nullptr);
    }
    EXPECT_EQ(journal.take(), "");
}

TEST(Node, Default_HasNoSceneTypeOrName) {
    Node node;
    EXPECT_EQ(node.scene(), nullptr);
    EXPECT_TRUE(node.type().isEmpty());
    EXPECT_TRUE(node.name().isEmpty());
    EXPECT_EQ(probe(node).refCount(), 1);
}

TEST(Node, Texts_AreSharedNotCopied) {
    const String type("thing");
    const String name("n");
    Node node(nullptr, type, name);
    EXPECT_EQ(node.type().get(), type.get());
    EXPECT_EQ(node.name().get(), name.get());
}

TEST(Node, References_KeepItAliveUntilTheLastGoes) {
    const i64 before = impl_nodeInstanceCount();
    auto* node = new Node;
    node->incRef();
    EXPECT_EQ(probe(*node).refCount(), 2);
    node->decRef();
    EXPECT_EQ(probe(*node).refCount(), 1);
    EXPECT_EQ(impl_nodeInstanceCount(), before + 1);
    node->decRef();
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

TEST(Node, CountedPart_CountsTheWholeNode) {
    const i64 before = impl_nodeInstanceCount();
    auto* node = new Node;
    IRefCounted* counted = node;
    counted->incRef();
    EXPECT_EQ(probe(*node).refCount(), 2);
    counted->decRef();
    counted->decRef();
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

// A count that misuse brought to 0 does not destroy the node: only the step from 1 to 0 does.
TEST(Node, DecRefBelowOne_DestroysNothing) {
    const i64 before = impl_nodeInstanceCount();
    {
        Node node;
        IRefCounted& counted = node;
        node.incRef();
        counted.decRef();
        EXPECT_EQ(probe(node).refCount(), 1);
        probe(node).counter().store(0);
        node.decRef();
        EXPECT_EQ(probe(node).refCount(), -1);
        node.decRef();
        EXPECT_EQ(probe(node).refCount(), -2);
        EXPECT_EQ(impl_nodeInstanceCount(), before + 1);
    }
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

TEST(Node, Handle_DropsWhatItHolds) {
    const i64 before = impl_nodeInstanceCount();
    {
        const auto handle = kelvo_sdk::Node::adopt(new Node);
        const kelvo_sdk::Node copy(handle.get());
        EXPECT_EQ(probe(static_cast<Node&>(*handle)).refCount(), 2);
    }
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

TEST(Node, InstanceCount_IsExportedUnmangled) {
    const i64 before = countByPlainName();
    Node node;
    EXPECT_EQ(countByPlainName(), before + 1);
    EXPECT_EQ(countByPlainName(), impl_nodeInstanceCount());
}

TEST(Node, Modification_IsAFlagNotACounter) {
    Node node;
    node.beginModification();
    node.beginModification();
    EXPECT_TRUE(node.modifying());
    node.endModification();
    EXPECT_FALSE(node.modifying());
}

// ---- Destruction of a node -----------------------------------------------------------------

int* madeData() {
    static int data = 0;
    return &data;
}

bool initData(INode*, void** data) {
    *data = madeData();
    return true;
}

bool freeData(INode*, void** data) {
    *data = nullptr;
    return true;
}

bool keepData(INode*, void**) {
    return false;
}

TEST(NodeEnd, UserDataWithoutFree_IsOneLineWithTheNodesName) {
    const LogCapture log;
    {
        Node node(nullptr, "thing", "lamp");
        node.createInput("name", AttrType::String)->setString("Shown");
        probe(node).data() = madeData();
    }
    EXPECT_EQ(log.text(), "error: MEMORY LEAK: user data not freed for node 'lamp'.\n");
}

TEST(NodeEnd, FreeThatClearsTheData_LogsNothing) {
    const LogCapture log;
    {
        Node node(nullptr, "thing", "lamp");
        probe(node).nodeInit() = initData;
        probe(node).nodeFree() = freeData;
        node.nodeInit();
        EXPECT_EQ(node.data(), madeData());
    }
    EXPECT_EQ(log.text(), "");
}

TEST(NodeEnd, FreeThatLeavesTheData_IsALeakAllTheSame) {
    const LogCapture log;
    {
        Node node(nullptr, "thing", "lamp");
        probe(node).data() = madeData();
        probe(node).nodeFree() = keepData;
    }
    EXPECT_EQ(log.text(), "error: MEMORY LEAK: user data not freed for node 'lamp'.\n");
}

TEST(NodeEnd, NoData_LogsNothing) {
    const LogCapture log;
    { Node node(nullptr, "thing", "lamp"); }
    EXPECT_EQ(log.text(), "");
}

TEST(NodeEnd, Observers_HearNothing) {
    Journal journal;
    RecordingObserver observer("o", journal);
    const auto scene = RecordingScene::make(journal);
    Node other(nullptr, "thing", "other");
    {
        Node node(scene.get(), "thing", "n");
        node.createInput("in", AttrType::Real)->connect(other.createOutput("o", AttrType::Real));
        node.createOutput("out", AttrType::Real);
        node.subscribe(&observer);
        journal.take();
    }
    EXPECT_EQ(journal.take(), "");
}

TEST(NodeEnd, AttributesThatOutliveTheNode_HaveNoNode) {
    kelvo_sdk::Input input;
    kelvo_sdk::Input member;
    kelvo_sdk::Output output;
    {
        Node node(nullptr, "thing", "n");
        input = kelvo_sdk::Input(node.createArray("in", AttrType::Real));
        member = input.append();
        output = kelvo_sdk::Output(node.createOutput("out", AttrType::Real));
        EXPECT_EQ(input.node(), &node);
    }
    EXPECT_EQ(input.node(), nullptr);
    EXPECT_EQ(member.node(), nullptr);
    EXPECT_EQ(output->node(), nullptr);
    EXPECT_TRUE(member.set(2.5));
}

TEST(NodeEnd, Connections_EndOnBothSides) {
    Node source(nullptr, "thing", "source");
    IOutput* output = source.createOutput("out", AttrType::Real);
    kelvo_sdk::Input kept;
    {
        Node node(nullptr, "thing", "n");
        kept = kelvo_sdk::Input(node.createInput("in", AttrType::Real));
        kept->connect(output);
        EXPECT_EQ(output->targetCount(), 1u);
    }
    EXPECT_EQ(output->targetCount(), 0u);
    EXPECT_EQ(kept->source(), nullptr);
}

TEST(NodeEnd, Layout_IsReleasedOnce) {
    CountingLayout layout;
    {
        Node node;
        node.setLayout(&layout);
        EXPECT_EQ(layout.count, 1);
    }
    EXPECT_EQ(layout.count, 0);
}

TEST(NodeEnd, Library_IsReleased) {
    const auto library = RefersTo<LibInfo>::adopt(new LibInfo("a.knd"));
    {
        Node node(nullptr, "thing", "n");
        node.initLibInfo(library.get());
        EXPECT_STREQ(node.nodeDefPath().buf(), "a.knd");
    }
    EXPECT_STREQ(library->kndPath().buf(), "a.knd");
}

// An attribute created during the destruction of the node is released like the others.
bool addsAnInput(INode* node, void**) {
    node->createInput("late", AttrType::Real);
    return true;
}

TEST(NodeEnd, InputMadeByFree_IsReleasedUnheard) {
    Journal journal;
    const auto scene = RecordingScene::make(journal);
    {
        Node node(scene.get(), "thing", "n");
        probe(node).nodeFree() = addsAnInput;
    }
    EXPECT_EQ(journal.take(), "");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
