#include "kelvo/sdk/impl/snapshot/record_extras.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot_delta.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

class RecordExtrasTest : public testing::Test {
protected:
    void read(const char* text, const ReadOptions& options = {}) {
        ASSERT_TRUE(m_scene.read(text, "text", options, nullptr).isRead);
        m_last = m_scene.snapshot();
    }
    [[nodiscard]] const impl::NodeRecord& record(const char* name) const {
        return *tables().find(name);
    }
    [[nodiscard]] const impl::SnapshotTables& tables() const {
        return static_cast<const impl::SnapshotPicture*>(m_last.get())->tables();
    }
    [[nodiscard]] impl::Input& input(const char* node, const char* name) const {
        return impl::implOf(*m_scene[node][name].get());
    }
    // The changes of the node "a" since the last snapshot.
    [[nodiscard]] SnapshotDelta changes() { return delta(m_last, m_scene.snapshot()); }

    Scene m_scene = Scene::create();
    Snapshot m_last;
};

TEST_F(RecordExtrasTest, ANodeWithoutExtras_HasNone) {
    read("node t \"a\" {\n    Real x = 1\n}\nnode t \"b\" {  # said\n}\n");
    EXPECT_EQ(record("a").extras(), nullptr);
    ASSERT_NE(record("b").extras(), nullptr);
    EXPECT_EQ(record("b").extras()->comments.opening, "# said");
}

TEST_F(RecordExtrasTest, EqualOnesOfSuccessiveNodes_AreOne) {
    read("node t \"a\" {\n}\n\nnode t \"b\" {\n}\n\nnode t \"c\" {\n}\n# d\nnode t \"d\" {\n}\n");
    ASSERT_NE(record("b").extras(), nullptr);
    EXPECT_EQ(record("b").extras(), record("c").extras());
    EXPECT_EQ(record("b").extras()->comments.leading, "\n");
    EXPECT_EQ(record("d").extras()->comments.leading, "# d\n");
}

TEST_F(RecordExtrasTest, CommentsOfAttributes_AreFoundByPlace) {
    read("node t \"a\" {\n    Real x = 1\n    Object o {\n        Real y = 2  # two\n    }\n"
         "    output Real p\n    output Real q  # out\n}\n");
    const impl::RecordExtras& extras = *record("a").extras();
    ASSERT_NE(extras.commentsOfInput(1, 0), nullptr);
    EXPECT_EQ(extras.commentsOfInput(1, 0)->trailing, "# two");
    EXPECT_EQ(extras.commentsOfInput(0, 0), nullptr);
    EXPECT_EQ(extras.commentsOfInput(0, 1), nullptr);
    ASSERT_NE(extras.commentsOfOutput(1), nullptr);
    EXPECT_EQ(extras.commentsOfOutput(1)->trailing, "# out");
    EXPECT_EQ(extras.commentsOfOutput(0), nullptr);
}

TEST_F(RecordExtrasTest, AValueKeptAside_IsThereAndItsLossIsNoticed) {
    read("node t \"a\" {\n    Real x = 1 @stashed 2\n}\n");
    const auto* stash = record("a").extras()->stashOf(0, 0);
    ASSERT_NE(stash, nullptr);
    EXPECT_EQ(stash->value.asReal(), 2.0);
    input("a", "x").unstash();
    EXPECT_EQ(m_scene.snapshot()["a"]["x"].get<double>(), 2.0);
    input("a", "x").stash();
    m_last = m_scene.snapshot();
    EXPECT_EQ(record("a").extras()->stashOf(0, 0)->value.asReal(), 2.0);
    input("a", "x").unstash(); // The value stays the same.
    const SnapshotDelta found = changes();
    ASSERT_EQ(found.changed().size(), 1U);
    EXPECT_EQ(found.changed()[0].inputs[0].parts, static_cast<u32>(InputPart::Marks));
}

