// Links and connections to free nodes: the history keeps the nodes alive that undo and redo restore
// references to.
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/library_text.h"
#include "tests/support/node_probe.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>

namespace qv::kelvo_sdk::impl {
namespace {

enum class Tie { Link, Element, Connection };

// A scene in which one input of "holder" refers to a free node.
class UndoFreeLinks : public testing::TestWithParam<Tie> {
protected:
    UndoFreeLinks() {
        m_holder = m_scene.createNode("t", "holder");
        m_holder.createInput("link", AttrType::Node);
        m_holder.createInput("in", AttrType::Real);
        m_holder.createArray("list", AttrType::Node).append();
        m_free->createOutput("out", AttrType::Real);
        m_scene.setUndoEnabled(true);
    }

    static const char* path() {
        constexpr const char* paths[] = {"link", "list[0]", "in"};
        return paths[static_cast<int>(GetParam())];
    }
    [[nodiscard]] kelvo_sdk::Input input() const { return m_scene["holder"].inputAt(path()); }
    bool tie() const {
        return GetParam() == Tie::Connection ? input()->connect(m_free->output(String("out")))
                                             : input()->setNode(m_free.get());
    }
    bool untie() const {
        return GetParam() == Tie::Connection ? input()->disconnect() : input()->setNode(nullptr);
    }
    [[nodiscard]] INode* reached() const {
        const interfaces::IOutput* source = input()->source();
        return source ? source->node() : input().asNode(false).get();
    }
    // Drops the reference to the free node after the edit; undo restores the link or connection,
    // repeatedly.
    void expectBack(const std::function<void()>& edit) {
        m_scene.setUndoEnabled(false);
        EXPECT_TRUE(tie());
        m_scene.setUndoEnabled(true);
        edit();
        const INode* const free = m_free.get();
        m_free = {};
        for (int round = 0; round < 3; ++round) {
            ASSERT_TRUE(m_scene.undo());
            EXPECT_EQ(reached(), free) << round;
            EXPECT_TRUE(m_scene.verify().empty());
            ASSERT_TRUE(m_scene.redo());
            EXPECT_TRUE(m_scene.verify().empty());
        }
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    kelvo_sdk::Node m_holder;
    RefersTo<Node> m_free = RefersTo<Node>::adopt(new Node(nullptr, "t", "free"));
};

TEST_P(UndoFreeLinks, TieThatIsDoneAgain_LeadsToItsNode) {
    ASSERT_TRUE(tie());
    const INode* const free = m_free.get();
    ASSERT_TRUE(m_scene.undo());
    m_free = {};
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(m_scene.redo());
        EXPECT_EQ(reached(), free) << round;
        ASSERT_TRUE(m_scene.undo());
        EXPECT_EQ(reached(), nullptr) << round;
    }
}

TEST_P(UndoFreeLinks, TieThatEnded_ComesBack) {
    expectBack([this] { EXPECT_TRUE(untie()); });
}

TEST_P(UndoFreeLinks, TieToANodeThatJoinedAnotherScene_DoesNotComeBack) {
    ASSERT_TRUE(tie());
    ASSERT_TRUE(untie());
    const auto other = RefersTo<Scene>::adopt(new Scene);
    ASSERT_TRUE(other->addNode(m_free.get()));
    ASSERT_TRUE(m_scene.undo());
    EXPECT_EQ(reached(), nullptr);
    EXPECT_TRUE(m_scene.verify().empty());
}

TEST_P(UndoFreeLinks, TieOfARemovedNode_ComesBack) {
    expectBack([this] { m_scene.removeNode(m_holder); });
}

TEST_P(UndoFreeLinks, TieOfARemovedInput_ComesBack) {
    expectBack([this] { m_holder->clearInputs(); });
}

TEST_P(UndoFreeLinks, TieOfAConvertedNode_ComesBack) {
    expectBack([this] {
        m_holder = {};
        m_scene["holder"].convertTo("u");
    });
}

TEST_P(UndoFreeLinks, TieOfANodeThatComesAndGoes_HoldsTheFreeNodeOnce) {
    for (const bool isConverted : {true, false}) {
        m_scene.setUndoEnabled(false);
        EXPECT_TRUE(tie());
        m_scene.setUndoEnabled(true);
        if (isConverted)
            m_scene["holder"].convertTo("u");
        else
            m_scene.removeNode(m_scene["holder"]);
        EXPECT_TRUE(m_scene.undo() && m_scene.redo());
        const i32 references = tests::probe(*m_free).refCount();
        for (int round = 0; round < 3; ++round)
            EXPECT_TRUE(m_scene.undo() && m_scene.redo());
        EXPECT_EQ(tests::probe(*m_free).refCount(), references) << isConverted;
        EXPECT_TRUE(m_scene.undo());
    }
}

TEST_P(UndoFreeLinks, TieThatTheNewTypeLacks_ComesBack) {
    const auto library = tests::libraryOf("type full {\n    Node link = null\n    Real in = 0\n"
                                          "    Array<Node> list = []\n}\ntype bare {\n}\n");
    m_scene.setUndoEnabled(false);
    m_scene.addLibrary(kelvo_sdk::LibInfo(library.get()));
    m_scene.removeNode(m_holder);
    m_scene.createNode("full", "holder")["list"].append();
    expectBack([this] {
        ConversionLosses losses;
        m_holder = {};
        m_scene["holder"].convertTo("bare", &losses);
    });
}

TEST_P(UndoFreeLinks, TieOfAClearedScene_ComesBack) {
    expectBack([this] {
        m_holder = {};
        m_scene->clear();
    });
}

TEST_P(UndoFreeLinks, LinkThatIsKeptAside_ComesBack) {
    if (GetParam() == Tie::Connection) return;
    ASSERT_TRUE(tie());
    auto& link = static_cast<Input&>(*input().get());
    link.stash();
    ASSERT_TRUE(link.setNode(nullptr));
    ASSERT_TRUE(link.unstash());
    const INode* const free = m_free.get();
    m_free = {};
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(m_scene.undo());
        ASSERT_NE(link.stashed(), nullptr);
        EXPECT_EQ(link.stashed()->asNode(), free);
        ASSERT_TRUE(m_scene.redo());
        EXPECT_EQ(reached(), free);
        EXPECT_TRUE(m_scene.verify().empty());
    }
}

TEST_P(UndoFreeLinks, LinkThatWasKeptAsideBefore_IsKeptAlive) {
    if (GetParam() == Tie::Connection) return;
    m_scene.setUndoEnabled(false);
    ASSERT_TRUE(tie());
    auto& link = static_cast<Input&>(*input().get());
    link.stash();
    link.setNode(nullptr);
    m_scene.setUndoEnabled(true);
    ASSERT_TRUE(link.unstash());
    const INode* const free = std::exchange(m_free, {}).get();
    EXPECT_EQ(reached(), free);
    ASSERT_TRUE(m_scene.undo());
    EXPECT_EQ(link.stashed()->asNode(), free);
}

INSTANTIATE_TEST_SUITE_P(Ties, UndoFreeLinks,
                         testing::Values(Tie::Link, Tie::Element, Tie::Connection));

} // namespace
} // namespace qv::kelvo_sdk::impl
