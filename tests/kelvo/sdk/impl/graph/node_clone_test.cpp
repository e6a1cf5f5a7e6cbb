#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "tests/support/counting_layout.h"
#include "tests/support/node_probe.h"
#include "tests/support/recording_observer.h"
#include "tests/support/recording_scene.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::CountingLayout;
using tests::Journal;
using tests::probe;
using tests::RecordingObserver;
using tests::RecordingScene;

bool modifies(INode*, INode*) {
    return true;
}

bool initWithName(INode* node, void** data) {
    *data = node;
    return false;
}

bool freeData(INode*, void** data) {
    *data = nullptr;
    return true;
}

class NodeClone : public testing::Test {
protected:
    ~NodeClone() override { probe(m_node).setScene(nullptr); }

    [[nodiscard]] RefersTo<Node> copy() {
        return RefersTo<Node>::adopt(m_node.clone(nullptr, "copy"));
    }

    Journal m_journal;
    RefersTo<RecordingScene> m_scene = RecordingScene::make(m_journal);
    Node m_node{m_scene.get(), "mesh", "m"};
};

TEST_F(NodeClone, Public_HandsTheRequestToTheScene) {
    EXPECT_EQ(m_node.clone(true), &m_node);
    EXPECT_EQ(m_node.clone(false), &m_node);
    EXPECT_EQ(m_node.convertTo("light"), &m_node);
    EXPECT_EQ(m_journal.take(), "clone-deep clone convert=light");
}

TEST_F(NodeClone, PublicWithoutAScene_IsNull) {
    Node node(nullptr, "mesh", "m");
    EXPECT_EQ(node.clone(false), nullptr);
    EXPECT_EQ(node.clone(true), nullptr);
    EXPECT_EQ(node.convertTo("light"), nullptr);
}

TEST_F(NodeClone, Copy_HasOneReferenceTheSceneAndTheNameGiven) {
    const auto made = RefersTo<Node>::adopt(m_node.clone(m_scene.get(), "copy"));
    EXPECT_EQ(probe(*made).refCount(), 1);
    EXPECT_EQ(made->scene(), m_scene.get());
    EXPECT_STREQ(made->name().buf(), "copy");
    EXPECT_STREQ(m_node.name().buf(), "m");
    EXPECT_EQ(m_journal.take(), "");
    probe(*made).setScene(nullptr);
}

TEST_F(NodeClone, Copy_SharesTypeBasesTextsAndIcon) {
    m_node.setBases({"geometry"}, true, true);
    m_node.setLabel("en", "polygon mesh");
    m_node.setHelp("de", "Hilfe");
    m_node.setSvgIcon("<svg/>");
    const auto made = copy();
    EXPECT_EQ(made->type().get(), m_node.type().get());
    EXPECT_EQ(made->bases().get(), m_node.bases().get());
    EXPECT_TRUE(made->isAbstract());
    EXPECT_TRUE(made->isInternal());
    EXPECT_STREQ(made->label("en").buf(), "Polygon Mesh");
    EXPECT_STREQ(made->help("de").buf(), "Hilfe");
    EXPECT_EQ(made->svgIcon(true).get(), m_node.svgIcon(true).get());
}

TEST_F(NodeClone, Copy_CarriesTheFlagsAsTheyStand) {
    const auto fresh = copy();
    EXPECT_FALSE(probe(*fresh).dirty() || probe(*fresh).destroying());
    EXPECT_FALSE(probe(*fresh).serializing() || probe(*fresh).modifying());
    probe(m_node).dirty() = probe(m_node).destroying() = true;
    probe(m_node).serializing() = probe(m_node).modifying() = true;
    const auto made = copy();
    EXPECT_TRUE(probe(*made).dirty() && probe(*made).destroying());
    EXPECT_TRUE(probe(*made).serializing() && probe(*made).modifying());
    probe(m_node).destroying() = false;
}