TEST_F(RecordExtrasTest, ALinkKeptAside_IsANumberAndEndsWithItsNode) {
    read("node t \"a\" {\n    Node x = null @stashed b\n}\nnode t \"b\" {\n}\n");
    EXPECT_EQ(record("a").extras()->stashOf(0, 0)->link, m_last["b"].number());
    m_scene.removeNode(m_scene["b"]);
    m_last = m_scene.snapshot();
    EXPECT_EQ(record("a").extras()->stashOf(0, 0)->link, noNodeNumber);
}

TEST_F(RecordExtrasTest, AStashUndone_IsGoneFromTheNextSnapshot) {
    m_scene.setUndoEnabled(true);
    read("node t \"a\" {\n    Real x = 1\n}\n");
    input("a", "x").stash();
    EXPECT_EQ(changes().changed().size(), 1U);
    m_last = m_scene.snapshot();
    m_scene.undo();
    m_last = m_scene.snapshot();
    EXPECT_EQ(record("a").extras(), nullptr);
}

TEST_F(RecordExtrasTest, NodesInADescription_AreNumbersUntilTheyEnd) {
    read("node t \"a\" {\n    Node x = null @default b @choices [b, c]\n    Real y = 0 @max 2\n}\n"
         "node t \"b\" {\n}\nnode t \"c\" {\n}\n");
    const std::vector<NodeNumber> expected = {m_last["b"].number(), noNodeNumber, noNodeNumber,
                                              m_last["b"].number(), m_last["c"].number()};
    EXPECT_EQ(record("a").shape().input(0).namedNodes, expected);
    EXPECT_TRUE(record("a").shape().input(1).namedNodes.empty());
    m_scene.removeNode(m_scene["c"]);
    EXPECT_TRUE(changes().changed()[0].has(InputPart::Marks));
}

TEST_F(RecordExtrasTest, UnreadLines_AreThereWithTheirPlaces) {
    read(
        "node t \"a\" {\n    Reel x = 1\n    Real y = 2\n}\nnude t \"b\" {\n}\nnode t \"c\" {\n}\n",
        {.isPartial = true});
    const auto& inside = record("a").extras()->comments.unread;
    ASSERT_EQ(inside.size(), 1U);
    EXPECT_EQ(inside[0].before, "y");
    ASSERT_TRUE(tables().file);
    ASSERT_EQ(tables().file->before.size(), 1U);
    EXPECT_EQ(tables().file->before[0], m_last["c"].number());
    EXPECT_EQ(tables().file->comments.unread[0].node, nullptr);
}

TEST_F(RecordExtrasTest, ANameThatWasNotFound_StaysUntilALinkTakesItsPlace) {
    read("node t \"a\" {\n    Node x = gone\n    Real y = 1 <- gone.o\n}\n", {.isPartial = true});
    EXPECT_EQ(record("a").extras()->commentsOfInput(0, 0)->lostLink, "gone");
    EXPECT_EQ(record("a").extras()->commentsOfInput(0, 1)->lostSource, "gone.o");
    m_scene["a"]["x"].set(m_scene["a"]);
    m_last = m_scene.snapshot();
    EXPECT_EQ(record("a").extras()->commentsOfInput(0, 0), nullptr);
}

TEST_F(RecordExtrasTest, CommentsOfTheWholeText_AreSharedUntilTheyChange) {
    read("# above\nkelvo scene 1\n\nnode t \"a\" {\n}\n# below\n");
    ASSERT_TRUE(tables().file);
    EXPECT_EQ(tables().file->comments.leading, "# above\n");
    EXPECT_EQ(tables().file->comments.inner, "# below\n");
    const auto* const before = tables().file.get();
    m_scene["a"].createInput("x", AttrType::Real);
    m_last = m_scene.snapshot();
    EXPECT_EQ(tables().file.get(), before);
}

TEST_F(RecordExtrasTest, ANewCommentOfANode_IsAChangeWithoutInputs) {
    m_scene.setUndoEnabled(true);
    read("node t \"a\" {\n}\n");
    m_scene.removeNode(m_scene["a"]);
    read("node t \"a\" {  # new\n}\n");
    const Snapshot commented = m_last;
    EXPECT_NE(record("a").extras(), nullptr);
    EXPECT_TRUE(delta(commented, m_scene.snapshot()).isEmpty());
}

} // namespace
} // namespace qv::kelvo_sdk