TEST_F(NodeClone, Copy_HasItsOwnAttributesInOrder) {
    m_node.createInput("a", AttrType::Real)->setReal(2.5);
    m_node.createArray("b", AttrType::Int)->appendElement()->setInt(7);
    m_node.createOutput("o", AttrType::Real);
    const auto made = copy();
    ASSERT_EQ(made->inputCount(), 2u);
    EXPECT_STREQ(made->input(u64(0))->name().buf(), "a");
    EXPECT_EQ(made->input(u64(0))->node(), made.get());
    EXPECT_EQ(made->output(u64(0))->node(), made.get());
    double value = 0;
    made->input(u64(0))->readReal(value, false, nullptr);
    EXPECT_EQ(value, 2.5);
    EXPECT_STREQ(made->input(u64(1))->input(u64(0))->path().buf(), "copy.b[0]");
    made->input(u64(0))->setReal(3);
    m_node.input(u64(0))->readReal(value, false, nullptr);
    EXPECT_EQ(value, 2.5);
}

TEST_F(NodeClone, Copy_HasTheRoomThatItsOriginalHas) {
    Node node(nullptr, "thing", "n");
    for (int count = 0; count < 6; ++count) {
        const auto made = RefersTo<Node>::adopt(node.clone(nullptr, "copy"));
        EXPECT_EQ(probe(*made).inputs().capacity(), probe(node).inputs().capacity()) << count;
        EXPECT_EQ(probe(*made).outputs().capacity(), probe(node).outputs().capacity()) << count;
        node.createInput(String::format("i%d", count), AttrType::Real);
        node.createOutput(String::format("o%d", count), AttrType::Real);
    }
}

TEST_F(NodeClone, Copy_HasNoObservers) {
    RecordingObserver observer("o", m_journal);
    m_node.subscribe(&observer);
    const auto made = copy();
    made->notifyRemoved();
    EXPECT_EQ(m_journal.take(), "");
    EXPECT_EQ(probe(*made).observers().size(), 0u);
    m_node.unsubscribe(&observer);
}

TEST_F(NodeClone, Copy_SharesTheLayout) {
    CountingLayout layout;
    m_node.setLayout(&layout);
    {
        const auto made = copy();
        EXPECT_EQ(made->layout(), &layout);
        EXPECT_EQ(layout.count, 2);
    }
    EXPECT_EQ(layout.count, 1);
    m_node.setLayout(nullptr);
}

TEST_F(NodeClone, Copy_SharesTheLibraryAndMakesItsOwnData) {
    const auto library = RefersTo<LibInfo>::adopt(new LibInfo("l.knd"));
    library->setCallbacks("mesh", {initWithName, nullptr, nullptr, modifies, freeData, nullptr});
    m_node.initLibInfo(library.get());
    m_node.nodeInit();
    const auto made = copy();
    EXPECT_STREQ(made->nodeDefPath().buf(), "l.knd");
    EXPECT_TRUE(made->hasNodeModify() && made->hasNodeFree() && !made->hasNodeEval());
    EXPECT_EQ(made->data(), made.get());
    EXPECT_EQ(m_node.data(), &m_node);
}

// Records the attributes of the copy during its init callback.
bool noteAttributes(INode* node, void** data) {
    static std::string seen;
    seen = std::string(node->name().buf()) + ":" + std::to_string(node->inputCount()) +
           std::to_string(node->outputCount()) + (node->scene() ? "s" : "-");
    *data = &seen;
    return false;
}

TEST_F(NodeClone, InitCallback_ComesLastAndItsAnswerIsIgnored) {
    const auto library = RefersTo<LibInfo>::adopt(new LibInfo);
    library->setCallbacks("mesh", {noteAttributes, nullptr, nullptr, modifies, freeData, nullptr});
    m_node.initLibInfo(library.get());
    m_node.createInput("a", AttrType::Real);
    m_node.createInput("b", AttrType::Real);
    m_node.createOutput("o", AttrType::Real);
    m_journal.take();
    const auto made = RefersTo<Node>::adopt(m_node.clone(m_scene.get(), "copy"));
    EXPECT_EQ(*static_cast<std::string*>(made->data()), "copy:21s");
    EXPECT_EQ(m_node.data(), nullptr);
    EXPECT_EQ(m_journal.take(), "");
    probe(*made).setScene(nullptr);
}

TEST_F(NodeClone, CopyWithoutAnInitCallback_HasNoData) {
    probe(m_node).data() = this;
    EXPECT_EQ(copy()->data(), nullptr);
    probe(m_node).data() = nullptr;
}

} // namespace
} // namespace qv::kelvo_sdk::impl
